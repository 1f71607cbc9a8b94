// The cluster as this server sees it: its nodes, and the join of another one. A join copies nothing here; it goes
// through the steps of one and shows its progress in shared memory.

#include <algorithm>
#include <system_error>

#include "DevServerInstance.h"
#include "Language.h"

namespace {

/** A step of a join, in units of its own. */
struct JOINSTEP {
    int m_nTotal;
    MESSAGE m_stText;
};

constexpr JOINSTEP JOINSTEPS[] = {
    {4, {"复制系统文件", "Copy system file"}},
    {64, {"复制内存数据文件", "Copy memory data files"}},
    {32, {"复制表数据文件", "Copy table data files"}},
    {16, {"同步重做日志", "Synchronize redo log"}},
};
/** The step in whose middle a join fails that has to. */
constexpr std::size_t JOINSTEP_ABORTED = 1;

} // namespace

CDevServerInstance::~CDevServerInstance() {
    if (m_stJoin.joinable()) m_stJoin.join();
}

std::string CDevServerInstance::ClusterStatus(const DEVADDRESS& stSelf) {
    const std::lock_guard stLock(m_csState);
    CLUSTERSTATUS stStatus{};
    const DEVADDRESS& stMaster = m_stSettings.m_stMaster.m_usPort ? m_stSettings.m_stMaster : stSelf;
    stStatus.m_dwMasterIP = stMaster.m_dwIP;
    stStatus.m_usMasterPort = stMaster.m_usPort;
    int nNode = 0;
    const auto AddRecord = [&](const DEVNODE& stNode) {
        CLUSTERNODE& stRecord = stStatus.m_arNode[nNode++];
        stRecord.m_dwClusterIP = stRecord.m_dwIP = stNode.m_stAddress.m_dwIP;
        stRecord.m_usPort = stNode.m_stAddress.m_usPort;
        stRecord.m_nNodeInfo = stNode.m_nState;
    };
    if (m_stSettings.m_arNode.empty()) AddRecord({stSelf, 0});
    std::for_each(m_arNode.begin(), m_arNode.end(), AddRecord);
    stStatus.m_nNodeNum = nNode;
    return {reinterpret_cast<const char*>(&stStatus),
            offsetof(CLUSTERSTATUS, m_arNode) + static_cast<std::size_t>(nNode) * sizeof(CLUSTERNODE)};
}

std::vector<DEVNODE>::iterator CDevServerInstance::FindNode(const DEVADDRESS& stAddress) {
    return std::find_if(m_arNode.begin(), m_arNode.end(),
                        [&](const DEVNODE& stNode) { return stNode.m_stAddress == stAddress; });
}

int CDevServerInstance::AddNode(const DEVNODE& stNode, int nId, int nAbort) {
    if (m_stSettings.m_stMaster.m_usPort != 0) return ERR_NOT_MASTER;
    if (static_cast<USHORT>(nId) != ServerID() || stNode.m_stAddress.m_dwIP == 0 || stNode.m_stAddress.m_usPort == 0)
        return ERR_PARAMETER;
    {
        const std::lock_guard stLock(m_csState);
        if (m_bJoining) return ERR_SYNCHRONIZING;
        const std::size_t nSelf = m_stSettings.m_arNode.empty();
        if (FindNode(stNode.m_stAddress) == m_arNode.end() && m_arNode.size() + nSelf >= CLUSTER_NODE_MOST)
            return ERR_OUT_OF_BOUNDS;
        m_arNode.reserve(CLUSTER_NODE_MOST);
        m_bJoining = true;
    }
    // A file that is being made shows its own progress until it's done.
    const std::lock_guard stFile(m_csFile);
    const std::lock_guard stLock(m_csState);
    // Whoever sent the request may look at once, and must not take what ended before for this join.
    m_stProgress.Show(Text(JOINSTEPS[0].m_stText), JOINSTEPS[0].m_nTotal, 0, 1);
    if (m_stJoin.joinable()) m_stJoin.join();
    try {
        m_stJoin = std::thread(&CDevServerInstance::RunJoin, this, stNode, nAbort);
        return ERR_OK;
    } catch (const std::system_error&) {
        m_stProgress.ShowFailure(ERR_MEMORY);
        m_bJoining = false;
        return ERR_MEMORY;
    }
}

// A node that was one before, and joins again, keeps its place. Who sees the end of the progress finds the cluster as
// it is then.
void CDevServerInstance::RunJoin(DEVNODE stNode, int nAbort) {
    const std::lock_guard stFile(m_csFile);
    DEVSTEP stStep{};
    int nCode = ERR_OK;
    for (std::size_t i = 0; i < std::size(JOINSTEPS) && nCode == ERR_OK; ++i) {
        stStep = {Text(JOINSTEPS[i].m_stText), JOINSTEPS[i].m_nTotal, i == JOINSTEP_ABORTED ? nAbort : ERR_OK};
        nCode = RunStep(stStep, nullptr, nullptr);
    }
    const std::lock_guard stLock(m_csState);
    if (const auto itNode = FindNode(stNode.m_stAddress); nCode == ERR_OK && itNode != m_arNode.end())
        *itNode = stNode;
    else if (nCode == ERR_OK)
        m_arNode.push_back(stNode);
    m_bJoining = false;
    ShowEnd(stStep, nCode);
}

int CDevServerInstance::DropNode(const DEVADDRESS& stAddress) {
    const std::lock_guard stLock(m_csState);
    const auto itNode = FindNode(stAddress);
    if (itNode == m_arNode.end()) return ERR_NODE_NOT_EXIST;
    m_arNode.erase(itNode);
    return ERR_OK;
}

int CDevServerInstance::ModifyNode(const DEVADDRESS& stAddress, BYTE bState) {
    const std::lock_guard stLock(m_csState);
    const auto itNode = FindNode(stAddress);
    if (itNode == m_arNode.end()) return ERR_NODE_NOT_EXIST;
    itNode->m_nState = bState;
    return ERR_OK;
}
