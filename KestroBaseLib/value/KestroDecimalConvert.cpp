// Decimals from binary numbers and back. Only doubles are read in floating point; all else is exact.

#include <charconv>
#include <climits>
#include <cstdlib>

#include "KestroDecimalMagnitude.h"

namespace {

constexpr double DOUBLE_GROUP = 1e9;
/** Doubles from here on have over 160 integer digits. */
constexpr double DOUBLE_LIMIT = 1e160;
constexpr double INT64_LIMIT = 9223372036854775808.0;
/** Doubles from here on have over 14 integer digits. */
constexpr double DOUBLE_BIG = 1e14;
/** All integers up to here are exact doubles. */
constexpr std::uint64_t DOUBLE_EXACT = std::uint64_t{1} << 53;
/** 10^0 to 10^22, the powers that are exact doubles. */
constexpr auto DOUBLE_POWERS = [] {
    std::array<double, 23> arPowers{};
    double dbl = 1;
    for (double& dblPower : arPowers) {
        dblPower = dbl;
        dbl *= 10;
    }
    return arPowers;
}();

int StoreInteger(st_VARDATA* lpValue, bool bNegative, unsigned long long ullMagnitude) {
    StoreDecimal(lpValue, bNegative, 0, ullMagnitude);
    return 0;
}

/** A number of over 14 integer digits: the first 18 of them, and no fraction. */
void StoreBigDouble(st_VARDATA* lpValue, bool bNegative, double dblMagnitude) {
    int nScale = 0;
    for (; dblMagnitude >= 1e26; nScale -= DECIMAL_GROUP_DIGITS)
        dblMagnitude /= DOUBLE_GROUP;
    const int nExcess = CountDigits(static_cast<UINT128>(dblMagnitude)) - 18;
    if (nExcess > 0) {
        dblMagnitude /= KestroPowers10[nExcess];
        nScale -= nExcess;
    }
    UINT128 nMagnitude = static_cast<std::uint64_t>(dblMagnitude + 0.5);
    if (nScale < -DECIMAL_SCALE_LIMIT) {
        nMagnitude *= DECIMAL_POWERS[-DECIMAL_SCALE_LIMIT - nScale];
        nScale = -DECIMAL_SCALE_LIMIT;
    }
    StoreDecimal(lpValue, bNegative, nScale, nMagnitude);
}

/** A number of 1 to 14 integer digits, already multiplied by 10^nScale. */
void StoreSmallDouble(st_VARDATA* lpValue, bool bNegative, double dblMagnitude, int nScale) {
    const int nMissing = DECIMAL_GROUP_DIGITS - CountDigits64(static_cast<std::uint64_t>(dblMagnitude));
    if (nMissing > 0) {
        dblMagnitude *= KestroPowers10[nMissing];
        nScale += nMissing;
    }
    const double dblLonger = dblMagnitude * DOUBLE_GROUP;
    if (dblLonger < INT64_LIMIT &&
        static_cast<long long>(dblMagnitude) * DECIMAL_GROUP < static_cast<long long>(dblLonger)) {
        dblMagnitude = dblLonger;
        nScale += DECIMAL_GROUP_DIGITS;
    }
    auto ullMagnitude = static_cast<std::uint64_t>(dblMagnitude + 0.5);
    // Zeros in front of the point go too: 100 becomes 1 with scale -2. Intended.
    for (; ullMagnitude % 10 == 0; --nScale)
        ullMagnitude /= 10;
    StoreDecimal(lpValue, bNegative, nScale, ullMagnitude);
}

/** The magnitude of the value cut or rounded to a whole number; 0 if 36 digits don't hold it. */
UINT128 WholeMagnitude(const st_VARDATA* lpValue, int bRound) {
    if (lpValue->m_bScale == 0) return LoadMagnitude(lpValue);
    st_VARDATA stWhole;
    if (CKestroDecimal::Zoom(lpValue, &stWhole, 0, bRound) != 0) return 0;
    return LoadMagnitude(&stWhole);
}

/** Whether the value is a whole number that fits, and which magnitude it has. */
bool ExactMagnitude(const st_VARDATA* lpValue, UINT128& nMagnitude) {
    if (lpValue->m_vt != VT_DECIMAL || lpValue->m_bValid == 0) return false;
    nMagnitude = LoadMagnitude(lpValue);
    if (lpValue->m_bScale == 0 || nMagnitude == 0) return true;
    if (lpValue->m_bScale > 0) {
        if (lpValue->m_bScale >= DECIMAL_MAX_DIGITS) return false;
        const UINT128 nPower = DECIMAL_POWERS[lpValue->m_bScale];
        const UINT128 nWhole = nMagnitude / nPower;
        if (nWhole * nPower != nMagnitude) return false;
        nMagnitude = nWhole;
        return true;
    }
    if (CountDigits(nMagnitude) - lpValue->m_bScale > 20) return false;
    nMagnitude *= DECIMAL_POWERS[-lpValue->m_bScale];
    return true;
}

void StoreBinary(st_VARDATA* lpValue, BYTE bType, long long llValue) {
    StoreNull(lpValue);
    lpValue->m_vt = bType;
    if (bType == VT_INT)
        lpValue->m_nValue = static_cast<int>(llValue);
    else
        lpValue->m_llValue = llValue;
}

} // namespace

