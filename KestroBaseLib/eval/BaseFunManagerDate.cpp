// What the clock and the zone give.

#include <cstdio>

#include "BaseFunManager.h"
#include "KestroDate.h"
#include "VarDataText.h"

int CBaseFunManager::SysDate(CKestroBufferPool*, st_VARDATA& stResult) {
    stResult.SetData(CKestroDate::GetCurrentDateTime(), VT_DATETIME);
    return ERR_OK;
}

int CBaseFunManager::DbTimeZone(CKestroBufferPool* lpPool, st_VARDATA& stResult) {
    char szZone[16];
    const int nLen = std::snprintf(szZone, sizeof szZone, "%+03d:00", DbTimeZoneValue());
    const char* const lpszZone = CopyToPool(lpPool, szZone, nLen);
    if (!lpszZone) return ERR_MEMORY;
    stResult.SetData(lpszZone, nLen + 1, 0);
    return ERR_OK;
}
