// The dialogue of a slave or standby node. The two ask the same questions; what they say otherwise stands in a record
// each.

#include "LocalAddress.h"
#include "SetupAddress.h"
#include "SetupDialogue.h"
#include "SetupMessages.h"

namespace {

struct JOINDIALOGUE {
    DIALOGUESTEP m_stLocal;
    DIALOGUESTEP m_stMaster;
    void (*m_lpfnSaySummary)(std::uint32_t nLocalIP, std::uint32_t nMasterIP);
};

// The refusals show the address as it was parsed, so a text that is none shows as 255.255.255.255.
template <const MESSAGE& stBad>
bool CheckLocalIP(SETUPPARAM& stParam) {
    stParam.m_nLocalIP = ParseAddress(stParam.m_szLocalIP);
    if (!IsNodeAddress(stParam.m_nLocalIP)) {
        SayAddress<stBad>(stParam.m_nLocalIP);
        return false;
    }
    if (CheckLocalIPValid(stParam.m_nLocalIP) == 0) {
        Say<MSG_LOCAL_IP_ABSENT>();
        return false;
    }
    return true;
}

template <const MESSAGE& stBad>
bool CheckMasterIP(SETUPPARAM& stParam) {
    stParam.m_nMasterIP = ParseAddress(stParam.m_szMasterIP);
    if (HasFourNumbers(stParam.m_szMasterIP) && IsNodeAddress(stParam.m_nMasterIP)) return true;
    SayAddress<stBad>(stParam.m_nMasterIP);
    return false;
}

constexpr JOINDIALOGUE g_stSlaveDialogue = {
    {&MSG_LOCAL_IP, &MSG_JOIN_LOCAL_IP_PROMPT, &SETUPPARAM::m_szLocalIP, CheckLocalIP<MSG_LOCAL_IP_BAD_SLAVE>},
    {&MSG_MASTER_IP, &MSG_MASTER_IP_PROMPT, &SETUPPARAM::m_szMasterIP, CheckMasterIP<MSG_MASTER_IP_FORMAT>},
    SayAddresses<MSG_JOIN_SUMMARY_SLAVE>,
};

constexpr JOINDIALOGUE g_stStandbyDialogue = {
    {&MSG_LOCAL_IP, &MSG_JOIN_LOCAL_IP_PROMPT, &SETUPPARAM::m_szLocalIP, CheckLocalIP<MSG_LOCAL_IP_BAD_STANDBY>},
    {&MSG_MASTER_IP, &MSG_MASTER_IP_PROMPT, &SETUPPARAM::m_szMasterIP, CheckMasterIP<MSG_MASTER_IP_BAD_STANDBY>},
    SayAddresses<MSG_JOIN_SUMMARY_STANDBY>,
};

constexpr DIALOGUESTEP g_stUserStep = {&MSG_USER, &MSG_USER_PROMPT, &SETUPPARAM::m_szUser};

// Unlike the master's, this stops at the last byte that is no blank, so "yes please" is no yes. Intended.
void TrimLastBlanks(char* lpszAnswer) {
    for (std::size_t i = std::strlen(lpszAnswer); i-- > 1 && IsAnswerBlank(lpszAnswer[i]);)
        lpszAnswer[i] = 0;
}

} // namespace

DIALOGUEEND AskJoin(CSetupLine& stInput, int nMode, SETUPPARAM& stParam, bool bMasterAgain) {
    const JOINDIALOGUE& stDialogue = nMode == SETUP_SLAVE ? g_stSlaveDialogue : g_stStandbyDialogue;
    if (!bMasterAgain) {
        SayText(*stDialogue.m_stLocal.m_lpText);
        if (!AskStep(stInput, stDialogue.m_stLocal, stParam)) return DIALOGUEEND::Quit;
    }
    SayText(bMasterAgain ? MSG_MASTER_IP_AGAIN : *stDialogue.m_stMaster.m_lpText);
    if (!AskStep(stInput, stDialogue.m_stMaster, stParam)) return DIALOGUEEND::Quit;

    stDialogue.m_lpfnSaySummary(stParam.m_nLocalIP, stParam.m_nMasterIP);
    SayText(MSG_JOIN_VERIFY);
    const DIALOGUEEND nEnd = AskConfirmation(stInput, MSG_JOIN_VERIFY_PROMPT, MSG_JOIN_RESELECT, TrimLastBlanks);
    if (nEnd != DIALOGUEEND::Confirmed) return nEnd;

    SayText(*g_stUserStep.m_lpText);
    if (!AskStep(stInput, g_stUserStep, stParam)) return DIALOGUEEND::Quit;
    SayText(MSG_PASSWORD_PROMPT);
    stInput.ReadPassword(stParam.m_szPassword);
    return DIALOGUEEND::Confirmed;
}
