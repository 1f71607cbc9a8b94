#pragma once

#include <cstddef>
#include <cstdint>

#include "TypeDef.h"

// The records of System.dbf, the catalogue of an instance, as the setup tool leaves it to the server. Integers are
// little-endian. From its start the file holds the head with the system object table, the object map, the blocks in
// the order of their creation, and zeros to its end.
//
// Fields called m_nConstant, m_bConstant or m_arConstant, followed by their offset, belong to the server: the tool
// always writes the value that stands beside them and knows no meaning. Bytes called m_arUnused are zero. A record made
// by value initialisation, `new (p) SYSTEMFILEHEAD()`, has its constants set and all else zero.

/** "SBSF", "SBMB" and "SBDB": head of the file, of an object map, of a block. */
constexpr int SYSTEMFILE_MAGIC = 0x46534253;
constexpr int OBJECTMAP_MAGIC = 0x424D4253;
constexpr int SYSTEMBLOCK_MAGIC = 0x42444253;

/** File offset and size of the object map; the first block follows it. */
constexpr int SYSTEMFILE_MAP_OFFSET = 0x4000;
constexpr int SYSTEMFILE_MAP_SIZE = 0x80000;
/** Size of every block. */
constexpr int SYSTEMFILE_BLOCK_SIZE = 0x40000;
/** Rows of the system object table. */
constexpr int SYSTEMFILE_OBJECT_ROWS = 256;

/** Row of the system object table. */
struct KESTRO_PACKED SYSTEMOBJECTROW {
    /** Id of the object, which is also the row's index; 0 a free row. */
    int m_nObjectID;
    BYTE m_arUnused4[8];
    /** File offset of the object's newest map row; 0 none. */
    long long m_nFirstMapRow;
    long long m_nConstant20;
    BYTE m_arUnused28[28];
};

