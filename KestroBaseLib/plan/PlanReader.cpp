// Checks a plan's head and sections, and finds texts and records in it. It knows nothing of what the records mean.

#include "PlanReader.h"

#include <climits>
#include <cstring>
#include <new>

namespace {

/** Heads of a section in front of its data; 0 for a type that there isn't. */
UINT HeadSize(BYTE bType) {
    if (bType == SECTION_DATA) return sizeof(BUFFERSECTIONHEAD);
    return bType == SECTION_RECORD || bType == SECTION_STEP ? sizeof(BUFFERSECTIONHEAD) + sizeof(RECORDSECTIONHEAD) : 0;
}

} // namespace

int CPlanReader::Open(const void* lpBytes, std::size_t nLen) {
    *this = CPlanReader();
    const std::span<const BYTE> arByte(static_cast<const BYTE*>(lpBytes), nLen);
    if (const int nCode = CheckHead(arByte)) return nCode;
    if (const int nCode = CheckSections(arByte)) return nCode;
    return CheckLinks();
}

int CPlanReader::CheckHead(std::span<const BYTE> arByte) {
    if (arByte.size() < sizeof(EXECUTEPLANBSON)) return Refuse("shorter than a plan's head");
    if (arByte.size() > UINT_MAX) return Refuse("longer than any plan");
    m_arMain = arByte;
    const EXECUTEPLANBSON& stHead = Head();
    if (stHead.m_bVersion != PLAN_VERSION) return Refuse("another version of plans");
    if (stHead.m_nTotalDataSize != arByte.size()) return Refuse("m_nTotalDataSize isn't the length");
    if (stHead.m_nClientBsonDataSize < sizeof(EXECUTEPLANBSON) || stHead.m_nClientBsonDataSize > arByte.size())
        return Refuse("m_nClientBsonDataSize is out of bounds");
    m_arMain = arByte.first(stHead.m_nClientBsonDataSize);
    // A write-back has no text.
    if (stHead.m_nSqlOffset != 0 && (stHead.m_nSqlOffset != PLAN_TEXT_OFFSET || !Statement().data()))
        return Refuse("the statement's text isn't where it belongs, or has no end");
    return ERR_OK;
}

int CPlanReader::CheckSections(std::span<const BYTE> arByte) {
    const EXECUTEPLANBSON& stHead = Head();
    const UINT nNum = stHead.m_nClientSectionNum;
    m_arSection = arByte.subspan(m_arMain.size());
    if (nNum == 0 && !m_arSection.empty()) return Refuse("bytes behind the main buffer, but no sections");
    if (nNum > USHRT_MAX || nNum > m_arSection.size() / sizeof(BUFFERSECTIONHEAD)) return Refuse("too many sections");
    if (nNum != 0 && stHead.m_nSectionStartOffset != m_arMain.size())
        return Refuse("m_nSectionStartOffset isn't behind the main buffer");
    m_arBegin.reset(new (std::nothrow) UINT[nNum + 1]);
    if (!m_arBegin) return ERR_MEMORY;
    UINT nPos = 0;
    for (UINT i = 0; i < nNum; ++i) {
        m_arBegin[i] = nPos;
        if (m_arSection.size() - nPos < sizeof(BUFFERSECTIONHEAD)) return Refuse("a section's head passes the end");
        const auto& stSection = *reinterpret_cast<const BUFFERSECTIONHEAD*>(m_arSection.data() + nPos);
        const UINT nHead = HeadSize(stSection.m_bSectionType);
        if (nHead == 0) return Refuse("a section of no known type");
        if (stSection.m_nSectionDataSize < nHead || stSection.m_nSectionDataSize > m_arSection.size() - nPos)
            return Refuse("m_nSectionDataSize is out of bounds");
        nPos += stSection.m_nSectionDataSize;
        const std::size_t nNext = i + 1 == nNum ? 0 : m_arMain.size() + nPos;
        if (stSection.m_nNextSectionOffset != nNext) return Refuse("m_nNextSectionOffset isn't behind the section");
    }
    if (nPos != m_arSection.size()) return Refuse("bytes behind the last section");
    m_arBegin[nNum] = nPos;
    m_nSectionNum = static_cast<USHORT>(nNum);
    return ERR_OK;
}

