// The tables from names to columns, in bytes and in wide characters. Both are one template; what differs is how far the
// hash shifts and how names compare.

#include "FieldName2Index.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <cwchar>
#include <limits>

#include "CommonDataDef.h"
#include "CommonDataDefChar.h"
#include "KestroBufferPool.h"
#include "KestroContainerHash.h"
#include "KestroErrorCode.h"

namespace {

constexpr int BUCKET_MIN = 8;
/** Chains at most, as a power of two: a set has few fields, however many buckets its rows ask for. */
constexpr std::size_t CHAIN_MOST = 256;

int HashOf(const char* lpszName) {
    return ContainerHash<24>(lpszName, HASHED_CHAR_NUM);
}
int HashOf(const wchar_t* lpszName) {
    return ContainerHash<16>(lpszName, HASHED_CHAR_NUM);
}

bool Equal(const char* lpszFirst, const char* lpszSecond) {
    return std::strcmp(lpszFirst, lpszSecond) == 0;
}
bool Equal(const wchar_t* lpszFirst, const wchar_t* lpszSecond) {
    return std::wcscmp(lpszFirst, lpszSecond) == 0;
}

bool EqualNoCase(const char* lpszFirst, const char* lpszSecond) {
    return CompareNoCase(lpszFirst, lpszSecond) == 0;
}

wchar_t Capital(wchar_t c) {
    return c >= L'a' && c <= L'z' ? c - 0x20 : c;
}
bool EqualNoCase(const wchar_t* lpszFirst, const wchar_t* lpszSecond) {
    for (std::size_t i = 0; i < HASHED_CHAR_NUM; ++i) {
        if (Capital(lpszFirst[i]) != Capital(lpszSecond[i])) return false;
        if (lpszFirst[i] == 0) return true;
    }
    return true;
}

std::size_t LengthUpTo(const char* lpszName, std::size_t nMax) {
    return strnlen(lpszName, nMax);
}
std::size_t LengthUpTo(const wchar_t* lpszName, std::size_t nMax) {
    return wcsnlen(lpszName, nMax);
}

/** `nNum` zeroed objects in the pool, or null. A pool's pieces are aligned to 4 only. */
template <typename T>
T* AllocZeroed(CKestroBufferPool* lpPool, std::size_t nNum) {
    constexpr std::uintptr_t SPARE = alignof(T) - 4;
    if (nNum > (std::numeric_limits<UINT>::max() - SPARE) / sizeof(T)) return nullptr;
    void* const lpPiece = lpPool->AllocBufferEx(static_cast<UINT>(nNum * sizeof(T) + SPARE));
    return reinterpret_cast<T*>((reinterpret_cast<std::uintptr_t>(lpPiece) + SPARE) & ~std::uintptr_t{alignof(T) - 1});
}

} // namespace

template <typename CHAR, int NAME_SIZE>
int CFieldNameTable<CHAR, NAME_SIZE>::Initialize(int nSize, CKestroBufferPool* lpBufferPool) {
    m_nDataCount = std::max(nSize, BUCKET_MIN);
    m_lpBufferPool = lpBufferPool;
    m_lpBaseData =
        AllocZeroed<stu_Field_BaseData*>(lpBufferPool, std::min(static_cast<std::size_t>(m_nDataCount), CHAIN_MOST));
    return m_lpBaseData ? ERR_OK : ERR_MEMORY;
}

template <typename CHAR, int NAME_SIZE>
UINT CFieldNameTable<CHAR, NAME_SIZE>::Bucket(const CHAR* lpszName) const {
    // As unsigned, since the smallest number, which has no absolute value, needs a bucket too.
    return static_cast<UINT>(HashOf(lpszName)) % static_cast<UINT>(m_nDataCount);
}

template <typename CHAR, int NAME_SIZE>
int CFieldNameTable<CHAR, NAME_SIZE>::Set(const CHAR* lpszName, int nIndex, int bReplace) {
    // A name that doesn't fit is left out: cut, it would never be found again, but answer for the name it was cut to.
    const std::size_t nLen = LengthUpTo(lpszName, NAME_SIZE);
    if (nLen == 0 || nLen == NAME_SIZE) return ERR_OK;
    if (!m_lpBaseData) return ERR_MEMORY;
    stu_Field_BaseData*& lpChain = m_lpBaseData[Bucket(lpszName) % CHAIN_MOST];
    for (stu_Field_BaseData* p = lpChain; p; p = p->m_lpNext) {
        if (!Equal(p->m_lpszName, lpszName)) continue;
        if (bReplace) p->m_nIndex = nIndex;
        return ERR_OK;
    }
    auto* const lpNode = AllocZeroed<stu_Field_BaseData>(m_lpBufferPool, 1);
    if (!lpNode) return ERR_MEMORY;
    std::copy_n(lpszName, nLen, lpNode->m_lpszName);
    lpNode->m_nIndex = nIndex;
    lpNode->m_lpNext = lpChain;
    lpChain = lpNode;
    return ERR_OK;
}

template <typename CHAR, int NAME_SIZE>
int CFieldNameTable<CHAR, NAME_SIZE>::Get(const CHAR* lpszName) const {
    if (!m_lpBaseData) return -1;
    const UINT nBucket = Bucket(lpszName);
    const stu_Field_BaseData* const lpChain = m_lpBaseData[nBucket % CHAIN_MOST];
    for (const stu_Field_BaseData* p = lpChain; p; p = p->m_lpNext)
        if (Equal(p->m_lpszName, lpszName)) return p->m_nIndex;
    // Without case only the bucket of the name as it was given is searched, and a chain may hold several. Intended.
    for (const stu_Field_BaseData* p = lpChain; p; p = p->m_lpNext)
        if (EqualNoCase(p->m_lpszName, lpszName) && Bucket(p->m_lpszName) == nBucket) return p->m_nIndex;
    return -1;
}

template class CFieldNameTable<char, 32>;
template class CFieldNameTable<wchar_t, 64>;
