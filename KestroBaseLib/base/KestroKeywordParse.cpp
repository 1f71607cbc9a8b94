// The keyword table, its hash, and what a word is. Most names are told by their length and their two ends. Any other
// word is taken into registers of 8 bytes, padded with zeros, where it gets its capitals, its hash and its comparison;
// no byte beyond its end is read.

#include "KestroKeywordParse.h"

#include <array>
#include <bit>
#include <cstring>
#include <new>
#include <string_view>

#include "CommonDataDefChar.h"

static_assert(std::endian::native == std::endian::little, "words are hashed as little-endian numbers");

// Each row begins at a multiple of its size, so none crosses a cache line. A word that doesn't fit with its terminator
// doesn't compile.
#define KESTRO_KEYWORD(NAME, nCode) {#NAME, nCode},
#define KESTRO_INTRODUCER(NAME, nCode) {"_" #NAME, nCode},
alignas(64) constexpr KESTROKEYWORDDATA CKestroKeywordParse::m_arKeyworData[KEYWORD_NUM + 1] = {
#include "KestroKeywordTable.inc"
    {"", 0}};
#undef KESTRO_KEYWORD
#undef KESTRO_INTRODUCER

namespace {

constexpr bool AscendsInCapitals(const KESTROKEYWORDDATA (&arRow)[KEYWORD_NUM + 1]) {
    int nLast = WORD_EQUAL_NULL;
    for (int i = 0; i < KEYWORD_NUM; ++i) {
        if (arRow[i].m_nKeyworkID <= nLast || arRow[i].m_lpszKeyword[0] == 0) return false;
        nLast = arRow[i].m_nKeyworkID;
        for (const char c : arRow[i].m_lpszKeyword)
            if (c != FoldToUpper(c)) return false;
    }
    return arRow[KEYWORD_NUM].m_lpszKeyword[0] == 0;
}
static_assert(AscendsInCapitals(CKestroKeywordParse::m_arKeyworData),
              "the keywords' codes are out of order, rows are missing, or a word has small letters");

struct SIGNROW {
    char m_lpszSign[4];
    int m_nCode;
};

constexpr SIGNROW SIGNS[] = {
    {"", WORD_NUL},
    {"`", WORD_BACKQUOTE},
    {"'", WORD_SINGLE_QUOTE},
    {"\"", WORD_DOUBLE_QUOTE},
    {";", WORD_SEMICOLON},
    {",", WORD_COMMA},
    {".", WORD_POINT},
    {"(", WORD_PAREN_OPEN},
    {")", WORD_PAREN_CLOSE},
    {"[", WORD_BRACKET_OPEN},
    {"]", WORD_BRACKET_CLOSE},
    {"{", WORD_BRACE_OPEN},
    {"}", WORD_BRACE_CLOSE},
    {"+", WORD_PLUS},
    {"-", WORD_MINUS},
    {"*", WORD_STAR},
    {"/", WORD_SLASH},
    {"%", WORD_PERCENT},
    {"=", WORD_EQUAL},
    {"!", WORD_EXCLAMATION},
    {">", WORD_GREATER},
    {"<", WORD_LESS},
    {"@", WORD_AT},
    {"?", WORD_QUESTION},
    {"$", WORD_DOLLAR},
    {":", WORD_COLON},
    {"&", WORD_AMPERSAND},
    {"^", WORD_CARET},
    {"|", WORD_BAR},
    {"~", WORD_TILDE},
};

constexpr SIGNROW PAIRS[] = {
    {"!=", WORD_NOT_EQUAL}, {">=", WORD_GREATER_EQUAL}, {"<=", WORD_LESS_EQUAL},  {":=", WORD_ASSIGN},
    {"<>", WORD_NOT_EQUAL}, {">>", WORD_SHIFT_RIGHT},   {"->", WORD_ARROW_RIGHT}, {"<<", WORD_SHIFT_LEFT},
    {"||", WORD_CONCAT},    {"&&", WORD_AND},           {"<-", WORD_ARROW_LEFT},  {"''", WORD_EMPTY},
};

/** The code of a word of one byte. */
constexpr std::array<BYTE, 256> SINGLE_CODE = [] {
    std::array<BYTE, 256> arCode{};
    arCode.fill(WORD_NAME);
    for (int c = '0'; c <= '9'; ++c)
        arCode[c] = WORD_INTEGER;
    for (const SIGNROW& stRow : SIGNS)
        arCode[static_cast<BYTE>(stRow.m_lpszSign[0])] = static_cast<BYTE>(stRow.m_nCode);
    return arCode;
}();

/** Whether a longer word that begins with the byte can be anything but a name or a keyword. */
constexpr std::array<bool, 256> BEGINS_LITERAL = [] {
    std::array<bool, 256> arMayBe{};
    for (const char c : {'\'', '"', '`', '.', '!', '<', '>', ':', '-', '|', '&'})
        arMayBe[static_cast<BYTE>(c)] = true;
    for (int c = '0'; c <= '9'; ++c)
        arMayBe[c] = true;
    return arMayBe;
}();

/** A word of two bytes, or WORD_NONE. */
int PairCode(const char* lpszWord, int bQuotedName) {
    // A digit and one of these make a name, a digit and any other byte a number. Intended.
    const bool bOperator = std::memchr("=>|&-", lpszWord[1], 5) != nullptr;
    if (IsCharClass(lpszWord[0], CC_DIGIT) && !bOperator) return WORD_INTEGER;
    for (const SIGNROW& stRow : PAIRS)
        if (std::memcmp(lpszWord, stRow.m_lpszSign, 2) == 0) return stRow.m_nCode;
    if (!bQuotedName && std::memcmp(lpszWord, "\"\"", 2) == 0) return WORD_EMPTY;
    return WORD_NONE;
}

int QuotedNameCode(const char* lpszWord, int nLen) {
    return nLen == 3 && lpszWord[1] == '$' ? WORD_DOLLAR : WORD_NAME;
}

/** A word of two bytes or more by what it begins and ends with, or WORD_NONE. */
int LiteralCode(const char* lpszWord, int nLen, int bQuotedName) {
    if (nLen == 2) return lpszWord[2] == 0 ? PairCode(lpszWord, bQuotedName) : WORD_NONE;
    const bool bLiteral = lpszWord[1] == '\'' && lpszWord[nLen - 1] == '\'';
    const auto nSize = static_cast<std::size_t>(nLen);
    switch (lpszWord[0]) {
        case 'b':
        case 'B':
            return bLiteral ? WORD_BINARY : WORD_NONE;
        case 'x':
        case 'X':
            return bLiteral ? WORD_HEX_STRING : WORD_NONE;
        case '`':
            return QuotedNameCode(lpszWord, nLen);
        case '"':
            return bQuotedName ? QuotedNameCode(lpszWord, nLen) : WORD_STRING;
        case '\'':
            return WORD_STRING;
        case '-':
            return nLen == 3 && std::memcmp(lpszWord, "->>", 3) == 0 ? WORD_ARROW_TEXT : WORD_NONE;
        case '<':
            return nLen == 3 && std::memcmp(lpszWord, "<=>", 3) == 0 ? WORD_EQUAL_NULL : WORD_NONE;
        case '.':
            // A short one under quoted names is looked up and so becomes a name. Intended.
            return nLen > KEYWORD_LEN_MAX || !bQuotedName ? WORD_DECIMAL : WORD_NONE;
        default:
            break;
    }
    if (!IsCharClass(lpszWord[0], CC_DIGIT)) return WORD_NONE;
    // "0B" begins no binary literal. Intended.
    if (lpszWord[0] == '0' && lpszWord[1] == 'b') return WORD_BINARY;
    if (lpszWord[0] == '0' && (lpszWord[1] == 'x' || lpszWord[1] == 'X')) return WORD_HEX;
    // The first byte decides, so "12ab" is an integer as well. Intended.
    return std::memchr(lpszWord, '.', nSize) ? WORD_DECIMAL : WORD_INTEGER;
}

/** A word of a length that no keyword has. */
[[gnu::noinline]] int OddLengthCode(const char* lpszWord, int nLen, int bQuotedName) {
    if (nLen <= 0) return WORD_EMPTY;
    if (nLen == 1) return SINGLE_CODE[static_cast<BYTE>(lpszWord[0])];
    const int nCode = LiteralCode(lpszWord, nLen, bQuotedName);
    return nCode != WORD_NONE ? nCode : WORD_NAME;
}

/** A word in capitals, padded with zero bytes, 8 bytes a part. */
using WORDPARTS = std::array<std::uint64_t, 4>;

template <typename T>
std::uint64_t Load(const char* lpszText) {
    T nValue;
    std::memcpy(&nValue, lpszText, sizeof(T));
    return nValue;
}

/** Capitals of 8 bytes. No sum carries into the next byte. */
std::uint64_t Upper(std::uint64_t nBytes) {
    constexpr std::uint64_t EVERY = 0x0101010101010101;
    const std::uint64_t nLow = nBytes & EVERY * 0x7F;
    const std::uint64_t nFrom = nLow + EVERY * (0x80 - 'a');
    const std::uint64_t nBehind = nLow + EVERY * (0x80 - 'z' - 1);
    return nBytes ^ (nFrom & ~nBehind & ~nBytes & EVERY * 0x80) >> 2;
}

/** A text of as many bytes as `T` has to twice as many, of at most 8: its two ends, which agree where they overlap. */
template <typename T>
std::uint64_t Ends(const char* lpszText, int nLen) {
    const int nSize = sizeof(T);
    return Load<T>(lpszText) | Load<T>(lpszText + nLen - nSize) << 8 * (nLen - nSize);
}

/** The last 0 to 8 bytes of a text that has 8 or more. */
std::uint64_t Tail(const char* lpszEnd, int nLeft) {
    const int nHalf = 4 * (8 - nLeft);
    return Load<std::uint64_t>(lpszEnd - 8) >> nHalf >> nHalf;
}

/** The first `nLen` bytes of a row. */
constexpr WORDPARTS RowParts(const KESTROKEYWORDDATA& stRow, int nLen) {
    WORDPARTS arPart{};
    for (int i = 0; i < nLen; ++i)
        arPart[i / 8] |= std::uint64_t{static_cast<BYTE>(stRow.m_lpszKeyword[i])} << i % 8 * 8;
    return arPart;
}

constexpr UINT BUCKET_NUM = 4093;

/** A word's bucket: its first four bytes, and the three-byte groups behind them, each shifted by its number. */
constexpr UINT WordBucket(const WORDPARTS& arPart) {
    const auto Group = [](std::uint64_t nBits) { return static_cast<UINT>(nBits) & 0xFFFFFF; };
    const UINT nHash = static_cast<UINT>(arPart[0]) + (Group(arPart[0] >> 32) << 1) +
                       (Group(arPart[0] >> 56 | arPart[1] << 8) << 2) + (Group(arPart[1] >> 16) << 3) +
                       (Group(arPart[1] >> 40) << 4) + (Group(arPart[2]) << 5) + (Group(arPart[2] >> 24) << 6) +
                       (Group(arPart[2] >> 48 | arPart[3] << 16) << 7);
    return nHash % BUCKET_NUM;
}

/** The bits of part `nPart` that count in a comparison: a word is compared up to the next multiple of 4 bytes. */
constexpr std::uint64_t ComparedBits(int nLen, int nPart) {
    const int nLeft = nLen - 8 * nPart;
    return nLeft > 4 ? ~std::uint64_t{0} : nLeft > 0 ? 0xFFFFFFFF : 0;
}

/** Where `KEYWORD_LENGTHS` holds the words that begin and end with two bytes, whatever their case. */
constexpr UINT EndsIndex(char cFirst, char cLast) {
    return static_cast<UINT>((cFirst & 31) << 5 | (cLast & 31));
}

/** A sieve that most names fall through: bit n tells that a word of n bytes with such ends may be in the table. */
constexpr std::array<UINT, 1024> KEYWORD_LENGTHS = [] {
    std::array<UINT, 1024> arLengths{};
    for (const KESTROKEYWORDDATA& stRow : CKestroKeywordParse::m_arKeyworData) {
        const int nLen = static_cast<int>(std::string_view(stRow.m_lpszKeyword).size());
        const UINT nBucket = WordBucket(RowParts(stRow, nLen));
        // What a row begins with counts too where it is compared no further and finds the row's bucket.
        for (int n = 1; n <= nLen; ++n)
            if (n == nLen || (n % 4 == 0 && WordBucket(RowParts(stRow, n)) == nBucket))
                arLengths[EndsIndex(stRow.m_lpszKeyword[0], stRow.m_lpszKeyword[n - 1])] |= 1u << n;
        // Zero bytes at a word's end are the same as those it's padded with.
        if (nLen > 0) arLengths[EndsIndex(stRow.m_lpszKeyword[0], 0)] |= ~0u << (nLen + 1);
    }
    return arLengths;
}();

} // namespace

