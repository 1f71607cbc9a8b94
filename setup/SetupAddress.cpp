// Addresses as an operator writes them. Whether this machine has one is asked in LocalAddress.h.

#include "SetupAddress.h"

#include <arpa/inet.h>

#include <cstdio>

std::uint32_t ParseAddress(const char* lpszText) {
    return ntohl(inet_addr(lpszText));
}

bool HasFourNumbers(const char* lpszText) {
    // Nothing is stored, so a number too long for an int does no harm; the end is only reached behind the fourth.
    int nEnd = 0;
    std::sscanf(lpszText, "%*d.%*d.%*d.%*d%n", &nEnd);
    return nEnd > 0;
}

void FormatAddress(SETUPTEXT& szText, std::uint32_t nIP) {
    SETUPTEXT szDotted{};
    std::snprintf(szDotted, sizeof szDotted, "%d.%d.%d.%d", AddressByte(nIP, 0), AddressByte(nIP, 1),
                  AddressByte(nIP, 2), AddressByte(nIP, 3));
    KeepText(szText, szDotted);
}
