#pragma once

#include "ProgressRecords.h"
#include "ShareMemory.h"

/** A step's text with its terminator. */
using PROGRESSTEXT = char[sizeof SETUPPROGRESSINFO::m_szStepText];

/**
 * Copies a text that another program wrote: at most 127 bytes of the 128 or more that `lpszFrom` has or up to its end,
 * with blanks in place of control characters, which would move the terminal's cursor or worse.
 */
void KeepForeignText(PROGRESSTEXT& szText, const char* lpszFrom);

/** The progress block of the server on this machine, while it is attached. */
class CSetupProgress {
public:
    /** Attaches the segment, and clears the step's text. Without a segment there is no progress. */
    CSetupProgress();
    CSetupProgress(const CSetupProgress&) = delete;
    CSetupProgress& operator=(const CSetupProgress&) = delete;
    ~CSetupProgress();

    [[nodiscard]] bool IsOpen() const { return m_lpSegment != nullptr; }

    /** The block as it stands, its text cleaned and ended. Only while open. */
    [[nodiscard]] SETUPPROGRESSINFO Read() const;

    /** Clears the step's text once more, so that what ran before doesn't show. Only while open. */
    void Clear();

    /**
     * Shows how far the server has come: a new step on a new line, an old one on the line it has. A text that is empty
     * is no step, and isn't shown.
     */
    void Show(const SETUPPROGRESSINFO& stProgress);

    /** Shows the step, at the number of units given, and ends its line. */
    static void ShowEnd(const SETUPPROGRESSINFO& stProgress, int nCurrent);

private:
    SETUPPROGRESSINFO* Block() const;

    MFID m_nID;
    void* m_lpSegment = nullptr;
    /** The text last shown. */
    PROGRESSTEXT m_szShown{};
};
