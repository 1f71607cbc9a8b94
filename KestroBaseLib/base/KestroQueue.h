#pragma once

#include "KestroInnerArray.h"
#include "TypeDef.h"

/**
 * A first-in-first-out queue of plain values, without a heap block while it holds fewer than 64. It's made for filling
 * first and emptying afterwards. An entry for which there is no memory is lost silently. One thread at a time.
 */
template <typename T>
class CKestroQueueOf {
public:
    CKestroQueueOf() = default;
    CKestroQueueOf(const CKestroQueueOf&) = delete;
    CKestroQueueOf& operator=(const CKestroQueueOf&) = delete;
    ~CKestroQueueOf() { free(); }

    void push(T nValue) {
        // One slot of the ring stays free, so that it's the 64th entry that goes to the heap, not the 65th. Intended.
        // The copy into a larger array doesn't unroll the ring: one that is full while wrapped reads as empty
        // afterwards. Intended; whoever fills first and empties afterwards never meets it.
        const bool bFull = m_nEnd + 1 == m_nBegin || m_nEnd + 1 == m_nBegin + m_nCount;
        if (bFull && !DoubleArray(m_arData, m_pData, m_nCount)) return;
        m_pData[m_nEnd] = nValue;
        m_nEnd = !bFull && m_nEnd + 1 == m_nCount ? 0 : m_nEnd + 1;
    }

    /** Drops the oldest entry, if there is one. */
    void pop() {
        if (empty()) return;
        if (++m_nBegin == m_nCount) m_nBegin = 0;
    }

    bool empty() const { return m_nBegin == m_nEnd; }
    int size() const { return m_nEnd >= m_nBegin ? m_nEnd - m_nBegin : m_nEnd - m_nBegin + m_nCount; }
    /** The oldest entry, 0 if there is none. */
    T front() const { return empty() ? T{} : m_pData[m_nBegin]; }
    /** The newest entry, 0 if there is none. */
    T back() const { return empty() ? T{} : m_pData[m_nEnd == 0 ? m_nCount - 1 : m_nEnd - 1]; }
    /** Entry `i`, 0 if there is none. Only for a queue whose oldest entry lies in slot 0: after a `pop` it gives 0. */
    T get(int i) const { return m_nBegin == 0 && i >= 0 && i < m_nEnd ? m_pData[i] : T{}; }

    /** Empties the queue and frees its heap block. */
    void free() {
        BackToInnerArray(m_arData, m_pData, m_nCount);
        m_nBegin = m_nEnd = 0;
    }

protected:
    T m_arData[INNER_ENTRY_NUM];
    /** The slot of the oldest entry. */
    int m_nBegin = 0;
    /** The slot to be filled next. */
    int m_nEnd = 0;
    /** The array in use. */
    T* m_pData = m_arData;
    /** Its slots, one of which stays free. */
    int m_nCount = INNER_ENTRY_NUM;
};

class CKestroQueue : public CKestroQueueOf<void*> {};

class CKestroQueueUINT : public CKestroQueueOf<UINT> {
public:
    /** Writes all entries, oldest first, to an array of `size()` elements. */
    void copy(UINT* lpEntries) const {
        for (int i = m_nBegin; i != m_nEnd; i = i + 1 == m_nCount ? 0 : i + 1)
            *lpEntries++ = m_pData[i];
    }
};
static_assert(sizeof(CKestroQueue) == 536 && sizeof(CKestroQueueUINT) == 280);
