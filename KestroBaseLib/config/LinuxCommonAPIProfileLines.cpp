// Lines of a profile file. A line is a header "[name]", an entry "key = value" or something else: blank, a comment or
// bytes without a meaning. ";" has none. What a line means for a section is left to reader and writer.

#include "LinuxCommonAPIProfileLines.h"

#include <cstring>
#include <new>

#include "CommonDataDef.h"
#include "LinuxCommonAPI.h"

namespace {

constexpr char WHITE_SPACE[] = " \t\n\v\f\r";

void Classify(PROFILELINE& stLine) {
    const std::string_view strLine = stLine.m_strTrimmed;
    stLine.m_nKind = PROFILE_OTHER;
    if (strLine.empty() || strLine.front() == '#') return;
    if (strLine.front() == '[') {
        if (const std::size_t nEnd = strLine.find(']'); nEnd != strLine.npos) {
            stLine.m_nKind = PROFILE_HEADER;
            stLine.m_strName = strLine.substr(1, nEnd - 1);
            return;
        }
    }
    const std::size_t nEqual = strLine.find('=');
    if (nEqual == strLine.npos) return;
    stLine.m_nKind = PROFILE_ENTRY;
    stLine.m_strName = TrimRight(strLine.substr(0, nEqual));
    stLine.m_strValue = TrimLeft(strLine.substr(nEqual + 1));
}

} // namespace

std::string_view TrimLeft(std::string_view strText) {
    const std::size_t nStart = strText.find_first_not_of(WHITE_SPACE);
    return strText.substr(nStart == strText.npos ? strText.size() : nStart);
}

std::string_view TrimRight(std::string_view strText) {
    return strText.substr(0, strText.find_last_not_of(WHITE_SPACE) + 1);
}

std::string_view Trim(std::string_view strText) {
    return TrimRight(TrimLeft(strText));
}

bool PROFILETEXT::Read(FILE* lpFile) {
    m_nFileSize = GetFileSize(lpFile, nullptr);
    if (m_nFileSize > PROFILE_FILE_MAX) return false;
    const std::size_t nSize = static_cast<std::size_t>(m_nFileSize);
    m_lpBytes.reset(new (std::nothrow) char[nSize + 1]);
    if (!m_lpBytes) return false;
    const std::size_t nRead = std::fread(m_lpBytes.get(), 1, nSize, lpFile);
    m_lpBytes[nRead] = 0;
    m_strText = m_lpBytes.get();
    return true;
}

bool SameName(std::string_view strFirst, std::string_view strSecond) {
    return strFirst.size() == strSecond.size() &&
           KestroCompareNoCase(strFirst.data(), strSecond.data(), static_cast<int>(strFirst.size())) == 0;
}

bool PROFILELINE::IsNamed(std::string_view strName) const {
    return SameName(m_strName, strName);
}

bool CProfileLines::Next(PROFILELINE& stLine) {
    if (m_strRest.empty()) return false;
    std::size_t nEnd = m_bLineFeeds ? m_strRest.find('\n') : m_strRest.npos;
    // Carriage returns part lines only where no line feed is left.
    if (nEnd == m_strRest.npos) {
        m_bLineFeeds = false;
        nEnd = m_strRest.find('\r');
    }
    stLine.m_lpStart = m_strRest.data();
    stLine.m_strTrimmed = Trim(m_strRest.substr(0, nEnd));
    stLine.m_strName = stLine.m_strValue = {};
    Classify(stLine);
    m_strRest.remove_prefix(nEnd == m_strRest.npos ? m_strRest.size() : nEnd + 1);
    return true;
}