std::atomic<CKestroKeywordParse*> CKestroKeywordParse::m_pSinstance{nullptr};

CKestroKeywordParse* CKestroKeywordParse::instance() {
    CKestroKeywordParse* lpInstance = m_pSinstance.load(std::memory_order_acquire);
    if (lpInstance) return lpInstance;
    auto* const lpNew = new (std::nothrow) CKestroKeywordParse;
    if (!lpNew) return nullptr;
    // Of threads that come at the same time the first to finish wins, and the others drop theirs.
    if (lpNew->Initialize() && m_pSinstance.compare_exchange_strong(lpInstance, lpNew)) return lpNew;
    delete lpNew;
    return lpInstance;
}

void CKestroKeywordParse::DestoryInstance() {
    delete m_pSinstance.exchange(nullptr);
}

CKestroKeywordParse::~CKestroKeywordParse() {
    for (KESTROKEYWORDITEM& stItem : m_arHashData) {
        while (KESTROKEYWORDITEM* const lpNode = stItem.m_pNext) {
            stItem.m_pNext = lpNode->m_pNext;
            delete lpNode;
        }
    }
}

bool CKestroKeywordParse::Initialize() {
    CRC32Init(0x04C11DB7);
    for (const KESTROKEYWORDDATA* p = m_arKeyworData; p->m_nKeyworkID != 0; ++p)
        if (!Insert(*p)) return false;
    return true;
}