struct KESTRO_PACKED SYSTEMFILEHEAD {
    int m_nMagic = SYSTEMFILE_MAGIC;
    /** Creation stamp: ticks of 100 nanoseconds since 1 January 1601, times 32. Each object created sets it. */
    std::uint64_t m_nVersionStamp;
    /** Version of the format; copied into each block head. */
    BYTE m_bFileVersion = 1;
    BYTE m_bConstant0x00D = 0;
    BYTE m_arUnused0x00E[2];
    /** Id of the instance; a slave or standby carries its master's. */
    std::uint16_t m_usDatabaseGuid;
    /** Rows of the object map in use. */
    int m_nObjectMapCount;
    int m_nConstant0x016 = 100;
    /** Blocks allocated. */
    int m_nBlockCount;
    /** Size of the file in bytes, as requested. */
    long long m_nFileSize;
    /** File offset of the object map. */
    int m_nObjectMapOffset = SYSTEMFILE_MAP_OFFSET;
    /** Size of a map row; 0, like all geometry without a value here, until the first block is allocated. */
    int m_nObjectMapRowSize;
    /** Size of a block. */
    int m_nBlockSize;
    /** File offset of the map that takes the next row. */
    int m_nCurrentMapOffset;
    /** Offset of `m_arSystemObject`. */
    int m_nObjectTableOffset = 0x4C6;
    /** File offset of the first block. */
    long long m_nDataStart;
    /** Number that the next block gets; blocks count from 1. */
    int m_nNextBlockNo = 1;
    BYTE m_arUnused0x046[8];
    /** File offset that the next block gets. */
    long long m_nNextFreeOffset;
    BYTE m_arUnused0x056[20];
    int m_arConstant0x06A[2] = {0x5000000, 100};
    BYTE m_arConstant0x072[4] = {2, 0, 0, 0};
    int m_nConstant0x076 = 1;
    long long m_arConstant0x07A[2] = {0, 0};
    /** Free blocks; a value other than 0 stops the creation of objects. */
    long long m_nFreeBlockList;
    BYTE m_arUnused0x092[20];
    /** Name of the instance, with a terminator. */
    char m_pDatabaseName[32];
    /** Instance directory, with its slash and a terminator. */
    char m_pDatabasePath[MAX_PATH];
    BYTE m_arUnused0x1CA[512];
    /** Key "processes". */
    int m_nProcesses;
    BYTE m_arUnused0x3CE[4];
    /** Key "listenip", host order; 0 all addresses, 0xFFFFFFFF an unreadable text. */
    std::uint32_t m_nListenIP;
    /** Key "listenport". */
    int m_nListenPort;
    int m_arConstant0x3DA[6] = {60, 10, 0, 0, 1, 1000000};
    /** Key "charcomparenocase". */
    int m_nCharCompareNoCase;
    BYTE m_arUnused0x3F6[4];
    /** Key "undoareasize", MB. */
    int m_nUndoAreaSize;
    /** Key "processprivatearea", which is in MB, in bytes. */
    int m_nProcessPrivateArea;
    BYTE m_arUnused0x402[4];
    int m_arConstant0x406[2] = {0x1800000, 0x1F400000};
    /** Key "persistenceintervals". */
    int m_nPersistenceIntervals;
    int m_nConstant0x412 = 3;
    /** Number of active log groups, 3 to 64. */
    int m_nLogGroups;
    int m_arConstant0x41A[18] = {0x10000000, 0x1400000, 0x40000, 0x2000, 0x40000, 0x40000, 8,  4, 80,
                                 90,         40,        80,      10,     1000,    100,     60, 0, 0};
    /** Key "pgamaxsize". */
    int m_nPgaMaxSize;
    int m_arConstant0x466[4] = {0, 0, 0, 2};
    /** Buffer cache, MB. */
    int m_nBufferCacheSize;
    int m_nConstant0x47A = 8;
    /** Key "clustervip", host order; 0 none, 0xFFFFFFFF an unreadable text. */
    std::uint32_t m_nClusterVIP;
    int m_arConstant0x482[6] = {3306, 1, 10, 1, 28800, 0};
    /** Key "max_allowed_packet", bytes. */
    int m_nMaxAllowedPacket;
    BYTE m_arUnused0x49E[12];
    int m_nConstant0x4AA = 30;
    BYTE m_arUnused0x4AE[8];
    long long m_arConstant0x4B6[2] = {0, 0};
    /** The system object table, by object id; row 0 stays empty. */
    SYSTEMOBJECTROW m_arSystemObject[SYSTEMFILE_OBJECT_ROWS];
    BYTE m_arUnused0x3CC6[24];
    int m_arConstant0x3CDE[16] = {1, 1, 256, 0, 33, 63, 33, 33, 0, 0, 2, 28800, 30, 60, 10, 1};
    BYTE m_arUnused0x3D1E[4];
    int m_nConstant0x3D22 = 1;
    BYTE m_arUnused0x3D26[730];
};

/** Head of the object map; its rows follow. */
struct KESTRO_PACKED OBJECTMAP {
    int m_nMagic = OBJECTMAP_MAGIC;
    /** Rows in use. */
    int m_nRowCount;
    BYTE m_arUnused8[24];
};

/** Row of the object map: one block of an object. */
struct KESTRO_PACKED OBJECTMAPROW {
    int m_nBlockNo;
    /** File offset of the block. */
    long long m_nBlockOffset;
    /** File offset of the row of the object's previous block; 0 ends the chain. */
    long long m_nNextRow;
};

/** Head of a block; the object's records follow at equal distance. */
struct KESTRO_PACKED SYSTEMBLOCKHEAD {
    int m_nMagic = SYSTEMBLOCK_MAGIC;
    /** The map row's number. */
    int m_nBlockNo;
    /** Creation stamp, as in the head of the file. */
    std::uint64_t m_nVersionStamp;
    BYTE m_arUnused16[8];
    int m_nBlockSize = SYSTEMFILE_BLOCK_SIZE;
    /** Size of this head. */
    int m_nHeadSize = 60;
    BYTE m_bConstant32 = 0;
    BYTE m_bFileVersion;
    BYTE m_bConstant34 = 0;
    BYTE m_bUnused35;
    /** The object that owns the block. */
    int m_nObjectID;
    /** Id that the next record gets; counts the records added. */
    int m_nNextRecordID;
    /** Offset in the block of its next free byte. */
    int m_nUsedOffset = 60;
    int m_nBlockEnd = SYSTEMFILE_BLOCK_SIZE;
    /** Record size of the object. */
    int m_nBlockDataStructSize;
    /** Records in the block. */
    int m_nRecordCount;
};

