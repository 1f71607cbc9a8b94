// Products of decimals: four base-10^18 limbs of the exact product, of which the digits are dropped that the places and
// the room demand.

#include <algorithm>

#include "KestroDecimalMagnitude.h"

namespace {

/** A product keeps at least so many places, if there are that many. */
constexpr int MIN_PLACES = 9;
constexpr int PRODUCT_LIMBS = 4;

/** More digits than that leave nothing. */
constexpr int MAX_DROP = PRODUCT_LIMBS * DECIMAL_HALF_DIGITS + 1;

/** What it takes to drop some digits: whole limbs, and 1 to 18 digits of the one above. */
struct DROPFORM {
    /** Division by 10^n: limb * factor / 2^(64 + shift), exact below 2^60. */
    std::uint64_t m_ullFactor;
    std::uint64_t m_ullPower;
    /** 10^n / 2. */
    std::uint64_t m_ullHalf;
    /** 10^(18 - n), which takes a remainder to the top of the limb below. */
    std::uint64_t m_ullRaise;
    int m_nShift;
    int m_nLimb;

    /** Remainder and quotient, as lower and upper half. */
    [[nodiscard]] DECIMALHALVES Divide(std::uint64_t ullLimb) const {
        const auto ullQuotient = static_cast<std::uint64_t>((UINT128{ullLimb} * m_ullFactor) >> 64) >> m_nShift;
        return {ullLimb - ullQuotient * m_ullPower, ullQuotient};
    }
};

constexpr auto DROP_FORMS = [] {
    std::array<DROPFORM, MAX_DROP + 1> arForms{};
    for (int i = 1; i <= MAX_DROP; ++i) {
        const int nLimb = (i - 1) / DECIMAL_HALF_DIGITS, nDigits = i - nLimb * DECIMAL_HALF_DIGITS;
        const std::uint64_t ullPower = DECIMAL_POWERS64[nDigits];
        const int nBits = 64 - std::countl_zero(ullPower);
        const auto ullFactor = static_cast<std::uint64_t>((UINT128{1} << (60 + nBits)) / ullPower) + 1;
        arForms[i] = {ullFactor, ullPower, ullPower / 2, DECIMAL_POWERS64[DECIMAL_HALF_DIGITS - nDigits],
                      nBits - 4, nLimb};
    }
    return arForms;
}();

/** A product, least significant limb first, with zeros above for who reads on. */
struct PRODUCT {
    std::uint64_t m_arLimbs[PRODUCT_LIMBS + 3];

    /** Of the product of the lower halves alone. */
    explicit PRODUCT(const DECIMALHALVES& stLow) : m_arLimbs{stLow.m_ullLow, stLow.m_ullHigh} {}

    /** Adds what the upper halves have to do with. */
    void AddUpper(const DECIMALHALVES& stFirst, const DECIMALHALVES& stSecond) {
        const DECIMALHALVES stMiddle = SplitHalves(UINT128{stFirst.m_ullHigh} * stSecond.m_ullLow +
                                                   UINT128{stFirst.m_ullLow} * stSecond.m_ullHigh);
        const DECIMALHALVES stHigh = SplitHalves(UINT128{stFirst.m_ullHigh} * stSecond.m_ullHigh);
        // The middle's upper part may be twice a limb, so that two may be carried from there.
        std::uint64_t ullCarry = 0;
        m_arLimbs[1] = Carry(m_arLimbs[1] + stMiddle.m_ullLow, ullCarry);
        m_arLimbs[2] = stHigh.m_ullLow + stMiddle.m_ullHigh + ullCarry;
        m_arLimbs[3] = stHigh.m_ullHigh;
        m_arLimbs[2] = Carry(Carry(m_arLimbs[2], m_arLimbs[3]), m_arLimbs[3]);
    }

    [[nodiscard]] bool HasRoom() const { return (m_arLimbs[2] | m_arLimbs[3]) == 0; }

    /** Digits beyond the 36th. */
    [[nodiscard]] int ExcessDigits() const {
        const std::uint64_t ullMask = MaskOf(m_arLimbs[3] != 0);
        const std::uint64_t ullTop = m_arLimbs[2] ^ ((m_arLimbs[2] ^ m_arLimbs[3]) & ullMask);
        return CountDigits64(ullTop) + (static_cast<int>(ullMask) & DECIMAL_HALF_DIGITS);
    }

