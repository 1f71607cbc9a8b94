#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <string_view>

#include "KestroErrorCode.h"
#include "MemDBCommonDef.h"

/** The kind of section in which a record lives. */
template <typename T>
constexpr BYTE PLAN_SECTION_TYPE = SECTION_DATA;
template <>
inline constexpr BYTE PLAN_SECTION_TYPE<RECORDHEAD> = SECTION_RECORD;
template <>
inline constexpr BYTE PLAN_SECTION_TYPE<EXECUTESTEP> = SECTION_STEP;

/** A section of a plan as sent. Without bytes: there is none. */
struct PLANSECTION {
    /** The whole section, its head included. */
    std::span<const BYTE> m_arByte;
    BYTE m_bType = 0;
    /** The neighbours of its kind; 0 in a general section. */
    USHORT m_nPreSectionNo = 0;
    USHORT m_nNextSectionNo = 0;
};

/**
 * Reads a plan whose bytes nobody has checked: the main buffer and behind it the sections, as they were sent. `Open`
 * checks head, sizes, the chain of the sections and their links; every access behind it checks its own bounds and
 * answers null or nothing for a place that isn't there. Records are packed, so any address will do.
 *
 *     CPlanReader stPlan;
 *     if (const int nCode = stPlan.Open(lpBytes, nLen)) return nCode;
 *     const auto* lpQuery = stPlan.Record<QUERYEXECUTEPLANBSON>(stPlan.Head().m_nCommandOffset);
 *     if (!lpQuery) return ERR_PARAMETER;
 *
 * It keeps pointers into the bytes, which outlive it. What it answers from one thread another may read as well.
 */
class CPlanReader {
public:
    /** 0; ERR_PARAMETER, and `Fault` says why; ERR_MEMORY. Only after 0 may anything else be called. */
    [[nodiscard]] int Open(const void* lpBytes, std::size_t nLen);
    /** What is wrong with the plan that `Open` refused, a few English words; null for nothing. */
    const char* Fault() const { return m_lpszFault; }

    const EXECUTEPLANBSON& Head() const { return *reinterpret_cast<const EXECUTEPLANBSON*>(m_arMain.data()); }
    /** The statement's text; empty in a plan without one. */
    std::string_view Statement() const { return Text(Head().m_nSqlOffset); }
    std::span<const BYTE> Main() const { return m_arMain; }

    // --- by offset; nothing lies inside the plan's head --------------------------------------------------------------

    /** `nSize` bytes of the main buffer, or null. */
    const BYTE* Bytes(UINT nOffset, std::uint64_t nSize) const {
        const bool bInside = nOffset >= sizeof(EXECUTEPLANBSON) && nOffset <= m_arMain.size();
        return bInside && nSize <= m_arMain.size() - nOffset ? m_arMain.data() + nOffset : nullptr;
    }
    /** A record, without a tail that extends behind it. */
    template <typename T>
    const T* Record(UINT nOffset) const {
        static_assert(alignof(T) == 1, "records of a plan are packed");
        return reinterpret_cast<const T*>(Bytes(nOffset, sizeof(T)));
    }
    /** `nCount` elements one behind the other: an array, or a tail with the offset of its first element. Or nothing. */
    template <typename T>
    std::span<const T> Records(UINT nOffset, UINT nCount) const {
        static_assert(alignof(T) == 1, "records of a plan are packed");
        const BYTE* const lpFirst = Bytes(nOffset, std::uint64_t{nCount} * sizeof(T));
        return lpFirst ? std::span(reinterpret_cast<const T*>(lpFirst), nCount) : std::span<const T>();
    }
    /** A text of a length; its `data` is null if it isn't inside. */
    std::string_view Text(UINT nOffset, UINT nLen) const;
    /** A text to its terminator; the same if there is none. */
    std::string_view Text(UINT nOffset) const;
    /** A text field of a record: to its terminator, or to its end. */
    template <std::size_t N>
    static std::string_view Field(const char (&szField)[N]) {
        const std::string_view szText(szField, N);
        return szText.substr(0, szText.find('\0'));
    }

    // --- by id -------------------------------------------------------------------------------------------------------

    /** Sections are numbered from 1 to this. */
    USHORT SectionNum() const { return m_nSectionNum; }
    PLANSECTION Section(USHORT nSectionNo) const;
    /** `nSize` bytes behind the heads of a section of type `bType`, or null. */
    const BYTE* ById(UINT nAddrID, BYTE bType, UINT nSize) const;
    template <typename T>
    const T* ById(UINT nAddrID) const {
        static_assert(alignof(T) == 1, "records of a plan are packed");
        return reinterpret_cast<const T*>(ById(nAddrID, PLAN_SECTION_TYPE<T>, sizeof(T)));
    }
    /** The id of the record or step behind another, in the same section or the next of its kind; 0 behind the last. */
    template <typename T>
    UINT NextId(UINT nAddrID) const {
        static_assert(PLAN_SECTION_TYPE<T> != SECTION_DATA, "general sections hold pieces of all sizes");
        return NextId(nAddrID, PLAN_SECTION_TYPE<T>, sizeof(T));
    }

private:
    int Refuse(const char* lpszFault) {
        m_lpszFault = lpszFault;
        return ERR_PARAMETER;
    }
    int CheckHead(std::span<const BYTE> arByte);
    int CheckSections(std::span<const BYTE> arByte);
    int CheckLinks();
    UINT NextId(UINT nAddrID, BYTE bType, UINT nSize) const;

    std::span<const BYTE> m_arMain;
    /** The sections' bytes; they follow the main buffer. */
    std::span<const BYTE> m_arSection;
    /** Where each section begins in `m_arSection`, and behind them the end of the last. */
    std::unique_ptr<UINT[]> m_arBegin;
    USHORT m_nSectionNum = 0;
    const char* m_lpszFault = nullptr;
};
