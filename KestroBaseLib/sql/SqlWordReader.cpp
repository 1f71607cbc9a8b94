// Questions that several parsers have about words.

#include "SqlWordReader.h"

#include <algorithm>
#include <climits>

#include "CommonDataDef.h"
#include "CommonDataDefNumber.h"

namespace {

/** Digits of the longest integer that 64 bits hold whatever they are. */
constexpr int INTEGER_LEN_MAX = 18;

} // namespace

bool CSqlWordReader::Is(int nIndex, std::string_view szText) const {
    const std::string_view szWord = Word(nIndex);
    return szWord.size() == szText.size() &&
           KestroCompareNoCase(szWord.data(), szText.data(), static_cast<int>(szText.size())) == 0;
}

bool CSqlWordReader::ReadInteger(int nIndex, int& nValue) const {
    const int nLen = Len(nIndex);
    if (nLen > INTEGER_LEN_MAX || IsNumber(Text(nIndex), nLen) != NUMBER_INTEGER) return false;
    const long long llValue = StringToLongLong(Text(nIndex));
    if (llValue < INT_MIN || llValue > INT_MAX) return false;
    nValue = static_cast<int>(llValue);
    return true;
}

int CSqlWordReader::FindClose(int nOpen, int nEnd) const {
    int nDepth = 0;
    for (int i = nOpen; i < nEnd; ++i) {
        const int nKeyword = Keyword(i);
        nDepth += (nKeyword == WORD_PAREN_OPEN) - (nKeyword == WORD_PAREN_CLOSE);
        if (nDepth == 0) return i;
    }
    return -1;
}

int CSqlWordReader::Find(int nKeyword, int nBegin, int nEnd) const {
    int nDepth = 0;
    for (int i = nBegin; i < nEnd; ++i) {
        const int nWord = Keyword(i);
        if (nDepth == 0 && nWord == nKeyword) return i;
        nDepth += (nWord == WORD_PAREN_OPEN) - (nWord == WORD_PAREN_CLOSE);
    }
    return nEnd;
}

// The outermost pairs enclose all as long as the depth between them never falls below their number. That's found in one
// scan, however many there are.
void CSqlWordReader::RemoveOuterBrackets(st_PARSEPARAM& stParam) const {
    int nBegin = stParam.m_nBeginPos, nEnd = stParam.m_nEndPos;
    while (nBegin < nEnd && Keyword(nBegin) == WORD_PAREN_OPEN && Keyword(nEnd - 1) == WORD_PAREN_CLOSE) {
        ++nBegin;
        --nEnd;
    }
    const int nPairs = nBegin - stParam.m_nBeginPos;
    if (nPairs == 0) return;
    int nDepth = nPairs, nLeast = nPairs;
    for (int i = nBegin; i < nEnd; ++i) {
        const int nKeyword = Keyword(i);
        nDepth += (nKeyword == WORD_PAREN_OPEN) - (nKeyword == WORD_PAREN_CLOSE);
        nLeast = std::min(nLeast, nDepth);
    }
    // Brackets that don't match are left for the parser to report.
    if (nDepth != nPairs || nLeast < 0) return;
    stParam.m_nBeginPos += nLeast;
    stParam.m_nEndPos -= nLeast;
}
