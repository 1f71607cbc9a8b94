#pragma once

#include "SetupMessage.h"

// Every message of the driver and its dialogue. A text that stands alone on its line ends with a line feed; a prompt,
// whose row is named so, has none, since the answer follows on its line. The English texts are read by the scripts of
// operators: full-width marks, trailing blanks and odd wording in them stay.

// Ends of a run.
inline constexpr MESSAGE MSG_RUN_FAILED{"创建数据库服务失败！安装程序退出...\n",
                                        "Failed to create database service! Setup Exit...\n"};
inline constexpr MESSAGE MSG_RUN_DONE{"创建数据库服务成功！安装程序退出...\n",
                                      "Create database service successfully! Setup Exit...\n"};

// Start-up and the command line.
inline constexpr MESSAGE MSG_PATH_UNUSABLE{"无法确定安装目录，程序路径无法读取、过长或没有上级目录：%s\n",
                                           "The installation directory cannot be determined, the program path is "
                                           "unreadable, too long or has no parent directory: %s\n"};
inline constexpr MESSAGE MSG_UNKNOWN_PARAMETER{"未知参数：%s\n", "Unknown parameter：%s\n"};
inline constexpr MESSAGE MSG_VALUE_TOO_LONG{"参数值过长，最多%d字节，参数：%s\n",
                                            "Parameter value is too long, at most %d bytes, parameter: %s\n"};
inline constexpr MESSAGE MSG_IP_FORMAT{"IP格式错误：%s\n", "IP Format is error: %s\n"};
inline constexpr MESSAGE MSG_LOCAL_IP_ABSENT{"本机IP不存在，请重新输入本机IP\n",
                                             "Local IP does not exist, please reenter local IP\n"};
inline constexpr MESSAGE MSG_VIP_FORMAT{"集群虚拟IP格式错误：%s\n", "VIP Format is error: %s\n"};
inline constexpr MESSAGE MSG_VIP_IS_LOCAL{"集群虚拟IP不能与本机IP相同：%s\n",
                                          "Cluster virtual IP cannot be duplicated with local IP: %s\n"};
inline constexpr MESSAGE MSG_SYSTEM_FILE_SMALL{"系统文件最小为4MB！\n", "Minimum system file size is 4MB!\n"};
inline constexpr MESSAGE MSG_LOGS_RANGE{"活动日志组最少3组，最多64组！\n",
                                        "Log arrays are minimum 3 and maximum 64! \n"};
inline constexpr MESSAGE MSG_MASTER_IP_FORMAT{"IP格式错误，请输入主节点IP：%d.%d.%d.%d\n",
                                              "IP format is error, please enter master IP: %d.%d.%d.%d\n"};

// Menu.
inline constexpr MESSAGE MSG_MENU{
    "安装模式：1 --主节点；2 --从节点；4 --备用节点；0 --退出程序\n",
    "Installation mode: 1 --Master node; 2 --Slave node; 4 --Standby node; 0 --Exit procedure\n"};
inline constexpr MESSAGE MSG_MENU_PROMPT{">> 请选择安装模式：", ">> Selection of installation mode: "};
inline constexpr MESSAGE MSG_MENU_SELECTED{"已选择安装模式：%d\n", "Installation mode selected: %d\n"};
inline constexpr MESSAGE MSG_RESELECT{"输入参数错误，请重新选择！\n", "Input parameter error, please reselect!\n"};

// Master dialogue.
inline constexpr MESSAGE MSG_LOCAL_IP{"请输入本机IP，输入\\q退出程序\n",
                                      "Please enter the local IP, enter \\q to exit the program\n"};
inline constexpr MESSAGE MSG_LOCAL_IP_PROMPT{">> 本机IP：", ">> Local IP: "};
inline constexpr MESSAGE MSG_LOCAL_IP_BAD{"IP格式错误，请输入本机IP：%s\n",
                                          "IP format is error, please enter local IP: %s\n"};

inline constexpr MESSAGE MSG_VIP{"请输入集群虚拟IP（不启用请输入0），输入\\q退出程序\n",
                                 "Enter cluster virtual IP (disable please enter 0), enter \\q to exit the program\n"};
inline constexpr MESSAGE MSG_VIP_PROMPT{">> 集群虚拟IP：", ">> Cluster Virtual IP: "};
inline constexpr MESSAGE MSG_VIP_BAD{"IP格式错误，请输入集群虚拟IP：%s\n",
                                     "IP format is error, please enter cluster virtual IP: %s\n"};
inline constexpr MESSAGE MSG_VIP_NATIVE{
    "集群虚拟IP不能与本机IP相同，请输入集群虚拟IP：%s\n",
    "Cluster virtual IP cannot be duplicated with native IP, please enter cluster virtual IP:%s\n"};

