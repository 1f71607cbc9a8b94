#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <functional>
#include <mutex>
#include <thread>

#include "RecordsetMaker.h"

/** Puts the bytes of a value into a text at an offset. */
template <typename T>
void Put(std::string& strBytes, std::size_t nOffset, T nValue) {
    std::memcpy(strBytes.data() + nOffset, &nValue, sizeof nValue);
}
template <typename T>
T Get(const std::string& strBytes, std::size_t nOffset) {
    T nValue;
    std::memcpy(&nValue, strBytes.data() + nOffset, sizeof nValue);
    return nValue;
}

/** The 112 bytes of a head, written by their offsets. */
inline std::string HeadBytes(int nCommand, int nToken, int nFlag, int nValue, std::size_t nBodyLen,
                             const std::string& strParam = "") {
    const char arStart[] = {3, static_cast<char>(nCommand), static_cast<char>(nToken), static_cast<char>(nFlag)};
    const std::string strHead = std::string(arStart, 4) + RawBytes(nValue, static_cast<unsigned>(nBodyLen)) + strParam;
    return strHead + std::string(112 - strHead.size(), '\0');
}

/** A port of this machine, by default one of the system's choice. */
inline sockaddr_in AddressOf(unsigned short usPort = 0, const char* lpszIP = "127.0.0.1") {
    return {AF_INET, htons(usPort), {inet_addr(lpszIP)}, {}};
}

/** A request as it came. */
struct PEERFRAME {
    std::string m_strHead, m_strBody;

    int Command() const { return static_cast<unsigned char>(m_strHead[1]); }
    int Token() const { return static_cast<unsigned char>(m_strHead[2]); }
    /** Head and body, without the token. */
    std::string Bytes() const { return std::string(m_strHead).replace(2, 1, 1, '\0') + m_strBody; }
    /** A reply to it. */
    std::string Reply(int nStatus, int nValue = 0, const std::string& strBody = "", int nFlag = 0,
                      const std::string& strParam = "") const {
        return HeadBytes(nStatus, Token(), nFlag, nValue, strBody.size(), strParam) + strBody;
    }
};

/** What follows the bytes of an answer. */
enum PEERTHEN {
    PEER_STAYS,
    PEER_CLOSES,
    PEER_RESETS
};

struct PEERANSWER {
    PEERANSWER(std::string strBytes, PEERTHEN nThen = PEER_STAYS) : m_strBytes(std::move(strBytes)), m_nThen(nThen) {}
    std::string m_strBytes;
    PEERTHEN m_nThen;
};

/**
 * A server of one thread on a port of the system's choice: it takes connections, reads whole frames, asks its script
 * what to answer, and keeps all frames. The script runs in that thread, one call at a time.
 */
class CScriptedPeer {
public:
    using SCRIPT = std::function<PEERANSWER(const PEERFRAME&)>;

    explicit CScriptedPeer(SCRIPT Script, const char* lpszIP = "127.0.0.1") : m_Script(std::move(Script)) {
        sockaddr_in stAddress = AddressOf(0, lpszIP);
        socklen_t nLen = sizeof stAddress;
        if (bind(m_nListen, reinterpret_cast<sockaddr*>(&stAddress), sizeof stAddress) != 0 ||
            listen(m_nListen, 64) != 0 || getsockname(m_nListen, reinterpret_cast<sockaddr*>(&stAddress), &nLen) != 0)
            abort();
        m_usPort = ntohs(stAddress.sin_port);
        m_stThread = std::thread([this] { Run(); });
    }
    ~CScriptedPeer() { Stop(); }

    /** Ends it; from then on the port refuses. */
    void Stop() {
        if (!m_stThread.joinable()) return;
        eventfd_write(m_nStop, 1);
        m_stThread.join();
        close(m_nStop);
        close(m_nListen);
    }

    unsigned short Port() const { return m_usPort; }
    int Count(int nCommand = 0) { return static_cast<int>(Frames(nCommand).size()); }
    /** The frames of a command, 0 for all, since the last call with `bForget`. */
    std::vector<PEERFRAME> Frames(int nCommand = 0, bool bForget = false) {
        const std::lock_guard stLock(m_csFrames);
        std::vector<PEERFRAME> arFound;
        std::copy_if(m_arFrame.begin(), m_arFrame.end(), std::back_inserter(arFound),
                     [&](const PEERFRAME& stFrame) { return nCommand == 0 || stFrame.Command() == nCommand; });
        if (bForget) m_arFrame.clear();
        return arFound;
    }

private:
    void Run() {
        // The first two files are no links.
        std::vector<pollfd> arPoll{{m_nStop, POLLIN, 0}, {m_nListen, POLLIN, 0}};
        const auto Ends = [&](const pollfd& stPoll) {
            return stPoll.revents && !Serve(stPoll.fd) && !close(stPoll.fd);
        };
        while (!arPoll[0].revents) {
            if (poll(arPoll.data(), arPoll.size(), -1) < 0) continue;
            if (arPoll[1].revents) arPoll.push_back({accept(m_nListen, nullptr, nullptr), POLLIN, 0});
            arPoll.erase(std::remove_if(arPoll.begin() + 2, arPoll.end(), Ends), arPoll.end());
        }
        for (std::size_t i = 2; i < arPoll.size(); ++i)
            close(arPoll[i].fd);
    }

    // One frame and its answer; false when the link is to close.
    bool Serve(int nLink) {
        PEERFRAME stFrame;
        const auto Read = [&](std::string& strBytes, std::size_t nLen) {
            strBytes.resize(nLen);
            return nLen == 0 || recv(nLink, strBytes.data(), nLen, MSG_WAITALL) == static_cast<ssize_t>(nLen);
        };
        if (!Read(stFrame.m_strHead, 112) || !Read(stFrame.m_strBody, Get<unsigned>(stFrame.m_strHead, 8)))
            return false;
        {
            const std::lock_guard stLock(m_csFrames);
            m_arFrame.push_back(stFrame);
        }
        const PEERANSWER stAnswer = m_Script(stFrame);
        send(nLink, stAnswer.m_strBytes.data(), stAnswer.m_strBytes.size(), MSG_NOSIGNAL);
        const linger stReset{1, 0};
        if (stAnswer.m_nThen == PEER_RESETS) setsockopt(nLink, SOL_SOCKET, SO_LINGER, &stReset, sizeof stReset);
        return stAnswer.m_nThen == PEER_STAYS;
    }

    SCRIPT m_Script;
    int m_nListen = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    int m_nStop = eventfd(0, EFD_CLOEXEC);
    unsigned short m_usPort = 0;
    std::mutex m_csFrames;
    std::vector<PEERFRAME> m_arFrame;
    std::thread m_stThread;
};
