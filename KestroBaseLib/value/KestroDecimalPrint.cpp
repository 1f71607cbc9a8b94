// Decimals as text, straight from the groups.

#include <algorithm>
#include <cstdio>

#include "KestroDecimalMagnitude.h"

namespace {

/** "00" to "99". */
constexpr auto DIGIT_PAIRS = [] {
    std::array<char, 200> arPairs{};
    for (int i = 0; i < 100; ++i) {
        arPairs[2 * i] = static_cast<char>('0' + i / 10);
        arPairs[2 * i + 1] = static_cast<char>('0' + i % 10);
    }
    return arPairs;
}();

void WritePair(char* lpszText, std::uint32_t uPair) {
    std::memcpy(lpszText, DIGIT_PAIRS.data() + 2 * uPair, 2);
}

/** Writes the nine digits of a group. */
void WriteGroup(char* lpszText, std::uint32_t uGroup) {
    const std::uint32_t uHigh = uGroup / 10'000;
    const std::uint32_t uLow = uGroup - uHigh * 10'000;
    const std::uint32_t uTop = uHigh / 10'000;
    const std::uint32_t uMiddle = uHigh - uTop * 10'000;
    lpszText[0] = static_cast<char>('0' + uTop);
    WritePair(lpszText + 1, uMiddle / 100);
    WritePair(lpszText + 3, uMiddle % 100);
    WritePair(lpszText + 5, uLow / 100);
    WritePair(lpszText + 7, uLow % 100);
}

} // namespace

int WriteDecimalDigits(const st_VARDATA* lpValue, char* lpszText) {
    std::uint32_t arGroups[4];
    std::memcpy(arGroups, DecimalGroups(lpValue), sizeof(arGroups));
    for (std::uint32_t& uGroup : arGroups)
        uGroup = uGroup < DECIMAL_GROUP ? uGroup : DECIMAL_GROUP - 1;
    int nTop = 3;
    while (nTop > 0 && arGroups[nTop] == 0)
        --nTop;
    char szTop[DECIMAL_GROUP_DIGITS];
    WriteGroup(szTop, arGroups[nTop]);
    const int nLead = DECIMAL_GROUP_DIGITS - std::max(CountDigits(arGroups[nTop]), 1);
    std::memcpy(lpszText, szTop + nLead, static_cast<std::size_t>(DECIMAL_GROUP_DIGITS - nLead));
    int nLen = DECIMAL_GROUP_DIGITS - nLead;
    for (; nTop-- > 0; nLen += DECIMAL_GROUP_DIGITS)
        WriteGroup(lpszText + nLen, arGroups[nTop]);
    return nLen;
}

namespace {

/** Rounds a quotient for display: nine places, or nine digits if it is below 1. */
void ShortenQuotient(const st_VARDATA* lpValue, st_VARDATA* lpShort) {
    const int nDigits = CountDigits(LoadMagnitude(lpValue));
    const int nScale = lpValue->m_bScale;
    const int nTarget = nDigits < nScale ? nScale + DECIMAL_GROUP_DIGITS - nDigits : DECIMAL_GROUP_DIGITS;
    if (nTarget >= nScale) {
        // There is nothing to round off, and zeros that a rise of the scale appends are cut off again.
        CopyDecimal(lpShort, lpValue);
        return;
    }
    StoreDecimal(lpShort, lpValue->m_bSign != 0, nTarget, DropDigits(LoadMagnitude(lpValue), nScale - nTarget, true));
}

int PrintZero(int nScale, char* lpszText) {
    const int nLen = nScale > 0 ? nScale + 2 : 1;
    std::memset(lpszText, '0', static_cast<std::size_t>(nLen));
    if (nScale > 0) lpszText[1] = '.';
    lpszText[nLen] = 0;
    return nLen;
}

/** Prints all digits at the value's scale. */
int PrintPlain(const st_VARDATA* lpValue, char* lpszText) {
    const int nScale = lpValue->m_bScale;
    char szDigits[DECIMAL_MAX_DIGITS];
    const int nDigits = WriteDecimalDigits(lpValue, szDigits);
    if (szDigits[0] == '0') return PrintZero(nScale, lpszText);
    char* lpszNext = lpszText;
    const auto Append = [&lpszNext](const char* lpszPart, int nLen) {
        std::memcpy(lpszNext, lpszPart, static_cast<std::size_t>(nLen));
        lpszNext += nLen;
    };
    const auto AppendZeros = [&lpszNext](int nLen) {
        std::memset(lpszNext, '0', static_cast<std::size_t>(nLen));
        lpszNext += nLen;
    };
    if (lpValue->m_bSign) *lpszNext++ = '-';
    if (nScale <= 0) {
        Append(szDigits, nDigits);
        AppendZeros(-nScale);
    } else if (nDigits > nScale) {
        Append(szDigits, nDigits - nScale);
        *lpszNext++ = '.';
        Append(szDigits + nDigits - nScale, nScale);
    } else {
        Append("0.", 2);
        AppendZeros(nScale - nDigits);
        Append(szDigits, nDigits);
    }
    *lpszNext = 0;
    return static_cast<int>(lpszNext - lpszText);
}

} // namespace

