#pragma once

#include "BaseBson.h"
#include "KestroKeyword.h"
#include "KestroQueue.h"
#include "KestroStack.h"
#include "ParsePush.h"
#include "ParseSql.h"

/** Priorities on the operator stack: a higher one binds closer. */
enum OPERATORPRIORITY : BYTE {
    PRIORITY_NONE = 0, // a bracket mark, and operators that the grammar doesn't have
    PRIORITY_OR = 2,
    PRIORITY_AND = 3,
    PRIORITY_NOT = 4,
    PRIORITY_COMPARE = 5,
    PRIORITY_COMMA = 6,
    PRIORITY_LINK = 7,
    PRIORITY_ADD = 8,
    PRIORITY_MUL = 9,
    PRIORITY_UNARY = 10,
    PRIORITY_NAME_OR_CALL = 11,
    PRIORITY_FUNCTION = 12,
};

/** `stu_MATHOPERATOR::m_bType`. */
enum OPERATORTYPE : BYTE {
    OPTYPE_NONE = 0,
    OPTYPE_MATH = 1,
    OPTYPE_COMPARE = 2,
    OPTYPE_LOGIC = 3,
    OPTYPE_FUNCTION = 4,
};

/** What a word is as an operator, where it stands. */
enum OPERATORCLASS : BYTE {
    OPCLASS_NONE = 0,
    OPCLASS_PREFIX = 1, // NOT, EXISTS
    OPCLASS_BINARY = 2,
    OPCLASS_MINUS = 3, // with one side or two
    OPCLASS_PRIOR = 4,
    OPCLASS_PLUS = 0xC, // with one side or two
};

/** `stu_EXPFIELDBSON_MIXQUEUENODE::m_bNodeType`. */
enum MIXNODETYPE : BYTE {
    MIXNODE_OPERATOR = 1,
    MIXNODE_EXPRESSION = 2,
    MIXNODE_ELEMENT = 3,
    MIXNODE_SUBQUERY = 7,
    MIXNODE_JSON_ELEMENT = 9,
    MIXNODE_JSON_ARGUMENTS = 0xB,
};

/** How an operator takes its operands. */
enum OPERATORFORM : BYTE {
    OPFORM_UNARY = 1,
    OPFORM_BINARY = 2,
    OPFORM_JSON_ARGUMENTS = 0xA,
    OPFORM_PARAM_LIST = 0xB,
};

/** What a call was, as `ParseFunction` tells it. */
enum CALLSTATE : BYTE {
    CALLSTATE_SEQUENCE = 1,
    CALLSTATE_CALL = 6,
};

