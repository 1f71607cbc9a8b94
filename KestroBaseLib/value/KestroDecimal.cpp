// Exact decimals: sums, comparison and change of scale. Products, quotients, texts and images have their own sources.

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "KestroDecimalMagnitude.h"

namespace {

/** Stores a sum of 37 digits, rounded to 36. */
[[gnu::cold, gnu::noinline]] void StoreLongSum(st_VARDATA* lpResult, DECIMALHEAD stHead, UINT128 nSum) {
    if (stHead.m_bScale == DECIMAL_MIN_SCALE) return StoreLostScale(lpResult);
    --stHead.m_bScale;
    StoreDecimal(lpResult, stHead, SplitMagnitude(DropDigits(nSum, 1, true)));
}

/** What two values need for the short way: no upper half, and one raised to the places of the other stays below it. */
struct SHORTPAIR {
    std::uint64_t m_ullFirst;
    std::uint64_t m_ullSecond;

    /** Brings both to one scale; false if they are too long. Without branches on what is random to the processor. */
    bool Align(const PACKEDGROUPS& stFirst, int nFirstScale, const PACKEDGROUPS& stSecond, int nSecondScale) {
        const int nRaise = nSecondScale - nFirstScale;
        if ((stFirst.m_ullHigh | stSecond.m_ullHigh) != 0 || std::abs(nRaise) > DECIMAL_HALF_DIGITS) return false;
        const int nMask = nRaise >> 31;
        const int nRaiseFirst = nRaise & ~nMask, nRaiseSecond = -(nRaise & nMask);
        m_ullFirst = JoinPair(stFirst.m_ullLow);
        m_ullSecond = JoinPair(stSecond.m_ullLow);
        if (m_ullFirst >= DECIMAL_POWERS64[DECIMAL_HALF_DIGITS - nRaiseFirst] ||
            m_ullSecond >= DECIMAL_POWERS64[DECIMAL_HALF_DIGITS - nRaiseSecond])
            return false;
        m_ullFirst *= DECIMAL_POWERS64[nRaiseFirst];
        m_ullSecond *= DECIMAL_POWERS64[nRaiseSecond];
        return true;
    }
};

std::int64_t NegateIf(std::uint64_t ullNumber, bool bNegate) {
    const std::uint64_t ullMask = -std::uint64_t{bNegate};
    return static_cast<std::int64_t>((ullNumber ^ ullMask) - ullMask);
}

/** A sum of groups, and what it carries out of the top. */
struct GROUPSUM {
    PACKEDGROUPS m_stGroups;
    bool m_bCarry;
};

/** Adds two groups and a carry to two others, by masks, as carries are random to the processor. */
std::uint64_t AddPair(std::uint64_t ullFirst, std::uint64_t ullSecond, bool& bCarry) {
    constexpr std::uint64_t ullUpper = std::uint64_t{DECIMAL_GROUP} << 32;
    // Added to a group that ran over, this leaves the rest and takes the carry to the upper one.
    constexpr std::uint64_t ullCarry = (std::uint64_t{1} << 32) - DECIMAL_GROUP;
    std::uint64_t ullSum = ullFirst + ullSecond + bCarry;
    ullSum += ullCarry & -std::uint64_t{static_cast<std::uint32_t>(ullSum) >= DECIMAL_GROUP};
    bCarry = ullSum >= ullUpper;
    return ullSum - (ullUpper & -std::uint64_t{bCarry});
}

GROUPSUM AddGroups(const PACKEDGROUPS& stFirst, const PACKEDGROUPS& stSecond, bool bCarry) {
    GROUPSUM stSum;
    stSum.m_stGroups.m_ullLow = AddPair(stFirst.m_ullLow, stSecond.m_ullLow, bCarry);
    stSum.m_stGroups.m_ullHigh = AddPair(stFirst.m_ullHigh, stSecond.m_ullHigh, bCarry);
    stSum.m_bCarry = bCarry;
    return stSum;
}

void SwapIf(bool bSwap, PACKEDGROUPS& stFirst, PACKEDGROUPS& stSecond) {
    const std::uint64_t ullMask = MaskOf(bSwap);
    const std::uint64_t ullLow = (stFirst.m_ullLow ^ stSecond.m_ullLow) & ullMask;
    const std::uint64_t ullHigh = (stFirst.m_ullHigh ^ stSecond.m_ullHigh) & ullMask;
    stFirst = {stFirst.m_ullLow ^ ullLow, stFirst.m_ullHigh ^ ullHigh};
    stSecond = {stSecond.m_ullLow ^ ullLow, stSecond.m_ullHigh ^ ullHigh};
}

/** Takes the smaller from the greater and answers whether the second was greater. */
bool SubtractGroups(PACKEDGROUPS stFirst, PACKEDGROUPS stSecond, PACKEDGROUPS& stDifference) {
    constexpr std::uint64_t ullNines = (std::uint64_t{DECIMAL_GROUP - 1} << 32) | (DECIMAL_GROUP - 1);
    const bool bSwap = stFirst < stSecond;
    SwapIf(bSwap, stFirst, stSecond);
    // The complement to nines and one more; it always carries.
    const PACKEDGROUPS stComplement{ullNines - stSecond.m_ullLow, ullNines - stSecond.m_ullHigh};
    stDifference = AddGroups(stFirst, stComplement, true).m_stGroups;
    return bSwap;
}

/** Adds magnitudes of one scale; the head has the first's sign and what else the result shall have. */
inline void AddAligned(DECIMALHEAD stHead, const PACKEDGROUPS& stFirst, const PACKEDGROUPS& stSecond, bool bSecond,
                       st_VARDATA* lpResult) {
    const bool bFirst = stHead.m_bSign != 0;
    if (bFirst == bSecond) {
        const GROUPSUM stSum = AddGroups(stFirst, stSecond, false);
        if (stSum.m_bCarry) [[unlikely]]
            return StoreLongSum(lpResult, stHead, JoinGroups(stSum.m_stGroups) + DECIMAL_LIMIT);
        return StoreDecimal(lpResult, stHead, stSum.m_stGroups);
    }
    PACKEDGROUPS stDifference;
    stHead.m_bSign = SubtractGroups(stFirst, stSecond, stDifference) ? bSecond : bFirst;
    // What cancels out leaves a plain zero, without the scale.
    if (stDifference.IsZero()) [[unlikely]]
        return StoreZero(lpResult, stHead.m_bPrecison);
    StoreDecimal(lpResult, stHead, stDifference);
}

/** The magnitude at another scale, rounded; the caller knows that it fits. */
UINT128 Rescale(UINT128 nMagnitude, int nChange) {
    if (nChange < 0) return DropDigits(nMagnitude, -nChange, true);
    return nMagnitude == 0 ? 0 : nMagnitude * DECIMAL_POWERS[nChange];
}

/**
 * Brings values to the scale at which the longer one has 36 digits, in place of the second's. False if there are too
 * many zeros between them.
 */
[[gnu::noinline]] bool AlignLong(PACKEDGROUPS& stFirst, int nFirstScale, PACKEDGROUPS& stSecond, int& nScale) {
    const UINT128 nFirst = JoinGroups(stFirst), nSecond = JoinGroups(stSecond);
    // Digits in front of the point; below 0 for zeros behind it.
    const int nFirstWhole = CountDigits(nFirst) - nFirstScale, nSecondWhole = CountDigits(nSecond) - nScale;
    const int nTarget = DECIMAL_MAX_DIGITS - std::max(nFirstWhole, nSecondWhole);
    stFirst = SplitMagnitude(Rescale(nFirst, nTarget - nFirstScale));
    stSecond = SplitMagnitude(Rescale(nSecond, nTarget - nScale));
    nScale = nTarget;
    return nTarget + std::min(nFirstWhole, nSecondWhole) >= -DECIMAL_SCALE_LIMIT;
}

/** Adds values of different scales, the second with the sign given, at the higher one if 36 digits allow. */
[[gnu::noinline]] void AddUnequal(const st_VARDATA* lpFirst, const st_VARDATA* lpSecond, bool bSecond,
                                  st_VARDATA* lpResult) {
    DECIMALHEAD stHead = LoadHead(lpFirst);
    const bool bFirst = stHead.m_bSign != 0;
    const int nFirstScale = stHead.m_bScale, nSecondScale = lpSecond->m_bScale;
    const bool bSwap = nFirstScale > nSecondScale;
    const auto nMask = static_cast<int>(MaskOf(bSwap));
    const int nRaise = ((nSecondScale - nFirstScale) ^ nMask) - nMask;
    int nScale = nSecondScale + (nRaise & nMask);
    PACKEDGROUPS stLow = LoadGroups(lpFirst), stHigh = LoadGroups(lpSecond);
    SwapIf(bSwap, stLow, stHigh);
    const bool bRaised = RaiseGroups(stLow, nRaise);
    if (!bRaised && !AlignLong(stLow, nScale - nRaise, stHigh, nScale)) return StoreLostScale(lpResult);
    // The declared precision stays only where the first was long and needn't move.
    if (bRaised || nScale != nFirstScale) stHead.m_bPrecison = 0;
    stHead.m_bScale = static_cast<signed char>(nScale);
    const bool bTurn = bSwap && bFirst != bSecond;
    stHead.m_bSign = bFirst != bTurn;
    AddAligned(stHead, stLow, stHigh, bSecond != bTurn, lpResult);
}

/** Adds values of one scale, the second with the sign given. The result is a changed copy of the first. */
[[gnu::noinline]] void AddEqual(const st_VARDATA* lpFirst, const st_VARDATA* lpSecond, bool bSecond,
                                st_VARDATA* lpResult) {
    const bool bDigits = (lpFirst->m_bValid | lpSecond->m_bValid) != 0;
    CopyFlags(lpResult, lpFirst);
    AddAligned(LoadHead(lpFirst), LoadGroups(lpFirst), LoadGroups(lpSecond), bSecond, lpResult);
    if (!bDigits) lpResult->m_bValid = 0;
}

/** Adds, the second with the sign given. */
void AddSigned(const st_VARDATA* lpFirst, const st_VARDATA* lpSecond, bool bSecond, st_VARDATA* lpResult) {
    DECIMALHEAD stHead = LoadHead(lpFirst);
    const int nFirstScale = stHead.m_bScale, nSecondScale = lpSecond->m_bScale;
    SHORTPAIR stPair;
    if (stPair.Align(LoadGroups(lpFirst), nFirstScale, LoadGroups(lpSecond), nSecondScale)) {
        const std::int64_t llSum =
            NegateIf(stPair.m_ullFirst, stHead.m_bSign != 0) + NegateIf(stPair.m_ullSecond, bSecond);
        if (llSum != 0) [[likely]] {
            const bool bEqual = nFirstScale == nSecondScale;
            if (bEqual) CopyFlags(lpResult, lpFirst);
            stHead.m_bSign = llSum < 0;
            stHead.m_bScale = static_cast<signed char>(std::max(nFirstScale, nSecondScale));
            stHead.m_bPrecison = bEqual ? stHead.m_bPrecison : 0;
            const auto ullSum = static_cast<std::uint64_t>(NegateIf(static_cast<std::uint64_t>(llSum), llSum < 0));
            const bool bCarry = ullSum >= DECIMAL_HALF;
            return StoreDecimal(lpResult, stHead, {PackHalf(ullSum - (DECIMAL_HALF & -std::uint64_t{bCarry})), bCarry});
        }
    }
    if (nFirstScale == nSecondScale) return AddEqual(lpFirst, lpSecond, bSecond, lpResult);
    AddUnequal(lpFirst, lpSecond, bSecond, lpResult);
}

/** Compares the magnitudes of values. */
[[gnu::noinline]] int CompareLong(const st_VARDATA* lpFirst, const st_VARDATA* lpSecond) {
    PACKEDGROUPS stFirst = LoadGroups(lpFirst), stSecond = LoadGroups(lpSecond);
    const int nRaise = lpSecond->m_bScale - lpFirst->m_bScale;
    // A number that has no room for the places of the other is longer than that, unless it is zero.
    if (nRaise > 0 && !RaiseGroups(stFirst, nRaise)) return stFirst.IsZero() ? -!stSecond.IsZero() : 1;
    if (nRaise < 0 && !RaiseGroups(stSecond, -nRaise)) return stSecond.IsZero() ? !stFirst.IsZero() : -1;
    return (stSecond < stFirst) - (stFirst < stSecond);
}

int CountTrailingZeros(UINT128 nMagnitude) {
    int nZeros = 0;
    for (; nZeros < DECIMAL_MAX_DIGITS; ++nZeros) {
        const UINT128 nQuotient = DropDigits(nMagnitude, 1, false);
        if (nQuotient * 10 != nMagnitude) break;
        nMagnitude = nQuotient;
    }
    return nZeros;
}

/** The scale a value of positive scale is displayed with; `nPlaces` of its places are left without zeros at the end. */
int DisplayScale(int nDigits, int nScale, int nPlaces) {
    constexpr int PLACES = 6, DIGITS = 12, SHORT_DIGITS = 9;
    if (nPlaces <= 0) return 0;
    if (nDigits <= nScale) {
        const int nSignificant = nDigits - (nScale - nPlaces);
        return nDigits > 8 && nSignificant > SHORT_DIGITS ? nScale + SHORT_DIGITS - nDigits : nPlaces;
    }
    if (nPlaces <= PLACES) return nPlaces;
    // A number of under twelve digits gains zeros up to that many. Intended.
    return std::max(PLACES, nPlaces + DIGITS - nDigits);
}

/** Cuts to a whole number; then moves it away from zero if a fraction of the sign given was lost. */
int RoundWhole(const st_VARDATA* lpValue, st_VARDATA* lpResult, bool bNegative) {
    st_VARDATA stValue, stFraction;
    CopyDecimal(&stValue, lpValue);
    if (const int nCode = CKestroDecimal::Zoom(&stValue, lpResult, 0, 0); nCode != 0) return nCode;
    CKestroDecimal::Sub(&stValue, lpResult, &stFraction);
    const bool bLost = LoadMagnitude(&stFraction) != 0;
    if (bLost && (stFraction.m_bSign != 0) == bNegative) CKestroDecimal::Add(lpResult, bNegative ? -1 : 1);
    return 0;
}

} // namespace

