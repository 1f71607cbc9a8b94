#pragma once

#include "VarData.h"

// Wide text of values, for the text output of recordsets. Each function makes an array with array new, which is the
// caller's; null without memory. Any thread.

[[nodiscard]] wchar_t* KestroConvertNumber2WChar(long long llValue);
/**
 * About nine significant digits: the greater the number, the fewer places, without zeros at the end; six places and
 * all of them from 2^63 on and below 0.000001, so 0 gives "0.000000".
 */
[[nodiscard]] wchar_t* KestroConvertNumber2WChar(double dblValue);
[[nodiscard]] wchar_t* KestroConvertTime(const KESTROTIME& stTime);
[[nodiscard]] wchar_t* KestroConvertDate(const KESTRODATE& stDate);
/** A date and time, with milliseconds if there are any. */
[[nodiscard]] wchar_t* KestroConvertDate(double dblValue);
/** The length in brackets and the first 32 bytes at most in hexadecimal: "(3) 414243". */
[[nodiscard]] wchar_t* KestroConvertBinary(const unsigned char* lpData, int nLen);
[[nodiscard]] wchar_t* KestroDecimal2WChar(const st_VARDATA* lpValue);
