// The head of a statement: what closes it and what encloses it, comments and hints in front, and the first word, by
// which its parser is chosen. The words behind it are not looked at.

#include "ParseSqlHead.h"

#include <algorithm>
#include <cstring>

#include "CommonDataDefChar.h"
#include "KestroErrorCode.h"

namespace {

constexpr std::string_view WHITE = " \t\r\n";

bool IsWhite(char c) {
    return IsCharClass(c, CC_BLANK);
}

std::string_view Trim(std::string_view szText) {
    const std::size_t nBegin = std::min(szText.find_first_not_of(WHITE), szText.size());
    szText.remove_prefix(nBegin);
    return szText.substr(0, szText.find_last_not_of(WHITE) + 1);
}

/** Without the ";" at the end. White space behind one goes with it, so that a line of a file ends as it should. */
std::string_view StripEnd(std::string_view szText) {
    for (;;) {
        const std::size_t nLast = szText.find_last_not_of(WHITE);
        if (nLast == std::string_view::npos || szText[nLast] != ';') return szText;
        szText = szText.substr(0, nLast);
    }
}

/** Behind the mark that closes the comment at `nPos`, or the end of the text. */
std::size_t BehindClose(std::string_view szText, std::size_t nPos) {
    const std::size_t nClose = szText.find("*/", nPos + 2);
    return nClose == std::string_view::npos ? szText.size() : nClose + 2;
}

std::size_t LineEnd(std::string_view szText, std::size_t nPos) {
    return std::min(szText.find_first_of("\r\n", nPos), szText.size());
}

/** Behind the comment at `nPos`, which is the text's end for one without a close; `nPos` if no comment is there. */
std::size_t BehindComment(std::string_view szText, std::size_t nPos) {
    const std::string_view szMark = szText.substr(nPos, 2);
    if (szMark == "--") return LineEnd(szText, nPos);
    return szMark == "/*" ? BehindClose(szText, nPos) : nPos;
}

/**
 * How many pairs of brackets enclose the whole text, in one pass for any number: a pair does if no ")" between closes
 * more than was opened there. A bracket in quotes or in a comment is none, and neither is a quote in a comment.
 */
int CountEnclosingPairs(std::string_view szText) {
    std::size_t nBegin = 0;
    int nOpen = 0;
    for (; nBegin < szText.size() && (szText[nBegin] == '(' || (nOpen != 0 && IsWhite(szText[nBegin]))); ++nBegin)
        nOpen += szText[nBegin] == '(';
    std::size_t nEnd = szText.size();
    int nClose = 0;
    for (; nEnd > nBegin; --nEnd) {
        const char c = szText[nEnd - 1];
        if (c != ')' && (nClose == 0 || (!IsWhite(c) && c != ';'))) break;
        nClose += c == ')';
    }
    if (nOpen == 0 || nClose == 0) return 0;
    int nDepth = nOpen, nLeast = nOpen;
    szText = szText.substr(0, nEnd);
    for (std::size_t i = nBegin; i < nEnd; ++i) {
        const char c = szText[i];
        if (c == '\'' || c == '"' || c == '`') {
            i = szText.find(c, i + 1);
            if (i == std::string_view::npos) return 0;
        } else if (const std::size_t nBehind = BehindComment(szText, i); nBehind != i) {
            i = nBehind - 1;
        } else if (c == '(') {
            ++nDepth;
        } else if (c == ')') {
            nLeast = std::min(nLeast, --nDepth);
        }
    }
    return nDepth >= nClose ? std::max(std::min(nLeast, nClose), 0) : 0;
}

/** The scan for the first word. */
class CHeadScan {
public:
    CHeadScan(SQLHEAD& stHead, bool bHashComment)
        : m_stHead(stHead), m_szText(stHead.m_szText), m_bHashComment(bHashComment) {}

