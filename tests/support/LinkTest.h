#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <ctime>
#include <filesystem>

#include "DBInterface.h"
#include "KestroErrorCode.h"
#include "OpenSockets.h"
#include "ParseSql.h"
#include "Platform.h"
#include "ScriptedPeer.h"
#include "TraceManage.h"

/** The connection, with a look at its state. */
class CTestLink : public CDBInterface {
public:
    using CDBInterface::Execute;
    using CDBInterface::m_arrAddress, CDBInterface::m_bBusy, CDBInterface::m_bDatabaseNo, CDBInterface::m_bLogin,
        CDBInterface::m_bTraceTime, CDBInterface::m_dwServerIP, CDBInterface::m_nAddressIndex,
        CDBInterface::m_nAddressNum, CDBInterface::m_nSessionID, CDBInterface::m_nSocket, CDBInterface::m_szPassword,
        CDBInterface::m_szUserName, CDBInterface::m_usServerPort;

    int OpenAt(unsigned short usPort, const char* lpszIP = "127.0.0.1", const char* lpszPassword = "secret") {
        std::string strIP(lpszIP), strUser("sys"), strPassword(lpszPassword);
        return Open(strIP.data(), usPort, strUser.data(), strPassword.data());
    }
    /** Runs a statement: the affected rows, or the code below 0. */
    int Run(const char* lpszSql) {
        int nAffect = -1;
        const int nCode = Execute(lpszSql, nAffect, nullptr, nullptr, nullptr);
        return nCode == ERR_OK ? nAffect : -nCode;
    }
    /** Whether another thread could take the lock. */
    bool IsFree() {
        bool bFree = false;
        std::thread([&] {
            bFree = pthread_mutex_trylock(&m_csLock) == 0;
            if (bFree) pthread_mutex_unlock(&m_csLock);
        }).join();
        return bFree;
    }
};

/**
 * The clock stands, far in the future so that the log's writer sleeps; sleeping is only counted; tokens are numbers in
 * a row. What is logged stays in the queue until `Log` takes it.
 */
class CLinkTest : public testing::Test {
protected:
    static constexpr std::int64_t SECOND = 1'000'000;
    static constexpr int SERVER_ID = 7, SESSION_ID = 100, THREAD_ID = 200;

    void SetUp() override {
        CTraceManage::DestoryInstance();
        m_strPlanInfo.assign(172, '\0');
        m_strCluster.assign(10, '\0');
        m_nNow = (std::int64_t{2300} - 1970) * 31'556'952 * SECOND + getpid() * 100 * SECOND;
        m_nSlept = 0;
        g_stPlatform.m_lpfnMicroseconds = [] { return m_nNow.load(); };
        g_stPlatform.m_lpfnSleep = [](std::int64_t nTime) { m_nSlept += nTime; };
        g_stPlatform.m_lpfnUuid = [](unsigned char* lpUuid) {
            std::fill_n(lpUuid, 16, static_cast<unsigned char>(1 + m_nUuid++ % 249));
        };
    }
    void TearDown() override {
        m_Script = nullptr;
        m_stLink.Close();
        m_stPeer.Stop();
        EXPECT_EQ(OpenSockets(), 0) << "a socket left over";
        Log();
        g_stPlatform.m_lpfnSleep = m_stPlatform.m_lpfnSleep;
        CTraceManage::DestoryInstance();
        g_stPlatform = m_stPlatform;
        const time_t nSeconds = m_nNow / SECOND;
        tm stLocal{};
        char szName[80];
        strftime(szName, sizeof szName, "Log/KestroInterface%Y%m%d%H%M%S.log", localtime_r(&nSeconds, &stLocal));
        std::error_code stIgnored;
        std::filesystem::remove(std::filesystem::read_symlink("/proc/self/exe").parent_path() / szName, stIgnored);
    }

    /** The lines logged since the last call, "code function text" each. */
    static std::vector<std::string> Log() {
        std::vector<std::string> arLine;
        while (const auto pLine = CTraceManage::instance()->GetTrace(nullptr))
            arLine.push_back(pLine->substr(pLine->find("888", pLine->find('\t'))));
        return arLine;
    }
    static bool Logged(const std::string& strStart) {
        const std::vector<std::string> arLine = Log();
        return std::any_of(arLine.begin(), arLine.end(),
                           [&](const std::string& strLine) { return strLine.starts_with(strStart); });
    }

    /** A plan as the connection sends it in database 9, with the fields that tell of the sender. */
    std::string PlanBytes(const std::string& strSql, int nPageNo = 0, int nPageSize = 0) {
        CParseSql stSql;
        EXECUTEPLANBSON* pPlan = nullptr;
        const int nLen = static_cast<int>(strSql.size());
        EXPECT_EQ(stSql.ParseSql(strSql.data(), nLen, pPlan, nPageNo, nPageSize, 9), ERR_OK);
        std::string strPlan(reinterpret_cast<const char*>(pPlan), pPlan->m_nTotalDataSize);
        unsigned dwIP = 0;
        unsigned short usPort = 0;
        m_stLink.GetSocketInfo(dwIP, usPort);
        Put(strPlan, 48, dwIP);
        strPlan[11] = strPlan[63] = 9;
        return strPlan;
    }

    /** What a server answers that has nothing against anything. */
    static PEERANSWER Welcome(const PEERFRAME& stFrame) {
        std::string strSession(8, '\0');
        switch (stFrame.Command()) {
            case MF_CMD_LOGIN:
                Put(strSession, 0, SESSION_ID);
                Put(strSession, 4, THREAD_ID);
                return stFrame.Reply(MF_REPLY_OK, SERVER_ID, "", 0, strSession);
            case MF_CMD_CLUSTER_STATUS:
                return stFrame.Reply(MF_REPLY_OK, 0, m_strCluster);
            case MF_CMD_USE:
                return stFrame.Reply(MF_REPLY_OK, 0, "", 9);
            case MF_CMD_QUERY:
                return stFrame.Reply(MF_REPLY_OK, 3, m_strBlock);
            case MF_CMD_PLAN_INFO:
                return stFrame.Reply(MF_REPLY_OK, 0, m_strPlanInfo);
            default:
                return stFrame.Reply(MF_REPLY_OK, 5);
        }
    }

    /** The bodies of a friendly server's replies. */
    static inline std::string m_strBlock, m_strPlanInfo, m_strCluster;
    static inline std::atomic<std::int64_t> m_nNow, m_nSlept;
    static inline std::atomic<unsigned> m_nUuid;
    const PLATFORM m_stPlatform = g_stPlatform;
    /** What the peer does; null for a friendly server. Set between requests. */
    CScriptedPeer::SCRIPT m_Script;
    CScriptedPeer m_stPeer{
        [this](const PEERFRAME& stFrame) { return m_Script ? m_Script(stFrame) : Welcome(stFrame); }};
    CTestLink m_stLink;
};
