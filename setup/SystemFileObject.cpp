// The system objects of System.dbf, built in the buffer that holds the file's first 4 MB: table row, map row, block and
// initial records.

#include <algorithm>
#include <cerrno>
#include <new>
#include <string_view>

#include "KestroErrorCode.h"
#include "Platform.h"
#include "SystemFile.h"
#include "SystemFileMessages.h"

namespace {

struct OBJECTSIZE {
    int m_nObjectID;
    int m_nRecordSize;
};

// Record sizes by object; a reader of the file must know them.
constexpr OBJECTSIZE SYSTEMFILE_RECORD_SIZES[] = {
    {1, sizeof(OBJECT1RECORD)},
    {2, 24},
    {3, 72},
    {4, 68},
    {5, 188},
    {7, 192},
    {SYSTEMOBJECT_USER, sizeof(USERRECORD)},
    {SYSTEMOBJECT_PRIVILEGE, sizeof(PRIVILEGERECORD)},
    {10, sizeof(OBJECT1RECORD)},
    {SYSTEMOBJECT_DATABASE, sizeof(DATABASERECORD)},
    {12, 424},
    {13, 88},
};

constexpr int RecordSize(int nObjectID) {
    for (const OBJECTSIZE& stRow : SYSTEMFILE_RECORD_SIZES)
        if (stRow.m_nObjectID == nObjectID) return stRow.m_nRecordSize;
    return 24;
}

struct PRIVILEGE {
    BYTE m_bPrivilegeID;
    const char* m_lpszName;
    const char* m_lpszDescription;
};

constexpr PRIVILEGE SYSTEMFILE_PRIVILEGES[] = {
    {0, "Usage", "No privileges - allow connect only"},
    {1, "Super", "To use KILL thread, SET GLOBAL, CHANGE MASTER, etc."},
    {2, "Create tablespace", "To create/alter/drop tablespaces"},
    {3, "Create", "To create new databases and tables"},
    {4, "Alter", "To alter the table"},
    {5, "Drop", "To drop databases, tables, and views"},
    {6, "Event", "To create, alter, drop and execute events"},
    {7, "Trigger", "To use triggers"},
    {8, "Select", "To retrieve rows from table"},
    {9, "Insert", "To insert data into tables"},
    {10, "Update", "To update existing rows"},
    {11, "Delete", "To delete existing rows"},
    {12, "Index", "To create or drop indexes"},
    {13, "Create user", "To create new users"},
    {14, "Create view", "To create new views"},
    {15, "Process", "To view the plain text of currently executing queries"},
    {16, "Lock tables", "To use LOCK TABLES (together with SELECT privilege)"},
    {17, "Show databases", "To see all databases with SHOW DATABASES"},
    {18, "Show view", "To see views with SHOW CREATE VIEW"},
    {19, "References", "To have references on tables"},
    {20, "Shutdown", "To shut down the server"},
    {21, "Create temporary tables", "To use CREATE TEMPORARY TABLE"},
    {22, "Alter routine", "To alter or drop stored functions/procedures"},
    {23, "Create routine", "To use CREATE FUNCTION/PROCEDURE"},
    {24, "Execute", "To execute stored routines"},
    {25, "File", "To read and write files on the server"},
    {26, "Proxy", "To make proxy user possible"},
    {27, "Reload", "To reload or refresh tables, logs and privileges"},
    {28, "Replication client", "To ask where the slave or master servers are"},
    {29, "Replication slave", "To read binary log events from the master"},
    {30, "Grant option", "To give to other users those privileges you possess"},
    {31, "Create role", "Enable role creation."},
    {32, "Drop role", "Enable roles to be dropped."},
};

constexpr const char* SYSTEMFILE_DATABASES[] = {"Kestro", "information_schema", "performance_schema"};

// The first blocks lie in the buffer, right behind each other.
constexpr int SYSTEMFILE_DATA_START = SYSTEMFILE_MAP_OFFSET + SYSTEMFILE_MAP_SIZE;

// Seconds from 1970 to 20 March 2017, from which the creation of users counts.
constexpr std::int64_t USER_TIME_START = 1489968000;

SYSTEMFILEHEAD* Head(BYTE* pBuffer) {
    return reinterpret_cast<SYSTEMFILEHEAD*>(pBuffer);
}

// A text into a zeroed field; cut to the field, without a terminator if it fills it.
template <std::size_t N>
void SetText(char (&lpField)[N], std::string_view strText) {
    strText.copy(lpField, N);
}

int FreeBytes(const SYSTEMBLOCKHEAD* lpBlock) {
    return lpBlock->m_nBlockEnd - lpBlock->m_nUsedOffset;
}

// The next record of a block that has the space for it.
template <typename RECORD>
RECORD* AppendRecord(SYSTEMBLOCKHEAD* lpBlock) {
    auto* lpRecord = new (reinterpret_cast<BYTE*>(lpBlock) + lpBlock->m_nUsedOffset) RECORD();
    lpBlock->m_nUsedOffset += sizeof(RECORD);
    lpBlock->m_nRecordCount += 1;
    lpBlock->m_nNextRecordID += 1;
    return lpRecord;
}

// The block that an object's records go to, null if the buffer holds none. Whoever adds a record clears the last field
// of the object's row.
SYSTEMBLOCKHEAD* OpenBlock(BYTE* pBuffer, int nObjectID) {
    SYSTEMOBJECTROW& stRow = Head(pBuffer)->m_arSystemObject[nObjectID];
    if (stRow.m_nObjectID != nObjectID) return nullptr;
    stRow.m_nConstant20 = 0;
    const long long nMapRow = stRow.m_nFirstMapRow;
    if (nMapRow < SYSTEMFILE_MAP_OFFSET || nMapRow > SYSTEMFILE_DATA_START - int{sizeof(OBJECTMAPROW)}) return nullptr;
    const long long nBlock = reinterpret_cast<OBJECTMAPROW*>(pBuffer + nMapRow)->m_nBlockOffset;
    if (nBlock < SYSTEMFILE_DATA_START || nBlock > SYSTEMFILE_BUFFER_SIZE - SYSTEMFILE_BLOCK_SIZE) return nullptr;
    return reinterpret_cast<SYSTEMBLOCKHEAD*>(pBuffer + nBlock);
}

// The geometry of the file and an empty map, set with the first block.
void StartObjectMap(BYTE* pBuffer) {
    SYSTEMFILEHEAD* lpHead = Head(pBuffer);
    lpHead->m_nObjectMapRowSize = sizeof(OBJECTMAPROW);
    lpHead->m_nBlockSize = SYSTEMFILE_BLOCK_SIZE;
    lpHead->m_nCurrentMapOffset = lpHead->m_nObjectMapOffset;
    lpHead->m_nDataStart = SYSTEMFILE_DATA_START;
    lpHead->m_nNextFreeOffset = SYSTEMFILE_DATA_START;
    new (pBuffer + SYSTEMFILE_MAP_OFFSET) OBJECTMAP();
    new (pBuffer + SYSTEMFILE_MAP_OFFSET + sizeof(OBJECTMAP)) OBJECTMAPROW();
}

// Takes the next block of the file for an object, enters it into the map in front of the object's other blocks, and
// gives it an empty head.
int AllocateBlock(BYTE* pBuffer, int nObjectID, std::uint64_t nStamp, SYSTEMBLOCKHEAD*& lpBlock) {
    SYSTEMFILEHEAD* lpHead = Head(pBuffer);
    if (lpHead->m_nObjectMapCount == 0) StartObjectMap(pBuffer);
    if (lpHead->m_nFreeBlockList != 0) {
        Say<MSG_FREE_BLOCKS>();
        return ERR_OBJECT_ID;
    }
    lpHead->m_nBlockCount += 1;
    // A block beyond the buffer can't be built and counts as one beyond the file.
    const long long nBlockOffset = lpHead->m_nNextFreeOffset;
    const long long nSpaceEnd = std::min<long long>(lpHead->m_nFileSize, SYSTEMFILE_BUFFER_SIZE);
    if (nSpaceEnd <= nBlockOffset + SYSTEMFILE_BLOCK_SIZE - 1) {
        Say<MSG_FILE_FULL>(lpHead->m_nFileSize, nBlockOffset, SYSTEMFILE_BLOCK_SIZE);
        return ERR_NO_SPACE;
    }

    auto* lpMap = reinterpret_cast<OBJECTMAP*>(pBuffer + SYSTEMFILE_MAP_OFFSET);
    const long long nMapRow = SYSTEMFILE_MAP_OFFSET + sizeof(OBJECTMAP) + lpMap->m_nRowCount * sizeof(OBJECTMAPROW);
    SYSTEMOBJECTROW& stRow = lpHead->m_arSystemObject[nObjectID];
    auto* lpMapRow = new (pBuffer + nMapRow) OBJECTMAPROW();
    lpMapRow->m_nBlockNo = lpHead->m_nNextBlockNo;
    lpMapRow->m_nBlockOffset = nBlockOffset;
    lpMapRow->m_nNextRow = stRow.m_nFirstMapRow;
    lpHead->m_nNextBlockNo += 1;
    lpHead->m_nNextFreeOffset += SYSTEMFILE_BLOCK_SIZE;

    lpBlock = new (pBuffer + nBlockOffset) SYSTEMBLOCKHEAD();
    lpBlock->m_nBlockNo = lpMapRow->m_nBlockNo;
    lpBlock->m_nVersionStamp = nStamp;
    lpBlock->m_bFileVersion = lpHead->m_bFileVersion;
    lpBlock->m_nObjectID = nObjectID;
    lpBlock->m_nBlockDataStructSize = RecordSize(nObjectID);

    lpMap->m_nRowCount += 1;
    lpHead->m_nObjectMapCount += 1;
    stRow.m_nFirstMapRow = nMapRow;
    lpHead->m_nVersionStamp = nStamp;
    return 0;
}

int AddRootUser(SYSTEMBLOCKHEAD* lpBlock, std::uint64_t nStamp, int nUserRestrict) {
    // Less than a record would do here, but the block is a fresh one and has it.
    if (FreeBytes(lpBlock) < 9) {
        Say<MSG_ROOT_USER_FAILED>();
        return ERR_FAILED;
    }
    const int nUserID = lpBlock->m_nNextRecordID;
    auto* lpUser = AppendRecord<USERRECORD>(lpBlock);
    lpUser->m_nUserID = nUserID;
    lpUser->m_nCreateTime = static_cast<int>(NowMicroseconds() / 1'000'000 - USER_TIME_START);
    SetText(lpUser->m_pUserName, "root");
    lpUser->m_nAuthorityMask = 0x3FFFFFFF;
    SetText(lpUser->m_pHost, nUserRestrict == 0 ? "%" : "localhost");
    lpBlock->m_nVersionStamp = nStamp;
    return 0;
}

int AddPrivileges(BYTE* pBuffer) {
    for (const PRIVILEGE& stRow : SYSTEMFILE_PRIVILEGES) {
        const int nResult = AddAuthority(pBuffer, stRow.m_bPrivilegeID, stRow.m_lpszName, stRow.m_lpszDescription, 0);
        if (nResult == 0) continue;
        if (&stRow == SYSTEMFILE_PRIVILEGES) Say<MSG_FIRST_PRIVILEGE_FAILED>();
        return nResult;
    }
    return 0;
}

int AddDatabases(BYTE* pBuffer) {
    BYTE bDatabaseID = 0;
    for (const char* lpszName : SYSTEMFILE_DATABASES) {
        const int nResult = AddDatabase(pBuffer, lpszName, bDatabaseID++, 0);
        if (nResult != 0) return nResult;
    }
    return 0;
}

} // namespace

