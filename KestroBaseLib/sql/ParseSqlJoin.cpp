// The tree of a FROM list: joins from infix to postfix, the tree of the postfix queue, and on top of it the objects
// that no JOIN named. The tree has the shape that the statement writes; nothing is reordered or estimated here.

#include "ParseSqlJoin.h"

#include "ParsePush.h"

namespace {

st_NODE_QUERYTREE* TreeNode(CBaseBson& stBson, UINT nOffset) {
    return reinterpret_cast<st_NODE_QUERYTREE*>(stBson.ConvertOffset2Addr(nOffset));
}

int PushNode2Queue(CBaseBson& stBson, const st_JOINQUEUENODE& stNode, CKestroQueue& stQueue) {
    LPBYTE lpBytes = nullptr;
    if (const int nCode = stBson.AllocFromBufferPool(sizeof stNode, lpBytes, 0)) return nCode;
    std::memcpy(lpBytes, &stNode, sizeof stNode);
    return PushEntry(stQueue, static_cast<void*>(lpBytes));
}

/** A queue's node; scratch memory is aligned to 4 bytes only. */
st_JOINQUEUENODE LoadNode(const void* lpNode) {
    st_JOINQUEUENODE stNode;
    std::memcpy(&stNode, lpNode, sizeof stNode);
    return stNode;
}

/** Takes the last node of the stack, 0 for none. */
UINT Take(CKestroStackInt64& stStack) {
    const UINT nOffset = static_cast<UINT>(stStack.top());
    stStack.pop();
    return nOffset;
}

/** Two trees without a common object: a table that is joined to itself needs an alias, which is one of its own. */
int JoinDisjoint(CBaseBson& stBson, const st_JOININFO& stInfo, UINT nLeft, UINT nRight, UINT& nOffset) {
    const st_NODE_QUERYTREE* const lpLeft = TreeNode(stBson, nLeft);
    const st_NODE_QUERYTREE* const lpRight = TreeNode(stBson, nRight);
    if (lpLeft && lpRight && BmsOverlap(lpLeft->m_bRelis, lpRight->m_bRelis)) return ERR_SYNTAX_SELECT;
    return CreateJoinRel(stBson, stInfo, nLeft, nRight, nOffset);
}

int JoinTwo(CBaseBson& stBson, const st_JOININFO& stInfo, CKestroStackInt64& stStack) {
    if (stInfo.m_bJoinType < JOIN_INNER || stInfo.m_bJoinType > JOIN_FULL) return ERR_FAILED;
    const UINT nRight = Take(stStack);
    const UINT nLeft = Take(stStack);
    UINT nOffset = 0;
    if (const int nCode = JoinDisjoint(stBson, stInfo, nLeft, nRight, nOffset)) return nCode;
    return PushEntry(stStack, static_cast<long long>(nOffset));
}

} // namespace

int CreateBaseRel(CBaseBson& stBson, BYTE bObjectNo, BYTE bObjectType, UINT& nOffset) {
    st_NODE_QUERYTREE* lpNode = nullptr;
    if (const int nCode = stBson.AllocFromBsonBuffer(lpNode, nOffset)) return nCode;
    relbitmap nRelis = 0;
    AddRel(bObjectNo, nRelis);
    lpNode->m_bType = QUERYTREE_RELATION;
    lpNode->m_bRelis = nRelis;
    lpNode->m_stBaseRel.m_bObjectNo = bObjectNo;
    lpNode->m_stBaseRel.m_bObjectType = bObjectType;
    return ERR_OK;
}

int CreateJoinRel(CBaseBson& stBson, const st_JOININFO& stInfo, UINT nLeft, UINT nRight, UINT& nOffset) {
    const st_NODE_QUERYTREE* const lpLeft = TreeNode(stBson, nLeft);
    const st_NODE_QUERYTREE* const lpRight = TreeNode(stBson, nRight);
    if (!lpLeft || !lpRight) return ERR_FAILED;
    st_NODE_QUERYTREE* lpNode = nullptr;
    if (const int nCode = stBson.AllocFromBsonBuffer(lpNode, nOffset)) return nCode;
    const bool bRight = stInfo.m_bJoinType == JOIN_RIGHT;
    lpNode->m_bType = QUERYTREE_JOIN;
    lpNode->m_bStraight = stInfo.m_bStraight;
    lpNode->m_bRelis = lpLeft->m_bRelis | lpRight->m_bRelis;
    lpNode->m_stJoinRs.m_bJoinType = bRight ? static_cast<BYTE>(JOIN_LEFT) : stInfo.m_bJoinType;
    lpNode->m_stJoinRs.m_nJoinConditionOffset = stInfo.m_nJoinCondition;
    lpNode->m_stJoinRs.m_nLChildNodeOffset = bRight ? nRight : nLeft;
    lpNode->m_stJoinRs.m_nRChildNodeOffset = bRight ? nLeft : nRight;
    return ERR_OK;
}

