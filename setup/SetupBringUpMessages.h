#pragma once

#include "SetupMessage.h"

// Messages of an instance's bring-up. A text without a line feed is followed by one that brings its own, or by a text
// that overwrites it from the line's start.

/** Ends a line that was left open. */
inline constexpr MESSAGE MSG_LINE_END{"\n", "\n"};

// Services. The failures of the three flows differ in their marks and blanks.
inline constexpr MESSAGE MSG_SERVICE_BEGIN_SLAVE{"正在启动服务...\n", "Start up the service...\n"};
inline constexpr MESSAGE MSG_SERVICE_BEGIN_STANDBY{"正在启动服务...\n", "Start service...\n"};
inline constexpr MESSAGE MSG_STORAGE_BEGIN{"正在启动存储服务...", "Start storage service..."};
inline constexpr MESSAGE MSG_STORAGE_FAILED_MASTER{"启动服务kestrostorage失败，错误代码：%d\n",
                                                   "Start service kestrostorage failed, error code:%d\n"};
inline constexpr MESSAGE MSG_STORAGE_FAILED_SLAVE{"启动服务kestrostorage失败，错误代码：%d\n",
                                                  "Start service kestrostorage failed, error code: %d\n"};
inline constexpr MESSAGE MSG_STORAGE_FAILED_STANDBY{"启动服务kestrostorage失败，错误代码：%d\n",
                                                    "Start service kestrostorage failed, error code： %d\n"};
inline constexpr MESSAGE MSG_MAIN_BEGIN{"\r正在启动主服务...", "\rStart the main service..."};
inline constexpr MESSAGE MSG_MAIN_FAILED{"启动服务kestroservice失败，错误代码：%d\n",
                                         "Start service kestroservice failed, error code: %d\n"};

// Connection and status.
inline constexpr MESSAGE MSG_CONNECT_BEGIN{"正在连接Kestro服务...\n", "Connecting to Kestro Service...\n"};
inline constexpr MESSAGE MSG_CONNECT_END{"连接Kestro服务...\n", "Connect to Kestro Service...\n"};
/** Shows 127.0.0.1 whatever the address was. Intended. */
inline constexpr MESSAGE MSG_CONNECT_FAILED{"连接服务器失败，IP地址：127.0.0.1:%d（%d）\n",
                                            "Connection server failed, IP address： 127.0.0.1:%d(%d)\n"};
inline constexpr MESSAGE MSG_STATUS_FAILED{"查询数据库状态失败（%d）\n", "Failed to query database status（%d）\n"};
inline constexpr MESSAGE MSG_STATUS_NO_ROW{"未查询到数据\n", "No data was queried\n"};

// Data files.
inline constexpr MESSAGE MSG_DATA_FILES_BEGIN{"开始创建数据文件...", "Start creating data files..."};
inline constexpr MESSAGE MSG_PROGRESS_STEP{"\n%s：[%d / %d]", "\n%s：[%d / %d]"};
inline constexpr MESSAGE MSG_PROGRESS_ON{"\r%s：[%d / %d]", "\r%s：[%d / %d]"};
inline constexpr MESSAGE MSG_PROGRESS_END{"\r%s：[%d / %d]\n", "\r%s：[%d / %d]\n"};
inline constexpr MESSAGE MSG_DATA_FILES_FAILED{"创建数据库服务数据文件失败，错误代码：%d\n",
                                               "Failed to create database service data file, error code: %d\n"};
inline constexpr MESSAGE MSG_TRACE_NO_THREAD{"启动数据文件线程失败（%d）",
                                             "Failed to start the data file thread（%d）"};
inline constexpr MESSAGE MSG_TRACE_FILES_DONE{"文件创建完成", "Create File Completion"};
