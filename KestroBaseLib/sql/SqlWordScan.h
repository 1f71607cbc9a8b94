#pragma once

#include <array>
#include <cstring>
#include <string_view>

#include "CommonDataDefChar.h"
#include "TypeDef.h"

// Where the words of a statement's text begin and end. What becomes of them is the caller's affair: no memory is used
// here. There are no lexical errors; what isn't closed runs to the end of the text.
//
// A word is
// - a text in single quotes, where a doubled quote stands for one; a text in double quotes, which begins only where no
//   word is in progress; a text in backticks; all with their quotes;
// - digits, a point and digits: an exponent is a word of its own, and so is the point behind a word of other bytes;
// - one of ; , . ( ) [ ] @ ? - * + / = > < ! : or of || -> >= != <= := <- <>;
// - or a run of other bytes but blanks, tabs and line ends, in which double quotes and single bars may stand.
// Comments from -- to the line's end and between /* and */ are passed over; one without a close takes the rest of the
// text. A backslash is a byte like any other, also in quotes. No word is ->> or <=>: each comes as two, and whoever
// wants one joins them.

/** What a byte does to a word; those up to SQLCHAR_INSIDE may stand in a run. */
enum SQLCHAR : BYTE {
    SQLCHAR_RUN,
    SQLCHAR_DIGIT,
    SQLCHAR_DOUBLE_QUOTE,
    SQLCHAR_INSIDE = SQLCHAR_DOUBLE_QUOTE,
    SQLCHAR_BAR,
    SQLCHAR_END,
    SQLCHAR_BLANK,
    SQLCHAR_SINGLE_QUOTE,
    SQLCHAR_BACKQUOTE,
    SQLCHAR_POINT,
    SQLCHAR_MINUS,
    SQLCHAR_SLASH,
    SQLCHAR_LESS,
    /** May have a "=" behind it. */
    SQLCHAR_COMPARE,
    /** A word by itself. */
    SQLCHAR_SIGN,
};

inline constexpr std::array<BYTE, 256> SQL_CHAR = [] {
    std::array<BYTE, 256> arChar{};
    const auto Set = [&](std::string_view szBytes, SQLCHAR nChar) {
        for (const char c : szBytes)
            arChar[static_cast<BYTE>(c)] = nChar;
    };
    Set("0123456789", SQLCHAR_DIGIT);
    Set("\"", SQLCHAR_DOUBLE_QUOTE);
    Set("|", SQLCHAR_BAR);
    Set({"\0", 1}, SQLCHAR_END);
    Set(" \t\r\n", SQLCHAR_BLANK);
    Set("'", SQLCHAR_SINGLE_QUOTE);
    Set("`", SQLCHAR_BACKQUOTE);
    Set(".", SQLCHAR_POINT);
    Set("-", SQLCHAR_MINUS);
    Set("/", SQLCHAR_SLASH);
    Set("<", SQLCHAR_LESS);
    Set(">!:", SQLCHAR_COMPARE);
    Set(";,()[]@?*+=", SQLCHAR_SIGN);
    return arChar;
}();

/** A scan over one text, which ends with a zero byte and holds no other. */
class CSqlWordScan {
public:
    CSqlWordScan(const char* lpszText, int nLen) : m_lpszText(lpszText), m_lpszEnd(lpszText + nLen) {}

    /**
     * Hands each word from `nStart` (0 to the text's length) on to `Add(position, length)`, in order. An answer other
     * than 0 ends the scan and is its answer.
     */
    template <typename SINK>
    [[nodiscard]] int Scan(int nStart, SINK&& Add) const {
        const char* p = m_lpszText + nStart;
        /** Where the last run ended: a point there is no decimal point. */
        const char* lpszRunEnd = nullptr;
        while (true) {
            // Most words have one blank in front.
            if (Char(p) == SQLCHAR_BLANK) ++p;
            const char* lpszNext = p + 1;
            switch (Char(p)) {
                case SQLCHAR_BLANK:
                    ++p;
                    continue;
                case SQLCHAR_RUN:
                    lpszNext = lpszRunEnd = RunEnd(lpszNext);
                    break;
                case SQLCHAR_SIGN:
                    break;
                case SQLCHAR_DIGIT:
                    lpszNext = DigitsEnd(lpszNext);
                    if (*lpszNext == '.' && IsDigit(lpszNext + 1))
                        lpszNext = DigitsEnd(lpszNext + 1);
                    else
                        lpszNext = lpszRunEnd = RunEnd(lpszNext);
                    break;
                case SQLCHAR_POINT:
                    if (p != lpszRunEnd) lpszNext = DigitsEnd(lpszNext);
                    break;
                case SQLCHAR_SINGLE_QUOTE:
                    lpszNext = StringEnd(p);
                    break;
                case SQLCHAR_DOUBLE_QUOTE:
                case SQLCHAR_BACKQUOTE:
                    lpszNext = QuotedEnd(p);
                    break;
                case SQLCHAR_BAR:
                    lpszNext = *lpszNext == '|' ? p + 2 : lpszRunEnd = RunEnd(lpszNext);
                    break;
                case SQLCHAR_MINUS:
                    if (*lpszNext == '-') {
                        p = LineEnd(p);
                        continue;
                    }
                    if (*lpszNext == '>') ++lpszNext;
                    break;
                case SQLCHAR_SLASH:
                    if (*lpszNext == '*') {
                        p = CommentEnd(p);
                        continue;
                    }
                    break;
                case SQLCHAR_LESS:
                    if (*lpszNext == '=' || *lpszNext == '-' || *lpszNext == '>') ++lpszNext;
                    break;
                case SQLCHAR_COMPARE:
                    if (*lpszNext == '=') ++lpszNext;
                    break;
                default:
                    return 0;
            }
            const int nResult = Add(static_cast<int>(p - m_lpszText), static_cast<int>(lpszNext - p));
            if (nResult != 0) return nResult;
            p = lpszNext;
        }
    }

private:
    static BYTE Char(const char* p) { return SQL_CHAR[static_cast<BYTE>(*p)]; }
    static bool IsDigit(const char* p) { return Char(p) == SQLCHAR_DIGIT; }

    static const char* DigitsEnd(const char* p) {
        while (IsDigit(p))
            ++p;
        return p;
    }
    static const char* RunEnd(const char* p) {
        while (Char(p) <= SQLCHAR_INSIDE || (*p == '|' && p[1] != '|'))
            ++p;
        return p;
    }
    static const char* LineEnd(const char* p) {
        while (*p != 0 && *p != '\r' && *p != '\n')
            ++p;
        return p;
    }

    // What may be long is searched by the library.
    const char* QuotedEnd(const char* p) const {
        const void* const lpQuote = std::memchr(p + 1, *p, static_cast<std::size_t>(m_lpszEnd - p - 1));
        return lpQuote ? static_cast<const char*>(lpQuote) + 1 : m_lpszEnd;
    }
    const char* StringEnd(const char* p) const {
        do
            p = QuotedEnd(p);
        while (*p == '\'');
        return p;
    }
    const char* CommentEnd(const char* p) const {
        // Behind the opening star, so that "/*/" opens a comment and doesn't close it.
        const std::string_view szText(p + 2, static_cast<std::size_t>(m_lpszEnd - p - 2));
        const std::size_t nPos = szText.find("*/");
        return nPos == szText.npos ? m_lpszEnd : szText.data() + nPos + 2;
    }

    const char* m_lpszText;
    const char* m_lpszEnd;
};
