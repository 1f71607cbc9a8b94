// The hash maps: chains behind a bucket array, and the walk over them that two of the maps share. Nodes are reused and
// never given back singly.

#include "KestroMap.h"

#include <cstring>
#include <functional>
#include <new>
#include <utility>

#include "ChunkCache.h"
#include "CommonDataDef.h"
#include "KestroContainerHash.h"
#include "KestroErrorCode.h"
#include "Platform.h"

namespace {

/** A key that was there already; the same number as memory shortage. Intended: callers know it as "not new". */
constexpr int MAP_REPLACED = ERR_MEMORY;

constexpr unsigned KEY_SHIFT_NUM = 24;

/** Microseconds from 1601 to 1970. */
constexpr long long EPOCH_MICROSECONDS = 11644473600000000;

constexpr std::size_t NO_LIMIT = SIZE_MAX;

UINT BucketNumber(const char* lpszKey, std::size_t nMax, int nBuckets) {
    return ReduceToBucket(ContainerHash<KEY_SHIFT_NUM>(lpszKey, nMax), static_cast<UINT>(nBuckets));
}

bool IsFree(const stu_MapString_BaseData& stNode) {
    return stNode.m_lpszDataID[0] == 0;
}
bool IsFree(const stu_MapCache_BaseData& stNode) {
    return !stNode.m_lpszData;
}

stu_MapString_BaseData* FirstNode(stu_MapString_BaseData** lpBuckets, int nBucket) {
    return lpBuckets[nBucket];
}
stu_MapCache_BaseData* FirstNode(stu_MapCache_BaseData* lpBuckets, int nBucket) {
    return &lpBuckets[nBucket];
}

/** The first entry at or behind `lpNode` of a bucket's chain, or of the buckets that follow. */
template <typename NODE, typename BUCKETS>
MAPPOSITION<NODE> EntryFrom(BUCKETS lpBuckets, int nBuckets, int nBucket, NODE* lpNode) {
    while (true) {
        for (; lpNode; lpNode = lpNode->m_lpNext)
            if (!IsFree(*lpNode)) return {lpNode, nBucket};
        if (++nBucket >= nBuckets) return {};
        lpNode = FirstNode(lpBuckets, nBucket);
    }
}

template <typename MAP, typename VALUE>
int CountByWalk(const MAP& stMap, VALUE tValue) {
    const char* lpszKey;
    int nCount = 0;
    for (auto stPosition = stMap.GetHeadPosition(); stPosition; ++nCount)
        stMap.GetNext(stPosition, lpszKey, tValue);
    return nCount;
}

/** Frees the nodes of a chain from `lpNode` on. */
template <typename NODE>
void FreeChain(NODE* lpNode) {
    while (lpNode)
        KestroChunkFree(std::exchange(lpNode, lpNode->m_lpNext));
}

void DeleteBlock(void* lpBlock) {
    delete[] static_cast<char*>(lpBlock);
}

} // namespace

stu_MapString_BaseData*& CKestroMapString::Bucket(const char* lpszKey) const {
    return m_lpBaseData[BucketNumber(lpszKey, HASHED_CHAR_NUM, m_nDataCount)];
}

stu_MapString_BaseData* CKestroMapString::Find(stu_MapString_BaseData* lpNode, const char* lpszKey) {
    while (lpNode && (IsFree(*lpNode) || std::strcmp(lpNode->m_lpszDataID, lpszKey) != 0))
        lpNode = lpNode->m_lpNext;
    return lpNode;
}

bool CKestroMapString::IsInner(const stu_MapString_BaseData* lpNode) const {
    constexpr std::less<> Less;
    return !Less(lpNode, m_arTempData) && Less(lpNode, m_arTempData + INNER_NODE_NUM);
}

stu_MapString_BaseData* CKestroMapString::NewNode() {
    if (m_nIndex < INNER_NODE_NUM) return &m_arTempData[m_nIndex++];
    return static_cast<stu_MapString_BaseData*>(KestroChunkAlloc(sizeof(stu_MapString_BaseData)));
}

