// Decimals as text, straight from the groups.

#include <algorithm>
#include <cstdio>

#include "DigitPairs.h"
#include "KestroDecimalMagnitude.h"

namespace {

void WritePair(char* lpszText, std::uint32_t uPair) {
    std::memcpy(lpszText, kestro_int_c[uPair].data(), 2);
}

/** Writes the 18 digits of two groups. */
void WriteHalf(char* lpszText, std::uint64_t ullPacked) {
    for (const std::uint64_t ullGroup : {ullPacked >> 32, ullPacked & 0xFFFFFFFF}) {
        // A group that is out of range is cut, so that what is printed are digits.
        const std::uint32_t uGroup = std::min(static_cast<std::uint32_t>(ullGroup), DECIMAL_GROUP - 1);
        const std::uint32_t uHigh = uGroup / 10'000;
        const std::uint32_t uLow = uGroup - uHigh * 10'000;
        const std::uint32_t uTop = uHigh / 10'000;
        const std::uint32_t uMiddle = uHigh - uTop * 10'000;
        lpszText[0] = static_cast<char>('0' + uTop);
        WritePair(lpszText + 1, uMiddle / 100);
        WritePair(lpszText + 3, uMiddle % 100);
        WritePair(lpszText + 5, uLow / 100);
        WritePair(lpszText + 7, uLow % 100);
        lpszText += DECIMAL_GROUP_DIGITS;
    }
}

} // namespace

DIGITTEXT::DIGITTEXT(const PACKEDGROUPS& stGroups) {
    std::memset(m_szText + DECIMAL_MAX_DIGITS, 0, sizeof(m_szText) - DECIMAL_MAX_DIGITS);
    WriteHalf(m_szText + DECIMAL_HALF_DIGITS, stGroups.m_ullLow);
    if (stGroups.m_ullHigh)
        WriteHalf(m_szText, stGroups.m_ullHigh);
    else
        std::memset(m_szText, '0', DECIMAL_HALF_DIGITS);
    m_nDigits = std::max(CountDigits(JoinGroups(stGroups)), 1);
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

/** Prints all digits at the value's scale. Runs of digits are copied in one fixed length, the rest is overwritten. */
int PrintPlain(const st_VARDATA* lpValue, char* lpszText) {
    const PACKEDGROUPS stGroups = LoadGroups(lpValue);
    const int nScale = lpValue->m_bScale;
    if (stGroups.IsZero()) return PrintZero(nScale, lpszText);
    const DIGITTEXT stText(stGroups);
    char* lpszNext = lpszText;
    *lpszNext = '-';
    lpszNext += lpValue->m_bSign != 0;
    if (nScale >= stText.m_nDigits) {
        std::memcpy(lpszNext, "0.", 2);
        std::memset(lpszNext + 2, '0', static_cast<std::size_t>(nScale - stText.m_nDigits));
        lpszNext += 2 + nScale - stText.m_nDigits;
        std::memcpy(lpszNext, stText.Digits(), DECIMAL_MAX_DIGITS);
        lpszNext += stText.m_nDigits;
    } else {
        std::memcpy(lpszNext, stText.Digits(), DECIMAL_MAX_DIGITS);
        lpszNext += stText.m_nDigits;
        if (nScale > 0) {
            const char* lpszFraction = stText.Digits() + stText.m_nDigits - nScale;
            lpszNext[-nScale] = '.';
            std::memcpy(lpszNext - nScale + 1, lpszFraction, DECIMAL_MAX_DIGITS);
            ++lpszNext;
        } else {
            std::memset(lpszNext, '0', static_cast<std::size_t>(-nScale));
            lpszNext -= nScale;
        }
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
