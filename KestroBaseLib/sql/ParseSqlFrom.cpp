// A FROM list: objects, joins with their conditions, brackets around joins, and derived tables.
//
//     object [alias] , object ...        "," and CROSS JOIN part what isn't joined
//     object [INNER | LEFT [OUTER] | RIGHT [OUTER] | FULL [OUTER]] JOIN object [ON condition], and STRAIGHT_JOIN
//     [database.]name, NODE name, RELATION name, ( SELECT ... )        each with [AS] alias

#include <cstring>

#include "CommonDataDef.h"
#include "ParseConditionManager.h"
#include "ParsePush.h"
#include "ParseSqlJoin.h"
#include "ParseSqlQuery.h"

namespace {

/** A join operator by its first word. */
struct JOINROW {
    int m_nKeyword;
    bool m_bOuter; // OUTER may follow
    bool m_bJoin;  // JOIN must follow
    st_JOININFO m_stInfo;
};

constexpr JOINROW JOINS[] = {
    {KW_JOIN, false, false, {JOIN_INNER, 0, 0}}, {KW_INNER, false, true, {JOIN_INNER, 0, 0}},
    {KW_LEFT, true, true, {JOIN_LEFT, 0, 0}},    {KW_RIGHT, true, true, {JOIN_RIGHT, 0, 0}},
    {KW_FULL, true, true, {JOIN_FULL, 0, 0}},    {KW_STRAIGHT_JOIN, false, false, {JOIN_INNER, 1, 0}},
};

const JOINROW* FindJoin(int nKeyword) {
    for (const JOINROW& stRow : JOINS)
        if (stRow.m_nKeyword == nKeyword) return &stRow;
    return nullptr;
}

/** Whether a word has a meaning of its own in a FROM list, and so is no name unless it's quoted. */
bool IsListWord(int nKeyword) {
    switch (nKeyword) {
        case KW_CROSS:
        case KW_OUTER:
        case KW_ON:
        case KW_AS:
        case KW_OF: // as in AS OF
            return true;
        default:
            return FindJoin(nKeyword) != nullptr;
    }
}

/** Objects by the word in front of their names. */
BYTE ObjectKind(int nKeyword) {
    if (nKeyword == KW_NODE) return OBJECT_NODE;
    return nKeyword == KW_RELATION ? OBJECT_RELATION : OBJECT_TABLE;
}

} // namespace

/** The cursor in a FROM list: an object and what links it to the next one take turns. */
class CParseSql::CFromList {
public:
    CFromList(CParseSql& stParse, stu_KestroWordArray& stWords, const st_PARSEPARAM& stParam)
        : m_stParse(stParse),
          m_stBson(stParse.m_stBson),
          m_stWords(stWords),
          m_stReader(stParse, stWords),
          m_stParam(stParam),
          m_nPos(stParam.m_nBeginPos),
          m_nEnd(stParam.m_nEndPos) {}

    int Parse() {
        if (m_nPos >= m_nEnd) return m_stParse.Fail(ERR_SELECT_NO_TABLE, m_nPos);
        while (m_nPos < m_nEnd)
            if (const int nCode = m_bObjectNext ? ParsePlace() : ParseLink()) return nCode;
        if (m_bObjectNext || m_nDepth != 0) return Refuse(m_nPos);
        if (const int nCode = PopJoinInfo2Queue(m_stBson, m_stJoins, m_stQueue)) return nCode;
        if (const int nCode = CreateJoinTree(m_stBson, m_stQueue, m_nJoinTree))
            return m_stParse.Fail(nCode, m_stParam.m_nBeginPos);
        return ERR_OK;
    }

    int m_nObjectNum = 0;
    UINT m_nObjectOffset = 0;
    UINT m_nInnerOn = 0;
    UINT m_nOuterOn = 0;
    UINT m_nJoinTree = 0;

private:
    /** The names of an object, as they go into table and plan. */
    struct NAMES {
        char m_szDatabase[KESTRO_NAME_SIZE] = "";
        char m_szName[KESTRO_NAME_SIZE] = "";
        char m_szTitle[KESTRO_TITLE_SIZE] = "";
    };

    int Refuse(int nWord) { return m_stParse.Fail(ERR_SELECT_TABLE_NAME, nWord); }
    int Keyword(int nWord) const { return nWord < m_nEnd ? m_stReader.Keyword(nWord) : int{WORD_NONE}; }
    bool IsName(int nWord) const {
        return nWord < m_nEnd && m_stReader.MayBeName(nWord) && !IsListWord(m_stReader.Keyword(nWord));
    }
    int PushJoin(st_JOININFO* lpInfo) { return PushJoinInfo2Stack(m_stBson, lpInfo, m_stJoins, m_stQueue); }

