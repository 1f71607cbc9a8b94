#pragma once

#include <cstring>

#include "ChunkCache.h"

struct stu_RECORD;

/**
 * A vector of row pointers with its free space as a gap in the middle, which stays where the last row left: a walk that
 * deletes rows as it goes moves each pointer once, however many rows there are.
 */
class CRecordVector {
public:
    CRecordVector() = default;
    CRecordVector(const CRecordVector&) = delete;
    CRecordVector& operator=(const CRecordVector&) = delete;
    ~CRecordVector() { Free(); }

    int Size() const { return m_nCapacity - m_nGapLen; }
    stu_RECORD* operator[](int nRow) const { return m_lpRow[nRow < m_nGapPos ? nRow : nRow + m_nGapLen]; }

    /** Empties it and keeps its space. */
    void Clear() {
        m_nGapPos = 0;
        m_nGapLen = m_nCapacity;
    }
    void Free() {
        KestroChunkFree(m_lpRow);
        m_lpRow = nullptr;
        m_nCapacity = m_nGapPos = m_nGapLen = 0;
    }
    /** Room for `nRows` in all; false without memory, and nothing has changed. */
    [[nodiscard]] bool Reserve(int nRows) {
        if (nRows <= m_nCapacity) return true;
        auto* const lpNew =
            static_cast<stu_RECORD**>(KestroChunkAlloc(static_cast<std::size_t>(nRows) * sizeof *m_lpRow));
        if (!lpNew) return false;
        const int nSize = Size();
        MoveGap(nSize);
        if (nSize != 0) std::memcpy(lpNew, m_lpRow, static_cast<std::size_t>(nSize) * sizeof *m_lpRow);
        KestroChunkFree(m_lpRow);
        m_lpRow = lpNew;
        m_nCapacity = nRows;
        m_nGapPos = nSize;
        m_nGapLen = nRows - nSize;
        return true;
    }
    /** Becomes the rows of an array, for which there is room. */
    template <typename RECORD>
    void Fill(RECORD* lpRows, int nRows) {
        for (int i = 0; i < nRows; ++i)
            m_lpRow[i] = lpRows + i;
        m_nGapPos = nRows;
        m_nGapLen = m_nCapacity - nRows;
    }
    [[nodiscard]] bool Push(stu_RECORD* lpRow) {
        if (m_nGapLen == 0 &&
            (m_nCapacity > ROWS_MOST / 2 || !Reserve(m_nCapacity == 0 ? ROWS_FIRST : 2 * m_nCapacity)))
            return false;
        MoveGap(Size());
        m_lpRow[m_nGapPos++] = lpRow;
        --m_nGapLen;
        return true;
    }
    void Erase(int nRow) {
        MoveGap(nRow);
        ++m_nGapLen;
    }

private:
    static constexpr int ROWS_FIRST = 64;
    static constexpr int ROWS_MOST = 0x7FFFFFFF;

    void MoveGap(int nPos) {
        const auto Move = [this](int nTo, int nFrom, int nRows) {
            std::memmove(m_lpRow + nTo, m_lpRow + nFrom, static_cast<std::size_t>(nRows) * sizeof *m_lpRow);
        };
        if (nPos < m_nGapPos) Move(nPos + m_nGapLen, nPos, m_nGapPos - nPos);
        if (nPos > m_nGapPos) Move(m_nGapPos, m_nGapPos + m_nGapLen, nPos - m_nGapPos);
        m_nGapPos = nPos;
    }

    stu_RECORD** m_lpRow = nullptr;
    int m_nCapacity = 0;
    int m_nGapPos = 0;
    int m_nGapLen = 0;
};
