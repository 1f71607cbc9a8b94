#pragma once

/**
 * The codes of words: classes of literals, signs, keywords. One number space, so that a parser tells a keyword from a
 * string, a comma or an operator by one comparison.
 */
enum KESTROKEYWORD : int {
    /** Not looked up yet, or no word at all. */
    WORD_NONE = 0,

    // Classes of words.
    WORD_NAME = 1,
    WORD_STRING = 2,
    WORD_INTEGER = 3,
    WORD_DECIMAL = 4,
    /** A zero byte. */
    WORD_NUL = 5,
    /** b'01' or 0b01. */
    WORD_BINARY = 6,
    /** 0x41. */
    WORD_HEX = 7,
    /** x'41'. */
    WORD_HEX_STRING = 8,

    // Signs. A quote is one only when it stands alone.
    WORD_BACKQUOTE = 0xA,
    WORD_SINGLE_QUOTE = 0xB,
    WORD_DOUBLE_QUOTE = 0xC,
    WORD_SEMICOLON = 0xD,
    WORD_COMMA = 0xE,
    WORD_POINT = 0xF,
    WORD_PAREN_OPEN = 0x10,
    WORD_PAREN_CLOSE = 0x11,
    WORD_BRACKET_OPEN = 0x12,
    WORD_BRACKET_CLOSE = 0x13,
    WORD_BRACE_OPEN = 0x14,
    WORD_BRACE_CLOSE = 0x15,
    /** "||". */
    WORD_CONCAT = 0x16,
    WORD_PLUS = 0x17,
    WORD_MINUS = 0x18,
    WORD_STAR = 0x19,
    WORD_SLASH = 0x1A,
    WORD_PERCENT = 0x1B,
    WORD_EQUAL = 0x1C,
    /** "->". */
    WORD_ARROW_RIGHT = 0x1D,
    /** "<-". */
    WORD_ARROW_LEFT = 0x1E,
    WORD_EXCLAMATION = 0x1F,
    /** "!=" and "<>". */
    WORD_NOT_EQUAL = 0x20,
    WORD_GREATER = 0x21,
    WORD_LESS = 0x22,
    WORD_GREATER_EQUAL = 0x23,
    WORD_LESS_EQUAL = 0x24,
    /** ":=". */
    WORD_ASSIGN = 0x25,
    WORD_AT = 0x26,
    WORD_QUESTION = 0x27,
    /** "$", also in backticks or double quotes. */
    WORD_DOLLAR = 0x28,
    WORD_COLON = 0x29,
    /** An empty word or an empty string. */
    WORD_EMPTY = 0x2A,
    /** "&&". */
    WORD_AND = 0x2B,
    WORD_AMPERSAND = 0x2C,
    WORD_CARET = 0x2D,
    WORD_BAR = 0x2E,
    /** "<<". */
    WORD_SHIFT_LEFT = 0x2F,
    /** ">>". */
    WORD_SHIFT_RIGHT = 0x30,
    WORD_TILDE = 0x31,
    /** "->>". */
    WORD_ARROW_TEXT = 0x32,
    /** "<=>", equal also when both are NULL. */
    WORD_EQUAL_NULL = 0x33,

// Keywords: KW_ and the word; KW_INTRODUCER_ for those that name a character set in front of a string.
#define KESTRO_KEYWORD(NAME, nCode) KW_##NAME = nCode,
#define KESTRO_INTRODUCER(NAME, nCode) KW_INTRODUCER_##NAME = nCode,
#include "KestroKeywordTable.inc"
#undef KESTRO_KEYWORD
#undef KESTRO_INTRODUCER
};

/** Rows of the keyword table. */
constexpr int KEYWORD_NUM = 725;

/** Bytes of the longest word that the table could hold. */
constexpr int KEYWORD_LEN_MAX = 27;