    int ParsePlace();
    int ParseDerived();
    int ParseObject();
    int ReadName(NAMES& stNames);
    int ReadTitle(NAMES& stNames);
    int AddObject(BYTE bType, const NAMES& stNames, int nWord, UINT nQuery);
    int CopyText(const char* lpszText, UINT& nOffset, BYTE* lpLen);
    int PushPending();

    int ParseLink();
    int OpenBracket();
    int CloseBracket();
    int Separate();
    int ParseJoin(const JOINROW& stRow);
    int NewJoin(const st_JOININFO& stInfo);
    int ParseOn();
    int FindOnEnd() const;

    CParseSql& m_stParse;
    CBaseBson& m_stBson;
    stu_KestroWordArray& m_stWords;
    const CSqlWordReader m_stReader;
    const st_PARSEPARAM& m_stParam;
    int m_nPos;
    const int m_nEnd;
    bool m_bObjectNext = true;
    OBJECTBSON* m_lpLast = nullptr;
    /** An object outside of brackets that no join has named yet. */
    const OBJECTBSON* m_lpPending = nullptr;
    /** The join whose ON may come next, null for none. */
    st_JOININFO* m_lpJoin = nullptr;
    int m_nDepth = 0;
    /** For each open bracket the join that it's the right side of. */
    CKestroStack m_stOuter;
    CKestroStack m_stJoins;
    CKestroQueue m_stQueue;
    st_JOININFO m_stOpen = {JOIN_BRACKET_OPEN, 0, 0};
    st_JOININFO m_stClose = {JOIN_BRACKET_CLOSE, 0, 0};
};

int CParseSql::ParseExecuteObject(stu_KestroWordArray* lpWords, st_PARSEPARAM* lpParam, USHORT& nObjectNum,
                                  UINT& nObjectOffset, UINT& nInnerOn, UINT& nOuterOn, UINT& nJoinTree, BYTE) {
    CFromList stList(*this, *lpWords, *lpParam);
    const int nCode = stList.Parse();
    nObjectNum = static_cast<USHORT>(stList.m_nObjectNum);
    nObjectOffset = stList.m_nObjectOffset;
    nInnerOn = stList.m_nInnerOn;
    nOuterOn = stList.m_nOuterOn;
    nJoinTree = stList.m_nJoinTree;
    return nCode;
}

int CParseSql::CFromList::ParsePlace() {
    if (Keyword(m_nPos) != WORD_PAREN_OPEN) return ParseObject();
    return Keyword(m_nPos + 1) == KW_SELECT ? ParseDerived() : OpenBracket();
}

// Registered behind its query, so that this doesn't see it; under a name that no text can have. Its query is a
// subquery like one in a condition: it has no page and no stamp of its own.
int CParseSql::CFromList::ParseDerived() {
    const int nOpen = m_nPos;
    const int nClose = m_stReader.FindClose(nOpen, m_nEnd);
    if (nClose < 0) return m_stParse.Fail(ERR_SYNTAX_SELECT, nOpen);
    st_PARSEPARAM stParam;
    stParam.m_nBeginPos = nOpen + 1;
    stParam.m_nEndPos = stParam.m_nQueryEnd = nClose;
    stParam.m_bSubQueryType = SUBQUERY_PLAIN;
    int bLockOption = 0;
    BYTE bExecuteParam = FOR_UPDATE_NONE;
    UINT nQuery = 0;
    long long llTimestamp = 0;
    if (const int nCode =
            m_stParse.ParseCommonQuery(&m_stWords, &stParam, bLockOption, bExecuteParam, nQuery, llTimestamp, 0, 0))
        return nCode;
    if (bLockOption || bExecuteParam != FOR_UPDATE_NONE) return m_stParse.Fail(ERR_FOR_UPDATE, nOpen);
    m_nPos = nClose + 1;
    NAMES stNames;
    const int nNext = m_stParse.m_nObjectNum + 1;
    stNames.m_szName[0] = '$';
    stNames.m_szName[1] = static_cast<char>(nNext & 0xFF);
    stNames.m_szName[2] = static_cast<char>(nNext >> 8);
    if (const int nCode = ReadTitle(stNames)) return nCode;
    return AddObject(OBJECT_SUBQUERY, stNames, nOpen, nQuery);
}

int CParseSql::CFromList::ParseObject() {
    const int nWord = m_nPos;
    // NODE and RELATION that no name follows are names themselves.
    BYTE bType = ObjectKind(Keyword(m_nPos));
    if (bType != OBJECT_TABLE && !IsName(m_nPos + 1)) bType = OBJECT_TABLE;
    if (bType != OBJECT_TABLE) ++m_nPos;
    NAMES stNames;
    if (const int nCode = ReadName(stNames)) return nCode;
    if (const int nCode = ReadTitle(stNames)) return nCode;
    return AddObject(bType, stNames, nWord, 0);
}