int CKestroDecimal::Add(const st_VARDATA* lpFirst, const st_VARDATA* lpSecond, st_VARDATA* lpResult) {
    if (lpResult == lpSecond) std::swap(lpFirst, lpSecond);
    AddSigned(lpFirst, lpSecond, lpSecond->m_bSign != 0, lpResult);
    return 0;
}

int CKestroDecimal::Sub(const st_VARDATA* lpFirst, const st_VARDATA* lpSecond, st_VARDATA* lpResult) {
    AddSigned(lpFirst, lpSecond, lpSecond->m_bSign == 0, lpResult);
    return 0;
}

int CKestroDecimal::Add(st_VARDATA* lpValue, const st_VARDATA* lpOther) {
    return Add(lpValue, lpOther, lpValue);
}

int CKestroDecimal::Sub(st_VARDATA* lpValue, const st_VARDATA* lpOther) {
    return Sub(lpValue, lpOther, lpValue);
}

int CKestroDecimal::Add(st_VARDATA* lpValue, int nUnits) {
    const bool bNegative = lpValue->m_bSign != 0;
    const auto uUnits = nUnits < 0 ? 0U - static_cast<unsigned>(nUnits) : static_cast<unsigned>(nUnits);
    if (nUnits != 0 && bNegative != (nUnits < 0)) {
        // Units of the last place here as well, so the temporary takes the value's scale.
        st_VARDATA stUnits;
        StoreDecimal(&stUnits, nUnits < 0, lpValue->m_bScale, uUnits);
        return Add(lpValue, &stUnits);
    }
    UINT128 nSum = LoadMagnitude(lpValue) + uUnits;
    int nScale = lpValue->m_bScale;
    if (nSum >= DECIMAL_LIMIT) {
        if (nScale == DECIMAL_MIN_SCALE) {
            StoreNull(lpValue);
            return 0;
        }
        // The digit that falls off doesn't round. Intended.
        nSum = DropDigits(nSum, 1, false);
        --nScale;
    }
    StoreDecimal(lpValue, bNegative, nScale, nSum, lpValue->m_bPrecison);
    return 0;
}

