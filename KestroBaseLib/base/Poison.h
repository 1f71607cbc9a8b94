#pragma once

#include <cstddef>

#if defined(__SANITIZE_ADDRESS__)
#define KESTRO_ADDRESS_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define KESTRO_ADDRESS_SANITIZER 1
#endif
#endif
#ifndef KESTRO_ADDRESS_SANITIZER
#define KESTRO_ADDRESS_SANITIZER 0
#endif

#if KESTRO_ADDRESS_SANITIZER
#include <sanitizer/asan_interface.h>
#endif

/**
 * Tells AddressSanitizer that bytes inside a live block belong to nobody, or to somebody again: so a pool's pieces are
 * watched like blocks of the heap, although the pool keeps the memory. Nothing in any other build.
 */
inline void PoisonBytes([[maybe_unused]] const void* lpBytes, [[maybe_unused]] std::size_t nSize) {
#if KESTRO_ADDRESS_SANITIZER
    __asan_poison_memory_region(lpBytes, nSize);
#endif
}

/** The bytes may be read and written again. */
inline void UnpoisonBytes([[maybe_unused]] const void* lpBytes, [[maybe_unused]] std::size_t nSize) {
#if KESTRO_ADDRESS_SANITIZER
    __asan_unpoison_memory_region(lpBytes, nSize);
#endif
}
