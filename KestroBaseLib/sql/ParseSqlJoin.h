#pragma once

#include "BaseBson.h"
#include "CommonDataDef.h"
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

/** A relation of the join tree. */
[[nodiscard]] int CreateBaseRel(CBaseBson& stBson, BYTE bObjectNo, BYTE bObjectType, UINT& nOffset);
/**
 * A join of two nodes of the tree. JOIN_RIGHT becomes a left one with its children exchanged. ERR_FAILED if a node
 * isn't there.
 */
[[nodiscard]] int CreateJoinRel(CBaseBson& stBson, const st_JOININFO& stInfo, UINT nLeft, UINT nRight, UINT& nOffset);

/**
 * From infix to postfix: all joins count alike and go from left to right. Information of a bracket needs to live as
 * long as the stack, that of a join as long as the queue. ERR_MEMORY.
 */
[[nodiscard]] int PushJoinInfo2Stack(CBaseBson& stBson, st_JOININFO* lpInfo, CKestroStack& stStack,
                                     CKestroQueue& stQueue);
/** The relation at `nOffset` into the queue. ERR_MEMORY. */
[[nodiscard]] int PushBaseRel2Queue(CBaseBson& stBson, UINT nOffset, CKestroQueue& stQueue);
/**
 * Moves the joins that wait on the stack into the queue, down to an open bracket, which stays: at the end of a FROM
 * list, and at a "," in it, since what follows isn't joined to what stands in front. ERR_MEMORY.
 */
[[nodiscard]] int PopJoinInfo2Queue(CBaseBson& stBson, CKestroStack& stStack, CKestroQueue& stQueue);
/**
 * Makes the tree of a postfix queue; 0 if no join is in it. Of several trees, as "a JOIN b, c JOIN d" has, each is
 * joined to the one in front by an inner join; relations without a join stay out. ERR_FAILED for a malformed queue,
 * ERR_SYNTAX_SELECT for an object joined to itself.
 */
[[nodiscard]] int CreateJoinTree(CBaseBson& stBson, CKestroQueue& stQueue, UINT& nRoot);
/** Joins each object of the list that the tree doesn't hold yet on top of it, in the list's order. */
[[nodiscard]] int AddBaseRel2JoinTree(CBaseBson& stBson, UINT nObjectOffset, UINT& nRoot);

/**
 * Moves the comparisons with a "(+)" out of a WHERE tree into the join tree, which may be empty; their conditions'
 * offsets, each a `BASECONDITIONBSON`, go into the queue. Those with objects that aren't in the query's list stay.
 * ERR_JOIN_EXPRESSION, ERR_MEMORY.
 */
[[nodiscard]] int GetJoinTreeFromCondition(CBaseBson& stBson, UINT nCondition, UINT nObjectOffset, UINT& nRoot,
                                           CKestroQueueUINT& stQueue);
/**
 * Makes one comparison a join of the tree, if it has a "(+)" between fields of two objects that the tree doesn't join
 * yet. `nCondition` is the condition to which it's added, 0 for a new one; it stays if there is nothing to do.
 */
[[nodiscard]] int GetJoinPathFromCompareExpression(CBaseBson& stBson, UINT nCompare, UINT& nRoot, UINT& nCondition);
/** Adds a comparison to a condition by AND; 0 for a new one. ERR_MEMORY. */
[[nodiscard]] int CreateJoinCondition(CBaseBson& stBson, UINT nCompare, UINT& nCondition);
