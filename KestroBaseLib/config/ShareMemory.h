#pragma once

#include <semaphore.h>
#include <sys/types.h>

#include "TypeDef.h"

/** Id of a shared memory segment; 0 stands for none. */
using MFID = int;

/**
 * System V shared memory segments and named semaphores. No operation blocks beyond the pauses named, and none keeps a
 * state; all may be called from any thread. What lies in a segment may have been written by any process: whoever reads
 * it checks it.
 */
class CShareMemory {
public:
    /**
     * Makes the segment, open to all users, or opens the one that has the key already, of at least this size; the flag
     * tells which. Answers the id, or 0 where that is refused. A segment which the system gives the id 0 is removed,
     * after 1 millisecond, and where that fails after 100 more, and made again, once. The name is unused.
     */
    [[nodiscard]] static MFID CreateShareMemory(key_t nKey, std::size_t nSize, const char* lpszName, bool& bExisted);

    /** Id of the segment that has the key, whatever its size, or -1. It may be 0. The name is unused. */
    [[nodiscard]] static MFID OpenShareMemory(key_t nKey, const char* lpszName);

    /** Address of the attached segment, at the place asked for if one is given; or null. */
    [[nodiscard]] static void* ShMemAttach(MFID nID, const void* lpAddress, int nFlags);

    /** Detaches and clears the pointer; false if no segment was attached there. */
    static bool ShMemDetach(void*& lpMemory);

    /** Clears the id. The segment stays for other processes. */
    static bool CloseShareMemory(MFID& nID);

    /**
     * Removes the segment, if need be with a second attempt after 10 milliseconds, and clears the id in any case. False
     * if there was none or it is still there. Processes that have it attached keep it until they detach.
     */
    static bool DestoryShareMemory(MFID& nID);

    /** Whether an id of `CreateShareMemory` is a segment's. */
    static bool ShareMemoryExsist(MFID nID) { return nID > 0; }

    /** Whether an id of `OpenShareMemory` is a segment's. */
    static bool GetShareMemorySuccess(MFID nID) { return nID != -1; }

    /** The named semaphore, made with the value 1 if there is none; null where it is refused. */
    [[nodiscard]] static sem_t* CreateEventSem(const void* lpAttributes, const char* lpszName);

    static bool CreateEventSemSuccess(const sem_t* lpSemaphore) { return lpSemaphore != nullptr; }
};
