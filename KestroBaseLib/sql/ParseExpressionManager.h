#pragma once

#include "BaseBson.h"
#include "KestroQueue.h"
#include "KestroStack.h"
#include "ParseSqlWords.h"

class CParseSql;

/** An operator or a function that waits for its operands, in scratch memory. */
struct stu_MATHOPERATOR {
    BYTE m_bMathOp;
    BYTE m_bPriority;
    BYTE m_bType;
    BYTE m_bParamNum;

    /** Operator or function `bCode` with its priority and type, without arguments. */
    void Set(BYTE bCode);
};

/** A node of the postfix queue, in scratch memory. */
struct stu_EXPFIELDBSON_MIXQUEUENODE {
    BYTE m_bNodeType;
    union {
        BYTE m_bMathOp;
        UINT m_nExpFieldOffset;
    };
    int m_nParamNum;
};

/**
 * Turns a range of words into an expression tree in the plan: operands and operators go into a postfix queue, which is
 * then folded. One object, one expression; arguments and branches get objects of their own. Errors leave the word at
 * fault in `GetSqlErrorPos`. One thread at a time.
 */
class CParseExpressionManager {
public:
    CParseExpressionManager() = default;
    CParseExpressionManager(const CParseExpressionManager&) = delete;
    CParseExpressionManager& operator=(const CParseExpressionManager&) = delete;
    virtual ~CParseExpressionManager() = default;

    /** Before all else. What it's given outlives it. */
    void Initial(CBaseBson* pBson, stu_KestroWordArray* lpWordArray, CParseSql* pParseSql);

    /**
     * The words from `m_nBeginPos` up to `m_nEndPos`; `m_bAggreFun` tells whether an aggregate is among them. No words,
     * no tree.
     */
    [[nodiscard]] int ParseMathExpression(st_PARSEPARAM* lpParam);
    /** One operand at `m_nBeginPos`, which then is its last word. */
    [[nodiscard]] int ParseMathElement(st_PARSEPARAM* lpParam, UINT& nOffset);
    /** One call of function `bCode` at `m_nBeginPos`; its last word is `m_nEndPos` then. */
    [[nodiscard]] int ParseFunction(st_PARSEPARAM* lpParam, BYTE bCode, BYTE& bState);
    /** Folds the postfix queue into a tree. */
    [[nodiscard]] int CreateMathExpression();

    /** The root, a `st_MATHEXPBSON`; 0 for no words. */
    UINT GetExpressionOffset() const { return m_nExpressionOffset; }
    /** The words without blanks, cut at 127 bytes, and their length, 128 when it was cut. */
    const char* GetExpressionString() const { return m_strExpression; }
    int GetExpressionLen() const { return m_nExpressionLen; }
    BOOL IsSequence() const { return m_bSequence; }
    int GetSqlErrorPos() const { return m_nErrorPos; }
    void SetGroupByOffset(UINT nOffset) { m_nGroupByOffset = nOffset; }

protected:
    [[nodiscard]] int Fail(int nCode, int nWord) {
        m_nErrorPos = nWord;
        return nCode;
    }

    CBaseBson* m_pBson = nullptr;
    stu_KestroWordArray* m_lpWordArray = nullptr;
    UINT m_nExpressionOffset = 0;
    char m_strExpression[128] = {};
    int m_nExpressionLen = 0;
    CKestroStack m_skOperatorStack;
    CKestroQueue m_queMathQueue;
    BOOL m_bSequence = 0;
    CParseSql* m_pParseSql = nullptr;
    int m_nErrorPos = 0;
    UINT m_nGroupByOffset = 0;
    BYTE m_bCombinedType = 0;
};
