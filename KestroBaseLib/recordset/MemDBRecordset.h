#pragma once

#include "BaseBson.h"
#include "FieldName2Index.h"
#include "KestroDBInterface.h"
#include "RecordVector.h"

struct COLUMNFORMS;

/** Characters of a field's name, the terminator included. */
constexpr int RECORDSET_NAME_SIZE = 64;
/** Fields that a row can have: the entries of its values name them in one byte. */
constexpr UINT RECORDSET_FIELD_MOST = 256;

/** A column of a recordset. A name longer than its room is cut at a character's edge. */
struct st_FIELD {
    BYTE m_bFieldType;
    BYTE m_bAllowNull;
    /** 1: the field may be changed. */
    BYTE m_bFieldNameType;
    BYTE m_bMaxLen;
    BYTE m_bPrimaryKey;
    BYTE m_bAutoIncrement;
    BYTE m_bObjectType;
    BYTE m_bReserved;
    wchar_t m_lpszRsName[RECORDSET_NAME_SIZE];
    wchar_t m_lpszTitle[RECORDSET_NAME_SIZE];
    wchar_t m_lpszTableName[RECORDSET_NAME_SIZE];
    char m_lpTitle[RECORDSET_NAME_SIZE];
    char m_lpRsName[RECORDSET_NAME_SIZE];
    char m_lpTableName[RECORDSET_NAME_SIZE];
};

/** `m_bRecordStatus` of a row. */
enum RECORDSTATUS : BYTE {
    STATUS_UNCHANGED = 0,
    STATUS_DELETED = 1,
    STATUS_INSERTED = 2,
    STATUS_UPDATED = 3,
};

/** A row; its arrays have an element a field and live in the pool. */
struct stu_RECORD {
    /** Texts lie in the pool as well, with a terminator that `m_nStrLen` leaves out. */
    st_VARDATA* m_lpFieldData;
    /**
     * Wide texts that `FieldValue` made, null before the row's first; behind that of a number or date stands the same
     * text in bytes.
     */
    wchar_t** m_pFieldStr;
    int m_nFieldNum;
    long long m_nDataID;
    /** RECORDSTATUS. */
    BYTE m_bRecordStatus;
    /** 1: the field was changed. */
    LPBYTE m_pFieldModify;
    CKestroBufferPool* m_lpBufferPool;
};

/**
 * A recordset in memory: it keeps the block that answered a query, and decodes it at once. The bytes of the block may
 * be any: what contradicts itself ends the decoding with 37 and an empty recordset. All that is decoded, and every text
 * that is set or made later, lives in one pool until `Free`, so a field that is set over and over takes memory each
 * time. One thread at a time.
 */
class CMemDBRecordset : public IKestroDBRecordset {
public:
    CMemDBRecordset();
    CMemDBRecordset(const CMemDBRecordset&) = delete;
    CMemDBRecordset& operator=(const CMemDBRecordset&) = delete;
    ~CMemDBRecordset() override;

    /** A new empty recordset, for the caller to release, or 3. */
    [[nodiscard]] static int CreateInstance(IKestroDBRecordset*& pRecordset);
    /** Empties the object for reuse. */
    void Free();

    /**
     * Decodes a block. With `bAutoRelease` it takes the block over, which was made with array new, in case of an error
     * too; otherwise the block must outlive the recordset. 0; 1 for a name that is no UTF-8; 3; 4; 37.
     */
    [[nodiscard]] int AnalysisRecordset(unsigned char* pBuffer, int nSize, int bAutoRelease);
    /** Decodes one row of `nRowLen` bytes with the fields of this recordset, into its pool. 0; 3; 37. */
    [[nodiscard]] int AnalysisRow(unsigned char* pRow, int nRowLen, stu_RECORD& stRecord);

    /**
     * Writes the changes as a plan into a buffer, which comes empty or with a main buffer and nothing in it. 0; 3 when
     * the buffer is too small, for the caller to try again in a larger one; 1501 for a changed field of a type that
     * isn't stored (JSON); 1524 with over 255 fields; 37 for rows of no table; 516; 91.
     */
    [[nodiscard]] int ParseRecordset(CBaseBson& stBson, EXECUTEPLANBSON*& pPlan) {
        return ParseRecordsetMemDB(stBson, pPlan);
    }
    [[nodiscard]] int ParseRecordsetMemDB(CBaseBson& stBson, EXECUTEPLANBSON*& pPlan);
    /** Writes the changed fields of a row into a plan. The codes of `ParseRecordset`. */
    [[nodiscard]] int GetExecuteField(CBaseBson& stBson, stu_RECORD* pRecord, RECORDHEAD* pHead);
    /** Bytes of a value that has a column's type in a plan, a leading byte included; 0 for NULL. 0 or 1501. */
    [[nodiscard]] static int GetDataBufferLen(int& nLen, unsigned char bType, const st_VARDATA* pValue);
    /**
     * After the changes were saved. Deleted rows come back into the set, and new ones take no further part in saving:
     * the caller is expected to run the query again.
     */
    void ClearState();
    /**
     * Writes a text of `nLen` bytes as a CSV cell, which has two bytes more and one for each double quote at most;
     * `nLen` becomes its length. Without a terminator; always 0.
     */
    static int DelteteSpecialChar(const char* lpszText, char* lpszCell, int& nLen);

