// Where a statement failed to compile: from the number of a word to a byte, and from the byte to line, column and a
// caret on a terminal. How wide a character is, the C library knows, with its locale for UTF-8; without that locale
// whatever isn't ASCII is shown by its bytes.

#include "KestroPlanFault.h"

#include <algorithm>
#include <cwchar>

#include "KestroErrorCode.h"
#include "ParseSqlHead.h"

namespace {

constexpr std::size_t TAB_WIDTH = 8;
/** Bytes of a line that are shown in front of a place and behind it. */
constexpr std::size_t SHOWN_BEFORE = 100, SHOWN_BEHIND = 60;

/** A text as a terminal shows it, from a column on. */
class CShownText {
public:
    explicit CShownText(std::size_t nColumn = 0) : m_nColumn(nColumn) {}

    void Add(std::string_view szText) {
        while (!szText.empty())
            szText.remove_prefix(AddCharacter(szText));
    }
    const std::string& Text() const { return m_strText; }
    /** From 0, that of the next character. */
    std::size_t Column() const { return m_nColumn; }

private:
    /** Adds the first character and answers its bytes. */
    std::size_t AddCharacter(std::string_view szText) {
        if (szText[0] == '\t') {
            const std::size_t nWidth = TAB_WIDTH - m_nColumn % TAB_WIDTH;
            return Append(std::string(nWidth, ' '), nWidth, 1);
        }
        wchar_t cWide = 0;
        std::mbstate_t stState{};
        const std::size_t nLen = std::mbrtowc(&cWide, szText.data(), szText.size(), &stState);
        const int nWidth = nLen == 0 || nLen > szText.size() || TurnsText(cWide) ? -1 : wcwidth(cWide);
        if (nWidth >= 0) return Append(szText.substr(0, nLen), static_cast<std::size_t>(nWidth), nLen);
        const BYTE bByte = static_cast<BYTE>(szText[0]);
        const char szEscape[] = {'\\', 'x', "0123456789abcdef"[bByte >> 4], "0123456789abcdef"[bByte & 15]};
        return Append({szEscape, sizeof szEscape}, sizeof szEscape, 1);
    }
    std::size_t Append(std::string_view szShown, std::size_t nWidth, std::size_t nUsed) {
        m_strText += szShown;
        m_nColumn += nWidth;
        return nUsed;
    }
    /** Marks that make a terminal show what follows from right to left. */
    static bool TurnsText(wchar_t c) { return (c >= 0x202A && c <= 0x202E) || (c >= 0x2066 && c <= 0x2069); }

    std::string m_strText;
    std::size_t m_nColumn;
};

/** Moved on to the first byte of a character, but not beyond `nEnd`. */
std::size_t ToCharacter(std::string_view szText, std::size_t nPos, std::size_t nEnd) {
    while (nPos < nEnd && (static_cast<BYTE>(szText[nPos]) & 0xC0) == 0x80)
        ++nPos;
    return nPos;
}

} // namespace

std::size_t FindFault(std::string_view szSql, int nCode, CParseSql& stParse) {
    SQLHEAD stHead;
    const bool bRefused = ReadSqlHead(szSql, false, stHead) != ERR_OK;
    const std::size_t nText = static_cast<std::size_t>(stHead.m_szText.data() - szSql.data());
    const auto InText = [&](int nPos) { return nText + static_cast<std::size_t>(nPos); };
    if (bRefused || nCode == ERR_INVALID_COMMAND) return InText(stHead.m_nWordPos);

    // The words as the parser has seen them.
    std::string strText(stHead.m_szText);
    if (const int nMark = stHead.HintMark(); nMark >= 0) strText.replace(static_cast<std::size_t>(nMark), 2, 2, ' ');
    stu_KestroWordArray stWords;
    const int nWord = stParse.GetErrorPos();
    if (stParse.Parse(strText.c_str(), stHead.m_nPos, &stWords) != ERR_OK) return InText(stHead.m_nWordPos);
    if (nWord >= 0 && nWord < stWords.m_nNum) return InText(stWords.m_arPos[nWord]);
    if (stWords.m_nNum == 0) return InText(stHead.m_nWordPos + stHead.m_nWordLen);
    const int nLast = stWords.m_nNum - 1;
    return InText(stWords.m_arPos[nLast] + stWords.m_arWordLen[nLast]);
}

SHOWNPLACE ShowPlace(std::string_view szText, std::size_t nPos) {
    const std::size_t nBegin = szText.substr(0, nPos).rfind('\n') + 1; // 0 without one: npos + 1
    std::size_t nEnd = std::min(szText.find('\n', nPos), szText.size());
    if (nEnd > nPos && szText[nEnd - 1] == '\r') --nEnd;
    const std::size_t nFrom = nPos - nBegin > SHOWN_BEFORE ? ToCharacter(szText, nPos - SHOWN_BEFORE, nPos) : nBegin;
    const std::size_t nTo = nEnd - nPos > SHOWN_BEHIND ? ToCharacter(szText, nPos + SHOWN_BEHIND, nEnd) : nEnd;

    CShownText stBefore;
    stBefore.Add(szText.substr(nBegin, nFrom - nBegin));
    CShownText stLine(stBefore.Column());
    stLine.Add(szText.substr(nFrom, nPos - nFrom));
    SHOWNPLACE stPlace;
    stPlace.m_nLine =
        static_cast<int>(std::count(szText.begin(), szText.begin() + static_cast<std::ptrdiff_t>(nBegin), '\n')) + 1;
    stPlace.m_nColumn = static_cast<int>(stLine.Column()) + 1;
    const std::string strCut = nFrom == nBegin ? "" : "...";
    stPlace.m_strBlank.assign(strCut.size() + stLine.Column() - stBefore.Column(), ' ');
    stLine.Add(szText.substr(nPos, nTo - nPos));
    stPlace.m_strLine = strCut + stLine.Text() + (nTo == nEnd ? "" : "...");
    return stPlace;
}

std::string ShowText(std::string_view szText) {
    CShownText stText;
    stText.Add(szText);
    return stText.Text();
}