int CParseSql::CFromList::ReadName(NAMES& stNames) {
    const bool bDatabase = IsName(m_nPos) && Keyword(m_nPos + 1) == WORD_POINT;
    if (bDatabase) {
        if (CopyDatabaseNameFromSql(m_stReader.Text(m_nPos), m_stReader.Len(m_nPos), stNames.m_szDatabase) == NAME_BAD)
            return Refuse(m_nPos);
        m_nPos += 2;
    }
    if (!IsName(m_nPos) ||
        CopyNameFromSql(m_stReader.Text(m_nPos), m_stReader.Len(m_nPos), stNames.m_szName) == NAME_BAD)
        return Refuse(m_nPos);
    ++m_nPos;
    return ERR_OK;
}

/** [AS] alias, if there is one. */
int CParseSql::CFromList::ReadTitle(NAMES& stNames) {
    const bool bAs = Keyword(m_nPos) == KW_AS;
    if (bAs) ++m_nPos;
    if (bAs ? !IsName(m_nPos) : Keyword(m_nPos) != WORD_NAME) return bAs ? Refuse(m_nPos) : ERR_OK;
    if (CopyTitleFromSql(m_stReader.Text(m_nPos), m_stReader.Len(m_nPos), stNames.m_szTitle) == NAME_BAD)
        return Refuse(m_nPos);
    ++m_nPos;
    return ERR_OK;
}

/** An object into table and plan; `nQuery` is that of a derived table, which has no name in the plan. */
int CParseSql::CFromList::AddObject(BYTE bType, const NAMES& stNames, int nWord, UINT nQuery) {
    BYTE bNo = 0;
    if (const int nCode =
            m_stParse.AddFromObject(stNames.m_szDatabase, stNames.m_szName, bType, stNames.m_szTitle, bNo))
        return m_stParse.Fail(nCode, nWord);
    OBJECTBSON* lpObject = nullptr;
    UINT nOffset = 0, nTitle = 0, nDatabase = 0;
    if (const int nCode = m_stBson.AllocFromBsonBuffer(lpObject, nOffset)) return nCode;
    if (m_lpLast)
        m_lpLast->m_nNextOffset = nOffset;
    else
        m_nObjectOffset = nOffset;
    m_lpLast = lpObject;
    ++m_nObjectNum;
    lpObject->m_bObjectType = bType;
    lpObject->m_bObjectNo = bNo;
    UINT nSource = nQuery;
    if (nQuery != 0)
        lpObject->m_bView = 1;
    else if (const int nCode = CopyText(stNames.m_szName, nSource, &lpObject->m_bObjectNameLen))
        return nCode;
    if (const int nCode = CopyText(stNames.m_szTitle, nTitle, &lpObject->m_bObjectTitleLen)) return nCode;
    if (const int nCode = CopyText(stNames.m_szDatabase, nDatabase, nullptr)) return nCode;
    lpObject->m_nObjectNameOffset = nSource;
    lpObject->m_nObjectTitleOffset = nTitle;
    lpObject->m_nDataBaseNameOffset = nDatabase;
    m_bObjectNext = false;
    m_lpPending = lpObject;
    // In brackets, and behind a join, it's part of a tree for certain.
    return m_nDepth != 0 || m_lpJoin ? PushPending() : ERR_OK;
}

/** A text into the plan, unless it's empty; its length counts the terminator. */
int CParseSql::CFromList::CopyText(const char* lpszText, UINT& nOffset, BYTE* lpLen) {
    const int nLen = static_cast<int>(std::strlen(lpszText));
    if (nLen == 0) return ERR_OK;
    if (lpLen) *lpLen = static_cast<BYTE>(nLen + 1);
    return m_stParse.CopyToPlan(lpszText, nLen, nOffset);
}

/** The object that waits becomes a relation of the tree. */
int CParseSql::CFromList::PushPending() {
    const OBJECTBSON* const lpObject = m_lpPending;
    if (!lpObject) return ERR_OK;
    m_lpPending = nullptr;
    UINT nOffset = 0;
    if (const int nCode = CreateBaseRel(m_stBson, lpObject->m_bObjectNo, lpObject->m_bObjectType, nOffset))
        return nCode;
    return PushBaseRel2Queue(m_stBson, nOffset, m_stQueue);
}