int CKestroDecimal::Compare(const st_VARDATA* lpFirst, const st_VARDATA* lpSecond) {
    const DECIMALHEAD stFirst = LoadHead(lpFirst), stSecond = LoadHead(lpSecond);
    const bool bFirst = stFirst.m_bSign != 0, bSecond = stSecond.m_bSign != 0;
    SHORTPAIR stPair;
    if (stFirst.m_bValid != 0 && stSecond.m_bValid != 0 &&
        stPair.Align(LoadGroups(lpFirst), stFirst.m_bScale, LoadGroups(lpSecond), stSecond.m_bScale)) {
        // Twice the magnitude and one more gives zeros a sign, too.
        const std::int64_t llFirst = NegateIf(stPair.m_ullFirst * 2 + 1, bFirst);
        const std::int64_t llSecond = NegateIf(stPair.m_ullSecond * 2 + 1, bSecond);
        return (llFirst > llSecond) - (llFirst < llSecond);
    }
    if (bFirst != bSecond) return bFirst ? -1 : 1;
    if (stFirst.m_bValid == 0 || stSecond.m_bValid == 0) return DECIMAL_NOT_COMPARABLE;
    const int nResult = CompareLong(lpFirst, lpSecond);
    return bFirst ? -nResult : nResult;
}

