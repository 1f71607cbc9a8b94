#pragma once

// Reading the text of a value within its bounds, and writing the text of a value. For the sources of the
// conversions and operators.

#include "VarData.h"

/**
 * A text as a C string. One without a terminator inside its length is copied, its first 535 bytes at most: numbers and
 * dates are shorter. A null text is the empty one.
 */
class CBoundedText {
public:
    CBoundedText(const char* lpszText, int nLen);
    explicit CBoundedText(const st_VARDATA& stText) : CBoundedText(stText.m_lpszValue, stText.m_nStrLen) {}
    CBoundedText(const CBoundedText&) = delete;
    CBoundedText& operator=(const CBoundedText&) = delete;

    const char* Text() const { return m_lpszText; }

private:
    const char* m_lpszText;
    char m_szCopy[536];
};

/** Bytes of a text in front of its terminator or its end. */
int TextLen(const st_VARDATA& stText);

/** First byte of an interval's text. */
inline constexpr char INTERVAL_MARK = 1;
/** Whether a value is an interval, as a statement's INTERVAL makes it: a text, but not the bytes of a literal. */
inline bool IsInterval(const st_VARDATA& stValue) {
    return stValue.m_vt == VT_VARCHAR && stValue.m_bCharset != KESTRO_CHARSET_HEX && stValue.m_lpszValue &&
           stValue.m_nStrLen > 0 && *stValue.m_lpszValue == INTERVAL_MARK;
}

/** As `strtod` reads it in the C locale, so that a process with a decimal comma reads what is printed here. */
double ReadDouble(const char* lpszText);

/** `nLen` bytes and a terminator in the pool; null without memory. */
char* CopyToPool(CKestroBufferPool* lpPool, const char* lpBytes, int nLen);

/** Writes the text of a number, a date or a time, a double with six places; its length, or -1 for other values. */
int PrintValue(const st_VARDATA& stValue, char* lpszText);
/** The same with no more places than a double needs. */
int PrintShortValue(const st_VARDATA& stValue, char* lpszText);

/** Bytes that a numeric literal like "0x4142" stands for: half of its digits. */
int LiteralSize(const st_VARDATA& stLiteral);
/** Writes them and a terminator; answers how many were digits. */
int DecodeLiteral(const st_VARDATA& stLiteral, char* lpBytes);
