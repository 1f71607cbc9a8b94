#pragma once

#include "SetupLine.h"
#include "SetupMessage.h"
#include "SetupParam.h"

// The dialogue on the terminal: the menu and one dialogue a node type.

/** How a dialogue ended: with parameters to go on with, with the operator's wish to leave, or back at the menu. */
enum class DIALOGUEEND {
    Confirmed,
    Quit,
    Menu
};

/** One question. A bad answer is told by the check, and the prompt comes again without the text line. */
struct DIALOGUESTEP {
    /** Tells what to enter, and that \q leaves the program; printed once. */
    const MESSAGE* m_lpText;
    const MESSAGE* m_lpPrompt;
    SETUPTEXT SETUPPARAM::*m_lpField;
    /** Says what is wrong with the field before it answers false; parses an address on the way. Null: all is well. */
    bool (*m_lpfnCheck)(SETUPPARAM&) = nullptr;
};

/** The menu: the node type chosen, or 0 to leave. */
[[nodiscard]] int AskMode(CSetupLine& stInput);

/** The master dialogue. With `bPromptOnly` it begins at its first prompt, without the text line in front. */
[[nodiscard]] DIALOGUEEND AskMaster(CSetupLine& stInput, SETUPPARAM& stParam, bool bPromptOnly);

/**
 * The dialogue of a slave or standby node, up to user and password. With `bMasterAgain`, after a master that took no
 * login, it begins at the master's address with a text line of its own.
 */
[[nodiscard]] DIALOGUEEND AskJoin(CSetupLine& stInput, int nMode, SETUPPARAM& stParam, bool bMasterAgain);

/** Asks one question until its answer passes. False: the operator leaves. */
[[nodiscard]] bool AskStep(CSetupLine& stInput, const DIALOGUESTEP& stStep, SETUPPARAM& stParam);

/** Asks for yes, no or re until it gets one. `lpfnTrim` removes white space from the answer first. */
[[nodiscard]] DIALOGUEEND AskConfirmation(CSetupLine& stInput, const MESSAGE& stPrompt, const MESSAGE& stReselect,
                                          void (*lpfnTrim)(char*));

/** Tab, blank, carriage return or line feed: what a confirmation may end with. */
[[nodiscard]] constexpr bool IsAnswerBlank(char c) {
    return c == '\t' || c == ' ' || c == '\r' || c == '\n';
}
