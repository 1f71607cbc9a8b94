#pragma once

/**
 * Sets `g_nLanguage_Chinese` and `g_nThreadStackSize` from the keys "Language" (77: by the machine's time zone, Chinese
 * in UTC+8; other values as they stand) and "threadstacksize" (megabytes, brought into 1 to 10) of section [System] of
 * KestroConfig.ini beside the program, whatever the argument. Called once, before a thread starts.
 */
void InitLanguageSetting(int nFromStore);