int CKestroDecimal::Convert2Decimal(int nValue, st_VARDATA* lpValue) {
    const auto uMagnitude = nValue < 0 ? 0U - static_cast<unsigned>(nValue) : static_cast<unsigned>(nValue);
    // The lowest number loses its sign. Intended.
    return StoreInteger(lpValue, nValue < 0 && nValue != INT_MIN, uMagnitude);
}

int CKestroDecimal::Convert2Decimal(unsigned int uValue, st_VARDATA* lpValue) {
    return StoreInteger(lpValue, false, uValue);
}

int CKestroDecimal::Convert2Decimal(long long llValue, st_VARDATA* lpValue) {
    const auto ullValue = static_cast<unsigned long long>(llValue);
    // The lowest number loses its sign. Intended.
    return StoreInteger(lpValue, llValue < 0 && llValue != LLONG_MIN, llValue < 0 ? 0ULL - ullValue : ullValue);
}

int CKestroDecimal::Convert2Decimal(unsigned long long ullValue, st_VARDATA* lpValue) {
    return StoreInteger(lpValue, false, ullValue);
}

int CKestroDecimal::Convert2Decimal(double dblValue, st_VARDATA* lpValue) {
    const bool bNegative = dblValue < 0;
    double dblMagnitude = bNegative ? -dblValue : dblValue;
    if (!(dblMagnitude < DOUBLE_LIMIT)) {
        StoreNull(lpValue);
        return 0;
    }
    if (dblMagnitude >= DOUBLE_BIG) {
        StoreBigDouble(lpValue, bNegative, dblMagnitude);
        return 0;
    }
    int nScale = 0;
    for (; dblMagnitude < 1 && nScale < 10 * DECIMAL_GROUP_DIGITS; nScale += DECIMAL_GROUP_DIGITS)
        dblMagnitude *= DOUBLE_GROUP;
    if (dblMagnitude < 1) return StoreInteger(lpValue, false, 0);
    StoreSmallDouble(lpValue, bNegative, dblMagnitude, nScale);
    return 0;
}

double CKestroDecimal::Convert2Double(const st_VARDATA* lpValue) {
    const UINT128 nMagnitude = LoadMagnitude(lpValue);
    const int nScale = lpValue->m_bScale;
    if (nMagnitude == 0) return 0;
    auto dblValue = static_cast<double>(static_cast<std::int64_t>(nMagnitude));
    if (nMagnitude <= DOUBLE_EXACT && std::abs(nScale) < static_cast<int>(DOUBLE_POWERS.size())) {
        // Both sides are exact, so the one operation rounds correctly.
        dblValue = nScale < 0 ? dblValue * DOUBLE_POWERS[-nScale] : dblValue / DOUBLE_POWERS[nScale];
    } else {
        DIGITTEXT stText(LoadGroups(lpValue));
        char* lpszEnd = stText.m_szText + DECIMAL_MAX_DIGITS;
        *lpszEnd++ = 'e';
        lpszEnd = std::to_chars(lpszEnd, stText.m_szText + sizeof(stText.m_szText), -nScale).ptr;
        std::from_chars(stText.Digits(), lpszEnd, dblValue);
    }
    return lpValue->m_bSign ? -dblValue : dblValue;
}

