// The binary image of decimals: a header (sign, scale byte present, plain integer, payload length), the scale and the
// payload, which is the low bytes of the groups or a plain integer. An image that is read is checked before it is
// believed.

#include <algorithm>

#include "KestroDecimalMagnitude.h"

namespace {

constexpr BYTE BIN_NEGATIVE = 0x80;
constexpr BYTE BIN_SCALE = 0x40;
constexpr BYTE BIN_INTEGER = 0x20;
constexpr BYTE BIN_LENGTH = 0x1F;
constexpr int BIN_HEAD = 2;
constexpr int BIN_MAX_PAYLOAD = 16;

/** Columns by precision, up to 9 digits: payload, the greatest magnitude it takes, and the greatest group in it. */
struct SMALLCOLUMN {
    int m_nMaxPrecision;
    int m_nPayload;
    std::uint32_t m_uMax;
};

constexpr SMALLCOLUMN SMALL_COLUMNS[] = {
    {2, 1, 0xFF},
    {4, 2, 0xFFFF},
    {7, 3, 0xFFFFFF},
    {9, 4, 0xFFFFFFFF},
};

/** The form of a column: payload and the first magnitude that doesn't fit. */
struct BINCOLUMN {
    int m_nPayload;
    UINT128 m_nLimit;
};

BINCOLUMN ColumnForm(int nPrecision) {
    for (const SMALLCOLUMN& stColumn : SMALL_COLUMNS)
        if (nPrecision <= stColumn.m_nMaxPrecision) return {stColumn.m_nPayload, UINT128{stColumn.m_uMax} + 1};
    if (nPrecision <= 18) return {8, UINT128{1} << 64};
    if (nPrecision > DECIMAL_MAX_DIGITS) return {BIN_MAX_PAYLOAD, DECIMAL_LIMIT};
    return {(nPrecision - 1) / 9 * 4 + 4, DECIMAL_POWERS[nPrecision]};
}

/** Payload of the shortest image. */
int ShortestPayload(UINT128 nMagnitude) {
    if (nMagnitude == 0) return 0;
    for (const SMALLCOLUMN& stColumn : SMALL_COLUMNS)
        if (nMagnitude <= stColumn.m_uMax && nMagnitude < DECIMAL_GROUP) return stColumn.m_nPayload;
    return CountGroups(SplitMagnitude(nMagnitude)) * 4;
}

/** Writes an image; where the groups don't fit the payload, the number goes there as a plain integer. */
int WriteImage(const st_VARDATA* lpValue, UINT128 nMagnitude, int nPayload, unsigned char* lpImage) {
    const bool bInteger =
        (nPayload == 4 && nMagnitude >= DECIMAL_GROUP) || (nPayload == 8 && nMagnitude >= DECIMAL_HALF);
    lpImage[0] =
        static_cast<BYTE>(BIN_SCALE | nPayload | (bInteger ? BIN_INTEGER : 0) | (lpValue->m_bSign ? BIN_NEGATIVE : 0));
    lpImage[1] = static_cast<BYTE>(lpValue->m_bScale);
    if (bInteger) {
        std::memcpy(lpImage + BIN_HEAD, &nMagnitude, static_cast<std::size_t>(nPayload));
    } else {
        const PACKEDGROUPS stGroups = SplitMagnitude(nMagnitude);
        std::memcpy(lpImage + BIN_HEAD, &stGroups, static_cast<std::size_t>(nPayload));
    }
    return BIN_HEAD + nPayload;
}

/** Rescales in place to a scale that may be out of range. */
int ZoomTo(st_VARDATA* lpValue, int nScale) {
    if (nScale < -128 || nScale > 127) {
        StoreNull(lpValue);
        return ERR_DECIMAL_PRECISION;
    }
    return CKestroDecimal::Zoom(lpValue, lpValue, static_cast<char>(nScale), 1);
}

/** Declared precision of a payload that was loaded. */
BYTE LoadedPrecision(int nPayload) {
    constexpr BYTE arPrecisions[] = {2, 2, 4, 7};
    return nPayload < 4 ? arPrecisions[nPayload] : static_cast<BYTE>(nPayload / 4 * DECIMAL_GROUP_DIGITS);
}

/** Reads the payload; false if a group is out of range. */
bool LoadPayload(const unsigned char* lpPayload, int nPayload, bool bInteger, UINT128& nMagnitude) {
    if (nPayload < 4 || (bInteger && (nPayload == 4 || nPayload == 8))) {
        std::memcpy(&nMagnitude, lpPayload, static_cast<std::size_t>(nPayload));
        return true;
    }
    for (int nGroup = nPayload / 4; nGroup-- > 0;) {
        std::uint32_t uGroup;
        std::memcpy(&uGroup, lpPayload + nGroup * 4, 4);
        if (uGroup >= DECIMAL_GROUP) return false;
        nMagnitude = nMagnitude * DECIMAL_GROUP + uGroup;
    }
    return true;
}

int FailLoad(st_VARDATA* lpValue) {
    StoreNull(lpValue);
    return ERR_DECIMAL_LOAD;
}

} // namespace

int CKestroDecimal::CalcBinLen(int nPrecision) {
    return BIN_HEAD + ColumnForm(nPrecision).m_nPayload;
}

