#pragma once

#include <sys/shm.h>

#include <cstring>
#include <string>
#include <vector>

#include "LinkTest.h"
#include "Program.h"
#include "ProgressRecords.h"
#include "ScratchDir.h"

/**
 * A development server with a port, a segment and a directory of its own, so that no two runs meet. It's up when the
 * constructor returns; if it can't start, its port is 0.
 */
class CDevServerRun {
public:
    explicit CDevServerRun(const std::vector<std::string>& arOption = {}) {
        std::vector<std::string> arArgument{KESTRODEVSERVER_PATH, "--port", "0", "--key", "0", "--path",
                                            m_stDir.Path()};
        arArgument.insert(arArgument.end(), arOption.begin(), arOption.end());
        int nOutput[2];
        if (pipe2(nOutput, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
        m_nChild = fork();
        if (m_nChild == 0) {
            dup2(nOutput[1], STDOUT_FILENO);
            ExecuteProgram(arArgument);
        }
        close(nOutput[1]);
        m_nOutput = nOutput[0];
        if (sscanf(ReadLine().c_str(), "progress in shared memory %d", &m_nSegment) != 1) return;
        sscanf(ReadLine().c_str(), "listening on %*[0-9.]:%hu", &m_usPort);
    }
    CDevServerRun(const CDevServerRun&) = delete;
    CDevServerRun& operator=(const CDevServerRun&) = delete;
    ~CDevServerRun() {
        EXPECT_EQ(End(SIGTERM), 0) << "the server ends cleanly, whatever it met";
        close(m_nOutput);
    }

    /** A line that it prints. */
    std::string ReadLine() {
        std::string strLine;
        for (char c; read(m_nOutput, &c, 1) == 1 && c != '\n';)
            strLine += c;
        return strLine;
    }
    /** Ends it, or waits for its end with signal 0, and answers its wait status. */
    int End(int nSignal) {
        if (m_nChild > 0) {
            if (nSignal) kill(m_nChild, nSignal);
            waitpid(m_nChild, &m_nStatus, 0);
            m_nChild = -1;
        }
        return m_nStatus;
    }
    unsigned short Port() const { return m_usPort; }
    int Segment() const { return m_nSegment; }
    std::string Path(const std::string& strName) const { return m_stDir.Path(strName); }

    /** The progress as another program sees it. */
    SETUPPROGRESSINFO Progress() const {
        SETUPPROGRESSINFO stProgress{};
        void* const lpSegment = shmat(m_nSegment, nullptr, SHM_RDONLY);
        if (lpSegment == reinterpret_cast<void*>(-1)) return stProgress;
        std::memcpy(&stProgress, static_cast<const char*>(lpSegment) + 79, sizeof stProgress);
        shmdt(lpSegment);
        return stProgress;
    }

private:
    ScratchDir m_stDir;
    pid_t m_nChild = -1;
    int m_nOutput = -1, m_nSegment = -1, m_nStatus = -1;
    unsigned short m_usPort = 0;
};

/** A socket on a port, for bytes that no client sends. What doesn't come within its time reads as nothing. */
class CRawLink {
public:
    explicit CRawLink(unsigned short usPort) {
        sockaddr_in stServer{};
        stServer.sin_family = AF_INET;
        stServer.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        stServer.sin_port = htons(usPort);
        const timeval stTimeout{10, 0};
        const int bNoDelay = 1;
        setsockopt(m_nSocket, SOL_SOCKET, SO_RCVTIMEO, &stTimeout, sizeof stTimeout);
        setsockopt(m_nSocket, IPPROTO_TCP, TCP_NODELAY, &bNoDelay, sizeof bNoDelay);
        m_bOpen = connect(m_nSocket, reinterpret_cast<const sockaddr*>(&stServer), sizeof stServer) == 0;
    }
    CRawLink(const CRawLink&) = delete;
    CRawLink& operator=(const CRawLink&) = delete;
    ~CRawLink() { close(m_nSocket); }

    bool IsOpen() const { return m_bOpen; }
    void Send(const std::string& strBytes) const { send(m_nSocket, strBytes.data(), strBytes.size(), MSG_NOSIGNAL); }
    std::string Receive(std::size_t nLen) const {
        std::string strBytes(nLen, '\0');
        // To receive nothing would wait for something.
        const ssize_t nGot = nLen ? recv(m_nSocket, strBytes.data(), nLen, MSG_WAITALL) : 0;
        strBytes.resize(nGot > 0 ? static_cast<std::size_t>(nGot) : 0);
        return strBytes;
    }
    /** Sends a frame and reads the reply: the code of a refusal, 0, or -1 for no reply. */
    int Ask(int nCommand, const std::string& strBody = "", int nToken = 1) const {
        Send(HeadBytes(nCommand, nToken, 0, 0, strBody.size()) + strBody);
        return Reply(nToken);
    }
    int Reply(int nToken = 1) const {
        std::string strHead;
        do
            strHead = Receive(112);
        while (strHead.size() == 112 && strHead[1] == MF_REPLY_PENDING);
        if (strHead.size() != 112 || strHead[0] != 3 || static_cast<unsigned char>(strHead[2]) != nToken) return -1;
        const unsigned nBodyLen = Get<unsigned>(strHead, 8);
        if (Receive(nBodyLen).size() != nBodyLen) return -1;
        return strHead[1] == MF_REPLY_OK ? 0 : Get<int>(strHead, 4);
    }

private:
    int m_nSocket = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    bool m_bOpen = false;
};
