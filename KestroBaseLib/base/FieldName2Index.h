#pragma once

#include "TypeDef.h"

class CKestroBufferPool;

/**
 * The name-to-column table of a result set or a parse: hash chains whose buckets and nodes all lie in the caller's pool
 * and live as long as its pieces do. Names have fewer than `NAME_SIZE` characters. One thread at a time.
 */
template <typename CHAR, int NAME_SIZE>
class CFieldNameTable {
public:
    struct stu_Field_BaseData {
        CHAR m_lpszName[NAME_SIZE];
        int m_nIndex;
        stu_Field_BaseData* m_lpNext;
    };

    CFieldNameTable() = default;
    CFieldNameTable(const CFieldNameTable&) = delete;
    CFieldNameTable& operator=(const CFieldNameTable&) = delete;
    virtual ~CFieldNameTable() = default;

    /** Makes an empty table of `nSize` buckets, at least 8; 0 or 3. */
    [[nodiscard]] int Initialize(int nSize, CKestroBufferPool* lpBufferPool);
    /** Nothing: the memory is the pool's. */
    void Free() {}
    /**
     * A name that is there gets the new index only with `bReplace`; an empty one and one too long for its node are
     * passed over. 0, or 3.
     */
    [[nodiscard]] int Set(const CHAR* lpszName, int nIndex, int bReplace);
    /**
     * The index, or -1. A name in other case than it was stored is found only when it falls into the same bucket, so
     * ask for names as they were stored.
     */
    [[nodiscard]] int Get(const CHAR* lpszName) const;

protected:
    int m_nDataCount = 0;
    /** Heads of the chains, each of one bucket or, in a large table, of several; null before `Initialize`. */
    stu_Field_BaseData** m_lpBaseData = nullptr;
    CKestroBufferPool* m_lpBufferPool = nullptr;

private:
    UINT Bucket(const CHAR* lpszName) const;
};

class CFieldName2Index : public CFieldNameTable<char, 32> {};
class CFieldName2IndexW : public CFieldNameTable<wchar_t, 64> {};
static_assert(sizeof(CFieldName2Index) == 32 && sizeof(CFieldName2Index::stu_Field_BaseData) == 48);
static_assert(sizeof(CFieldName2IndexW) == 32 && sizeof(CFieldName2IndexW::stu_Field_BaseData) == 272);