// Neighbours of a kind name each other, and numbers only rise, so no walk along them goes in circles.
int CPlanReader::CheckLinks() {
    for (UINT i = 1; i <= m_nSectionNum; ++i) {
        const USHORT nNo = static_cast<USHORT>(i);
        const PLANSECTION stSection = Section(nNo);
        if (const USHORT nNext = stSection.m_nNextSectionNo) {
            const PLANSECTION stNext = Section(nNext);
            if (nNext <= nNo || stNext.m_bType != stSection.m_bType || stNext.m_nPreSectionNo != nNo)
                return Refuse("m_sNextSectionNo names no neighbour");
        }
        if (const USHORT nPre = stSection.m_nPreSectionNo)
            if (nPre >= nNo || Section(nPre).m_nNextSectionNo != nNo)
                return Refuse("m_sPreSectionNo names no neighbour");
    }
    return ERR_OK;
}

std::string_view CPlanReader::Text(UINT nOffset, UINT nLen) const {
    const BYTE* const lpText = Bytes(nOffset, nLen);
    return lpText ? std::string_view(reinterpret_cast<const char*>(lpText), nLen) : std::string_view();
}

std::string_view CPlanReader::Text(UINT nOffset) const {
    const BYTE* const lpText = Bytes(nOffset, 1);
    if (!lpText) return {};
    const void* const lpEnd = std::memchr(lpText, 0, m_arMain.size() - nOffset);
    return lpEnd ? Text(nOffset, static_cast<UINT>(static_cast<const BYTE*>(lpEnd) - lpText)) : std::string_view();
}

PLANSECTION CPlanReader::Section(USHORT nSectionNo) const {
    if (nSectionNo == 0 || nSectionNo > m_nSectionNum) return {};
    const UINT nBegin = m_arBegin[nSectionNo - 1];
    PLANSECTION stSection{m_arSection.subspan(nBegin, m_arBegin[nSectionNo] - nBegin)};
    stSection.m_bType = stSection.m_arByte[0];
    if (stSection.m_bType != SECTION_DATA) {
        const auto& stLink =
            *reinterpret_cast<const RECORDSECTIONHEAD*>(&stSection.m_arByte[sizeof(BUFFERSECTIONHEAD)]);
        stSection.m_nPreSectionNo = stLink.m_sPreSectionNo;
        stSection.m_nNextSectionNo = stLink.m_sNextSectionNo;
    }
    return stSection;
}

const BYTE* CPlanReader::ById(UINT nAddrID, BYTE bType, UINT nSize) const {
    USHORT nSectionNo = 0, nPos = 0;
    GetBufferNoFromAddrID(nAddrID, nSectionNo, nPos);
    const PLANSECTION stSection = Section(nSectionNo);
    const std::size_t nEnd = stSection.m_arByte.size();
    const bool bInside = stSection.m_bType == bType && nPos >= HeadSize(bType) && nPos <= nEnd && nSize <= nEnd - nPos;
    return bInside ? stSection.m_arByte.data() + nPos : nullptr;
}

UINT CPlanReader::NextId(UINT nAddrID, BYTE bType, UINT nSize) const {
    if (!ById(nAddrID, bType, nSize)) return 0;
    USHORT nSectionNo = 0, nPos = 0;
    GetBufferNoFromAddrID(nAddrID, nSectionNo, nPos);
    // A section larger than 64 KB: ids can't name what lies behind.
    const UINT nBehind = UINT{nPos} + nSize;
    if (nBehind <= USHRT_MAX && ById(MakeAddrID(nSectionNo, nBehind), bType, nSize))
        return MakeAddrID(nSectionNo, nBehind);
    const UINT nNext = MakeAddrID(Section(nSectionNo).m_nNextSectionNo, HeadSize(bType));
    return ById(nNext, bType, nSize) ? nNext : 0;
}
