#pragma once

// The walk over a format that both writers share, the one of dates and the one of durations.

#include "KestroDateFormatTable.h"
#include "KestroDateText.h"

/** Most bytes that one token writes. */
constexpr int DATE_TOKEN_LIMIT = 64;

/** Text on the stack; a token may run over the limit, the text is cut there. */
struct DATEOUTPUT {
    char m_szText[KESTRO_FORMAT_LIMIT + DATE_TOKEN_LIMIT];
    char* m_lpEnd = m_szText;

    bool IsFull() const { return m_lpEnd - m_szText >= KESTRO_FORMAT_LIMIT; }
    int Length() const { return IsFull() ? KESTRO_FORMAT_LIMIT : static_cast<int>(m_lpEnd - m_szText); }
};

/** The picture words in a format. */
template <KESTROCHAR T>
class CDateWords {
public:
    explicit CDateWords(const T* lpszFormat) : m_lpszFormat(lpszFormat) {}

    signed char Find(const T* lpFormat, int& nTokenLen) {
        if (!m_bLengthKnown) {
            m_nLen = TextLength(m_lpszFormat, DATE_TEXT_NO_LIMIT);
            m_bLengthKnown = true;
        }
        return FindDateWord(LoadWord(m_lpszFormat, m_nLen, static_cast<std::size_t>(lpFormat - m_lpszFormat)),
                            nTokenLen);
    }

private:
    const T* m_lpszFormat;
    /** Measured when the first word is looked for. */
    std::size_t m_nLen = 0;
    bool m_bLengthKnown = false;
};

/** Copies a text into the pool, with a terminator that counts in its length. 0 or 3. */
[[nodiscard]] int DateTextToValue(CKestroBufferPool* lpPool, const char* lpText, int nLen, st_VARDATA& stResult);

/** A character in UTF-8. */
char* PutUtf8(char* lpOut, unsigned uChar);

/** One character of a format as it stands. */
inline char* PutLiteral(char* lpOut, const char*& lpFormat) {
    *lpOut++ = *lpFormat++;
    return lpOut;
}
/** A wide one, or two that are a pair of surrogates, in UTF-8; what is no character becomes "?". */
char* PutLiteral(char* lpOut, const wchar_t*& lpFormat);

/** Whether double quotes bound literal text: in a format with tokens outside of them, none of which has a "%". */
template <KESTROCHAR T>
bool QuotesBoundText(const T* lpszFormat);

/** What double quotes in a format are. */
enum FORMATQUOTES {
    QUOTES_UNKNOWN,
    QUOTES_LITERAL,
    QUOTES_BOUND_TEXT,
};

/** What a character of a format may begin. */
enum FORMATCHAR : BYTE {
    FORMATCHAR_LITERAL,
    FORMATCHAR_WORD,
    FORMATCHAR_PERCENT,
    FORMATCHAR_QUOTE,
    FORMATCHAR_END,
};

inline constexpr auto FORMAT_CHARS = [] {
    std::array<FORMATCHAR, 256> arChars{};
    for (unsigned i = 'A'; i <= 'Z'; ++i)
        arChars[i] = arChars[i + 'a' - 'A'] = FORMATCHAR_WORD;
    arChars['%'] = FORMATCHAR_PERCENT;
    arChars['"'] = FORMATCHAR_QUOTE;
    arChars[0] = FORMATCHAR_END;
    return arChars;
}();

/**
 * Appends what a format writes until it ends or the output is full: tokens by `lpfnWrite(char* lpOut, signed char
 * nCode)`, which answers the end of what it wrote or null to stop; all else as it stands. Quotes that
 * bound literal text are dropped. Answers false if it was stopped.
 */
template <KESTROCHAR T, typename WRITER>
bool WriteDateFormat(DATEOUTPUT& stOutput, const T* lpszFormat, FORMATQUOTES nQuotes, WRITER lpfnWrite) {
    const T* lpFormat = lpszFormat;
    CDateWords<T> stWords(lpszFormat);
    char* const lpFull = stOutput.m_szText + KESTRO_FORMAT_LIMIT;
    char* lpOut = stOutput.m_lpEnd;
    while (lpOut < lpFull) {
        const FORMATCHAR nClass = FORMAT_CHARS[CharIndex(*lpFormat)];
        if (nClass == FORMATCHAR_LITERAL) {
            lpOut = PutLiteral(lpOut, lpFormat);
            continue;
        }
        if (nClass == FORMATCHAR_END) break;
        if (nClass == FORMATCHAR_QUOTE) {
            // Only a format with a quote is looked through for what its quotes mean, and only once.
            if (nQuotes == QUOTES_UNKNOWN) nQuotes = QuotesBoundText(lpszFormat) ? QUOTES_BOUND_TEXT : QUOTES_LITERAL;
            if (nQuotes == QUOTES_LITERAL) {
                lpOut = PutLiteral(lpOut, lpFormat);
                continue;
            }
            for (++lpFormat; *lpFormat && *lpFormat != '"' && lpOut < lpFull;)
                lpOut = PutLiteral(lpOut, lpFormat);
            if (*lpFormat == '"') ++lpFormat;
            continue;
        }
        int nTokenLen = 2;
        const signed char nCode =
            nClass == FORMATCHAR_PERCENT ? FindDateLetter(lpFormat[1]) : stWords.Find(lpFormat, nTokenLen);
        if (nCode >= 0) {
            lpFormat += nTokenLen;
            lpOut = lpfnWrite(lpOut, nCode);
            if (!lpOut) return false;
        } else {
            // Of "%%" the second sign is written, as of any other that begins no token the only one.
            if (nCode == DF_PERCENT) ++lpFormat;
            lpOut = PutLiteral(lpOut, lpFormat);
        }
    }
    stOutput.m_lpEnd = lpOut;
    return true;
}
