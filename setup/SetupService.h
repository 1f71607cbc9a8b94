#pragma once

#include "SetupMessage.h"

/** Frames of a spinner, shown in a circle. */
constexpr int SPINNER_FRAME_NUM = 4;

/** What is shown while a service starts. Each text begins with a carriage return, to overwrite the one before it. */
struct SERVICEWAIT {
    MESSAGE m_stFrames[SPINNER_FRAME_NUM];
    /** Takes the place of the last frame, and ends the line. */
    MESSAGE m_stClosing;
};

/** The texts in which a flow starts the services. */
struct SERVICETEXTS {
    /** Null: none. */
    const MESSAGE* m_lpBegin;
    void (*m_lpfnSayStorageFailed)(int nStatus);
    SERVICEWAIT m_stStorage;
    SERVICEWAIT m_stMain;
    MESSAGE m_stSuccess;
};

extern const SERVICETEXTS g_stMasterService;
extern const SERVICETEXTS g_stSlaveService;
extern const SERVICETEXTS g_stStandbyService;

/**
 * Starts the storage service and then the main service, each by a command of the system followed by a wait of 10
 * seconds: the services aren't asked whether they run. False, with the wait status said, if a command fails; what runs
 * by then goes on. The commands need the default handling of SIGCHLD and set it for their time, so no other thread may
 * start or await a child meanwhile.
 */
[[nodiscard]] bool StartServices(const SERVICETEXTS& stTexts);
