#pragma once

// The Win32-like vocabulary in which the records and interfaces of the system are written, and the packing of its
// records. Everything here is shared with the server.

#include <cstddef>
#include <cstdint>

using BYTE = unsigned char;
using LPBYTE = BYTE*;
using WORD = std::uint16_t;
using USHORT = std::uint16_t;
using UINT = unsigned int;
using LPUINT = UINT*;
using DWORD = std::uint32_t;
using BOOL = int;
using LPVOID = void*;
using HANDLE = void*;

/** Longest path, terminator included. */
constexpr std::size_t MAX_PATH = 260;

/** Results of the wait functions, and the wait without an end (49.7 days, in fact). */
constexpr DWORD WAIT_OBJECT_0 = 0;
constexpr DWORD WAIT_TIMEOUT = 0x102;
constexpr DWORD WAIT_FAILED = 0xFFFFFFFF;
constexpr DWORD INFINITE = 0xFFFFFFFF;

/** Ticks of 100 nanoseconds since 1 January 1601 UTC, in halves. */
struct _FILETIME {
    DWORD dwLowDateTime;
    DWORD dwHighDateTime;
};

/** Byte-packed record. With the attribute the compiler refuses a reference to a misaligned field. */
#define KESTRO_PACKED __attribute__((packed))
