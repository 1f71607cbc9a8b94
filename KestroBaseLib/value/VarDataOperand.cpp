// Operands of arithmetic: values as integers, doubles and decimals, and what text turns out to be: a number, a date, a
// time, or both. What the operators do with it stands in VarDataOperator.cpp.

#include "VarDataOperand.h"

#include "CommonDataDef.h"
#include "CommonDataDefNumber.h"
#include "KestroDate.h"

namespace {

/** Kinds of text by the place of their first time part. */
constexpr int KIND_DATE = -1;
constexpr int KIND_TIME = 0;
constexpr int KIND_DATETIME = 3;
/** Groups of digits that make a date. */
constexpr int DATE_GROUPS = 3;

/**
 * Whether a text looks like a date or a time, and its kind. A text without a time is a date with exactly three groups
 * of digits: "12", "1.5" and "20240131" are numbers.
 */
bool LooksLikeDate(const CTextOperand& stText, int& nKind) {
    CKestroDate stDate;
    if (stDate.GetDateTimeType(stText.Text(), nKind) != ERR_OK) return false;
    return nKind != KIND_DATE || stDate.m_nDataIndex == DATE_GROUPS;
}

bool IsDateOrTime(OPERANDCLASS nClass) {
    return nClass == OC_DATE || nClass == OC_TIME || nClass == OC_DATETIME;
}

} // namespace

void IntegerToDecimal(long long llValue, st_VARDATA& stDecimal) {
    CKestroDecimal::Convert2Decimal(llValue, &stDecimal);
    stDecimal.m_bSign = llValue < 0;
}

bool OtherDoubleOf(const st_VARDATA& stValue, double& dblValue) {
    switch (stValue.m_vt) {
        case VT_INT:
            dblValue = stValue.m_nValue;
            return true;
        case VT_BIGINT:
            dblValue = static_cast<double>(stValue.m_llValue);
            return true;
        case VT_DECIMAL:
            dblValue = CKestroDecimal::Convert2Double(&stValue);
            return true;
        case VT_DATE:
            return CKestroDate::ConvertVariantTime(dblValue, stValue.m_stDate) == ERR_OK;
        case VT_TIME:
            return CKestroDate::ConvertVariantTime(dblValue, stValue.m_stTime) == ERR_OK;
        default:
            return false;
    }
}

const st_VARDATA* DecimalOf(const st_VARDATA& stValue, st_VARDATA& stHeld) {
    if (stValue.m_vt == VT_DECIMAL) return &stValue;
    if (stValue.m_vt == VT_INT || stValue.m_vt == VT_BIGINT) {
        IntegerToDecimal(IntegerOf(stValue), stHeld);
        return &stHeld;
    }
    double dblValue;
    if (!DoubleOf(stValue, dblValue)) return nullptr;
    CKestroDecimal::Convert2Decimal(dblValue, &stHeld);
    return stHeld.m_vt == VT_DECIMAL ? &stHeld : nullptr;
}

bool COperand::Resolve(OPERANDCLASS nOther) {
    if (m_nClass < OC_VALUES) return true;
    if (m_nClass == OC_HEXSTR) return ResolveHexstr(nOther);
    return m_nClass == OC_TEXT && ResolveText(nOther);
}

/** An integer that stands in a text: a decimal beside decimals, a BIGINT otherwise. */
bool COperand::HoldInteger(long long llValue, OPERANDCLASS nOther) {
    if (nOther == OC_DECIMAL) {
        IntegerToDecimal(llValue, m_stHeld);
        return Hold(OC_DECIMAL);
    }
    m_stHeld.SetData(llValue);
    return Hold(OC_BIGINT);
}

bool COperand::ResolveHexstr(OPERANDCLASS nOther) {
    if (!HasText(*m_lpValue) || !CTextOperand(*m_lpValue).Decimal(m_stHeld)) return false;
    if (nOther == OC_DECIMAL) return Hold(OC_DECIMAL);
    return HoldInteger(CKestroDecimal::Convert2Int64(&m_stHeld, 1), nOther);
}

bool COperand::ResolveText(OPERANDCLASS nOther) {
    if (!HasText(*m_lpValue)) return false;
    if (m_lpValue->m_bCharset == KESTRO_CHARSET_HEX)
        return HoldInteger(GetHexEncodedData(m_lpValue->m_lpszValue, m_lpValue->m_nStrLen - (m_lpValue->m_nStrLen > 0)),
                           nOther);
    const CTextOperand stText(*m_lpValue);
    // An interval is added to a date by the date functions; it is no operand here.
    if (IsInterval(*m_lpValue)) return false;
    int nKind;
    if (LooksLikeDate(stText, nKind)) return ResolveDateText(stText, nKind, nOther);
    return ResolveNumberText(stText, nOther);
}

/** Beside another text it stands as a value of its kind, so that the matrix has no cells for two texts. */
bool COperand::ResolveDateText(const CTextOperand& stText, int nKind, OPERANDCLASS nOther) {
    const bool bAsValue = nOther == OC_TEXT;
    CKestroDate stDate;
    if (nKind == KIND_TIME) {
        KESTROTIME stTime;
        if (stDate.ParseTime(stTime, stText.Text(), stText.Len()) != ERR_OK) return false;
        m_stHeld.SetData(stTime);
        return Hold(bAsValue ? OC_TIME : OC_TIMETEXT);
    }
    if (nKind != KIND_DATE && nKind != KIND_DATETIME) return false;
    double dblDate;
    if (stDate.ParseDate(dblDate, stText.Text(), stText.Len()) != ERR_OK) return false;
    m_stHeld.SetData(dblDate, VT_DATETIME);
    if (nKind == KIND_DATE) return Hold(bAsValue ? OC_DATE : OC_DATETEXT);
    return Hold(bAsValue ? OC_DATETIME : OC_DATETIMETEXT);
}

bool COperand::ResolveNumberText(const CTextOperand& stText, OPERANDCLASS nOther) {
    if (nOther == OC_DECIMAL) return stText.Decimal(m_stHeld) && Hold(OC_DECIMAL);
    if (IsDateOrTime(nOther)) return HoldDouble(stText.Double());
    switch (IsNumber(stText.Text(), stText.Len())) {
        case NUMBER_HEX:
            return HoldInteger(HexStringToNumber(stText.Text()), nOther);
        case NUMBER_REAL:
            return HoldDouble(stText.Double());
        default:
            return HoldInteger(StringToLongLong(stText.Text()), nOther);
    }
}