/** Record of objects 1 and 10. */
struct KESTRO_PACKED OBJECT1RECORD {
    BYTE m_arUnused0[4];
    BYTE m_arConstant4[2] = {1, 1};
    BYTE m_arUnused6[342];
};

/** Record of object 8. */
struct KESTRO_PACKED USERRECORD {
    int m_nUserID;
    /** Seconds since 20 March 2017 00:00:00 UTC. */
    int m_nCreateTime;
    BYTE m_arConstant8[8] = {0, 0, 0, 0, 1, 0, 0, 0};
    char m_pUserName[36];
    /** All zero: no password. */
    BYTE m_pPassword[24];
    /** The privileges of the user. */
    int m_nAuthorityMask;
    int m_nConstant80 = 0;
    /** Host from which the user may log in; "%" any. */
    char m_pHost[64];
    BYTE m_arConstant148[24] = {};
    BYTE m_arUnused172[20];
};

/** Record of object 9. */
struct KESTRO_PACKED PRIVILEGERECORD {
    BYTE m_bPrivilegeID;
    BYTE m_arUnused1[3];
    char m_pName[32];
    /** Without a terminator if it fills the field. */
    char m_pDescription[128];
};

/** Record of object 11. */
struct KESTRO_PACKED DATABASERECORD {
    char m_pDatabaseName[64];
    BYTE m_bDatabaseID;
    BYTE m_bUnused65;
    BYTE m_bCharacterset = 33;
    BYTE m_bCollation = 33;
    BYTE m_arUnused68[16];
};

// Where each field lies: record, field, offset, width.
#define RECORD_FIELD(record, field, offset, width) \
    static_assert(offsetof(record, field) == (offset) && sizeof(record::field) == (width))