// The first row stays in the bucket, and the rest follow in reverse order.
bool CKestroKeywordParse::Insert(const KESTROKEYWORDDATA& stRow) {
    KESTROKEYWORDITEM& stItem = m_arHashData[WordBucket(RowParts(stRow, KEYWORD_LEN_MAX))];
    if (!stItem.m_pKeyword) {
        stItem.m_pKeyword = &stRow;
        return true;
    }
    auto* const lpNode = new (std::nothrow) KESTROKEYWORDITEM{&stRow, stItem.m_pNext};
    if (!lpNode) return false;
    stItem.m_pNext = lpNode;
    return true;
}

int CKestroKeywordParse::GetKeyword(const char* lpszWord, int nLen, char*, int bQuotedName) const {
    if (nLen < 2 || nLen > KEYWORD_LEN_MAX) return OddLengthCode(lpszWord, nLen, bQuotedName);
    if (BEGINS_LITERAL[static_cast<BYTE>(lpszWord[0])] || lpszWord[1] == '\'')
        return GetLiteral(lpszWord, nLen, bQuotedName);
    return FindKeyword(lpszWord, nLen);
}

// What seldom comes is kept out of line, so that the short way saves no registers.
int CKestroKeywordParse::GetLiteral(const char* lpszWord, int nLen, int bQuotedName) const {
    const int nCode = LiteralCode(lpszWord, nLen, bQuotedName);
    return nCode != WORD_NONE ? nCode : FindKeyword(lpszWord, nLen);
}

