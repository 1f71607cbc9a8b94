#pragma once

/**
 * The number in a text of at most 62 bytes, as `StringToLongLong` reads it, times the unit that ends it: K, M, G or T
 * of either case, with a B behind it or none, for a power of 1024. A text that is a hexadecimal number as it stands has
 * no unit. 0 for anything else, and for a product beyond 64 bits.
 */
[[nodiscard]] long long ToNumber(const char* lpszText, int nLen);
