#pragma once

#include "KestroInnerArray.h"

/**
 * A stack of plain values, without a heap block while it holds 64 or fewer. An entry for which there is no memory is
 * lost silently. One thread at a time.
 */
template <typename T>
class CKestroStackOf {
public:
    CKestroStackOf() = default;
    CKestroStackOf(const CKestroStackOf&) = delete;
    CKestroStackOf& operator=(const CKestroStackOf&) = delete;
    ~CKestroStackOf() { free(); }

    void push(T nValue) {
        if (m_nPos == m_nCount && !DoubleArray(m_arData, m_pData, m_nCount)) return;
        m_pData[m_nPos++] = nValue;
    }
    /** Drops the last entry, if there is one. */
    void pop() {
        if (m_nPos > 0) --m_nPos;
    }

    bool empty() const { return m_nPos == 0; }
    int size() const { return m_nPos; }
    /** The last entry, 0 if there is none. */
    T top() const { return empty() ? T{} : m_pData[m_nPos - 1]; }

    /** Empties the stack and frees its heap block. */
    void free() {
        BackToInnerArray(m_arData, m_pData, m_nCount);
        m_nPos = 0;
    }

protected:
    T m_arData[INNER_ENTRY_NUM];
    /** The number of entries. */
    int m_nPos = 0;
    /** The array in use. */
    T* m_pData = m_arData;
    int m_nCount = INNER_ENTRY_NUM;
};

class CKestroStack : public CKestroStackOf<void*> {
public:
    /** Entry `i`, counted from the first pushed; null if there is none. */
    void* at(int i) const { return i >= 0 && i < m_nPos ? m_pData[i] : nullptr; }
};

class CKestroStackInt64 : public CKestroStackOf<long long> {};
static_assert(sizeof(CKestroStack) == 536 && sizeof(CKestroStackInt64) == 536);
