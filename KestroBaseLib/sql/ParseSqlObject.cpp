// The objects that a statement has named, and the nesting of its queries: what a qualifier means is looked up here,
// from the innermost query outward. Whether such an object exists, the server knows.

#include <algorithm>
#include <climits>
#include <cstring>
#include <span>

#include "ChunkCache.h"
#include "CommonDataDefChar.h"
#include "ParseSql.h"

namespace {

const char* OrEmpty(const char* lpszText) {
    return lpszText ? lpszText : "";
}

/** Byte by byte: names are short, and most differ in their first one. */
bool Same(const char* lpszFirst, const char* lpszSecond) {
    for (; FoldToUpper(*lpszFirst) == FoldToUpper(*lpszSecond); ++lpszFirst, ++lpszSecond)
        if (*lpszFirst == 0) return true;
    return false;
}

template <std::size_t N>
void CopyField(char (&szField)[N], const char* lpszText) {
    std::memcpy(szField, lpszText, strnlen(lpszText, N - 1));
}

/** The name by which a statement may refer to an object: an alias hides the name. */
const char* VisibleName(const OBJECTNAME& stObject) {
    return *stObject.m_pObjectTitle ? stObject.m_pObjectTitle : stObject.m_pObjectName;
}

} // namespace

BOOL CParseSql::FindDataBaseName(const char* lpszDatabase) const {
    const std::span arObject(m_arrObjectName, static_cast<std::size_t>(m_nObjectNum));
    return *OrEmpty(lpszDatabase) && std::any_of(arObject.begin(), arObject.end(), [&](const OBJECTNAME& stObject) {
        return Same(stObject.m_pDataBaseName, lpszDatabase);
    });
}

BOOL CParseSql::FindObjectName(const char* lpszName) const {
    const std::span arObject(m_arrObjectName, static_cast<std::size_t>(m_nObjectNum));
    return *OrEmpty(lpszName) && std::any_of(arObject.begin(), arObject.end(), [&](const OBJECTNAME& stObject) {
        return Same(stObject.m_pObjectName, lpszName) || Same(stObject.m_pObjectTitle, lpszName);
    });
}

BYTE CParseSql::FindObject(const char* lpszDatabase, const char* lpszName, BYTE bType) const {
    if (!*OrEmpty(lpszName)) return 0;
    for (int nLevel = m_bQueryLevel; nLevel > 0; --nLevel)
        for (int i = 0; i < m_nObjectNum; ++i) {
            const OBJECTNAME& stObject = m_arrObjectName[i];
            if (stObject.m_bQueryLevel != nLevel || stObject.m_bSupperID != m_bSupperID[nLevel]) continue;
            if (*OrEmpty(lpszDatabase) && !Same(stObject.m_pDataBaseName, lpszDatabase)) continue;
            if (bType != 0 && stObject.m_bObjectType != bType) continue;
            if (Same(VisibleName(stObject), lpszName)) return static_cast<BYTE>(i + 1);
        }
    return 0;
}

int CParseSql::SetObjectName(const char* lpszDatabase, const char* lpszName, BYTE bType, BYTE& bNo) {
    lpszDatabase = OrEmpty(lpszDatabase);
    lpszName = OrEmpty(lpszName);
    for (int i = 0; i < m_nObjectNum; ++i) {
        const OBJECTNAME& stObject = m_arrObjectName[i];
        if (!IsInQuery(stObject) || stObject.m_bObjectType != bType || !Same(stObject.m_pObjectName, lpszName) ||
            !Same(stObject.m_pDataBaseName, lpszDatabase))
            continue;
        bNo = static_cast<BYTE>(i + 1);
        return ERR_OK;
    }
    return AddObject(lpszDatabase, lpszName, bType, "", bNo);
}