RECORD_FIELD(SYSTEMFILEHEAD, m_nMagic, 0x000, 4);
RECORD_FIELD(SYSTEMFILEHEAD, m_nVersionStamp, 0x004, 8);
RECORD_FIELD(SYSTEMFILEHEAD, m_bFileVersion, 0x00C, 1);
RECORD_FIELD(SYSTEMFILEHEAD, m_bConstant0x00D, 0x00D, 1);
RECORD_FIELD(SYSTEMFILEHEAD, m_usDatabaseGuid, 0x010, 2);
RECORD_FIELD(SYSTEMFILEHEAD, m_nObjectMapCount, 0x012, 4);
RECORD_FIELD(SYSTEMFILEHEAD, m_nConstant0x016, 0x016, 4);
RECORD_FIELD(SYSTEMFILEHEAD, m_nBlockCount, 0x01A, 4);
RECORD_FIELD(SYSTEMFILEHEAD, m_nFileSize, 0x01E, 8);
RECORD_FIELD(SYSTEMFILEHEAD, m_nObjectMapOffset, 0x026, 4);
RECORD_FIELD(SYSTEMFILEHEAD, m_nObjectMapRowSize, 0x02A, 4);
RECORD_FIELD(SYSTEMFILEHEAD, m_nBlockSize, 0x02E, 4);
RECORD_FIELD(SYSTEMFILEHEAD, m_nCurrentMapOffset, 0x032, 4);
RECORD_FIELD(SYSTEMFILEHEAD, m_nObjectTableOffset, 0x036, 4);
RECORD_FIELD(SYSTEMFILEHEAD, m_nDataStart, 0x03A, 8);
RECORD_FIELD(SYSTEMFILEHEAD, m_nNextBlockNo, 0x042, 4);
RECORD_FIELD(SYSTEMFILEHEAD, m_nNextFreeOffset, 0x04E, 8);
RECORD_FIELD(SYSTEMFILEHEAD, m_arConstant0x06A, 0x06A, 4 * 2);
RECORD_FIELD(SYSTEMFILEHEAD, m_arConstant0x072, 0x072, 1 * 4);
RECORD_FIELD(SYSTEMFILEHEAD, m_nConstant0x076, 0x076, 4);
RECORD_FIELD(SYSTEMFILEHEAD, m_arConstant0x07A, 0x07A, 8 * 2);
RECORD_FIELD(SYSTEMFILEHEAD, m_nFreeBlockList, 0x08A, 8);
RECORD_FIELD(SYSTEMFILEHEAD, m_pDatabaseName, 0x0A6, 32);
RECORD_FIELD(SYSTEMFILEHEAD, m_pDatabasePath, 0x0C6, 260);
RECORD_FIELD(SYSTEMFILEHEAD, m_nProcesses, 0x3CA, 4);
RECORD_FIELD(SYSTEMFILEHEAD, m_nListenIP, 0x3D2, 4);
RECORD_FIELD(SYSTEMFILEHEAD, m_nListenPort, 0x3D6, 4);
RECORD_FIELD(SYSTEMFILEHEAD, m_arConstant0x3DA, 0x3DA, 4 * 6);
RECORD_FIELD(SYSTEMFILEHEAD, m_nCharCompareNoCase, 0x3F2, 4);
RECORD_FIELD(SYSTEMFILEHEAD, m_nUndoAreaSize, 0x3FA, 4);
RECORD_FIELD(SYSTEMFILEHEAD, m_nProcessPrivateArea, 0x3FE, 4);
RECORD_FIELD(SYSTEMFILEHEAD, m_arConstant0x406, 0x406, 4 * 2);
RECORD_FIELD(SYSTEMFILEHEAD, m_nPersistenceIntervals, 0x40E, 4);
RECORD_FIELD(SYSTEMFILEHEAD, m_nConstant0x412, 0x412, 4);
RECORD_FIELD(SYSTEMFILEHEAD, m_nLogGroups, 0x416, 4);
RECORD_FIELD(SYSTEMFILEHEAD, m_arConstant0x41A, 0x41A, 4 * 18);
RECORD_FIELD(SYSTEMFILEHEAD, m_nPgaMaxSize, 0x462, 4);
RECORD_FIELD(SYSTEMFILEHEAD, m_arConstant0x466, 0x466, 4 * 4);
RECORD_FIELD(SYSTEMFILEHEAD, m_nBufferCacheSize, 0x476, 4);
RECORD_FIELD(SYSTEMFILEHEAD, m_nConstant0x47A, 0x47A, 4);
RECORD_FIELD(SYSTEMFILEHEAD, m_nClusterVIP, 0x47E, 4);
RECORD_FIELD(SYSTEMFILEHEAD, m_arConstant0x482, 0x482, 4 * 6);
RECORD_FIELD(SYSTEMFILEHEAD, m_nMaxAllowedPacket, 0x49A, 4);
RECORD_FIELD(SYSTEMFILEHEAD, m_nConstant0x4AA, 0x4AA, 4);
RECORD_FIELD(SYSTEMFILEHEAD, m_arConstant0x4B6, 0x4B6, 8 * 2);
RECORD_FIELD(SYSTEMFILEHEAD, m_arSystemObject, 0x4C6, 56 * 256);
RECORD_FIELD(SYSTEMFILEHEAD, m_arConstant0x3CDE, 0x3CDE, 4 * 16);
RECORD_FIELD(SYSTEMFILEHEAD, m_nConstant0x3D22, 0x3D22, 4);
static_assert(sizeof(SYSTEMFILEHEAD) == SYSTEMFILE_MAP_OFFSET);

RECORD_FIELD(SYSTEMOBJECTROW, m_nObjectID, 0, 4);
RECORD_FIELD(SYSTEMOBJECTROW, m_nFirstMapRow, 12, 8);
RECORD_FIELD(SYSTEMOBJECTROW, m_nConstant20, 20, 8);
static_assert(sizeof(SYSTEMOBJECTROW) == 56);

