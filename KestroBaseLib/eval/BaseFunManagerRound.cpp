// ROUND and TRUNC of values: which rule a pair of value and places takes, and the rounding of numbers. That of dates by
// a format stands in BaseFunManagerRoundDate.cpp.

#include <algorithm>
#include <charconv>
#include <climits>
#include <cmath>

#include "BaseExpressionOperator.h"
#include "BaseFunManager.h"
#include "CommonDataDef.h"
#include "KestroDecimal.h"
#include "VarDataText.h"

namespace {

/** Scales of decimals. */
constexpr int MOST_PLACES = 127;

/** What is done with the digits that go. */
struct CUTTING {
    CKestroBufferPool* m_lpPool;
    bool m_bRound;
};

/** What can't be written with so many places has nothing to cut. */
void ZoomDecimal(CUTTING stCutting, const st_VARDATA& stDecimal, int nPlaces, st_VARDATA& stResult) {
    st_VARDATA stZoomed;
    const auto cScale = static_cast<char>(std::clamp(nPlaces, -MOST_PLACES, MOST_PLACES));
    const bool bZoomed = CKestroDecimal::Zoom(&stDecimal, &stZoomed, cScale, stCutting.m_bRound) == ERR_OK;
    stResult.SetData(stCutting.m_lpPool, bZoomed ? stZoomed : stDecimal);
}

/** Other values than decimals count as the decimal that they write, if any. */
int CutDecimal(CUTTING stCutting, const st_VARDATA& stValue, int nPlaces, st_VARDATA& stResult) {
    st_VARDATA stDecimal;
    if (const int nCode = CBaseFunManager::TakeArgument(stCutting.m_lpPool, stValue, VT_DECIMAL, stDecimal))
        return nCode;
    if (stDecimal.IsNull())
        stResult.SetNull();
    else
        ZoomDecimal(stCutting, stDecimal, nPlaces, stResult);
    return ERR_OK;
}

/** Without a number of places. */
int CutToWhole(CUTTING stCutting, const st_VARDATA& stValue, st_VARDATA& stResult) {
    switch (stValue.m_vt) {
        case VT_INT:
        case VT_BIGINT:
        case VT_DATE:
            return CopyValue(stCutting.m_lpPool, stValue, stResult);
        case VT_DATETIME: {
            const double dblValue = stValue.m_dblValue;
            const double dblHalf = !stCutting.m_bRound ? 0 : dblValue < 0 ? -0.5 : 0.5;
            stResult.SetData(std::trunc(dblValue + dblHalf), VT_DATETIME);
            return ERR_OK;
        }
        default:
            return CutDecimal(stCutting, stValue, 0, stResult);
    }
}

/** INT, BIGINT and DOUBLE keep their type. */
int CutNumber(CUTTING stCutting, const st_VARDATA& stValue, const st_VARDATA& stPlaces, st_VARDATA& stResult) {
    if (!stCutting.m_bRound) {
        stResult.SetData(stCutting.m_lpPool, stValue);
        (void)stResult.Trunc(stPlaces);
        return ERR_OK;
    }
    if (stValue.m_vt == VT_INT)
        CBaseFunManager::Round(int{stValue.m_nValue}, stPlaces, stResult);
    else if (stValue.m_vt == VT_BIGINT)
        CBaseFunManager::Round(static_cast<long long>(stValue.m_llValue), stPlaces, stResult);
    else
        CBaseFunManager::Round(double{stValue.m_dblValue}, stPlaces, stResult);
    return ERR_OK;
}

int CutToPlaces(CUTTING stCutting, const st_VARDATA& stValue, const st_VARDATA& stPlaces, st_VARDATA& stResult) {
    switch (stValue.m_vt) {
        case VT_INT:
        case VT_BIGINT:
        case VT_DOUBLE:
            return CutNumber(stCutting, stValue, stPlaces, stResult);
        case VT_DATE:
        case VT_TIME:
        case VT_DATETIME: {
            st_VARDATA stDays;
            if (const int nCode = CBaseFunManager::TakeArgument(stCutting.m_lpPool, stValue, VT_DOUBLE, stDays))
                return nCode;
            if (!stDays.IsNull()) return CutNumber(stCutting, stDays, stPlaces, stResult);
            stResult.SetNull();
            return ERR_OK;
        }
        default:
            return CutDecimal(stCutting, stValue, stPlaces.m_nValue, stResult);
    }
}

bool IsDate(BYTE bType) {
    return bType == VT_DATE || bType == VT_TIME || bType == VT_DATETIME;
}

/** Whether the second argument names a unit: beside a date always, beside a text if there is such a unit. */
bool IsByFormat(const st_VARDATA& stValue, const st_VARDATA& stPlaces) {
    if (stPlaces.m_vt != VT_VARCHAR) return false;
    if (stValue.m_vt != VT_VARCHAR) return IsDate(stValue.m_vt);
    return CBaseFunManager::GetRoundType(CBoundedText(stPlaces).Text()) != ROUND_NONE;
}

int CutDate(CUTTING stCutting, const st_VARDATA& stValue, const st_VARDATA& stFormat, st_VARDATA& stResult) {
    st_VARDATA stDate;
    if (const int nCode = CBaseFunManager::TakeArgument(stCutting.m_lpPool, stValue, VT_DATETIME, stDate)) return nCode;
    stResult.SetNull();
    if (stDate.IsNull()) return ERR_OK;
    const CBoundedText stText(stFormat);
    double dblCut = 0;
    const int nCode = stCutting.m_bRound ? CBaseFunManager::Round(DATE{stDate.m_dblValue}, stText.Text(), dblCut)
                                         : CBaseFunManager::Trunc(DATE{stDate.m_dblValue}, stText.Text(), dblCut);
    if (nCode != ERR_OK) return nCode;
    stDate.SetData(dblCut, VT_DATETIME);
    const BYTE bType = IsDate(stValue.m_vt) ? stValue.m_vt : BYTE{VT_DATETIME};
    return CBaseFunManager::TakeArgument(stCutting.m_lpPool, stDate, bType, stResult);
}

int Cut(CUTTING stCutting, const st_VARDATA& stValue, const st_VARDATA& stPlaces, st_VARDATA& stResult) {
    stResult.SetNull();
    if (stValue.IsNull() || stPlaces.IsNull()) return ERR_OK;
    if (stPlaces.m_vt == VT_DEFAULT) return CutToWhole(stCutting, stValue, stResult);
    if (IsByFormat(stValue, stPlaces)) return CutDate(stCutting, stValue, stPlaces, stResult);
    st_VARDATA stNumber;
    if (const int nCode = CBaseFunManager::TakeArgument(stCutting.m_lpPool, stPlaces, VT_INT, stNumber)) return nCode;
    return stNumber.IsNull() ? ERR_OK : CutToPlaces(stCutting, stValue, stNumber, stResult);
}

/** A magnitude rounded at one of its digits; it then still fits. */
std::uint64_t RoundDigits(std::uint64_t ullMagnitude, int nDigits) {
    std::uint64_t ullPower = 1;
    for (; nDigits > 0; --nDigits)
        ullPower *= 10;
    return (ullMagnitude + ullPower / 2) / ullPower * ullPower;
}

} // namespace

