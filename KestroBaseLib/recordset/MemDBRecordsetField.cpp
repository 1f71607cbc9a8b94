// Typed reads of the current row. A value is read by its own type; the column's type tells only that a text is a
// decimal's.

#include <cmath>
#include <cstdlib>
#include <cwchar>
#include <limits>

#include "CommonDataDef.h"
#include "KestroDate.h"
#include "KestroDecimal.h"
#include "MemDBRecordset.h"

namespace {

/** What a read of NULL answers. */
constexpr int FIELD_IS_NULL = -1;

/** A text as the conversions want it, its terminator counted. */
st_VARDATA Terminated(const st_VARDATA& stValue) {
    st_VARDATA stView;
    stView.SetData(nullptr, stValue);
    if (stView.m_vt == VT_VARCHAR) ++stView.m_nStrLen;
    return stView;
}

/** Without its fraction, exactly; false for a value that isn't a number or doesn't fit. */
template <typename T>
bool CutDecimal(const st_VARDATA& stValue, T& nValue) {
    constexpr std::uint64_t GROUP = 1'000'000'000;
    st_VARDATA stWhole;
    if (stValue.m_vt != VT_DECIMAL || CKestroDecimal::Zoom(&stValue, &stWhole, 0, 0) != ERR_OK) return false;
    const auto& arGroup = stWhole.m_arDecimalData;
    if (stWhole.m_vt != VT_DECIMAL || arGroup[3] != 0 || arGroup[2] > 9) return false;
    const std::uint64_t uMagnitude =
        (static_cast<std::uint64_t>(arGroup[2]) * GROUP + static_cast<std::uint64_t>(arGroup[1])) * GROUP +
        static_cast<std::uint64_t>(arGroup[0]);
    const bool bNegative = stWhole.m_bSign != 0;
    if (uMagnitude > static_cast<std::uint64_t>(std::numeric_limits<T>::max()) + bNegative) return false;
    nValue = static_cast<T>(bNegative ? 0 - uMagnitude : uMagnitude);
    return true;
}

template <typename T>
bool CutDouble(double dblValue, T& nValue) {
    constexpr double LOWEST = static_cast<double>(std::numeric_limits<T>::min());
    const double dblWhole = std::trunc(dblValue);
    if (!(dblWhole >= LOWEST && dblWhole < -LOWEST)) return false;
    nValue = static_cast<T>(dblWhole);
    return true;
}

template <typename T>
int CodeOf(bool bFits, T& nValue) {
    if (bFits) return ERR_OK;
    nValue = 0;
    return ERR_DATA_TYPE;
}

/** A number from a value that is none. No pair of types without a conversion, and no NULL, gives one. */
int ConvertTo(BYTE bType, const st_VARDATA& stValue, st_VARDATA& stResult) {
    const int nCode = Terminated(stValue).GetCompatableFieldValue(nullptr, bType, stResult, false);
    if (nCode == ERR_MEMORY) return nCode;
    return nCode == ERR_OK && stResult.m_vt == bType ? ERR_OK : ERR_DATA_TYPE;
}

template <typename T>
int ToNumber(const st_VARDATA& stValue, T& nValue) {
    constexpr BYTE INTEGER_TYPE = sizeof(T) == 4 ? VT_INT : VT_BIGINT;
    switch (stValue.m_vt) {
        case VT_INT:
            nValue = stValue.m_nValue;
            return ERR_OK;
        case VT_BIGINT:
            // The low bits are given even where they aren't all.
            nValue = static_cast<T>(stValue.m_llValue);
            return nValue == stValue.m_llValue ? ERR_OK : ERR_DATA_TYPE;
        case VT_DOUBLE:
            return CodeOf(CutDouble(stValue.m_dblValue, nValue), nValue);
        case VT_DECIMAL:
            return CodeOf(CutDecimal(stValue, nValue), nValue);
        default:
            st_VARDATA stResult;
            if (const int nCode = ConvertTo(INTEGER_TYPE, stValue, stResult)) return nCode;
            nValue = static_cast<T>(stResult.m_vt == VT_INT ? stResult.m_nValue : stResult.m_llValue);
            return ERR_OK;
    }
}

int ToNumber(const st_VARDATA& stValue, double& dblValue) {
    if (stValue.m_vt == VT_DOUBLE) {
        dblValue = stValue.m_dblValue;
        return ERR_OK;
    }
    st_VARDATA stResult;
    if (const int nCode = ConvertTo(VT_DOUBLE, stValue, stResult)) return nCode;
    dblValue = stResult.m_dblValue;
    return ERR_OK;
}

/** The clock of a duration. Days are hours there, as the clock of a day has no place for them. */
tm ClockOf(const KESTROTIME& stTime) {
    const bool bNegative = stTime.m_nDay < 0;
    const int nDays = stTime.m_nDay == KESTRO_MINUS_ZERO_DAYS ? 0 : std::abs(stTime.m_nDay);
    const int nSign = bNegative ? -1 : 1;
    tm stClock{};
    stClock.tm_hour = nSign * (24 * nDays + stTime.m_bHour);
    stClock.tm_min = nSign * stTime.m_bMintue;
    stClock.tm_sec = nSign * stTime.m_bSecond;
    return stClock;
}

int ToClock(const st_VARDATA& stValue, tm& stClock) {
    if (stValue.m_vt == VT_TIME) {
        stClock = ClockOf(stValue.m_stTime);
        return ERR_OK;
    }
    st_VARDATA stStamp;
    if (const int nCode = ConvertTo(VT_DATETIME, stValue, stStamp)) return nCode;
    // Beyond the days of 32 bits there is no date, and below them no number of a day.
    int nYear, nMonth, nMicrosecond;
    tm st{};
    if (CKestroDate::ConvertDateTime(stStamp.m_dblValue, nYear, nMonth, st.tm_mday, st.tm_hour, st.tm_min, st.tm_sec,
                                     nMicrosecond) != ERR_OK)
        return ERR_DATA_TYPE;
    CKestroDate::ConvertDateTime(stStamp.m_dblValue, nYear, nMonth, st.tm_mday, st.tm_wday, st.tm_yday, st.tm_hour,
                                 st.tm_min, st.tm_sec, nMicrosecond);
    st.tm_year = nYear - 1900;
    st.tm_mon = nMonth - 1;
    stClock = st;
    return ERR_OK;
}

} // namespace

