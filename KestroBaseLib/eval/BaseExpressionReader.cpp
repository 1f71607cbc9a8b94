// Bounds of the records of an expression. What the records mean stands with those who read them.

#include "BaseExpressionReader.h"

namespace {

constexpr UINT ELEMENT_HEAD = offsetof(MATHEXPELEMENTBSON, m_bDataBuffer);
constexpr UINT LIST_HEAD = offsetof(FUNCTIONPARAMLIST, m_nExpOffset);

/** Bytes that a literal's value takes, whatever its length says. */
UINT ValueSize(BYTE bType) {
    switch (bType) {
        case VT_INT:
            return 4;
        case VT_BIGINT:
        case VT_DOUBLE:
        case VT_DATETIME:
            return 8;
        default:
            return 0;
    }
}

} // namespace

const BYTE* CExpressionReader::Bytes(UINT nOffset, std::uint64_t nSize) const {
    const BYTE* const lpBytes = m_stBson.ConvertOffset2Addr(nOffset);
    const BYTE* const lpBegin = m_stBson.GetBuffer();
    if (!lpBytes || lpBytes < lpBegin) return nullptr;
    const auto nPlace = static_cast<std::uint64_t>(lpBytes - lpBegin);
    return nPlace + nSize <= m_stBson.GetBsonDataSize() ? lpBytes : nullptr;
}

const MATHEXPELEMENTBSON* CExpressionReader::Element(UINT nOffset) const {
    // The record's last byte is data already: a NULL has none.
    const auto* const lpElement = reinterpret_cast<const MATHEXPELEMENTBSON*>(Bytes(nOffset, ELEMENT_HEAD));
    if (!lpElement || lpElement->m_nDataLen < 0) return nullptr;
    const UINT nValue = lpElement->m_bDataSource == SOURCE_FIELD ? 0 : ValueSize(lpElement->m_bDataType);
    const UINT nData = std::max(static_cast<UINT>(lpElement->m_nDataLen), nValue);
    return Bytes(nOffset, std::uint64_t{ELEMENT_HEAD} + nData) ? lpElement : nullptr;
}

const FUNCTIONPARAMLIST* CExpressionReader::ParamList(UINT nOffset) const {
    const auto* const lpList = reinterpret_cast<const FUNCTIONPARAMLIST*>(Bytes(nOffset, LIST_HEAD));
    if (!lpList || !Bytes(nOffset, LIST_HEAD + std::uint64_t{lpList->m_bNum} * sizeof(UINT))) return nullptr;
    for (int i = 0; i < lpList->m_bNum; ++i)
        if (!Param(*lpList, i)) return nullptr;
    return lpList;
}