    // --- IKestroDBRecordset ------------------------------------------------------------------------------------------

    void Release() override { delete this; }
    int GetRowNum() override { return m_vecOriginalRecord.Size() + m_vecInsertRecord.Size(); }
    int GetFieldNum() override { return m_nFieldNum; }
    const wchar_t* FieldTitleW(int nField) override;
    const char* FieldTitle(int nField) override;
    const wchar_t* FieldNameW(int nField) override;
    const char* FieldName(int nField) override;
    const char* FieldBaseTableName(int nField) override;
    const wchar_t* FieldBaseTableNameW(int nField) override;
    int FieldIndex(const wchar_t* lpszName) override {
        return lpszName && m_nFieldNum != 0 ? m_mapNameW2Index.Get(lpszName) : -1;
    }
    int FieldIndex(const char* lpszName) override;
    int FieldType(int nField) override;
    int FieldPrimaryKey(int nField) override;
    int FieldAllowNull(int nField) override;
    int FieldMaxLen(int nField) override;
    int Clone(IKestroDBRecordset*& pRecordset) override;

    int AddNew(long long& nDataID) override;
    int Delete() override;
    bool bof() override { return m_nCurrentRowNo == 0; }
    bool eof() override { return m_nCurrentRowNo >= GetRowNum(); }
    int Fetch() override;
    int MoveFirst() override;
    int MoveNext() override;
    int MovePrevious() override;
    int MoveLast() override;
    int SetCurrentRow(long long nDataID) override;
    int SetCurrentRow(int nRow) override;
    int GetDataID(long long& nDataID) override;

    int FieldValue(int nField, int& nValue) override;
    int FieldValue(int nField, long long& llValue) override;
    int FieldValue(int nField, tm& stValue) override;
    int FieldValue(int nField, double& dblValue) override;
    int FieldValue(int nField, char*& lpszValue) override;
    int FieldValue(int nField, wchar_t*& lpszValue) override;
    int FieldValue(int nField, unsigned char*& lpValue, int& nLen) override;

    int SetFieldNull(int nField) override;
    int SetField(int nField, int nValue) override { return SetField(nField, static_cast<long long>(nValue)); }
    int SetField(int nField, long long llValue) override;
    int SetField(int nField, const tm& stValue) override;
    int SetField(int nField, double dblValue) override;
    int SetField(int nField, const char* lpszValue) override;
    int SetField(int nField, const wchar_t* lpszValue) override { return SetFieldValue(nField, lpszValue); }
    int SetField(int nField, const unsigned char* lpValue, int nLen) override;
    [[nodiscard]] int SetFieldValue(int nField, const wchar_t* lpszValue);

    // By name: as the field whose number `FieldIndex` answers.
#define RECORDSET_BY_NAME(FUNCTION, TYPE)                        \
    int FUNCTION(const wchar_t* lpszName, TYPE Value) override { \
        return FUNCTION(FieldIndex(lpszName), Value);            \
    }                                                            \
    int FUNCTION(const char* lpszName, TYPE Value) override {    \
        return FUNCTION(FieldIndex(lpszName), Value);            \
    }
#define RECORDSET_BYTES_BY_NAME(FUNCTION, TYPE, LEN)                         \
    int FUNCTION(const wchar_t* lpszName, TYPE lpValue, LEN nLen) override { \
        return FUNCTION(FieldIndex(lpszName), lpValue, nLen);                \
    }                                                                        \
    int FUNCTION(const char* lpszName, TYPE lpValue, LEN nLen) override {    \
        return FUNCTION(FieldIndex(lpszName), lpValue, nLen);                \
    }
    RECORDSET_BY_NAME(FieldValue, int&)
    RECORDSET_BY_NAME(FieldValue, long long&)
    RECORDSET_BY_NAME(FieldValue, tm&)
    RECORDSET_BY_NAME(FieldValue, double&)
    RECORDSET_BY_NAME(FieldValue, char*&)
    RECORDSET_BY_NAME(FieldValue, wchar_t*&)
    RECORDSET_BYTES_BY_NAME(FieldValue, unsigned char*&, int&)
    RECORDSET_BY_NAME(SetField, int)
    RECORDSET_BY_NAME(SetField, long long)
    RECORDSET_BY_NAME(SetField, const tm&)
    RECORDSET_BY_NAME(SetField, double)
    RECORDSET_BY_NAME(SetField, const char*)
    RECORDSET_BY_NAME(SetField, const wchar_t*)
    RECORDSET_BYTES_BY_NAME(SetField, const unsigned char*, int)
#undef RECORDSET_BYTES_BY_NAME
#undef RECORDSET_BY_NAME
    int SetFieldNull(const wchar_t* lpszName) override {
        return SetFieldNull(FieldIndex(lpszName));
    }
    int SetFieldNull(const char* lpszName) override {
        return SetFieldNull(FieldIndex(lpszName));
    }

