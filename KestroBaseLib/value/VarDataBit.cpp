// Values of bit columns: up to 64 bits, whose text form is the big-endian bytes of the number.

#include "VarDataKernel.h"

namespace {

bool IsIntegerClass(BYTE bType) {
    return bType == VT_INT || bType == VT_TINYINT || bType == VT_SMALLINT;
}

void DecimalToBits(const st_VARDATA& stDecimal, BYTE bType, st_VARDATA& stResult) {
    if (IsIntegerClass(bType))
        stResult.SetData(CKestroDecimal::Convert2Int(&stDecimal, 1));
    else
        stResult.SetData(CKestroDecimal::Convert2Int64(&stDecimal, 1));
}

void BytesToBits(const st_VARDATA& stBytes, BYTE bType, st_VARDATA& stResult) {
    // The last byte counts as a terminator, of a BLOB as well. Intended. Bytes behind the eighth play no part.
    const int nLen = stBytes.m_nStrLen > 1 ? stBytes.m_nStrLen - 1 : 0;
    const long long llBits = GetHexEncodedData(stBytes.m_lpszValue, nLen);
    switch (bType) {
        case VT_TINYINT:
            return stResult.SetData(static_cast<int>(llBits & 0xFF));
        case VT_SMALLINT:
            return stResult.SetData(static_cast<int>(llBits & 0xFFFF));
        case VT_INT:
            return stResult.SetData(static_cast<int>(llBits));
        default:
            return stResult.SetData(llBits);
    }
}

/** False for a value that stays as it is. Integers are left to the caller. */
bool ToBits(const st_VARDATA& stValue, BYTE bType, st_VARDATA& stResult) {
    if (stValue.HasOwnerFlag() && !stValue.m_lpszValue) {
        stResult.SetNull();
        return true;
    }
    switch (stValue.m_vt) {
        case VT_DECIMAL:
            DecimalToBits(stValue, bType, stResult);
            return true;
        case VT_HEXSTR: {
            st_VARDATA stDecimal;
            (void)CKestroDecimal::Convert2Decimal(CBoundedText(stValue).Text(), &stDecimal);
            DecimalToBits(stDecimal, bType, stResult);
            return true;
        }
        case VT_VARCHAR:
        case VT_BLOB:
            BytesToBits(stValue, bType, stResult);
            return true;
        default:
            return false;
    }
}

} // namespace

int st_VARDATA::GetCompatableBitValue(unsigned char bType, st_VARDATA& stOut) const {
    st_VARDATA stResult;
    stResult.m_nStrLen = 0;
    stResult.m_nStringDataOffset = 0;
    const bool bInteger = IsIntegerClass(bType);
    if (m_vt == VT_INT && !bInteger) {
        stResult.SetData(static_cast<long long>(m_nValue));
    } else if (m_vt == VT_BIGINT && bInteger) {
        stResult.SetData(static_cast<int>(m_llValue));
        stResult.m_bSign = 255;
    } else if (m_vt == VT_INT || m_vt == VT_BIGINT) {
        stResult.SetData(nullptr, *this);
    } else if (!ToBits(*this, bType, stResult)) {
        return ERR_OK;
    }
    TakeResult(stOut, stResult);
    return ERR_OK;
}

int st_VARDATA::ChangeBitFieldTypeCore(unsigned char bType) {
    // An INT is widened for a BIGINT only; unlike above the low bits of a BIGINT carry no mark.
    if (m_vt == VT_INT && bType != VT_BIGINT) return ERR_OK;
    const bool bNarrowed = m_vt == VT_BIGINT && IsIntegerClass(bType);
    const int nResult = GetCompatableBitValue(bType, *this);
    if (bNarrowed) m_bSign = 0;
    return nResult;
}
