#include "SqlWordScan.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>

#include "Fields.h"

namespace {

/** The words of a text, a "~" behind each. */
std::string Words(const std::string& strText, int nStart = 0) {
    const ExactText stText({strText.c_str(), strText.size() + 1});
    std::string strWords;
    EXPECT_EQ(CSqlWordScan(stText.Data(), stText.Size() - 1)
                  .Scan(nStart,
                        [&](int nPos, int nLen) {
                            strWords.append(stText.Data() + nPos, static_cast<std::size_t>(nLen)) += '~';
                            return 0;
                        }),
              0);
    return strWords;
}

// Nothing is lost or made up: without blanks and comments the words are the text, and with blanks between them they are
// the same words.
TEST(SqlWordScanTest, WordsAreTheTextAndStayWords) {
    const std::string BYTES = "''\"\"``..||**><>=>=!:12aeX_;,()[]@?+%&^#$\\{}\xE4<<//-- \n\t\r";
    std::mt19937 stRandom(1);
    for (int i = 0; i < 100000; ++i) {
        std::string strText(stRandom() % 24, 0);
        const std::size_t nBytes = 2 + stRandom() % (BYTES.size() - 2), nFirst = stRandom() % BYTES.size();
        for (char& c : strText)
            c = BYTES[(nFirst + stRandom() % nBytes) % BYTES.size()];
        const std::string strWords = Words(strText);
        std::string strTogether = strWords,
                    strApart = strWords.substr(0, std::max<std::size_t>(strWords.size(), 1) - 1);
        std::erase(strTogether, '~');
        std::replace(strApart.begin(), strApart.end(), '~', ' ');
        const bool bLess = strText.find_first_of(" \n\t\r") != strText.npos || strText.find("--") != strText.npos ||
                           strText.find("/*") != strText.npos;
        ASSERT_TRUE(bLess || strTogether == strText) << strText;
        ASSERT_EQ(Words(strApart), strWords) << strText;
    }
}

TEST(SqlWordScanTest, WordsOfTexts) {
    ExpectRows({" => ", "select a.b, 1.5 from t => select~a~.~b~,~1.5~from~t~",
                ".5 a.5 1.a t1.5 1.5e3 1.5.3 a.5.6 => .5~a~.~5~1~.~a~t1~.~5~1.5~e3~1.5~.3~a~.~5.6~",
                "`a`.5 'x'.5 12ab.5 => `a`~.5~'x'~.5~12ab~.~5~", "'a''b' '' 'it => 'a''b'~''~'it~",
                "a'b'c\"d\"\"e\"\"f\" => a~'b'~c\"d\"\"e\"\"f\"~", "\"d\"\"e\"'f' => \"d\"~\"e\"~'f'~",
                "'\"`' `'\"` \"'`\" => '\"`'~`'\"`~\"'`\"~", "'a\\' b => 'a\\'~b~",
                "SELECT/*x*/1/*/*/2/* => SELECT~1~2~", "a--b'\nc -- d\r-->e\n-- => a~c~",
                "a->b->>c<=>d<-1<>2!=:=x!:>> => a~->~b~->~>~c~<=~>~d~<-~1~<>~2~!=~:=~x~!~:~>~>~",
                "a||b a|b |a a| ||| => a~||~b~a|b~|a~a|~||~|~", "a%b a % b #c{} && => a%b~a~%~b~#c{}~&&~",
                ";;(@a)?*[1] => ;~;~(~@~a~)~?~*~[~1~]~"},
               [](const std::string& strText) { return Words(strText); });
    EXPECT_EQ(Words("insert into t", 6), "into~t~");
    EXPECT_EQ(Words("insert", 6), "");
}

TEST(SqlWordScanTest, TheSinksAnswerEndsTheScan) {
    int nCount = 0;
    EXPECT_EQ(CSqlWordScan("a b c d", 7).Scan(0, [&](int, int) { return ++nCount == 2 ? 3 : 0; }), 3);
    EXPECT_EQ(nCount, 2);
}

} // namespace
