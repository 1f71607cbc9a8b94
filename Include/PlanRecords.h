#pragma once

// Records of a plan: its head, the sections behind its main buffer, objects, targets, and the statements that change
// rows. A plan is one offset-addressed block, sent as it stands. A field named an offset counts from the plan's head, 0
// meaning none; an id names a place in a section. All records are packed and little-endian and arrive zeroed from the
// plan buffer, so what the compiler doesn't touch is 0; "the server's" marks what the server fills while it works on
// the plan. A record whose last field extends behind it is declared with one element of that tail.

#include "TypeDef.h"

/** `m_bVersion` of a plan. */
constexpr BYTE PLAN_VERSION = 2;

/** Where a statement's text lies: directly behind the head. */
constexpr BYTE PLAN_TEXT_OFFSET = 88;

/** `m_nType` of a plan. */
enum PLANSTATEMENT : BYTE {
    PLAN_SELECT = 1,
    PLAN_INSERT = 2,
    PLAN_UPDATE = 3,
    PLAN_DELETE = 4,
    PLAN_WRITE_BACK = 5, // of a recordset
    PLAN_BEGIN = 10,
    PLAN_COMMIT = 0xB,
    PLAN_ROLLBACK = 0xC,
    PLAN_BEGIN_GRAPH = 0xF,
    PLAN_COMMIT_GRAPH = 0x10,
    PLAN_USE = 0x11,
    PLAN_ALTER = 0x20, // GRANT, REVOKE, RENAME, SET, FIX, CREATE INDEX and DROP INDEX too
    PLAN_CREATE = 0x21,
    PLAN_DROP = 0x22, // TRUNCATE too
};

/** `m_bExecuteParam` of a plan: the form of FOR UPDATE. */
enum PLANLOCK : BYTE {
    FOR_UPDATE_NONE = 0,
    FOR_UPDATE_PLAIN = 1,
    FOR_UPDATE_NOWAIT = 2,
    FOR_UPDATE_SKIP_LOCKED = 3,
    FOR_UPDATE_WAIT = 4,
};

/** `m_bSectionType` of a section. */
enum SECTIONTYPE : BYTE {
    SECTION_DATA = 1,
    SECTION_RECORD = 2,
    SECTION_STEP = 3,
};

/** `m_bFlag` of a step, a record or a block, where its kind moves on to another section. */
enum SECTIONFLAG : BYTE {
    SECTION_FIRST = 1, // never of a record
    SECTION_LAST = 2,
};

/** `m_bOperationType` of a changed row. */
enum RECORDOPERATION : BYTE {
    RECORD_INSERT = 2,
    RECORD_UPDATE = 3,
    RECORD_DELETE = 4,
};

/** `m_bObjectType` of an object in a statement. */
enum PLANOBJECT : BYTE {
    OBJECT_UNKNOWN = 0,
    OBJECT_TABLE = 1,
    OBJECT_NODE = 2,
    OBJECT_RELATION = 3,
    OBJECT_SUBQUERY = 6,
};

/** An id: the section's number above, the low 16 bits of the place inside the section below, head included. */
constexpr UINT MakeAddrID(USHORT nSectionNo, UINT nPos) {
    return UINT{nSectionNo} << 16 | (nPos & 0xFFFF);
}

/** Splits an id. Bit 15 of the number marks a section of the main buffer's overflow. */
constexpr void GetBufferNoFromAddrID(UINT nAddrID, USHORT& nSectionNo, USHORT& nPos) {
    nSectionNo = static_cast<USHORT>(nAddrID >> 16);
    nPos = static_cast<USHORT>(nAddrID);
}

/** Bit 15 of a section's number in an id of the main buffer's overflow. */
constexpr USHORT BSON_SECTION_MARK = 0x8000;

/** Head of a section. */
struct KESTRO_PACKED BUFFERSECTIONHEAD {
    BYTE m_bSectionType;       // SECTIONTYPE
    BYTE m_bReserved[3];       // 0
    UINT m_nSectionDataSize;   // bytes in use, heads included; 0 while the section is the open one of its kind
    UINT m_nNextSectionOffset; // plan offset at which the next section starts, 0 in the last
};

/** Behind the head of a section of records: its neighbours of that kind. */
struct KESTRO_PACKED RECORDSECTIONHEAD {
    USHORT m_sPreSectionNo;  // 0 in the first
    USHORT m_sNextSectionNo; // 0 in the last
};

/** Behind the head of a section of steps: its neighbours of that kind. */
struct KESTRO_PACKED STEPSECTIONHEAD {
    USHORT m_sPreSectionNo;  // 0 in the first
    USHORT m_sNextSectionNo; // 0 in the last
};

