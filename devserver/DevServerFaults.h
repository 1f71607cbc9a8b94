#pragma once

#include <climits>
#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "FrameRecords.h"
#include "Language.h"

/** What happens to the link behind a reply. */
enum REPLYTHEN : BYTE {
    THEN_STAY,
    THEN_CLOSE,
    THEN_RESET,
};

/** A reply that is about to be sent. */
struct DEVREPLY {
    TCPFRAMEHEAD m_stHead{};
    std::string m_strBody;
    /** Frames in front of it. */
    std::string m_strBefore;
    /** Bytes of head and body that are set otherwise, by their offset. */
    std::vector<std::pair<std::size_t, BYTE>> m_arByte;
    int m_nDelay = 0; // milliseconds
    /** Bytes of it that are sent, and what follows them. */
    std::size_t m_nSend = SIZE_MAX;
    REPLYTHEN m_nThen = THEN_STAY;
    /** The head's `m_nBodyLen` when it isn't the body's. */
    std::int64_t m_nBodyLen = -1;

    /** Makes it a refusal. */
    void Fail(int nCode);
    /** Head and body as they are sent, all of them. */
    std::string Bytes() const;
};

/** Where a misbehaviour has its place. */
enum FAULTPLACE : BYTE {
    FAULT_REPLY,   // in the reply
    FAULT_INSTEAD, // in the place of the request, which isn't carried out
    FAULT_WITHIN,  // half way through what the request begins
};

/** A way to misbehave. */
struct FAULTKIND {
    std::string_view m_szName;
    const char* m_lpszValue; // what stands behind "=": "N", or "N:N"
    std::int64_t m_nLeast, m_nMost;
    FAULTPLACE m_nPlace;
    void (*m_lpfnApply)(DEVREPLY& stReply, std::int64_t nValue, std::int64_t nSecond); // null: nothing in the reply
    MESSAGE m_stHelp;
};

/** One misbehaviour of a rule. */
struct FAULTSTEP {
    const FAULTKIND* m_lpKind;
    std::int64_t m_nValue, m_nSecond;
};

/** The misbehaviours that one request meets, in their order. */
struct FAULT {
    std::vector<FAULTSTEP> m_arStep;

    /** Whether the request isn't carried out. */
    bool IsInstead() const;
    /** The code with which its work fails half way; 0: it doesn't. */
    int CodeWithin() const;
    void Apply(DEVREPLY& stReply) const;
};

/**
 * The script: one rule a line, "COMMAND [FROM][-[TO]] KIND=VALUE...", where the numbers count the requests of that
 * command from 1, over all links; "#" begins a comment. `Next` may be called by any thread, the rest before that.
 */
class CFaultScript {
public:
    /** Adds a rule. False: `strWhy` is what can't be read of it. An empty line and a comment are none. */
    [[nodiscard]] bool Add(std::string_view szLine, std::string& strWhy);
    /** What a request of a command meets. */
    FAULT Next(BYTE bCommand);
    /** The kinds as lines of help. */
    static std::string Help();

private:
    struct RULE {
        BYTE m_bCommand = 0; // 0: any
        std::uint64_t m_nFrom = 1, m_nTo = UINT64_MAX, m_nSeen = 0;
        FAULT m_stFault;
    };
    std::mutex m_csRule;
    std::vector<RULE> m_arRule;
};
