// The reader of profile files. It opens a file for writing too, so that a file which this program couldn't change
// counts as missing, and it skips a leading UTF-8 byte order mark.

#include "LinuxCommonAPIProfile.h"

#include <cstdio>
#include <cstring>

#include "CommonDataDefNumber.h"
#include "LinuxCommonAPI.h"
#include "LinuxCommonAPIProfileLines.h"

namespace {

constexpr std::string_view BYTE_ORDER_MARK = "\xEF\xBB\xBF";

/** Fills a zeroed buffer and keeps its last byte for the terminator. */
class CProfileResult {
public:
    CProfileResult(char* lpszBuffer, int nSize)
        : m_lpszBuffer(lpszBuffer), m_nRoom(static_cast<std::size_t>(nSize) - 1) {}

    /** Copies what fits. */
    int Set(std::string_view strText) {
        m_nUsed = strText.copy(m_lpszBuffer, m_nRoom);
        return Length();
    }

    /** Adds a name of a list; false if it doesn't fit whole. */
    bool Add(std::string_view strName) {
        if (strName.size() >= m_nRoom - m_nUsed) return false;
        m_nUsed += strName.copy(m_lpszBuffer + m_nUsed, strName.size());
        m_lpszBuffer[m_nUsed++] = '\t';
        return true;
    }

    int Length() const { return static_cast<int>(m_nUsed); }

private:
    char* m_lpszBuffer;
    std::size_t m_nRoom;
    std::size_t m_nUsed = 0;
};

/** Without trailing blanks, but for a blank at its start. */
std::string_view DefaultText(const char* lpszDefault) {
    std::string_view strDefault = lpszDefault ? lpszDefault : "";
    while (strDefault.size() > 1 && strDefault.back() == ' ')
        strDefault.remove_suffix(1);
    return strDefault;
}

/** The value up to a comment. */
std::string_view PlainValue(std::string_view strValue) {
    return TrimRight(strValue.substr(0, strValue.find('#')));
}

int ListSections(std::string_view strText, CProfileResult& stResult) {
    CProfileLines stLines(strText);
    PROFILELINE stLine;
    while (stLines.Next(stLine))
        if (stLine.m_nKind == PROFILE_HEADER && !stResult.Add(stLine.m_strName)) break;
    return stResult.Length();
}

/** Looks for an entry, or lists the keys if none is asked for. */
int LookUp(std::string_view strText, std::string_view strSection, const char* lpszKey, std::string_view strDefault,
           CProfileResult& stResult) {
    const std::string_view strKey = Trim(lpszKey ? lpszKey : "");
    bool bInSection = false;
    CProfileLines stLines(strText);
    PROFILELINE stLine;
    while (stLines.Next(stLine)) {
        // A header of another name doesn't end the section. Intended: a key that isn't in it is found further down.
        if (stLine.m_nKind == PROFILE_HEADER && stLine.IsNamed(strSection)) bInSection = true;
        if (!bInSection || stLine.m_nKind != PROFILE_ENTRY) continue;
        if (lpszKey) {
            if (stLine.IsNamed(strKey)) return stResult.Set(PlainValue(stLine.m_strValue));
        } else if (!stResult.Add(stLine.m_strName)) {
            break;
        }
    }
    return lpszKey || !bInSection ? stResult.Set(strDefault) : stResult.Length();
}

} // namespace

int GetPrivateProfileString(const char* lpszSection, const char* lpszKey, const char* lpszDefault, char* lpszBuffer,
                            int nSize, const char* lpszFile) {
    if (!lpszBuffer || nSize < 2) {
        if (lpszBuffer && nSize == 1) *lpszBuffer = 0;
        return 0;
    }
    std::memset(lpszBuffer, 0, static_cast<std::size_t>(nSize));
    CProfileResult stResult(lpszBuffer, nSize);
    const std::string_view strDefault = DefaultText(lpszDefault);

    const STREAMPTR lpFile(lpszFile ? std::fopen(lpszFile, "r+e") : nullptr);
    PROFILETEXT stText;
    if (!lpFile || !stText.Read(lpFile.get())) return lpszSection ? stResult.Set(strDefault) : 0;
    if (stText.m_nFileSize == 0) return stResult.Set(strDefault);

    std::string_view strText = stText.m_strText;
    if (strText.starts_with(BYTE_ORDER_MARK)) strText.remove_prefix(BYTE_ORDER_MARK.size());
    if (!lpszSection) return ListSections(strText, stResult);
    return LookUp(strText, Trim(lpszSection), lpszKey, strDefault, stResult);
}

int GetPrivateProfileInt(const char* lpszSection, const char* lpszKey, int nDefault, const char* lpszFile) {
    char szDefault[16];
    std::snprintf(szDefault, sizeof(szDefault), "%d", nDefault);
    char szValue[32];
    (void)GetPrivateProfileString(lpszSection, lpszKey, szDefault, szValue, sizeof(szValue), lpszFile);
    return StringToInt(szValue);
}