inline constexpr MESSAGE MSG_SYSTEM_FILE{
    "请输入系统文件大小（单位MB，建议16），输入\\q退出程序\n",
    "Please enter the system file size (unit MB, recommended 16), enter \\q to exit the program\n"};
inline constexpr MESSAGE MSG_SYSTEM_FILE_PROMPT{">> 系统文件（KestroSysFile）大小：",
                                                ">> System File(KestroSysFile）size: "};
inline constexpr MESSAGE MSG_SYSTEM_FILE_BAD{">> 系统文件最小为4MB，请重新输入！\n",
                                             ">> The minimum system file is 4MB, please reenter it!\n"};

inline constexpr MESSAGE MSG_DATA_FILE{
    "请输入内存数据文件大小（单位MB），输入\\q退出程序\n",
    "Please enter the memory data file size (unit MB), enter \\q to exit the program\n"};
inline constexpr MESSAGE MSG_DATA_FILE_PROMPT{">> 内存数据文件（KestroDataFile）大小：",
                                              ">> Memory data file(KestroDataFile) size: "};

inline constexpr MESSAGE MSG_TREE_FILE{
    "请输入内存索引文件大小（单位MB），输入\\q退出程序\n",
    "Please enter the memory index file size (unit MB), enter \\q to exit the program\n"};
inline constexpr MESSAGE MSG_TREE_FILE_PROMPT{">> 内存索引文件（KestroTreeFile）大小：",
                                              ">> Memory indexed files(KestroTreeFile)size: "};

inline constexpr MESSAGE MSG_KV_FILE{
    "请输入内存哈希文件大小（单位MB），输入\\q退出程序\n",
    "Please enter the hash index file size (unit MB), enter \\q to exit the program\n"};
inline constexpr MESSAGE MSG_KV_FILE_PROMPT{">> 内存哈希文件（KestroKVFile）大小：",
                                            ">> Hash Memory Files(KestroKVFile)size: "};

inline constexpr MESSAGE MSG_TABLE_FILE{"请输入数据文件大小（单位MB），输入\\q退出程序\n",
                                        "Please enter the data file size (unit MB), enter \\q to exit the program\n"};
inline constexpr MESSAGE MSG_TABLE_FILE_PROMPT{">> 数据文件（TableFile）大小：", ">> Data file (TableFile)size: "};

inline constexpr MESSAGE MSG_INDEX_FILE{"请输入索引文件大小（单位MB），输入\\q退出程序\n",
                                        "Please enter the index file size (unit MB), enter \\q to exit the program\n"};
inline constexpr MESSAGE MSG_INDEX_FILE_PROMPT{">> 索引文件（IndexFile）大小：", ">> Index file (IndexFile) size: "};

inline constexpr MESSAGE MSG_CACHE{"请输入缓存大小（单位MB），输入\\q退出程序\n",
                                   "Please enter the cache size (unit MB), enter \\q to exit the program\n"};
inline constexpr MESSAGE MSG_CACHE_PROMPT{">> 缓存大小：", ">> Cache size: "};

inline constexpr MESSAGE MSG_LOGS{
    "请输入活动日志组数（建议4组），输入\\q退出程序\n",
    "The number of active log groups (recommended for 4 groups), enter \\q to exit the program\n"};
inline constexpr MESSAGE MSG_LOGS_PROMPT{">> 活动日志组数：", ">> Log group number: "};
inline constexpr MESSAGE MSG_LOGS_BAD{">> 活动日志组最少3组，最多64组，请重新输入！\n",
                                      ">> Log array minimum 3, maximum 64, please reenter! \n"};

inline constexpr MESSAGE MSG_SUMMARY{
    "实例名：%s，本机IP：%s，集群虚拟IP：%s，系统文件大小：%s MB，内存数据文件大小：%s MB，内存索引文件大小：%s MB，"
    "内存哈希文件大小：%s MB，数据文件大小：%s MB，索引文件大小：%s MB，缓存大小：%s MB，活动日志组数：%s，"
    "数据库路径：%s\n",
    "Instance name:%s, Local IP:%s, cluster virtual IP:%s, system file size:%s MB, data memory file size:%s MB, "
    "index memory file size:%s MB,hash memory file size:%s MB, data file size:%s MB, index file size:%s MB, "
    "cache size:%s MB, number of active log groups:%s database path:%s\n"};
inline constexpr MESSAGE MSG_VERIFY{
    "是否按以上参数创建数据库？yes -- 确认，no -- 取消并退出程序，re -- 取消并重新输入参数\n",
    "Verify that the database is created according to the above parameters? Yes -- determine, no -- cancel and exit "
    "the "
    "program, re -- cancel and reenter parameters\n"};
