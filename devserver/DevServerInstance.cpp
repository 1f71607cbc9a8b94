// The instance: sessions, databases, its row, and the making of files. The cluster stands in DevServerCluster.cpp.

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

/** Parts of a step. */
constexpr int PART_NUM = 16;

/** What a server is that isn't open yet. */
constexpr const char* STATUS_STARTING = "Starting";

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

INSTANCEROW CDevServerInstance::Row(const DEVADDRESS& stSelf) {
    const std::lock_guard stLock(m_csState);
    const bool bMaster = m_stSettings.m_stMaster.m_usPort == 0;
    const DEVADDRESS& stMaster = bMaster ? stSelf : m_stSettings.m_stMaster;
    const bool bStarting = m_nAsked < m_stSettings.m_nStarting;
    m_nAsked += bStarting;
    return {m_stSettings.m_nId,           bStarting ? STATUS_STARTING : m_stSettings.m_strStatus,
            m_stSettings.m_strPath,       bMaster ? "Master" : "Slave",
            AddressText(stMaster.m_dwIP), stMaster.m_usPort};
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

int CDevServerInstance::AddFile(const FILEINFOBSON& stFile, int nAbort, const DEVPROGRESS& Told) {
    const FILEKIND* const lpKind = FindKind(stFile.m_bFileType);
    if (!lpKind) return ERR_NOT_DEVELOPED;
    const std::string strFile(CPlanReader::Field(stFile.m_pAlterFilePath));
    const std::int64_t nSize = stFile.m_nFileSize;
    if (strFile.empty() || nSize <= 0 || nSize > FILE_SIZE_MOST) return ERR_PARAMETER;
    if (!IsInside(strFile)) return ERR_FILE_OPEN;

    const std::lock_guard stLock(m_csFile);
    const int nFile = open(strFile.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_NOFOLLOW | O_CLOEXEC, 0644);
    if (nFile < 0) return errno == EEXIST ? ERR_FILE_EXISTS : ERR_FILE_OPEN;
    const int nTotal = static_cast<int>((nSize + FILE_UNIT - 1) / FILE_UNIT);
    const auto Grow = [&](int nPart) {
        const std::int64_t nNow = nSize / PART_NUM * nPart + nSize % PART_NUM * nPart / PART_NUM;
        return ftruncate(nFile, nNow) == 0 ? ERR_OK : ERR_NO_SPACE;
    };
    const DEVSTEP stStep{Text(lpKind->m_stStep), nTotal, nAbort};
    const int nCode = RunStep(stStep, Grow, Told);
    ShowEnd(stStep, nCode);
    close(nFile);
    if (nCode != ERR_OK) unlink(strFile.c_str());
    return nCode;
}

int CDevServerInstance::RunStep(const DEVSTEP& stStep, const std::function<int(int)>& Work, const DEVPROGRESS& Told) {
    const auto [lpszText, nTotal, nAbort] = stStep;
    m_stProgress.Show(lpszText, nTotal, 0, 1);
    for (int nPart = 1; nPart <= PART_NUM; ++nPart) {
        if (m_stStop.Wait(m_stSettings.m_nPace)) return ERR_FAILED;
        if (nAbort != ERR_OK && nPart > PART_NUM / 2) return nAbort;
        const int nCode = Work ? Work(nPart) : ERR_OK;
        if (nCode != ERR_OK) return nCode;
        const int nCurrent = static_cast<int>(std::int64_t{nTotal} * nPart / PART_NUM);
        m_stProgress.Show(lpszText, nTotal, nCurrent, 1);
        if (Told) Told(lpszText, nTotal, nCurrent);
    }
    return ERR_OK;
}

void CDevServerInstance::ShowEnd(const DEVSTEP& stStep, int nCode) {
    if (nCode == ERR_OK)
        m_stProgress.Show(stStep.m_lpszText, stStep.m_nTotal, stStep.m_nTotal, 0);
    else
        m_stProgress.ShowFailure(nCode);
}
