#pragma once

#include "Language.h"

// Every message of `kestrodevserver`; each ends its line.

inline constexpr MESSAGE MSG_USAGE{
    "用法：kestrodevserver [选项]\n"
    "开发用服务器：在本机模拟数据库服务器，仅供开发与测试\n\n",
    "Usage: kestrodevserver [OPTION]...\n"
    "Stands in for the database server on one machine, for development and tests.\n\n"};
inline constexpr MESSAGE MSG_USAGE_FAULTS{
    "\n规则：命令 [从][-[到]] 行为=值...，按该命令的请求次数（从1起）生效，例如：query 2-3 drop=50\n"
    "命令：execute query update begin end plan-info redo login logout use cluster-status\n"
    "add-node drop-node modify-node any\n"
    "行为：\n",
    "\nA rule is COMMAND [FROM][-[TO]] KIND=VALUE..., counting the requests of that command from 1, for example\n"
    "\"query 2-3 drop=50\". Commands: execute query update begin end plan-info redo login logout use\n"
    "cluster-status add-node drop-node modify-node any. Kinds:\n"};
inline constexpr MESSAGE MSG_USAGE_END{
    "\n退出状态：0表示正常结束；1表示无法运行；2表示用法错误\n",
    "\nExit status: 0 after an end by SIGTERM, SIGINT or SIGHUP, 1 where it can't run, 2 for wrong use.\n"};
inline constexpr MESSAGE MSG_UNKNOWN_OPTION{"kestrodevserver：未知选项：%s\n", "kestrodevserver: unknown option: %s\n"};
inline constexpr MESSAGE MSG_NO_VALUE{"kestrodevserver：选项%s缺少值\n", "kestrodevserver: %s lacks its value\n"};
inline constexpr MESSAGE MSG_BAD_VALUE{"kestrodevserver：选项%s的值无效：%s\n",
                                       "kestrodevserver: no value for %s: %s\n"};
inline constexpr MESSAGE MSG_HINT{"请用kestrodevserver --help查看用法\n", "Try kestrodevserver --help.\n"};
inline constexpr MESSAGE MSG_BAD_RULE{"kestrodevserver：无法识别规则“%s”中的“%s”\n",
                                      "kestrodevserver: in the rule \"%s\" this can't be read: %s\n"};
inline constexpr MESSAGE MSG_SCRIPT{"kestrodevserver：无法读取脚本%s：%s\n",
                                    "kestrodevserver: the script %s cannot be read: %s\n"};
inline constexpr MESSAGE MSG_LISTEN{"kestrodevserver：无法在%s:%d上监听：%s\n",
                                    "kestrodevserver: cannot listen on %s:%d: %s\n"};
inline constexpr MESSAGE MSG_SEGMENT{"kestrodevserver：无法创建共享内存0x%x：%s（可用--key指定其他键值）\n",
                                     "kestrodevserver: cannot make the shared memory 0x%x: %s (--key takes another)\n"};
inline constexpr MESSAGE MSG_NO_MEMORY{"kestrodevserver：内存不足\n", "kestrodevserver: out of memory\n"};
inline constexpr MESSAGE MSG_NO_EVENTS{"kestrodevserver：无法接收信号：%s\n",
                                       "kestrodevserver: cannot wait for signals: %s\n"};
inline constexpr MESSAGE MSG_LINK_MEMORY{"连接%d：内存不足，已关闭\n", "link %d: out of memory, closed\n"};
/** Programs read these two lines: they are the same in both languages. */
inline constexpr MESSAGE MSG_PROGRESS{"progress in shared memory %d\n", "progress in shared memory %d\n"};
inline constexpr MESSAGE MSG_LISTENING{"listening on %s:%d\n", "listening on %s:%d\n"};
inline constexpr MESSAGE MSG_TRACE{"连接%d：%s，令牌%d，正文%u字节；应答状态%d，值%d，正文%u字节\n",
                                   "link %d: %s, token %d, %u bytes: status %d, value %d, %u bytes\n"};