int CBaseFunManager::Round(CKestroBufferPool* lpPool, const st_VARDATA& stValue, const st_VARDATA& stPlaces,
                           st_VARDATA& stResult) {
    return Cut({lpPool, true}, stValue, stPlaces, stResult);
}

int CBaseFunManager::Trunc(CKestroBufferPool* lpPool, const st_VARDATA& stValue, const st_VARDATA& stPlaces,
                           st_VARDATA& stResult) {
    return Cut({lpPool, false}, stValue, stPlaces, stResult);
}

void CBaseFunManager::Round(double dblValue, const st_VARDATA& stPlaces, st_VARDATA& stResult) {
    // In its shortest writing 2.675 is that number, and not the binary one just below it.
    char szText[32];
    *std::to_chars(szText, szText + sizeof szText - 1, dblValue).ptr = 0;
    st_VARDATA stDecimal, stRounded;
    // A double beyond the decimals has no places to round.
    if (CKestroDecimal::Convert2Decimal(szText, &stDecimal) == ERR_OK && stDecimal.m_vt == VT_DECIMAL) {
        ZoomDecimal({nullptr, true}, stDecimal, stPlaces.m_nValue, stRounded);
        dblValue = CKestroDecimal::Convert2Double(&stRounded);
    }
    stResult.SetData(dblValue, VT_DOUBLE);
}

void CBaseFunManager::Round(int nValue, const st_VARDATA& stPlaces, st_VARDATA& stResult) {
    Round(static_cast<long long>(nValue), stPlaces, stResult);
    if (stResult.m_llValue >= INT_MIN && stResult.m_llValue <= INT_MAX)
        stResult.SetData(static_cast<int>(stResult.m_llValue));
}

void CBaseFunManager::Round(long long llValue, const st_VARDATA& stPlaces, st_VARDATA& stResult) {
    stResult.SetData(llValue);
    if (stPlaces.m_nValue >= 0) return;
    // Never more digits than there are: 55 to the place of thousands is 100, as to that of hundreds. Intended.
    const int nFigures = GetIntegerFigure(llValue);
    const int nDigits = stPlaces.m_nValue < -nFigures ? nFigures : -stPlaces.m_nValue;
    const auto ullValue = static_cast<std::uint64_t>(llValue);
    const std::uint64_t ullRounded = RoundDigits(llValue < 0 ? 0 - ullValue : ullValue, nDigits);
    if (ullRounded <= LLONG_MAX) {
        const auto llRounded = static_cast<long long>(ullRounded);
        return stResult.SetData(llValue < 0 ? -llRounded : llRounded);
    }
    CKestroDecimal::Convert2Decimal(static_cast<unsigned long long>(ullRounded), &stResult);
    if (llValue < 0) stResult.m_bSign = 1;
}