/** What follows an object. */
int CParseSql::CFromList::ParseLink() {
    const int nKeyword = Keyword(m_nPos);
    switch (nKeyword) {
        case WORD_PAREN_CLOSE:
            return CloseBracket();
        case KW_CROSS:
            if (Keyword(++m_nPos) != KW_JOIN) return Refuse(m_nPos);
            return Separate();
        case WORD_COMMA:
            return Separate();
        case KW_ON:
            return ParseOn();
        default:
            break;
    }
    const JOINROW* const lpRow = FindJoin(nKeyword);
    return lpRow ? ParseJoin(*lpRow) : Refuse(m_nPos);
}

// Inside brackets what "," parts is joined all the same, as the bracket is one side of a join. Each part has brackets
// of its own, because joins bind closer than ",".
int CParseSql::CFromList::OpenBracket() {
    ++m_nPos;
    ++m_nDepth;
    if (const int nCode = PushEntry(m_stOuter, static_cast<void*>(m_lpJoin))) return nCode;
    m_lpJoin = nullptr;
    if (const int nCode = PushJoin(&m_stOpen)) return nCode;
    return PushJoin(&m_stOpen);
}

int CParseSql::CFromList::CloseBracket() {
    if (m_nDepth == 0) return Refuse(m_nPos);
    ++m_nPos;
    --m_nDepth;
    m_lpJoin = static_cast<st_JOININFO*>(m_stOuter.top());
    m_stOuter.pop();
    if (const int nCode = PushJoin(&m_stClose)) return nCode;
    return PushJoin(&m_stClose);
}

int CParseSql::CFromList::Separate() {
    ++m_nPos;
    m_bObjectNext = true;
    m_lpJoin = nullptr;
    m_lpPending = nullptr;
    if (m_nDepth == 0) return PopJoinInfo2Queue(m_stBson, m_stJoins, m_stQueue);
    if (const int nCode = PushJoin(&m_stClose)) return nCode;
    if (const int nCode = NewJoin({JOIN_INNER, 0, 0})) return nCode;
    m_lpJoin = nullptr;
    return PushJoin(&m_stOpen);
}

int CParseSql::CFromList::ParseJoin(const JOINROW& stRow) {
    ++m_nPos;
    if (stRow.m_bOuter && Keyword(m_nPos) == KW_OUTER) ++m_nPos;
    if (stRow.m_bJoin && Keyword(m_nPos++) != KW_JOIN) return Refuse(m_nPos - 1);
    m_bObjectNext = true;
    if (const int nCode = PushPending()) return nCode;
    return NewJoin(stRow.m_stInfo);
}

/** A join, whose ON may follow its right side. */
int CParseSql::CFromList::NewJoin(const st_JOININFO& stInfo) {
    LPBYTE lpBytes = nullptr;
    if (const int nCode = m_stBson.AllocFromBufferPool(sizeof stInfo, lpBytes, 0)) return nCode;
    std::memcpy(lpBytes, &stInfo, sizeof stInfo);
    m_lpJoin = reinterpret_cast<st_JOININFO*>(lpBytes);
    return PushJoin(m_lpJoin);
}

int CParseSql::CFromList::ParseOn() {
    if (!m_lpJoin) return Refuse(m_nPos);
    st_JOININFO& stJoin = *m_lpJoin;
    m_lpJoin = nullptr;
    const int nBegin = m_nPos + 1, nEnd = FindOnEnd();
    UINT nCondition = 0;
    int nVarNum = 0;
    st_PARSEPARAM stParam = m_stParam;
    stParam.m_bJoin = 1;
    if (const int nCode = m_stParse.ParseConditionRange(&m_stWords, stParam, nBegin, nEnd, nCondition, nVarNum))
        return nCode;
    m_nPos = nEnd;
    // A condition that is always true is none.
    if (nCondition == 0) return ERR_OK;
    const bool bInner = stJoin.m_bJoinType == JOIN_INNER;
    if (!bInner) stJoin.m_nJoinCondition = nCondition;
    return AddCondition(&m_stBson, CONDITION_NODE, nCondition, LOGIC_AND, bInner ? m_nInnerOn : m_nOuterOn);
}

/** Where the condition of the ON at the cursor ends: at a join, a "," or the ")" of a bracket around it. */
int CParseSql::CFromList::FindOnEnd() const {
    int nDepth = 0;
    for (int i = m_nPos + 1; i < m_nEnd; ++i) {
        const int nKeyword = Keyword(i);
        nDepth += (nKeyword == WORD_PAREN_OPEN) - (nKeyword == WORD_PAREN_CLOSE);
        if (nDepth < 0) return i;
        if (nDepth == 0 && (nKeyword == WORD_COMMA || nKeyword == KW_CROSS || FindJoin(nKeyword))) return i;
    }
    return m_nEnd;
}
