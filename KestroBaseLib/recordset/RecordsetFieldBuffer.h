#pragma once

#include <array>

#include "VarData.h"

/** Forms of a field's value in a row. */
enum FIELDENTRYFORM : BYTE {
    ENTRY_NONE,   // no bytes and no value
    ENTRY_SIGNED, // a number with a sign
    ENTRY_PLAIN,  // other bytes that stay as they are
    ENTRY_TEXT,   // a counted run: a byte, or 255 and 32 bits, and as many bytes
    ENTRY_BYTES,
};

struct FIELDENTRYROW {
    BYTE m_bType;
    FIELDENTRYFORM m_nForm;
    /** Bytes, 0 where they are counted. */
    BYTE m_bWidth;
    /** Type of the value made. */
    BYTE m_bValueType;
};

/** The types that have a form; a type that isn't among them has no bytes. */
inline constexpr FIELDENTRYROW FIELD_ENTRY_ROWS[] = {
    {VT_INT, ENTRY_SIGNED, 4, VT_INT},       {VT_BIGINT, ENTRY_SIGNED, 8, VT_BIGINT},
    {VT_DOUBLE, ENTRY_PLAIN, 8, VT_DOUBLE},  {VT_DATETIME, ENTRY_PLAIN, 8, VT_DATETIME},
    {VT_CHAR, ENTRY_TEXT, 0, VT_VARCHAR},    {VT_VARCHAR, ENTRY_TEXT, 0, VT_VARCHAR},
    {VT_CLOB, ENTRY_TEXT, 0, VT_VARCHAR},    {VT_BLOB, ENTRY_BYTES, 0, VT_BLOB},
    {VT_TIME, ENTRY_PLAIN, 4, VT_TIME},      {VT_DATE, ENTRY_PLAIN, 4, VT_DATE},
    {VT_TINYINT, ENTRY_SIGNED, 1, VT_INT},   {VT_SMALLINT, ENTRY_SIGNED, 2, VT_INT},
    {VT_DECIMAL, ENTRY_TEXT, 0, VT_VARCHAR},
};

/** A row of the table by its type code, made ready for decoding. */
struct FIELDENTRY {
    /** Of 8 bytes those that belong to a number, and of them the sign's bit. */
    std::uint64_t m_uMask;
    std::uint64_t m_uSign;
    FIELDENTRYFORM m_nForm;
    BYTE m_bWidth;
    BYTE m_bValueType;
};

inline constexpr std::array<FIELDENTRY, 256> FIELD_ENTRIES = [] {
    std::array<FIELDENTRY, 256> arEntry{};
    for (const FIELDENTRYROW& st : FIELD_ENTRY_ROWS) {
        const std::uint64_t uMask = st.m_bWidth == 0 ? 0 : ~std::uint64_t{0} >> (64 - 8 * st.m_bWidth);
        const std::uint64_t uSign = st.m_nForm == ENTRY_SIGNED ? uMask ^ (uMask >> 1) : 0;
        arEntry[st.m_bType] = {uMask, uSign, st.m_nForm, st.m_bWidth, st.m_bValueType};
    }
    return arEntry;
}();

template <typename T>
T LoadLE(const BYTE* lpBytes) {
    T nValue;
    std::memcpy(&nValue, lpBytes, sizeof nValue);
    return nValue;
}

/** Where a row is read: the place of its next byte, its end, and the end of what may be read behind it. */
struct ROWCURSOR {
    const BYTE* m_lpNext;
    const BYTE* m_lpEnd;
    const BYTE* m_lpReadable;

    std::size_t Left() const { return static_cast<std::size_t>(m_lpEnd - m_lpNext); }
};

/** Takes a counted run: its bytes and their number. False if it passes the end of the row. */
inline bool TakeRun(ROWCURSOR& stRow, const BYTE*& lpRun, UINT& nLen) {
    constexpr UINT LONG_COUNT = 255;
    if (stRow.Left() == 0) return false;
    nLen = *stRow.m_lpNext++;
    if (nLen == LONG_COUNT) {
        if (stRow.Left() < sizeof nLen) return false;
        nLen = LoadLE<UINT>(stRow.m_lpNext);
        stRow.m_lpNext += sizeof nLen;
    }
    if (nLen > stRow.Left()) return false;
    lpRun = stRow.m_lpNext;
    stRow.m_lpNext += nLen;
    return true;
}

/** The number at the cursor, without a branch where 8 bytes may be read. */
inline long long LoadNumber(const FIELDENTRY& stEntry, const ROWCURSOR& stRow) {
    std::uint64_t uValue = 0;
    if (stRow.m_lpReadable - stRow.m_lpNext >= static_cast<std::ptrdiff_t>(sizeof uValue))
        uValue = LoadLE<std::uint64_t>(stRow.m_lpNext) & stEntry.m_uMask;
    else
        std::memcpy(&uValue, stRow.m_lpNext, stEntry.m_bWidth);
    return static_cast<long long>((uValue ^ stEntry.m_uSign) - stEntry.m_uSign);
}

/** Texts up to this length are copied in steps of `COPY_STEP` bytes, which may pass the end of the copy's last one. */
constexpr UINT SHORT_TEXT = 64;
constexpr UINT COPY_STEP = 16;

/** Copies a text and its terminator; `lpCopy` becomes the end of that. */
inline void CopyText(const BYTE* lpText, UINT nLen, const BYTE* lpReadable, LPBYTE& lpCopy) {
    if (nLen > SHORT_TEXT || lpReadable - lpText < static_cast<std::ptrdiff_t>(SHORT_TEXT))
        std::memcpy(lpCopy, lpText, nLen);
    else
        for (UINT i = 0; i < nLen; i += COPY_STEP)
            std::memcpy(lpCopy + i, lpText + i, COPY_STEP);
    lpCopy += nLen;
    *lpCopy++ = 0;
}

/**
 * Takes a field's value from a row; false if it passes the row's end. The value must come VT_EMPTY and with all bytes
 * zero. A text or bytes become a view of their copy at `lpCopy`, which has room for the row and `COPY_STEP` bytes more
 * and moves behind it; the length leaves its terminator out. An empty text is NULL. A type without a form makes
 * nothing.
 */
inline bool GetValueFromFieldBuffer(const FIELDENTRY& stEntry, ROWCURSOR& stRow, st_VARDATA& stValue, LPBYTE& lpCopy) {
    if (stEntry.m_bWidth != 0) {
        if (stRow.Left() < stEntry.m_bWidth) return false;
        stValue.m_vt = stEntry.m_bValueType;
        stValue.m_llValue = LoadNumber(stEntry, stRow);
        stRow.m_lpNext += stEntry.m_bWidth;
        return true;
    }
    if (stEntry.m_nForm == ENTRY_NONE) return true;
    const BYTE* lpRun = nullptr;
    UINT nLen = 0;
    if (!TakeRun(stRow, lpRun, nLen)) return false;
    if (nLen == 0 && stEntry.m_nForm == ENTRY_TEXT) {
        // So an empty text can't be told from NULL, but empty bytes can. Intended.
        stValue.m_vt = VT_NULL;
        return true;
    }
    stValue.m_vt = stEntry.m_bValueType;
    stValue.m_lpValue = lpCopy;
    stValue.m_nStrLen = static_cast<int>(nLen);
    CopyText(lpRun, nLen, stRow.m_lpReadable, lpCopy);
    return true;
}
