#pragma once

// Records of the statements that define data: CREATE, ALTER, DROP, users and rights. `PlanRecords.h` tells what holds
// for all records of a plan.

#include "TypeDef.h"

/** `m_bObjectType` of CREATE. */
enum PLANCREATE : BYTE {
    CREATE_OBJECT = 1, // table, object, graph
    CREATE_SEQUENCE = 2,
    CREATE_USER = 3, // roles too
    CREATE_VIEW = 5,
    CREATE_FROM_QUERY = 7, // table or object
    CREATE_DATABASE = 9,
};

/** `m_bObjectType` of what CREATE_OBJECT and CREATE_FROM_QUERY make. */
enum OBJECTDEFKIND : BYTE {
    OBJECTDEF_OBJECT = 1,
    OBJECTDEF_NODE = 2,
    OBJECTDEF_RELATION = 3,
    OBJECTDEF_TABLE = 5,
};

/** `m_bAllowNull` of a column is a packed byte: bit 0, two bits that stay, and the scale of a decimal. */
constexpr BYTE FIELD_ALLOW_NULL = 1;
constexpr int FIELD_SCALE_SHIFT = 3;
/** In place of a scale: the decimal has none. */
constexpr BYTE FIELD_NO_SCALE = 0xF8;

/** `m_bConstraintType` of an index. */
enum PLANCONSTRAINT : BYTE {
    CONSTRAINT_NONE = 0,
    CONSTRAINT_PRIMARY = 1,
    CONSTRAINT_UNIQUE = 2,
};

/** `m_bIndexType`: the structure, and what it is built over. */
enum PLANINDEX : BYTE {
    INDEX_KV_INT = 1, // times, dates and the smaller integers too
    INDEX_KV_BIGINT = 2,
    INDEX_KV_CHAR = 4,
    INDEX_HASH_TREE_INT = 5, // all integers, times and dates
    INDEX_HASH_TREE_CHAR = 6,
    INDEX_TREE_INT = 11, // times, dates and the smaller integers too
    INDEX_TREE_BIGINT = 12,
    INDEX_TREE_DOUBLE = 13,   // date-times too
    INDEX_TREE_COMPOUND = 15, // several columns of fixed length, or a decimal
    INDEX_TEXT2 = 18,
    INDEX_TEXT = 25,
    INDEX_TREE_TEXT = 28, // several columns, one of them a text or a decimal, too
};

/** `m_bFileType`. */
enum PLANFILE : BYTE {
    FILE_SYSTEM = 1,
    FILE_DATA = 2,
    FILE_TREE = 3,
    FILE_KV = 4,
    FILE_HASH_TREE = 5, // of an index only
    FILE_TABLE = 10,
    FILE_INDEX = 11,
};

/** `m_bObjectType` of ALTER. */
enum ALTEROBJECT : BYTE {
    ALTER_OBJECT = 1, // table, object, graph, index, sequence
    ALTER_SYSTEM = 2, // the instance, the session, a transaction
    ALTER_USER = 3,
    ALTER_DATABASE = 0x21,
};

/** `m_nType` of ALTER. */
enum ALTERACTION : BYTE {
    ALTER_SYSTEM_WORD = 2, // with ALTER_SYSTEM: a word that the server knows
    ALTER_ADD_INDEX = 2,
    ALTER_USER_CHANGE = 3, // with ALTER_USER
    ALTER_DROP_INDEX = 3,
    ALTER_ADD_FILE = 4,
    ALTER_DROP_FILE = 5,
    ALTER_MODIFY_FILE = 6,
    ALTER_SET = 7,
    ALTER_GRANT = 8,
    ALTER_REVOKE = 9,
    ALTER_PASSWORD = 10,
    ALTER_DISABLE = 11,
    ALTER_ENABLE = 12,
    ALTER_RENAME = 13,
    ALTER_KILL_SESSION = 18,
    ALTER_ACTIVATE_STANDBY = 20,
    ALTER_SESSION_SET = 21,
    ALTER_FIX = 40,
    ALTER_STORAGE = 250,
};

/** `m_bObjectType` of DROP. */
enum PLANDROP : BYTE {
    DROP_OBJECT = 1, // tables too
    DROP_SEQUENCE = 2,
    DROP_USER = 3, // roles too
    DROP_TRUNCATE = 4,
    DROP_VIEW = 5,
    DROP_TRIGGER = 6,
    DROP_DATABASE = 9,
    DROP_EVENT = 12,
};

