#pragma once

#include <cstddef>
#include <type_traits>

/** 1: messages are Chinese; any other value: English. Set once by `InitLanguageSetting`, before a thread starts. */
extern int g_nLanguage_Chinese;

/**
 * The next printf conversion at or behind `lpszText`, "%%" passed over. Answers its length with `lpszText` moved to its
 * "%", or 0 with `lpszText` at the text's end.
 */
constexpr std::size_t NextConversion(const char*& lpszText) {
    for (; *lpszText; ++lpszText) {
        if (*lpszText != '%') continue;
        if (lpszText[1] == '%') {
            ++lpszText;
            continue;
        }
        std::size_t nLen = 1;
        for (const char* p = lpszText + 1; *p; ++p, ++nLen) {
            if ((*p >= 'a' && *p <= 'z' && *p != 'l' && *p != 'h' && *p != 'z') || (*p >= 'A' && *p <= 'Z'))
                return nLen + 1;
        }
        return nLen;
    }
    return 0;
}

/** Whether two formats take the same arguments: the same conversions in the same order. */
constexpr bool SameConversions(const char* lpszFirst, const char* lpszSecond) {
    for (;;) {
        const std::size_t nFirst = NextConversion(lpszFirst);
        const std::size_t nSecond = NextConversion(lpszSecond);
        if (nFirst != nSecond) return false;
        if (nFirst == 0) return true;
        for (std::size_t i = 0; i < nFirst; ++i)
            if (lpszFirst[i] != lpszSecond[i]) return false;
        lpszFirst += nFirst;
        lpszSecond += nSecond;
    }
}

/** A message in both languages. The build fails when the twins take different arguments. */
struct MESSAGE {
    const char* m_lpszChinese;
    const char* m_lpszEnglish;

    consteval MESSAGE(const char* lpszChinese, const char* lpszEnglish)
        : m_lpszChinese(lpszChinese), m_lpszEnglish(lpszEnglish) {
        if (!SameConversions(lpszChinese, lpszEnglish)) throw "the twins of a message take different arguments";
    }
};

/** Whether texts are Chinese: the one place that decides. */
inline bool IsChinese() {
    return g_nLanguage_Chinese == 1;
}

/** The text of a message in the language in use. */
inline const char* Text(const MESSAGE& stMessage) {
    return IsChinese() ? stMessage.m_lpszChinese : stMessage.m_lpszEnglish;
}

/** Whether an argument of type T fits a conversion of that length: s, d or i, u, x or X, each with ll where wide. */
template <typename T>
constexpr bool ArgumentFits(const char* lpszConversion, std::size_t nLen) {
    using Plain = std::decay_t<T>;
    const bool bWide = nLen > 3 && lpszConversion[nLen - 2] == 'l' && lpszConversion[nLen - 3] == 'l';
    switch (lpszConversion[nLen - 1]) {
        case 's':
            return std::is_same_v<Plain, char*> || std::is_same_v<Plain, const char*>;
        case 'd':
        case 'i':
        case 'u':
        case 'x':
        case 'X':
            return std::is_integral_v<Plain> && (sizeof(Plain) == 8) == bWide;
        default:
            return false;
    }
}

/** Whether arguments of the types A fit a format, one conversion an argument. */
template <typename... A>
constexpr bool ArgumentsFit(const char* lpszFormat) {
    [[maybe_unused]] auto Next = [&]<typename T>() {
        const std::size_t nLen = NextConversion(lpszFormat);
        const bool bFits = nLen != 0 && ArgumentFits<T>(lpszFormat, nLen);
        lpszFormat += nLen;
        return bFits;
    };
    const bool bAll = (true && ... && Next.template operator()<A>());
    return bAll && NextConversion(lpszFormat) == 0;
}