/** The plan's head, at plan offset 0; the statement's text follows it. */
struct KESTRO_PACKED EXECUTEPLANBSON {
    UINT m_nTotalDataSize;        // all bytes of the plan, sections included
    int m_nDataFlag;              // 0
    BYTE m_nType;                 // statement, PLANSTATEMENT
    BYTE m_bVersion;              // PLAN_VERSION
    BYTE m_bWriteLog;             // 1: the statement is logged, which is all but a plain SELECT
    BYTE m_bDatabaseNo;           // database, set by the sender when known
    USHORT m_usTransactionNo;     // set by the server
    BYTE m_bObjectMapNum;         // rows of the statement's object table, low byte
    BYTE m_bImplementClass;       // 0
    std::int64_t m_nTimestamp;    // AS OF TIMESTAMP: the stamp to read at
    UINT m_nBsonDataSize;         // bytes of the main buffer; of the whole plan in a write-back
    UINT m_nObjectMapOffset;      // 0
    UINT m_nFreeSectionAddrID;    // id of the first free byte behind the last section's data
    UINT m_nSectionStartOffset;   // plan offset at which the first section lies
    UINT m_nClientSectionNum;     // sections sent behind the main buffer
    UINT m_nClientBsonDataSize;   // bytes of the main buffer; before compiling, a reused block's capacity
    UINT m_dwClientIP;            // set by the sender
    UINT m_dwHashID;              // hash of the statement's text
    UINT m_nExetendedParamOffset; // extended parameters
    BYTE m_nSqlOffset;            // the statement's text, always PLAN_TEXT_OFFSET
    BYTE m_bExecuteParam;         // FOR UPDATE, PLANLOCK
    BYTE m_bProtocolType;         // 0
    BYTE m_bSessionDatabaseNo;    // set by the sender
    UINT m_nUserID;               // set by the sender
    int m_nReserved2;             // 0
    union KESTRO_PACKED {
        UINT m_nInsertRecordNum; // rows of a multi-row INSERT
        UINT m_nParamKeyword;    // keyword of a parameter
    };
    UINT m_nPrivateDataOffset; // 0
    UINT m_nNextPlanAddrID;    // next plan of a chain
    UINT m_nCommandOffset;     // the statement's main record
};

/** One step of a write-back, in a step section. */
struct KESTRO_PACKED EXECUTESTEP {
    BYTE m_bStepType;       // step kind, the server's
    BYTE m_bFlag;           // SECTION_FIRST or SECTION_LAST at a change of section
    BYTE m_bReserved[2];    // 0
    UINT m_nRecordAddrID;   // the record that the step applies
    UINT m_nNextPlanAddrID; // a following plan
    union KESTRO_PACKED {
        std::int64_t m_nStartNodeDataID; // graph: start node
        std::int64_t m_nRemoveDataID;    // removed row
        UINT m_nIndexPlanOffset;         // index plan
    };
    std::int64_t m_nEndNodeDataID; // graph: end node
};

/** One changed row: of a write-back, in a record section; of an INSERT, in an array of the main buffer. */
struct KESTRO_PACKED RECORDHEAD {
    BYTE m_bOperationType;   // RECORDOPERATION
    BYTE m_bFieldNum;        // fields of the record
    BYTE m_bFlag;            // SECTION_LAST on the last record of its section
    BYTE m_bReserved2;       // 0
    std::int64_t m_nDataID;  // row id
    int m_nRecordLen;        // length of the new record
    UINT m_nFieldDataAddrID; // field data
    UINT m_nRsFieldOffset;   // its values, `m_bFieldNum` one behind the other
    UINT m_nOldRecordLen;    // length of the old image
    UINT m_nOldRecordAddrID; // old image
    union KESTRO_PACKED {
        std::int64_t m_nOldTimestamp; // stamp of the old row
        UINT m_nInsertPlanIndex;      // index into the insert plans
    };
    std::int64_t m_nRemoveDataID; // row id of a removal
};

/** A value of a row: its stored form in a write-back, its expression in an INSERT. */
struct KESTRO_PACKED RSFIELDBSON {
    BYTE m_bFieldNo;         // 0
    BYTE m_bTempNo;          // number of the field, from 1; in an INSERT the place in the row
    BYTE m_bReserved;        // 0
    BYTE m_bFlag;            // 1; in an INSERT the class of the expression, EXPCLASS
    UINT m_nFieldDataLen;    // bytes of the value; 0 in an INSERT
    UINT m_nFieldDataOffset; // the value; in an INSERT the root of the expression
};

