// The writer of profile files. Unlike the reader it keeps to the exact section and does not skip a byte order mark, so
// a header right behind a mark is unknown to it. A change is spliced into the text as it stands; the file is then
// written anew in one go, without a temporary file beside it.

#include <unistd.h>

#include <new>
#include <string>

#include "LinuxCommonAPI.h"
#include "LinuxCommonAPIProfile.h"
#include "LinuxCommonAPIProfileLines.h"

namespace {

/** What is to be written; null keys and values ask for a removal. */
struct PROFILECHANGE {
    std::string_view m_strSection;
    std::string_view m_strKey;
    std::string_view m_strValue;
    bool m_bKey;
    bool m_bValue;

    bool RemovesSomething() const { return !m_bKey || !m_bValue; }
};

/** Bytes to be replaced in the text. */
struct PROFILESPLICE {
    const char* m_lpFrom;
    const char* m_lpTo;
    std::string m_strNew;
};

/** Where the change's section and entry stand in the text. */
struct PROFILEPLACE {
    bool m_bSection = false;
    bool m_bEntry = false;
    /** From the header's line to that of the next header, or to the text's end. */
    std::string_view m_strSection;
    PROFILELINE m_stEntry{};
};

PROFILEPLACE FindPlace(std::string_view strText, const PROFILECHANGE& stChange) {
    PROFILEPLACE stPlace;
    const char* lpStart = nullptr;
    const char* lpEnd = strText.data() + strText.size();
    CProfileLines stLines(strText);
    PROFILELINE stLine;
    while (stLines.Next(stLine)) {
        if (!stPlace.m_bSection) {
            if (stLine.m_nKind != PROFILE_HEADER || !stLine.IsNamed(stChange.m_strSection)) continue;
            stPlace.m_bSection = true;
            lpStart = stLine.m_lpStart;
        } else if (stLine.IsBracketed()) {
            lpEnd = stLine.m_lpStart;
            break;
        } else if (stChange.m_bKey && stLine.m_nKind == PROFILE_ENTRY && stLine.IsNamed(stChange.m_strKey)) {
            stPlace.m_bEntry = true;
            stPlace.m_stEntry = stLine;
            return stPlace;
        }
    }
    if (stPlace.m_bSection) stPlace.m_strSection = {lpStart, lpEnd};
    return stPlace;
}

std::string EntryText(const PROFILECHANGE& stChange) {
    return std::string(stChange.m_strKey).append("=").append(stChange.m_strValue);
}

std::string SectionText(const PROFILECHANGE& stChange) {
    return std::string("[").append(stChange.m_strSection).append("]\n").append(EntryText(stChange)).append("\n");
}

/** The entry exists. White space behind the line stays, a carriage return too. */
bool ChangeEntry(const PROFILELINE& stEntry, const PROFILECHANGE& stChange, PROFILESPLICE& stSplice) {
    stSplice.m_lpTo = stEntry.m_strTrimmed.data() + stEntry.m_strTrimmed.size();
    if (!stChange.m_bValue) {
        stSplice.m_lpFrom = stEntry.m_lpStart;
        return true;
    }
    // A comment counts as part of the old value here: it goes with it.
    if (stEntry.m_strValue == stChange.m_strValue) return false;
    stSplice.m_lpFrom = stEntry.m_strTrimmed.data() + stEntry.m_strTrimmed.find('=') + 1;
    stSplice.m_strNew = stChange.m_strValue;
    return true;
}

/** The section exists and the entry doesn't: it goes in front of the section's trailing white space. */
bool ChangeSection(std::string_view strSection, const PROFILECHANGE& stChange, PROFILESPLICE& stSplice) {
    const char* lpEnd = strSection.data() + strSection.size();
    if (!stChange.m_bKey) {
        stSplice = {strSection.data(), lpEnd, {}};
        return true;
    }
    if (!stChange.m_bValue) return false;
    const std::string_view strBody = TrimRight(strSection);
    const std::string_view strBlank = strSection.substr(strBody.size());
    stSplice = {strBody.data() + strBody.size(), lpEnd, "\n"};
    stSplice.m_strNew.append(EntryText(stChange)).append(strBlank);
    if (strBlank.empty() || stChange.m_strValue.empty()) stSplice.m_strNew += '\n';
    return true;
}

/** False if nothing changes. */
bool MakeSplice(std::string_view strText, const PROFILECHANGE& stChange, PROFILESPLICE& stSplice) {
    const PROFILEPLACE stPlace = FindPlace(strText, stChange);
    if (stPlace.m_bEntry) return ChangeEntry(stPlace.m_stEntry, stChange, stSplice);
    if (stPlace.m_bSection) return ChangeSection(stPlace.m_strSection, stChange, stSplice);
    if (stChange.RemovesSomething()) return false;
    const char* lpEnd = strText.data() + strText.size();
    stSplice = {lpEnd, lpEnd, strText.ends_with('\n') ? "" : "\n"};
    stSplice.m_strNew += SectionText(stChange);
    return true;
}

/** Writes and closes; false if the disk doesn't take it. */
bool WriteAll(STREAMPTR& lpFile, const std::string& strText) {
    const bool bWritten = std::fputs(strText.c_str(), lpFile.get()) >= 0;
    return std::fclose(lpFile.release()) == 0 && bWritten;
}

/** Changes a file that isn't empty; false if it can't be written anew. */
bool Rewrite(STREAMPTR& lpFile, const char* lpszFile, const PROFILECHANGE& stChange) {
    PROFILETEXT stText;
    PROFILESPLICE stSplice{};
    if (!stText.Read(lpFile.get()) || !MakeSplice(stText.m_strText, stChange, stSplice)) return true;
    const std::string_view strText = stText.m_strText;
    std::string strNew;
    strNew.reserve(strText.size() + stSplice.m_strNew.size());
    strNew.append(strText.data(), stSplice.m_lpFrom).append(stSplice.m_strNew);
    strNew.append(stSplice.m_lpTo, strText.data() + strText.size());
    lpFile.reset();
    lpFile.reset(std::fopen(lpszFile, "w+e"));
    return lpFile && WriteAll(lpFile, strNew);
}

} // namespace

bool WritePrivateProfileString(const char* lpszSection, const char* lpszKey, const char* lpszValue,
                               const char* lpszFile) {
    if (!lpszSection || !lpszFile) return false;
    const PROFILECHANGE stChange{Trim(lpszSection), Trim(lpszKey ? lpszKey : ""), TrimLeft(lpszValue ? lpszValue : ""),
                                 lpszKey != nullptr, lpszValue != nullptr};
    STREAMPTR lpFile(std::fopen(lpszFile, access(lpszFile, F_OK) == 0 ? "r+e" : "w+e"));
    if (!lpFile) return false;
    // Shortage of memory leaves the file as it was and is no failure. Intended.
    try {
        if (GetFileSize(lpFile.get(), nullptr) == 0) {
            if (stChange.RemovesSomething()) return false;
            return WriteAll(lpFile, SectionText(stChange));
        }
        return Rewrite(lpFile, lpszFile, stChange);
    } catch (const std::bad_alloc&) {
        return true;
    }
}
