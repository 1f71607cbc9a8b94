// The setup program on a clock of its own: a wait of a second or more takes a thousandth of its time, shorter ones,
// which wait for other threads, all of it.

#include "Platform.h"
#include "SetupDriver.h"

int main(int argc, char* argv[]) {
    static const auto lpfnSleep = g_stPlatform.m_lpfnSleep;
    g_stPlatform.m_lpfnSleep = [](std::int64_t nTime) { lpfnSleep(nTime >= 1'000'000 ? nTime / 1000 : nTime); };
    return RunSetup(argc, argv);
}
