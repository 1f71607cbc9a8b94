// The instance: sessions, databases, the cluster, and the making of files.

#include "DevServerInstance.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>

#include "Language.h"

namespace {

/** Sessions that are remembered; the oldest one goes. */
constexpr std::size_t SESSION_MOST = 1000;
constexpr std::size_t DATABASE_MOST = 255;

constexpr std::int64_t FILE_UNIT = 1 << 20;
constexpr std::int64_t FILE_SIZE_MOST = std::int64_t{1} << 44;
constexpr int FILE_STEP_NUM = 16;

struct FILEKIND {
    BYTE m_bFileType;
    MESSAGE m_stStep;
};

constexpr FILEKIND FILEKINDS[] = {
    {FILE_DATA, {"创建内存数据文件", "Create memory data file"}},
    {FILE_TREE, {"创建内存索引文件", "Create memory index file"}},
    {FILE_KV, {"创建内存哈希文件", "Create memory hash file"}},
    {FILE_TABLE, {"创建表数据文件", "Create table data file"}},
    {FILE_INDEX, {"创建表索引文件", "Create table index file"}},
};

const FILEKIND* FindKind(BYTE bFileType) {
    for (const FILEKIND& stKind : FILEKINDS)
        if (stKind.m_bFileType == bFileType) return &stKind;
    return nullptr;
}

std::string AddressText(DWORD dwIP) {
    char szText[INET_ADDRSTRLEN] = "";
    const in_addr stAddress{htonl(dwIP)};
    inet_ntop(AF_INET, &stAddress, szText, sizeof szText);
    return szText;
}

} // namespace

int CDevServerInstance::Login(int nHeld, std::string_view szUser) {
    const std::lock_guard stLock(m_csState);
    const auto itHeld = m_mapSession.find(nHeld);
    if (itHeld != m_mapSession.end() && itHeld->second == szUser) return nHeld;
    if (m_mapSession.size() >= SESSION_MOST) m_mapSession.erase(m_mapSession.begin());
    m_nLastSession = m_nLastSession == INT_MAX ? 1 : m_nLastSession + 1;
    m_mapSession[m_nLastSession] = szUser;
    return m_nLastSession;
}

void CDevServerInstance::Logout(int nSession) {
    const std::lock_guard stLock(m_csState);
    m_mapSession.erase(nSession);
}

int CDevServerInstance::UseDatabase(std::string_view szName, BYTE& bNumber) {
    if (szName.empty()) return ERR_PARAMETER;
    const std::lock_guard stLock(m_csState);
    const auto itName = m_mapDatabase.find(szName);
    if (itName == m_mapDatabase.end() && m_mapDatabase.size() >= DATABASE_MOST) return ERR_OUT_OF_BOUNDS;
    if (itName == m_mapDatabase.end()) m_mapDatabase.emplace(szName, static_cast<BYTE>(m_mapDatabase.size() + 1));
    bNumber = m_mapDatabase.find(szName)->second;
    return ERR_OK;
}

std::string CDevServerInstance::ClusterStatus(const DEVADDRESS& stSelf) const {
    CLUSTERSTATUS stStatus{};
    const DEVADDRESS& stMaster = m_stSettings.m_stMaster.m_usPort ? m_stSettings.m_stMaster : stSelf;
    stStatus.m_dwMasterIP = stMaster.m_dwIP;
    stStatus.m_usMasterPort = stMaster.m_usPort;
    const std::vector<DEVADDRESS> arSelf{stSelf};
    int nNode = 0;
    for (const DEVADDRESS& stNode : m_stSettings.m_arNode.empty() ? arSelf : m_stSettings.m_arNode) {
        if (nNode == CLUSTER_NODE_MOST) break;
        CLUSTERNODE& stRecord = stStatus.m_arNode[nNode++];
        stRecord.m_dwClusterIP = stRecord.m_dwIP = stNode.m_dwIP;
        stRecord.m_usPort = stNode.m_usPort;
    }
    stStatus.m_nNodeNum = nNode;
    return {reinterpret_cast<const char*>(&stStatus),
            offsetof(CLUSTERSTATUS, m_arNode) + static_cast<std::size_t>(nNode) * sizeof(CLUSTERNODE)};
}

INSTANCEROW CDevServerInstance::Row(const DEVADDRESS& stSelf) const {
    const bool bMaster = m_stSettings.m_stMaster.m_usPort == 0;
    const DEVADDRESS& stMaster = bMaster ? stSelf : m_stSettings.m_stMaster;
    return {m_stSettings.m_nId,           m_stSettings.m_strStatus,     m_stSettings.m_strPath,
            bMaster ? "Master" : "Slave", AddressText(stMaster.m_dwIP), stMaster.m_usPort};
}

// --- files -----------------------------------------------------------------------------------------------------------

// Whoever reaches the port could otherwise have files made wherever the server may.
bool CDevServerInstance::IsInside(const std::string& strFile) const {
    namespace fs = std::filesystem;
    std::error_code stError;
    const fs::path pathRoot = fs::canonical(m_stSettings.m_strPath, stError);
    if (stError) return false;
    const fs::path pathFile(strFile);
    const fs::path pathFolder = fs::canonical(pathFile.has_parent_path() ? pathFile.parent_path() : ".", stError);
    if (stError || !pathFile.has_filename() || pathFile.filename() == "." || pathFile.filename() == "..") return false;
    return std::mismatch(pathRoot.begin(), pathRoot.end(), pathFolder.begin(), pathFolder.end()).first ==
           pathRoot.end();
}

int CDevServerInstance::AddFile(const FILEINFOBSON& stFile, const DEVPROGRESS& Told) {
    const FILEKIND* const lpKind = FindKind(stFile.m_bFileType);
    if (!lpKind) return ERR_NOT_DEVELOPED;
    const std::string strFile(CPlanReader::Field(stFile.m_pAlterFilePath));
    if (strFile.empty() || stFile.m_nFileSize <= 0 || stFile.m_nFileSize > FILE_SIZE_MOST) return ERR_PARAMETER;
    if (!IsInside(strFile)) return ERR_FILE_OPEN;

    const std::lock_guard stLock(m_csFile);
    const int nFile = open(strFile.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_NOFOLLOW | O_CLOEXEC, 0644);
    if (nFile < 0) return errno == EEXIST ? ERR_FILE_EXISTS : ERR_FILE_OPEN;
    const int nCode = GrowFile(nFile, stFile.m_nFileSize, Text(lpKind->m_stStep), Told);
    close(nFile);
    if (nCode == ERR_OK) return ERR_OK;
    unlink(strFile.c_str());
    m_stProgress.ShowFailure(nCode);
    return nCode;
}

int CDevServerInstance::GrowFile(int nFile, std::int64_t nSize, const char* lpszText, const DEVPROGRESS& Told) {
    const int nTotal = static_cast<int>((nSize + FILE_UNIT - 1) / FILE_UNIT);
    m_stProgress.Show(lpszText, nTotal, 0, 1);
    for (int i = 1; i <= FILE_STEP_NUM; ++i) {
        if (m_stStop.Wait(m_stSettings.m_nPace)) return ERR_FAILED;
        if (ftruncate(nFile, nSize / FILE_STEP_NUM * i + nSize % FILE_STEP_NUM * i / FILE_STEP_NUM) != 0)
            return ERR_NO_SPACE;
        const int nCurrent = static_cast<int>(std::int64_t{nTotal} * i / FILE_STEP_NUM);
        m_stProgress.Show(lpszText, nTotal, nCurrent, i < FILE_STEP_NUM);
        Told(lpszText, nTotal, nCurrent);
    }
    return ERR_OK;
}
