// The store's file. A line ends at a line feed or a carriage return. Lines that begin with "#" are comments, "[name]"
// is a section, "key=value" an entry; a "#" behind a value belongs to it, and a section ends at the next one. A change
// is put into the text as it stands, which is then written anew in one go, without a temporary file beside it; lines
// put in have "\r\n" on both sides.

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <new>
#include <string>
#include <utility>

#include "ConfigHelper.h"
#include "LinuxCommonAPI.h"
#include "LinuxCommonAPIProfileLines.h"

/** One line. All views lie in the text walked along. */
struct CONFIGLINE {
    PROFILELINEKIND m_nKind;
    const char* m_lpStart;
    /** First byte behind its line break. */
    const char* m_lpNext;
    /** Section of a header, key of an entry. */
    std::string_view m_strName;
    std::string_view m_strValue;
};

/** What a change replaces in the text. */
struct CONFIGPLACE {
    std::string_view m_strBefore;
    std::string_view m_strAfter;
    bool m_bSection;
    bool m_bKey;
};

namespace {

constexpr std::string_view BYTE_ORDER_MARK = "\xEF\xBB\xBF";
constexpr char BLANKS[] = " \r\n";
constexpr char LINE_BREAKS[] = "\r\n";
/** Sections that are read from a file; one more can be set. */
constexpr int SECTIONS_READ = CONFIG_SECTIONS_MAX - 1;

std::string_view WithoutMark(std::string_view strText) {
    return strText.starts_with(BYTE_ORDER_MARK) ? strText.substr(BYTE_ORDER_MARK.size()) : strText;
}

/** Without the line break at its end. */
std::string_view WithoutBreak(std::string_view strText) {
    if (strText.ends_with('\n')) strText.remove_suffix(1);
    if (strText.ends_with('\r')) strText.remove_suffix(1);
    return strText;
}

} // namespace

bool ConfigHelper::NextLine(std::string_view& strRest, CONFIGLINE& stLine) const {
    if (strRest.empty()) return false;
    const std::size_t nEnd = std::min(strRest.find_first_of(LINE_BREAKS), strRest.size());
    const bool bPair = strRest.substr(nEnd).starts_with("\r\n");
    const std::string_view strLine = trim(strRest.substr(0, nEnd));
    stLine.m_nKind = PROFILE_OTHER;
    stLine.m_lpStart = strRest.data();
    strRest.remove_prefix(std::min(nEnd + (bPair ? 2 : 1), strRest.size()));
    stLine.m_lpNext = strRest.data();
    if (strLine.starts_with('#')) return true;
    if (strLine.starts_with('[') && strLine.ends_with(']')) {
        stLine.m_nKind = PROFILE_HEADER;
        stLine.m_strName = strLine.substr(1, strLine.size() - 2);
    } else if (const std::size_t nEqual = strLine.find('='); nEqual != strLine.npos) {
        stLine.m_nKind = PROFILE_ENTRY;
        stLine.m_strName = trim(strLine.substr(0, nEqual));
        stLine.m_strValue = trim(strLine.substr(nEqual + 1));
    }
    return true;
}

std::string_view ConfigHelper::trim(std::string_view strText) const {
    const std::size_t nStart = std::min(strText.find_first_not_of(BLANKS), strText.size());
    return strText.substr(nStart, strText.find_last_not_of(BLANKS) + 1 - nStart);
}

std::unique_ptr<char[]> ConfigHelper::GetText() {
    const STREAMPTR lpFile(std::fopen(m_pFileName.Text(), "rb+e"));
    PROFILETEXT stText;
    if (!lpFile || !stText.Read(lpFile.get())) return nullptr;
    return std::move(stText.m_lpBytes);
}

bool ConfigHelper::readAndParse() {
    const std::unique_ptr<char[]> lpText = GetText();
    if (!lpText) return false;
    std::string_view strRest = WithoutMark(lpText.get());
    _KeyValue* lpTail = nullptr;
    TString stName;
    CONFIGLINE stLine;
    while (NextLine(strRest, stLine)) {
        if (stLine.m_nKind == PROFILE_HEADER) {
            if (!stName.Set(stLine.m_strName) || FindSection(stName.Text())) return false;
            // A file with more sections than are read counts as read. Intended.
            if (m_iAppNameValuesLen >= SECTIONS_READ) return true;
            lpTail = AddSection(stLine.m_strName);
            if (!lpTail) return false;
        } else if (stLine.m_nKind == PROFILE_ENTRY) {
            if (!lpTail || !Append(lpTail, stLine.m_strName, stLine.m_strValue)) return false;
        }
    }
    return true;
}

CONFIGPLACE ConfigHelper::FindPlace(std::string_view strText, const char* lpszSection, const char* lpszKey) const {
    const char* lpStart = strText.data();
    const char* lpEnd = lpStart + strText.size();
    CONFIGPLACE stPlace{strText, {lpEnd, lpEnd}, false, false};
    std::string_view strRest = WithoutMark(strText);
    CONFIGLINE stLine;
    while (NextLine(strRest, stLine)) {
        if (stLine.m_nKind == PROFILE_OTHER) continue;
        const bool bHeader = stLine.m_nKind == PROFILE_HEADER;
        if (!stPlace.m_bSection) {
            stPlace.m_bSection = bHeader && SameName(stLine.m_strName, lpszSection);
        } else if (bHeader || SameName(stLine.m_strName, trim(lpszKey))) {
            stPlace.m_strBefore = {lpStart, stLine.m_lpStart};
            stPlace.m_bKey = !bHeader;
            stPlace.m_strAfter = {bHeader ? stLine.m_lpStart : stLine.m_lpNext, lpEnd};
            break;
        }
    }
    return stPlace;
}

// Whether the section is new is asked of the file: another process may have added it meanwhile, and a second header
// would end every later reading in front of the entry.
bool ConfigHelper::updateDisk(const char* lpszSection, const char* lpszKey, const char* lpszValue, bool) {
    const char* lpszFile = m_pFileName.Text();
    try {
        const std::unique_ptr<char[]> lpText = GetText();
        // A file that is there and can't be read must not be written over.
        if (!lpText && access(lpszFile, F_OK) == 0) return false;
        const std::string_view strText = lpText ? lpText.get() : "";
        const CONFIGPLACE stPlace = FindPlace(strText, lpszSection, lpszKey);
        std::string strBefore(stPlace.m_bSection ? WithoutBreak(stPlace.m_strBefore) : strText);
        if (!stPlace.m_bSection)
            strBefore.append(strText.empty() ? "" : LINE_BREAKS).append("[").append(lpszSection).append("]");
        const bool bInside = !stPlace.m_strAfter.empty();
        // In front of an entry that is the file's only one, or whose old value stood last, a line feed alone. Intended.
        const bool bFeed = strText.empty() || (stPlace.m_bKey && !bInside);
        STREAMPTR lpFile(std::fopen(lpszFile, "wbe"));
        if (!lpFile) return false;
        const int nWritten = std::fprintf(lpFile.get(), "%s%s%s=%s%s%s", strBefore.c_str(), bFeed ? "\n" : LINE_BREAKS,
                                          lpszKey, lpszValue, bInside ? LINE_BREAKS : "", stPlace.m_strAfter.data());
        return std::fclose(lpFile.release()) == 0 && nWritten >= 0;
    } catch (const std::bad_alloc&) {
        return false;
    }
}