int CMemDBRecordset::ReadField(int nField, const st_VARDATA*& lpValue) const {
    if (!m_lpCurrentRecord) return ERR_NULL_POINTER;
    if (!Field(nField)) return ERR_FIELD_NUMBER;
    lpValue = m_lpCurrentRecord->m_lpFieldData + nField;
    return lpValue->m_vt == VT_EMPTY || lpValue->m_vt == VT_NULL ? FIELD_IS_NULL : ERR_OK;
}

template <typename T>
int CMemDBRecordset::ReadNumber(int nField, T& nValue) {
    nValue = 0;
    const st_VARDATA* lpValue = nullptr;
    if (const int nCode = ReadField(nField, lpValue)) return nCode;
    if (FieldType(nField) != VT_DECIMAL || lpValue->m_vt != VT_VARCHAR) return ToNumber(*lpValue, nValue);
    st_VARDATA stDecimal;
    (void)CKestroDecimal::Convert2Decimal(lpValue->m_lpszValue, lpValue->m_nStrLen, &stDecimal);
    return stDecimal.m_vt == VT_DECIMAL ? ToNumber(stDecimal, nValue) : ERR_DATA_TYPE;
}

int CMemDBRecordset::FieldValue(int nField, int& nValue) {
    return ReadNumber(nField, nValue);
}

int CMemDBRecordset::FieldValue(int nField, long long& llValue) {
    return ReadNumber(nField, llValue);
}

int CMemDBRecordset::FieldValue(int nField, double& dblValue) {
    return ReadNumber(nField, dblValue);
}

int CMemDBRecordset::FieldValue(int nField, tm& stValue) {
    stValue = tm{};
    const st_VARDATA* lpValue = nullptr;
    if (const int nCode = ReadField(nField, lpValue)) return nCode;
    return ToClock(*lpValue, stValue);
}

// --- text ------------------------------------------------------------------------------------------------------------

