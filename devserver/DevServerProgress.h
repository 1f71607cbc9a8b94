#pragma once

#include "ProgressRecords.h"

/**
 * The segment of shared memory with the progress block: made at the start, removed at the end. One thread writes at a
 * time.
 */
class CProgressSegment {
public:
    CProgressSegment() = default;
    CProgressSegment(const CProgressSegment&) = delete;
    CProgressSegment& operator=(const CProgressSegment&) = delete;
    ~CProgressSegment();

    /**
     * Makes the segment of a key, 0 for one that only its id finds. What a server that was killed left under the key is
     * replaced. 0, or errno: EEXIST if another program uses it.
     */
    [[nodiscard]] int Create(int nKey);
    int Id() const { return m_nId; }

    void Show(const char* lpszText, int nTotal, int nCurrent, int nRunning);
    /** Shows that what runs has failed. */
    void ShowFailure(int nCode);

private:
    int m_nId = -1;
    SETUPPROGRESSINFO* m_lpProgress = nullptr;
};
