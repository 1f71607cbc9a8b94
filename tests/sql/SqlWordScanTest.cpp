#include "SqlWordScan.h"

#include <gtest/gtest.h>

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

/** The same rules as a machine that looks at one byte after the other. */
class CBytewise {
public:
    explicit CBytewise(const std::string& strText) : m_strText(strText) {
        while (i < m_strText.size())
            Step(m_strText[i], i + 1 < m_strText.size() ? m_strText[i + 1] : 0);
        End();
    }
    std::string m_strWords;

private:
    static bool IsDigit(char c) { return c >= '0' && c <= '9'; }
    static bool IsIn(char c, const char* lpszBytes) { return c != 0 && std::strchr(lpszBytes, c); }
    void Take() {
        m_bWord = true;
        m_strWords += m_strText[i++];
    }
    void End() {
        if (m_bWord) m_strWords += '~';
        m_bWord = false;
        m_nNumber = 1;
        m_cQuote = 0;
    }
    void TakeSign(int nLen) {
        for (End(); nLen > 0; --nLen)
            Take();
        End();
    }
    void Skip(std::size_t nTo) {
        End();
        i = nTo;
    }
    void Step(char c, char cNext) {
        if (m_nNumber == 2 && !IsDigit(c)) End();
        if (m_cQuote != 0) {
            Take();
            if (c != m_cQuote) return;
            if (c == '\'' && cNext == '\'') return Take();
            return End();
        }
        if (IsIn(c, "'`") || (c == '"' && !m_bWord)) {
            End();
            m_cQuote = c;
            return Take();
        }
        if (c == '.' && m_nNumber == 1 && IsDigit(cNext)) {
            m_nNumber = 2;
            return Take();
        }
        if (IsIn(c, " \t\r\n")) return Skip(i + 1);
        if (c == '-' && cNext == '-') return Skip(std::min(m_strText.find_first_of("\r\n", i), m_strText.size()));
        if (c == '/' && cNext == '*') {
            const std::size_t nClose = m_strText.find("*/", i + 2);
            return Skip(nClose == m_strText.npos ? m_strText.size() : nClose + 2);
        }
        if ((c == '|' && cNext == '|') || (c == '-' && cNext == '>') || (IsIn(c, "><!:") && cNext == '=') ||
            (c == '<' && IsIn(cNext, "->")))
            return TakeSign(2);
        if (IsIn(c, ";,.()[]@?-*+/=><!:")) return TakeSign(1);
        Take();
        if (!IsDigit(c)) m_nNumber = 0;
    }

    const std::string m_strText;
    std::size_t i = 0;
    bool m_bWord = false;
    int m_nNumber = 1;
    char m_cQuote = 0;
};

TEST(SqlWordScanTest, AgreesWithABytewiseMachine) {
    const std::string BYTES = "''\"\"``..||--//**<><=>=!:12aeX_ \n\t\r;,()[]@?+%&^~#$\\{}\xE4";
    std::mt19937 stRandom(1);
    for (int i = 0; i < 100000; ++i) {
        std::string strText(stRandom() % 24, 0);
        const unsigned nBytes = 2 + stRandom() % 53;
        const unsigned nFirst = stRandom() % 53;
        for (char& c : strText)
            c = BYTES[(nFirst + stRandom() % nBytes) % BYTES.size()];
        ASSERT_EQ(Words(strText), CBytewise(strText).m_strWords) << strText;
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
               [](const std::string& strText) {
                   EXPECT_EQ(Words(strText), CBytewise(strText).m_strWords);
                   return Words(strText);
               });
    EXPECT_EQ(Words("insert into t", 6), "into~t~");
    EXPECT_EQ(Words("insert", 6), "");
}

TEST(SqlWordScanTest, TheSinksAnswerEndsTheScan) {
    int nCount = 0;
    EXPECT_EQ(CSqlWordScan("a b c d", 7).Scan(0, [&](int, int) { return ++nCount == 2 ? 3 : 0; }), 3);
    EXPECT_EQ(nCount, 2);
}

} // namespace
