#pragma once

// The interfaces through which a program uses the database. They have no data and no inline code, so that a program and
// the library need not come from the same compiler run; the order of their operations is fixed.

#include <ctime>

/** What `FieldCategory` tells. */
enum KESTROFIELDCATEGORY : int {
    CATEGORY_NONE = 0,
    CATEGORY_INTEGER = 1,
    CATEGORY_FLOAT = 2,
    CATEGORY_DECIMAL = 3,
    CATEGORY_TEXT = 4, // JSON too
    CATEGORY_BINARY = 5,
    CATEGORY_TIME = 6,
};

/**
 * The rows that answered a query: a cursor over them, typed reads, and changes that the connection saves. Row numbers
 * and field numbers count from 0; new rows stand behind the others. A name stands for the field's number: its result
 * name, else its title. What answers an `int` answers 0 or an error code unless stated.
 *
 * Texts and bytes that it hands out are the recordset's: they live until the field is set, or the recordset is filled
 * anew or released. One thread at a time.
 */
class IKestroDBRecordset {
public:
    virtual ~IKestroDBRecordset() = default;
    /** Ends the object. */
    virtual void Release() = 0;

    // --- the set -----------------------------------------------------------------------------------------------------

    virtual int GetRowNum() = 0;
    virtual int GetFieldNum() = 0;
    /** Null for a field that there isn't; a field without a base table has an empty name there. */
    virtual const wchar_t* FieldTitleW(int nField) = 0;
    virtual const char* FieldTitle(int nField) = 0;
    virtual const wchar_t* FieldNameW(int nField) = 0;
    virtual const char* FieldName(int nField) = 0;
    virtual const char* FieldBaseTableName(int nField) = 0;
    virtual const wchar_t* FieldBaseTableNameW(int nField) = 0;
    /** The number of a field, or -1. */
    virtual int FieldIndex(const wchar_t* lpszName) = 0;
    virtual int FieldIndex(const char* lpszName) = 0;
    /** The column's type code and marks; 0 for a field that there isn't. */
    virtual int FieldType(int nField) = 0;
    virtual int FieldPrimaryKey(int nField) = 0;
    virtual int FieldAllowNull(int nField) = 0;
    virtual int FieldMaxLen(int nField) = 0;
    /**
     * A copy of its own, with the same position, for the caller to release. It has the rows as the server sent them,
     * without those deleted, and the new rows as they are; a changed row shows its old values. 0 or 3.
     */
    [[nodiscard]] virtual int Clone(IKestroDBRecordset*& pRecordset) = 0;

    // --- rows --------------------------------------------------------------------------------------------------------

    /** A new row of NULLs, on which the cursor then stands, and its identity, below 0. 3; 8052. */
    [[nodiscard]] virtual int AddNew(long long& nDataID) = 0;
    /** Takes the current row out; the next one has its number then. 4; 8052. */
    [[nodiscard]] virtual int Delete() = 0;
    virtual bool bof() = 0;
    virtual bool eof() = 0;
    /** For loops of `while (Fetch(), !eof())`: the first call stays at row 0, each further one moves on. Always 0. */
    virtual int Fetch() = 0;
    /** Move the cursor; without a row there, there is no current row. Always 0. */
    virtual int MoveFirst() = 0;
    virtual int MoveNext() = 0;
    virtual int MovePrevious() = 0;
    virtual int MoveLast() = 0;
    /** To the row of an identity; 1, and the position stays, if there is none. */
    [[nodiscard]] virtual int SetCurrentRow(long long nDataID) = 0;
    /** To a row number; 1, and the position stays, if there is none. */
    [[nodiscard]] virtual int SetCurrentRow(int nRow) = 0;
    /** The current row's identity. 4. */
    [[nodiscard]] virtual int GetDataID(long long& nDataID) = 0;

    // --- reading -----------------------------------------------------------------------------------------------------
    //
    // 4 without a current row; 1524 for a field that there isn't; -1 for NULL; 1501 for a value that the type asked for
    // doesn't hold; 86 for a text that is no UTF-8 and was asked for wide; 3. The result is zero or null then, of a
    // BIGINT the low 32 bits. A fraction is cut.

    [[nodiscard]] virtual int FieldValue(int nField, int& nValue) = 0;
    [[nodiscard]] virtual int FieldValue(const wchar_t* lpszName, int& nValue) = 0;
    [[nodiscard]] virtual int FieldValue(const char* lpszName, int& nValue) = 0;
    [[nodiscard]] virtual int FieldValue(int nField, long long& llValue) = 0;
    [[nodiscard]] virtual int FieldValue(const wchar_t* lpszName, long long& llValue) = 0;
    [[nodiscard]] virtual int FieldValue(const char* lpszName, long long& llValue) = 0;
    /** A duration is in hours, minutes and seconds, all negative if it is. */
    [[nodiscard]] virtual int FieldValue(int nField, tm& stValue) = 0;
    [[nodiscard]] virtual int FieldValue(const wchar_t* lpszName, tm& stValue) = 0;
    [[nodiscard]] virtual int FieldValue(const char* lpszName, tm& stValue) = 0;
    [[nodiscard]] virtual int FieldValue(int nField, double& dblValue) = 0;
    [[nodiscard]] virtual int FieldValue(const wchar_t* lpszName, double& dblValue) = 0;
    [[nodiscard]] virtual int FieldValue(const char* lpszName, double& dblValue) = 0;
    /** A text with a terminator, UTF-8; of all types but bytes. */
    [[nodiscard]] virtual int FieldValue(int nField, char*& lpszValue) = 0;
    [[nodiscard]] virtual int FieldValue(const wchar_t* lpszName, char*& lpszValue) = 0;
    [[nodiscard]] virtual int FieldValue(const char* lpszName, char*& lpszValue) = 0;
    [[nodiscard]] virtual int FieldValue(int nField, wchar_t*& lpszValue) = 0;
    [[nodiscard]] virtual int FieldValue(const wchar_t* lpszName, wchar_t*& lpszValue) = 0;
    [[nodiscard]] virtual int FieldValue(const char* lpszName, wchar_t*& lpszValue) = 0;
    /** Bytes or the bytes of a text, and their number. */
    [[nodiscard]] virtual int FieldValue(int nField, unsigned char*& lpValue, int& nLen) = 0;
    [[nodiscard]] virtual int FieldValue(const wchar_t* lpszName, unsigned char*& lpValue, int& nLen) = 0;
    [[nodiscard]] virtual int FieldValue(const char* lpszName, unsigned char*& lpValue, int& nLen) = 0;