int CreateSystemObject(unsigned char* pBuffer, int nObjectID, long long nStamp, int nUserRestrict) {
    // An id without a row can't be free.
    const bool bHasRow = nObjectID >= 0 && nObjectID < SYSTEMFILE_OBJECT_ROWS;
    SYSTEMOBJECTROW& stRow = Head(pBuffer)->m_arSystemObject[bHasRow ? nObjectID : 0];
    if (!bHasRow || stRow.m_nObjectID != 0) {
        Say<MSG_OBJECT_USED>(nObjectID);
        return ERR_OBJECT_ID;
    }
    stRow.m_nObjectID = nObjectID;
    if (stRow.m_nFirstMapRow != 0) {
        Say<MSG_OBJECT_HAS_BLOCKS>();
        return ERR_OBJECT_ID;
    }
    if (nObjectID < 1 || nObjectID > 99) return 0;

    SYSTEMBLOCKHEAD* lpBlock = nullptr;
    const int nResult = AllocateBlock(pBuffer, nObjectID, static_cast<std::uint64_t>(nStamp), lpBlock);
    if (nResult != 0) return nResult;
    if (nObjectID == 1 || nObjectID == 10) AppendRecord<OBJECT1RECORD>(lpBlock);
    // A fixed part of the creation of each object.
    SleepMilliseconds(1);
    switch (nObjectID) {
        case SYSTEMOBJECT_USER:
            return AddRootUser(lpBlock, static_cast<std::uint64_t>(nStamp), nUserRestrict);
        case SYSTEMOBJECT_PRIVILEGE:
            return AddPrivileges(pBuffer);
        case SYSTEMOBJECT_DATABASE:
            return AddDatabases(pBuffer);
        default:
            return 0;
    }
}

