#pragma once

// The interfaces through which a program uses the database. They have no data and no inline code, so that a program and
// the library need not come from the same compiler run; the order of their operations is fixed.

class IKestroDBRecordset;

/**
 * A connection to a server, or to the cluster to which it belongs. What answers an `int` answers 0 or an error code,
 * 900 as long as nobody is logged in. A statement is compiled by the caller's thread, so one that is wrong never
 * reaches the server. When the link breaks, the next operation, or the one under way, reconnects, logs in and sends its
 * request again, three times in all; so a statement whose answer was lost may run twice. A session keeps its user and
 * its database then, and loses its transaction.
 *
 * Any number of threads may use a connection; one request is on its way at a time, and the others wait. `UseDatabase`,
 * and a statement that does the same, are for a moment when no other thread uses it.
 */
class IKestroDBConnection {
public:
    virtual ~IKestroDBConnection() = default;
    /** Logs out, closes and ends the object. */
    virtual void Release() = 0;

    /**
     * Opens by the name of a connect descriptor, or by address and port, and logs in; an open connection is closed
     * first, which ends its session. Of the user 32 bytes count and of the password 24; null leaves what was given
     * before in the form with a name. 66 and 902 tell of a port that isn't the database's, 909 and 910 of descriptors.
     */
    [[nodiscard]] virtual int Open(char* lpszConnect, char* lpszUser, char* lpszPassword) = 0;
    [[nodiscard]] virtual int Open(char* lpszHost, unsigned short usPort, char* lpszUser, char* lpszPassword) = 0;
    virtual void Close() = 0;

    // --- statements with parameters, "?": a cursor belongs to one thread at a time -----------------------------------

    /** Compiles into a new cursor, null after an error. */
    [[nodiscard]] virtual int Parse(char* lpszSql, void*& pCursor) = 0;
    /**
     * Gives parameter `nNo`, from 1, its value, of which the cursor keeps a copy. `bType` is a field type: 1 reads 32
     * bits, 2, 3 and 4 read 64, 5, 6, 7 and 8 `nLen` bytes, 0x50 one and 0x51 two; any other, or no value, is NULL.
     */
    [[nodiscard]] virtual int Bind(void* pCursor, int nNo, unsigned char bType, void* pValue, int nLen) = 0;
    /** Runs a cursor and ends it, after an error too. `pStatistics`: null, or room for MF_EXECUTE_STATISTICS. */
    [[nodiscard]] virtual int Execute(void* pCursor, int& nAffect, void* pStatistics) = 0;
    /** Ends a cursor: 0, or 4 for none. */
    virtual int CloseCursor(void* pCursor) = 0;

    // --- statements --------------------------------------------------------------------------------------------------

    [[nodiscard]] virtual int Execute(char* lpszSql, int& nAffect, void* pStatistics) = 0;
    /** The caller releases the recordset, which is there after an error too, then empty. */
    [[nodiscard]] virtual int GetRecordset(char* lpszSql, IKestroDBRecordset** ppRecordset, void* pStatistics) = 0;
    /** Saves the changes made to a recordset. */
    [[nodiscard]] virtual int UpdateRecordset(IKestroDBRecordset* pRecordset, void* pStatistics) = 0;
    /** Short transactions; the text has at most 95 bytes. */
    [[nodiscard]] virtual int StartTransactionLogic(char* lpszParam, int& nTransaction) = 0;
    [[nodiscard]] virtual int StopTransactionLogic(int nTransaction) = 0;
    /** Has a redo record applied; its first 4 bytes are its length. */
    [[nodiscard]] virtual int KestroRedo(unsigned char* pRecord, unsigned short usParam) = 0;
    /** Switches to a database; names have up to 31 bytes. */
    [[nodiscard]] virtual int UseDatabase(const char* lpszDatabase) = 0;
};

/** A new connection, closed; null without memory. Always 0. */
int CreateKestroDBInstance(IKestroDBConnection*& pConnection);
