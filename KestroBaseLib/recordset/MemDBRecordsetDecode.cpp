// Decoding of the block that answers a query: head, fields with their names, rows. One pass; a row's arrays and its
// texts lie in one piece of the pool, many rows in one slice of it. The block may hold anything.

#include <algorithm>
#include <climits>
#include <cstdio>

#include "CommonDataDef.h"
#include "MemDBRecordset.h"
#include "RecordsetFieldBuffer.h"
#include "TraceHook.h"

namespace {

constexpr UINT ROW_ALIGN = 8;
/** What the pool gives for rows at a time, at most: two huge pages, less the heads of page and chunk. */
constexpr std::uint64_t SLICE_SIZE = (4 << 20) - 128;
/** Bytes of a name that are looked at: those of as many characters as a field holds, in their longest form. */
constexpr UINT NAME_BYTES_MOST = RECORDSET_NAME_SIZE * 6;

constexpr std::uint64_t RoundUp(std::uint64_t nSize) {
    return (nSize + ROW_ALIGN - 1) & ~std::uint64_t{ROW_ALIGN - 1};
}

/** A name in its own buffer, cut at a character's edge. */
void CopyName(const char* lpszText, UINT nLen, char* lpszName) {
    UINT nCopied = std::min<UINT>(nLen, RECORDSET_NAME_SIZE - 1);
    while (nCopied > 0 && nCopied < nLen && (lpszText[nCopied] & 0xC0) == 0x80)
        --nCopied;
    std::memcpy(lpszName, lpszText, nCopied);
    lpszName[nCopied] = 0;
}

void TraceRowLength(const BYTE* lpRow, const ROWCURSOR& stRow) {
    char szText[128];
    std::snprintf(szText, sizeof szText, "解析记录长度校验失败：记录长度%d,实际长度%d",
                  static_cast<int>(stRow.m_lpEnd - lpRow), static_cast<int>(stRow.m_lpNext - lpRow));
    TraceLine("CMemDBRecordset::AnalysisRow", 0, 0, szText);
}

} // namespace

/** How the values of each column are decoded; null for JSON, whose values have their type in front. */
struct COLUMNFORMS {
    COLUMNFORMS(const st_FIELD* lpField, int nFields) {
        for (int i = 0; i < nFields; ++i) {
            const BYTE bType = lpField[i].m_bFieldType;
            m_arEntry[i] = bType == VT_JSON ? nullptr : &FIELD_ENTRIES[bType];
        }
    }

    const FIELDENTRY* m_arEntry[RECORDSET_FIELD_MOST];
};

// --- memory ----------------------------------------------------------------------------------------------------------

LPBYTE CMemDBRecordset::AllocAligned(std::uint64_t nSize) {
    // The pool's pieces lie at multiples of 4.
    constexpr UINT SPARE = ROW_ALIGN - 4;
    if (nSize > UINT_MAX - SPARE) return nullptr;
    void* const lpPiece = m_stBufferPool.AllocBuffer(static_cast<UINT>(nSize) + SPARE);
    return lpPiece ? reinterpret_cast<LPBYTE>(RoundUp(reinterpret_cast<std::uintptr_t>(lpPiece))) : nullptr;
}

void CMemDBRecordset::InitRow(stu_RECORD& stRecord, LPBYTE lpSpace) {
    const auto nFields = static_cast<UINT>(m_nFieldNum);
    std::memset(lpSpace, 0, ArraysSize());
    stRecord.m_lpFieldData = reinterpret_cast<st_VARDATA*>(lpSpace);
    // Most programs ask for no wide text, so the row has no place for it yet.
    stRecord.m_pFieldStr = nullptr;
    stRecord.m_pFieldModify = reinterpret_cast<LPBYTE>(stRecord.m_lpFieldData + nFields);
    stRecord.m_nFieldNum = m_nFieldNum;
    stRecord.m_nDataID = 0;
    stRecord.m_bRecordStatus = STATUS_UNCHANGED;
    stRecord.m_lpBufferPool = &m_stBufferPool;
}

// --- block -----------------------------------------------------------------------------------------------------------

int CMemDBRecordset::AnalysisRecordset(unsigned char* pBuffer, int nSize, int bAutoRelease) {
    Free();
    m_lpBuffer = pBuffer;
    m_nBufferSize = nSize;
    m_bAutoRelease = bAutoRelease != 0;
    const int nCode = DecodeBlock();
    if (nCode != ERR_OK) Free();
    return nCode;
}

