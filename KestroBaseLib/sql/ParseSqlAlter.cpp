// ALTER, by the word behind it, and ALTER SESSION SET name = value. What changes tables, objects, indexes and users has
// its own files, and so has ALTER SYSTEM.

#include <cstddef>
#include <cstring>

#include "CommonDataDef.h"
#include "SqlWordReader.h"

namespace {

/** The plan buffer of a statement that comes without one. */
constexpr UINT BUFFER_SIZE = 65536;

} // namespace

/** What is altered. */
struct CParseSql::ALTERVERB {
    int m_nKeyword;
    BYTE m_bObjectType;
    BYTE m_bAction; // 0: the parser's
    int (CParseSql::*m_pParse)(stu_KestroWordArray* lpWords, ALTEREXECUTEPLANBSON* lpAlter);
};

int CParseSql::ParseAlter(const char* lpszSql, int nPos, EXECUTEPLANBSON* lpPlan) {
    static constexpr ALTERVERB VERBS[] = {
        {KW_GRAPHOBJECT, ALTER_OBJECT, 0, &CParseSql::ParseAlterObject},
        {KW_OBJECT, ALTER_OBJECT, 0, &CParseSql::ParseAlterObject},
        {KW_INDEX, ALTER_OBJECT, 0, &CParseSql::ParseAlterIndex},
        {KW_GRAPHTABLE, ALTER_OBJECT, 0, &CParseSql::ParseAlterTable},
        {KW_TABLE, ALTER_OBJECT, 0, &CParseSql::ParseAlterTable},
        {KW_SYSTEM, ALTER_SYSTEM, ALTER_SYSTEM_WORD, &CParseSql::ParseAlterSystem},
        {KW_SESSION, ALTER_SYSTEM, ALTER_SESSION_SET, &CParseSql::ParseAlterSession},
        {KW_USER, ALTER_USER, ALTER_USER_CHANGE, &CParseSql::ParseAlterUser},
    };
    stu_KestroWordArray stWords;
    if (const int nCode = Parse(lpszSql, nPos, &stWords)) return nCode;
    if (!m_stBson.GetBuffer())
        if (const int nCode = m_stBson.AllocBsonBuffer(nullptr, BUFFER_SIZE)) return nCode;
    ALTEREXECUTEPLANBSON* lpAlter = nullptr;
    UINT nOffset = 0;
    if (const int nCode = m_stBson.AllocFromBsonBuffer(lpAlter, nOffset)) return nCode;
    lpPlan->m_nCommandOffset = nOffset;
    for (const ALTERVERB& stVerb : VERBS) {
        if (stVerb.m_nKeyword != GetKeyword(&stWords, 0)) continue;
        lpAlter->m_bObjectType = stVerb.m_bObjectType;
        lpAlter->m_nType = stVerb.m_bAction;
        if (const int nCode = (this->*stVerb.m_pParse)(&stWords, lpAlter)) return nCode;
        return ClosePlan(lpPlan);
    }
    return Fail(ERR_KEYWORD_ALTER, 0);
}

int CParseSql::ParseAlterSession(stu_KestroWordArray* lpWords, ALTEREXECUTEPLANBSON* lpAlter) {
    if (lpWords->m_nNum < 2) return Fail(ERR_SYNTAX_ALTER, lpWords->m_nNum);
    // Any other word is the server's.
    return GetKeyword(lpWords, 1) == KW_SET ? ParseAlterSet(ALTER_SESSION_SET, lpWords, lpAlter) : ERR_OK;
}

int CParseSql::ParseAlterSet(BYTE bAction, stu_KestroWordArray* lpWords, ALTEREXECUTEPLANBSON* lpAlter) {
    constexpr int NAME = 2, EQUAL = 3, VALUE = 4, WORD_NUM = 5;
    const CSqlWordReader stReader(*this, *lpWords);
    if (stReader.Num() != WORD_NUM) return ERR_SYNTAX_ALTER;
    char szName[KESTRO_NAME_SIZE];
    const int nCopied = CopyNameFromSql(stReader.Text(NAME), stReader.Len(NAME), szName);
    if (nCopied == NAME_BAD || std::strlen(szName) >= sizeof ALTERSETEXPFIELDBSON::m_pParameter)
        return Fail(ERR_EXPECT_STRING, NAME);
    if (stReader.Text(EQUAL)[0] != '=') return Fail(ERR_EXPECT_STRING, EQUAL);
    int nValue = 0;
    if (!stReader.ReadInteger(VALUE, nValue)) return Fail(ERR_EXPECT_STRING, VALUE);
    return WriteSetting(bAction, lpAlter, VT_INT, szName, nValue);
}

int CParseSql::WriteSetting(BYTE bAction, ALTEREXECUTEPLANBSON* lpAlter, BYTE bDataType, const char* lpszParameter,
                            int nValue) {
    constexpr UINT VALUE_POS = offsetof(ALTERSETEXPFIELDBSON, m_bDataBuffer);
    UINT nOffset = 0;
    LPBYTE lpBytes = nullptr;
    if (const int nCode = m_stBson.AllocFromBsonBuffer(VALUE_POS + sizeof nValue, nOffset, lpBytes)) return nCode;
    lpAlter->m_nType = bAction;
    lpAlter->m_nPlanOffset = nOffset;
    auto* const lpSetting = reinterpret_cast<ALTERSETEXPFIELDBSON*>(lpBytes);
    lpSetting->m_bDataType = bDataType;
    std::memcpy(lpSetting->m_pParameter, lpszParameter, strnlen(lpszParameter, sizeof lpSetting->m_pParameter - 1));
    std::memcpy(lpBytes + VALUE_POS, &nValue, sizeof nValue);
    return ERR_OK;
}
