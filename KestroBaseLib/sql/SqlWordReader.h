#pragma once

#include <string_view>

#include "ParseSql.h"

/**
 * Reads the words of a statement by their numbers. A number behind the last word, or below 0, reads as an empty word of
 * code WORD_NONE, so that parsers look ahead without counting. It refers to compiler and words, which outlive it.
 */
class CSqlWordReader {
public:
    CSqlWordReader(CParseSql& stParseSql, stu_KestroWordArray& stWords)
        : m_stParseSql(stParseSql), m_stWords(stWords) {}

    int Num() const { return m_stWords.m_nNum; }
    bool Has(int nIndex) const { return nIndex >= 0 && nIndex < m_stWords.m_nNum; }
    int Keyword(int nIndex) const { return m_stParseSql.GetKeyword(&m_stWords, nIndex); }
    /** Terminated. */
    const char* Text(int nIndex) const { return Has(nIndex) ? m_stWords.m_arWord[nIndex] : ""; }
    int Len(int nIndex) const { return Has(nIndex) ? m_stWords.m_arWordLen[nIndex] : 0; }
    std::string_view Word(int nIndex) const { return {Text(nIndex), static_cast<std::size_t>(Len(nIndex))}; }

    /** Whether a word equals a text but for the case of its letters. */
    bool Is(int nIndex, std::string_view szText) const;
    /** Whether a word is a name or a keyword, which is one as well where only a name can stand. */
    bool MayBeName(int nIndex) const {
        const int nKeyword = Keyword(nIndex);
        return nKeyword == WORD_NAME || nKeyword >= KW_SELECT;
    }
    /** Whether a word is a plain integer of 32 bits, and which one. */
    bool ReadInteger(int nIndex, int& nValue) const;

    /** The ")" of the "(" at `nOpen`, searched up to `nEnd`; -1 without one. */
    int FindClose(int nOpen, int nEnd) const;
    /** The first word of code `nKeyword` outside of all brackets from `nBegin` on; `nEnd` without one. */
    int Find(int nKeyword, int nBegin, int nEnd) const;
    /** Narrows a range by all pairs of brackets that enclose the whole of it. */
    void RemoveOuterBrackets(st_PARSEPARAM& stParam) const;

private:
    CParseSql& m_stParseSql;
    stu_KestroWordArray& m_stWords;
};

/** The same words as if the statement ended in front of word `nEnd`; they share their arrays. */
inline stu_KestroWordArray SqlWordsUpTo(const stu_KestroWordArray& stWords, int nEnd) {
    stu_KestroWordArray stFirst = stWords;
    if (nEnd < stFirst.m_nNum) stFirst.m_nNum = nEnd;
    return stFirst;
}
