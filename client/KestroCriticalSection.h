#pragma once

#include <pthread.h>

#include "TypeDef.h"

/** Locks one call path can have on record; further ones are held without an entry. */
constexpr UINT CRITICALSECTION_MAX = 20;

/**
 * The locks held on one call path. The outermost call keeps a zeroed one on its stack and passes it down, so that it
 * can give back with `KestroCriticalRelease` what a failed call left locked. It belongs to one thread.
 */
struct KESTROCRITICALSECTION {
    pthread_mutex_t* m_arMutex[CRITICALSECTION_MAX];
    UINT m_nCount;
};

/** Unlocks and clears every entry; the count is left as it stands. Null is allowed. */
void KestroCriticalRelease(KESTROCRITICALSECTION* pRecord);

/**
 * A lock of its scope that also stands in the record of its call path. Locks of one record are given back in the
 * reverse order of their taking: the count is the place of the next entry.
 */
class CKestroCriticalSectionPtr {
public:
    /** Locks. The record may be null; a full one is ignored. Mutex and record outlive the object. */
    CKestroCriticalSectionPtr(pthread_mutex_t* pMutex, KESTROCRITICALSECTION* pRecord);
    virtual ~CKestroCriticalSectionPtr() { UnLock(); }
    CKestroCriticalSectionPtr(const CKestroCriticalSectionPtr&) = delete;
    CKestroCriticalSectionPtr& operator=(const CKestroCriticalSectionPtr&) = delete;

    /** Unlocks and leaves the record; does nothing the second time. */
    void UnLock();

private:
    /** Null when released. */
    pthread_mutex_t* m_pMutex;
    /** The entry in the record. */
    pthread_mutex_t** m_ppSlot = nullptr;
    /** Null without an entry. */
    KESTROCRITICALSECTION* m_pRecord = nullptr;
};

/** A lock of its scope without a record. */
class CCriticalSectionPtr {
public:
    explicit CCriticalSectionPtr(pthread_mutex_t* pMutex) : m_pMutex(pMutex) { pthread_mutex_lock(m_pMutex); }
    ~CCriticalSectionPtr() { UnLock(); }
    CCriticalSectionPtr(const CCriticalSectionPtr&) = delete;
    CCriticalSectionPtr& operator=(const CCriticalSectionPtr&) = delete;

    /** Unlocks; does nothing the second time. */
    void UnLock();

private:
    /** Null when released. */
    pthread_mutex_t* m_pMutex;
};
