// What must hold for any bytes taken for the block that answers a query: they are refused and leave an empty set, or
// make rows that can be walked, read, changed, copied and saved in a sound plan. The tests run it over mutated blocks;
// libFuzzer runs it for as long as one likes.

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "ExactBytes.h"
#include "MemDBRecordset.h"
#include "PlanPrinter.h"

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

/** Reads all and changes some: each third row goes, each other third takes a text in all its fields. */
void WalkAndChange(CMemDBRecordset& stSet, int nRows) {
    stSet.MoveFirst();
    for (int nRow = 0; nRow < nRows; ++nRow, stSet.MoveNext()) {
        Check(!stSet.eof(), "fewer rows than it counts");
        for (int i = 0; i < stSet.GetFieldNum(); ++i)
            ReadField(stSet, i);
        for (int i = 0; nRow % 3 == 1 && i < stSet.GetFieldNum(); ++i)
            static_cast<void>(stSet.SetField(i, "12"));
        if (nRow % 3 == 2) static_cast<void>(stSet.Delete());
    }
    Check(stSet.eof(), "more rows than it counts");
}

void Save(CMemDBRecordset& stSet) {
    CBaseBson stBson;
    EXECUTEPLANBSON* lpHead = nullptr;
    if (stSet.ParseRecordset(stBson, lpHead) != ERR_OK) return;
    std::string strPlan(reinterpret_cast<char*>(stBson.GetBuffer()), stBson.GetBsonDataSize());
    for (USHORT nNo = 1; nNo <= stBson.GetBufferSectionNum(); ++nNo) {
        const auto* const lpSection = reinterpret_cast<const BUFFERSECTIONHEAD*>(stBson.GetBufferSection(nNo));
        strPlan.append(reinterpret_cast<const char*>(lpSection), lpSection->m_nSectionDataSize);
    }
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
    WalkAndChange(stSet, nRows);
    Save(stSet);
    char* lpszCsv = nullptr;
    Check(stSet.RecordsetToCSV(lpszCsv) == ERR_OK, "no text of the set");
    delete[] lpszCsv;
    IKestroDBRecordset* lpClone = nullptr;
    Check(stSet.Clone(lpClone) == ERR_OK && lpClone->GetRowNum() == stSet.GetRowNum(), "a clone of other rows");
    lpClone->Release();
    stSet.ClearState();
    Check(stSet.GetRowNum() == nRows, "a saved set of other rows");
    return 1;
}

#ifdef KESTRO_FUZZ_ENTRY
extern "C" int LLVMFuzzerTestOneInput(const BYTE* lpBytes, std::size_t nLen) {
    FuzzRecordset(lpBytes, nLen);
    return 0;
}
#endif
