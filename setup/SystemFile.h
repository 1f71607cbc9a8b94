#pragma once

#include "SystemFileRecords.h"

// Creates System.dbf. The first 4 MB are built in memory: head, object map, and the blocks of the seven initial
// objects with their first records. All functions run on the main thread; failures are told on standard output where
// they are met, and each answers 0 for success.

/** Size of the buffer that the functions below take, and of the longest piece written. */
constexpr int SYSTEMFILE_BUFFER_SIZE = 0x400000;

/** The initial objects that get records. */
constexpr int SYSTEMOBJECT_USER = 8;
constexpr int SYSTEMOBJECT_PRIVILEGE = 9;
constexpr int SYSTEMOBJECT_DATABASE = 11;

/**
 * Creates System.dbf in `g_lpDatabasePath`, `nFileSize` bytes long but never shorter than the buffer, and sets `port`
 * to the port of the configuration. `cachesize` (MB) and `logs` are the texts given to the installation; null counts as
 * empty. `nDatabaseGuid` is the id of the instance, 0 to draw one. `nUserRestrict` 0 lets the user root log in from any
 * host. Answers 0, 1 if the file exists, the code of an object that failed, or `errno`. A failed object leaves an empty
 * file, a failed write a short one.
 */
[[nodiscard]] int CreateSystemDataFile(long long nFileSize, char* cachesize, char* logs, int nDatabaseGuid,
                                       unsigned short& port, int nUserRestrict);

/**
 * Fills the head, all of it, from the configuration file and the installation's texts. Writes the keys "databasepath"
 * and "buffercachesize" into the file; a failure to do so is told and changes nothing else.
 */
void ReadSysConfigParam(SYSTEMFILEHEAD* lpHead, long long nFileSize, char* cachesize, char* logs, unsigned short& port);

/** An id drawn from the clock; 0 only if the lowest 48 bits of the clock's microseconds are 0. */
[[nodiscard]] unsigned short CreateDatabaseGuid();

/**
 * Enters an object into the table of the file that `pBuffer` holds the first 4 MB of. Ids 1 to 99 also get a block,
 * and their initial records, if they have any. Answers 0, 1, 11 or 20, or a code of `AddAuthority`.
 */
[[nodiscard]] int CreateSystemObject(unsigned char* pBuffer, int nObjectID, long long nStamp, int nUserRestrict);

/**
 * Adds a privilege to object 9. Answers 0, 4 without the object, 1000 without space, 2 without a text. Texts longer
 * than their fields, of 32 and 128 bytes, are cut. The last argument is unused.
 */
[[nodiscard]] int AddAuthority(unsigned char* pBuffer, unsigned char id, const char* name, const char* description,
                               long nUnused);

/** Adds a database to object 11. Answers 0; or 1 without the object, space or a name. The last argument is unused. */
[[nodiscard]] int AddDatabase(unsigned char* pBuffer, const char* name, unsigned char id, long long nUnused);
