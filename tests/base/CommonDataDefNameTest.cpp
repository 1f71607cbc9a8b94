#include "CommonDataDef.h"
#include "Fields.h"

namespace {

using COPY = int (*)(const char*, int, char*);

/** The answer and the name for a text that ends where its heap block ends, as in "2|ABC". */
std::string Copied(COPY lpfnCopy, std::string_view szText, std::size_t nRoom = KESTRO_NAME_SIZE) {
    const ExactText stText(szText);
    const ExactText stName(std::string(nRoom, '?'));
    const int nResult = lpfnCopy(stText.Data(), stText.Size(), stName.Data());
    return std::to_string(nResult) + "|" + stName.Data();
}

// For each function rows of text, answer and name.
TEST(CommonDataDefNameTest, NamesPasswordsAndTitles) {
    const std::pair<COPY, std::vector<std::string>> arTable[] = {
        {CopyNameFromSql,
         {"abc|2|ABC", "_a$1#|2|_A$1#", "#t|2|#T", "$a|0|", "1a|0|", "a-b|0|", "|0|", "\"aB c\"|1|aB c",
          "`aB-c`|1|AB-C", "'a'|0|", "\"\"|0|", "\"|0|", "\"a|0|", "\"a`|0|", "\xE4\xB8\xAD|0|",
          "\"\xE4\xB8\xAD\"|1|\xE4\xB8\xAD"}},
        {CopyUserNameFromSql, {"Root|2|Root", "_a|0|", "'a b'|1|a b", "`Ab`|1|Ab", "\"Ab\"|1|Ab", "''|0|", "'a`|0|"}},
        {CopyDatabaseNameFromSql,
         {"Kestro|2|Kestro", "_a|2|_a", "'my-db'|2|my-db", "`Ab`|2|Ab", "my-db|0|", "''|0|", "'a|0|"}},
        {CopyPassWordFromSql,
         {"''|1|", "'*0A''b'|1|*0A''b", "\"p w\"|1|p w", "pw$1|2|pw$1", "1a|0|", "a-b|0|", "'|0|", "'a|0|"}},
        {CopyTitleFromSql, {"aB|2|aB", "a + 1|2|a + 1", "'a ''b'|1|a ''b", "|0|", "\"\"|0|", "'a|0|", "'|0|"}}};
    for (const auto& [lpfnCopy, lstRow] : arTable)
        for (const std::string& strRow : lstRow)
            EXPECT_EQ(Fields(strRow)[0] + "|" + Copied(lpfnCopy, Fields(strRow)[0]), strRow);
}

TEST(CommonDataDefNameTest, LengthsAndZeroBytes) {
    for (std::size_t nLen = 1; nLen < 100; ++nLen) {
        const std::string strPlain(nLen, 'A');
        const std::string strQuoted = '`' + strPlain + '`';
        for (const COPY lpfnCopy : {CopyNameFromSql, CopyUserNameFromSql, CopyDatabaseNameFromSql}) {
            const std::size_t nMax = lpfnCopy == CopyDatabaseNameFromSql ? 64 : 63;
            EXPECT_EQ(Copied(lpfnCopy, strPlain), nLen <= 64 ? "2|" + strPlain : "0|");
            EXPECT_EQ(Copied(lpfnCopy, strQuoted).substr(1), nLen <= nMax ? "|" + strPlain : "|");
            EXPECT_EQ(Copied(lpfnCopy, strQuoted.substr(0, nLen) + '\0' + '`'), "0|");
        }
        EXPECT_EQ(Copied(CopyTitleFromSql, strQuoted, KESTRO_TITLE_SIZE), "1|" + strPlain.substr(0, 63));
        EXPECT_EQ(Copied(CopyPassWordFromSql, strPlain, nLen + 1), "2|" + strPlain);
    }
    const std::string str62(62, 'a');
    EXPECT_EQ(Copied(CopyTitleFromSql, str62 + "\xE4\xB8\xAD"), "2|" + str62);
    EXPECT_EQ(Copied(CopyTitleFromSql, std::string(99, '\x80')), "0|");
}

// Word and room, answer and string.
TEST(CommonDataDefNameTest, Strings) {
    CheckRows({"'ab'|4=>1|ab", "'ab'|3=>2|", "'a''b'|9=>1|a'b", "''''|4=>1|'", "''|2=>1|", "'a'b'|9=>1|a'b",
               "'''|9=>1|'", "\"a\"|9=>0|", "'a|9=>0|", "'|9=>0|", "|9=>0|"},
              [](const auto& arText) {
                  const ExactText stString(std::string(arText[1].Number(), '?'));
                  const int nResult =
                      CopyStringFromSql(arText[0].Data(), arText[0].Size(), stString.Data(), stString.Size());
                  return std::to_string(nResult) + "|" + stString.Data();
              });
}

// Name, character set and collation.
TEST(CommonDataDefNameTest, CharacterSetsAndCollations) {
    CheckRows({"UTF8=>33|33", "'utf8mb4'=>45|33", "gb2312=>24|28", "GBK=>28|28", "gb18030=>-8|28", "binary=>63|33",
               "Latin7=>8|48", "lat=>33|48", "=>33|33", "koi8=>33|33", "utf8mb4_unicode_ci=>33|-32", "utf8_bin=>33|83",
               "GB18030_BIN=>33|-7", "\"gbk_bin\"=>33|87", "latin1_general_cs=>8|49", "latin1_german2_ci=>8|31"},
              [](const auto& arText) {
                  const int nCharset = GetCharacterset(arText[0].Data(), arText[0].Size());
                  return std::to_string(nCharset) + "|" +
                         std::to_string(GetCollationType(arText[0].Data(), arText[0].Size()));
              });
    EXPECT_STREQ(GetCharacterCodetype(45), "utf-8");
    EXPECT_STREQ(GetCharacterCodetype(-8), "GB18030");
    EXPECT_EQ(GetCharacterCodetype(63), nullptr);
}

} // namespace
