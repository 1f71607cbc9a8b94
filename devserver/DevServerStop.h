#pragma once

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

/** Tells all threads that the server ends: whoever waits, waits here. */
class CDevServerStop {
public:
    CDevServerStop() = default;
    CDevServerStop(const CDevServerStop&) = delete;
    CDevServerStop& operator=(const CDevServerStop&) = delete;
    ~CDevServerStop() { close(m_nEvent); }

    void Set() { eventfd_write(m_nEvent, 1); }
    /** Waits for a time, 0 to look only. Whether the server ends. */
    bool Wait(int nMilliseconds) const {
        pollfd stPoll{m_nEvent, POLLIN, 0};
        return poll(&stPoll, 1, nMilliseconds) > 0;
    }

private:
    int m_nEvent = eventfd(0, EFD_CLOEXEC);
};
