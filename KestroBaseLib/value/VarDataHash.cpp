// Hashes of values: equal numbers of different types hash alike, and so do texts that differ in the case of ASCII
// letters.

#include <algorithm>
#include <climits>
#include <cstring>

#include "IntegerCut.h"
#include "KestroDecimal.h"
#include "VarData.h"

namespace {

struct TEXTFACTORS {
    unsigned m_nDigit;
    unsigned m_nLetter;
    unsigned m_nOther;
};

constexpr TEXTFACTORS FACTORS{10, 37, 131};
constexpr TEXTFACTORS FACTORS_EX{11, 11, 83};
/** Bytes of a text or binary value that count in the short form. */
constexpr int SHORT_LEN = 16;

unsigned long long HashText(unsigned long long ullHash, const char* lpszText, int nLen, const TEXTFACTORS& stFactors) {
    for (int i = 0; i < nLen; ++i) {
        const char c = lpszText[i];
        if (c >= '0' && c <= '9')
            ullHash = ullHash * stFactors.m_nDigit + static_cast<unsigned>(c - '0');
        else if ((c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'))
            ullHash = ullHash * stFactors.m_nLetter + static_cast<unsigned>((c | 0x20) - 'a' + 10);
        else
            ullHash = ullHash * stFactors.m_nOther + static_cast<unsigned long long>(static_cast<signed char>(c));
    }
    return ullHash;
}

unsigned long long HashDecimalText(const st_VARDATA& stValue) {
    st_VARDATA stNumber;
    if (!stValue.m_lpszValue || stValue.m_nStrLen < 1) return 0;
    // The last byte is the terminator; without one the digit in its place is lost, and nothing behind it is read.
    if (CKestroDecimal::Convert2Decimal(stValue.m_lpszValue, stValue.m_nStrLen - 1, &stNumber) != 0) return 0;
    return stNumber.m_vt == VT_DECIMAL ? static_cast<unsigned long long>(CKestroDecimal::CalcHashFactor(&stNumber)) : 0;
}

/** The summand of a value without text or bytes. */
unsigned long long HashNumber(const st_VARDATA& st) {
    switch (st.m_vt) {
        case VT_INT:
        case VT_BIGINT:
        case VT_DOUBLE:
        case VT_DECIMAL:
            return static_cast<unsigned long long>(CKestroDecimal::CalcHashFactor(&st));
        case VT_DATETIME:
            return static_cast<unsigned long long>(CutToInt64(st.m_dblValue * 60 * 60 * 24 + 0.5));
        case VT_TIME:
            return static_cast<unsigned long long>(st.m_stTime.m_bSecond + st.m_stTime.m_bMintue * 60LL +
                                                   st.m_stTime.m_bHour * 3600LL + st.m_stTime.m_nDay * 86400LL);
        case VT_DATE:
            return st.m_stDate.m_bDay + st.m_stDate.m_bMonth * 31ULL + st.m_stDate.m_sYear * 373ULL;
        case VT_RAW64:
            return st.m_ullValue;
        case VT_HEXSTR:
            return HashDecimalText(st);
        default:
            return 0;
    }
}

/** Bytes that count: of a text those in front of its zero byte, and never more than `nMost`. */
int CountedLen(const st_VARDATA& st, int nMost) {
    const int nLen = st.m_lpszValue ? std::clamp(int{st.m_nStrLen}, 0, nMost) : 0;
    if (st.m_vt == VT_BLOB || nLen == 0) return nLen;
    return static_cast<int>(strnlen(st.m_lpszValue, static_cast<std::size_t>(nLen)));
}

} // namespace

void st_VARDATA::CalcHashFactor(long long& llHash) const {
    unsigned long long ullHash = static_cast<unsigned long long>(llHash);
    if (m_vt == VT_VARCHAR || m_vt == VT_JSON || m_vt == VT_JSON2 || m_vt == VT_BLOB)
        ullHash = HashText(ullHash, m_lpszValue, CountedLen(*this, INT_MAX), FACTORS);
    else
        ullHash += HashNumber(*this);
    llHash = static_cast<long long>(ullHash);
}

void st_VARDATA::CalcHashFactorEx(unsigned long long& ullHash) const {
    const bool bText = m_vt == VT_VARCHAR || m_vt == VT_JSON || m_vt == VT_JSON2;
    if (!bText && m_vt != VT_BLOB) {
        ullHash += HashNumber(*this);
        return;
    }
    const int nLen = CountedLen(*this, SHORT_LEN);
    if (bText) {
        ullHash = HashText(ullHash, m_lpszValue, nLen, FACTORS_EX);
        return;
    }
    for (int i = 0; i < nLen; ++i)
        ullHash = ullHash * 83 + m_lpValue[i];
}
