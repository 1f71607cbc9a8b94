#pragma once

#include <cstdio>
#include <memory>
#include <string_view>

// What reader and writer of profile files share: the file's text and the walk along its lines.

/** Largest profile file in bytes; a larger one counts as unreadable. */
constexpr long long PROFILE_FILE_MAX = 256LL << 20;

/** The text of an open file, up to its first zero byte. */
struct PROFILETEXT {
    std::unique_ptr<char[]> m_lpBytes;
    std::string_view m_strText;
    /** The file's size, 0 also where it can't be told. */
    long long m_nFileSize = 0;

    /** False if there is no room for the text. */
    [[nodiscard]] bool Read(FILE* lpFile);
};

enum PROFILELINEKIND {
    PROFILE_OTHER,
    PROFILE_HEADER,
    PROFILE_ENTRY,
};

/** One line. All views lie in the text walked along. */
struct PROFILELINE {
    PROFILELINEKIND m_nKind;
    /** From the line's first byte, blank or not. */
    const char* m_lpStart;
    /** The line without white space around it. */
    std::string_view m_strTrimmed;
    /** Section of a header, key of an entry. */
    std::string_view m_strName;
    /** What stands behind the "=" of an entry, a comment included. */
    std::string_view m_strValue;

    /** Begins with "[", whether or not a name follows; ends a section for the writer. */
    bool IsBracketed() const { return m_strTrimmed.starts_with('['); }
    bool IsNamed(std::string_view strName) const;
};

/** Walks along the lines of a text. */
class CProfileLines {
public:
    explicit CProfileLines(std::string_view strText) : m_strRest(strText) {}
    /** The next line; false behind the last one. */
    [[nodiscard]] bool Next(PROFILELINE& stLine);

private:
    std::string_view m_strRest;
    bool m_bLineFeeds = true;
};

/** Whether two names are equal but for the case of ASCII letters. */
[[nodiscard]] bool SameName(std::string_view strFirst, std::string_view strSecond);

/** White space of the profile format: blank, tab, line feed, vertical tab, form feed, carriage return. */
std::string_view TrimLeft(std::string_view strText);
std::string_view TrimRight(std::string_view strText);
std::string_view Trim(std::string_view strText);
