// A compilation's birth and death, and the dispatch: the head of the statement is read, the plan begun with a copy of
// the text, and the rest handed to the parser that belongs to the verb. The parsers are in the files that share this
// one's stem.

#include "ParseSql.h"

#include <algorithm>
#include <climits>
#include <cstring>

#include "ChunkCache.h"
#include "CommonDataDef.h"
#include "ParseSqlHead.h"

namespace {

/** The step in which the first buffer for a long statement grows, and the size of that for a short one. */
constexpr UINT BUFFER_STEP = 65536;
constexpr UINT BUFFER_STEP_NUM_MAX = 0xFFFF;
constexpr int SHORT_STATEMENT = 32768;
constexpr UINT RETRY_FACTOR = 4;

static_assert(sizeof(EXECUTEPLANBSON) == PLAN_TEXT_OFFSET);

/** Bytes of plan for a byte of a long statement; most long ones are rows of VALUES, whose records are many. */
constexpr std::uint64_t PLAN_FACTOR = 2;
constexpr std::uint64_t INSERT_PLAN_FACTOR = 8;

UINT BufferSize(int nLen, int nVerb) {
    if (nLen <= SHORT_STATEMENT) return BUFFER_STEP;
    const std::uint64_t nBytes = (nVerb == KW_INSERT ? INSERT_PLAN_FACTOR : PLAN_FACTOR) * static_cast<UINT>(nLen);
    const std::uint64_t nSteps = (nBytes - 1) / BUFFER_STEP + 1;
    return static_cast<UINT>(std::min<std::uint64_t>(nSteps, BUFFER_STEP_NUM_MAX)) * BUFFER_STEP;
}

} // namespace

/** What one compilation knows of its statement. */
struct CParseSql::STATEMENT {
    SQLHEAD m_stHead;
    int m_nVerb;
    int m_nPageStart;
    int m_nPageSize;
    EXECUTEPLANBSON* m_lpBlock; // the caller's, or null
};

/** How a verb is compiled. */
struct CParseSql::VERB {
    int m_nKeyword;
    BYTE m_bType;
    BYTE m_bWriteLog;
    int (CParseSql::*m_pParse)(const char* lpszSql, int nPos, EXECUTEPLANBSON* lpPlan);
};

CParseSql::CParseSql() : m_pKestroKeywordParse(CKestroKeywordParse::instance()) {}

CParseSql::~CParseSql() {
    KestroChunkFree(m_arrObjectName);
}

int CParseSql::ParseSql(const char* lpszSql, int nLen, EXECUTEPLANBSON*& lpPlan, int nPageStart, int nPageSize,
                        BYTE bDatabaseNo) {
    // This object's own last plan is no block of the caller's: it goes now.
    EXECUTEPLANBSON* const lpBlock = lpPlan == GetExecutePlan() ? nullptr : lpPlan;
    STATEMENT stStatement = {{}, WORD_NONE, nPageStart, nPageSize, lpBlock};
    lpPlan = nullptr;
    m_bDatabaseNo = bDatabaseNo;
    if (!m_pKestroKeywordParse) return ERR_MEMORY;
    Restart();
    SQLHEAD& stHead = stStatement.m_stHead;
    if (const int nCode = ReadSqlHead({lpszSql, static_cast<std::size_t>(std::max(nLen, 0))}, false, stHead))
        return nCode;
    stStatement.m_nVerb = m_pKestroKeywordParse->GetKeyword(stHead.m_szWord, stHead.m_nWordLen, nullptr, 1);

    // A parser never tests for room: where it runs out of it, all is compiled again in a larger buffer.
    for (UINT nSize = BufferSize(static_cast<int>(stHead.m_szText.size()), stStatement.m_nVerb);;
         nSize *= RETRY_FACTOR) {
        EXECUTEPLANBSON* lpNew = nullptr;
        if (PreparePlan(stStatement, lpNew, nSize) != ERR_OK) return ERR_MEMORY;
        int nCode = lpNew ? CopyStatement(stStatement, lpNew) : ERR_MEMORY;
        if (nCode == ERR_OK) nCode = ParseStatement(stStatement, lpNew);
        if (nCode == ERR_OK) lpPlan = lpNew;
        if (nCode != ERR_MEMORY || nSize > UINT_MAX / RETRY_FACTOR) return nCode;
        Restart();
        stStatement.m_lpBlock = nullptr;
    }
}

// As newly made: what an attempt that failed has named and noted isn't there for the next one.
void CParseSql::Restart() {
    m_nObjectNum = 0;
    m_nErrorPos = 0;
    m_vecFieldOffset.free();
    m_bQueryLevel = 0;
    m_bID = 1;
    std::memset(m_bSupperID, 0, sizeof m_bSupperID);
    if (m_stBson.GetBuffer()) m_stBson.Free();
}

/** A plan's head in a block: the caller's, where `lpPlan` stays null if that can't hold one, or a new one. */
int CParseSql::PreparePlan(const STATEMENT& stStatement, EXECUTEPLANBSON*& lpPlan, UINT nSize) {
    if (EXECUTEPLANBSON* const lpBlock = stStatement.m_lpBlock) {
        const UINT nCapacity = std::min<UINT>(lpBlock->m_nClientBsonDataSize, INT_MAX);
        if (nCapacity < sizeof *lpBlock) return ERR_OK;
        m_stBson.SetBuffer(reinterpret_cast<LPBYTE>(lpBlock), static_cast<int>(nCapacity), sizeof *lpBlock);
        // Nothing of the statement that was in the block before goes out with this one.
        *lpBlock = EXECUTEPLANBSON();
        lpPlan = lpBlock;
        return ERR_OK;
    }
    if (const int nCode = m_stBson.AllocBsonBuffer(nullptr, nSize)) return nCode;
    UINT nOffset = 0;
    return m_stBson.AllocFromBsonBuffer(lpPlan, nOffset);
}

