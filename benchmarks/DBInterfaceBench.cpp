// A small command and a small query over loopback, compilation included, beside bare exchanges of as many bytes with
// the same server, which does nothing but read and answer. On one CPU (`taskset -c 0`) all of the client's work shows,
// the uuid of each token too; on two, the next token is drawn while the server works.

#include <arpa/inet.h>
#include <benchmark/benchmark.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <string>
#include <thread>

#include "DBInterface.h"
#include "MemDBRecordset.h"
#include "RecordsetMaker.h"

namespace {

std::string g_strBlock;

bool ReadAll(int nSocket, void* lpBytes, std::size_t nLen) {
    return nLen == 0 || recv(nSocket, lpBytes, nLen, MSG_WAITALL) == static_cast<ssize_t>(nLen);
}

/** Answers frames of one connection after the other, until one is there that it can't read. */
void Serve(int nListen) {
    for (int nSocket; (nSocket = accept(nListen, nullptr, nullptr)) >= 0; close(nSocket)) {
        const int bNoDelay = 1;
        setsockopt(nSocket, IPPROTO_TCP, TCP_NODELAY, &bNoDelay, sizeof bNoDelay);
        std::string strBody(1 << 20, '\0'), strReply;
        TCPFRAMEHEAD stHead;
        while (ReadAll(nSocket, &stHead, sizeof stHead) && ReadAll(nSocket, strBody.data(), stHead.m_nBodyLen)) {
            const bool bQuery = stHead.m_bCommand == MF_CMD_QUERY, bProbe = stHead.m_bCommand == MF_CMD_CLUSTER_STATUS;
            const UINT nBodyLen = bQuery ? static_cast<UINT>(g_strBlock.size()) : bProbe ? 10 : 0;
            stHead.m_bCommand = MF_REPLY_OK;
            stHead.m_nBodyLen = nBodyLen;
            std::fill_n(stHead.m_bParam, sizeof stHead.m_bParam, BYTE{0});
            strReply.assign(reinterpret_cast<const char*>(&stHead), sizeof stHead);
            strReply += bQuery ? g_strBlock : std::string(nBodyLen, '\0');
            send(nSocket, strReply.data(), strReply.size(), MSG_NOSIGNAL);
        }
    }
}

/** A server thread for the whole run; its port. */
unsigned short Port() {
    static const unsigned short usPort = [] {
        CRecordsetMaker stMaker("ID:1|NAME:6|AMOUNT:240");
        for (int i = 0; i < 10; ++i)
            stMaker.Row(i, std::to_string(i) + "|Customer " + std::to_string(i) + "|12.50");
        g_strBlock = stMaker.Block();
        const int nListen = socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in stAddress{};
        stAddress.sin_family = AF_INET;
        stAddress.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t nLen = sizeof stAddress;
        if (bind(nListen, reinterpret_cast<sockaddr*>(&stAddress), nLen) != 0 || listen(nListen, 8) != 0 ||
            getsockname(nListen, reinterpret_cast<sockaddr*>(&stAddress), &nLen) != 0)
            abort();
        std::thread(Serve, nListen).detach();
        return ntohs(stAddress.sin_port);
    }();
    return usPort;
}

constexpr char COMMAND[] = "update CUSTOMER set NAME = 'Ulm' where ID = 7";
constexpr char QUERY[] = "select ID, NAME, AMOUNT from CUSTOMER where ID < 10";

void Bare(benchmark::State& stState, BYTE bCommand) {
    const int nSocket = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in stAddress{};
    stAddress.sin_family = AF_INET;
    stAddress.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    stAddress.sin_port = htons(Port());
    const int bNoDelay = 1;
    setsockopt(nSocket, IPPROTO_TCP, TCP_NODELAY, &bNoDelay, sizeof bNoDelay);
    if (connect(nSocket, reinterpret_cast<sockaddr*>(&stAddress), sizeof stAddress) != 0) stState.SkipWithError("");
    TCPFRAMEHEAD stHead{};
    stHead.m_bCommand = bCommand;
    stHead.m_nBodyLen = 400;
    std::string strFrame(reinterpret_cast<const char*>(&stHead), sizeof stHead);
    strFrame.append(stHead.m_nBodyLen, 'p');
    std::string strReply(sizeof stHead + (bCommand == MF_CMD_QUERY ? g_strBlock.size() : 0), '\0');
    for (auto _ : stState)
        if (send(nSocket, strFrame.data(), strFrame.size(), 0) < 0 ||
            !ReadAll(nSocket, strReply.data(), strReply.size()))
            stState.SkipWithError("exchange");
    close(nSocket);
}

void Open(benchmark::State& stState, CDBInterface& stLink) {
    char szHost[] = "127.0.0.1", szUser[] = "sys";
    if (stLink.Open(szHost, Port(), szUser, szUser) != 0) stState.SkipWithError("open");
}

void BM_BareCommand(benchmark::State& stState) {
    Bare(stState, MF_CMD_EXECUTE);
}
void BM_Command(benchmark::State& stState) {
    CDBInterface stLink;
    Open(stState, stLink);
    int nAffect = 0;
    for (auto _ : stState)
        if (stLink.ExecuteCommand(COMMAND, nAffect, nullptr) != 0) stState.SkipWithError("command");
}
void BM_BareQuery(benchmark::State& stState) {
    Bare(stState, MF_CMD_QUERY);
}
void BM_Query(benchmark::State& stState) {
    CDBInterface stLink;
    Open(stState, stLink);
    CMemDBRecordset stSet;
    for (auto _ : stState)
        if (stLink.GetRecordset(QUERY, stSet, nullptr) != 0) stState.SkipWithError("query");
}
BENCHMARK(BM_BareCommand)->UseRealTime();
BENCHMARK(BM_Command)->UseRealTime();
BENCHMARK(BM_BareQuery)->UseRealTime();
BENCHMARK(BM_Query)->UseRealTime();

} // namespace
