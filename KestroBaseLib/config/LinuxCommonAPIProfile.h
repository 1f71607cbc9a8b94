#pragma once

// Profile (INI) files: sections in brackets, entries "key = value", comments behind "#". Names are compared without
// regard to the case of ASCII letters. A file counts up to its first zero byte, and one that is too large for memory
// reads as missing. No lock is held: one thread at a time, and no two processes writing.

/**
 * Copies the value of an entry, or the default (null: empty), cut to the buffer, and answers the bytes copied without
 * the terminator. Once a header has named the section, the entries of all later sections count as its own.
 *
 * A null key lists the keys behind the section's header, a null section all sections; a tab follows each name, and the
 * list ends in front of the first name that doesn't fit. Where the file can't be opened for reading and writing it
 * counts as missing. An entry with an empty value gives an empty text, not the default.
 */
int GetPrivateProfileString(const char* lpszSection, const char* lpszKey, const char* lpszDefault, char* lpszBuffer,
                            int nSize, const char* lpszFile);

/**
 * The entry's value read as a decimal number and made an integer as decimals are; an empty value is what the empty text
 * gives there, not the default.
 */
[[nodiscard]] int GetPrivateProfileInt(const char* lpszSection, const char* lpszKey, int nDefault,
                                       const char* lpszFile);

/**
 * Sets an entry in exactly the section named, and adds entry, section and file where they are missing. A null value
 * removes the entry, a null key the section. A value that already stands there leaves the file untouched. False without
 * section or file name, if the file can't be opened or written, or if there is nothing to write into an empty file;
 * otherwise true, even if memory ran out on the way.
 */
bool WritePrivateProfileString(const char* lpszSection, const char* lpszKey, const char* lpszValue,
                               const char* lpszFile);
