#pragma once

#include <array>

#include "TypeDef.h"

/** What a byte is; bits of `CHAR_CLASS`. Bytes from 0x80 on belong to no class. */
enum CHARCLASS : BYTE {
    CC_DIGIT = 1,
    CC_UPPER = 2,
    CC_LOWER = 4,
    CC_LETTER = CC_UPPER | CC_LOWER,
    /** Blank, tab, line feed, carriage return. */
    CC_BLANK = 8,
    /** Begins a plain name: a letter, "_" or "#". */
    CC_NAME_START = 16,
    /** May stand in a plain name: a letter, a digit, "$", "_" or "#". */
    CC_NAME = 32,
    CC_HEX = 64,
};

inline constexpr std::array<BYTE, 256> CHAR_CLASS = [] {
    std::array<BYTE, 256> arClass{};
    for (int c = '0'; c <= '9'; ++c)
        arClass[c] = CC_DIGIT | CC_NAME | CC_HEX;
    for (int c = 'A'; c <= 'Z'; ++c) {
        arClass[c] = CC_UPPER | CC_NAME_START | CC_NAME;
        arClass[c + 0x20] = CC_LOWER | CC_NAME_START | CC_NAME;
    }
    for (int c = 'A'; c <= 'F'; ++c) {
        arClass[c] |= CC_HEX;
        arClass[c + 0x20] |= CC_HEX;
    }
    arClass['_'] = arClass['#'] = CC_NAME_START | CC_NAME;
    arClass['$'] = CC_NAME;
    arClass[' '] = arClass['\t'] = arClass['\n'] = arClass['\r'] = CC_BLANK;
    return arClass;
}();

/** Whether a byte belongs to one of the classes in `nClass`, without regard to the locale. */
constexpr bool IsCharClass(char c, BYTE nClass) {
    return (CHAR_CLASS[static_cast<BYTE>(c)] & nClass) != 0;
}

/** The capital of a small ASCII letter; any other byte as it stands. */
constexpr char FoldToUpper(char c) {
    return IsCharClass(c, CC_LOWER) ? static_cast<char>(c - 0x20) : c;
}

/** Whether a byte begins a UTF-8 character: characters are counted by such bytes. */
constexpr bool IsCharStart(char c) {
    return (static_cast<BYTE>(c) & 0xC0) != 0x80;
}