int CParseSql::CopyStatement(const STATEMENT& stStatement, EXECUTEPLANBSON* lpPlan) {
    const std::string_view szText = stStatement.m_stHead.m_szText;
    UINT nOffset = 0;
    LPBYTE lpText = nullptr;
    if (const int nCode = m_stBson.AllocFromBsonBuffer(static_cast<UINT>(szText.size()) + 1, nOffset, lpText))
        return nCode;
    std::memcpy(lpText, szText.data(), szText.size());
    lpPlan->m_nSqlOffset = PLAN_TEXT_OFFSET;
    lpPlan->m_bVersion = PLAN_VERSION;
    lpPlan->m_dwHashID = CalcSQLHash(szText.data(), static_cast<int>(szText.size()));
    return ERR_OK;
}

int CParseSql::ParseStatement(const STATEMENT& stStatement, EXECUTEPLANBSON* lpPlan) {
    // USE and FIX set their type themselves.
    static constexpr VERB VERBS[] = {
        {KW_SELECT, PLAN_SELECT, 0, nullptr},
        {KW_INSERT, PLAN_INSERT, 1, &CParseSql::ParseInsert},
        {KW_UPDATE, PLAN_UPDATE, 1, &CParseSql::ParseUpdate},
        {KW_DELETE, PLAN_DELETE, 1, &CParseSql::ParseDelete},
        {KW_CREATE, PLAN_CREATE, 1, &CParseSql::ParseCreate},
        {KW_DROP, PLAN_DROP, 1, &CParseSql::ParseDrop},
        {KW_TRUNCATE, PLAN_DROP, 1, &CParseSql::ParseTrancate},
        {KW_ALTER, PLAN_ALTER, 1, &CParseSql::ParseAlter},
        {KW_GRANT, PLAN_ALTER, 1, &CParseSql::ParseGrant},
        {KW_REVOKE, PLAN_ALTER, 1, &CParseSql::ParseRevoke},
        {KW_RENAME, PLAN_ALTER, 1, &CParseSql::ParseRename},
        {KW_SET, PLAN_ALTER, 1, &CParseSql::ParseSet},
        {KW_BEGIN, PLAN_BEGIN, 1, &CParseSql::ParseBeginTx},
        {KW_COMMIT, PLAN_COMMIT, 1, &CParseSql::ParseCommitTx},
        {KW_ROLLBACK, PLAN_ROLLBACK, 1, &CParseSql::ParseRollbackTx},
        {KW_USE, 0, 0, &CParseSql::ParseUse},
        {KW_FIX, 0, 0, &CParseSql::ParseFix},
    };
    const VERB* const lpVerb = std::find_if(std::begin(VERBS), std::end(VERBS), [&](const VERB& stVerb) {
        return stVerb.m_nKeyword == stStatement.m_nVerb;
    });
    if (lpVerb == std::end(VERBS)) return ERR_INVALID_COMMAND;
    lpPlan->m_nType = lpVerb->m_bType;
    lpPlan->m_bWriteLog = lpVerb->m_bWriteLog;
    const SQLHEAD& stHead = stStatement.m_stHead;
    const char* lpszText = nullptr;
    if (const int nCode = HideHintMark(stStatement, lpszText)) return nCode;
    const int nCode = lpVerb->m_pParse ? (this->*lpVerb->m_pParse)(lpszText, stHead.m_nPos, lpPlan)
                                       : ParseQuery(lpszText, stHead.m_nPos, lpPlan, stStatement.m_nPageStart,
                                                    stStatement.m_nPageSize, stHead.m_nParens);
    lpPlan->m_bProtocolType = 0;
    lpPlan->m_bObjectMapNum = static_cast<BYTE>(m_nObjectNum);
    return nCode;
}

/**
 * The text to parse, which is the plan's own. Only where the verb stood in a hint it's a copy without the mark that
 * closes the hint: this mark is no word of the statement.
 */
int CParseSql::HideHintMark(const STATEMENT& stStatement, const char*& lpszText) {
    const SQLHEAD& stHead = stStatement.m_stHead;
    lpszText = reinterpret_cast<const char*>(m_stBson.GetBuffer()) + PLAN_TEXT_OFFSET;
    const int nMark = stHead.HintMark();
    if (nMark < 0) return ERR_OK;
    const std::string_view szText(lpszText, stHead.m_szText.size());
    LPBYTE lpCopy = nullptr;
    if (const int nCode = m_stBson.AllocFromBufferPool(static_cast<UINT>(szText.size()) + 1, lpCopy, 0)) return nCode;
    std::memcpy(lpCopy, szText.data(), szText.size() + 1);
    std::memset(lpCopy + nMark, ' ', 2);
    lpszText = reinterpret_cast<const char*>(lpCopy);
    return ERR_OK;
}

int CParseSql::ClosePlan(EXECUTEPLANBSON* lpPlan) {
    lpPlan->m_nBsonDataSize = lpPlan->m_nClientBsonDataSize =
        m_stBson.GetOffset(m_stBson.GetBuffer() + m_stBson.GetBsonDataSize());
    lpPlan->m_nTotalDataSize = m_stBson.GetExecutePlanDataSize();
    return lpPlan->m_nBsonDataSize == lpPlan->m_nTotalDataSize ? ERR_OK : ERR_PLAN_SIZE;
}
