#pragma once

#include <cstdint>

#include "SetupMessage.h"
#include "SetupParam.h"

/** What `ParseAddress` answers for a text that is no address, and so for 255.255.255.255 too. */
constexpr std::uint32_t ADDRESS_NONE = 0xFFFFFFFF;
constexpr std::uint32_t ADDRESS_LOOPBACK = 0x7F000001;

/** An address in host order, in any form that `inet_addr` takes: "0", "10.5" and "0x7f.1" are addresses too. */
[[nodiscard]] std::uint32_t ParseAddress(const char* lpszText);

/** Whether a text begins with four decimal numbers and the dots between them. */
[[nodiscard]] bool HasFourNumbers(const char* lpszText);

/** Whether an address can be a node's: not 0, not 255.255.255.255, not 127.0.0.1. */
[[nodiscard]] constexpr bool IsNodeAddress(std::uint32_t nIP) {
    return nIP != 0 && nIP != ADDRESS_NONE && nIP != ADDRESS_LOOPBACK;
}

/** One byte of an address in host order, as a message prints it; byte 0 is written first. */
[[nodiscard]] constexpr int AddressByte(std::uint32_t nIP, int nByte) {
    return static_cast<int>(nIP >> (24 - 8 * nByte) & 0xFF);
}

/** Writes an address as four decimal numbers. */
void FormatAddress(SETUPTEXT& szText, std::uint32_t nIP);

/** `Say` for a message that shows one address, or two. */
template <const MESSAGE& stMessage>
void SayAddress(std::uint32_t nIP) {
    Say<stMessage>(AddressByte(nIP, 0), AddressByte(nIP, 1), AddressByte(nIP, 2), AddressByte(nIP, 3));
}

template <const MESSAGE& stMessage>
void SayAddresses(std::uint32_t nFirst, std::uint32_t nSecond) {
    Say<stMessage>(AddressByte(nFirst, 0), AddressByte(nFirst, 1), AddressByte(nFirst, 2), AddressByte(nFirst, 3),
                   AddressByte(nSecond, 0), AddressByte(nSecond, 1), AddressByte(nSecond, 2), AddressByte(nSecond, 3));
}
