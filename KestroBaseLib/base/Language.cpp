#include "Language.h"

int g_nLanguage_Chinese = 0;
