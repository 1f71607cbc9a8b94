#pragma once

#include "KestroKeyword.h"
#include "ParseExpressionManager.h"

/** Who takes the call. */
enum FUNCTIONHANDLER : BYTE {
    HANDLER_NONE, // ERR_FUNCTION_TYPE
    HANDLER_COMMON,
    HANDLER_OPTIONAL, // common; the last argument may be left out
    HANDLER_AGGREGATE,
    HANDLER_SEQUENCE,
    HANDLER_CONVERT,
    HANDLER_CASE,
    HANDLER_CHECK_CHILD,
    HANDLER_JSON,
};

/** A function: its words, and what its call looks like. */
struct FUNCTIONROW {
    BYTE m_bCode;
    BYTE m_bShape;
    BYTE m_bHandler;
    /** Up to the first WORD_NONE. */
    int m_arKeyword[5];
};

/** A call that is being parsed. */
struct CParseExpressionManager::CALL {
    /** Its last word is `m_nEndPos` in the end. */
    st_PARSEPARAM& m_stParam;
    const FUNCTIONROW& m_stRow;
    /** The function's word, and where its brackets close. */
    int m_nName;
    int m_nClose = -1;
};
