#pragma once

#include <cstddef>
#include <span>
#include <string_view>

#include "MemDBCommonDef.h"

/**
 * What the fields of the plan's records mean to a program that reads plans: one row a field, in `PlanFieldRows*.inc`.
 * The same rows check every offset and size when this floor is compiled, so they can't differ from the records.
 *
 *     PLAN_RECORD(RECORD, size)                          a record; the rows of its fields follow
 *     PLAN_FIELD(RECORD, field, offset, TYPE)            a field
 *     PLAN_CASE(RECORD, field, offset, TYPE, TAG, value) what the bytes at that offset are when the field TAG, one byte
 *                                                        of the same record, is `value`; the first that holds counts.
 *                                                        TAG may be STATEMENT: the plan's `m_nType`
 *     PLAN_UNION(RECORD, field, offset, TYPE)            another name of those bytes, when no field tells which holds
 *
 * TYPE is one of the constants and functions of the namespace `PLANROW`.
 */
enum PLANFIELDKIND : BYTE {
    PLANFIELD_NUMBER,       // one number, or `m_nCount` of them
    PLANFIELD_BYTES,        // as they are
    PLANFIELD_CHARS,        // text to its terminator or to the field's end; `m_nCount` of them
    PLANFIELD_RECORD,       // a record inside the record
    PLANFIELD_ID,           // id of a place in a section
    PLANFIELD_OFFSET,       // offset of a record
    PLANFIELD_NEXT,         // offset of the next record of a chain
    PLANFIELD_ARRAY,        // offset of as many records as the length field says
    PLANFIELD_TEXT,         // offset of a text with a terminator
    PLANFIELD_TEXT_OF,      // offset of a text of as many bytes as the length field says
    PLANFIELD_PLAN,         // offset of a plan with offsets of its own
    PLANFIELD_TAIL_OFFSETS, // the field and what follows the record: as many offsets as the length field says
    PLANFIELD_TAIL_RECORDS, // the same: records
    PLANFIELD_TAIL_BYTES,   // the same: bytes
    PLANFIELD_TAIL_DECIMAL, // the same: the bytes of a decimal
    PLANFIELD_TAIL_TEXT,    // the field and what follows the record: a text with a terminator
    PLANFIELD_TAIL_INT,     // the same: a number of 4 bytes
    PLANFIELD_TAIL_OFFSET,  // the same: the offset of a record
};

/** The numbers of the records, in the order of their rows. */
enum PLANRECORDNO : BYTE {
#define PLAN_RECORD(RECORD, SIZE) PLANRECORD_##RECORD,
#define PLAN_FIELD(RECORD, FIELD, OFFSET, TYPE)
#define PLAN_CASE(RECORD, FIELD, OFFSET, TYPE, TAG, VALUE)
#define PLAN_UNION(RECORD, FIELD, OFFSET, TYPE)
#include "PlanFieldRows.inc"
#include "PlanFieldRowsDdl.inc"
#include "PlanFieldRowsQuery.inc"
#undef PLAN_RECORD
    PLANRECORD_COUNT,
    PLANRECORD_NONE = 255
};

/** The tag that stands for the plan's statement. */
constexpr std::string_view PLANFIELD_STATEMENT = "STATEMENT";

/** The type of a field. */
struct PLANFIELDTYPE {
    PLANFIELDKIND m_nKind;
    /** Bytes of one element: of a number, a text, an embedded record. */
    USHORT m_nSize;
    /** Elements inside the record. */
    USHORT m_nCount;
    bool m_bSigned;
    /** What an offset or an id leads to, what is embedded or stands in the tail. */
    PLANRECORDNO m_nRecord;
    /** The field of the same record that holds the length; null for none. */
    const char* m_lpszLength;

    constexpr UINT Bytes() const { return UINT{m_nSize} * m_nCount; }
};

struct PLANFIELD {
    PLANRECORDNO m_nRecord;
    const char* m_lpszName;
    USHORT m_nOffset;
    PLANFIELDTYPE m_stType;
    /** The field of PLAN_CASE that must hold `m_bTagValue`, or PLANFIELD_STATEMENT; null in all others. */
    const char* m_lpszTag;
    BYTE m_bTagValue;
    /** The row of PLAN_UNION. */
    bool m_bOtherName;
};

struct PLANRECORD {
    const char* m_lpszName;
    USHORT m_nSize;
    /** The rows of its fields: each PLAN_FIELD is followed by the further rows of the same bytes. */
    std::span<const PLANFIELD> m_arField;

    const PLANFIELD* Find(const char* lpszName) const;
};

/** A record by its number, which is below PLANRECORD_COUNT. */
const PLANRECORD& GetPlanRecord(PLANRECORDNO nRecord);