int CMemDBRecordset::DecodeBlock() {
    if (!m_lpBuffer) return ERR_NULL_POINTER;
    if (m_nBufferSize < static_cast<int>(sizeof(RECORDSETHEAD))) return ERR_INTERNAL_DATA;
    m_bRecordsetCanModify = Head().m_bModify != 0;
    if (const int nCode = DecodeFields()) return nCode;
    if (const int nCode = DecodeRows()) return nCode;
    MoveFirst();
    m_bFetchData = 0;
    return ERR_OK;
}

// --- fields ----------------------------------------------------------------------------------------------------------

int CMemDBRecordset::DecodeFields() {
    const UINT nFields = Head().m_nFieldNum;
    const UINT nRoom = (static_cast<UINT>(m_nBufferSize) - UINT{sizeof(RECORDSETHEAD)}) / UINT{sizeof(RECORDFIELD)};
    if (nFields > std::min(nRoom, RECORDSET_FIELD_MOST)) return ERR_INTERNAL_DATA;
    m_lpFieldInfo = reinterpret_cast<st_FIELD*>(AllocAligned(nFields * sizeof(st_FIELD)));
    if (!m_lpFieldInfo) return ERR_MEMORY;
    std::memset(static_cast<void*>(m_lpFieldInfo), 0, nFields * sizeof(st_FIELD));
    m_nFieldNum = static_cast<int>(nFields);
    const auto* const lpSource = reinterpret_cast<const RECORDFIELD*>(m_lpBuffer + sizeof(RECORDSETHEAD));
    for (UINT i = 0; i < nFields; ++i) {
        st_FIELD& stField = m_lpFieldInfo[i];
        std::memcpy(static_cast<void*>(&stField), lpSource + i, offsetof(st_FIELD, m_bReserved));
        if (const int nCode = DecodeName(lpSource[i].m_nObjectOffset, stField.m_lpTableName, stField.m_lpszTableName))
            return nCode;
        // The names cross: the format calls the title the result's name, and the name the title. Intended.
        if (const int nCode = DecodeName(lpSource[i].m_nRsNameOffset, stField.m_lpTitle, stField.m_lpszTitle))
            return nCode;
        if (const int nCode = DecodeName(lpSource[i].m_nTitleOffset, stField.m_lpRsName, stField.m_lpszRsName))
            return nCode;
    }
    return ERR_OK;
}

/** No offset, no name. */
int CMemDBRecordset::DecodeName(UINT nOffset, char* lpszName, wchar_t* lpszWide) const {
    if (nOffset == 0) return ERR_OK;
    const auto nSize = static_cast<UINT>(m_nBufferSize);
    if (nOffset >= nSize) return ERR_INTERNAL_DATA;
    const char* const lpszText = reinterpret_cast<const char*>(m_lpBuffer) + nOffset;
    const auto nLen = static_cast<UINT>(strnlen(lpszText, std::min(nSize - nOffset, NAME_BYTES_MOST)));
    if (KestroUTF82Unicode(lpszText, static_cast<int>(nLen), lpszWide, RECORDSET_NAME_SIZE) < 0) return ERR_FAILED;
    CopyName(lpszText, nLen, lpszName);
    return ERR_OK;
}

int CMemDBRecordset::EnterNames() {
    // The number of rows, not of fields, is the size of the tables: it decides which names in other case are found.
    // Intended.
    if (const int nCode = m_mapName2Index.Initialize(m_nQueryRowNum, &m_stBufferPool)) return nCode;
    if (const int nCode = m_mapNameW2Index.Initialize(m_nQueryRowNum, &m_stBufferPool)) return nCode;
    for (int i = 0; i < m_nFieldNum; ++i) {
        const st_FIELD& stField = m_lpFieldInfo[i];
        // Of two fields with one name the last is found by it, and a title never hides a name.
        if (const int nCode = m_mapName2Index.Set(stField.m_lpRsName, i, 1)) return nCode;
        if (const int nCode = m_mapNameW2Index.Set(stField.m_lpszRsName, i, 1)) return nCode;
        if (const int nCode = m_mapName2Index.Set(stField.m_lpTitle, i, 0)) return nCode;
        if (const int nCode = m_mapNameW2Index.Set(stField.m_lpszTitle, i, 0)) return nCode;
    }
    return ERR_OK;
}

// --- rows ------------------------------------------------------------------------------------------------------------

