#pragma once

/** 1 if an interface of this machine has the address, given in host order; else 0. A failed look is told. */
[[nodiscard]] int CheckLocalIPValid(unsigned int nIP);

/**
 * Whether a text begins with a whole number other than 0; "0", "abc", an empty text and null are not valid. White space
 * at both ends of the text is cut in place.
 */
[[nodiscard]] bool is_valid_digital(char* lpszText);
