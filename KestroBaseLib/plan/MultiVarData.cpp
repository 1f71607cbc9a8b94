// The operation of `st_MULTIVARDATA` that needs a plan buffer. The others stand with the values.

#include "BaseBson.h"

void st_MULTIVARDATA::GetMultiStringData(CBaseBson* lpBson) {
    st_VARDATA* lpValue = m_arrVarData;
    for (const st_VARDATA* const lpEnd = lpValue + m_bNum; lpValue != lpEnd; ++lpValue) {
        const bool bText = lpValue->m_vt == VT_VARCHAR || lpValue->m_vt == VT_BLOB;
        if (bText && lpValue->m_nStringDataOffset != 0)
            lpValue->m_lpszValue = reinterpret_cast<char*>(lpBson->ConvertOffset2Addr(lpValue->m_nStringDataOffset));
    }
}
