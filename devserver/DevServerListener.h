#pragma once

#include <list>
#include <memory>
#include <thread>

#include "DevServerSession.h"

/** The port, and the links that came in through it: a thread for each. */
class CDevServerListener {
public:
    CDevServerListener(CDevServerInstance& stInstance, CFaultScript& stScript, CDevServerStop& stStop, bool bTrace)
        : m_stInstance(stInstance), m_stScript(stScript), m_stStop(stStop), m_bTrace(bTrace) {}
    CDevServerListener(const CDevServerListener&) = delete;
    CDevServerListener& operator=(const CDevServerListener&) = delete;
    ~CDevServerListener();

    /** Takes the port, whose number the system picks for 0 and which is filled in then. 0, or errno. */
    [[nodiscard]] int Listen(DEVADDRESS& stAddress);
    /** Serves until a signal can be read from `nSignal`, then ends all links and their threads. */
    void Serve(int nSignal);

private:
    struct LINK {
        std::unique_ptr<CDevServerSession> m_pSession;
        std::thread m_stThread;
    };
    void Accept();
    void Reap();

    CDevServerInstance& m_stInstance;
    CFaultScript& m_stScript;
    CDevServerStop& m_stStop;
    const bool m_bTrace;
    int m_nSocket = -1;
    int m_nLast = 0;
    std::list<LINK> m_lstLink;
};
