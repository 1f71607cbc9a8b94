#pragma once

// Checked reading of the records of an expression, and the limits that bound every walk over one. For the sources of
// `CBaseExpression` only.

#include "BaseExpression.h"

/** Reads records from the bytes in use of a plan's main buffer. What isn't there is null. */
class CExpressionReader {
public:
    explicit CExpressionReader(CBaseBson& stBson)
        : m_stBson(stBson), m_nNodesLeft(stBson.GetBsonDataSize() / sizeof(st_MATHEXPBSON) + 1) {}

    CBaseBson& Bson() const { return m_stBson; }

    /**
     * Whether one more node may be read at a depth that counts from 0. Nodes of a tree lie apart, so there can't be
     * more of them than fit into the buffer: a tree that meets itself ends here, before it has been walked twice.
     */
    bool Enter(int nDepth) { return nDepth < CBaseExpression::DEPTH_LIMIT && m_nNodesLeft-- > 0; }

    const st_MATHEXPBSON* Node(UINT nOffset) const {
        return reinterpret_cast<const st_MATHEXPBSON*>(Bytes(nOffset, sizeof(st_MATHEXPBSON)));
    }
    /** A leaf with all its data. */
    const MATHEXPELEMENTBSON* Element(UINT nOffset) const;
    /** A list with its tail, all of whose arguments are there; null for the offset 0 too. */
    const FUNCTIONPARAMLIST* ParamList(UINT nOffset) const;
    /** An argument of such a list. */
    const FUNCTIONPARAM* Param(const FUNCTIONPARAMLIST& stList, int nIndex) const {
        return reinterpret_cast<const FUNCTIONPARAM*>(Bytes(stList.m_nExpOffset[nIndex], sizeof(FUNCTIONPARAM)));
    }

private:
    const BYTE* Bytes(UINT nOffset, std::uint64_t nSize) const;

    CBaseBson& m_stBson;
    std::int64_t m_nNodesLeft;
};