int CKestroMapString::Set(const char* lpszKey, UINT nValue) {
    stu_MapString_BaseData*& lpBucket = Bucket(lpszKey);
    if (stu_MapString_BaseData* const lpFound = Find(lpBucket, lpszKey)) {
        lpFound->m_nData = nValue;
        return MAP_REPLACED;
    }
    stu_MapString_BaseData* lpNode = lpBucket;
    while (lpNode && !IsFree(*lpNode))
        lpNode = lpNode->m_lpNext;
    if (!lpNode) {
        lpNode = NewNode();
        if (!lpNode) return ERR_MEMORY;
        lpNode->m_lpNext = lpBucket;
        lpBucket = lpNode;
    }
    const std::size_t nLen = strnlen(lpszKey, sizeof(lpNode->m_lpszDataID) - 1);
    std::memcpy(lpNode->m_lpszDataID, lpszKey, nLen);
    lpNode->m_lpszDataID[nLen] = 0;
    lpNode->m_nData = nValue;
    ++m_nDataNum;
    return ERR_OK;
}

int CKestroMapString::Get(const char* lpszKey, UINT& nValue) const {
    const stu_MapString_BaseData* const lpNode = Find(Bucket(lpszKey), lpszKey);
    if (!lpNode) return -1;
    nValue = lpNode->m_nData;
    return 0;
}

UINT CKestroMapString::Remove(const char* lpszKey) {
    stu_MapString_BaseData* const lpNode = Find(Bucket(lpszKey), lpszKey);
    if (!lpNode) return 0;
    // The key may be the node's own.
    std::memset(lpNode->m_lpszDataID, 0, sizeof(lpNode->m_lpszDataID));
    --m_nDataNum;
    return lpNode->m_nData;
}

void CKestroMapString::Clear() {
    for (int i = 0; i < m_nDataCount; ++i) {
        // Nodes of the heap stand in front of their chain's inner ones, since new ones come to the front.
        while (m_lpBaseData[i] && !IsInner(m_lpBaseData[i]))
            KestroChunkFree(std::exchange(m_lpBaseData[i], m_lpBaseData[i]->m_lpNext));
        m_lpBaseData[i] = nullptr;
    }
    m_nIndex = m_nDataNum = 0;
}

CKestroMapString::POSITION CKestroMapString::GetHeadPosition() const {
    return EntryFrom<stu_MapString_BaseData>(m_lpBaseData, m_nDataCount, -1, nullptr);
}

void CKestroMapString::GetNext(POSITION& stPosition, const char*& lpszKey, UINT& nValue) const {
    const stu_MapString_BaseData* const lpNode = stPosition.m_lpNode;
    lpszKey = lpNode ? lpNode->m_lpszDataID : nullptr;
    nValue = lpNode ? lpNode->m_nData : 0;
    if (lpNode) stPosition = EntryFrom(m_lpBaseData, m_nDataCount, stPosition.m_nBucket, lpNode->m_lpNext);
}

int CKestroMapString::Count() const {
    return CountByWalk(*this, UINT{});
}

stu_Map_BaseData& CKestroMapInt64::Bucket(long long llValue) const {
    return m_lpBaseData[ReduceToBucket(llValue, static_cast<UINT>(m_nDataCount))];
}

int CKestroMapInt64::Find(long long llValue) const {
    for (const stu_Map_BaseData* p = &Bucket(llValue); p; p = p->m_lpNext)
        if (p->m_nData == llValue) return 1;
    return 0;
}

int CKestroMapInt64::Set(long long llValue) {
    stu_Map_BaseData& stBucket = Bucket(llValue);
    if (stBucket.m_nData == 0) {
        stBucket.m_nData = llValue;
        return ERR_OK;
    }
    if (Find(llValue)) return ERR_OK;
    void* const lpNode = KestroChunkAlloc(sizeof(stu_Map_BaseData));
    if (!lpNode) return ERR_MEMORY;
    stBucket.m_lpNext = new (lpNode) stu_Map_BaseData{llValue, stBucket.m_lpNext};
    m_bAllocMemory = 1;
    return ERR_OK;
}

void CKestroMapInt64::Clear() {
    for (int i = 0; m_bAllocMemory && i < m_nDataCount; ++i)
        FreeChain(m_lpBaseData[i].m_lpNext);
    std::memset(m_arData, 0, sizeof(m_arData));
    m_bAllocMemory = 0;
}