wchar_t** CMemDBRecordset::WideText(int nField) {
    stu_RECORD& stRecord = *m_lpCurrentRecord;
    if (!stRecord.m_pFieldStr) {
        const std::size_t nSize = static_cast<std::size_t>(m_nFieldNum) * sizeof(wchar_t*);
        LPBYTE const lpPiece = AllocAligned(nSize);
        if (!lpPiece) return nullptr;
        stRecord.m_pFieldStr = reinterpret_cast<wchar_t**>(std::memset(lpPiece, 0, nSize));
    }
    return stRecord.m_pFieldStr + nField;
}

/** The text of a number or a time, wide and behind that in bytes, made once for both. */
int CMemDBRecordset::PrintField(const st_VARDATA& stValue, wchar_t*& lpszWide) {
    if (lpszWide) return ERR_OK;
    char szText[KESTRO_VALUE_TEXT_SIZE];
    const int nSize = stValue.GetCompatibleStringValue(szText);
    if (nSize <= 0) return ERR_DATA_TYPE;
    const auto nElements = static_cast<UINT>(nSize);
    void* const lpPiece = m_stBufferPool.AllocBuffer(nElements * UINT{sizeof(wchar_t) + 1});
    if (!lpPiece) return ERR_MEMORY;
    lpszWide = static_cast<wchar_t*>(lpPiece);
    for (UINT i = 0; i < nElements; ++i)
        lpszWide[i] = static_cast<BYTE>(szText[i]);
    std::memcpy(lpszWide + nElements, szText, nElements);
    return ERR_OK;
}

int CMemDBRecordset::WidenField(const st_VARDATA& stValue, wchar_t*& lpszWide) {
    if (lpszWide) return ERR_OK;
    // No character takes more elements than bytes.
    const std::uint64_t nSize = static_cast<std::uint64_t>(stValue.m_nStrLen) + 1;
    auto* const lpszText = reinterpret_cast<wchar_t*>(AllocAligned(nSize * sizeof(wchar_t)));
    if (!lpszText) return ERR_MEMORY;
    if (KestroUTF82Unicode(stValue.m_lpszValue, stValue.m_nStrLen, lpszText, static_cast<int>(nSize)) < 0)
        return ERR_CHARSET_CONVERT;
    lpszWide = lpszText;
    return ERR_OK;
}

int CMemDBRecordset::FieldValue(int nField, char*& lpszValue) {
    lpszValue = nullptr;
    const st_VARDATA* lpValue = nullptr;
    if (const int nCode = ReadField(nField, lpValue)) return nCode;
    if (lpValue->m_vt == VT_VARCHAR) {
        lpszValue = lpValue->m_lpszValue;
        return ERR_OK;
    }
    wchar_t** const lpWide = WideText(nField);
    if (!lpWide) return ERR_MEMORY;
    if (const int nCode = PrintField(*lpValue, *lpWide)) return nCode;
    lpszValue = reinterpret_cast<char*>(*lpWide + std::wcslen(*lpWide) + 1);
    return ERR_OK;
}

int CMemDBRecordset::FieldValue(int nField, wchar_t*& lpszValue) {
    lpszValue = nullptr;
    const st_VARDATA* lpValue = nullptr;
    if (const int nCode = ReadField(nField, lpValue)) return nCode;
    wchar_t** const lpWide = WideText(nField);
    if (!lpWide) return ERR_MEMORY;
    const bool bText = lpValue->m_vt == VT_VARCHAR;
    if (const int nCode = bText ? WidenField(*lpValue, *lpWide) : PrintField(*lpValue, *lpWide)) return nCode;
    lpszValue = *lpWide;
    return ERR_OK;
}

int CMemDBRecordset::FieldValue(int nField, unsigned char*& lpValue, int& nLen) {
    lpValue = nullptr;
    nLen = 0;
    const st_VARDATA* lpData = nullptr;
    if (const int nCode = ReadField(nField, lpData)) return nCode;
    if (lpData->m_vt != VT_BLOB && lpData->m_vt != VT_VARCHAR) return ERR_DATA_TYPE;
    lpValue = lpData->m_lpValue;
    nLen = lpData->m_nStrLen;
    return ERR_OK;
}
