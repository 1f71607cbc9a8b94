#pragma once

#include <array>
#include <atomic>
#include <cstdint>

#include "KestroKeyword.h"
#include "TypeDef.h"

/** A row of the keyword table: the word in capitals, padded with zero bytes, and its code. */
struct KESTROKEYWORDDATA {
    char m_lpszKeyword[KEYWORD_LEN_MAX + 1];
    int m_nKeyworkID;
};
static_assert(sizeof(KESTROKEYWORDDATA) == 32);

/** A bucket of the hash, or a node of its chain. */
struct stu_Kestro_Keyword_Item {
    const KESTROKEYWORDDATA* m_pKeyword;
    stu_Kestro_Keyword_Item* m_pNext;
};
using KESTROKEYWORDITEM = stu_Kestro_Keyword_Item;

/**
 * Tells what a word is: keyword, class of literal or sign. One instance serves the process; it's built at its first
 * use and only read afterwards, by any number of threads.
 */
class CKestroKeywordParse {
public:
    CKestroKeywordParse(const CKestroKeywordParse&) = delete;
    CKestroKeywordParse& operator=(const CKestroKeywordParse&) = delete;

    /** The instance, made by whichever thread comes first; null without memory, and then the next call tries again. */
    [[nodiscard]] static CKestroKeywordParse* instance();
    /** Frees the instance, when no thread uses it any more. */
    static void DestoryInstance();

    /**
     * A code of KESTROKEYWORD. Of a word of two bytes the byte behind it is read too: a sign or an empty string ends
     * with a zero byte there. Nothing is written to `lpszScratch`, which may be null. With `bQuotedName` double quotes
     * enclose a name, otherwise a string; and a word that begins with a point is a name, otherwise a number.
     */
    [[nodiscard]] int GetKeyword(const char* lpszWord, int nLen, char* lpszScratch, int bQuotedName) const;

    /** CRC-32 of some bytes, as of IEEE 802.3; 0 for none. */
    [[nodiscard]] UINT CRC32Encrypt(const char* lpszData, int nLen) const;

    /** In the order of insertion; a last row with an empty word and code 0 ends it. */
    static const KESTROKEYWORDDATA m_arKeyworData[KEYWORD_NUM + 1];

private:
    /** The buckets are fewer: the last three items stay empty. */
    static constexpr int ITEM_NUM = 4096;

    CKestroKeywordParse() = default;
    ~CKestroKeywordParse();

    [[nodiscard]] bool Initialize();
    [[nodiscard]] bool Insert(const KESTROKEYWORDDATA& stRow);
    void CRC32Init(UINT nPolynomial);
    static UINT BitReverse(UINT nValue);
    [[gnu::noinline]] int GetLiteral(const char* lpszWord, int nLen, int bQuotedName) const;
    int FindKeyword(const char* lpszWord, int nLen) const;
    template <int PART_NUM>
    int FindParts(const std::array<std::uint64_t, 4>& arPart, int nLen) const;

    static std::atomic<CKestroKeywordParse*> m_pSinstance;

    KESTROKEYWORDITEM m_arHashData[ITEM_NUM] = {};
    UINT m_arCrc32Table[256] = {};
};
static_assert(sizeof(CKestroKeywordParse) == 4096 * 16 + 256 * 4);
