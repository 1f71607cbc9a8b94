// The table of the plan's records and fields, and the proof that it describes them: each row against the declaration,
// and all rows of a record against its size, so that no byte is without a row.

#include "PlanFields.h"

#include <array>
#include <string_view>
#include <type_traits>

namespace {

template <typename T>
constexpr PLANRECORDNO RECORD_NO = PLANRECORD_NONE;
#define PLAN_RECORD(RECORD, SIZE) \
    template <>                   \
    constexpr PLANRECORDNO RECORD_NO<RECORD> = PLANRECORD_##RECORD;
#include "PlanFieldRows.inc"
#include "PlanFieldRowsDdl.inc"
#include "PlanFieldRowsQuery.inc"
#undef PLAN_RECORD

/** The types of fields that the rows name. */
namespace PLANROW {

constexpr PLANFIELDTYPE Number(USHORT nSize, bool bSigned, USHORT nCount = 1) {
    return {PLANFIELD_NUMBER, nSize, nCount, bSigned, PLANRECORD_NONE, nullptr};
}
constexpr PLANFIELDTYPE U8 = Number(1, false);
constexpr PLANFIELDTYPE U16 = Number(2, false);
constexpr PLANFIELDTYPE I16 = Number(2, true);
constexpr PLANFIELDTYPE U32 = Number(4, false);
constexpr PLANFIELDTYPE I32 = Number(4, true);
constexpr PLANFIELDTYPE U64 = Number(8, false);
constexpr PLANFIELDTYPE I64 = Number(8, true);
constexpr PLANFIELDTYPE U16s(USHORT nCount) {
    return Number(2, false, nCount);
}
constexpr PLANFIELDTYPE U32s(USHORT nCount) {
    return Number(4, false, nCount);
}
constexpr PLANFIELDTYPE I32s(USHORT nCount) {
    return Number(4, true, nCount);
}
constexpr PLANFIELDTYPE Bytes(USHORT nSize) {
    return {PLANFIELD_BYTES, nSize, 1, false, PLANRECORD_NONE, nullptr};
}
constexpr PLANFIELDTYPE Names(USHORT nCount, USHORT nSize) {
    return {PLANFIELD_CHARS, nSize, nCount, false, PLANRECORD_NONE, nullptr};
}
constexpr PLANFIELDTYPE Chars(USHORT nSize) {
    return Names(1, nSize);
}
template <typename T>
constexpr PLANFIELDTYPE In{PLANFIELD_RECORD, sizeof(T), 1, false, RECORD_NO<T>, nullptr};

constexpr PLANFIELDTYPE Offset(PLANFIELDKIND nKind, PLANRECORDNO nRecord, const char* lpszLength = nullptr) {
    return {nKind, 4, 1, false, nRecord, lpszLength};
}
constexpr PLANFIELDTYPE Id = Offset(PLANFIELD_ID, PLANRECORD_NONE);
template <typename T>
constexpr PLANFIELDTYPE IdOf = Offset(PLANFIELD_ID, RECORD_NO<T>);
template <typename T>
constexpr PLANFIELDTYPE Ref = Offset(PLANFIELD_OFFSET, RECORD_NO<T>);
template <typename T>
constexpr PLANFIELDTYPE Next = Offset(PLANFIELD_NEXT, RECORD_NO<T>);
template <typename T>
constexpr PLANFIELDTYPE Array(const char* lpszLength) {
    return Offset(PLANFIELD_ARRAY, RECORD_NO<T>, lpszLength);
}
constexpr PLANFIELDTYPE Text = Offset(PLANFIELD_TEXT, PLANRECORD_NONE);
constexpr PLANFIELDTYPE TextOf(const char* lpszLength) {
    return Offset(PLANFIELD_TEXT_OF, PLANRECORD_NONE, lpszLength);
}
constexpr PLANFIELDTYPE Plan = Offset(PLANFIELD_PLAN, PLANRECORD_NONE);
/** An offset in a field that is declared signed. */
constexpr PLANFIELDTYPE Signed(PLANFIELDTYPE stType) {
    stType.m_bSigned = true;
    return stType;
}
/** An offset in a field of one byte. */
constexpr PLANFIELDTYPE Narrow(PLANFIELDTYPE stType) {
    stType.m_nSize = 1;
    return stType;
}

template <typename T>
constexpr PLANFIELDTYPE TailRefs(const char* lpszLength) {
    return Offset(PLANFIELD_TAIL_OFFSETS, RECORD_NO<T>, lpszLength);
}
template <typename T>
constexpr PLANFIELDTYPE TailRecords(const char* lpszLength) {
    return {PLANFIELD_TAIL_RECORDS, sizeof(T), 1, false, RECORD_NO<T>, lpszLength};
}
constexpr PLANFIELDTYPE TailBytes(const char* lpszLength) {
    return {PLANFIELD_TAIL_BYTES, 1, 1, false, PLANRECORD_NONE, lpszLength};
}
constexpr PLANFIELDTYPE TailDecimal(const char* lpszLength) {
    return {PLANFIELD_TAIL_DECIMAL, 1, 1, false, PLANRECORD_NONE, lpszLength};
}
constexpr PLANFIELDTYPE TailText{PLANFIELD_TAIL_TEXT, 1, 1, false, PLANRECORD_NONE, nullptr};
constexpr PLANFIELDTYPE TailInt{PLANFIELD_TAIL_INT, 1, 1, false, PLANRECORD_NONE, nullptr};
template <typename T>
constexpr PLANFIELDTYPE TailRef{PLANFIELD_TAIL_OFFSET, 1, 1, false, RECORD_NO<T>, nullptr};

// --- the tables ------------------------------------------------------------------------------------------------------

#undef PLAN_FIELD
#undef PLAN_CASE
#undef PLAN_UNION
#define PLAN_RECORD(RECORD, SIZE)
#define PLAN_FIELD(RECORD, FIELD, OFFSET, TYPE) {PLANRECORD_##RECORD, #FIELD, OFFSET, TYPE, nullptr, 0, false},
#define PLAN_CASE(RECORD, FIELD, OFFSET, TYPE, TAG, VALUE) \
    {PLANRECORD_##RECORD, #FIELD, OFFSET, TYPE, #TAG, VALUE, false},
#define PLAN_UNION(RECORD, FIELD, OFFSET, TYPE) {PLANRECORD_##RECORD, #FIELD, OFFSET, TYPE, nullptr, 0, true},
constexpr PLANFIELD FIELDS[] = {
#include "PlanFieldRows.inc"
#include "PlanFieldRowsDdl.inc"
#include "PlanFieldRowsQuery.inc"
};
#undef PLAN_RECORD
#undef PLAN_FIELD
#undef PLAN_CASE
#undef PLAN_UNION

// --- each row against its declaration --------------------------------------------------------------------------------

/** Whether a field declared as `F` is what its row says. */
template <typename F>
constexpr bool IsDeclared(const PLANFIELDTYPE& stType) {
    using E = std::remove_all_extents_t<F>;
    if (sizeof(F) != stType.Bytes()) return false;
    switch (stType.m_nKind) {
        case PLANFIELD_BYTES:
            return std::is_same_v<E, BYTE>;
        case PLANFIELD_CHARS:
        case PLANFIELD_TAIL_BYTES:
        case PLANFIELD_TAIL_DECIMAL:
        case PLANFIELD_TAIL_TEXT:
        case PLANFIELD_TAIL_INT:
        case PLANFIELD_TAIL_OFFSET:
            return std::is_same_v<E, char>;
        case PLANFIELD_RECORD:
        case PLANFIELD_TAIL_RECORDS:
            return RECORD_NO<E> == stType.m_nRecord;
        default:
            return std::is_integral_v<E> && sizeof(E) == stType.m_nSize && std::is_signed_v<E> == stType.m_bSigned;
    }
}

#define PLAN_RECORD(RECORD, SIZE) static_assert(sizeof(RECORD) == (SIZE) && alignof(RECORD) == 1);
#define PLAN_FIELD(RECORD, FIELD, OFFSET, TYPE) \
    static_assert(offsetof(RECORD, FIELD) == (OFFSET) && IsDeclared<decltype(RECORD::FIELD)>(TYPE));
#define PLAN_UNION PLAN_FIELD
// Bytes that turn out to be an offset or a tail are declared as the number that they begin with.
#define PLAN_CASE(RECORD, FIELD, OFFSET, TYPE, TAG, VALUE) PLAN_FIELD(RECORD, FIELD, OFFSET, TYPE)
#include "PlanFieldRows.inc"
#include "PlanFieldRowsDdl.inc"
#include "PlanFieldRowsQuery.inc"
#undef PLAN_RECORD

} // namespace PLANROW

using PLANROW::FIELDS;

#define PLAN_RECORD(RECORD, SIZE) {#RECORD, SIZE, {}},
#undef PLAN_FIELD
#undef PLAN_CASE
#undef PLAN_UNION
#define PLAN_FIELD(RECORD, FIELD, OFFSET, TYPE)
#define PLAN_CASE(RECORD, FIELD, OFFSET, TYPE, TAG, VALUE)
#define PLAN_UNION(RECORD, FIELD, OFFSET, TYPE)
constexpr std::array<PLANRECORD, PLANRECORD_COUNT> RECORDS = [] {
    std::array<PLANRECORD, PLANRECORD_COUNT> arRecord{{
#include "PlanFieldRows.inc"
#include "PlanFieldRowsDdl.inc"
#include "PlanFieldRowsQuery.inc"
    }};
    for (std::size_t nBegin = 0, nEnd = 0; nBegin != std::size(FIELDS); nBegin = nEnd) {
        while (nEnd != std::size(FIELDS) && FIELDS[nEnd].m_nRecord == FIELDS[nBegin].m_nRecord)
            ++nEnd;
        arRecord[FIELDS[nBegin].m_nRecord].m_arField = {FIELDS + nBegin, nEnd - nBegin};
    }
    return arRecord;
}();

// --- all rows of a record against each other -------------------------------------------------------------------------

constexpr const PLANFIELD* FindField(const PLANRECORD& stRecord, std::string_view szName) {
    for (const PLANFIELD& stField : stRecord.m_arField)
        if (stField.m_lpszName == szName) return &stField;
    return nullptr;
}

constexpr bool IsNumberField(const PLANRECORD& stRecord, const char* lpszName) {
    const PLANFIELD* const lpField = FindField(stRecord, lpszName);
    return lpField && lpField->m_stType.m_nKind == PLANFIELD_NUMBER && lpField->m_stType.m_nCount == 1;
}

/** Every byte of the record has its row, lengths and tags are numbers of the same record, and only the end is open. */
constexpr bool IsWhole(const PLANRECORD& stRecord) {
    UINT nPos = 0;
    for (const PLANFIELD& stField : stRecord.m_arField) {
        const PLANFIELDTYPE& stType = stField.m_stType;
        const UINT nEnd = stField.m_nOffset + stType.Bytes();
        if (stType.m_lpszLength && !IsNumberField(stRecord, stType.m_lpszLength)) return false;
        if (stField.m_lpszTag && stField.m_lpszTag != PLANFIELD_STATEMENT) {
            if (!IsNumberField(stRecord, stField.m_lpszTag)) return false;
            if (FindField(stRecord, stField.m_lpszTag)->m_stType.m_nSize != 1) return false;
        }
        if (stType.m_nKind >= PLANFIELD_TAIL_OFFSETS && nEnd != stRecord.m_nSize) return false;
        if (nEnd > stRecord.m_nSize) return false;
        if (stField.m_lpszTag || stField.m_bOtherName) continue;
        if (stField.m_nOffset != nPos) return false;
        nPos = nEnd;
    }
    return nPos == stRecord.m_nSize;
}
static_assert([] {
    for (const PLANRECORD& stRecord : RECORDS)
        if (!IsWhole(stRecord)) return false;
    return true;
}());

} // namespace

const PLANFIELD* PLANRECORD::Find(const char* lpszName) const {
    return FindField(*this, lpszName);
}

const PLANRECORD& GetPlanRecord(PLANRECORDNO nRecord) {
    return RECORDS[nRecord];
}