inline constexpr MESSAGE MSG_VERIFY_PROMPT{">> 确认创建数据库：", ">> Confirm the creation of the database: "};

// Slave and standby dialogue. A row whose name ends in the node is of that dialogue, the others are of both.
inline constexpr MESSAGE MSG_JOIN_LOCAL_IP_PROMPT{">> 本机IP：", ">> Local IP:  "};
inline constexpr MESSAGE MSG_LOCAL_IP_BAD_SLAVE{"IP格式不正确，请输入本机IP：%d.%d.%d.%d\n",
                                                "The IP format is incorrect. Please enter local IP: %d.%d.%d.%d\n"};
inline constexpr MESSAGE MSG_LOCAL_IP_BAD_STANDBY{"IP格式错误，请输入本机IP：%d.%d.%d.%d\n",
                                                  "IP format is error, please enter local IP: %d.%d.%d.%d\n"};
inline constexpr MESSAGE MSG_MASTER_IP{"请输入主节点IP，输入\\q退出程序\n",
                                       "Please enter the IP of the primary node, enter \\q to exit the program\n"};
inline constexpr MESSAGE MSG_MASTER_IP_AGAIN{"请重新输入主节点IP，输入\\q退出程序\n",
                                             "Please reenter the master node IP, enter \\q to exit the program\n"};
inline constexpr MESSAGE MSG_MASTER_IP_PROMPT{">> 主节点IP：", ">> Master node IP:  "};
inline constexpr MESSAGE MSG_MASTER_IP_BAD_STANDBY{"IP格式错误，请输入主节点IP：%d.%d.%d.%d\n",
                                                   "IP format is error, please enter master IP：%d.%d.%d.%d\n"};
inline constexpr MESSAGE MSG_JOIN_SUMMARY_SLAVE{"本机IP：%d.%d.%d.%d，主节点IP：%d.%d.%d.%d\n",
                                                "Local IP：%d.%d.%d.%d ,master IP: %d.%d.%d.%d \n"};
inline constexpr MESSAGE MSG_JOIN_SUMMARY_STANDBY{"本机IP：%d.%d.%d.%d，主节点IP：%d.%d.%d.%d\n",
                                                  "Local IP: %d.%d.%d.%d , Main node IP: %d.%d.%d.%d \n"};
inline constexpr MESSAGE MSG_JOIN_VERIFY{
    "是否确认加入集群？yes -- 确认，no -- 取消并退出程序，re -- 取消并重新输入参数\n",
    "Confirm to join the cluster? Yes -- determine, no -- cancel and exit the program, re -- cancel and reenter "
    "parameters\n"};
inline constexpr MESSAGE MSG_JOIN_VERIFY_PROMPT{">> 确认加入集群：", ">> Confirm to join the cluster:  "};
inline constexpr MESSAGE MSG_JOIN_RESELECT{"输入参数错误，请重新选择！\n",
                                           "Input parameter error, please reselect! \n"};
inline constexpr MESSAGE MSG_USER{"请输入用户名，输入\\q退出程序\n",
                                  "Please enter the username, enter \\q to exit the program\n"};
inline constexpr MESSAGE MSG_USER_PROMPT{">> 用户名：", ">> user:  "};
/** The same in both languages. */
inline constexpr MESSAGE MSG_PASSWORD_PROMPT{"Enter password: ", "Enter password: "};

// Memory check.
inline constexpr MESSAGE MSG_MEMORY_SHORT{"可用内存不足，安装失败！\n",
                                          "Installation failed due to insufficient available memory!\n"};
inline constexpr MESSAGE MSG_MEMORY_RESET{"系统可用内存不足，请重新设置参数！\n",
                                          "System available memory is insufficient, please reset the parameters!\n"};
inline constexpr MESSAGE MSG_MEMORY_TIGHT{
    "系统可用内存较少，运行中可能出现未知问题！\n",
    "The system has less available memory, which may cause unknown problems in operation!\n"};

// Creation of a master instance.
inline constexpr MESSAGE MSG_DATABASE_EXISTS{"创建数据库失败，数据库已存在，数据库路径：%s\n",
                                             "Failed to create database, database already exists, database path: %s\n"};
inline constexpr MESSAGE MSG_SYSTEM_FILE_BEGIN{"正在创建数据库服务系统文件...\n",
                                               "Create database service system files...\n"};
inline constexpr MESSAGE MSG_SYSTEM_FILE_FAILED{"创建数据库服务系统文件失败，错误代码：%d\n",
                                                "Failed to create database service system file, error code: %d\n"};
inline constexpr MESSAGE MSG_SYSTEM_FILE_DONE{"创建数据库服务系统文件成功！\n",
                                              "Create database service system file successfully!\n"};
