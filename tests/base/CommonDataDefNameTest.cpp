#include <gtest/gtest.h>

#include <iconv.h>

#include <string>

#include "CommonDataDef.h"
#include "ExactBytes.h"

namespace {

using namespace std::string_literals;

const std::string A63(63, 'a');
const std::string A64(64, 'a');

struct NAMEROW {
    std::string m_strText;
    int m_nResult;
    std::string m_strName;
};

using COPY = int (*)(const char*, int, char*);

/** Copies each row's text, which ends where its heap block ends, into a block of `nRoom` bytes, or as long as it. */
void Check(COPY lpfnCopy, std::initializer_list<NAMEROW> lstRow, std::size_t nRoom = 0) {
    for (const NAMEROW& stRow : lstRow) {
        const ExactText stText(stRow.m_strText);
        const ExactText stName(std::string(nRoom != 0 ? nRoom : stRow.m_strText.size() + 1, '?'));
        EXPECT_EQ(lpfnCopy(stText.Data(), stText.Size(), stName.Data()), stRow.m_nResult) << stRow.m_strText;
        EXPECT_EQ(std::string(stName.Data()), stRow.m_strName) << stRow.m_strText;
    }
}

TEST(CommonDataDefNameTest, ObjectNames) {
    Check(CopyNameFromSql,
          {{"abc", 2, "ABC"},
           {"_a$1#", 2, "_A$1#"},
           {"#t", 2, "#T"},
           {"$a", 0, ""},
           {"1a", 0, ""},
           {"a-b", 0, ""},
           {"", 0, ""},
           {"\"aB c\"", 1, "aB c"},
           {"`aB-c`", 1, "AB-C"},
           {"'a'", 0, ""},
           {"\"\"", 0, ""},
           {"\"", 0, ""},
           {"\"a", 0, ""},
           {"\"a`", 0, ""},
           {A64, 2, std::string(64, 'A')},
           {A64 + "a", 0, ""},
           {"\"" + A63 + "\"", 1, A63},
           {"\"" + A64 + "\"", 0, ""},
           {"a\0b"s, 0, ""},
           {"\"a\0\""s, 0, ""},
           {"\xE4\xB8\xAD", 0, ""},
           {"\"\xE4\xB8\xAD\"", 1, "\xE4\xB8\xAD"}},
          KESTRO_NAME_SIZE);
    char szName[KESTRO_NAME_SIZE];
    EXPECT_EQ(CopyNameFromSql("abc", -1, szName), NAME_BAD);
}

TEST(CommonDataDefNameTest, UserAndDatabaseNames) {
    Check(CopyUserNameFromSql,
          {{"Root", 2, "Root"},
           {"_a", 0, ""},
           {"'a b'", 1, "a b"},
           {"`Ab`", 1, "Ab"},
           {"\"Ab\"", 1, "Ab"},
           {"'" + A63 + "'", 1, A63},
           {"'" + A64 + "'", 0, ""},
           {A64, 2, A64},
           {"''", 0, ""}},
          KESTRO_NAME_SIZE);
    Check(CopyDatabaseNameFromSql,
          {{"Kestro", 2, "Kestro"},
           {"_a", 2, "_a"},
           {"'my-db'", 2, "my-db"},
           {"`Ab`", 2, "Ab"},
           {"my-db", 0, ""},
           {"'" + A64 + "'", 2, A64},
           {"'" + A64 + "a'", 0, ""},
           {A64 + "a", 0, ""},
           {"''", 0, ""},
           {"'a", 0, ""}},
          KESTRO_NAME_SIZE);
}

TEST(CommonDataDefNameTest, PasswordsAndTitles) {
    Check(CopyPassWordFromSql, {{"''", 1, ""},
                                {"'*0A''b'", 1, "*0A''b"},
                                {"\"p w\"", 1, "p w"},
                                {"secret$1", 2, "secret$1"},
                                {"1a", 0, ""},
                                {"a-b", 0, ""},
                                {"'", 0, ""},
                                {"'a", 0, ""},
                                {"'" + A64 + A64 + "'", 1, A64 + A64}});
    Check(CopyTitleFromSql,
          {{"aB", 2, "aB"},
           {"a + 1", 2, "a + 1"},
           {"'a ''b'", 1, "a ''b"},
           {"`x`", 1, "x"},
           {"", 0, ""},
           {"\"\"", 0, ""},
           {"'a", 0, ""},
           {A64, 2, A63},
           {"'" + A64 + "'", 1, A63},
           {std::string(62, 'a') + "\xE4\xB8\xAD", 2, std::string(62, 'a')},
           {std::string(99, '\x80'), 0, ""}},
          KESTRO_TITLE_SIZE);
}

TEST(CommonDataDefNameTest, Strings) {
    const struct {
        std::string m_strText;
        int m_nSize;
        int m_nResult;
        const char* m_lpszString;
    } arRow[] = {{"'ab'", 4, 1, "ab"}, {"'ab'", 3, 2, ""},     {"'a''b'", 9, 1, "a'b"}, {"''''", 4, 1, "'"},
                 {"''", 2, 1, ""},     {"'a'b'", 9, 1, "a'b"}, {"'''", 9, 1, "'"},      {"\"a\"", 9, 0, ""},
                 {"'a", 9, 0, ""},     {"'", 9, 0, ""},        {"'a\0'"s, 9, 0, ""},    {"", 9, 0, ""}};
    for (const auto& stRow : arRow) {
        const ExactText stText(stRow.m_strText);
        const ExactText stString(std::string(static_cast<std::size_t>(stRow.m_nSize), '?'));
        EXPECT_EQ(CopyStringFromSql(stText.Data(), stText.Size(), stString.Data(), stRow.m_nSize), stRow.m_nResult);
        EXPECT_STREQ(stString.Data(), stRow.m_lpszString) << stRow.m_strText;
    }
}

TEST(CommonDataDefNameTest, CharacterSetsAndCollations) {
    const struct {
        std::string_view m_szName;
        int m_nCharset;
        int m_nCollation;
    } arRow[] = {{"UTF8", 33, 33},
                 {"'utf8mb4'", 45, 33},
                 {"gb2312", 24, 28},
                 {"GBK", 28, 28},
                 {"gb18030", -8, 28},
                 {"binary", 63, 33},
                 {"Latin7", 8, 48},
                 {"lat", 33, 48},
                 {"", 33, 33},
                 {"koi8", 33, 33},
                 {"utf8mb4_unicode_ci", 33, -32},
                 {"utf8_bin", 33, 83},
                 {"GB18030_BIN", 33, -7},
                 {"\"gbk_bin\"", 33, 87},
                 {"latin1_general_cs", 8, 49},
                 {"latin1_german2_ci", 8, 31}};
    for (const auto& stRow : arRow) {
        const ExactText stName(stRow.m_szName);
        EXPECT_EQ(GetCharacterset(stName.Data(), stName.Size()), stRow.m_nCharset) << stRow.m_szName;
        EXPECT_EQ(GetCollationType(stName.Data(), stName.Size()), stRow.m_nCollation) << stRow.m_szName;
    }
    for (const signed char nCode : {33, 45, 24, 28, -8, 8}) {
        iconv_t stConverter = iconv_open(GetCharacterCodetype(nCode), "utf-8");
        ASSERT_NE(stConverter, iconv_t(-1)) << int{nCode};
        iconv_close(stConverter);
    }
    EXPECT_EQ(GetCharacterCodetype(63), nullptr);
    EXPECT_EQ(GetCharacterCodetype(1), nullptr);
}

} // namespace