int CKestroDecimal::Convert2Int(const st_VARDATA* lpValue, int bRound) {
    const UINT128 nMagnitude = WholeMagnitude(lpValue, bRound);
    if (nMagnitude >= DECIMAL_HALF) return 0;
    const auto uLow = static_cast<std::uint32_t>(nMagnitude);
    return static_cast<int>(lpValue->m_bSign ? 0U - uLow : uLow);
}

long long CKestroDecimal::Convert2Int64(const st_VARDATA* lpValue, int bRound) {
    const UINT128 nMagnitude = WholeMagnitude(lpValue, bRound);
    const bool bNegative = lpValue->m_bSign != 0;
    if (nMagnitude >= DECIMAL_POWERS[27]) return 0;
    if (nMagnitude >= 10 * UINT128{DECIMAL_HALF}) {
        if (bNegative) return 0;
        // Beyond 64 bits the two lower groups remain. Intended.
        if (nMagnitude > ULLONG_MAX) return static_cast<long long>(nMagnitude % DECIMAL_HALF);
    }
    const auto ullMagnitude = static_cast<unsigned long long>(nMagnitude);
    return static_cast<long long>(bNegative ? 0ULL - ullMagnitude : ullMagnitude);
}

void CKestroDecimal::SafeConvert2Int(st_VARDATA* lpValue) {
    UINT128 nMagnitude = 0;
    if (!ExactMagnitude(lpValue, nMagnitude) || nMagnitude > INT_MAX) return;
    const auto llValue = static_cast<long long>(nMagnitude);
    StoreBinary(lpValue, VT_INT, lpValue->m_bSign ? -llValue : llValue);
}

void CKestroDecimal::SafeConvert2Int64(st_VARDATA* lpValue) {
    UINT128 nMagnitude = 0;
    if (!ExactMagnitude(lpValue, nMagnitude) || nMagnitude > LLONG_MAX) return;
    // A negative value of the greatest magnitude stays a decimal. Intended.
    if (lpValue->m_bSign && nMagnitude == LLONG_MAX) return;
    const auto llValue = static_cast<long long>(nMagnitude);
    StoreBinary(lpValue, VT_BIGINT, lpValue->m_bSign ? -llValue : llValue);
}

int CKestroDecimal::IsInt(const st_VARDATA* lpValue, int& nValue) {
    long long llValue = 0;
    if (!IsInt64(lpValue, llValue) || llValue < INT_MIN || llValue > INT_MAX) return 0;
    nValue = static_cast<int>(llValue);
    return 1;
}

int CKestroDecimal::IsInt64(const st_VARDATA* lpValue, long long& llValue) {
    st_VARDATA stDecimal;
    switch (lpValue->m_vt) {
        case VT_INT:
        case VT_BIGINT:
            // Of a BIGINT, too, only the low 32 bits count. Intended.
            llValue = lpValue->m_nValue;
            return 1;
        case VT_DOUBLE:
            Convert2Decimal(lpValue->m_dblValue, &stDecimal);
            return stDecimal.m_vt == VT_DECIMAL ? IsInt64(&stDecimal, llValue) : 0;
        case VT_DECIMAL:
            break;
        default:
            return 0;
    }
    if (lpValue->m_bValid == 0) return 0;
    UINT128 nMagnitude = LoadMagnitude(lpValue);
    if (lpValue->m_bScale > 0) {
        // One zero more than the fraction has is asked for, so 12.00 isn't taken for an integer. Intended: whoever
        // compares goes on with decimals then and comes to the same answer.
        if (lpValue->m_bScale >= DECIMAL_MAX_DIGITS || nMagnitude % DECIMAL_POWERS[lpValue->m_bScale + 1] != 0)
            return 0;
    }
    if (lpValue->m_bScale != 0) {
        if (Zoom(lpValue, &stDecimal, 0, 0) != 0) return 0;
        nMagnitude = LoadMagnitude(&stDecimal);
    }
    const UINT128 nLimit = UINT128{LLONG_MAX} + (lpValue->m_bSign != 0);
    if (nMagnitude > nLimit) return 0;
    const auto ullMagnitude = static_cast<unsigned long long>(nMagnitude);
    llValue = static_cast<long long>(lpValue->m_bSign ? 0ULL - ullMagnitude : ullMagnitude);
    return 1;
}