/** What a call may have between its brackets. */
enum PARAMSHAPE : BYTE {
    SHAPE_NONE = 0,
    SHAPE_ONE = 1,
    SHAPE_TWO = 2,
    SHAPE_THREE = 3,
    SHAPE_JSON = 4,
    SHAPE_AGGREGATE = 5,
    SHAPE_ANY = 7,
};

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
    BYTE m_bCombinedType; // of an operator: the sub-type of a function code that stands for several names
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
    /** Whether a word of this code is a literal by itself: a text, a number, NULL or "?". */
    static bool IsLiteral(int nKeyword) {
        return nKeyword == WORD_STRING || nKeyword == WORD_INTEGER || nKeyword == WORD_DECIMAL || nKeyword == KW_NULL ||
               nKeyword == WORD_EMPTY || nKeyword == WORD_QUESTION;
    }
    /**
     * The expression that such a word is, EXPCLASS_CONSTANT, as `ParseMathExpression` makes it but for the text. One
     * object may do so for many words.
     */
    [[nodiscard]] int ParseLoneLiteral(int nPos);
    /** Folds the postfix queue into a tree. */
    [[nodiscard]] int CreateMathExpression();

    /** The class of a tree just made, EXPCLASS, as `CBaseExpression` tells it; that of a lone element without a walk.
     */
    static BYTE ClassOfTree(CBaseBson& stBson, UINT nOffset);

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

    // --- words (ParseExpressionOperator.cpp); a number without a word reads as WORD_NONE -----------------------------

    int Keyword(int nPos) const { return m_pParseSql->GetKeyword(m_lpWordArray, nPos); }
    /** What the word is as an operator, OPERATORCLASS; words of comparison and logic are none without `bCondition`. */
    BYTE CheckValidOperator(int nPos, int bCondition) const {
        // Names and literals, the most frequent words, are none.
        const int nKeyword = Keyword(nPos);
        return nKeyword <= WORD_HEX_STRING ? BYTE{OPCLASS_NONE} : ClassOfOperator(nKeyword, nPos, bCondition);
    }
    /** The operator's code of a keyword; OP_NONE for none. */
    static BYTE ConvertOperatorString(int nKeyword);
    /** How an operator or function takes its operands, OPERATORFORM. */
    static BYTE CheckOperatorType(BYTE bCode);
    /** Whether the operator at `nPos` has no left side: it stands first, behind "(" or behind an operator. */
    bool IsSign(int nPos, const st_PARSEPARAM& stParam) const;
    /** The join mark "(+)". */
    bool IsJoinOperator(int nPos) const;
    /** Whether `nPos` is behind the range, an operator, ")" or a join mark: what may follow an operand. */
    bool IsOperandEnd(int nPos, const st_PARSEPARAM& stParam) const;
    /** Whether what follows the operator at `nPos` may follow one: a word, and no operator but "+", "-", a prefix. */
    bool IsOperatorPlace(int nPos, const st_PARSEPARAM& stParam) const;
    /** What may stand behind IS: UNKNOWN, NULL, FALSE or TRUE, or NOT and one of these. */
    bool IsTruthWord(int nPos) const;
    /** The ")" of the "(" at `nOpen`, searched up to `nEnd`; -1 without one. */
    int FindFunctionEndPos(int nOpen, int nEnd) const;
    /** The first word of code `nKeyword` outside of all brackets from `nBegin` on; `nEnd` without one. */
    int FindWord(int nKeyword, int nBegin, int nEnd) const;

    /** Appends a word, or any text, to the expression's text as far as there is room. */
    void Push(int nPos);
    void Push(const char* lpszText, int nLen);

    // --- queue and stack (ParseExpressionManager.cpp): 0 or ERR_MEMORY -----------------------------------------------

    /** An operand of kind `bType`, MIXNODETYPE, into the postfix queue. */
    [[nodiscard]] int PushOperand(BYTE bType, UINT nOffset);
    /** An operator onto the stack, without popping anything. */
    [[nodiscard]] int PushOperator(BYTE bCode);
    /** An operator into the queue, behind its operands. */
    [[nodiscard]] int QueueOperator(const stu_MATHOPERATOR& stOperator);
    /** The top of the stack, null for an empty one. */
    stu_MATHOPERATOR* TopOperator() const { return static_cast<stu_MATHOPERATOR*>(m_skOperatorStack.top()); }
    /** The top of the stack into the queue. */
    [[nodiscard]] int PopOperator();
    /** Those on top whose priority isn't below `bPriority`; a bracket mark stops. */
    [[nodiscard]] int PopOperators(BYTE bPriority);
    /** All down to the next bracket mark, which goes too: ERR_EXPECT_EXPRESSION without one. */
    [[nodiscard]] int PopToBracket();

    // --- operands in a range; `nPos` moves on to the operand's last word ---------------------------------------------

    /** Whether an operator from `nPos` to `nLast` may stand between what is beside it: 0 or ERR_EXPECT_EXPRESSION. */
    [[nodiscard]] int CheckOperatorPlace(const st_PARSEPARAM& stParam, int nPos, int nLast, BYTE bClass);
    /** The "(" at `nPos` as a mark, counted by `nOpen`. */
    [[nodiscard]] int OpenBracket(const st_PARSEPARAM& stParam, int nPos, int& nOpen);
    /** A subquery from its SELECT at `nSelect` up to `nEnd`, of kind `bType`, PLANSUBQUERY. */
    [[nodiscard]] int ParseSubQuery(int nSelect, int nEnd, BYTE bType, UINT& nOffset);
    /** ANY (SELECT, ALL (SELECT or SELECT at `nPos`; `nOpen` counts the brackets it opens. */
    [[nodiscard]] int ParseSubQueryOperand(const st_PARSEPARAM& stParam, int& nPos, int& nOpen);
    /** A call of function `bCode`, or the name of one that is a column as well; `bAggregate` is set for aggregates. */
    [[nodiscard]] int ParseCallOperand(const st_PARSEPARAM& stParam, BYTE bCode, int& nPos, BOOL& bAggregate);
    /** A literal, a name or a parameter. */
    [[nodiscard]] int ParseElementOperand(const st_PARSEPARAM& stParam, int& nPos);

    /**
     * The tree of a range without a look for nested aggregates, which is left to the whole expression's parser.
     * `lpParam` as for `ParseMathExpression`.
     */
    [[nodiscard]] int ParseTree(st_PARSEPARAM* lpParam);
    /** ERR_FUNCTION_TYPE for an aggregate inside an aggregate in the tree at `nOffset`; ERR_MEMORY. */
    [[nodiscard]] int CheckAgrreMixedExpression(UINT nOffset) const;

    // --- elements (ParseExpressionElement.cpp) -----------------------------------------------------------------------

    /** A zeroed element with room for `nDataLen` bytes of data, which its `m_nDataLen` says. */
    [[nodiscard]] int NewElement(int nDataLen, MATHEXPELEMENTBSON*& lpElement, UINT& nOffset);
    /** A literal with these bytes. */
    [[nodiscard]] int NewLiteral(BYTE bDataType, const void* lpData, int nDataLen, UINT& nOffset);
    /** A value as a literal: ERR_DATA_TYPE for a type that has no such form. */
    [[nodiscard]] int CovertValueToOffset(st_VARDATA& stValue, UINT& nOffset);
    /** The same of one that was worked out here. */
    [[nodiscard]] int WriteFolded(st_VARDATA& stValue, UINT& nOffset);

    // --- functions (ParseExpressionFunction.cpp) ---------------------------------------------------------------------

    /** The function that a word calls, FN_SEQUENCE for a word in front of a point; 0 for none. Notes its sub-type. */
    BYTE CheckValidFunction(int nPos) {
        const bool bNone = Keyword(nPos) <= WORD_HEX_STRING && Keyword(nPos + 1) != WORD_POINT;
        return bNone ? BYTE{0} : FindFunction(nPos);
    }
    /** Functions that may stand without "()". */
    static bool IsFunctionWithoutParam(BYTE bCode);
    /** Whether a call may have `nActual` arguments, and how many its function's node takes. */
    static bool CheckFunctionParam(int nActual, BYTE bShape, BYTE bCode, bool bOptional, int& nTaken);

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

