// The word array of a statement: cutting the text, adding and inserting words, and their codes. All memory is scratch
// memory of the compilation.

#include <algorithm>
#include <climits>
#include <cstring>
#include <string_view>

#include "CommonDataDef.h"
#include "ParseSql.h"
#include "SqlWordScan.h"

namespace {

constexpr int WORD_NUM_START = 64;

/** Bytes of text for one word, blanks included, when arrays are sized for a text: few statements have shorter ones. */
constexpr int WORD_BYTES_ESTIMATE = 4;

/** Bytes that are copied at once, as many as most words have. */
constexpr int COPY_SIZE = 16;

/** The longest text: twice its bytes can be asked for. */
constexpr std::size_t TEXT_SIZE_MAX = INT_MAX - COPY_SIZE;

/** Moves an array of `nNum` elements to a place with room for `nMax`; answers what is behind it. */
template <typename T>
LPBYTE MoveArray(T*& arElement, int nNum, int nMax, LPBYTE lpPlace) {
    if (nNum != 0) std::memcpy(lpPlace, arElement, static_cast<std::size_t>(nNum) * sizeof(T));
    arElement = reinterpret_cast<T*>(lpPlace);
    return lpPlace + static_cast<std::size_t>(nMax) * sizeof(T);
}

/** Makes one of each doubled quote strictly inside a text; answers the length left. */
int CollapseQuotes(char* lpszText, int nLen) {
    int nWritten = 0;
    for (int i = 0; i < nLen; ++i) {
        if (i > 0 && i + 2 < nLen && lpszText[i] == '\'' && lpszText[i + 1] == '\'') ++i;
        lpszText[nWritten++] = lpszText[i];
    }
    lpszText[nWritten] = 0;
    return nWritten;
}

} // namespace

int CParseSql::GrowWords(stu_KestroWordArray* lpWords) {
    if (lpWords->m_nMax > INT_MAX / 2) return ERR_MEMORY;
    return GrowWords(lpWords, std::max(lpWords->m_nMax * 2, WORD_NUM_START));
}

// All arrays lie in one piece, that of pointers in front, because a piece is aligned to 4 only and that array needs
// more. The old ones stay behind in the scratch memory.
int CParseSql::GrowWords(stu_KestroWordArray* lpWords, int nMax) {
    constexpr std::size_t WORD_SIZE = sizeof(char*) + 3 * sizeof(int);
    constexpr std::size_t SPARE = alignof(char*) - 4;
    const std::size_t nBytes = static_cast<std::size_t>(nMax) * WORD_SIZE + SPARE;
    if (nBytes > UINT_MAX) return ERR_MEMORY;
    LPBYTE lpPlace = nullptr;
    if (const int nCode = m_stBson.AllocFromBufferPool(static_cast<UINT>(nBytes), lpPlace, 0)) return nCode;
    lpPlace += SPARE & (0 - reinterpret_cast<std::uintptr_t>(lpPlace));
    const int nNum = lpWords->m_nNum;
    lpPlace = MoveArray(lpWords->m_arWord, nNum, nMax, lpPlace);
    lpPlace = MoveArray(lpWords->m_arPos, nNum, nMax, lpPlace);
    lpPlace = MoveArray(lpWords->m_arWordLen, nNum, nMax, lpPlace);
    MoveArray(lpWords->m_arKeyword, nNum, nMax, lpPlace);
    lpWords->m_nMax = nMax;
    return ERR_OK;
}

// The copies of all words lie in one piece, large enough for any words that the text may have; what they leave of it
// goes back.
int CParseSql::Parse(const char* lpszSql, int nStart, stu_KestroWordArray* lpWords) {
    *lpWords = stu_KestroWordArray();
    const std::size_t nSize = std::strlen(lpszSql);
    if (nSize > TEXT_SIZE_MAX || !m_pKestroKeywordParse) return ERR_MEMORY;
    const int nLen = static_cast<int>(nSize);
    nStart = std::clamp(nStart, 0, nLen);

    const int nBytes = nLen - nStart;
    if (const int nCode = GrowWords(lpWords, std::max(nBytes / WORD_BYTES_ESTIMATE, WORD_NUM_START))) return nCode;
    const UINT nBeginPos = m_stBson.GetTempDataPos();
    LPBYTE lpCopies = nullptr;
    if (const int nCode = m_stBson.AllocFromBufferPool(2 * static_cast<UINT>(nBytes) + COPY_SIZE, lpCopies, 0))
        return nCode;
    const UINT nEndPos = m_stBson.GetTempDataPos();

    char* const lpszCopies = reinterpret_cast<char*>(lpCopies);
    char* lpszCopiesEnd = lpszCopies;
    const int nResult = CopyWords({lpszSql, nSize}, nStart, lpszCopiesEnd, lpWords);
    // Only when the piece is the last of the scratch block.
    if (nEndPos != nBeginPos && nEndPos == m_stBson.GetTempDataPos())
        m_stBson.ResetTempDataPos(nBeginPos + ((static_cast<UINT>(lpszCopiesEnd - lpszCopies) + 3) & ~3u));
    return nResult;
}

