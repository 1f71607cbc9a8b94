// The real clock, sleep, shell and uuid behind g_stPlatform.

#include "Platform.h"

#include <uuid/uuid.h>

#include <cerrno>
#include <cstdlib>
#include <ctime>

namespace {

std::int64_t RealMicroseconds() {
    timeval stNow{};
    gettimeofday(&stNow, nullptr);
    return static_cast<std::int64_t>(stNow.tv_sec) * 1'000'000 + stNow.tv_usec;
}

// A signal doesn't shorten the wait.
void RealSleep(std::int64_t nMicroseconds) {
    timespec stLeft{nMicroseconds / 1'000'000, (nMicroseconds % 1'000'000) * 1000};
    while (nanosleep(&stLeft, &stLeft) != 0 && errno == EINTR) {
    }
}

int RealSystem(const char* lpszCommand) {
    return system(lpszCommand);
}

void RealUuid(unsigned char* lpUuid) {
    uuid_generate(lpUuid);
}

} // namespace

PLATFORM g_stPlatform{RealMicroseconds, RealSleep, RealSystem, RealUuid, "/proc"};
