#pragma once

// The cells of the conversion matrix, named by source and target. `Num` stands for all numbers and times with a direct
// reading as a double, `Dbl` for the two doubles.

#include "CommonDataDef.h"
#include "KestroDate.h"
#include "KestroDecimal.h"
#include "VarDataConvert.h"
#include "VarDataText.h"

/** The pair has no conversion. */
int Refuse(const CONVERSION& stConversion, st_VARDATA& stResult);
/** NULL. */
int Nothing(const CONVERSION& stConversion, st_VARDATA& stResult);
/** The source as it is: a pool copy, or nothing to do in place. */
int Keep(const CONVERSION& stConversion, st_VARDATA& stResult);

int IntToBig(const CONVERSION& stConversion, st_VARDATA& stResult);
int BigToInt(const CONVERSION& stConversion, st_VARDATA& stResult);
int DblToInt(const CONVERSION& stConversion, st_VARDATA& stResult);
int DblToBig(const CONVERSION& stConversion, st_VARDATA& stResult);
int DecToInt(const CONVERSION& stConversion, st_VARDATA& stResult);
int DecToBig(const CONVERSION& stConversion, st_VARDATA& stResult);
int DecToNear(const CONVERSION& stConversion, st_VARDATA& stResult);
int NumToDbl(const CONVERSION& stConversion, st_VARDATA& stResult);
int IntToDec(const CONVERSION& stConversion, st_VARDATA& stResult);
int BigToDec(const CONVERSION& stConversion, st_VARDATA& stResult);
int DblToDec(const CONVERSION& stConversion, st_VARDATA& stResult);
int NumToDate(const CONVERSION& stConversion, st_VARDATA& stResult);
/** A time of day; the days are dropped. */
int NumToTime(const CONVERSION& stConversion, st_VARDATA& stResult);
/** A duration of whole seconds. */
int SecToTime(const CONVERSION& stConversion, st_VARDATA& stResult);
int DecToSec(const CONVERSION& stConversion, st_VARDATA& stResult);

int TxtToInt(const CONVERSION& stConversion, st_VARDATA& stResult);
int TxtToBig(const CONVERSION& stConversion, st_VARDATA& stResult);
int TxtToDbl(const CONVERSION& stConversion, st_VARDATA& stResult);
int TxtToDec(const CONVERSION& stConversion, st_VARDATA& stResult);
int TxtToStamp(const CONVERSION& stConversion, st_VARDATA& stResult);
int TxtToDate(const CONVERSION& stConversion, st_VARDATA& stResult);
int TxtToTime(const CONVERSION& stConversion, st_VARDATA& stResult);

int NumToTxt(const CONVERSION& stConversion, st_VARDATA& stResult);
int NumToBlob(const CONVERSION& stConversion, st_VARDATA& stResult);
int HexToTxt(const CONVERSION& stConversion, st_VARDATA& stResult);
int HexToBlob(const CONVERSION& stConversion, st_VARDATA& stResult);
/** The same bytes without their terminator; with one. */
int TxtToBlob(const CONVERSION& stConversion, st_VARDATA& stResult);
int BlobToTxt(const CONVERSION& stConversion, st_VARDATA& stResult);

// In place to an integer, without loss or not at all; and NULL for a decimal out of range.
int BigToSafeInt(const CONVERSION& stConversion, st_VARDATA& stResult);
int DblToSafeInt(const CONVERSION& stConversion, st_VARDATA& stResult);
int DblToSafeBig(const CONVERSION& stConversion, st_VARDATA& stResult);
int DecToSafeInt(const CONVERSION& stConversion, st_VARDATA& stResult);
int DecToSafeBig(const CONVERSION& stConversion, st_VARDATA& stResult);
int DecToForcedInt(const CONVERSION& stConversion, st_VARDATA& stResult);
int DecToForcedBig(const CONVERSION& stConversion, st_VARDATA& stResult);

int TxtToEnum(const CONVERSION& stConversion, st_VARDATA& stResult);
int TxtToSet(const CONVERSION& stConversion, st_VARDATA& stResult);
int IntToSet(const CONVERSION& stConversion, st_VARDATA& stResult);

/** Greatest member index that an ENUM column holds. */
constexpr int ENUM_MAX_INDEX = 65535;

/** A number as a member's index, by the kernel that makes it an INT. */
template <CONVERTKERNEL KERNEL>
int NumToEnum(const CONVERSION& stConversion, st_VARDATA& stResult) {
    const double dblIndex = stConversion.m_stSource.GetCompatibleDouble();
    if (!(dblIndex > -1 && dblIndex <= ENUM_MAX_INDEX)) return ERR_TYPE_COMPATIBILITY;
    if (const int nResult = KERNEL(stConversion, stResult)) return nResult;
    return stResult.m_nValue < 0 ? ERR_TYPE_COMPATIBILITY : ERR_OK;
}

/** The conversion of another value in place of the source. */
template <CONVERTKERNEL KERNEL>
int ConvertInstead(const CONVERSION& stConversion, const st_VARDATA& stSource, st_VARDATA& stResult) {
    return KERNEL({stSource, stConversion.m_lpPool, stConversion.m_bType, stConversion.m_bRound, nullptr}, stResult);
}

/** A numeric literal by way of its decimal; one without a number counts as 0, or NULL where that may stay. */
template <CONVERTKERNEL KERNEL>
int HexVia(const CONVERSION& stConversion, st_VARDATA& stResult) {
    st_VARDATA stDecimal;
    (void)CKestroDecimal::Convert2Decimal(CBoundedText(stConversion.m_stSource).Text(), &stDecimal);
    return ConvertInstead<KERNEL>(stConversion, stDecimal, stResult);
}

/** A date by way of its day number; one that the calendar doesn't have is NULL. */
template <CONVERTKERNEL KERNEL>
int DayVia(const CONVERSION& stConversion, st_VARDATA& stResult) {
    double dblDay;
    if (CKestroDate::ConvertVariantTime(dblDay, stConversion.m_stSource.m_stDate) != ERR_OK)
        return Nothing(stConversion, stResult);
    st_VARDATA stDay;
    stDay.SetData(static_cast<int>(dblDay));
    return ConvertInstead<KERNEL>(stConversion, stDay, stResult);
}

/** The bytes of a hexadecimal literal, the first eight at most, by way of their big-endian number. */
template <CONVERTKERNEL KERNEL>
int BytesVia(const CONVERSION& stConversion, st_VARDATA& stResult) {
    const st_VARDATA& stText = stConversion.m_stSource;
    st_VARDATA stNumber;
    stNumber.SetData(stText.m_nStrLen > 1 ? GetHexEncodedData(stText.m_lpszValue, stText.m_nStrLen - 1) : 0LL);
    return ConvertInstead<KERNEL>(stConversion, stNumber, stResult);
}