// Array and place are kept in registers during the scan.
int CParseSql::CopyWords(std::string_view szSql, int nStart, char*& lpszCopiesEnd, stu_KestroWordArray* lpWords) {
    const int nLen = static_cast<int>(szSql.size());
    stu_KestroWordArray stWords = *lpWords;
    char* lpszCopy = lpszCopiesEnd;
    const int nResult = CSqlWordScan(szSql.data(), nLen).Scan(nStart, [&](int nPos, int nWordLen) {
        if (stWords.m_nNum == stWords.m_nMax) [[unlikely]] {
            *lpWords = stWords;
            if (const int nCode = GrowWords(lpWords)) return nCode;
            stWords = *lpWords;
        }
        const char* const lpszWord = szSql.data() + nPos;
        // A fixed number of bytes is copied without a call; those behind the word don't matter, and the terminator is
        // one of them.
        if (nWordLen <= COPY_SIZE && nPos + COPY_SIZE <= nLen + 1)
            std::memcpy(lpszCopy, lpszWord, COPY_SIZE);
        else
            std::memcpy(lpszCopy, lpszWord, static_cast<std::size_t>(nWordLen));
        lpszCopy[nWordLen] = 0;
        const int nIndex = stWords.m_nNum++;
        stWords.m_arWord[nIndex] = lpszCopy;
        stWords.m_arPos[nIndex] = nPos;
        stWords.m_arWordLen[nIndex] = nWordLen;
        stWords.m_arKeyword[nIndex] = WORD_NONE;
        lpszCopy += nWordLen + 1;
        return static_cast<int>(ERR_OK);
    });
    *lpWords = stWords;
    lpszCopiesEnd = lpszCopy;
    return nResult;
}

int CParseSql::AddWord(const char* lpszText, int nPos, int nLen, int bUnquote, stu_KestroWordArray* lpWords) {
    if (!lpszText) return ERR_OK;
    nLen = std::max(nLen, 0);
    if (lpWords->m_nNum >= lpWords->m_nMax)
        if (const int nCode = GrowWords(lpWords)) return nCode;
    LPBYTE lpCopy = nullptr;
    if (const int nCode = m_stBson.AllocFromBufferPool(static_cast<UINT>(nLen) + 1, lpCopy, 0)) return nCode;
    char* const lpszCopy = reinterpret_cast<char*>(lpCopy);
    std::memcpy(lpszCopy, lpszText, static_cast<std::size_t>(nLen));
    lpszCopy[nLen] = 0;
    const int nIndex = lpWords->m_nNum++;
    lpWords->m_arWord[nIndex] = lpszCopy;
    lpWords->m_arPos[nIndex] = nPos;
    lpWords->m_arWordLen[nIndex] = bUnquote && lpszCopy[0] == '\'' ? CollapseQuotes(lpszCopy, nLen) : nLen;
    lpWords->m_arKeyword[nIndex] = WORD_NONE;
    return ERR_OK;
}

int CParseSql::InsertWord(const char* lpszText, int nPos, int nLen, int nIndex, stu_KestroWordArray* lpWords) {
    const int nNum = lpWords->m_nNum;
    if (const int nCode = AddWord(lpszText, nPos, nLen, 0, lpWords)) return nCode;
    if (lpWords->m_nNum == nNum) return ERR_OK;
    nIndex = std::clamp(nIndex, 0, nNum);
    std::rotate(lpWords->m_arWord + nIndex, lpWords->m_arWord + nNum, lpWords->m_arWord + nNum + 1);
    std::rotate(lpWords->m_arPos + nIndex, lpWords->m_arPos + nNum, lpWords->m_arPos + nNum + 1);
    std::rotate(lpWords->m_arWordLen + nIndex, lpWords->m_arWordLen + nNum, lpWords->m_arWordLen + nNum + 1);
    return ERR_OK;
}

int CParseSql::LookUpKeyword(stu_KestroWordArray* lpWords, int nIndex) const {
    if (!m_pKestroKeywordParse) return WORD_NONE;
    const int nCode =
        m_pKestroKeywordParse->GetKeyword(lpWords->m_arWord[nIndex], lpWords->m_arWordLen[nIndex], nullptr, 1);
    return lpWords->m_arKeyword[nIndex] = nCode;
}

void CParseSql::MakeUpper(char* lpszText, int nLen) {
    char* const lpszEnd = lpszText + std::max(nLen, 0);
    while (lpszText != lpszEnd) {
        char* const lpszOpen = std::find(lpszText, lpszEnd, '\'');
        KestroMakeUpper(lpszText, static_cast<int>(lpszOpen - lpszText));
        if (lpszOpen == lpszEnd) return;
        char* const lpszClose = std::find(lpszOpen + 1, lpszEnd, '\'');
        lpszText = lpszClose == lpszEnd ? lpszEnd : lpszClose + 1;
    }
}