int AddAuthority(unsigned char* pBuffer, unsigned char id, const char* name, const char* description, long) {
    const char* lpszShown = name ? name : "";
    SYSTEMBLOCKHEAD* lpBlock = OpenBlock(pBuffer, SYSTEMOBJECT_PRIVILEGE);
    if (!lpBlock) {
        Say<MSG_PRIVILEGE_OBJECT_EMPTY>(lpszShown);
        return ERR_NULL_POINTER;
    }
    // More than the record's 164 bytes. Intended.
    if (FreeBytes(lpBlock) < 210) {
        Say<MSG_PRIVILEGE_NO_SPACE>(lpszShown);
        return ERR_DATA_FILE_SPACE;
    }
    if (!name || !description) {
        Say<MSG_PRIVILEGE_EXCEPTION>(lpszShown, EINVAL);
        return ERR_EXCEPTION;
    }
    auto* lpPrivilege = AppendRecord<PRIVILEGERECORD>(lpBlock);
    lpPrivilege->m_bPrivilegeID = id;
    SetText(lpPrivilege->m_pName, name);
    SetText(lpPrivilege->m_pDescription, description);
    return 0;
}

int AddDatabase(unsigned char* pBuffer, const char* name, unsigned char id, long long) {
    SYSTEMBLOCKHEAD* lpBlock = OpenBlock(pBuffer, SYSTEMOBJECT_DATABASE);
    // More than the record's 84 bytes. Intended.
    if (!lpBlock || FreeBytes(lpBlock) <= 108 || !name) return ERR_FAILED;
    auto* lpDatabase = AppendRecord<DATABASERECORD>(lpBlock);
    SetText(lpDatabase->m_pDatabaseName, name);
    lpDatabase->m_bDatabaseID = id;
    return 0;
}
