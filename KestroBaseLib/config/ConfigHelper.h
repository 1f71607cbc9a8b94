#pragma once

#include <memory>
#include <string_view>

#include "ConfigHelperText.h"
#include "ShareMemory.h"

// The configuration store of a long-running process: the sections and keys of one profile file, held in memory. Reads
// touch no file, a change goes to memory and disk, and changes travel between the machine's processes through a small
// area of shared memory.
//
// The process's one store is made before main, with its area and the semaphore "CONFIGHELPER"; where the machine
// refuses either, the store works without it. Neither ever blocks a start, and no operation takes a lock: threads of
// one process guard theirs by `m_csCriticalSection`, processes what they do with the area by `getHandle`. A process
// that dies with the semaphore doesn't give it back, so callers wait for it with a time (`WaitForSingleObject`).
// Key and name are fixed: all installations of a machine share one area.

constexpr key_t CONFIG_AREA_KEY = 0x5201CCDD;
constexpr std::size_t CONFIG_AREA_SIZE = 0x4000;
constexpr int CONFIG_SECTIONS_MAX = 8;

struct CONFIGLINE;
struct CONFIGPLACE;
struct CONFIGSHAREDAREA;
class ConfigHelper;

/** A semaphore that guards something within the process, for all its life. */
struct KESTRO_SECTION {
    sem_t m_stSemaphore;

    KESTRO_SECTION() { sem_init(&m_stSemaphore, 0, 1); }
    KESTRO_SECTION(const KESTRO_SECTION&) = delete;
    KESTRO_SECTION& operator=(const KESTRO_SECTION&) = delete;
};

/** Makes the process's store. It is never destroyed: a detached thread may outlive the program's static objects. */
class ConfigHelperPtr {
public:
    ConfigHelperPtr();
    /** Null before it was made, and if there was no memory for it. */
    ConfigHelper* Get() const { return m_lpInstance; }

private:
    ConfigHelper* m_lpInstance;
};

class ConfigHelper {
public:
    static ConfigHelperPtr s_pInstance;
    static KESTRO_SECTION m_csCriticalSection;
    /** Null where it was refused. */
    static sem_t* m_lpSempahore;

    static sem_t* getHandle() { return m_lpSempahore; }

    ConfigHelper() = default;
    ConfigHelper(const ConfigHelper&) = delete;
    ConfigHelper& operator=(const ConfigHelper&) = delete;

    /** The value as a whole number in base 10, 0 for one that isn't; a missing key gives 0 too, not the default. */
    [[nodiscard]] virtual int getValueInt(const char* lpszSection, const char* lpszKey, int nDefault);

    /**
     * Copies up to `nSize` bytes of the value and a terminator behind them: the buffer holds `nSize` + 1 bytes. Answers
     * 0; or -1 without a buffer or size, and with the buffer emptied if there is no such entry. The default is unused.
     * Of several equal names the first counts.
     */
    virtual int getValueString(const char* lpszSection, const char* lpszKey, const char* lpszDefault, char* lpszBuffer,
                               int nSize);

    /**
     * Sets an entry on disk and in memory, and adds entry and section where they are missing. False for an empty
     * section or key, for texts that a line of the file can't hold (line breaks; "=" in the key, "#" or "[" at its
     * start), for a ninth section, and without memory; true also if the disk doesn't take it.
     */
    virtual bool setValueString(const char* lpszSection, const char* lpszKey, const char* lpszValue);

    /**
     * Drops what is held and reads the file given. False if it can't be read for writing or not to its end; what was
     * read before that is held.
     */
    virtual bool setPath(const char* lpszPath);
    virtual const char* getPath() const { return m_pFileName.Text(); }

    /**
     * Sets the entries that the side with another flag left in the area, and empties it. False without an area, or if
     * it was this side that wrote last. What lies in the area may be anything: texts end with their fields, and a list
     * of an impossible length counts as empty.
     */
    virtual bool updateFromShared(BYTE bFlag);

    /** Makes or opens the area and clears what others left there; false where that is refused. */
    virtual bool InitSharedMemory();

    /** Detaches the area, which stays for others; false if there was none. */
    virtual bool DestoryMemory();

    /**
     * Leaves an entry in the area for the side with another flag; entries of that side, not yet taken, go. False
     * without an area, with 80 entries waiting, and for section and key of more than 49 bytes or a value of more
     * than 99.
     */
    virtual bool AddItemToSharedadd(const char* lpszSection, const char* lpszKey, const char* lpszValue, BYTE bFlag);

    virtual ~ConfigHelper();

protected:
    /** The file's text up to its first zero byte; null if it can't be opened for reading and writing. */
    virtual std::unique_ptr<char[]> GetText();
    /** Writes an entry into the file. False if the file can't be read or written; one that is missing is made. */
    virtual bool updateDisk(const char* lpszSection, const char* lpszKey, const char* lpszValue, bool bNewSection);
    /** Adds the file's sections and entries; false for a missing file, a section twice or an entry without one. */
    virtual bool readAndParse();
    /** Without blanks and line breaks around it; tabs stay. */
    virtual std::string_view trim(std::string_view strText) const;

private:
    friend void KestroConfigClose();

    _KeyValue* FindSection(const char* lpszSection);
    static _KeyValue* FindEntry(_KeyValue* lpSection, const char* lpszKey);
    static bool Append(_KeyValue*& lpTail, std::string_view strKey, std::string_view strValue);
    /** A new section; null if none is left or there is no memory. */
    _KeyValue* AddSection(std::string_view strName);
    void DropSection(_KeyValue& stSection);
    void Drop();
    bool NextLine(std::string_view& strRest, CONFIGLINE& stLine) const;
    CONFIGPLACE FindPlace(std::string_view strText, const char* lpszSection, const char* lpszKey) const;
    CONFIGSHAREDAREA* Area() const { return static_cast<CONFIGSHAREDAREA*>(m_lSharedData); }

    TString m_pFileName;
    /** Sections in use. */
    int m_iAppNameValuesLen = 0;
    /** The sections' names; a section's entries hang behind it. */
    _KeyValue m_lpAppNameValues[CONFIG_SECTIONS_MAX];
    MFID m_iSharedId = 0;
    /** The attached area, or null. */
    void* m_lSharedData = nullptr;
};

// The same for the process's store. Without one they answer as for a missing entry.

bool KestroConfigInit(const char* lpszPath);
[[nodiscard]] int KestroConfigGetValueInt(const char* lpszSection, const char* lpszKey, int nDefault);
/** The buffer holds `nSize` + 1 bytes. */
int KestroConfigGetValueString(const char* lpszSection, const char* lpszKey, const char* lpszDefault, char* lpszBuffer,
                               int nSize);
bool KestroConfigSetValueString(const char* lpszSection, const char* lpszKey, const char* lpszValue);
/** Drops all sections and entries from memory. */
void KestroConfigClose();
