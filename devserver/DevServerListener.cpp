// Listening, and the threads of the links.

#include "DevServerListener.h"

#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <exception>

namespace {

constexpr std::size_t LINK_MOST = 500;
/** Milliseconds after a link that couldn't be taken. */
constexpr int ACCEPT_PAUSE = 50;

} // namespace

CDevServerListener::~CDevServerListener() {
    if (m_nSocket >= 0) close(m_nSocket);
}

int CDevServerListener::Listen(DEVADDRESS& stAddress) {
    m_nSocket = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (m_nSocket < 0) return errno;
    const int bReuse = 1;
    setsockopt(m_nSocket, SOL_SOCKET, SO_REUSEADDR, &bReuse, sizeof bReuse);
    sockaddr_in stName{};
    stName.sin_family = AF_INET;
    stName.sin_addr.s_addr = htonl(stAddress.m_dwIP);
    stName.sin_port = htons(stAddress.m_usPort);
    socklen_t nLen = sizeof stName;
    if (bind(m_nSocket, reinterpret_cast<const sockaddr*>(&stName), sizeof stName) != 0 ||
        listen(m_nSocket, SOMAXCONN) != 0 || getsockname(m_nSocket, reinterpret_cast<sockaddr*>(&stName), &nLen) != 0)
        return errno;
    stAddress.m_usPort = ntohs(stName.sin_port);
    return 0;
}

void CDevServerListener::Serve(int nSignal) {
    for (;;) {
        pollfd arPoll[] = {{nSignal, POLLIN, 0}, {m_nSocket, POLLIN, 0}};
        if (poll(arPoll, std::size(arPoll), -1) < 0) continue;
        if (arPoll[0].revents) break;
        if (arPoll[1].revents) Accept();
    }
    m_stStop.Set();
    for (const LINK& stLink : m_lstLink)
        stLink.m_pSession->Shut();
    for (LINK& stLink : m_lstLink)
        stLink.m_stThread.join();
    m_lstLink.clear();
}

// What can't be had now, a file or a thread, may be there a moment later; the server goes on without this link.
void CDevServerListener::Accept() {
    Reap();
    const int nSocket = accept4(m_nSocket, nullptr, nullptr, SOCK_CLOEXEC);
    if (nSocket < 0) {
        if (errno == EMFILE || errno == ENFILE || errno == ENOMEM || errno == ENOBUFS) m_stStop.Wait(ACCEPT_PAUSE);
        return;
    }
    if (m_lstLink.size() >= LINK_MOST) {
        close(nSocket);
        return;
    }
    LINK& stLink = m_lstLink.emplace_back();
    try {
        stLink.m_pSession.reset(
            new CDevServerSession(nSocket, ++m_nLast, m_stInstance, m_stScript, m_stStop, m_bTrace));
        stLink.m_stThread = std::thread(&CDevServerSession::Run, stLink.m_pSession.get());
    } catch (const std::exception&) {
        if (!stLink.m_pSession) close(nSocket);
        m_lstLink.pop_back();
    }
}

void CDevServerListener::Reap() {
    m_lstLink.remove_if([](LINK& stLink) {
        if (!stLink.m_pSession->IsDone()) return false;
        stLink.m_stThread.join();
        return true;
    });
}
