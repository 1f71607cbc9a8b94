#pragma once

#include "TypeDef.h"

// Hash maps with chained nodes, each made for one user of its own. Text keys are compared byte by byte. Memory shortage
// is the code 3 and leaves the map as it was. One thread at a time.

/** A place in a walk over a map: null (false) behind the last entry. */
template <typename NODE>
struct MAPPOSITION {
    NODE* m_lpNode = nullptr;
    int m_nBucket = 0;

    explicit operator bool() const { return m_lpNode != nullptr; }
};

struct stu_MapString_BaseData {
    /** The key, cut to 63 bytes. A removed node is blank: it stays in its chain and its first byte is 0. */
    char m_lpszDataID[64];
    UINT m_nData;
    stu_MapString_BaseData* m_lpNext;
};

/**
 * From texts to numbers. The first 64 entries lie in the object. A key of more than 63 bytes is stored cut and isn't
 * found again by its whole text, but may be by what was left of it; an empty key looks like a blank node and isn't
 * found either.
 */
class CKestroMapString {
public:
    using POSITION = MAPPOSITION<stu_MapString_BaseData>;
    static constexpr int BUCKET_NUM = 128;
    static constexpr int INNER_NODE_NUM = 64;

    CKestroMapString() = default;
    CKestroMapString(const CKestroMapString&) = delete;
    CKestroMapString& operator=(const CKestroMapString&) = delete;
    virtual ~CKestroMapString() { Clear(); }

    /** 0 for a new key. 3 for one that is there, whose value is replaced; 3 also without memory. */
    [[nodiscard]] int Set(const char* lpszKey, UINT nValue);
    /** 0; or -1 without such a key, which leaves `nValue`. */
    [[nodiscard]] int Get(const char* lpszKey, UINT& nValue) const;
    /** Answers the value removed, 0 without such a key. */
    UINT Remove(const char* lpszKey);
    /** Removes all entries and frees the heap's nodes. */
    void Clear();

    /** A walk in the order of buckets. An entry that isn't the next one may be removed meanwhile. */
    [[nodiscard]] POSITION GetHeadPosition() const;
    /** Gives the entry at a position and moves on; null and 0 at the null position. The key lives with its entry. */
    void GetNext(POSITION& stPosition, const char*& lpszKey, UINT& nValue) const;
    /** Counts by walking. */
    [[nodiscard]] int Count() const;
    /** Counts by the books, which also hold the empty keys. */
    [[nodiscard]] int GetCount() const { return m_nDataNum; }

protected:
    /** Inner nodes used. */
    int m_nIndex = 0;
    int m_nDataCount = BUCKET_NUM;
    int m_nDataNum = 0;
    stu_MapString_BaseData** m_lpBaseData = m_arData;
    stu_MapString_BaseData* m_arData[BUCKET_NUM] = {};
    stu_MapString_BaseData m_arTempData[INNER_NODE_NUM];

private:
    stu_MapString_BaseData*& Bucket(const char* lpszKey) const;
    static stu_MapString_BaseData* Find(stu_MapString_BaseData* lpNode, const char* lpszKey);
    stu_MapString_BaseData* NewNode();
    bool IsInner(const stu_MapString_BaseData* lpNode) const;
};
static_assert(sizeof(stu_MapString_BaseData) == 80 && sizeof(CKestroMapString) == 32 + 128 * 8 + 64 * 80);

struct stu_Map_BaseData {
    long long m_nData;
    stu_Map_BaseData* m_lpNext;
};

/**
 * A set of 64-bit numbers; the first of each bucket lies in the object. A 0 there means an empty bucket, so 0 seems to
 * be in the set until another number fills its bucket.
 */
class CKestroMapInt64 {
public:
    static constexpr int BUCKET_NUM = 257;

    CKestroMapInt64() = default;
    CKestroMapInt64(const CKestroMapInt64&) = delete;
    CKestroMapInt64& operator=(const CKestroMapInt64&) = delete;
    virtual ~CKestroMapInt64() { Clear(); }

    /** 0, whether the number is new or not; 3 without memory. */
    [[nodiscard]] int Set(long long llValue);
    /** 1 or 0. */
    [[nodiscard]] int Find(long long llValue) const;
    void Clear();

protected:
    /** Whether there is a node of the heap. */
    BOOL m_bAllocMemory = 0;
    int m_nDataCount = BUCKET_NUM;
    stu_Map_BaseData* m_lpBaseData = m_arData;
    stu_Map_BaseData m_arData[BUCKET_NUM] = {};

private:
    stu_Map_BaseData& Bucket(long long llValue) const;
};
static_assert(sizeof(CKestroMapInt64) == 24 + 257 * 16);

struct stu_MapCache_BaseData {
    /** Null in a free node. */
    char* m_lpszData;
    void* m_lpData;
    /** When the entry was set: ticks of 100 nanoseconds since 1 January 1601 UTC. */
    long long m_nTime;
    stu_MapCache_BaseData* m_lpNext;
};

/**
 * From texts to blocks of bytes, both from `new char[]` and the map's own once they are set; a value is released as
 * such a block. A map that got no memory for its buckets, or none to begin with, stays empty.
 */
class CKestroMapCache {
public:
    using POSITION = MAPPOSITION<stu_MapCache_BaseData>;

    explicit CKestroMapCache(int nBuckets);
    CKestroMapCache(const CKestroMapCache&) = delete;
    CKestroMapCache& operator=(const CKestroMapCache&) = delete;
    virtual ~CKestroMapCache();

    /**
     * 0; or 3 without memory, and then key and value stay the caller's. For a key that is there the old value is
     * released and the old key is not: pass the same pointer, or it is lost.
     */
    [[nodiscard]] int Set(char* lpszKey, void* lpValue);
    /** The value, still the map's own, or null. */
    [[nodiscard]] void* Get(const char* lpszKey) const;
    /** Releases the key and hands the value back to the caller, or null without such a key. */
    [[nodiscard]] void* Remove(const char* lpszKey);
    /** Releases all keys, values and nodes. */
    void Clear();

    /** A walk in the order of buckets. An entry that isn't the next one may be removed meanwhile. */
    [[nodiscard]] POSITION GetHeadPosition() const;
    /** Gives the entry at a position and moves on; null and null at the null position. */
    void GetNext(POSITION& stPosition, const char*& lpszKey, void*& lpValue) const;
    /** Counts by walking. */
    [[nodiscard]] int Count() const;
    [[nodiscard]] int GetCount() const { return m_nDataNum; }

protected:
    int m_nDataCount;
    int m_nDataNum = 0;
    stu_MapCache_BaseData* m_lpBaseData;

private:
    stu_MapCache_BaseData* Bucket(const char* lpszKey) const;
    static stu_MapCache_BaseData* Find(stu_MapCache_BaseData* lpNode, const char* lpszKey);
};
static_assert(sizeof(CKestroMapCache) == 24);
