#pragma once

#include <cstdio>
#include <string_view>

#include "Language.h"

/** Whether the last byte written was no line feed, so that the next message would stand behind a prompt. */
inline bool g_bLineOpen = false;

/** Writes a message without arguments as it stands, for tables of messages. */
inline void SayText(const MESSAGE& stMessage) {
    std::fputs(Text(stMessage), stdout);
    g_bLineOpen = !std::string_view(Text(stMessage)).ends_with('\n');
}

/**
 * Writes a message in the language in use to standard output, where all of the setup program's output goes. The build
 * fails when the arguments don't fit the conversions of either twin, so a row and its callers can't drift apart:
 * `Say<MSG_CONFIG_NOT_WRITTEN>(g_lpConfigPath)`. A row is a namespace-scope `inline constexpr MESSAGE`; texts carry
 * their own line feeds.
 */
template <const MESSAGE& stMessage, typename... A>
void Say(A... args) {
    static_assert(ArgumentsFit<A...>(stMessage.m_lpszChinese), "the arguments don't fit the Chinese text");
    static_assert(ArgumentsFit<A...>(stMessage.m_lpszEnglish), "the arguments don't fit the English text");
    if constexpr (sizeof...(A) == 0) {
        constexpr auto HasPercent = [](std::string_view strText) { return strText.find('%') != strText.npos; };
        static_assert(!HasPercent(stMessage.m_lpszChinese) && !HasPercent(stMessage.m_lpszEnglish),
                      "a text without arguments is written as it stands, so \"%%\" would come out as two");
        SayText(stMessage);
    } else {
        std::printf(Text(stMessage), args...);
        g_bLineOpen = !std::string_view(stMessage.m_lpszEnglish).ends_with('\n');
    }
}

// Messages of more than one flow.

inline constexpr MESSAGE MSG_CONFIG_NOT_WRITTEN{"无法写入配置文件，文件路径：%s\n",
                                                "The configuration file cannot be written, file path: %s\n"};
