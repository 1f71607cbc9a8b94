// Linked into every test program: the store that it builds before main stays off the area and the semaphore of the
// machine's instances. A test that shares sets a key and a name of its own.

#include "Platform.h"

namespace {

__attribute__((constructor(101))) void KeepOffShare() {
    g_stPlatform.m_lpfnShmGet = [](key_t, std::size_t, int) { return -1; };
    g_stPlatform.m_lpfnSemOpen = [](const char*, mode_t) -> sem_t* { return nullptr; };
}

} // namespace