int CParseSql::SetObjectTitle(const char* lpszDatabase, const char* lpszName, BYTE bType, const char* lpszTitle,
                              BYTE& bNo) {
    lpszDatabase = OrEmpty(lpszDatabase);
    lpszName = OrEmpty(lpszName);
    lpszTitle = OrEmpty(lpszTitle);
    // An alias belongs to an object of the same kind: a node and a table of one name are two.
    OBJECTNAME* lpUntitled = nullptr;
    for (int i = 0; i < m_nObjectNum; ++i) {
        OBJECTNAME& stObject = m_arrObjectName[i];
        if (!IsInQuery(stObject)) continue;
        if (*stObject.m_pObjectTitle) {
            if (Same(stObject.m_pObjectTitle, lpszTitle)) return ERR_DUPLICATE_ALIAS;
            continue;
        }
        if (!lpUntitled && stObject.m_bObjectType == bType && Same(stObject.m_pObjectName, lpszName) &&
            Same(stObject.m_pDataBaseName, lpszDatabase))
            lpUntitled = &stObject;
    }
    // Once more the same object under another alias, as when a table is joined to itself, is an object of its own.
    if (!lpUntitled) return AddObject(lpszDatabase, lpszName, bType, lpszTitle, bNo);
    CopyField(lpUntitled->m_pObjectTitle, lpszTitle);
    bNo = static_cast<BYTE>(lpUntitled - m_arrObjectName + 1);
    return ERR_OK;
}

int CParseSql::AddFromObject(const char* lpszDatabase, const char* lpszName, BYTE bType, const char* lpszTitle,
                             BYTE& bNo) {
    for (int i = 0; i < m_nObjectNum; ++i) {
        const OBJECTNAME& stObject = m_arrObjectName[i];
        if (!IsInQuery(stObject)) continue;
        if (*lpszTitle && Same(stObject.m_pObjectTitle, lpszTitle)) return ERR_DUPLICATE_ALIAS;
        if (!*lpszTitle && !*stObject.m_pObjectTitle && stObject.m_bObjectType == bType &&
            Same(stObject.m_pObjectName, lpszName) && Same(stObject.m_pDataBaseName, lpszDatabase))
            return ERR_SYNTAX_SELECT;
    }
    return AddObject(lpszDatabase, lpszName, bType, lpszTitle, bNo);
}

int CParseSql::AddObject(const char* lpszDatabase, const char* lpszName, BYTE bType, const char* lpszTitle, BYTE& bNo) {
    // Records refer to an object by a byte: one more would be taken for another.
    if (m_nObjectNum == UCHAR_MAX) return ERR_OBJECT_NUMBER;
    if (!m_arrObjectName || m_nObjectNum == m_nMaxObjectNum) {
        const int nMax = m_arrObjectName ? 2 * m_nMaxObjectNum : m_nMaxObjectNum;
        auto* const arNew =
            static_cast<OBJECTNAME*>(KestroChunkAlloc(static_cast<std::size_t>(nMax) * sizeof(OBJECTNAME)));
        if (!arNew) return ERR_MEMORY;
        std::copy_n(m_arrObjectName, m_nObjectNum, arNew);
        KestroChunkFree(m_arrObjectName);
        m_arrObjectName = arNew;
        m_nMaxObjectNum = nMax;
    }
    OBJECTNAME& stObject = m_arrObjectName[m_nObjectNum++] = OBJECTNAME();
    CopyField(stObject.m_pDataBaseName, lpszDatabase);
    CopyField(stObject.m_pObjectName, lpszName);
    CopyField(stObject.m_pObjectTitle, lpszTitle);
    stObject.m_bObjectType = bType;
    stObject.m_bQueryLevel = m_bQueryLevel;
    stObject.m_bSupperID = GetQueryID();
    bNo = static_cast<BYTE>(m_nObjectNum);
    return ERR_OK;
}

int CParseSql::EnterQuery() {
    // A query's number is a byte too; after 255 it would come again as 0.
    if (m_bQueryLevel + 1 == QUERY_LEVEL_NUM || m_bID == 0) return ERR_NESTED_QUERY;
    m_bSupperID[++m_bQueryLevel] = m_bID++;
    return ERR_OK;
}
