// The area in which processes of one machine leave each other changed entries. Its bytes may come from any process and
// may change while they are read: they are copied out first, and only the copy is checked and used.

#include <algorithm>
#include <atomic>
#include <cstring>

#include "ConfigHelper.h"

namespace {

constexpr int ITEMS_MAX = 80;
/** Bytes that a start clears. */
constexpr std::size_t CLEARED_SIZE = 0x3E88;

struct KESTRO_PACKED CONFIGSHAREDITEM {
    char m_szSection[50];
    char m_szKey[50];
    char m_szValue[100];
};

} // namespace

struct KESTRO_PACKED CONFIGSHAREDAREA {
    /** Items waiting. */
    int m_nItemCount;
    /** Which side wrote them; 0 for none. */
    BYTE m_bWriter;
    CONFIGSHAREDITEM m_arItems[ITEMS_MAX];
};

static_assert(offsetof(CONFIGSHAREDAREA, m_bWriter) == 4 && offsetof(CONFIGSHAREDAREA, m_arItems) == 5);
static_assert(sizeof(CONFIGSHAREDITEM) == 200 && offsetof(CONFIGSHAREDITEM, m_szKey) == 50 &&
              offsetof(CONFIGSHAREDITEM, m_szValue) == 100);
static_assert(sizeof(CONFIGSHAREDAREA) <= CLEARED_SIZE && CLEARED_SIZE <= CONFIG_AREA_SIZE);

namespace {

/** The text of a field, which ends with the field if it has no terminator. */
template <std::size_t N>
struct FIELDTEXT {
    char m_szText[N + 1];

    explicit FIELDTEXT(const char (&szField)[N]) {
        std::memcpy(m_szText, szField, N);
        m_szText[N] = 0;
    }
};

/** Whether a field has room for the text and its terminator. */
bool FitsField(const char* lpszText, std::size_t nFieldSize) {
    return lpszText && strnlen(lpszText, nFieldSize) < nFieldSize;
}

/** Fills a field; what lay behind the text goes, so that no process reads an older one's. */
template <std::size_t N>
void SetField(char (&szField)[N], const char* lpszText) {
    const std::size_t nLen = std::strlen(lpszText);
    std::memcpy(szField, lpszText, nLen);
    std::memset(szField + nLen, 0, N - nLen);
}

bool IsCount(int nCount) {
    return nCount >= 0 && nCount <= ITEMS_MAX;
}

} // namespace

bool ConfigHelper::InitSharedMemory() {
    (void)DestoryMemory();
    bool bExisted = false;
    m_iSharedId = CShareMemory::CreateShareMemory(CONFIG_AREA_KEY, CONFIG_AREA_SIZE, nullptr, bExisted);
    if (!CShareMemory::ShareMemoryExsist(m_iSharedId)) return false;
    m_lSharedData = CShareMemory::ShMemAttach(m_iSharedId, nullptr, 0);
    // Whoever starts clears what others left there, an area that existed included. Intended.
    if (m_lSharedData) std::memset(m_lSharedData, 0, CLEARED_SIZE);
    return true;
}

bool ConfigHelper::DestoryMemory() {
    if (m_lSharedData) (void)CShareMemory::ShMemDetach(m_lSharedData);
    if (!CShareMemory::ShareMemoryExsist(m_iSharedId)) return false;
    return CShareMemory::CloseShareMemory(m_iSharedId);
}

bool ConfigHelper::AddItemToSharedadd(const char* lpszSection, const char* lpszKey, const char* lpszValue, BYTE bFlag) {
    CONFIGSHAREDAREA* lpArea = Area();
    if (!lpArea) return false;
    // Read once: what was checked is what is used.
    int nCount = static_cast<const volatile CONFIGSHAREDAREA*>(lpArea)->m_nItemCount;
    if (!IsCount(nCount) || nCount == ITEMS_MAX) return false;
    // A text that doesn't fit is refused whole: a part of it would be another entry.
    if (!FitsField(lpszSection, sizeof(CONFIGSHAREDITEM::m_szSection)) ||
        !FitsField(lpszKey, sizeof(CONFIGSHAREDITEM::m_szKey)) ||
        !FitsField(lpszValue, sizeof(CONFIGSHAREDITEM::m_szValue)))
        return false;
    if (lpArea->m_bWriter != bFlag) {
        lpArea->m_bWriter = bFlag;
        lpArea->m_nItemCount = nCount = 0;
    }
    CONFIGSHAREDITEM& stItem = lpArea->m_arItems[nCount];
    SetField(stItem.m_szSection, lpszSection);
    SetField(stItem.m_szKey, lpszKey);
    SetField(stItem.m_szValue, lpszValue);
    lpArea->m_nItemCount = nCount + 1;
    return true;
}

bool ConfigHelper::updateFromShared(BYTE bFlag) {
    CONFIGSHAREDAREA* lpArea = Area();
    if (!lpArea) return false;
    CONFIGSHAREDAREA stCopy;
    std::memcpy(&stCopy, lpArea, sizeof(stCopy));
    // Otherwise the compiler may look into the area again instead of the copy.
    std::atomic_signal_fence(std::memory_order_seq_cst);
    if (stCopy.m_bWriter == bFlag) return false;
    const int nCount = IsCount(stCopy.m_nItemCount) ? stCopy.m_nItemCount : 0;
    std::for_each_n(stCopy.m_arItems, nCount, [this](const CONFIGSHAREDITEM& stItem) {
        const FIELDTEXT stSection(stItem.m_szSection);
        const FIELDTEXT stKey(stItem.m_szKey);
        const FIELDTEXT stValue(stItem.m_szValue);
        (void)setValueString(stSection.m_szText, stKey.m_szText, stValue.m_szText);
    });
    lpArea->m_nItemCount = 0;
    lpArea->m_bWriter = 0;
    return true;
}
