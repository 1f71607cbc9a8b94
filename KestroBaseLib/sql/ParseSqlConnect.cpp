// START WITH: where a walk along a hierarchy begins, and how a row leads to the next ones.
//
//     START WITH condition [LEVELS = n] CONNECT BY PRIOR a = b [AND condition]        or a = PRIOR b

#include <climits>
#include <cstring>

#include "CommonDataDef.h"
#include "ParseDepth.h"
#include "ParseSqlQuery.h"

/** A side of the step: a field, and the object that qualifies it, 0 without one. */
struct CParseSql::CONNECTSIDE {
    bool m_bPrior = false;
    BYTE m_bObjectNo = 0;
    char m_szField[sizeof RECURSION::m_pIndexFieldName] = {};
};

int CParseSql::ParseConnect(QUERYBLOCK& stBlock) {
    const CSqlWordReader stReader(*this, *stBlock.m_lpWords);
    const CLAUSERANGE& stClause = stBlock.Clause(CLAUSE_START);
    const int nWith = stClause.m_nBegin, nEnd = stClause.m_nEnd;
    if (nWith >= nEnd || stReader.Keyword(nWith) != KW_WITH) return Fail(ERR_SELECT_CONNECT, nWith);
    const int nConnect = stReader.Find(KW_CONNECT, nWith + 1, nEnd);
    const int nLevels = stReader.Find(KW_LEVELS, nWith + 1, nConnect);
    RECURSION* lpRecursion = nullptr;
    UINT nOffset = 0, nCondition = 0;
    if (const int nCode = m_stBson.AllocFromBsonBuffer(lpRecursion, nOffset)) return nCode;
    stBlock.m_lpCondition->m_nConnOffset = nOffset;
    int nVarNum = 0;
    if (const int nCode =
            ParseConditionRange(stBlock.m_lpWords, stBlock.m_stParam, nWith + 1, nLevels, nCondition, nVarNum))
        return nCode;
    lpRecursion->m_nStartCondOffset = nCondition;
    lpRecursion->m_bLevel = UCHAR_MAX;
    if (nLevels < nConnect) {
        int nLevel = -1;
        if (nConnect != nLevels + 3 || stReader.Keyword(nLevels + 1) != WORD_EQUAL ||
            !stReader.ReadInteger(nLevels + 2, nLevel) || nLevel < 0 || nLevel > UCHAR_MAX)
            return Fail(ERR_SELECT_CONNECT, nLevels);
        lpRecursion->m_bLevel = static_cast<BYTE>(nLevel);
    }
    if (nConnect + 1 >= nEnd || stReader.Keyword(nConnect + 1) != KW_BY)
        return Fail(ERR_SELECT_CONNECT, nConnect < nEnd ? nConnect + 1 : nEnd);
    return ParseConnectStep(stBlock, nConnect + 2, *lpRecursion);
}

/** The step, and the condition behind AND. */
int CParseSql::ParseConnectStep(QUERYBLOCK& stBlock, int nPos, RECURSION& stRecursion) {
    const CSqlWordReader stReader(*this, *stBlock.m_lpWords);
    const int nEnd = stBlock.Clause(CLAUSE_START).m_nEnd;
    const int nStep = nPos;
    CONNECTSIDE stLeft, stRight;
    if (const int nCode = ParseConnectSide(stReader, nPos, nEnd, stLeft)) return nCode;
    if (nPos >= nEnd || stReader.Keyword(nPos) != WORD_EQUAL) return Fail(ERR_SELECT_CONNECT, nPos);
    if (const int nCode = ParseConnectSide(stReader, ++nPos, nEnd, stRight)) return nCode;
    // A row that leads to itself would be no step.
    if (stLeft.m_bPrior == stRight.m_bPrior ||
        (stLeft.m_bObjectNo == stRight.m_bObjectNo && CompareNoCase(stLeft.m_szField, stRight.m_szField) == 0))
        return Fail(ERR_SELECT_CONNECT, nStep);
    const CONNECTSIDE& stDriver = stLeft.m_bPrior ? stLeft : stRight;
    const CONNECTSIDE& stIndex = stLeft.m_bPrior ? stRight : stLeft;
    stRecursion.m_bDrection = stLeft.m_bPrior ? 1 : 2;
    stRecursion.m_bDriveObjectNo = stDriver.m_bObjectNo;
    stRecursion.m_bIndexObjectNo = stIndex.m_bObjectNo;
    std::memcpy(stRecursion.m_pDriverFieldName, stDriver.m_szField, sizeof stDriver.m_szField);
    std::memcpy(stRecursion.m_pIndexFieldName, stIndex.m_szField, sizeof stIndex.m_szField);
    if (nPos == nEnd) return ERR_OK;

    if (stReader.Keyword(nPos) != KW_AND) return Fail(ERR_SELECT_CONNECT, nPos);
    UINT nCondition = 0;
    int nVarNum = 0, bFound = 0;
    if (const int nCode =
            ParseConditionRange(stBlock.m_lpWords, stBlock.m_stParam, nPos + 1, nEnd, nCondition, nVarNum))
        return nCode;
    stRecursion.m_nConnectCondOffset = nCondition;
    auto* const lpCondition = reinterpret_cast<BASECONDITIONBSON*>(m_stBson.ConvertOffset2Addr(nCondition));
    return CheckConnectCondition(lpCondition, bFound) ? ERR_OK : Fail(ERR_SELECT_CONNECT, nPos);
}

