#pragma once

// Texts of numbers, and numbers in a given base.

/**
 * The number at the front of a text, read as a decimal. A fraction is cut off; what follows the number is ignored; no
 * number gives 0.
 */
[[nodiscard]] int StringToInt(const char* lpszText);
/** The same in 64 bits; up to 2^64-1 the bit pattern is kept. */
[[nodiscard]] long long StringToLongLong(const char* lpszText);
/** The same as the nearest double. */
[[nodiscard]] double ToDouble(const char* lpszText);

/** The number that a text of zeros and ones writes, up to the first other character; 2^64-1 if it is greater. */
[[nodiscard]] unsigned long long ConvertBitToNumber(const char* lpszText);
/**
 * The number that a text writes in a base from 2 to 36 with letters of either case, up to the first character that is
 * no digit of the base, a sign among them. 2^64-1 if it is greater, 0 for any other base.
 */
[[nodiscard]] unsigned long long ConvSpecifiedStringToDecimal(const char* lpszText, int nBase);
/**
 * Writes a number in a base from 2 to 36, in capitals, with a terminator. Answers the length, at most 64; 0 and an
 * empty text for any other base or a buffer of `nSize` bytes that is too small.
 */
int ConvDecimalToSpecifiedString(unsigned long long ullValue, int nBase, char* lpszText, int nSize);
/** The way back of `ConvertBitToNumber`: zeros and ones, in the same manner. */
inline int ConvertBitToString(unsigned long long ullValue, char* lpszText, int nSize) {
    return ConvDecimalToSpecifiedString(ullValue, 2, lpszText, nSize);
}
