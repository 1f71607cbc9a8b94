// The server's own progress, from the shared memory of its machine. The server writes the block meanwhile, and anybody
// may have made the segment: what is read is copied first, and is text and numbers to show, no more.

#include "SetupProgress.h"

#include <cstring>

#include "SetupBringUpMessages.h"

void KeepForeignText(PROGRESSTEXT& szText, const char* lpszFrom) {
    const std::size_t nLen = strnlen(lpszFrom, sizeof szText - 1);
    std::memset(szText, 0, sizeof szText);
    std::memcpy(szText, lpszFrom, nLen);
    for (std::size_t i = 0; i < nLen; ++i) {
        const auto bByte = static_cast<BYTE>(szText[i]);
        const auto bNext = static_cast<BYTE>(szText[i + 1]);
        // In UTF-8 the control characters from 80 to 9F take two bytes.
        const bool bTwo = bByte == 0xC2 && bNext >= 0x80 && bNext < 0xA0;
        if (bByte < ' ' || bByte == 0x7F || bTwo) szText[i] = ' ';
        if (bTwo) szText[i + 1] = ' ';
    }
}

// The block lies in the first page of any segment, however small the segment was asked for, so it can be read.
CSetupProgress::CSetupProgress() : m_nID(CShareMemory::OpenShareMemory(PROGRESS_SEGMENT_KEY, "")) {
    if (!CShareMemory::GetShareMemorySuccess(m_nID)) return;
    m_lpSegment = CShareMemory::ShMemAttach(m_nID, nullptr, 0);
    if (m_lpSegment) Clear();
}

CSetupProgress::~CSetupProgress() {
    CShareMemory::ShMemDetach(m_lpSegment);
    CShareMemory::CloseShareMemory(m_nID);
}

SETUPPROGRESSINFO* CSetupProgress::Block() const {
    return reinterpret_cast<SETUPPROGRESSINFO*>(static_cast<char*>(m_lpSegment) + PROGRESS_SEGMENT_OFFSET);
}

SETUPPROGRESSINFO CSetupProgress::Read() const {
    SETUPPROGRESSINFO stProgress;
    std::memcpy(&stProgress, Block(), sizeof stProgress);
    stProgress.m_szStepText[sizeof(PROGRESSTEXT) - 1] = 0;
    PROGRESSTEXT szText;
    KeepForeignText(szText, stProgress.m_szStepText);
    std::memcpy(stProgress.m_szStepText, szText, sizeof szText);
    return stProgress;
}

void CSetupProgress::Clear() {
    std::memset(Block()->m_szStepText, 0, sizeof(PROGRESSTEXT));
}

void CSetupProgress::Show(const SETUPPROGRESSINFO& stProgress) {
    const char* const lpszText = stProgress.m_szStepText;
    const int nCurrent = stProgress.m_nCurrent;
    const int nTotal = stProgress.m_nTotal;
    if (std::strcmp(lpszText, m_szShown) != 0) {
        std::memcpy(m_szShown, lpszText, sizeof m_szShown);
        if (*lpszText) Say<MSG_PROGRESS_STEP>(lpszText, nCurrent, nTotal);
    } else if (*lpszText) {
        Say<MSG_PROGRESS_ON>(lpszText, nCurrent, nTotal);
    }
    std::fflush(stdout);
}

void CSetupProgress::ShowEnd(const SETUPPROGRESSINFO& stProgress, int nCurrent) {
    const char* const lpszText = stProgress.m_szStepText;
    const int nTotal = stProgress.m_nTotal;
    if (*lpszText) Say<MSG_PROGRESS_END>(lpszText, nCurrent, nTotal);
}
