// Language of messages and stack size of threads, from the configuration or the machine's time zone.

#include "LanguageSetting.h"

#include <algorithm>
#include <cstring>
#include <ctime>

#include "Language.h"
#include "LinuxCommonAPI.h"
#include "LinuxCommonAPIProfile.h"

namespace {

constexpr int LANGUAGE_BY_ZONE = 77;
constexpr int CHINESE_ZONE_MINUTES = 480;
constexpr int STACK_MIN_MB = 1;
constexpr int STACK_MAX_MB = 10;
constexpr char KEY_FILE[] = "KestroConfig.ini";

/** A key of [System] in the file beside the program. */
int ReadSystemKey(const char* lpszKey, int nDefault) {
    char szFile[MAX_PATH + sizeof(KEY_FILE)];
    (void)GetModuleFileName(nullptr, szFile, MAX_PATH);
    char* lpSlash = std::strrchr(szFile, '/');
    std::memcpy(lpSlash ? lpSlash + 1 : szFile, KEY_FILE, sizeof(KEY_FILE));
    return GetPrivateProfileInt("System", lpszKey, nDefault, szFile);
}

/** Minutes by which the machine's clock is ahead of UTC, on a day without summer time north of the equator. */
long long ZoneMinutes() {
    std::tm stMidnight{};
    stMidnight.tm_year = 2017 - 1900;
    stMidnight.tm_mday = 1;
    const std::time_t nLocal = std::mktime(&stMidnight);
    std::tm stUtc{};
    gmtime_r(&nLocal, &stUtc);
    return (nLocal - std::mktime(&stUtc)) / 60;
}

} // namespace

void InitLanguageSetting(int) {
    const int nLanguage = ReadSystemKey("Language", LANGUAGE_BY_ZONE);
    const int nStack = ReadSystemKey("threadstacksize", STACK_MIN_MB);
    g_nThreadStackSize = std::clamp(nStack, STACK_MIN_MB, STACK_MAX_MB) << 20;
    if (nLanguage == LANGUAGE_BY_ZONE)
        g_nLanguage_Chinese = ZoneMinutes() == CHINESE_ZONE_MINUTES ? 1 : 0;
    else
        g_nLanguage_Chinese = nLanguage;
}