CKestroMapCache::CKestroMapCache(int nBuckets) : m_nDataCount(nBuckets > 0 ? nBuckets : 0) {
    const std::size_t nBytes = static_cast<std::size_t>(m_nDataCount) * sizeof(stu_MapCache_BaseData);
    m_lpBaseData = nBytes ? static_cast<stu_MapCache_BaseData*>(KestroChunkAlloc(nBytes)) : nullptr;
    if (m_lpBaseData)
        std::memset(m_lpBaseData, 0, nBytes);
    else
        m_nDataCount = 0;
}

CKestroMapCache::~CKestroMapCache() {
    Clear();
    KestroChunkFree(m_lpBaseData);
}

stu_MapCache_BaseData* CKestroMapCache::Bucket(const char* lpszKey) const {
    return m_lpBaseData ? &m_lpBaseData[BucketNumber(lpszKey, NO_LIMIT, m_nDataCount)] : nullptr;
}

stu_MapCache_BaseData* CKestroMapCache::Find(stu_MapCache_BaseData* lpNode, const char* lpszKey) {
    while (lpNode && (IsFree(*lpNode) || std::strcmp(lpNode->m_lpszData, lpszKey) != 0))
        lpNode = lpNode->m_lpNext;
    return lpNode;
}

int CKestroMapCache::Set(char* lpszKey, void* lpValue) {
    stu_MapCache_BaseData* const lpBucket = Bucket(lpszKey);
    if (!lpBucket) return ERR_MEMORY;
    stu_MapCache_BaseData* lpNode = Find(lpBucket, lpszKey);
    if (lpNode) {
        if (lpNode->m_lpData != lpValue) DeleteBlock(lpNode->m_lpData);
    } else {
        // A bucket whose own entry was removed is a free node of its chain like any other: the key may stand behind it.
        lpNode = lpBucket;
        while (lpNode && !IsFree(*lpNode))
            lpNode = lpNode->m_lpNext;
        if (!lpNode) {
            lpNode = static_cast<stu_MapCache_BaseData*>(KestroChunkAlloc(sizeof(stu_MapCache_BaseData)));
            if (!lpNode) return ERR_MEMORY;
            lpNode->m_lpNext = std::exchange(lpBucket->m_lpNext, lpNode);
        }
        ++m_nDataNum;
    }
    lpNode->m_lpszData = lpszKey;
    lpNode->m_lpData = lpValue;
    lpNode->m_nTime = (NowMicroseconds() + EPOCH_MICROSECONDS) * 10;
    return ERR_OK;
}

void* CKestroMapCache::Get(const char* lpszKey) const {
    const stu_MapCache_BaseData* const lpNode = Find(Bucket(lpszKey), lpszKey);
    return lpNode ? lpNode->m_lpData : nullptr;
}

void* CKestroMapCache::Remove(const char* lpszKey) {
    stu_MapCache_BaseData* const lpNode = Find(Bucket(lpszKey), lpszKey);
    if (!lpNode) return nullptr;
    DeleteBlock(std::exchange(lpNode->m_lpszData, nullptr));
    --m_nDataNum;
    return std::exchange(lpNode->m_lpData, nullptr);
}

void CKestroMapCache::Clear() {
    for (int i = 0; i < m_nDataCount; ++i) {
        for (const stu_MapCache_BaseData* p = &m_lpBaseData[i]; p; p = p->m_lpNext) {
            DeleteBlock(p->m_lpszData);
            DeleteBlock(p->m_lpData);
        }
        FreeChain(m_lpBaseData[i].m_lpNext);
        m_lpBaseData[i] = {};
    }
    m_nDataNum = 0;
}

CKestroMapCache::POSITION CKestroMapCache::GetHeadPosition() const {
    return EntryFrom<stu_MapCache_BaseData>(m_lpBaseData, m_nDataCount, -1, nullptr);
}

void CKestroMapCache::GetNext(POSITION& stPosition, const char*& lpszKey, void*& lpValue) const {
    const stu_MapCache_BaseData* const lpNode = stPosition.m_lpNode;
    lpszKey = lpNode ? lpNode->m_lpszData : nullptr;
    lpValue = lpNode ? lpNode->m_lpData : nullptr;
    if (lpNode) stPosition = EntryFrom(m_lpBaseData, m_nDataCount, stPosition.m_nBucket, lpNode->m_lpNext);
}

int CKestroMapCache::Count() const {
    return CountByWalk(*this, static_cast<void*>(nullptr));
}
