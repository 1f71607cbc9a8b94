// Scoped locks, and the record by which the outermost call gives back what a failed one left locked.

#include "KestroCriticalSection.h"

#include <utility>

void KestroCriticalRelease(KESTROCRITICALSECTION* pRecord) {
    if (!pRecord) return;
    // All entries, not only those below the count: an entry in the middle may have gone before a later one.
    for (pthread_mutex_t*& pMutex : pRecord->m_arMutex) {
        if (pMutex) pthread_mutex_unlock(std::exchange(pMutex, nullptr));
    }
}

CKestroCriticalSectionPtr::CKestroCriticalSectionPtr(pthread_mutex_t* pMutex, KESTROCRITICALSECTION* pRecord)
    : m_pMutex(pMutex) {
    pthread_mutex_lock(m_pMutex);
    if (!pRecord || pRecord->m_nCount >= CRITICALSECTION_MAX) return;
    m_pRecord = pRecord;
    m_ppSlot = &pRecord->m_arMutex[pRecord->m_nCount++];
    *m_ppSlot = m_pMutex;
}

void CKestroCriticalSectionPtr::UnLock() {
    if (m_pMutex) pthread_mutex_unlock(std::exchange(m_pMutex, nullptr));
    if (!m_pRecord) return;
    *m_ppSlot = nullptr;
    if (m_pRecord->m_nCount > 0) --m_pRecord->m_nCount;
    m_pRecord = nullptr;
}

void CCriticalSectionPtr::UnLock() {
    if (m_pMutex) pthread_mutex_unlock(std::exchange(m_pMutex, nullptr));
}
