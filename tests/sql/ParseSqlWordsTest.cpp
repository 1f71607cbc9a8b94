#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "Fields.h"
#include "ParseSql.h"

namespace {

/** Each word as position:text, and "!" where position, length and text don't agree. */
std::string Print(const stu_KestroWordArray& stWords) {
    std::ostringstream stText;
    for (int i = 0; i < stWords.m_nNum; ++i) {
        const std::string strWord = stWords.m_arWord[i];
        const bool bAgree = strWord.size() == static_cast<std::size_t>(stWords.m_arWordLen[i]);
        stText << (i ? " " : "") << stWords.m_arPos[i] << ':' << strWord << (bAgree ? "" : "!");
    }
    return stText.str();
}

std::string Parsed(const char* lpszSql, int nStart) {
    CParseSql stParse;
    stu_KestroWordArray stWords;
    EXPECT_EQ(stParse.Parse(lpszSql, nStart, &stWords), 0);
    return Print(stWords);
}

TEST(ParseSqlWordsTest, CutsFromTheStart) {
    EXPECT_EQ(Parsed("select a.b from 'x''y'", 6), "7:a 8:. 9:b 11:from 16:'x''y'");
    EXPECT_EQ(Parsed("a b", -7), "0:a 2:b");
    EXPECT_EQ(Parsed("a b", 3) + Parsed("a b", 1000), "");
}

TEST(ParseSqlWordsTest, KeywordsAreAskedForWordByWord) {
    CParseSql stParse;
    stu_KestroWordArray stWords;
    ASSERT_EQ(stParse.Parse("Select `from`, \"x\".from(.5)", 0, &stWords), 0);
    ASSERT_TRUE(stWords.m_nNum == 9 && stWords.m_arKeyword[8] == WORD_NONE);
    const int CODES[] = {KW_SELECT, WORD_NAME,       WORD_COMMA, WORD_NAME,       WORD_POINT,
                         KW_FROM,   WORD_PAREN_OPEN, WORD_NAME,  WORD_PAREN_CLOSE};
    for (int i = 8; i >= 0; --i)
        EXPECT_EQ(stParse.GetKeyword(&stWords, i), CODES[i]);
    EXPECT_EQ(stWords.m_arKeyword[8], WORD_PAREN_CLOSE);
    EXPECT_EQ(stParse.GetKeyword(&stWords, 9), WORD_NONE);
    EXPECT_EQ(stParse.GetKeyword(&stWords, -1), WORD_NONE);
}

TEST(ParseSqlWordsTest, AddsAndInserts) {
    CParseSql stParse;
    stu_KestroWordArray stWords;
    EXPECT_EQ(stParse.AddWord(nullptr, 0, 5, 0, &stWords), 0);
    EXPECT_EQ(stParse.InsertWord(nullptr, 0, 5, 0, &stWords), 0);
    for (const auto& [lpszText, nIndex] : {std::pair{"b", 0}, {"d", 1}, {"c", 1}, {"a", -3}, {"e", 99}})
        EXPECT_EQ(stParse.InsertWord(lpszText, 7, 1, nIndex, &stWords), 0);
    EXPECT_EQ(Print(stWords), "7:a 7:b 7:c 7:d 7:e");
    EXPECT_EQ(stParse.GetKeyword(&stWords, 4), WORD_NAME);
    stWords = {};
    for (const char* lpszText : {"'a''b'", "''", "''''", "''''''", "'a''", "'''", "a''b", "`a''b`", "'"})
        EXPECT_EQ(stParse.AddWord(lpszText, 0, static_cast<int>(std::strlen(lpszText)), 1, &stWords), 0);
    EXPECT_EQ(stParse.AddWord("'a''b'", 1, 6, 0, &stWords), 0);
    EXPECT_EQ(stParse.AddWord("abc", 2, -1, 0, &stWords), 0);
    EXPECT_EQ(Print(stWords), "0:'a'b' 0:'' 0:''' 0:'''' 0:'a'' 0:''' 0:a''b 0:`a''b` 0:' 1:'a''b' 2:");
}

TEST(ParseSqlWordsTest, ManyWordsKeepTheirPlaces) {
    CParseSql stParse;
    stu_KestroWordArray stWords;
    ASSERT_EQ(stParse.Parse(Repeat(",w", 9000).c_str(), 0, &stWords), 0);
    ASSERT_EQ(stParse.GetKeyword(&stWords, 0), WORD_COMMA);
    for (int i = 18000; i < 60000; ++i)
        ASSERT_EQ(stParse.AddWord("w", i, 1, 0, &stWords), 0);
    EXPECT_EQ(stWords.m_arKeyword[0], WORD_COMMA);
    for (int i = 0; i < 60000; ++i)
        ASSERT_TRUE(stWords.m_arPos[i] == i && stWords.m_arWordLen[i] == 1) << i;
}

TEST(ParseSqlWordsTest, MakesCapitalsBetweenStrings) {
    ExpectRows({" => ", "select 'it''s' || a => SELECT 'it''s' || A", "'a'b'c => 'a'B'c", "a'b => A'b", "a' => A'",
                "\"a\" `b` \xE4z{ => \"A\" `B` \xE4Z{"},
               [](const std::string& strText) {
                   const ExactText stText(strText);
                   CParseSql::MakeUpper(stText.Data(), stText.Size());
                   return std::string(stText.View());
               });
    CParseSql::MakeUpper(nullptr, -1);
}

} // namespace
