#pragma once

#include <climits>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "DevServerProgress.h"
#include "DevServerStop.h"
#include "FrameRecords.h"
#include "PlanReader.h"
#include "RecordsetRecords.h"

/** An address and port in host order. */
struct DEVADDRESS {
    DWORD m_dwIP = 0;
    USHORT m_usPort = 0;
};

/** What the command line says about the instance. */
struct DEVSETTINGS {
    int m_nId = 1; // its low 16 bits, which aren't 0, are the server's identity too
    std::string m_strStatus = "Open";
    /** Where files are made, and nowhere else; ends with "/". */
    std::string m_strPath = "./";
    /** The cluster's nodes; none: this server is its only one. */
    std::vector<DEVADDRESS> m_arNode;
    /** Port 0: this server is the master. */
    DEVADDRESS m_stMaster;
    /** Milliseconds that each step of making a file takes longer. */
    int m_nPace = 0;
};

/** The one row of `V$INSTANCE`. */
struct INSTANCEROW {
    int m_nId = 0;
    std::string m_strStatus, m_strPath, m_strClusterStatus, m_strMasterIP;
    int m_nMasterPort = 0;
};

/** A view of how far a long operation has come: text, total, current. */
using DEVPROGRESS = std::function<void(const char*, int, int)>;

/**
 * What all links have in common: the sessions, the databases, the cluster, `V$INSTANCE`, the files and the progress in
 * shared memory. Every operation may be called by any thread.
 */
class CDevServerInstance {
public:
    CDevServerInstance(const DEVSETTINGS& stSettings, CProgressSegment& stProgress, const CDevServerStop& stStop)
        : m_stSettings(stSettings), m_stProgress(stProgress), m_stStop(stStop) {}

    USHORT ServerID() const { return static_cast<USHORT>(m_stSettings.m_nId); }

    /** The session that goes on if the user still has it, else a new one. */
    int Login(int nHeld, std::string_view szUser);
    void Logout(int nSession);
    /** A name gets its number when it's first used, from 1. ERR_PARAMETER for none, 33 when the numbers are used up. */
    [[nodiscard]] int UseDatabase(std::string_view szName, BYTE& bNumber);

    /** The cluster as a server at an address tells it. */
    std::string ClusterStatus(const DEVADDRESS& stSelf) const;
    INSTANCEROW Row(const DEVADDRESS& stSelf) const;

    /**
     * Makes a file of its size, sparse: a development machine needs the size and not the blocks. One at a time; its
     * progress stands in shared memory, and every step is told. 25 for a size or path that can't be, 76 for a path
     * outside or that can't be opened, 99 for a kind that isn't made, 101 for a file that is there, 11 without room.
     */
    [[nodiscard]] int AddFile(const FILEINFOBSON& stFile, const DEVPROGRESS& Told);

private:
    bool IsInside(const std::string& strFile) const;
    int GrowFile(int nFile, std::int64_t nSize, const char* lpszText, const DEVPROGRESS& Told);

    const DEVSETTINGS& m_stSettings;
    CProgressSegment& m_stProgress;
    const CDevServerStop& m_stStop;
    std::mutex m_csFile;
    std::mutex m_csState;
    std::map<int, std::string> m_mapSession;
    int m_nLastSession = 0;
    std::map<std::string, BYTE, std::less<>> m_mapDatabase;
};

/**
 * Answers a query on `V$INSTANCE` from its plan: the block of a recordset and the number of its rows. What the plan
 * asks beyond columns and comparisons of them under AND, OR and NOT answers 99, another column 304, an unsound plan 25.
 */
[[nodiscard]] int QueryInstance(const CPlanReader& stPlan, const INSTANCEROW& stRow, std::string& strBlock, int& nRows);
