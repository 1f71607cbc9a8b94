#pragma once

#include "BaseBson.h"
#include "KestroQueue.h"
#include "KestroStack.h"

/** `m_bJoinType` of a join's information beside the kinds of join: brackets of the FROM list. */
enum JOINBRACKET : BYTE {
    JOIN_BRACKET_OPEN = 0xA,
    JOIN_BRACKET_CLOSE = 0xB,
};

/** A join operator of a FROM list, in scratch memory. */
struct st_JOININFO {
    BYTE m_bJoinType; // PLANJOIN or JOINBRACKET
    BYTE m_bStraight; // 1: STRAIGHT_JOIN
    UINT m_nJoinCondition;
};

/** A node of the postfix queue of joins, in scratch memory. */
struct st_JOINQUEUENODE {
    BYTE m_bJoinInfo; // 0: a relation; 1: a join
    union {
        st_JOININFO* m_lpJoinInfo;
        UINT m_nRelOffset; // a node of the join tree
    };
};

/** Sets of objects. */
inline void AddRel(int nNo, relbitmap& nSet) {
    nSet |= relbitmap{1} << ((nNo - 1) & 63);
}
inline bool BmsOverlap(relbitmap nFirst, relbitmap nSecond) {
    return (nFirst & nSecond) != 0;
}
/** Whether the second set holds all of the first. */
inline bool BmsIsSubset(relbitmap nFirst, relbitmap nSecond) {
    return (nFirst & ~nSecond) == 0;
}

/** A relation of the join tree. */
[[nodiscard]] int CreateBaseRel(CBaseBson& stBson, BYTE bObjectNo, BYTE bObjectType, UINT& nOffset);
/** From infix to postfix: all joins count alike and go from left to right. ERR_MEMORY. */
[[nodiscard]] int PushJoinInfo2Stack(CBaseBson& stBson, st_JOININFO* lpInfo, CKestroStack& stStack,
                                     CKestroQueue& stQueue);
/** Makes the tree of a postfix queue. ERR_FAILED for a malformed one, ERR_SYNTAX_SELECT for an object joined to itself.
 */
[[nodiscard]] int CreateJoinTree(CBaseBson& stBson, CKestroQueue& stQueue, UINT& nRoot);
/** Joins each object of the list that the tree doesn't hold yet on top of it, in the list's order. */
[[nodiscard]] int AddBaseRel2JoinTree(CBaseBson& stBson, UINT nObjectOffset, UINT& nRoot);
/**
 * Moves the comparisons with a "(+)" out of a WHERE tree into the join tree; their conditions' offsets go into the
 * queue. ERR_JOIN_EXPRESSION, ERR_MEMORY.
 */
[[nodiscard]] int GetJoinTreeFromCondition(CBaseBson& stBson, UINT nCondition, UINT& nRoot, CKestroQueueUINT& stQueue);