int CMemDBRecordset::DecodeRows() {
    const auto nSize = static_cast<UINT>(m_nBufferSize);
    const UINT nRows = Head().m_nRowNum;
    UINT nPos = nRows == 0 ? nSize : Head().m_nRecordBufferOffset;
    if (nPos > nSize || nRows > (nSize - nPos) / sizeof(RECORDSETROW)) return ERR_INTERNAL_DATA;
    m_nQueryRowNum = static_cast<int>(nRows);
    if (const int nCode = EnterNames()) return nCode;
    m_lpRecordset = reinterpret_cast<stu_RECORD*>(AllocAligned(std::uint64_t{nRows} * sizeof(stu_RECORD)));
    if (!m_lpRecordset || !m_vecOriginalRecord.Reserve(m_nQueryRowNum)) return ERR_MEMORY;

    const COLUMNFORMS stForms(m_lpFieldInfo, m_nFieldNum);
    LPBYTE lpSlice = nullptr;
    std::uint64_t nSlice = 0;
    for (UINT i = 0; i < nRows; ++i) {
        if (nSize - nPos < sizeof(RECORDSETROW)) return ERR_INTERNAL_DATA;
        const UINT nRowLen = LoadLE<UINT>(m_lpBuffer + nPos);
        if (nRowLen < sizeof(RECORDSETROW) || nRowLen > nSize - nPos) return ERR_INTERNAL_DATA;
        const std::uint64_t nSpace = RowSpace(nRowLen);
        if (nSpace > nSlice) {
            // Room for the rows to come, so that a small set gets just what it needs.
            const std::uint64_t nRest = (nRows - i) * RowSpace(0) + (nSize - nPos);
            nSlice = std::max(nSpace, std::min(nRest, SLICE_SIZE));
            lpSlice = AllocAligned(nSlice);
            if (!lpSlice) return ERR_MEMORY;
        }
        LPBYTE lpEnd = lpSlice;
        const LPBYTE lpRow = m_lpBuffer + nPos;
        if (const int nCode = DecodeRow(stForms, lpRow, nRowLen, m_lpBuffer + nSize, m_lpRecordset[i], lpEnd))
            return nCode;
        const std::uint64_t nUsed = RoundUp(static_cast<std::uint64_t>(lpEnd - lpSlice));
        lpSlice += nUsed;
        nSlice -= nUsed;
        nPos += nRowLen;
    }
    m_vecOriginalRecord.Fill(m_lpRecordset, m_nQueryRowNum);
    return ERR_OK;
}

/** What a row's arrays and texts take at most: a text has a terminator for its count. */
std::uint64_t CMemDBRecordset::RowSpace(UINT nRowLen) const {
    return RoundUp(std::uint64_t{ArraysSize()} + nRowLen + COPY_STEP);
}

int CMemDBRecordset::AnalysisRow(unsigned char* pRow, int nRowLen, stu_RECORD& stRecord) {
    if (!pRow) return ERR_NULL_POINTER;
    if (nRowLen < static_cast<int>(sizeof(RECORDSETROW))) return ERR_INTERNAL_DATA;
    LPBYTE lpSpace = AllocAligned(RowSpace(static_cast<UINT>(nRowLen)));
    if (!lpSpace) return ERR_MEMORY;
    const COLUMNFORMS stForms(m_lpFieldInfo, m_nFieldNum);
    return DecodeRow(stForms, pRow, static_cast<UINT>(nRowLen), pRow + nRowLen, stRecord, lpSpace);
}

/** Bytes in front of `lpReadable` may be read. The space has `RowSpace` bytes, and becomes its end. */
int CMemDBRecordset::DecodeRow(const COLUMNFORMS& stForms, const BYTE* lpRow, UINT nRowLen, const BYTE* lpReadable,
                               stu_RECORD& stRecord, LPBYTE& lpSpace) {
    InitRow(stRecord, lpSpace);
    stRecord.m_nDataID = reinterpret_cast<const RECORDSETROW*>(lpRow)->m_nDataID;
    ROWCURSOR stRow{lpRow + sizeof(RECORDSETROW), lpRow + nRowLen, lpReadable};
    LPBYTE lpCopy = lpSpace + ArraysSize();
    st_VARDATA* lpValue = stRecord.m_lpFieldData;
    for (int i = 0, nFields = m_nFieldNum; i < nFields && stRow.Left() >= 2; ++i, ++lpValue) {
        if (*stRow.m_lpNext != i) continue;
        ++stRow.m_lpNext;
        const FIELDENTRY* lpEntry = stForms.m_arEntry[i];
        if (!lpEntry) lpEntry = &FIELD_ENTRIES[*stRow.m_lpNext++];
        if (!GetValueFromFieldBuffer(*lpEntry, stRow, *lpValue, lpCopy)) return ERR_INTERNAL_DATA;
    }
    if (stRow.Left() != 0) TraceRowLength(lpRow, stRow);
    lpSpace = lpCopy;
    return ERR_OK;
}