/** `m_bObjectType` of GRANT and REVOKE: what the right is on. */
enum GRANTOBJECT : BYTE {
    GRANT_ON_ALL = 1,
    GRANT_ON_TABLE = 2, // a view too
    GRANT_ON_PROCEDURE = 3,
    GRANT_ON_FUNCTION = 4,
    GRANT_ROLE = 6, // on nothing: the rights are roles
    GRANT_ON_NAME = 255,
};

/** CREATE. */
struct KESTRO_PACKED CREATEEXECUTEPLANBSON {
    BYTE m_bObjectType;         // PLANCREATE
    UINT m_nPlanOffset;         // what is created
    int m_nTableFilePathOffset; // DATAFILE or TABLEFILE
    int m_nIndexFilePathOffset; // TREEFILE or INDEXFILE
    int m_nKVFilePathOffset;    // KVFILE
};

/** A table, an object, or one half of a graph. */
struct KESTRO_PACKED OBJECTDEFBSON {
    std::int64_t m_nDataID; // row id, the server's
    int m_nObjectID;        // 0
    BYTE m_bObjectType;     // OBJECTDEFKIND
    BYTE m_bIniTrans;       // INITRANS
    BYTE m_bDatabaseNo;     // database
    BYTE m_bStorageMedia;   // 1 for the nodes of a GRAPHTABLE
    char m_bObjectName[32]; // name
    int m_nBlockSize;       // bytes of a block, the server's
    BYTE m_bFileNo;         // file, the server's
    BYTE m_nFieldNum;       // columns
    BYTE m_bImplementClass; // 2; 4 in a graph
    UINT m_nFieldOffset;    // first column
    UINT m_nIndexOffset;    // first index, the last one written
    UINT m_nNextOffset;     // the other half of a graph
    UINT m_nInsertOffset;   // query whose rows go into the new table
};

/** A column. */
struct KESTRO_PACKED OBJECTFIELDDEFBSON {
    BYTE m_bFieldNo;       // number, from 1
    BYTE m_bFieldType;     // field type
    BYTE m_bCharLen;       // length of a CHAR, precision of a decimal
    BYTE m_bAllowNull;     // FIELD_ALLOW_NULL and, from FIELD_SCALE_SHIFT on, the scale
    char m_bFieldName[32]; // name
    int m_nNextOffset;     // next column
};

/** An index of a new table. */
struct KESTRO_PACKED INDEXDEFBSON {
    std::int64_t m_nDataID;    // row id, the server's
    int m_nIndexID;            // 0
    char m_pIndexName[64];     // name
    UINT m_nSeparatorByOffset; // separator of a text index
    BYTE m_bIndexType;         // PLANINDEX
    BYTE m_bFileNo;            // file, the server's
    BYTE m_bFieldNo[8];        // column numbers; FIELDNO_JSON for a JSON path
    USHORT m_strLen[8];        // lengths of the columns
    UINT m_nJsonIndexOffset;   // JSON path
    BYTE m_bConstraintType;    // PLANCONSTRAINT
    int m_nNextOffset;         // next index
};

/** An index of a table that exists already. */
struct KESTRO_PACKED TABLEINDEXDEFBSON {
    BYTE m_bState;             // the server's
    BYTE m_bReserved[3];       // 0
    int m_nIndexID;            // 0
    int m_nObjectID;           // 0
    BYTE m_bObjectType;        // kind of the table
    BYTE m_bConstraintType;    // PLANCONSTRAINT
    BYTE m_bExists;            // 1: IF EXISTS or IF NOT EXISTS
    BYTE m_bSuffix;            // suffix flag
    UINT m_nSeparatorByOffset; // separator of a text index
    BYTE m_arReserved2[60];    // 0
    char m_pDatabaseName[64];  // database
    char m_pObjectName[64];    // table
    char m_pIndexName[64];     // index
    char m_pNewIndexName[64];  // new name
    char m_pFieldName[8][32];  // columns
    char m_pFilePath[256];     // file
    BYTE m_bFileType;          // PLANFILE
    BYTE m_bIndexType;         // PLANINDEX
    BYTE m_bFileNo;            // file, the server's
    BYTE m_bUseType;           // what the file is used for
    BYTE m_bFieldNo[8];        // column numbers
    USHORT m_strLen[8];        // lengths of the columns
    int m_nBlockSize;          // bytes of a block
    UINT m_nJsonIndexOffset;   // JSON path
    UINT m_nNextOffset;        // next index
};