int CKestroDecimal::PrintDecimal(const st_VARDATA* lpValue, char* lpszText) {
    if (lpValue->m_bValid == 0) {
        *lpszText = 0;
        return 0;
    }
    if (lpValue->m_bPrecison != DECIMAL_PRECISION_QUOTIENT || lpValue->m_bScale <= DECIMAL_GROUP_DIGITS)
        return PrintPlain(lpValue, lpszText);
    st_VARDATA stShort;
    ShortenQuotient(lpValue, &stShort);
    int nLen = PrintPlain(&stShort, lpszText);
    while (lpszText[nLen - 1] == '0')
        --nLen;
    if (lpszText[nLen - 1] == '.') --nLen;
    lpszText[nLen] = 0;
    return nLen;
}

namespace {

/** Writes the bytes of a number from the top, without those that only repeat the sign, but at least eight. */
int PrintBytes(UINT128 nNumber, bool bNegative, char* lpszText) {
    constexpr char szHexDigits[] = "0123456789abcdef";
    const unsigned uPadding = bNegative ? 0xFF : 0;
    int nShift = 120;
    while (nShift > 56 && static_cast<BYTE>(nNumber >> nShift) == uPadding)
        nShift -= 8;
    char* lpszNext = lpszText;
    for (; nShift >= 0; nShift -= 8) {
        const auto bByte = static_cast<BYTE>(nNumber >> nShift);
        *lpszNext++ = szHexDigits[bByte >> 4];
        *lpszNext++ = szHexDigits[bByte & 15];
    }
    *lpszNext = 0;
    return static_cast<int>(lpszNext - lpszText);
}

} // namespace

int CKestroDecimal::PrintDecimalHex(const st_VARDATA* lpValue, char* lpszText) {
    st_VARDATA stWhole;
    *lpszText = 0;
    if (lpValue->m_vt != VT_DECIMAL || Zoom(lpValue, &stWhole, 0, 1) != 0) return 0;
    const UINT128 nMagnitude = LoadMagnitude(&stWhole);
    const bool bNegative = stWhole.m_bSign != 0;
    const UINT128 nNumber = bNegative ? -nMagnitude : nMagnitude;
    if (nMagnitude > UINT64_MAX) return PrintBytes(nNumber, bNegative, lpszText);
    const auto ullNumber = static_cast<unsigned long long>(nNumber);
    if (bNegative && nMagnitude <= INT32_MAX)
        return std::snprintf(lpszText, DECIMAL_TEXT_SIZE, "0x%08x", static_cast<unsigned>(ullNumber));
    const char* lpszFormat = nMagnitude <= INT32_MAX ? "0x%08llx" : "0x%016llx";
    return std::snprintf(lpszText, DECIMAL_TEXT_SIZE, lpszFormat, ullNumber);
}
