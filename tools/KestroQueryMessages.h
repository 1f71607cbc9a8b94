#pragma once

#include "Language.h"

// Every message of `kestroquery`; each ends its line.

inline constexpr MESSAGE MSG_USAGE{
    "用法：kestroquery [选项] IP:端口 语句\n"
    "在服务器上执行一条SQL语句：查询结果以CSV格式打印，其他语句打印影响的行数\n\n",
    "Usage: kestroquery [OPTION]... IP:PORT STATEMENT\n"
    "Runs an SQL statement on a server: prints the rows of a query as CSV, and of others how many rows they affected.\n"
    "\n"};
inline constexpr MESSAGE MSG_USAGE_END{"\n退出状态：0表示成功；1表示无法登录或语句失败；2表示用法错误或无法输出\n",
                                       "\nExit status: 0 for an answer, 1 where the login or the statement fails, 2 "
                                       "for wrong use or where writing fails.\n"};
inline constexpr MESSAGE MSG_UNKNOWN_OPTION{"kestroquery：未知选项：%s\n", "kestroquery: unknown option: %s\n"};
inline constexpr MESSAGE MSG_NO_VALUE{"kestroquery：选项%s缺少值\n", "kestroquery: %s lacks its value\n"};
inline constexpr MESSAGE MSG_BAD_ADDRESS{"kestroquery：地址无效，应为IP:端口：%s\n",
                                         "kestroquery: this is no IP:PORT: %s\n"};
inline constexpr MESSAGE MSG_STATEMENTS{"kestroquery：需要一个地址和一条语句\n",
                                        "kestroquery: an address and one statement are needed\n"};
inline constexpr MESSAGE MSG_HINT{"请用kestroquery --help查看用法\n", "Try kestroquery --help.\n"};
inline constexpr MESSAGE MSG_NO_MEMORY{"kestroquery：内存不足\n", "kestroquery: out of memory\n"};
inline constexpr MESSAGE MSG_NOT_WRITTEN{"kestroquery：无法写入标准输出：%s\n",
                                         "kestroquery: standard output cannot be written: %s\n"};
inline constexpr MESSAGE MSG_LOGIN_ERROR{"登录%s失败，错误%d：%s\n", "no login at %s, error %d: %s\n"};
inline constexpr MESSAGE MSG_STATEMENT_ERROR{"错误%d：%s\n", "error %d: %s\n"};
inline constexpr MESSAGE MSG_AFFECTED{"影响行数：%d\n", "rows affected: %d\n"};