    /**
     * Gives the product less nDigits, from 1 on, rounded half up; the caller knows that no more than 36 digits are
     * left. Answers how many more were dropped because rounding carried.
     */
    int Drop(int nDigits, DECIMALHALVES& stResult) const {
        const DROPFORM& stForm = DROP_FORMS[std::min(nDigits, MAX_DROP)];
        const std::uint64_t* lpLimbs = m_arLimbs + stForm.m_nLimb;
        const DECIMALHALVES stLow = stForm.Divide(lpLimbs[0]), stMiddle = stForm.Divide(lpLimbs[1]);
        const DECIMALHALVES stHigh = stForm.Divide(lpLimbs[2]);
        stResult = {stLow.m_ullHigh + stMiddle.m_ullLow * stForm.m_ullRaise,
                    stMiddle.m_ullHigh + stHigh.m_ullLow * stForm.m_ullRaise};
        return RoundHalves(stResult, stLow.m_ullLow >= stForm.m_ullHalf);
    }

private:
    static std::uint64_t Carry(std::uint64_t ullLimb, std::uint64_t& ullNext) {
        const bool bOver = ullLimb >= DECIMAL_HALF;
        ullNext += bOver;
        return ullLimb - (DECIMAL_HALF & MaskOf(bOver));
    }
};

/** The greater of two numbers of which either may be. */
int Greater(int nFirst, int nSecond) {
    return nFirst + ((nSecond - nFirst) & static_cast<int>(MaskOf(nSecond > nFirst)));
}

/** Stores the product less nDrop digits. */
void StoreRounded(st_VARDATA* lpResult, bool bNegative, int nScale, const PRODUCT& stProduct, int nDrop) {
    nScale -= nDrop;
    if (nScale < -DECIMAL_SCALE_LIMIT || nScale > DECIMAL_SCALE_LIMIT) return StoreLostScale(lpResult);
    DECIMALHALVES stMagnitude{stProduct.m_arLimbs[0], stProduct.m_arLimbs[1]};
    if (nDrop > 0) nScale -= stProduct.Drop(nDrop, stMagnitude);
    StoreDecimal(lpResult, bNegative, nScale, PackHalves(stMagnitude));
}

} // namespace

int CKestroDecimal::Mul(const st_VARDATA* lpFirst, const st_VARDATA* lpSecond, st_VARDATA* lpResult) {
    const int nFirstScale = lpFirst->m_bScale, nSecondScale = lpSecond->m_bScale;
    const int nScale = nFirstScale + nSecondScale;
    const bool bNegative = (lpFirst->m_bSign != 0) != (lpSecond->m_bSign != 0);
    const PACKEDGROUPS stFirst = LoadGroups(lpFirst), stSecond = LoadGroups(lpSecond);
    const DECIMALHALVES stLeft{JoinPair(stFirst.m_ullLow), JoinPair(stFirst.m_ullHigh)};
    const DECIMALHALVES stRight{JoinPair(stSecond.m_ullLow), JoinPair(stSecond.m_ullHigh)};
    const DECIMALHALVES stLow = SplitHalves(UINT128{stLeft.m_ullLow} * stRight.m_ullLow);
    // With few places, or none at one side, a product that has room stands as it is, and may have the lowest scale.
    const bool bFewPlaces = nFirstScale == 0 || nSecondScale == 0 || nScale < MIN_PLACES;
    const bool bShort = (stLeft.m_ullHigh | stRight.m_ullHigh) == 0;
    if (bShort && bFewPlaces && nScale >= DECIMAL_MIN_SCALE) [[likely]] {
        StoreDecimal(lpResult, bNegative, nScale, PackHalves(stLow));
        return 0;
    }
    PRODUCT stProduct(stLow);
    if (!bShort) stProduct.AddUpper(stLeft, stRight);
    if (!bFewPlaces || !stProduct.HasRoom()) {
        const int nPlaces = nScale - std::max({nFirstScale, nSecondScale, MIN_PLACES});
        const int nDrop = Greater(std::max(nPlaces, 0), stProduct.ExcessDigits());
        StoreRounded(lpResult, bNegative, nScale, stProduct, nDrop);
    } else if (nScale >= DECIMAL_MIN_SCALE) {
        StoreDecimal(lpResult, bNegative, nScale, PackHalves({stProduct.m_arLimbs[0], stProduct.m_arLimbs[1]}));
    } else {
        StoreLostScale(lpResult);
    }
    return 0;
}
