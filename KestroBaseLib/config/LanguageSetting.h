#pragma once

/**
 * Sets `g_nLanguage_Chinese` and `g_nThreadStackSize` from the keys "Language" (77: by the machine's time zone, Chinese
 * in UTC+8; other values as they stand) and "threadstacksize" (megabytes, brought into 1 to 10) of section [System]:
 * with 0 of KestroConfig.ini beside the program, where the defaults are 77 and 1; otherwise of the file that the store
 * of ConfigHelper.h holds, where a missing key counts as 0. Called once, before a thread starts.
 */
void InitLanguageSetting(int nFromStore);
