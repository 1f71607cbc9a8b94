// The head of a statement: what closes it and what encloses it, comments and hints in front, and the first word, by
// which its parser is chosen. The words behind it are not looked at.

#include "ParseSqlHead.h"

#include <algorithm>
#include <cstring>

#include "KestroErrorCode.h"

namespace {

constexpr std::string_view WHITE = " \t\r\n";

bool IsWhite(char c) {
    return WHITE.find(c) != std::string_view::npos;
}

bool IsLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
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

/**
 * How many pairs of brackets enclose the whole text, in one pass for any number: a pair does if no ")" between closes
 * more than was opened there. A bracket in quotes is none.
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
    char cQuote = 0;
    for (const char c : szText.substr(nBegin, nEnd - nBegin)) {
        if (cQuote != 0)
            cQuote = c == cQuote ? 0 : cQuote;
        else if (c == '\'' || c == '"' || c == '`')
            cQuote = c;
        else if (c == '(')
            ++nDepth;
        else if (c == ')')
            nLeast = std::min(nLeast, --nDepth);
    }
    return cQuote == 0 && nDepth >= nClose ? std::max(std::min(nLeast, nClose), 0) : 0;
}

/** The scan for the first word. */
class CHeadScan {
public:
    CHeadScan(SQLHEAD& stHead, bool bHashComment)
        : m_stHead(stHead), m_szText(stHead.m_szText), m_bHashComment(bHashComment) {}

    int Scan() {
        while (m_nPos < m_szText.size()) {
            if (SkipComment()) continue;
            const char c = m_szText[m_nPos++];
            if (m_stHead.m_nWordLen == 0) m_stHead.m_nWordPos = static_cast<int>(m_nPos - 1);
            if (IsLetter(c)) {
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
        if (At("--") || (m_bHashComment && At("#")))
            m_nPos = std::min(m_szText.find_first_of("\r\n", m_nPos), m_szText.size());
        else if (At("/*"))
            m_nPos = BehindClose();
        else
            return false;
        // A comment inside a word leaves nothing of it.
        std::memset(m_stHead.m_szWord, 0, sizeof m_stHead.m_szWord);
        m_stHead.m_nWordLen = 0;
        return true;
    }

    /** Behind a comment's closing mark, or the end of the text. */
    std::size_t BehindClose() const {
        const std::size_t nClose = m_szText.find("*/", m_nPos + 2);
        return nClose == std::string_view::npos ? m_szText.size() : nClose + 2;
    }

    /** The scan goes on inside a hint: the first word may stand there. */
    void OpenHint() {
        const std::size_t nSize = m_szText.size();
        m_stHead.m_nHintEnd = static_cast<int>(BehindClose());
        m_nPos = std::min(m_szText.find_first_not_of(WHITE, m_nPos + 3), nSize);
        if (m_nPos < nSize && IsDigit(m_szText[m_nPos]))
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
    const bool bMark =
        nMark >= std::max(m_nPos, m_nHintBegin) && m_szText.substr(static_cast<std::size_t>(nMark), 2) == "*/";
    return bMark ? nMark : -1;
}

int ReadSqlHead(std::string_view szSql, bool bHashComment, SQLHEAD& stHead) {
    stHead = SQLHEAD();
    stHead.m_szText = StripEnd(szSql);
    for (int nPairs = CountEnclosingPairs(stHead.m_szText); nPairs > 0; --nPairs)
        stHead.m_szText = StripEnd(Trim(stHead.m_szText.substr(1, stHead.m_szText.size() - 2)));
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
