#pragma once

#include <gtest/gtest.h>

#include "ChunkCache.h"

/** Makes the `nNth` chunk that this thread requests fail, 0 for none. At its end as many bytes live as before. */
class CChunkFault {
public:
    explicit CChunkFault(std::int64_t nNth = 0) : m_nNth(nNth) { KestroChunkFailNth(nNth); }
    ~CChunkFault() {
        KestroChunkFailNth(0);
        EXPECT_EQ(m_nLiveBytes, KestroChunkCount().m_nLiveBytes);
    }

    /** Whether the request has failed; the fault is over with that. */
    bool CameTrue() const { return KestroChunkFailNth(0) == 0 && m_nNth != 0; }

private:
    std::int64_t m_nNth;
    std::int64_t m_nLiveBytes = KestroChunkCount().m_nLiveBytes;
};
