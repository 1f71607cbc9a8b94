#pragma once

#include "Language.h"

// Every message of `kestroplan`; each ends its line.

inline constexpr MESSAGE MSG_USAGE{
    "用法：kestroplan [选项] [语句]\n"
    "编译一条SQL语句（来自参数或标准输入）并打印其执行计划\n\n",
    "Usage: kestroplan [OPTION]... [STATEMENT]\n"
    "Compiles an SQL statement, from its argument or from standard input, and prints "
    "the plan.\n\n"};
inline constexpr MESSAGE MSG_USAGE_END{
    "  --           其后的参数是语句\n\n"
    "退出状态：0表示成功；1表示语句有错；2表示用法错误或无法读写\n",
    "  --           what follows is the statement\n\n"
    "Exit status: 0 for a plan, 1 for a statement in error, 2 for wrong use or "
    "where reading or writing fails.\n"};
inline constexpr MESSAGE MSG_UNKNOWN_OPTION{"kestroplan：未知选项：%s\n", "kestroplan: unknown option: %s\n"};
inline constexpr MESSAGE MSG_MORE_STATEMENTS{"kestroplan：只能给出一条语句，多余的参数：%s\n",
                                             "kestroplan: one statement at a time, this is another one: %s\n"};
inline constexpr MESSAGE MSG_HINT{"请用kestroplan --help查看用法\n", "Try kestroplan --help.\n"};
inline constexpr MESSAGE MSG_NOT_READ{"kestroplan：无法读取标准输入：%s\n",
                                      "kestroplan: standard input cannot be read: %s\n"};
inline constexpr MESSAGE MSG_TOO_LONG{"kestroplan：语句过长，最多%d字节\n",
                                      "kestroplan: the statement is too long, at most %d bytes\n"};
inline constexpr MESSAGE MSG_NOT_WRITTEN{"kestroplan：无法写入标准输出：%s\n",
                                         "kestroplan: standard output cannot be written: %s\n"};
inline constexpr MESSAGE MSG_NO_MEMORY{"kestroplan：内存不足\n", "kestroplan: out of memory\n"};
/** Code and text, then the place, then the line and the caret below it. */
inline constexpr MESSAGE MSG_STATEMENT_ERROR{"错误%d：%s\n第%d行，第%d列：\n    %s\n    %s^\n",
                                             "error %d: %s\nline %d, column %d:\n    %s\n    %s^\n"};
/** What the reader holds against the plan stays English: it's for whoever works on the compiler. */
inline constexpr MESSAGE MSG_PLAN_REFUSED{"kestroplan：内部错误：编译所得的执行计划不合法：%s\n",
                                          "kestroplan: internal error: the plan that was compiled is unsound: %s\n"};