/** A sequence. */
struct KESTRO_PACKED SEQUENCEDEFBSON {
    int m_nInnerNo;             // the server's
    char m_lpszName[32];        // name
    std::int64_t m_nMinVal;     // MINVALUE
    std::int64_t m_nCurrentVal; // START WITH
    std::int64_t m_nMaxVal;     // MAXVALUE, 0 without one
    int m_nIncrementBy;         // INCREMENT BY
    BYTE m_bCycleFlag;          // 1: CYCLE
    BYTE m_bCacheFlag;          // CACHE, low byte
    BYTE m_bDropFlag;           // the server's
    BYTE m_bReserved;           // 0
};

/** A database: of CREATE DATABASE, and of USE. */
struct KESTRO_PACKED DATABASEBSON {
    char m_pDatabaseName[64]; // name
    BYTE m_bCharacterset;     // character set
    BYTE m_bCollation;        // collation
    BYTE m_bNotExists;        // 1: IF NOT EXISTS
    BYTE m_bReserved;         // 0
};

/** A user or a role. */
struct KESTRO_PACKED USERINFOBSON {
    char m_pUserName[36];      // name
    BYTE m_pPassword[24];      // first bytes of the password
    UINT m_nNextUserOffset;    // next user of the statement
    USHORT m_usExpireDay;      // days until the password expires
    BYTE m_bPasswordType;      // 2: a password is given
    BYTE m_bAuthorityOption;   // authority option
    UINT m_nAuthorityData;     // rights
    BYTE m_bPasswordLen;       // length of `m_pPassword2`
    BYTE m_bExpireOption;      // expiry option; 10 for a role
    BYTE m_bExists;            // 1: IF NOT EXISTS
    BYTE m_bConnectSSL;        // 1: connects by SSL only
    char m_pHost[64];          // host, "%" for any
    UINT m_nPasswordOffset;    // password, as typed
    BYTE m_pPassword2[20];     // password, hashed
    BYTE m_bPasswordPlugin;    // 0
    BYTE m_bType;              // 1 for a role
    int m_nMaxConnects;        // connections at a time
    int m_nMaxConnectsPerHour; // connections an hour
    int m_nMaxUpdatesPerHour;  // changes an hour
    int m_nMaxQueriesPerHour;  // queries an hour
    USHORT m_usBlockNo;        // the server's
    USHORT m_usInnerNo;        // the server's
    BYTE m_bReserved[24];      // 0
};

/** A view. */
struct KESTRO_PACKED VIEWBSON {
    std::int64_t m_nDataID;        // row id, the server's
    int m_nViewID;                 // 0
    char m_pViewName[64];          // name
    int m_nViewTextLen;            // length of the text
    UINT m_nViewTextOffset;        // the SELECT as written
    BYTE m_bReplace;               // 1: OR REPLACE
    BYTE m_bDatabaseNo;            // database
    std::int16_t m_nOffset;        // the server's
    int m_nReserved[2];            // 0
    UINT m_nNextViewOffset;        // next view
    UINT m_nViewOptionOffset;      // options of the view
    UINT m_nViewExecutePlanOffset; // the SELECT's whole plan, an `EXECUTEPLANBSON` with offsets of its own
};

/** A user of GRANT or REVOKE. */
struct KESTRO_PACKED GRANTUSERBSON {
    char m_pUserName[36];   // name
    char m_pHost[64];       // host, "%" for any
    BYTE m_pPassword[24];   // first bytes of the password
    UINT m_nPasswordOffset; // password, as typed
    BYTE m_pPassword2[20];  // password, hashed
    BYTE m_bPasswordLen;    // length of `m_pPassword2`
    BYTE m_bPasswordPlugin; // 0
    UINT m_nNextOffset;     // next user; the last one written comes first
};

/** A right, or a role that is given. Its name extends behind the record. */
struct KESTRO_PACKED GRANTAUTHORITYBSON {
    UINT m_nNextOffset; // next right; the last one written comes first
    union KESTRO_PACKED {
        UINT m_nFieldOffset; // columns that the right is confined to
        int m_nRoleID;       // role, the server's
    };
    char m_pAuthorityName[1]; // name, to its terminator
};

/** A column of a right. Its name extends behind the record. */
struct KESTRO_PACKED GRANTFIELDBSON {
    UINT m_nNextOffset;    // next column; the last one written comes first
    UINT m_nAuthorityData; // rights
    int m_nTableID;        // 0
    BYTE m_bFieldNo;       // field number, the server's
    BYTE m_bDatabaseNo;    // database, the server's
    char m_pFieldName[1];  // name, to its terminator
};

