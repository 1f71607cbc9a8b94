// The setup program on a clock of its own: a wait of a second or more takes a thousandth of its time, shorter ones,
// which wait for other threads, all of it. The server's progress is the segment with the id in KESTRO_SEGMENT, if that
// is set: the key is fixed, and a test's server has a segment without one.

#include <cstdlib>

#include "Platform.h"
#include "ProgressRecords.h"
#include "SetupDriver.h"

int main(int argc, char* argv[]) {
    static const auto lpfnSleep = g_stPlatform.m_lpfnSleep;
    g_stPlatform.m_lpfnSleep = [](std::int64_t nTime) { lpfnSleep(nTime >= 1'000'000 ? nTime / 1000 : nTime); };
    if (const char* const lpszSegment = std::getenv("KESTRO_SEGMENT")) {
        static const int nSegment = std::atoi(lpszSegment);
        static const auto lpfnShmGet = g_stPlatform.m_lpfnShmGet;
        g_stPlatform.m_lpfnShmGet = [](key_t nKey, std::size_t nSize, int nFlags) {
            return nKey == PROGRESS_SEGMENT_KEY ? nSegment : lpfnShmGet(nKey, nSize, nFlags);
        };
    }
    return RunSetup(argc, argv);
}
