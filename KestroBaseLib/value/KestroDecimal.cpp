// Exact decimals: sums, comparison and change of scale. Products, quotients, texts and images have their own sources.

#include <algorithm>

#include "KestroDecimalMagnitude.h"

namespace {

constexpr int MIN_SCALE = -128;
/** Scales and digit counts of what is rounded to fit stay within these. */
constexpr int SCALE_LIMIT = 127;

/** What is left where the scale can't be held: a zero without digits. */
void StoreLostScale(st_VARDATA* lpResult) {
    StoreDecimal(lpResult, false, 0, 0);
    lpResult->m_bValid = 0;
}

/** Stores a sum of two magnitudes; one of 37 digits is rounded to 36. */
void StoreSum(st_VARDATA* lpResult, bool bNegative, int nScale, UINT128 nSum, BYTE bPrecision) {
    if (nSum >= DECIMAL_LIMIT) {
        if (nScale == MIN_SCALE) return StoreLostScale(lpResult);
        nSum = DropDigits(nSum, 1, true);
        --nScale;
    }
    StoreDecimal(lpResult, bNegative, nScale, nSum, bPrecision);
}

/** Adds magnitudes of one scale. */
void AddMagnitudes(UINT128 nFirst, bool bFirst, UINT128 nSecond, bool bSecond, int nScale, BYTE bPrecision,
                   st_VARDATA* lpResult) {
    if (bFirst == bSecond) return StoreSum(lpResult, bFirst, nScale, nFirst + nSecond, bPrecision);
    // What cancels out leaves a plain zero, without the scale.
    if (nFirst == nSecond) return StoreDecimal(lpResult, false, 0, 0, bPrecision);
    if (nFirst > nSecond) return StoreDecimal(lpResult, bFirst, nScale, nFirst - nSecond, bPrecision);
    StoreDecimal(lpResult, bSecond, nScale, nSecond - nFirst, bPrecision);
}

/** The magnitude at another scale, rounded; the caller knows that it fits. */
UINT128 Rescale(UINT128 nMagnitude, int nChange) {
    if (nChange < 0) return DropDigits(nMagnitude, -nChange, true);
    return nMagnitude == 0 ? 0 : nMagnitude * DECIMAL_POWERS[nChange];
}

/** Adds values of different scales, the second with the sign given. */
void AddUnequal(const st_VARDATA* lpFirst, const st_VARDATA* lpSecond, bool bSecond, st_VARDATA* lpResult) {
    const bool bFirst = lpFirst->m_bSign != 0;
    const int nFirstScale = lpFirst->m_bScale, nSecondScale = lpSecond->m_bScale;
    const UINT128 nFirst = LoadMagnitude(lpFirst), nSecond = LoadMagnitude(lpSecond);
    // Digits in front of the point; below 0 for zeros behind it.
    const int nFirstWhole = CountDigits(nFirst) - nFirstScale, nSecondWhole = CountDigits(nSecond) - nSecondScale;
    int nScale = std::max(nFirstScale, nSecondScale);
    const int nRaisedWhole = nFirstScale < nSecondScale ? nFirstWhole : nSecondWhole;
    BYTE bPrecision = 0;
    if (nRaisedWhole + nScale > DECIMAL_MAX_DIGITS) {
        nScale = DECIMAL_MAX_DIGITS - std::max(nFirstWhole, nSecondWhole);
        if (nScale + std::min(nFirstWhole, nSecondWhole) < -SCALE_LIMIT) return StoreLostScale(lpResult);
        if (nScale == nFirstScale) bPrecision = lpFirst->m_bPrecison;
    }
    AddMagnitudes(Rescale(nFirst, nScale - nFirstScale), bFirst, Rescale(nSecond, nScale - nSecondScale), bSecond,
                  nScale, bPrecision, lpResult);
}

/** Adds, the second with the sign given. Of one scale the result is a changed copy of the first. */
void AddSigned(const st_VARDATA* lpFirst, const st_VARDATA* lpSecond, bool bSecond, st_VARDATA* lpResult) {
    if (lpFirst->m_bScale != lpSecond->m_bScale) return AddUnequal(lpFirst, lpSecond, bSecond, lpResult);
    const bool bNoDigits = (lpFirst->m_bValid | lpSecond->m_bValid) == 0;
    const UINT128 nFirst = LoadMagnitude(lpFirst), nSecond = LoadMagnitude(lpSecond);
    if (lpResult != lpFirst) CopyDecimal(lpResult, lpFirst);
    AddMagnitudes(nFirst, lpResult->m_bSign != 0, nSecond, bSecond, lpResult->m_bScale, lpResult->m_bPrecison,
                  lpResult);
    if (bNoDigits) lpResult->m_bValid = 0;
}

/** Compares magnitudes of different scales. */
int CompareUnequal(UINT128 nFirst, int nFirstScale, UINT128 nSecond, int nSecondScale) {
    if (nFirst == 0 || nSecond == 0) return (nFirst != 0) - (nSecond != 0);
    const int nFirstDigits = CountDigits(nFirst), nSecondDigits = CountDigits(nSecond);
    const int nWhole = nFirstDigits - nFirstScale - (nSecondDigits - nSecondScale);
    if (nWhole != 0) return nWhole < 0 ? -1 : 1;
    if (nFirstDigits < nSecondDigits) nFirst *= DECIMAL_POWERS[nSecondDigits - nFirstDigits];
    if (nSecondDigits < nFirstDigits) nSecond *= DECIMAL_POWERS[nFirstDigits - nSecondDigits];
    return (nFirst > nSecond) - (nFirst < nSecond);
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
        if (nScale == MIN_SCALE) {
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
    const bool bNegative = lpFirst->m_bSign != 0;
    if (bNegative != (lpSecond->m_bSign != 0)) return bNegative ? -1 : 1;
    if (lpFirst->m_bValid == 0 || lpSecond->m_bValid == 0) return DECIMAL_NOT_COMPARABLE;
    const UINT128 nFirst = LoadMagnitude(lpFirst), nSecond = LoadMagnitude(lpSecond);
    const int nResult = lpFirst->m_bScale == lpSecond->m_bScale
                            ? (nFirst > nSecond) - (nFirst < nSecond)
                            : CompareUnequal(nFirst, lpFirst->m_bScale, nSecond, lpSecond->m_bScale);
    return bNegative ? -nResult : nResult;
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
        lpGroups[i] += lpOther[i] + nCarry;
        nCarry = lpGroups[i] >= KestroPowers10[9];
        if (nCarry) lpGroups[i] -= KestroPowers10[9];
    }
    return nCarry;
}

int CKestroDecimal::CompareIntArray(const int* lpFirst, const int* lpSecond, int n) {
    while (n-- > 0)
        if (lpFirst[n] != lpSecond[n]) return lpFirst[n] < lpSecond[n] ? -1 : 1;
    return 0;
}

void CKestroDecimal::Sub2(int& nValue, int nSubtrahend, int& nBorrow) {
    nValue -= nSubtrahend + nBorrow;
    nBorrow = nValue < 0;
    if (nBorrow) nValue += KestroPowers10[9];
}
