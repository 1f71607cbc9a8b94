// What must hold for any bytes that a server answers: a call ends with some code, its lock is free, no socket is left
// over, and the connection closes, opens and works again. The bytes are a recipe: which call, and what each link brings
// that is made for it. No network is there: `connect` and `send` are replaced for the whole program, so that a link is
// a pair of sockets whose other end holds its bytes and is closed. The tests run it too; libFuzzer runs it for as long
// as one likes.

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <string>
#include <string_view>
#include <thread>

#include "DBInterface.h"
#include "KestroErrorCode.h"
#include "OpenSockets.h"
#include "Platform.h"
#include "RecordsetMaker.h"
#include "TraceManage.h"

namespace {

/** Longest recipe. It bounds the requests, as each but the first needs an answer before. */
constexpr std::size_t RECIPE_MOST = 1 << 14;

/** What a link is to do: its length in the recipe, without these, and then its bytes. */
constexpr unsigned LINK_REFUSED = 0xFFFF, LINK_RESET = 0x8000;

struct LINK {
    unsigned m_nKind;
    std::string_view m_szBytes;
};
std::deque<LINK> g_arLink;

void Check(bool bHolds, const char* lpszWhat) {
    if (bHolds) return;
    std::fprintf(stderr, "reply: %s\n", lpszWhat);
    std::abort();
}

LINK NextLink() {
    if (g_arLink.empty()) return {0, ""};
    const LINK stLink = g_arLink.front();
    g_arLink.pop_front();
    return stLink;
}

} // namespace

extern "C" int connect(int nSocket, const sockaddr*, socklen_t) {
    const LINK stLink = NextLink();
    int arPair[2];
    if (stLink.m_nKind == LINK_REFUSED || socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, arPair) != 0) {
        errno = ECONNREFUSED;
        return -1;
    }
    // What doesn't fit never arrives. A byte that the other end leaves unread resets the link when that end closes.
    const bool bReset = (stLink.m_nKind & LINK_RESET) != 0;
    if (write(arPair[1], stLink.m_szBytes.data(), stLink.m_szBytes.size()) < 0 ||
        (bReset && write(arPair[0], "", 1) < 0))
        std::abort();
    close(arPair[1]);
    dup2(arPair[0], nSocket);
    close(arPair[0]);
    return 0;
}

// Nobody reads the requests.
extern "C" ssize_t send(int, const void*, std::size_t nLen, int) {
    return static_cast<ssize_t>(nLen);
}

