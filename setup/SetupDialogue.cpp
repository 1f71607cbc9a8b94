// The menu, the steps and confirmations that all dialogues share, and the master dialogue. Answers are compared without
// regard to case; of an answer that becomes a parameter the first 31 bytes are kept, and those are checked.

#include "SetupDialogue.h"

#include <strings.h>

#include <initializer_list>

#include "LocalAddress.h"
#include "SetupAddress.h"
#include "SetupMessages.h"
#include "SetupPaths.h"

namespace {

bool CheckLocalIP(SETUPPARAM& stParam) {
    // The answer "0" parses as the address 0: no cluster, and nothing to look up.
    stParam.m_nLocalIP = ParseAddress(stParam.m_szLocalIP);
    if (stParam.m_nLocalIP == ADDRESS_NONE || stParam.m_nLocalIP == ADDRESS_LOOPBACK) {
        Say<MSG_LOCAL_IP_BAD>(stParam.m_szLocalIP);
        return false;
    }
    if (stParam.m_nLocalIP != 0 && CheckLocalIPValid(stParam.m_nLocalIP) == 0) {
        Say<MSG_LOCAL_IP_ABSENT>();
        return false;
    }
    return true;
}

// Here "0" alone turns the virtual address off; on the command line it is an error. Intended.
bool CheckVirtualIP(SETUPPARAM& stParam) {
    if (std::strcmp(stParam.m_szVirtualIP, "0") == 0) return true;
    const std::uint32_t nIP = ParseAddress(stParam.m_szVirtualIP);
    if (!HasFourNumbers(stParam.m_szVirtualIP) || !IsNodeAddress(nIP)) {
        Say<MSG_VIP_BAD>(stParam.m_szVirtualIP);
        return false;
    }
    if (nIP == stParam.m_nLocalIP) {
        Say<MSG_VIP_NATIVE>(stParam.m_szVirtualIP);
        return false;
    }
    return true;
}

bool CheckSystemFile(SETUPPARAM& stParam) {
    if (SystemFileInRange(stParam)) return true;
    Say<MSG_SYSTEM_FILE_BAD>();
    return false;
}

bool CheckLogs(SETUPPARAM& stParam) {
    if (LogsInRange(stParam)) return true;
    Say<MSG_LOGS_BAD>();
    return false;
}

constexpr DIALOGUESTEP g_stMasterSteps[] = {
    {&MSG_LOCAL_IP, &MSG_LOCAL_IP_PROMPT, &SETUPPARAM::m_szLocalIP, CheckLocalIP},
    {&MSG_VIP, &MSG_VIP_PROMPT, &SETUPPARAM::m_szVirtualIP, CheckVirtualIP},
    {&MSG_SYSTEM_FILE, &MSG_SYSTEM_FILE_PROMPT, &SETUPPARAM::m_szSystemFile, CheckSystemFile},
    {&MSG_DATA_FILE, &MSG_DATA_FILE_PROMPT, &SETUPPARAM::m_szDataFile},
    {&MSG_TREE_FILE, &MSG_TREE_FILE_PROMPT, &SETUPPARAM::m_szTreeFile},
    {&MSG_KV_FILE, &MSG_KV_FILE_PROMPT, &SETUPPARAM::m_szKVFile},
    {&MSG_TABLE_FILE, &MSG_TABLE_FILE_PROMPT, &SETUPPARAM::m_szTableFile},
    {&MSG_INDEX_FILE, &MSG_INDEX_FILE_PROMPT, &SETUPPARAM::m_szIndexFile},
    {&MSG_CACHE, &MSG_CACHE_PROMPT, &SETUPPARAM::m_szCacheSize},
    {&MSG_LOGS, &MSG_LOGS_PROMPT, &SETUPPARAM::m_szLogs, CheckLogs},
};

struct ANSWERROW {
    const char* m_lpszAnswer;
    DIALOGUEEND m_nEnd;
};

constexpr ANSWERROW g_stConfirmations[] = {
    {"yes", DIALOGUEEND::Confirmed}, {"y", DIALOGUEEND::Confirmed}, {"no", DIALOGUEEND::Quit},
    {"n", DIALOGUEEND::Quit},        {"re", DIALOGUEEND::Menu},
};

char* Ask(CSetupLine& stInput, const MESSAGE& stPrompt) {
    SayText(stPrompt);
    return stInput.Read();
}

// Every blank but a first byte ends the answer, not only those at its end, so "yes please" is a yes. Intended.
void TrimAnyBlank(char* lpszAnswer) {
    for (std::size_t i = std::strlen(lpszAnswer); i-- > 1;)
        if (IsAnswerBlank(lpszAnswer[i])) lpszAnswer[i] = 0;
}

void SaySummary(const SETUPPARAM& stParam) {
    Say<MSG_SUMMARY>(stParam.m_szInstanceName, stParam.m_szLocalIP, stParam.m_szVirtualIP, stParam.m_szSystemFile,
                     stParam.m_szDataFile, stParam.m_szTreeFile, stParam.m_szKVFile, stParam.m_szTableFile,
                     stParam.m_szIndexFile, stParam.m_szCacheSize, stParam.m_szLogs, g_lpDatabasePath);
}

} // namespace

int AskMode(CSetupLine& stInput) {
    SayText(MSG_MENU);
    for (;;) {
        const char* lpszAnswer = Ask(stInput, MSG_MENU_PROMPT);
        if (std::strcmp(lpszAnswer, "0") == 0) return 0;
        for (const int nMode : {SETUP_MASTER, SETUP_SLAVE, SETUP_STANDBY}) {
            if (lpszAnswer[0] != '0' + nMode || lpszAnswer[1] != 0) continue;
            Say<MSG_MENU_SELECTED>(nMode);
            return nMode;
        }
        SayText(MSG_RESELECT);
    }
}

bool AskStep(CSetupLine& stInput, const DIALOGUESTEP& stStep, SETUPPARAM& stParam) {
    for (;;) {
        const char* lpszAnswer = Ask(stInput, *stStep.m_lpPrompt);
        if (strncasecmp(lpszAnswer, "\\q", 2) == 0) return false;
        KeepText(stParam.*stStep.m_lpField, lpszAnswer);
        if (!stStep.m_lpfnCheck || stStep.m_lpfnCheck(stParam)) return true;
    }
}

DIALOGUEEND AskConfirmation(CSetupLine& stInput, const MESSAGE& stPrompt, const MESSAGE& stReselect,
                            void (*lpfnTrim)(char*)) {
    for (;;) {
        char* lpszAnswer = Ask(stInput, stPrompt);
        lpfnTrim(lpszAnswer);
        for (const ANSWERROW& stRow : g_stConfirmations)
            if (strcasecmp(stRow.m_lpszAnswer, lpszAnswer) == 0) return stRow.m_nEnd;
        SayText(stReselect);
    }
}

DIALOGUEEND AskMaster(CSetupLine& stInput, SETUPPARAM& stParam, bool bPromptOnly) {
    for (const DIALOGUESTEP& stStep : g_stMasterSteps) {
        if (!bPromptOnly) SayText(*stStep.m_lpText);
        bPromptOnly = false;
        if (!AskStep(stInput, stStep, stParam)) return DIALOGUEEND::Quit;
    }
    SaySummary(stParam);
    SayText(MSG_VERIFY);
    return AskConfirmation(stInput, MSG_VERIFY_PROMPT, MSG_RESELECT, TrimAnyBlank);
}