private:
    struct NAME;
    struct CALL;

    BYTE ClassOfOperator(int nKeyword, int nPos, int bCondition) const;
    BYTE FindFunction(int nPos);

    int ParseWord(st_PARSEPARAM& stParam, int& nPos, int& nOpen);
    int ParseOperator(const st_PARSEPARAM& stParam, int nPos, BYTE bClass);
    int ParseAllFields();
    int PushNode(const stu_EXPFIELDBSON_MIXQUEUENODE& stNode);

    bool ReadName(int nPos, NAME& stName) const;
    int NewWordField(int nPos, UINT& nOffset);
    int ParseElement(st_PARSEPARAM& stParam, UINT& nOffset);
    int ParseLiteral(st_PARSEPARAM& stParam, UINT& nOffset);
    /** Makes an operand that isn't an expression the root, under a node of its own. */
    int WrapOperand(BYTE bKind, UINT nOperand);
    int ParseQualified(st_PARSEPARAM& stParam, BYTE bObjectNo, const NAME& stName, UINT& nOffset);
    int ParseTriggerRow(st_PARSEPARAM& stParam, UINT& nOffset);
    int ParseNamed(st_PARSEPARAM& stParam, const NAME& stName, UINT& nOffset);
    int ParseParameter(UINT& nOffset);
    int ParseNumber(int nPos, UINT& nOffset);
    int ParseString(st_PARSEPARAM& stParam, UINT& nOffset);
    int ParseInterval(st_PARSEPARAM& stParam, UINT& nOffset);
    int NewField(const NAME& stName, BYTE bSource, BYTE bObjectNo, int nDataLen, UINT& nOffset);

    int ParseCommonFunction(CALL& stCall);
    int ParseAgrreFunction(CALL& stCall);
    int ParseAggreFunctionParam(CALL& stCall);
    int ParseSEQ(CALL& stCall);
    int ParseConvertOrCast(CALL& stCall);
    int ParseCaseWhen(CALL& stCall);
    int FindCaseWord(int nPos, int nEnd) const;
    int ParseBranch(CALL& stCall, int nWhen, int nThen, int nEnd);
    int ParseCheckChild(CALL& stCall);
    int CountArguments(int nOpen, int nEnd, int& nActual) const;
    int ParseFunctionParam(CALL& stCall, int nBegin, int nEnd, int nNum);
    int OpenCall(CALL& stCall, int& nTaken, int& nActual);
    int CloseCall(CALL& stCall, BYTE bCode, int nParamNum);
    int QueueFunction(BYTE bCode, int nParamNum);
    int ParseArgument(CALL& stCall, int nBegin, int nEnd);
    int ParseArgumentTree(CALL& stCall, int nBegin, int nEnd, CParseExpressionManager& stArgument);
    int PushArgument(UINT nOffset);
    int SetDefaultParam(BYTE bCode, int nActual);

    int FoldOperator(stu_EXPFIELDBSON_MIXQUEUENODE& stNode, CKestroStack& skOperand);
    int FoldParamList(const stu_EXPFIELDBSON_MIXQUEUENODE& stNode, CKestroStack& skOperand, st_MATHEXPBSON& stRecord);
};