    // --- changing ----------------------------------------------------------------------------------------------------
    //
    // 4 without a current row; 1524 for a field that there isn't; 8052 for a set that may not be changed; 8051 for a
    // field that may not; 1521 for a column that takes no such value; 1501 for a value that it doesn't hold; 1504 and
    // 49 for a date; 86 for a wide text that has no UTF-8 form; 3. The field stays as it was then. Numbers are rounded.

    [[nodiscard]] virtual int SetFieldNull(int nField) = 0;
    [[nodiscard]] virtual int SetFieldNull(const wchar_t* lpszName) = 0;
    [[nodiscard]] virtual int SetFieldNull(const char* lpszName) = 0;
    [[nodiscard]] virtual int SetField(int nField, int nValue) = 0;
    [[nodiscard]] virtual int SetField(const wchar_t* lpszName, int nValue) = 0;
    [[nodiscard]] virtual int SetField(const char* lpszName, int nValue) = 0;
    [[nodiscard]] virtual int SetField(int nField, long long llValue) = 0;
    [[nodiscard]] virtual int SetField(const wchar_t* lpszName, long long llValue) = 0;
    [[nodiscard]] virtual int SetField(const char* lpszName, long long llValue) = 0;
    [[nodiscard]] virtual int SetField(int nField, const tm& stValue) = 0;
    [[nodiscard]] virtual int SetField(const wchar_t* lpszName, const tm& stValue) = 0;
    [[nodiscard]] virtual int SetField(const char* lpszName, const tm& stValue) = 0;
    [[nodiscard]] virtual int SetField(int nField, double dblValue) = 0;
    [[nodiscard]] virtual int SetField(const wchar_t* lpszName, double dblValue) = 0;
    [[nodiscard]] virtual int SetField(const char* lpszName, double dblValue) = 0;
    /** A text for a column of any type but bytes; a null or empty one is NULL. */
    [[nodiscard]] virtual int SetField(int nField, const char* lpszValue) = 0;
    [[nodiscard]] virtual int SetField(const wchar_t* lpszName, const char* lpszValue) = 0;
    [[nodiscard]] virtual int SetField(const char* lpszName, const char* lpszValue) = 0;
    [[nodiscard]] virtual int SetField(int nField, const wchar_t* lpszValue) = 0;
    [[nodiscard]] virtual int SetField(const wchar_t* lpszName, const wchar_t* lpszValue) = 0;
    [[nodiscard]] virtual int SetField(const char* lpszName, const wchar_t* lpszValue) = 0;
    /** Bytes for a column of bytes or text; null is NULL. */
    [[nodiscard]] virtual int SetField(int nField, const unsigned char* lpValue, int nLen) = 0;
    [[nodiscard]] virtual int SetField(const wchar_t* lpszName, const unsigned char* lpValue, int nLen) = 0;
    [[nodiscard]] virtual int SetField(const char* lpszName, const unsigned char* lpValue, int nLen) = 0;

    /** The column's kind, KESTROFIELDCATEGORY. */
    virtual int FieldCategory(int nField) = 0;
    /**
     * The whole set as CSV text, which the caller gives back with `delete[]`; without rows the pointer stays as it was.
     * Dates and times of day are blanks, bytes hexadecimal. The cursor is at the end then. 3.
     */
    [[nodiscard]] virtual int RecordsetToCSV(char*& lpszText) = 0;
};

/**
 * A connection to a server, or to the cluster to which it belongs. What answers an `int` answers 0 or an error code,
 * 900 as long as nobody is logged in. A statement is compiled by the caller's thread, so one that is wrong never
 * reaches the server. When the link breaks, the next operation, or the one under way, reconnects, logs in and sends its
 * request again, three times in all; so a statement whose answer was lost may run twice. A session keeps its user and
 * its database then, and loses its transaction.
 *
 * Any number of threads may use a connection; one request is on its way at a time, and the others wait. `UseDatabase`,
 * and a statement that does the same, are for a moment when no other thread uses it. It belongs to the process that
 * opened it: a child that uses or releases it talks, and logs out, in the parent's session.
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
    /** Ends a cursor that wasn't run; the connection ends none by itself: 0, or 4 for none. */
    virtual int CloseCursor(void* pCursor) = 0;

    // --- statements --------------------------------------------------------------------------------------------------

    [[nodiscard]] virtual int Execute(char* lpszSql, int& nAffect, void* pStatistics) = 0;
    /** The caller releases the recordset, which is there, empty, after an error too; null only with 3 and 900. */
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