[[gnu::always_inline]] inline int CKestroKeywordParse::FindKeyword(const char* lpszWord, int nLen) const {
    const char* const lpszEnd = lpszWord + nLen;
    if ((KEYWORD_LENGTHS[EndsIndex(lpszWord[0], lpszEnd[-1])] >> nLen & 1) == 0) return WORD_NAME;
    if (nLen < 4) return FindParts<1>({Upper(Ends<WORD>(lpszWord, nLen)), 0, 0, 0}, nLen);
    if (nLen < 8) return FindParts<1>({Upper(Ends<UINT>(lpszWord, nLen)), 0, 0, 0}, nLen);
    const std::uint64_t nFirst = Upper(Load<std::uint64_t>(lpszWord));
    if (nLen <= 16) return FindParts<2>({nFirst, Upper(Tail(lpszEnd, nLen - 8)), 0, 0}, nLen);
    const std::uint64_t nSecond = Upper(Load<std::uint64_t>(lpszWord + 8));
    if (nLen <= 24) return FindParts<3>({nFirst, nSecond, Upper(Tail(lpszEnd, nLen - 16)), 0}, nLen);
    const std::uint64_t nThird = Upper(Load<std::uint64_t>(lpszWord + 16));
    return FindParts<4>({nFirst, nSecond, nThird, Upper(Tail(lpszEnd, nLen - 24))}, nLen);
}

