#pragma once

class CDBInterface;
class CSetupProgress;

/** States of CREATEDATAFILEPARAM. */
constexpr int DATAFILE_RUNNING = 0;
constexpr int DATAFILE_FAILED = 1;
constexpr int DATAFILE_DONE = 2;

/** What the data-file thread works on. */
struct CREATEDATAFILEPARAM {
    /** DATAFILE_...; written by the thread as its last deed, awaited by the main thread. An atomic. */
    int m_nStatus;
    // The sizes as texts, in MB.
    char* m_lpszDataFile;
    char* m_lpszTreeFile;
    char* m_lpszKVFile;
    char* m_lpszTableFile;
    char* m_lpszIndexFile;
    /** The thread's own while it runs. */
    CDBInterface* m_pConnection;
};

/**
 * Connects to the new instance as root with the empty password, waits until it is open, without limit, and has it
 * create its data files, while the server's progress is shown. Sizes are texts in MB: without a number other than 0 a
 * file isn't made; white space at their ends is cut in place. `localIP` is the address to connect to. The last argument
 * is unused. Answers 0; the code of the connection or of the query that failed, which has been said; or 1 for a file
 * or a thread that failed, whose code is in the trace log.
 */
[[nodiscard]] int CreateDataFile(char* data, char* tree, char* kv, char* table, char* index, char* localIP,
                                 unsigned short port, CDBInterface* lpUnused);

/** The data-file thread: takes a CREATEDATAFILEPARAM. The files behind one that failed aren't made. */
void* CreateDataFileThread(void* lpParam);

/** Waits for the data-file thread, showing the progress if there is one, and ends the line. */
void AwaitDataFiles(CREATEDATAFILEPARAM& stParam, CSetupProgress& stProgress);