/** [PRIOR] [[database.]object.]field; `nPos` moves behind it. */
int CParseSql::ParseConnectSide(const CSqlWordReader& stReader, int& nPos, int nEnd, CONNECTSIDE& stSide) {
    constexpr int NAME_NUM = 3;
    stSide.m_bPrior = nPos < nEnd && stReader.Keyword(nPos) == KW_PRIOR;
    if (stSide.m_bPrior) ++nPos;
    int arName[NAME_NUM];
    int nNum = 0;
    for (;;) {
        if (nNum == NAME_NUM || nPos >= nEnd || !stReader.MayBeName(nPos)) return Fail(ERR_SELECT_CONNECT, nPos);
        arName[nNum++] = nPos++;
        if (nPos >= nEnd || stReader.Keyword(nPos) != WORD_POINT) break;
        ++nPos;
    }
    char szDatabase[KESTRO_NAME_SIZE] = "", szName[KESTRO_NAME_SIZE] = "";
    const auto Text = [&](int nWord) { return stReader.Text(nWord); };
    if (nNum == NAME_NUM && CopyDatabaseNameFromSql(Text(arName[0]), stReader.Len(arName[0]), szDatabase) == NAME_BAD)
        return Fail(ERR_SELECT_CONNECT, arName[0]);
    if (nNum > 1) {
        const int nObject = arName[nNum - 2];
        if (CopyNameFromSql(Text(nObject), stReader.Len(nObject), szName) == NAME_BAD)
            return Fail(ERR_SELECT_CONNECT, nObject);
        stSide.m_bObjectNo = FindObject(szDatabase, szName, OBJECT_UNKNOWN);
        if (stSide.m_bObjectNo == 0) return Fail(ERR_SELECT_CONNECT, nObject);
    }
    const int nField = arName[nNum - 1];
    // A name that its place in the record would cut is refused.
    if (CopyNameFromSql(Text(nField), stReader.Len(nField), szName) == NAME_BAD ||
        std::strlen(szName) >= sizeof stSide.m_szField)
        return Fail(ERR_SELECT_CONNECT, nField);
    std::memcpy(stSide.m_szField, szName, std::strlen(szName));
    return ERR_OK;
}

BOOL CParseSql::CheckConnectCondition(BASECONDITIONBSON* lpNode, int& bFound) {
    const CParseDepth stDepth;
    if (stDepth.IsTooDeep()) return 0;
    // A long chain leans to the left, so only right sides are nested calls.
    while (lpNode) {
        const BYTE arType[] = {lpNode->m_bConditionType1, lpNode->m_bConditionType2};
        const UINT arOffset[] = {lpNode->m_nConditionOffset1, lpNode->m_nConditionOffset2};
        for (int i = 0; i < 2; ++i) {
            if (arType[i] != CONDITION_COMPARE) continue;
            const auto* const lpCompare = reinterpret_cast<COMPAREEXPBSON*>(m_stBson.ConvertOffset2Addr(arOffset[i]));
            if (!lpCompare || lpCompare->m_bOperator != COMPARE_PRIOR_EQUAL) continue;
            bFound = 1;
            if (lpNode->m_bLogicOperator == LOGIC_OR) return 0;
        }
        const auto Node = [&](int i) {
            return arType[i] == CONDITION_NODE
                       ? reinterpret_cast<BASECONDITIONBSON*>(m_stBson.ConvertOffset2Addr(arOffset[i]))
                       : nullptr;
        };
        if (BASECONDITIONBSON* const lpRight = Node(1))
            if (!CheckConnectCondition(lpRight, bFound)) return 0;
        lpNode = Node(0);
    }
    return 1;
}
