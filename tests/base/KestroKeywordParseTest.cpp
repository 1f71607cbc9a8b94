#include "KestroKeywordParse.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "CommonDataDef.h"
#include "ExactBytes.h"

namespace {

/** The code of a word that ends with its block, but for a terminator. */
int Code(const std::string& strWord, int bQuotedName = 1) {
    const ExactText stText({strWord.c_str(), strWord.size() + 1});
    return CKestroKeywordParse::instance()->GetKeyword(stText.Data(), stText.Size() - 1, nullptr, bQuotedName);
}

std::string Changed(std::string strWord, void (*lpfnChange)(char*, int)) {
    lpfnChange(strWord.data(), static_cast<int>(strWord.size()));
    return strWord;
}

/** Lookup byte by byte, over lists built anew from the rows: chains by bucket, the first row in front, then backwards.
 */
class CPlainLookup {
public:
    CPlainLookup() {
        for (int i = 0; i < KEYWORD_NUM; ++i) {
            const KESTROKEYWORDDATA& stRow = CKestroKeywordParse::m_arKeyworData[i];
            auto& arrChain = m_mapChain[Bucket(stRow.m_lpszKeyword)];
            arrChain.insert(arrChain.begin() + (arrChain.empty() ? 0 : 1), &stRow);
        }
    }
    int Find(const std::string& strWord) const {
        const std::string strUpper = Changed(strWord, KestroMakeUpper);
        const auto itChain = m_mapChain.find(Bucket(strUpper));
        if (itChain == m_mapChain.end()) return WORD_NAME;
        std::string strPadded = strUpper;
        strPadded.resize((strUpper.size() + 3) / 4 * 4);
        for (const KESTROKEYWORDDATA* p : itChain->second)
            if (strPadded.compare(0, strPadded.npos, p->m_lpszKeyword, strPadded.size()) == 0) return p->m_nKeyworkID;
        return WORD_NAME;
    }

private:
    static UINT Bucket(std::string strWord) {
        strWord.resize(32);
        const auto Byte = [&](std::size_t i) { return UINT{static_cast<BYTE>(strWord[i])}; };
        UINT nHash = Byte(0) | Byte(1) << 8 | Byte(2) << 16 | Byte(3) << 24;
        for (unsigned k = 1; k <= 7 && Byte(3 * k + 1) != 0; ++k)
            nHash += (Byte(3 * k + 1) | Byte(3 * k + 2) << 8 | Byte(3 * k + 3) << 16) << k;
        return nHash % 4093;
    }
    std::map<UINT, std::vector<const KESTROKEYWORDDATA*>> m_mapChain;
};

TEST(KestroKeywordParseTest, KeywordsOfAnyCaseUnlessQuoted) {
    for (int i = 0; i < KEYWORD_NUM; ++i) {
        const KESTROKEYWORDDATA& stRow = CKestroKeywordParse::m_arKeyworData[i];
        const std::string strWord = stRow.m_lpszKeyword;
        const std::string strLower = Changed(strWord, KestroMakeLower);
        std::string strMixed = strWord;
        strMixed.back() = strLower.back();
        for (const std::string& strCase : {strWord, strLower, strMixed})
            EXPECT_EQ(Code(strCase), stRow.m_nKeyworkID) << strCase;
        for (const char cQuote : {'`', '"', '\''})
            EXPECT_EQ(Code(cQuote + strWord + cQuote), cQuote == '\'' ? WORD_STRING : WORD_NAME) << strWord;
    }
}

TEST(KestroKeywordParseTest, WordsClassify) {
    const std::string LONG(28, '7');
    const struct {
        int m_nCode;
        /** Without quoted names. */
        int m_nPlainCode;
        std::vector<std::string> m_arrWord;
    } ROWS[] = {{1, 1, {"a", "select1", "\x7F", "\xE4", "SQL\x7FNOTES", "LOG\x12", "a" + LONG, "b'0", "x'" + LONG}},
                {1, 1, {"``", "`ab`", "`$$`", "`" + LONG, "'a", "x'", ".5", "=>", "==", "<<>", "->-"}},
                {1, 1, {"7=", "7>", "7|", "7&", "7-"}},
                {1, 2, {"\"ab\"", "\"" + LONG}},
                {1, 4, {".55"}},
                {1, 0x2A, {"\"\""}},
                {2, 2, {"'ab", "'a''b'", "'$'", "'" + LONG}},
                {3, 3, {"7", "7.", "7<", "12ab", "0x", "0B01", LONG}},
                {4, 4, {"1.5", LONG + ".", "." + LONG}},
                {5, 5, {std::string(1, '\0')}},
                {6, 6, {"b'01'", "B''", "0b01", "0b" + LONG, "b'" + LONG + "'"}},
                {7, 7, {"0x41", "0X4.", "0x" + LONG}},
                {8, 8, {"x'41'", "X''", "x'" + LONG + "'"}},
                {0x16, 0x16, {"||"}},
                {0x1D, 0x1D, {"->"}},
                {0x1E, 0x1E, {"<-"}},
                {0x20, 0x20, {"!=", "<>"}},
                {0x23, 0x23, {">="}},
                {0x24, 0x24, {"<="}},
                {0x25, 0x25, {":="}},
                {0x28, 0x28, {"`$`"}},
                {0x28, 2, {"\"$\""}},
                {0x2A, 0x2A, {"", "''"}},
                {0x2B, 0x2B, {"&&"}},
                {0x2F, 0x2F, {"<<"}},
                {0x30, 0x30, {">>"}},
                {0x32, 0x32, {"->>"}},
                {0x33, 0x33, {"<=>"}},
                {272, KW_NULL, {"null"}},
                {1060, KW_INTRODUCER_UTF8, {"_utf8"}}};
    for (const auto& stRow : ROWS) {
        for (const std::string& strWord : stRow.m_arrWord) {
            EXPECT_EQ(Code(strWord), stRow.m_nCode) << strWord;
            EXPECT_EQ(Code(strWord, 0), stRow.m_nPlainCode) << strWord;
        }
    }
    // The signs in the order of their codes; a blank stands for a code that is no single byte.
    const std::string SIGNS = "`'\";,.()[]{} +-*/%=  ! ><   @?$:  &^|  ~";
    for (std::size_t i = 0; i < SIGNS.size(); ++i)
        EXPECT_EQ(Code(SIGNS.substr(i, 1)), SIGNS[i] == ' ' ? WORD_NAME : static_cast<int>(i) + 0xA) << SIGNS[i];
}

TEST(KestroKeywordParseTest, AgreesWithAPlainLookup) {
    const CPlainLookup stPlain;
    EXPECT_EQ(Code("auto"), KW_AUTOCOMMIT);
    EXPECT_EQ(Code("autoc"), WORD_NAME);
    EXPECT_EQ(Code(std::string("SELECT\0\0\0", 9)), KW_SELECT);
    std::mt19937 stRandom(1);
    for (int i = 0; i < KEYWORD_NUM; ++i) {
        const std::string strWord = CKestroKeywordParse::m_arKeyworData[i].m_lpszKeyword;
        for (std::size_t nLen = 2; nLen <= KEYWORD_LEN_MAX; ++nLen) {
            // What the keyword begins with, or the keyword and zero bytes; then with one byte changed.
            std::string strChanged = strWord;
            strChanged.resize(nLen);
            EXPECT_EQ(Code(strChanged), stPlain.Find(strChanged)) << strChanged;
            strChanged[1 + stRandom() % (nLen - 1)] ^= static_cast<char>(1 << stRandom() % 8);
            EXPECT_EQ(Code(strChanged), stPlain.Find(strChanged)) << strChanged;
        }
    }
}

TEST(KestroKeywordParseTest, RandomBytesAreReadWithinTheirEnds) {
    std::mt19937 stRandom(1);
    const std::string BYTES = "'\"`.0bBxX<>=-|&:!$ aZ_\x80";
    for (int i = 0; i < 200000; ++i) {
        std::string strWord(stRandom() % 34, 0);
        for (char& c : strWord)
            c = stRandom() % 4 ? BYTES[stRandom() % BYTES.size()] : static_cast<char>(stRandom());
        // Only a word of two bytes needs its terminator.
        const ExactText stText(strWord.size() == 2 ? std::string_view(strWord.c_str(), 3) : strWord);
        const int nLen = static_cast<int>(strWord.size());
        const int nCode = CKestroKeywordParse::instance()->GetKeyword(stText.Data(), nLen, nullptr, i % 2);
        EXPECT_TRUE(nCode > WORD_NONE && nCode <= KW_INTRODUCER_GB18030);
    }
    EXPECT_EQ(CKestroKeywordParse::instance()->GetKeyword("a", -1, nullptr, 1), WORD_EMPTY);
    EXPECT_EQ(CKestroKeywordParse::instance()->GetKeyword("<=>", 2, nullptr, 1), WORD_NAME);
}

TEST(KestroKeywordParseTest, Crc32IsTheStandardOne) {
    const CKestroKeywordParse& stParse = *CKestroKeywordParse::instance();
    EXPECT_EQ(stParse.CRC32Encrypt("123456789", 9), 0xCBF43926);
    EXPECT_EQ(stParse.CRC32Encrypt("\xFF\xFF\xFF\xFF", 4), 0xFFFFFFFF);
    EXPECT_EQ(stParse.CRC32Encrypt("", 0), 0u);
}

TEST(KestroKeywordParseTest, AllThreadsGetOneInstance) {
    for (int i = 0; i < 20; ++i) {
        CKestroKeywordParse::DestoryInstance();
        CKestroKeywordParse* arrSeen[4] = {};
        std::vector<std::thread> arrThread;
        for (CKestroKeywordParse*& lpSeen : arrSeen)
            arrThread.emplace_back([&] {
                lpSeen = CKestroKeywordParse::instance();
                EXPECT_EQ(lpSeen->GetKeyword("nodedata", 8, nullptr, 1), KW_NODEDATA);
            });
        for (std::thread& stThread : arrThread)
            stThread.join();
        EXPECT_EQ(std::count(arrSeen, arrSeen + 4, CKestroKeywordParse::instance()), 4);
    }
}

} // namespace