int CKestroDecimal::CalcValidDigit(const st_VARDATA* lpValue) {
    return CountDigits(LoadMagnitude(lpValue));
}

int CKestroDecimal::Zoom(const st_VARDATA* lpSource, st_VARDATA* lpTarget, char cScale, int bRound) {
    const int nScale = static_cast<signed char>(cScale);
    const int nChange = nScale - lpSource->m_bScale;
    if (nChange == 0) {
        CopyDecimal(lpTarget, lpSource);
        return 0;
    }
    UINT128 nMagnitude = LoadMagnitude(lpSource);
    if (nChange < 0) {
        nMagnitude = DropDigits(nMagnitude, -nChange, bRound != 0);
    } else if (nMagnitude != 0) {
        if (nChange + CountDigits(nMagnitude) > DECIMAL_MAX_DIGITS) {
            StoreNull(lpTarget);
            return ERR_DECIMAL_PRECISION;
        }
        nMagnitude *= DECIMAL_POWERS[nChange];
    }
    StoreDecimal(lpTarget, lpSource->m_bSign != 0, nScale, nMagnitude);
    return 0;
}

void CKestroDecimal::ZoomOut(const st_VARDATA* lpSource, st_VARDATA* lpTarget, unsigned char bDigits) {
    UINT128 nMagnitude = LoadMagnitude(lpSource);
    if (bDigits >= DECIMAL_MAX_DIGITS)
        nMagnitude = 0;
    else
        nMagnitude = nMagnitude % DECIMAL_POWERS[DECIMAL_MAX_DIGITS - bDigits] * DECIMAL_POWERS[bDigits];
    StoreDecimal(lpTarget, lpSource->m_bSign != 0, lpSource->m_bScale + bDigits, nMagnitude);
}

