#pragma once

#include <string_view>

/** What the head of a statement tells. */
struct SQLHEAD {
    /** The longest verb, and room for a terminator. */
    static constexpr int WORD_SIZE = 13;

    /** The statement without closing ";" and without brackets around the whole of it. */
    std::string_view m_szText;
    /** Byte of `m_szText` behind the first word and the one character that ended it. */
    int m_nPos = 0;
    char m_szWord[WORD_SIZE] = {};
    int m_nWordLen = 0;
    /** Byte of `m_szText` at which the first word begins; of a head that is refused, the one at fault. */
    int m_nWordPos = 0;
    /** "(" in front of the first word. */
    int m_nParens = 0;
    /** The text of a hint comment, from its first byte to the one behind its closing mark; 0 without a hint. */
    int m_nHintBegin = 0;
    int m_nHintEnd = 0;

    /** Where the mark stands that closes a hint with the verb in it: it is no word of the statement. -1 without one. */
    int HintMark() const;
};

/**
 * Reads a statement's first word and what stands in front of it: comments of both forms, hint comments, "(". With
 * `bHashComment` a "#" opens a comment as "--" does. 0, ERR_START_CHARACTER, ERR_INVALID_CHARACTER, or
 * ERR_INVALID_COMMAND for a word that is longer than any verb.
 */
[[nodiscard]] int ReadSqlHead(std::string_view szSql, bool bHashComment, SQLHEAD& stHead);

/**
 * The same in the caller's own text: what `ReadSqlHead` leaves out at the end is overwritten with zeros, and text and
 * length are set to the rest, on an error too. `lpszWord` holds `SQLHEAD::WORD_SIZE` bytes.
 */
[[nodiscard]] int PraseSqlHead(char*& lpszSql, int bHashComment, int& nLen, int& nPos, char* lpszWord, int& nWordLen,
                               int& nParens, int& nHintBegin, int& nHintEnd);
