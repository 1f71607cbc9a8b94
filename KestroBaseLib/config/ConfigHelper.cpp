// The store in memory: sections, entries and the process's one instance. File and shared area have sources of their
// own.

#include "ConfigHelper.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include "Platform.h"

namespace {

constexpr char SEMAPHORE_NAME[] = "CONFIGHELPER";
constexpr mode_t SEMAPHORE_MODE = 0666;

std::string_view View(const char* lpszText) {
    return lpszText ? lpszText : "";
}

/** Whether a line of the file can hold the entry, so that it is read back as it was set. */
bool FitsLine(std::string_view strSection, std::string_view strKey, std::string_view strValue) {
    constexpr std::string_view LINE_BREAKS = "\r\n";
    for (const std::string_view strText : {strSection, strKey, strValue})
        if (strText.find_first_of(LINE_BREAKS) != strText.npos) return false;
    return strKey.find('=') == strKey.npos && !strKey.starts_with('#') && !strKey.starts_with('[');
}

} // namespace

// In this order, all before main.
KESTRO_SECTION ConfigHelper::m_csCriticalSection;
sem_t* ConfigHelper::m_lpSempahore = g_stPlatform.m_lpfnSemOpen(SEMAPHORE_NAME, SEMAPHORE_MODE);
ConfigHelperPtr ConfigHelper::s_pInstance;

ConfigHelperPtr::ConfigHelperPtr() : m_lpInstance(new (std::nothrow) ConfigHelper) {
    if (m_lpInstance) (void)m_lpInstance->InitSharedMemory();
}

ConfigHelper::~ConfigHelper() {
    (void)ConfigHelper::DestoryMemory();
    Drop();
}

int ConfigHelper::getValueInt(const char* lpszSection, const char* lpszKey, int nDefault) {
    char szDefault[16];
    std::snprintf(szDefault, sizeof(szDefault), "%d", nDefault);
    char szValue[32 + 1];
    // A missing entry leaves the buffer empty, which reads as 0. Intended: the default is not used.
    (void)getValueString(lpszSection, lpszKey, szDefault, szValue, sizeof(szValue) - 1);
    return static_cast<int>(std::strtol(szValue, nullptr, 10));
}

int ConfigHelper::getValueString(const char* lpszSection, const char* lpszKey, const char*, char* lpszBuffer,
                                 int nSize) {
    if (!lpszBuffer || nSize <= 0) return -1;
    *lpszBuffer = 0;
    const _KeyValue* lpEntry = FindEntry(FindSection(lpszSection), lpszKey);
    if (!lpEntry) return -1;
    // The terminator has a place of its own behind the size. Intended.
    const std::size_t nLen = lpEntry->m_iValue.View().copy(lpszBuffer, static_cast<std::size_t>(nSize));
    lpszBuffer[nLen] = 0;
    return 0;
}

bool ConfigHelper::setValueString(const char* lpszSection, const char* lpszKey, const char* lpszValue) {
    const std::string_view strSection = View(lpszSection), strKey = View(lpszKey), strValue = View(lpszValue);
    if (strSection.empty() || strKey.empty() || !FitsLine(strSection, strKey, strValue)) return false;
    _KeyValue* lpSection = FindSection(lpszSection);
    const bool bNewSection = !lpSection;
    if (bNewSection && m_iAppNameValuesLen == CONFIG_SECTIONS_MAX) return false;

    // A disk that refuses is no failure: the process goes on with what it holds. Intended.
    (void)updateDisk(lpszSection, lpszKey, strValue.data(), bNewSection);
    if (_KeyValue* lpEntry = FindEntry(lpSection, lpszKey)) return lpEntry->m_iValue.Set(strValue);
    if (bNewSection) lpSection = AddSection(strSection);
    if (!lpSection) return false;
    _KeyValue* lpTail = lpSection;
    while (lpTail->next)
        lpTail = lpTail->next;
    return Append(lpTail, strKey, strValue);
}

bool ConfigHelper::setPath(const char* lpszPath) {
    Drop();
    if (m_pFileName.Set(View(lpszPath))) return readAndParse();
    // Without memory for the name no change must go to the file before.
    m_pFileName.Clear();
    return false;
}

_KeyValue* ConfigHelper::FindSection(const char* lpszSection) {
    for (int i = 0; i < m_iAppNameValuesLen; ++i)
        if (m_lpAppNameValues[i].m_iData == lpszSection) return &m_lpAppNameValues[i];
    return nullptr;
}

_KeyValue* ConfigHelper::FindEntry(_KeyValue* lpSection, const char* lpszKey) {
    _KeyValue* lpEntry = lpSection ? lpSection->next : nullptr;
    while (lpEntry && !(lpEntry->m_iData == lpszKey))
        lpEntry = lpEntry->next;
    return lpEntry;
}

bool ConfigHelper::Append(_KeyValue*& lpTail, std::string_view strKey, std::string_view strValue) {
    std::unique_ptr<_KeyValue> lpEntry(new (std::nothrow) _KeyValue);
    if (!lpEntry || !lpEntry->m_iData.Set(strKey) || !lpEntry->m_iValue.Set(strValue)) return false;
    lpTail = lpTail->next = lpEntry.release();
    return true;
}

_KeyValue* ConfigHelper::AddSection(std::string_view strName) {
    if (m_iAppNameValuesLen == CONFIG_SECTIONS_MAX) return nullptr;
    _KeyValue& stSection = m_lpAppNameValues[m_iAppNameValuesLen];
    if (!stSection.m_iData.Set(strName)) return nullptr;
    ++m_iAppNameValuesLen;
    return &stSection;
}

void ConfigHelper::DropSection(_KeyValue& stSection) {
    while (_KeyValue* lpEntry = stSection.next) {
        stSection.next = lpEntry->next;
        delete lpEntry;
    }
    stSection.m_iData.Clear();
}

void ConfigHelper::Drop() {
    std::for_each_n(m_lpAppNameValues, m_iAppNameValuesLen, [this](_KeyValue& stSection) { DropSection(stSection); });
    m_iAppNameValuesLen = 0;
}

bool KestroConfigInit(const char* lpszPath) {
    ConfigHelper* lpStore = ConfigHelper::s_pInstance.Get();
    return lpStore && lpStore->setPath(lpszPath);
}

int KestroConfigGetValueInt(const char* lpszSection, const char* lpszKey, int nDefault) {
    ConfigHelper* lpStore = ConfigHelper::s_pInstance.Get();
    return lpStore ? lpStore->getValueInt(lpszSection, lpszKey, nDefault) : 0;
}

int KestroConfigGetValueString(const char* lpszSection, const char* lpszKey, const char* lpszDefault, char* lpszBuffer,
                               int nSize) {
    if (ConfigHelper* lpStore = ConfigHelper::s_pInstance.Get())
        return lpStore->getValueString(lpszSection, lpszKey, lpszDefault, lpszBuffer, nSize);
    if (lpszBuffer && nSize > 0) *lpszBuffer = 0;
    return -1;
}

bool KestroConfigSetValueString(const char* lpszSection, const char* lpszKey, const char* lpszValue) {
    ConfigHelper* lpStore = ConfigHelper::s_pInstance.Get();
    return lpStore && lpStore->setValueString(lpszSection, lpszKey, lpszValue);
}

void KestroConfigClose() {
    if (ConfigHelper* lpStore = ConfigHelper::s_pInstance.Get()) lpStore->Drop();
}
