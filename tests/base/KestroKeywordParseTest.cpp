#include "KestroKeywordParse.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "CommonDataDef.h"
#include "Fields.h"

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

/** Lookup byte by byte, over chains built anew from the rows: by bucket, the first row in front, then backwards. */
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
    // With quoted names, and without where that differs.
    const auto Codes = [](const std::string& strWord) {
        const int nCode = Code(strWord), nPlain = Code(strWord, 0);
        return std::to_string(nCode) + (nPlain == nCode ? "" : " " + std::to_string(nPlain));
    };
    ExpectRows({"a => 1",       "select1 => 1",  "\x7F => 1",     "\xE4 => 1",  "SQL\x7FNOTES => 1",
                "LOG\x12 => 1", "b'0 => 1",      "`` => 1",       "`ab` => 1",  "`$$` => 1",
                "'a => 1",      "x' => 1",       ".5 => 1",       "=> => 1",    "== => 1",
                "<<> => 1",     "->- => 1",      "7= => 1",       "7> => 1",    "7| => 1",
                "7& => 1",      "7- => 1",       "\"ab\" => 1 2", ".55 => 1 4", "\"\" => 1 42",
                "'ab => 2",     "'a''b' => 2",   "'$' => 2",      "7 => 3",     "7. => 3",
                "7< => 3",      "12ab => 3",     "0x => 3",       "0B01 => 3",  "1.5 => 4",
                "b'01' => 6",   "B'' => 6",      "0b01 => 6",     "0x41 => 7",  "0X4. => 7",
                "x'41' => 8",   "X'' => 8",      "|| => 22",      "-> => 29",   "<- => 30",
                "!= => 32",     "<> => 32",      ">= => 35",      "<= => 36",   ":= => 37",
                "`$` => 40",    "\"$\" => 40 2", " => 42",        "'' => 42",   "&& => 43",
                "<< => 47",     ">> => 48",      "->> => 50",     "<=> => 51",  "null => 272",
                "_utf8 => 1060"},
               Codes);
    EXPECT_EQ(Code(std::string(1, '\0')), 5);
    // Of many bytes, which stand for "9".
    ExpectRows({"a9 => 1", "x'9 => 1", "`9 => 1", "\"9 => 1 2", "'9 => 2", "9 => 3", "9. => 4", ".9 => 4", "0b9 => 6",
                "b'9' => 6", "0x9 => 7", "x'9' => 8"},
               [&](std::string strWord) { return Codes(strWord.replace(strWord.find('9'), 1, std::string(28, '7'))); });
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