/** One block, in a general section. */
struct KESTRO_PACKED BLOCKINFO {
    UINT m_nBlockNo;  // block number
    int m_nBlockSize; // bytes of the block
    int m_nFreeSize;  // free bytes
    union KESTRO_PACKED {
        UINT m_nMergeBlockNo; // block to merge with
        int m_nBlockFreeSize; // free bytes of the block
    };
    BYTE m_bObjectType; // kind of the object
    BYTE m_bSource;     // where the block comes from
    BYTE m_bBlockRound; // round of the block
    BYTE m_bFlag;       // SECTION_FIRST or SECTION_LAST at a change of section
    BYTE m_bRecordLock; // a record is locked
    BYTE m_bUnLock;     // to be unlocked
    BYTE m_bUse;        // in use
    BYTE m_bReserved;   // 0
    UINT m_nNextAddrID; // next block record
};

/** An object of a statement; the list follows the order of the FROM clause. */
struct KESTRO_PACKED OBJECTBSON {
    int m_nObjectID;        // 0: the server resolves the name
    BYTE m_bObjectType;     // PLANOBJECT
    BYTE m_bObjectNo;       // row in the object table, from 1
    BYTE m_bObjectNameLen;  // length of the name
    BYTE m_bObjectTitleLen; // length of the alias
    BYTE m_bView;           // 1 for a view or subquery
    BYTE m_bReserved[3];    // 0
    union KESTRO_PACKED {
        UINT m_nObjectNameOffset; // name
        UINT m_nSubQueryOffset;   // subquery
    };
    UINT m_nObjectTitleOffset;  // alias
    UINT m_nDataBaseNameOffset; // database name
    UINT m_nExtensionOffset;    // extension record
    UINT m_nNextOffset;         // next object of the statement
};

/** The records of a target. */
struct KESTRO_PACKED EXECUTERECORDINFO {
    BYTE m_bRecordType;   // record kind
    BYTE m_bReserved[3];  // 0
    UINT m_nRecordNum;    // records
    UINT m_nRecordAddrID; // first record; in an INSERT the offset of the rows
};

/** The steps of a target. */
struct KESTRO_PACKED STEPINFO {
    UINT m_nExecuteStepNum; // steps
    UINT m_nStepAddrID;     // first step
    UINT m_nCurrentStepNo;  // progress
};

/** The blocks of a target. */
struct KESTRO_PACKED EXECUTEBLOCKINFO {
    UINT m_nBlockNoNum;  // blocks
    UINT m_nBlockAddrID; // first block record
};

/** The target of an INSERT, UPDATE, DELETE or write-back. */
struct KESTRO_PACKED EXECUTEOBJECTINFO {
    USHORT m_nTransactionSlot;             // the server's
    BYTE m_bReserved[2];                   // 0
    UINT m_nObjectOffset;                  // target
    UINT m_nExecuteIndexOffset;            // the server's
    EXECUTERECORDINFO m_stExecuteRecord;   // records to apply
    STEPINFO m_stExecuteStep;              // steps
    EXECUTEBLOCKINFO m_stExecuteBlockInfo; // blocks
    std::int64_t m_nAutoIncrementID;       // the server's
    UINT m_nExtensionOffset;               // extension record
    UINT m_nNextObject;                    // next target
};

/** INSERT. */
struct KESTRO_PACKED INSERTEXECUTEPLANBSON {
    EXECUTEOBJECTINFO m_stExecuteObject; // target
    UINT m_nExecuteFieldNum;             // columns named
    UINT m_nExecuteFieldOffset;          // first column
    UINT m_nExtensionOffset;             // extension record
    BYTE m_bAllField;                    // 1: no column list, all fields
    BYTE m_bSubQuery;                    // 1: INSERT ... SELECT
    BYTE m_bOption;                      // insert option, the server's
    BYTE m_bReserved;                    // 0
    UINT m_nQueryPlanOffset;             // the SELECT
    UINT m_nCondOffset1;                 // graph: condition on the first node
    UINT m_nCondOffset2;                 // graph: condition on the second node
    std::int64_t m_nReserved;            // 0
};

/** UPDATE. */
struct KESTRO_PACKED UPDATEEXECUTEPLANBSON {
    EXECUTEOBJECTINFO m_stExecuteObject; // target
    UINT m_nExtensionOffset;             // extension record
    UINT m_nQueryPlanOffset;             // selects the rows; its `COMMONCONDITION` holds the WHERE
    UINT m_nExecuteFieldNum;             // items of SET
    UINT m_nExecuteFieldOffset;          // first item
    UINT m_nMaxFieldNum;                 // highest field count
};

/** DELETE. */
struct KESTRO_PACKED DELETEEXECUTEPLANBSON {
    EXECUTEOBJECTINFO m_stExecuteObject; // target
    UINT m_nExtensionOffset;             // extension record
    UINT m_nQueryPlanOffset;             // selects the rows; its `COMMONCONDITION` holds the WHERE
};
