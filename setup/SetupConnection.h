#pragma once

#include <cstdint>

class CDBInterface;

/** What `V$INSTANCE` says of an instance that is at work. */
constexpr const char* STATUS_OPEN = "Open";

/**
 * Connects as root with the empty password of a new instance, address in host order: at most `nAttempts` times, a
 * second apart. Answers 0 or the last code.
 */
[[nodiscard]] int ConnectAsRoot(CDBInterface& stConnection, std::uint32_t nIP, std::uint16_t usPort, int nAttempts);
