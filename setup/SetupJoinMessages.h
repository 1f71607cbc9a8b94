#pragma once

#include "SetupMessage.h"

// Messages of a join. A row whose name ends in the node is of that flow, the others are of both.

// Login and checks at the master.
inline constexpr MESSAGE MSG_LOGIN_FAILED{
    "登录服务失败，请检查IP[%s]、端口[%d]、用户名[%s]和密码\n",
    "The login service failed. Please check your IP [%s], port [%d], username [%s] and password\n"};
inline constexpr MESSAGE MSG_MASTER_QUERY_FAILED_SLAVE{"查询主数据库参数失败（%d）\n",
                                                       "Failure to query main database parameters (%d) \n"};
inline constexpr MESSAGE MSG_MASTER_COLUMN_FAILED_SLAVE{"查询主数据库参数失败（%d）\n",
                                                        "Failed to query main database parameters (%d) \n"};
inline constexpr MESSAGE MSG_MASTER_FAILED_STANDBY{"查询主数据库参数失败（%d）\n",
                                                   "Failed to query main database parameters（%d）\n"};
inline constexpr MESSAGE MSG_MASTER_PATH{
    "数据库部署路径不一致，主节点数据库路径为：%s\n",
    "The database deployment path is inconsistent, and the main node database path is: %s\n"};
inline constexpr MESSAGE MSG_NOT_MASTER{"输入的服务IP不是主节点，请检查IP[%s]、端口[%d]、用户名[%s]和密码\n",
                                        "The service you enter IP is not the primary node. Please check your IP [%s], "
                                        "port [%d], username [%s] and password\n"};

// The local node.
inline constexpr MESSAGE MSG_SYSTEM_FILE_DONE_SLAVE{"创建数据库服务系统文件成功！\n",
                                                    "Successful creation of database service system files! \n"};
inline constexpr MESSAGE MSG_SYSTEM_FILE_DONE_STANDBY{"创建数据库服务系统文件成功！\n",
                                                      "Create database service system file successfully! \n"};
inline constexpr MESSAGE MSG_LOCAL_FAILED_SLAVE{"连接服务器失败，IP地址：%d.%d.%d.%d:%d（%d）\n",
                                                "Connection server failed, IP address: %d.%d.%d.%d:%d(%d)\n"};
inline constexpr MESSAGE MSG_LOCAL_FAILED_STANDBY{"连接服务器失败，IP地址：%d.%d.%d.%d:%d（%d）\n",
                                                  "Connection server failed, IP address： %d.%d.%d.%d:%d(%d)\n"};

// The request and its progress.
inline constexpr MESSAGE MSG_PARAMETERS_FAILED_STANDBY{"查询数据库参数失败（%d）\n",
                                                       "Failure to query database parameters（%d）\n"};
inline constexpr MESSAGE MSG_JOIN_REQUEST_FAILED{"发送加入集群请求失败（%d）！\n",
                                                 "Failed to send join cluster request(%d)！\n"};
inline constexpr MESSAGE MSG_PROGRESS_ABSENT{"无法读取加入集群的进度，共享内存：0x%x\n",
                                             "The progress of joining the cluster cannot be read, shared memory: "
                                             "0x%x\n"};
/** The same in both languages, as the next one. */
inline constexpr MESSAGE MSG_JOIN_FAILED_SLAVE{"Send join request failed (%d). Please check the error log!\n",
                                               "Send join request failed (%d). Please check the error log!\n"};
inline constexpr MESSAGE MSG_JOIN_DONE_SLAVE{"Cluster entry completed!\n", "Cluster entry completed!\n"};
