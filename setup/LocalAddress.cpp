// Checks of values that an operator gives: whether an address is one of this machine's, whether a text is a number.

#include "LocalAddress.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <sys/socket.h>

#include <cctype>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "SystemFileMessages.h"

namespace {

// Where an IPv4 socket address holds the address.
constexpr std::size_t ADDRESS_OFFSET = 4;

} // namespace

int CheckLocalIPValid(unsigned int nIP) {
    ifaddrs* lpList = nullptr;
    if (getifaddrs(&lpList) != 0) {
        Say<MSG_LOCAL_IP_LIST>(errno);
        return 0;
    }
    const std::unique_ptr<ifaddrs, decltype([](ifaddrs* lpFirst) { freeifaddrs(lpFirst); })> pList(lpList);
    const std::uint32_t nWanted = htonl(nIP);
    for (const ifaddrs* lpEntry = lpList; lpEntry; lpEntry = lpEntry->ifa_next) {
        if (!lpEntry->ifa_addr) continue;
        // The same bytes are compared in an entry of any family. Intended.
        std::uint32_t nAddress;
        std::memcpy(&nAddress, reinterpret_cast<const char*>(lpEntry->ifa_addr) + ADDRESS_OFFSET, sizeof(nAddress));
        if (nAddress == nWanted) return 1;
    }
    return 0;
}

bool is_valid_digital(char* lpszText) {
    if (!lpszText) return false;
    const auto IsSpace = [](char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; };
    const char* lpszFirst = lpszText;
    while (IsSpace(*lpszFirst))
        ++lpszFirst;
    std::size_t nLen = std::strlen(lpszFirst);
    while (nLen > 0 && IsSpace(lpszFirst[nLen - 1]))
        --nLen;
    std::memmove(lpszText, lpszFirst, nLen);
    lpszText[nLen] = 0;
    return std::strtol(lpszText, nullptr, 10) != 0;
}