    int Scan() {
        while (m_nPos < m_szText.size()) {
            const char c = m_szText[m_nPos];
            if ((c == '-' || c == '/' || c == '#') && SkipComment()) continue;
            ++m_nPos;
            if (m_stHead.m_nWordLen == 0) m_stHead.m_nWordPos = static_cast<int>(m_nPos - 1);
            if (IsCharClass(c, CC_LETTER)) {
                if (m_stHead.m_nWordLen + 1 == SQLHEAD::WORD_SIZE) return ERR_INVALID_COMMAND;
                m_stHead.m_szWord[m_stHead.m_nWordLen++] = c;
                continue;
            }
            // The character that ends the word goes with it, even a "*".
            if (m_stHead.m_nWordLen != 0) {
                if (IsWhite(c) || c == ':' || c == '*') return End();
                m_stHead.m_nWordPos = static_cast<int>(m_nPos - 1);
                return ERR_INVALID_CHARACTER;
            }
            if (IsWhite(c)) continue;
            if (c != '(') return ERR_START_CHARACTER;
            ++m_stHead.m_nParens;
        }
        if (m_stHead.m_nWordLen != 0) return End();
        m_stHead.m_nWordPos = static_cast<int>(m_nPos);
        return ERR_START_CHARACTER;
    }

private:
    bool At(std::string_view szMark) const { return m_szText.substr(m_nPos, szMark.size()) == szMark; }

    int End() {
        m_stHead.m_nPos = static_cast<int>(m_nPos);
        return ERR_OK;
    }

    bool SkipComment() {
        if (At("/*!")) {
            OpenHint();
            return true;
        }
        const std::size_t nBehind =
            m_bHashComment && At("#") ? LineEnd(m_szText, m_nPos) : BehindComment(m_szText, m_nPos);
        if (nBehind == m_nPos) return false;
        m_nPos = nBehind;
        // A comment inside a word leaves nothing of it.
        std::memset(m_stHead.m_szWord, 0, sizeof m_stHead.m_szWord);
        m_stHead.m_nWordLen = 0;
        return true;
    }

    /** The scan goes on inside a hint: the first word may stand there. */
    void OpenHint() {
        const std::size_t nSize = m_szText.size();
        // A mark found before closes this one too: a text full of hints isn't searched again for each.
        if (static_cast<std::size_t>(m_stHead.m_nHintEnd) < m_nPos + 4)
            m_stHead.m_nHintEnd = static_cast<int>(BehindClose(m_szText, m_nPos));
        m_nPos = std::min(m_szText.find_first_not_of(WHITE, m_nPos + 3), nSize);
        if (m_nPos < nSize && IsCharClass(m_szText[m_nPos], CC_DIGIT))
            m_nPos = std::min(m_szText.find_first_of(WHITE, m_nPos), nSize);
        m_stHead.m_nHintBegin = static_cast<int>(m_nPos);
    }

    SQLHEAD& m_stHead;
    const std::string_view m_szText;
    const bool m_bHashComment;
    std::size_t m_nPos = 0;
};

} // namespace

int SQLHEAD::HintMark() const {
    const int nMark = m_nHintEnd - 2;
    // The verb may have taken the mark's star with it.
    const bool bMark =
        nMark >= std::max(m_nPos - 1, m_nHintBegin) && m_szText.substr(static_cast<std::size_t>(nMark), 2) == "*/";
    return bMark ? nMark : -1;
}

int ReadSqlHead(std::string_view szSql, bool bHashComment, SQLHEAD& stHead) {
    stHead = SQLHEAD();
    stHead.m_szText = StripEnd(szSql);
    for (int nPairs = CountEnclosingPairs(stHead.m_szText); nPairs > 0; --nPairs) {
        // A ";" that went may leave white space behind the ")".
        const std::string_view szPair = Trim(stHead.m_szText);
        stHead.m_szText = StripEnd(Trim(szPair.substr(1, szPair.size() - 2)));
    }
    return CHeadScan(stHead, bHashComment).Scan();
}

int PraseSqlHead(char*& lpszSql, int bHashComment, int& nLen, int& nPos, char* lpszWord, int& nWordLen, int& nParens,
                 int& nHintBegin, int& nHintEnd) {
    SQLHEAD stHead;
    const std::string_view szSql(lpszSql, static_cast<std::size_t>(std::max(nLen, 0)));
    const int nCode = ReadSqlHead(szSql, bHashComment != 0, stHead);
    lpszSql += stHead.m_szText.data() - szSql.data();
    nLen = static_cast<int>(stHead.m_szText.size());
    const std::size_t nDropped =
        static_cast<std::size_t>(szSql.data() + szSql.size() - lpszSql) - stHead.m_szText.size();
    std::memset(lpszSql + nLen, 0, nDropped);
    nPos = stHead.m_nPos;
    std::memcpy(lpszWord, stHead.m_szWord, sizeof stHead.m_szWord);
    nWordLen = stHead.m_nWordLen;
    nParens = stHead.m_nParens;
    nHintBegin = stHead.m_nHintBegin;
    nHintEnd = stHead.m_nHintEnd;
    return nCode;
}