// Because a word is compared up to the next multiple of 4 bytes only, one of 4, 8, ... bytes also matches a longer row
// that begins with it and shares its bucket: AUTO is AUTOCOMMIT. Intended.
template <int PART_NUM>
inline int CKestroKeywordParse::FindParts(const std::array<std::uint64_t, 4>& arPart, int nLen) const {
    const KESTROKEYWORDITEM* lpItem = &m_arHashData[WordBucket(arPart)];
    if (!lpItem->m_pKeyword) return WORD_NAME;
    for (; lpItem; lpItem = lpItem->m_pNext) {
        const char* const lpszRow = lpItem->m_pKeyword->m_lpszKeyword;
        std::uint64_t nUnequal = 0;
        for (int i = 0; i < PART_NUM; ++i)
            nUnequal |= (Load<std::uint64_t>(lpszRow + 8 * i) ^ arPart[i]) & ComparedBits(nLen, i);
        if (nUnequal == 0) return lpItem->m_pKeyword->m_nKeyworkID;
    }
    return WORD_NAME;
}

void CKestroKeywordParse::CRC32Init(UINT nPolynomial) {
    const UINT nReversed = BitReverse(nPolynomial);
    for (UINT i = 0; i < 256; ++i) {
        UINT nValue = i;
        for (int nBit = 0; nBit < 8; ++nBit)
            nValue = nValue >> 1 ^ (nValue & 1 ? nReversed : 0);
        m_arCrc32Table[i] = nValue;
    }
}

UINT CKestroKeywordParse::BitReverse(UINT nValue) {
    UINT nReversed = 0;
    for (int nBit = 0; nBit < 32; ++nBit)
        nReversed |= (nValue >> nBit & 1) << (31 - nBit);
    return nReversed;
}

UINT CKestroKeywordParse::CRC32Encrypt(const char* lpszData, int nLen) const {
    UINT nCrc = 0xFFFFFFFF;
    for (int i = 0; i < nLen; ++i)
        nCrc = nCrc >> 8 ^ m_arCrc32Table[(nCrc ^ static_cast<BYTE>(lpszData[i])) & 0xFF];
    return ~nCrc;
}