int CKestroDecimal::CalcBinLen(const st_VARDATA* lpValue) {
    if (lpValue->m_bPrecison != 0) return CalcBinLen(lpValue->m_bPrecison);
    return BIN_HEAD + ShortestPayload(LoadMagnitude(lpValue));
}

int CKestroDecimal::FormatBin(const st_VARDATA* lpValue, unsigned char* lpImage, int& nLen) {
    if (lpValue->m_bPrecison != 0) return FormatBin(lpValue, lpValue->m_bPrecison, DECIMAL_SCALE_KEEP, lpImage, nLen);
    const UINT128 nMagnitude = LoadMagnitude(lpValue);
    nLen = WriteImage(lpValue, nMagnitude, ShortestPayload(nMagnitude), lpImage);
    return 0;
}

int CKestroDecimal::FormatBin(const st_VARDATA* lpValue, int nPrecision, int nScale, unsigned char* lpImage,
                              int& nLen) {
    nLen = 0;
    const BINCOLUMN stColumn = ColumnForm(nPrecision);
    st_VARDATA stValue;
    CopyDecimal(&stValue, lpValue);
    // A whole number with zeros for free stays as it is in a column without places, if it fits.
    const bool bFits = LoadMagnitude(&stValue) < stColumn.m_nLimit;
    const bool bKeep = nScale == DECIMAL_SCALE_KEEP || (nScale == 0 && stValue.m_bScale < 0 && bFits);
    if (!bKeep && stValue.m_bScale != nScale)
        if (const int nCode = ZoomTo(&stValue, nScale); nCode != 0) return nCode;
    for (;;) {
        const UINT128 nMagnitude = LoadMagnitude(&stValue);
        if (nMagnitude < stColumn.m_nLimit) {
            nLen = WriteImage(&stValue, nMagnitude, stColumn.m_nPayload, lpImage);
            return 0;
        }
        // Digits beyond the precision go, once more if rounding carried to another one.
        const int nTarget = std::max(nPrecision, 0) + stValue.m_bScale - CountDigits(nMagnitude);
        if (const int nCode = ZoomTo(&stValue, nTarget); nCode != 0) return nCode;
    }
}

int CKestroDecimal::LoadBin(const unsigned char* lpImage, st_VARDATA* lpValue) {
    return LoadBin(lpImage, DECIMAL_BIN_SIZE, lpValue);
}

int CKestroDecimal::LoadBin(const unsigned char* lpImage, int nAvailable, st_VARDATA* lpValue) {
    if (nAvailable < 1) return FailLoad(lpValue);
    const BYTE bHeader = lpImage[0];
    const int nPayload = bHeader & BIN_LENGTH;
    const int nHead = bHeader & BIN_SCALE ? BIN_HEAD : 1;
    if (nPayload > BIN_MAX_PAYLOAD || nHead + nPayload > nAvailable) return FailLoad(lpValue);
    const int nScale = nHead == BIN_HEAD ? static_cast<signed char>(lpImage[1]) : 0;
    UINT128 nMagnitude = 0;
    if (!LoadPayload(lpImage + nHead, nPayload, (bHeader & BIN_INTEGER) != 0, nMagnitude)) return FailLoad(lpValue);
    StoreDecimal(lpValue, (bHeader & BIN_NEGATIVE) != 0, nScale, nMagnitude, LoadedPrecision(nPayload));
    return 0;
}

int CKestroDecimal::GetMax(int nPrecision, unsigned char* lpImage) {
    const int nPayload = ColumnForm(nPrecision).m_nPayload;
    lpImage[0] = static_cast<BYTE>(BIN_SCALE | nPayload);
    lpImage[1] = 128;
    std::memset(lpImage + BIN_HEAD, 0xFF, static_cast<std::size_t>(nPayload));
    if (nPayload < 4) return BIN_HEAD + nPayload;
    for (int i = 0; i < nPayload; i += 4) {
        constexpr std::uint32_t uGroup = DECIMAL_GROUP - 1;
        std::memcpy(lpImage + BIN_HEAD + i, &uGroup, 4);
    }
    return BIN_HEAD + nPayload;
}

int CKestroDecimal::VerificationData(st_VARDATA* lpValue, unsigned char bPrecision, char cScale) {
    const int nScale = static_cast<signed char>(cScale);
    const UINT128 nLimit = ColumnForm(bPrecision).m_nLimit;
    if (nScale != DECIMAL_SCALE_KEEP && lpValue->m_bScale != nScale)
        if (const int nCode = ZoomTo(lpValue, nScale); nCode != 0) return nCode;
    UINT128 nMagnitude;
    while ((nMagnitude = LoadMagnitude(lpValue)) >= nLimit) {
        if (nScale != 0 && nScale != DECIMAL_SCALE_KEEP) {
            StoreNull(lpValue);
            return ERR_DECIMAL_PRECISION;
        }
        // Without declared places the digits beyond the precision go, once more if rounding carried to another one.
        const int nTarget = bPrecision + lpValue->m_bScale - CountDigits(nMagnitude);
        if (const int nCode = ZoomTo(lpValue, nTarget); nCode != 0) return nCode;
    }
    return 0;
}