RECORD_FIELD(OBJECTMAP, m_nMagic, 0, 4);
RECORD_FIELD(OBJECTMAP, m_nRowCount, 4, 4);
static_assert(sizeof(OBJECTMAP) == 32);

RECORD_FIELD(OBJECTMAPROW, m_nBlockNo, 0, 4);
RECORD_FIELD(OBJECTMAPROW, m_nBlockOffset, 4, 8);
RECORD_FIELD(OBJECTMAPROW, m_nNextRow, 12, 8);
static_assert(sizeof(OBJECTMAPROW) == 20);

RECORD_FIELD(SYSTEMBLOCKHEAD, m_nMagic, 0, 4);
RECORD_FIELD(SYSTEMBLOCKHEAD, m_nBlockNo, 4, 4);
RECORD_FIELD(SYSTEMBLOCKHEAD, m_nVersionStamp, 8, 8);
RECORD_FIELD(SYSTEMBLOCKHEAD, m_nBlockSize, 24, 4);
RECORD_FIELD(SYSTEMBLOCKHEAD, m_nHeadSize, 28, 4);
RECORD_FIELD(SYSTEMBLOCKHEAD, m_bConstant32, 32, 1);
RECORD_FIELD(SYSTEMBLOCKHEAD, m_bFileVersion, 33, 1);
RECORD_FIELD(SYSTEMBLOCKHEAD, m_bConstant34, 34, 1);
RECORD_FIELD(SYSTEMBLOCKHEAD, m_nObjectID, 36, 4);
RECORD_FIELD(SYSTEMBLOCKHEAD, m_nNextRecordID, 40, 4);
RECORD_FIELD(SYSTEMBLOCKHEAD, m_nUsedOffset, 44, 4);
RECORD_FIELD(SYSTEMBLOCKHEAD, m_nBlockEnd, 48, 4);
RECORD_FIELD(SYSTEMBLOCKHEAD, m_nBlockDataStructSize, 52, 4);
RECORD_FIELD(SYSTEMBLOCKHEAD, m_nRecordCount, 56, 4);
static_assert(sizeof(SYSTEMBLOCKHEAD) == 60);

RECORD_FIELD(OBJECT1RECORD, m_arConstant4, 4, 1 * 2);
static_assert(sizeof(OBJECT1RECORD) == 348);

RECORD_FIELD(USERRECORD, m_nUserID, 0, 4);
RECORD_FIELD(USERRECORD, m_nCreateTime, 4, 4);
RECORD_FIELD(USERRECORD, m_arConstant8, 8, 1 * 8);
RECORD_FIELD(USERRECORD, m_pUserName, 16, 36);
RECORD_FIELD(USERRECORD, m_pPassword, 52, 24);
RECORD_FIELD(USERRECORD, m_nAuthorityMask, 76, 4);
RECORD_FIELD(USERRECORD, m_nConstant80, 80, 4);
RECORD_FIELD(USERRECORD, m_pHost, 84, 64);
RECORD_FIELD(USERRECORD, m_arConstant148, 148, 1 * 24);
static_assert(sizeof(USERRECORD) == 192);

RECORD_FIELD(PRIVILEGERECORD, m_bPrivilegeID, 0, 1);
RECORD_FIELD(PRIVILEGERECORD, m_pName, 4, 32);
RECORD_FIELD(PRIVILEGERECORD, m_pDescription, 36, 128);
static_assert(sizeof(PRIVILEGERECORD) == 164);

RECORD_FIELD(DATABASERECORD, m_pDatabaseName, 0, 64);
RECORD_FIELD(DATABASERECORD, m_bDatabaseID, 64, 1);
RECORD_FIELD(DATABASERECORD, m_bCharacterset, 66, 1);
RECORD_FIELD(DATABASERECORD, m_bCollation, 67, 1);
static_assert(sizeof(DATABASERECORD) == 84);

#undef RECORD_FIELD