/** GRANT and REVOKE. */
struct KESTRO_PACKED GRANTBSON {
    UINT m_nUserOffset;       // first user
    UINT m_nAuthorityOffset;  // first right
    UINT m_nAuthorityData;    // rights, the server's
    BYTE m_bGrantOption;      // 1: WITH GRANT OPTION
    BYTE m_bAllPrivileges;    // 1: ALL
    BYTE m_bObjectType;       // GRANTOBJECT
    BYTE m_bDatabaseNo;       // database, the server's
    int m_nObjectID;          // 0
    char m_bDatabaseName[32]; // database
    char m_bObjectName[64];   // object
};

/** DROP of an object, and TRUNCATE. */
struct KESTRO_PACKED DROPEXECUTEPLANBSON {
    BYTE m_bObjectType;       // PLANDROP
    BYTE m_bExist;            // 1: IF EXISTS
    UINT m_nNextOffset;       // next object
    char m_pDataName[64];     // name
    char m_pDatabaseName[64]; // database; a user's host
};

/** ALTER, and all that is compiled like it. */
struct KESTRO_PACKED ALTEREXECUTEPLANBSON {
    BYTE m_bObjectType; // ALTEROBJECT
    BYTE m_nType;       // ALTERACTION
    UINT m_nPlanOffset; // sub-record of the action
    union KESTRO_PACKED {
        char m_pFilePath[256]; // path of the storage test
        struct KESTRO_PACKED {
            char m_lpszSchemaName[64]; // FIX: database
            char m_lpszTableName[64];  // FIX: table
        };
    };
};

/** The new name of an object, or new columns of one. */
struct KESTRO_PACKED ALTEROBJECTFIELDBSON {
    int m_nObjectID;           // 0
    BYTE m_bObjectType;        // kind of the object
    BYTE m_bReserved[3];       // 0
    int m_nFieldNum;           // columns
    char m_pObjectName[64];    // name
    char m_pNewObjectName[64]; // new name
    int m_nFieldOffset;        // first column
    int m_nNextOffset;         // next of its kind
};

/** The new name of a column. */
struct KESTRO_PACKED ALTEROBJECTFIELDNAMEBSON {
    int m_nObjectID;          // 0
    BYTE m_bObjectType;       // kind of the object
    BYTE m_bFieldNo;          // field number, the server's
    BYTE m_bReserved[2];      // 0
    char m_pObjectName[64];   // object
    char m_pFieldName[32];    // column
    char m_pNewFieldName[32]; // new name
};

/** A change of a column, a foreign key or an option of a table. */
struct KESTRO_PACKED ALTERMODIFY {
    char m_pTableName[64]; // table
    union KESTRO_PACKED {
        char m_pFieldName[64];       // column
        char m_pForeignKeyName[64];  // foreign key
        char m_pTableOptionName[64]; // option
    };
    int m_nObjectID;        // 0
    UINT m_nNewFieldOffset; // new column
    UINT m_nDataOffset;     // data of the change
};

/** A parameter and its value, which extends behind the record. */
struct KESTRO_PACKED ALTERSETEXPFIELDBSON {
    BYTE m_bDataType;      // field type of the value
    int m_bParameterType;  // 0
    BYTE m_bScope;         // scope of the parameter
    BYTE m_bReserved;      // 0
    char m_pParameter[32]; // name
    UINT m_nNextOffset;    // next parameter
    int m_nDataLen;        // 0
    char m_bDataBuffer[1]; // the value, 4 bytes
};

/** A data file. */
struct KESTRO_PACKED FILEINFOBSON {
    int m_nInnerNo;                // the server's
    int m_bTablespaceFlag;         // 1: MODIFY names a tablespace
    BYTE m_bFileNo;                // the server's
    BYTE m_bFileType;              // PLANFILE
    BYTE m_bFileCMD;               // the server's
    BYTE m_bDropFlag;              // the server's
    char m_pOriginFilePath[256];   // path of the file that is there
    char m_pAlterFilePath[256];    // path of the new file
    char m_lpszTablespaceName[64]; // tablespace
    std::int64_t m_nFileSize;      // bytes
    int m_nMaxObjectNum;           // the server's
};

/** The storage test. */
struct KESTRO_PACKED STORAGETESTBSON {
    int m_nType;       // method
    int m_nBufferSize; // bytes of a buffer, 0 by default
};