namespace {

/** Tokens are 1, 2, 3 and so on, so that a recipe can tell them. */
unsigned g_nToken;
void CountUp(unsigned char* lpUuid) {
    std::fill_n(lpUuid, 16, static_cast<unsigned char>(1 + g_nToken++ % 249));
}

class CFuzzLink : public CDBInterface {
public:
    int OpenAs(bool bDirect) {
        char szUser[] = "sys", szPassword[] = "secret";
        return OpenWithAddress(szUser, szPassword, INADDR_LOOPBACK, 1, bDirect);
    }
    /** Whatever happened. */
    void CheckState() {
        Check(m_nAddressNum >= 0 && m_nAddressNum <= CLUSTER_NODE_MOST, "more nodes than there can be");
        Check(m_bBusy == 0, "still at work");
        Check(std::memchr(m_szDatabase, 0, sizeof m_szDatabase), "a database without an end");
        Check(OpenSockets() == (m_nSocket != -1), "a socket left over");
        bool bFree = false;
        std::thread([&] {
            bFree = pthread_mutex_trylock(&m_csLock) == 0;
            if (bFree) pthread_mutex_unlock(&m_csLock);
        }).join();
        Check(bFree, "the lock is taken");
    }
    void CheckClosed() const { Check(m_nSocket == -1 && m_bLogin == 0, "not closed"); }
    /** A server that speaks as it should finds a connection that does. */
    void CheckWorks() {
        if (m_bToken == 0) CreateRandomFactor();
        const std::string strBytes = Head(FRAME_PROBE_TOKEN, 0, 10) + std::string(10, '\0') + Head(m_bToken, 7, 0) +
                                     Head(static_cast<BYTE>(1 + g_nToken % 249), 5, 0);
        g_arLink.assign(1, {0, strBytes});
        Check(OpenAs(true) == ERR_OK, "doesn't open again");
        int nAffect = 0;
        Check(ExecuteCommand("commit", nAffect, nullptr) == ERR_OK && nAffect == 5, "doesn't work again");
    }

private:
    static std::string Head(BYTE bToken, int nValue, UINT nBodyLen) {
        TCPFRAMEHEAD stHead{};
        stHead.m_bProtocol = FRAME_PROTOCOL;
        stHead.m_bCommand = MF_REPLY_OK;
        stHead.m_bToken = bToken;
        stHead.m_nValue = nValue;
        stHead.m_nBodyLen = nBodyLen;
        return {reinterpret_cast<const char*>(&stHead), sizeof stHead};
    }
};

int SeeProgress(void*, const char* lpszText, int nTotal, int nCurrent) {
    Check(std::strlen(lpszText) <= 80, "a text without its end");
    if (nCurrent == -1) throw KestroExeception();
    return nTotal != 0;
}

int g_nOut;

/** The calls, by the first byte of a recipe modulo their number. */
constexpr int (*CALLS[])(CFuzzLink& stLink) = {
    [](CFuzzLink& stLink) {
        return static_cast<CDBInterface&>(stLink).Execute("begin", g_nOut, nullptr, SeeProgress, nullptr);
    },
    [](CFuzzLink& stLink) {
        CMemDBRecordset stSet;
        return stLink.GetRecordset("select A from T", stSet, nullptr);
    },
    [](CFuzzLink& stLink) {
        CMemDBRecordset stSet;
        const std::string strBlock = CRecordsetMaker("ID:1|NAME:6").Row(1, "1|one").Block();
        Check(Analyse(stSet, strBlock) == ERR_OK && stSet.MoveFirst() == ERR_OK && stSet.SetField(1, "eins") == ERR_OK,
              "no change to save");
        return stLink.UpdateRecordset(stSet, nullptr);
    },
    [](CFuzzLink& stLink) {
        EXECUTEPLANDESCRIBE stDescribe;
        return stLink.GetExecutePlanInfo("begin", &stDescribe, nullptr);
    },
    [](CFuzzLink& stLink) {
        char szText[] = "text";
        return stLink.StartTransactionLogic(szText, g_nOut);
    },
    [](CFuzzLink& stLink) {
        BYTE arRedo[] = {5, 0, 0, 0, 'r'};
        return stLink.KestroRedo(arRedo, 1);
    },
    [](CFuzzLink& stLink) {
        const int nCode = stLink.UseDatabase("shop");
        return nCode != ERR_OK ? nCode : stLink.StopTransactionLogic(1);
    },
    [](CFuzzLink& stLink) {
        BYTE arStatus[40];
        return stLink.GetClusterStatus(arStatus, sizeof arStatus, 0);
    },
    [](CFuzzLink& stLink) {
        char szName[] = "node";
        return stLink.AddNewNode(1, 2, 3, 4, szName);
    },
    [](CFuzzLink& stLink) { return stLink.ClusterDropNode(1, 2, 3); },
    [](CFuzzLink& stLink) { return stLink.Backup(1, 2, SeeProgress, nullptr); },
};

/** Fills g_arLink; answers the first byte. */
BYTE ReadRecipe(std::string_view szRecipe) {
    g_arLink.clear();
    if (szRecipe.empty()) return 0;
    const BYTE bCall = static_cast<BYTE>(szRecipe[0]);
    szRecipe.remove_prefix(1);
    for (USHORT nKind; szRecipe.size() >= sizeof nKind;) {
        std::memcpy(&nKind, szRecipe.data(), sizeof nKind);
        szRecipe.remove_prefix(sizeof nKind);
        g_arLink.push_back({nKind, szRecipe.substr(0, nKind == LINK_REFUSED ? 0 : nKind & ~LINK_RESET)});
        szRecipe.remove_prefix(g_arLink.back().m_szBytes.size());
    }
    return bCall;
}

} // namespace

/** Whether the call succeeds. */
extern "C" int FuzzReply(const BYTE* lpBytes, std::size_t nLen) {
    // For good: the log's writer looks at the platform from the first line on.
    [[maybe_unused]] static const bool bSet = [] {
        g_stPlatform.m_lpfnSleep = [](std::int64_t) {};
        g_stPlatform.m_lpfnUuid = CountUp;
        return true;
    }();
    g_nToken = 0;
    const BYTE bCall = ReadRecipe({reinterpret_cast<const char*>(lpBytes), std::min(nLen, RECIPE_MOST)});
    CFuzzLink stLink;
    int nCode = stLink.OpenAs((bCall & 0x80) != 0);
    if (nCode == ERR_OK)
        nCode = CALLS[(bCall & 0x7F) % std::size(CALLS)](stLink);
    else
        stLink.CheckClosed();
    stLink.CheckState();
    g_arLink.clear();
    stLink.Close();
    stLink.CheckClosed();
    stLink.CheckWorks();
    stLink.CheckState();
    // A file would grow for as long as this runs.
    while (CTraceManage::instance()->GetTrace(nullptr)) {
    }
    return nCode == ERR_OK;
}

#ifdef KESTRO_FUZZ_ENTRY
extern "C" int LLVMFuzzerTestOneInput(const BYTE* lpBytes, std::size_t nLen) {
    FuzzReply(lpBytes, nLen);
    return 0;
}
#endif