void CKestroDecimal::Clean(st_VARDATA* lpValue) {
    const int nScale = lpValue->m_bScale;
    if (nScale <= 0) return;
    const UINT128 nMagnitude = LoadMagnitude(lpValue);
    const int nPlaces = nMagnitude == 0 ? 0 : nScale - CountTrailingZeros(nMagnitude);
    const int nTarget = DisplayScale(CountDigits(nMagnitude), nScale, nPlaces);
    // Nothing can overflow: a scale is raised up to twelve digits only.
    (void)Zoom(lpValue, lpValue, static_cast<char>(nTarget), 1);
}

int CKestroDecimal::Floor(const st_VARDATA* lpValue, st_VARDATA* lpResult) {
    return RoundWhole(lpValue, lpResult, true);
}

int CKestroDecimal::Ceil(const st_VARDATA* lpValue, st_VARDATA* lpResult) {
    return RoundWhole(lpValue, lpResult, false);
}

int CKestroDecimal::AddIntArray(int* lpGroups, const int* lpOther, int n) {
    int nCarry = 0;
    for (int i = 0; i < n; ++i) {
        const long long llSum = static_cast<long long>(lpGroups[i]) + lpOther[i] + nCarry;
        nCarry = llSum >= KestroPowers10[9];
        lpGroups[i] = static_cast<int>(nCarry ? llSum - KestroPowers10[9] : llSum);
    }
    return nCarry;
}

int CKestroDecimal::CompareIntArray(const int* lpFirst, const int* lpSecond, int n) {
    while (n-- > 0)
        if (lpFirst[n] != lpSecond[n]) return lpFirst[n] < lpSecond[n] ? -1 : 1;
    return 0;
}

void CKestroDecimal::Sub2(int& nValue, int nSubtrahend, int& nBorrow) {
    const long long llRest = static_cast<long long>(nValue) - nSubtrahend - nBorrow;
    nBorrow = llRest < 0;
    nValue = static_cast<int>(nBorrow ? llRest + KestroPowers10[9] : llRest);
}
