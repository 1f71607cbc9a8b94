// Language of messages and stack size of threads, from the configuration or the machine's time zone.

#include "LanguageSetting.h"

#include <algorithm>
#include <cstring>

#include "ConfigHelper.h"
#include "Language.h"
#include "LinuxCommonAPI.h"
#include "LinuxCommonAPIProfile.h"

namespace {

constexpr int LANGUAGE_BY_ZONE = 77;
/** UTC+8. */
constexpr int CHINESE_ZONE_MINUTES = 480;
constexpr int STACK_MIN_MB = 1;
constexpr int STACK_MAX_MB = 10;
constexpr char SYSTEM_SECTION[] = "System";
constexpr char KEY_FILE[] = "KestroConfig.ini";

/** A key of [System] in the file beside the program. */
int ReadFromFile(const char* lpszKey, int nDefault) {
    char szFile[MAX_PATH + sizeof(KEY_FILE)];
    (void)GetModuleFileName(nullptr, szFile, MAX_PATH);
    char* lpSlash = std::strrchr(szFile, '/');
    std::memcpy(lpSlash ? lpSlash + 1 : szFile, KEY_FILE, sizeof(KEY_FILE));
    return GetPrivateProfileInt(SYSTEM_SECTION, lpszKey, nDefault, szFile);
}

/** A key of [System] in the store, which doesn't use the default. */
int ReadFromStore(const char* lpszKey, int nDefault) {
    return KestroConfigGetValueInt(SYSTEM_SECTION, lpszKey, nDefault);
}

} // namespace

void InitLanguageSetting(int nFromStore) {
    const auto lpfnRead = nFromStore ? ReadFromStore : ReadFromFile;
    const int nLanguage = lpfnRead("Language", LANGUAGE_BY_ZONE);
    const int nStack = lpfnRead("threadstacksize", STACK_MIN_MB);
    g_nThreadStackSize = std::clamp(nStack, STACK_MIN_MB, STACK_MAX_MB) << 20;
    if (nLanguage == LANGUAGE_BY_ZONE)
        g_nLanguage_Chinese = ZoneSeconds() / 60 == CHINESE_ZONE_MINUTES ? 1 : 0;
    else
        g_nLanguage_Chinese = nLanguage;
}
