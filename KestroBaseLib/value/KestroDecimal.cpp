// Exact decimals: change of scale.

#include "KestroDecimalMagnitude.h"

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
    const UINT128 nMagnitude = LoadMagnitude(lpSource);
    const bool bNegative = lpSource->m_bSign != 0;
    if (nChange < 0) {
        StoreDecimal(lpTarget, bNegative, nScale, DropDigits(nMagnitude, -nChange, bRound != 0));
        return 0;
    }
    if (nMagnitude != 0 && nChange + CountDigits(nMagnitude) > DECIMAL_MAX_DIGITS) {
        StoreNull(lpTarget);
        return ERR_DECIMAL_PRECISION;
    }
    StoreDecimal(lpTarget, bNegative, nScale, nMagnitude == 0 ? 0 : nMagnitude * DECIMAL_POWERS[nChange]);
    return 0;
}