    int FieldCategory(int nField) override;
    int RecordsetToCSV(char*& lpszText) override;

private:
    const RECORDSETHEAD& Head() const {
        return *reinterpret_cast<const RECORDSETHEAD*>(m_lpBuffer);
    }
    const st_FIELD* Field(int nField) const {
        return nField >= 0 && nField < m_nFieldNum ? m_lpFieldInfo + nField : nullptr;
    }

    // Decoding.
    int DecodeBlock();
    int DecodeFields();
    int DecodeName(UINT nOffset, char* lpszName, wchar_t* lpszWide) const;
    int EnterNames();
    int DecodeRows();
    std::uint64_t RowSpace(UINT nRowLen) const;
    int DecodeRow(const COLUMNFORMS& stForms, const BYTE* lpRow, UINT nRowLen, const BYTE* lpReadable,
                  stu_RECORD& stRecord, LPBYTE& lpSpace);
    /** Bytes of a row's arrays. */
    UINT ArraysSize() const {
        return static_cast<UINT>(m_nFieldNum) * UINT{sizeof(st_VARDATA) + sizeof(BYTE)};
    }
    /** A row without values, its arrays in `ArraysSize` bytes at a multiple of 8. */
    void InitRow(stu_RECORD& stRecord, LPBYTE lpSpace);
    /** A piece of the pool at a multiple of 8, or null. */
    LPBYTE AllocAligned(std::uint64_t nSize);
    char* AllocText(const char* lpText, UINT nLen);

    // Rows and cursor.
    stu_RECORD* Row(int nRow) const;
    void SeatCursor();
    stu_RECORD* NewRow(long long nDataID, RECORDSTATUS nStatus);
    int CopyFrom(const CMemDBRecordset& stSource);
    int CopyNewRow(const stu_RECORD& stSource);

    // Reading.
    int ReadField(int nField, const st_VARDATA*& lpValue) const;
    template <typename T>
    int ReadNumber(int nField, T& nValue);
    /** The place of a field's wide text in the current row, or null without memory. */
    wchar_t** WideText(int nField);
    int PrintField(const st_VARDATA& stValue, wchar_t*& lpszWide);
    int WidenField(const st_VARDATA& stValue, wchar_t*& lpszWide);

    // Changing.
    int CheckChange(int nField) const;
    int ConvertForField(BYTE bFieldType, const st_VARDATA& stSource, st_VARDATA& stValue);
    int SetFieldData(int nField, const st_VARDATA& stSource);
    int SetFieldText(int nField, const char* lpszText, int nLen);
    void StoreField(int nField, const st_VARDATA& stValue);

    // CSV.
    std::uint64_t CsvSize() const;
    char* WriteCsvNames(char* lpOut) const;

    // Saving.
    void CountChanges();
    int WriteObject(CBaseBson& stBson);
    int WriteFieldInfo(CBaseBson& stBson);
    int WriteRows(CBaseBson& stBson);
    int WriteRow(CBaseBson& stBson, stu_RECORD& stRecord, BYTE bOperation);

    LPBYTE m_lpBuffer = nullptr;
    int m_nBufferSize = 0;
    int m_nFieldNum = 0;
    st_FIELD* m_lpFieldInfo = nullptr;
    CFieldName2Index m_mapName2Index;
    CFieldName2IndexW m_mapNameW2Index;
    stu_RECORD* m_lpRecordset = nullptr;
    BYTE m_bAutoRelease = 1;
    BYTE m_bRecordsetCanModify = 0;
    BYTE m_bFetchData = 0;
    /** The head of the plan while it is written. */
    UPDATERECORDSETPLANBSON m_stUpdateReocrdsetBson{};
    CKestroBufferPool m_stBufferPool;
    int m_nQueryRowNum = 0;
    int m_nCurrentRowNo = 0;
    long long m_nInsertDataID = -1;
    CRecordVector m_vecOriginalRecord;
    CRecordVector m_vecInsertRecord;
    /** Null: the position is behind the rows, or in front of the row at it. */
    stu_RECORD* m_lpCurrentRecord = nullptr;
};