int PushBaseRel2Queue(CBaseBson& stBson, UINT nOffset, CKestroQueue& stQueue) {
    st_JOINQUEUENODE stNode = {};
    stNode.m_nRelOffset = nOffset;
    return PushNode2Queue(stBson, stNode, stQueue);
}

int PopJoinInfo2Queue(CBaseBson& stBson, CKestroStack& stStack, CKestroQueue& stQueue) {
    while (!stStack.empty()) {
        st_JOINQUEUENODE stNode = {};
        stNode.m_bJoinInfo = 1;
        stNode.m_lpJoinInfo = static_cast<st_JOININFO*>(stStack.top());
        if (stNode.m_lpJoinInfo->m_bJoinType == JOIN_BRACKET_OPEN) return ERR_OK;
        if (const int nCode = PushNode2Queue(stBson, stNode, stQueue)) return nCode;
        stStack.pop();
    }
    return ERR_OK;
}

int PushJoinInfo2Stack(CBaseBson& stBson, st_JOININFO* lpInfo, CKestroStack& stStack, CKestroQueue& stQueue) {
    if (lpInfo->m_bJoinType == JOIN_BRACKET_OPEN) return PushEntry(stStack, static_cast<void*>(lpInfo));
    if (const int nCode = PopJoinInfo2Queue(stBson, stStack, stQueue)) return nCode;
    if (lpInfo->m_bJoinType != JOIN_BRACKET_CLOSE) return PushEntry(stStack, static_cast<void*>(lpInfo));
    stStack.pop();
    return ERR_OK;
}

int CreateJoinTree(CBaseBson& stBson, CKestroQueue& stQueue, UINT& nRoot) {
    CKestroStackInt64 stStack;
    nRoot = 0;
    for (; !stQueue.empty(); stQueue.pop()) {
        const st_JOINQUEUENODE stNode = LoadNode(stQueue.front());
        const int nCode = stNode.m_bJoinInfo ? JoinTwo(stBson, *stNode.m_lpJoinInfo, stStack)
                                             : PushEntry(stStack, static_cast<long long>(stNode.m_nRelOffset));
        if (nCode != ERR_OK) return nCode;
    }
    // Taken from the back, so that the tree in front becomes the left side.
    while (!stStack.empty()) {
        const UINT nOffset = Take(stStack);
        const st_NODE_QUERYTREE* const lpNode = TreeNode(stBson, nOffset);
        if (!lpNode) return ERR_FAILED;
        if (lpNode->m_bType != QUERYTREE_JOIN) continue;
        const UINT nBehind = nRoot;
        nRoot = nOffset;
        if (nBehind == 0) continue;
        if (const int nCode = JoinDisjoint(stBson, {JOIN_INNER, 0, 0}, nOffset, nBehind, nRoot)) return nCode;
    }
    return ERR_OK;
}

int AddBaseRel2JoinTree(CBaseBson& stBson, UINT nObjectOffset, UINT& nRoot) {
    const OBJECTBSON* lpObject = nullptr;
    for (UINT nNext = nObjectOffset; nNext != 0; nNext = lpObject->m_nNextOffset) {
        lpObject = reinterpret_cast<const OBJECTBSON*>(stBson.ConvertOffset2Addr(nNext));
        const st_NODE_QUERYTREE* const lpRoot = TreeNode(stBson, nRoot);
        if (!lpObject || !lpRoot) return ERR_FAILED;
        relbitmap nRel = 0;
        AddRel(lpObject->m_bObjectNo, nRel);
        if (BmsOverlap(nRel, lpRoot->m_bRelis)) continue;
        UINT nBase = 0;
        const int nCode = CreateBaseRel(stBson, lpObject->m_bObjectNo, lpObject->m_bObjectType, nBase);
        if (nCode != ERR_OK) return nCode;
        const UINT nLeft = nRoot;
        if (const int nJoin = CreateJoinRel(stBson, {JOIN_INNER, 0, 0}, nLeft, nBase, nRoot)) return nJoin;
    }
    return ERR_OK;
}
