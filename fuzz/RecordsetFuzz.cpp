// What must hold for any bytes taken for the block that answers a query: they are refused and leave an empty set, or
// make rows that can be walked, read, changed, copied and saved in a sound plan. The tests run it over mutated blocks;
// libFuzzer runs it for as long as one likes.

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "ExactBytes.h"
#include "PlanPrinter.h"
#include "RecordsetMaker.h"

namespace {

void Check(bool bHolds, const char* lpszWhat) {
    if (bHolds) return;
    std::fprintf(stderr, "recordset: %s\n", lpszWhat);
    std::abort();
}

/** Any answer will do, but texts have their end where their length says. */
void ReadField(CMemDBRecordset& stSet, int nField) {
    int nValue = 0, nLen = 0;
    long long llValue = 0;
    double dblValue = 0;
    tm stTime{};
    char* lpszText = nullptr;
    wchar_t* lpszWide = nullptr;
    unsigned char* lpBytes = nullptr;
    static_cast<void>(stSet.FieldValue(nField, nValue));
    static_cast<void>(stSet.FieldValue(nField, llValue));
    static_cast<void>(stSet.FieldValue(nField, dblValue));
    static_cast<void>(stSet.FieldValue(nField, stTime));
    static_cast<void>(stSet.FieldValue(nField, lpszWide));
    const bool bText = stSet.FieldValue(nField, lpszText) == ERR_OK;
    const bool bBytes = stSet.FieldValue(nField, lpBytes, nLen) == ERR_OK;
    Check(!bBytes || lpBytes[nLen] == 0, "a text without its end");
    Check(!bText || !bBytes || std::strlen(lpszText) <= static_cast<std::size_t>(nLen), "a text beyond its length");
}

/** Sets a field in one of the ways that there are. */
int SetField(CMemDBRecordset& stSet, int nField, int nWay) {
    const tm stTime{5, 4, 3, 29, 1, 100, 0, 0, 0, 0, nullptr};
    switch (nWay % 8) {
        case 0:
            return stSet.SetField(nField, "12");
        case 1:
            return stSet.SetField(nField, -7);
        case 2:
            return stSet.SetField(nField, 1LL << 40);
        case 3:
            return stSet.SetField(nField, 0.25);
        case 4:
            return stSet.SetField(nField, stTime);
        case 5:
            return stSet.SetField(nField, L"2024-02-29");
        case 6:
            return stSet.SetField(nField, reinterpret_cast<const BYTE*>("\0\xFFz"), 3);
        default:
            return stSet.SetFieldNull(nField);
    }
}

/** Reads all rows; of those to change each third goes and each other third is set, in all its fields. */
void Walk(CMemDBRecordset& stSet, bool bChange) {
    const int nRows = stSet.GetRowNum();
    stSet.MoveFirst();
    for (int nRow = 0; nRow < nRows; ++nRow, stSet.MoveNext()) {
        Check(!stSet.eof(), "fewer rows than it counts");
        for (int i = 0; i < stSet.GetFieldNum(); ++i) {
            ReadField(stSet, i);
            if (bChange && nRow % 3 == 1 && SetField(stSet, i, nRow + i) == ERR_OK) ReadField(stSet, i);
        }
        if (bChange && nRow % 3 == 2) static_cast<void>(stSet.Delete());
    }
    Check(stSet.eof(), "more rows than it counts");
}

/** Adds a row for each way of setting, and answers how many there are: none in a set that may not change. */
int AddRows(CMemDBRecordset& stSet) {
    constexpr int ROWS = 8;
    long long nDataID = 0;
    for (int nRow = 0; nRow < ROWS; ++nRow) {
        if (stSet.AddNew(nDataID) != ERR_OK) return 0;
        for (int i = 0; i < stSet.GetFieldNum(); ++i)
            if (SetField(stSet, i, nRow + i) == ERR_OK) ReadField(stSet, i);
    }
    return ROWS;
}

void Save(CMemDBRecordset& stSet) {
    CBaseBson stBson;
    EXECUTEPLANBSON* lpHead = nullptr;
    if (stSet.ParseRecordset(stBson, lpHead) != ERR_OK) return;
    const std::string strPlan = SentBytes(stBson);
    CPlanReader stPlan;
    Check(stPlan.Open(strPlan.data(), strPlan.size()) == ERR_OK, "a plan that the reader refuses");
    Check(PrintPlan(stPlan).find(" leads outside\n") == std::string::npos, "a plan that leads outside");
}

} // namespace

extern "C" int FuzzRecordset(const BYTE* lpBytes, std::size_t nLen) {
    const ExactText stBlock({reinterpret_cast<const char*>(lpBytes), nLen});
    CMemDBRecordset stSet;
    auto* const lpBlock = reinterpret_cast<LPBYTE>(stBlock.Data());
    if (stSet.AnalysisRecordset(lpBlock, stBlock.Size(), 0) != ERR_OK) {
        Check(stSet.GetRowNum() == 0 && stSet.GetFieldNum() == 0, "a refused block that left something");
        return 0;
    }
    const int nRows = stSet.GetRowNum();
    Walk(stSet, true);
    const int nNew = AddRows(stSet);
    Save(stSet);
    char* lpszCsv = nullptr;
    Check(stSet.RecordsetToCSV(lpszCsv) == ERR_OK, "no text of the set");
    delete[] lpszCsv;
    IKestroDBRecordset* lpClone = nullptr;
    Check(stSet.Clone(lpClone) == ERR_OK && lpClone->GetRowNum() == stSet.GetRowNum(), "a clone of other rows");
    Walk(static_cast<CMemDBRecordset&>(*lpClone), false);
    Save(static_cast<CMemDBRecordset&>(*lpClone));
    lpClone->Release();
    stSet.ClearState();
    Check(stSet.GetRowNum() == nRows + nNew, "a saved set of other rows");
    Walk(stSet, true);
    return 1;
}

#ifdef KESTRO_FUZZ_ENTRY
extern "C" int LLVMFuzzerTestOneInput(const BYTE* lpBytes, std::size_t nLen) {
    FuzzRecordset(lpBytes, nLen);
    return 0;
}
#endif
