// Products of decimals: the exact product in up to 256 bits, then the digits that the places and the room demand are
// dropped in one division by a power of ten.

#include <algorithm>

#include "KestroDecimalMagnitude.h"

namespace {

/** A product keeps at least so many places, if there are that many. */
constexpr int MIN_PLACES = 9;
constexpr int SCALE_LIMIT = 127;

int CountBits(const UINT256& nNumber) {
    const UINT128 nTop = nNumber.m_nHigh ? nNumber.m_nHigh : nNumber.m_nLow;
    const auto ullHigh = static_cast<std::uint64_t>(nTop >> 64);
    const int nBits =
        ullHigh ? 128 - std::countl_zero(ullHigh) : 64 - std::countl_zero(static_cast<std::uint64_t>(nTop));
    return nNumber.m_nHigh ? nBits + 128 : nBits;
}

/** Number / 10^nDigits, 1 to 36 digits; the caller knows that the quotient is below 2^123. */
DECIMALQUOTIENT DivideWide(const UINT256& nNumber, int nBits, int nDigits) {
    if (nNumber.m_nHigh == 0) return DividePower(nNumber.m_nLow, nDigits);
    const DECIMALRECIPROCAL& stReciprocal = DECIMAL_RECIPROCALS[nDigits];
    const UINT128 nPower = DECIMAL_POWERS[nDigits];
    const int nShift = nBits - 128;
    const UINT128 nTop = nNumber.m_nHigh << (128 - nShift) | nNumber.m_nLow >> nShift;
    // The top 128 bits give the quotient or one less, and the remainder fits the low half.
    UINT128 nQuotient = MultiplyWide(nTop, stReciprocal.m_nFactor).m_nHigh >> (stReciprocal.m_nBits - 1 - nShift);
    UINT128 nRemainder = nNumber.m_nLow - nQuotient * nPower;
    if (nRemainder >= nPower) {
        ++nQuotient;
        nRemainder -= nPower;
    }
    return {nQuotient, nRemainder >= nPower / 2};
}

/** Drops at least nDrop digits of the product, and more until 36 are left; answers how many and leaves the rest. */
int RoundProduct(const UINT256& nProduct, int nDrop, UINT128& nMagnitude) {
    const int nBits = CountBits(nProduct);
    // Digits of the least number of so many bits: right or one too low.
    const int nDigits = nBits == 0 ? 0 : (((nBits - 1) * 1233) >> 12) + 1;
    nDrop = std::max(nDrop, nDigits - DECIMAL_MAX_DIGITS);
    if (nDrop > nDigits + 1) {
        nMagnitude = 0;
        return nDrop;
    }
    DECIMALQUOTIENT stQuotient{nProduct.m_nLow, false};
    if (nDrop > DECIMAL_MAX_DIGITS) {
        stQuotient = DivideWide(nProduct, nBits, DECIMAL_MAX_DIGITS);
        stQuotient = DividePower(stQuotient.m_nQuotient, nDrop - DECIMAL_MAX_DIGITS);
    } else if (nDrop > 0) {
        stQuotient = DivideWide(nProduct, nBits, nDrop);
    }
    if (stQuotient.m_nQuotient >= DECIMAL_LIMIT) {
        stQuotient = DividePower(stQuotient.m_nQuotient, 1);
        ++nDrop;
    }
    nMagnitude = stQuotient.m_nQuotient + stQuotient.m_bHalf;
    return nDrop;
}

} // namespace

int CKestroDecimal::Mul(const st_VARDATA* lpFirst, const st_VARDATA* lpSecond, st_VARDATA* lpResult) {
    const int nFirstScale = lpFirst->m_bScale, nSecondScale = lpSecond->m_bScale;
    const bool bNegative = (lpFirst->m_bSign != 0) != (lpSecond->m_bSign != 0);
    int nScale = nFirstScale + nSecondScale;
    const UINT256 nProduct = MultiplyWide(LoadMagnitude(lpFirst), LoadMagnitude(lpSecond));
    const bool bExact = nProduct.m_nHigh == 0 && nProduct.m_nLow < DECIMAL_LIMIT;
    UINT128 nMagnitude = nProduct.m_nLow;
    if (!bExact || (nFirstScale != 0 && nSecondScale != 0 && nScale >= MIN_PLACES)) {
        const int nKeep = std::max({nFirstScale, nSecondScale, MIN_PLACES});
        nScale -= RoundProduct(nProduct, std::max(nScale - nKeep, 0), nMagnitude);
    }
    if (nScale < -SCALE_LIMIT - bExact || nScale > SCALE_LIMIT) {
        StoreDecimal(lpResult, false, 0, 0);
        lpResult->m_bValid = 0;
        return 0;
    }
    if (nMagnitude == DECIMAL_LIMIT) {
        nMagnitude = DECIMAL_POWERS[DECIMAL_MAX_DIGITS - 1];
        --nScale;
    }
    StoreDecimal(lpResult, bNegative, nScale, nMagnitude);
    return 0;
}
