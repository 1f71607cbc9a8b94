// Character sets and collations by name. Codes below 0 are kept as signed bytes, as the database record holds them.

#include <algorithm>
#include <cstring>
#include <iterator>
#include <string_view>

#include "CommonDataDef.h"

namespace {

constexpr signed char CHARSET_DEFAULT = 33;

/** A character set: its name, its code and the name by which iconv knows it, null for none. */
struct CHARSETROW {
    std::string_view m_szName;
    signed char m_nCode;
    const char* m_lpszCodetype;
    /** Every name that begins so is meant. */
    bool m_bPrefix;
};

constexpr CHARSETROW CHARSETS[] = {
    {"UTF8", CHARSET_DEFAULT, "utf-8", false}, {"UTF8MB4", 45, "utf-8", false},
    {"GB2312", 24, "GB2312", false},           {"GBK", 28, "GBK", false},
    {"GB18030", -8, "GB18030", false},         {"BINARY", 63, nullptr, false},
    {"LATIN", 8, "ISO-8859-1", true},
};

struct COLLATIONROW {
    std::string_view m_szName;
    signed char m_nCode;
};

constexpr COLLATIONROW UTF_COLLATIONS[] = {
    {"UTF8_GENERAL_CI", 33},     {"UTF8_UNICODE_CI", 33}, {"UTF8MB4_GENERAL_CI", 45},
    {"UTF8MB4_UNICODE_CI", -32}, {"UTF8_BIN", 83},        {"UTF8MB4_BIN", 46},
};

constexpr COLLATIONROW GB_COLLATIONS[] = {
    {"GBK_CHINESE_CI", 28}, {"GB2312_CHINESE_CI", 24}, {"GB18030_CHINESE_CI", -8},
    {"GB2312_BIN", 86},     {"GBK_BIN", 87},           {"GB18030_BIN", -7},
};

constexpr COLLATIONROW LATIN_COLLATIONS[] = {
    {"LATIN1_GERMAN1_CI", 5},  {"LATIN1_SWEDISH_CI", 8}, {"LATIN1_DANISH_CI", 15},  {"LATIN1_GERMAN2_CI", 31},
    {"LATIN1_SPANISH_CI", 94}, {"LATIN1_BIN", 47},       {"LATIN1_GENERAL_CI", 49}, {"LATIN1_GENERAL_CS", 49},
};

/** The collations whose names begin with one letter, and the code of a name that is not among them. */
struct COLLATIONGROUP {
    char m_cFirst;
    const COLLATIONROW* m_lpRows;
    std::size_t m_nRows;
    signed char m_nDefault;
};

// The defaults are the collations that a character set of the group gets when it is named alone.
constexpr COLLATIONGROUP COLLATION_GROUPS[] = {
    {'U', UTF_COLLATIONS, std::size(UTF_COLLATIONS), CHARSET_DEFAULT},
    {'G', GB_COLLATIONS, std::size(GB_COLLATIONS), 28},
    {'L', LATIN_COLLATIONS, std::size(LATIN_COLLATIONS), 48},
};

static_assert(std::ranges::all_of(COLLATION_GROUPS, [](const COLLATIONGROUP& stGroup) {
    return std::all_of(stGroup.m_lpRows, stGroup.m_lpRows + stGroup.m_nRows,
                       [&](const COLLATIONROW& stRow) { return stRow.m_szName.front() == stGroup.m_cFirst; });
}));

/** A name without its quotes, in capitals; empty for a bad one. */
std::string_view CopyUpperTitle(const char* lpszText, int nLen, char (&szTitle)[KESTRO_TITLE_SIZE]) {
    if (CopyTitleFromSql(lpszText, nLen, szTitle) == NAME_BAD) return {};
    const std::size_t nTitleLen = std::strlen(szTitle);
    KestroMakeUpper(szTitle, static_cast<int>(nTitleLen));
    return {szTitle, nTitleLen};
}

} // namespace

signed char GetCharacterset(const char* lpszText, int nLen) {
    char szTitle[KESTRO_TITLE_SIZE];
    const std::string_view szName = CopyUpperTitle(lpszText, nLen, szTitle);
    for (const CHARSETROW& stRow : CHARSETS)
        if (stRow.m_bPrefix ? szName.starts_with(stRow.m_szName) : szName == stRow.m_szName) return stRow.m_nCode;
    return CHARSET_DEFAULT;
}

signed char GetCollationType(const char* lpszText, int nLen) {
    char szTitle[KESTRO_TITLE_SIZE];
    const std::string_view szName = CopyUpperTitle(lpszText, nLen, szTitle);
    for (const COLLATIONGROUP& stGroup : COLLATION_GROUPS) {
        if (!szName.starts_with(stGroup.m_cFirst)) continue;
        for (std::size_t i = 0; i < stGroup.m_nRows; ++i)
            if (stGroup.m_lpRows[i].m_szName == szName) return stGroup.m_lpRows[i].m_nCode;
        return stGroup.m_nDefault;
    }
    return CHARSET_DEFAULT;
}

const char* GetCharacterCodetype(signed char nCharset) {
    for (const CHARSETROW& stRow : CHARSETS)
        if (stRow.m_nCode == nCharset) return stRow.m_lpszCodetype;
    return nullptr;
}
