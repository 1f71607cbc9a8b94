#pragma once

#include <climits>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
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

    bool operator==(const DEVADDRESS&) const = default;
};

/** A node of the cluster. Its state is the type that it joined as, until a change of the state gives it another. */
struct DEVNODE {
    DEVADDRESS m_stAddress;
    UINT m_nState = 0;
};

/** What the command line says about the instance. */
struct DEVSETTINGS {
    int m_nId = 1; // its low 16 bits, which aren't 0, are the server's identity too
    std::string m_strStatus = "Open";
    /** Queries that are told another status first. */
    int m_nStarting = 0;
    /** Where files are made, and nowhere else; ends with "/". */
    std::string m_strPath = "./";
    /** The cluster's nodes; none: this server is its only one. */
    std::vector<DEVNODE> m_arNode;
    /** Port 0: this server is the master. */
    DEVADDRESS m_stMaster;
    /** Milliseconds between two views of a long operation's progress. */
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

/** A step of a long operation. */
struct DEVSTEP {
    const char* m_lpszText;
    int m_nTotal;
    int m_nAbort; // the code with which it fails half way; 0: it doesn't
};

/**
 * What all links have in common: the sessions, the databases, the cluster, `V$INSTANCE`, the files and the progress in
 * shared memory. Every operation may be called by any thread.
 */
class CDevServerInstance {
public:
    CDevServerInstance(const DEVSETTINGS& stSettings, CProgressSegment& stProgress, const CDevServerStop& stStop)
        : m_stSettings(stSettings), m_stProgress(stProgress), m_stStop(stStop), m_arNode(stSettings.m_arNode) {}
    CDevServerInstance(const CDevServerInstance&) = delete;
    CDevServerInstance& operator=(const CDevServerInstance&) = delete;
    /** Waits for a join, which ends when `stStop` is set. */
    ~CDevServerInstance();

    USHORT ServerID() const { return static_cast<USHORT>(m_stSettings.m_nId); }

    /** The session that goes on if the user still has it, else a new one. */
    int Login(int nHeld, std::string_view szUser);
    void Logout(int nSession);
    /** A name gets its number when it's first used, from 1. ERR_PARAMETER for none, 33 when the numbers are used up. */
    [[nodiscard]] int UseDatabase(std::string_view szName, BYTE& bNumber);

    /** The cluster as a server at an address tells it. */
    std::string ClusterStatus(const DEVADDRESS& stSelf);
    /** Each call counts as a query. */
    INSTANCEROW Row(const DEVADDRESS& stSelf);

    /**
     * Begins the join of a node and comes back; its progress stands in shared memory from then on, and the node is one
     * of the cluster when it's done. `nId` must be the instance's in its low 16 bits. With `nAbort` it fails half way
     * with that code. 5003 where this server isn't the master, 25 for another id or no address, 72 while another node
     * joins, 33 without a place.
     */
    [[nodiscard]] int AddNode(const DEVNODE& stNode, int nId, int nAbort);
    /** 5021 for an address that is no node's. */
    [[nodiscard]] int DropNode(const DEVADDRESS& stAddress);
    [[nodiscard]] int ModifyNode(const DEVADDRESS& stAddress, BYTE bState);

    /**
     * Makes a file of its size, sparse: a development machine needs the size and not the blocks. One at a time; its
     * progress stands in shared memory, and is told. With `nAbort` it fails half way with that code. 25 for a size or
     * path that can't be, 76 for a path outside or that can't be opened, 99 for a kind that isn't made, 101 for a file
     * that is there, 11 without room.
     */
    [[nodiscard]] int AddFile(const FILEINFOBSON& stFile, int nAbort, const DEVPROGRESS& Told);

private:
    bool IsInside(const std::string& strFile) const;
    /**
     * Takes a step in 16 parts: waits, works on the part, from 1, and shows and tells how far it is. Both calls may be
     * empty. Under m_csFile, as the next one.
     */
    int RunStep(const DEVSTEP& stStep, const std::function<int(int)>& Work, const DEVPROGRESS& Told);
    /** Shows that an operation has ended, with its last step or with a code. */
    void ShowEnd(const DEVSTEP& stStep, int nCode);
    /** Under m_csState. */
    std::vector<DEVNODE>::iterator FindNode(const DEVADDRESS& stAddress);
    void RunJoin(DEVNODE stNode, int nAbort);

    const DEVSETTINGS& m_stSettings;
    CProgressSegment& m_stProgress;
    const CDevServerStop& m_stStop;
    /** Held by what shows its progress, and taken in front of the other one. */
    std::mutex m_csFile;
    std::mutex m_csState;
    std::map<int, std::string> m_mapSession;
    int m_nLastSession = 0;
    std::map<std::string, BYTE, std::less<>> m_mapDatabase;
    /** Those that were set, and those that joined. */
    std::vector<DEVNODE> m_arNode;
    int m_nAsked = 0;
    bool m_bJoining = false;
    std::thread m_stJoin;
};

/**
 * Answers a query on `V$INSTANCE` from its plan: the block of a recordset and the number of its rows. What the plan
 * asks beyond columns and comparisons of them under AND, OR and NOT answers 99, another column 304, an unsound plan 25.
 */
[[nodiscard]] int QueryInstance(const CPlanReader& stPlan, const INSTANCEROW& stRow, std::string& strBlock, int& nRows);
