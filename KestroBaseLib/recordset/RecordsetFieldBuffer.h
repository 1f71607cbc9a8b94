#pragma once

#include <array>

#include "VarData.h"

/** Forms of a field's value in a row. */
enum FIELDENTRYFORM : BYTE {
    ENTRY_NONE, // no bytes and no value
    ENTRY_TINY,
    ENTRY_SMALL,
    ENTRY_INT,
    ENTRY_4,
    ENTRY_8,
    ENTRY_TEXT, // a counted run: a byte, or 255 and 32 bits, and as many bytes
    ENTRY_BYTES,
};

struct FIELDENTRYROW {
    BYTE m_bType;
    FIELDENTRYFORM m_nForm;
    /** Type of the value made. */
    BYTE m_bValueType;
};

/** The types that have a form; a type that isn't among them has no bytes. */
inline constexpr FIELDENTRYROW FIELD_ENTRY_ROWS[] = {
    {VT_INT, ENTRY_INT, VT_INT},          {VT_BIGINT, ENTRY_8, VT_BIGINT},   {VT_DOUBLE, ENTRY_8, VT_DOUBLE},
    {VT_DATETIME, ENTRY_8, VT_DATETIME},  {VT_CHAR, ENTRY_TEXT, VT_VARCHAR}, {VT_VARCHAR, ENTRY_TEXT, VT_VARCHAR},
    {VT_CLOB, ENTRY_TEXT, VT_VARCHAR},    {VT_BLOB, ENTRY_BYTES, VT_BLOB},   {VT_TIME, ENTRY_4, VT_TIME},
    {VT_DATE, ENTRY_4, VT_DATE},          {VT_TINYINT, ENTRY_TINY, VT_INT},  {VT_SMALLINT, ENTRY_SMALL, VT_INT},
    {VT_DECIMAL, ENTRY_TEXT, VT_VARCHAR},
};

inline constexpr std::array<FIELDENTRYROW, 256> FIELD_ENTRIES = [] {
    std::array<FIELDENTRYROW, 256> arEntry{};
    for (const FIELDENTRYROW& stRow : FIELD_ENTRY_ROWS)
        arEntry[stRow.m_bType] = stRow;
    return arEntry;
}();

template <typename T>
T LoadLE(const BYTE* lpBytes) {
    T nValue;
    std::memcpy(&nValue, lpBytes, sizeof nValue);
    return nValue;
}

/** What `GetValueFromFieldBuffer` answers for a value that passes the end of its bytes. */
constexpr int FIELD_BUFFER_SHORT = -1;

/** A counted run: its bytes and their number. The bytes that it takes, or `FIELD_BUFFER_SHORT`. */
inline int GetCountedRun(const BYTE* lpField, UINT nSize, const BYTE*& lpRun, UINT& nLen) {
    constexpr UINT LONG_COUNT = 255;
    if (nSize == 0) return FIELD_BUFFER_SHORT;
    UINT nHead = 1;
    nLen = lpField[0];
    if (nLen == LONG_COUNT) {
        nHead += sizeof nLen;
        if (nSize < nHead) return FIELD_BUFFER_SHORT;
        nLen = LoadLE<UINT>(lpField + 1);
    }
    if (nLen > nSize - nHead) return FIELD_BUFFER_SHORT;
    lpRun = lpField + nHead;
    return static_cast<int>(nHead + nLen);
}

/**
 * Makes a field's value from its bytes in a row, of which `nSize` (below 2^31) are readable, and answers how many they
 * are, or `FIELD_BUFFER_SHORT`. The value must come VT_EMPTY and with all bytes zero. A text or bytes become a view of
 * the row, the length of a text without a terminator; an empty text is NULL. A type without a form makes nothing.
 */
inline int GetValueFromFieldBuffer(BYTE bType, const BYTE* lpField, UINT nSize, st_VARDATA& stValue) {
    const FIELDENTRYROW& stEntry = FIELD_ENTRIES[bType];
    const auto Take = [&](UINT nBytes, auto Load) {
        if (nSize < nBytes) return FIELD_BUFFER_SHORT;
        stValue.m_vt = stEntry.m_bValueType;
        stValue.m_llValue = Load();
        return static_cast<int>(nBytes);
    };
    switch (stEntry.m_nForm) {
        case ENTRY_TINY:
            return Take(1, [&] { return LoadLE<signed char>(lpField); });
        case ENTRY_SMALL:
            return Take(2, [&] { return LoadLE<short>(lpField); });
        case ENTRY_INT:
            return Take(4, [&] { return LoadLE<int>(lpField); });
        case ENTRY_4:
            return Take(4, [&] { return LoadLE<UINT>(lpField); });
        case ENTRY_8:
            return Take(8, [&] { return LoadLE<long long>(lpField); });
        case ENTRY_TEXT:
        case ENTRY_BYTES: {
            const BYTE* lpRun = nullptr;
            UINT nLen = 0;
            const int nUsed = GetCountedRun(lpField, nSize, lpRun, nLen);
            if (nUsed < 0) return nUsed;
            // So an empty text can't be told from NULL, but empty bytes can. Intended.
            stValue.m_vt = nLen == 0 && stEntry.m_nForm == ENTRY_TEXT ? BYTE{VT_NULL} : stEntry.m_bValueType;
            if (stValue.m_vt == VT_NULL) return nUsed;
            stValue.m_lpValue = const_cast<LPBYTE>(lpRun);
            stValue.m_nStrLen = static_cast<int>(nLen);
            return nUsed;
        }
        default:
            return 0;
    }
}
