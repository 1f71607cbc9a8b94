// The error catalogue: builds the Chinese and the English table from the one list of rows, and finds a code's text by
// binary search. It doesn't expand the conversions that a text may hold.

#include "ErrorCatalogue.h"

#include "Language.h"

// Both tables are constant data. A text that doesn't fit its field with the terminator doesn't compile.
#define KESTRO_ERROR(nCode, lpszChinese, lpszEnglish) {nCode, lpszChinese},
constexpr KESTROERROR_DEF g_pKestroErrorDef[ERROR_ROW_NUM] = {
#include "ErrorCatalogue.inc"
};
#undef KESTRO_ERROR

#define KESTRO_ERROR(nCode, lpszChinese, lpszEnglish) {nCode, lpszEnglish},
constexpr KESTROERROR_DEF g_pKestroErrorDefE[ERROR_ROW_NUM] = {
#include "ErrorCatalogue.inc"
};
#undef KESTRO_ERROR

#define KESTRO_ERROR(nCode, lpszChinese, lpszEnglish) \
    static_assert(SameConversions(lpszChinese, lpszEnglish), "arguments differ in error " #nCode);
#include "ErrorCatalogue.inc"
#undef KESTRO_ERROR

// A row too few would leave a code 0 at the end.
constexpr bool AscendsFromTo(const KESTROERROR_DEF (&pTable)[ERROR_ROW_NUM], int nFirst, int nLast) {
    for (int i = 1; i < ERROR_ROW_NUM; ++i)
        if (pTable[i - 1].nErrorNO >= pTable[i].nErrorNO) return false;
    return pTable[0].nErrorNO == nFirst && pTable[ERROR_ROW_NUM - 1].nErrorNO == nLast;
}
static_assert(AscendsFromTo(g_pKestroErrorDef, 0, 10074),
              "the catalogue's codes are out of order, or rows are missing");

static const char* FindText(const KESTROERROR_DEF (&pTable)[ERROR_ROW_NUM], int nError, const char* lpszUnknown) {
    int nLow = 0;
    int nHigh = ERROR_ROW_NUM - 1;
    while (nLow <= nHigh) {
        const int nProbe = (nLow + nHigh) >> 1;
        if (pTable[nProbe].nErrorNO == nError) return pTable[nProbe].lpszDescription;
        if (pTable[nProbe].nErrorNO < nError)
            nLow = nProbe + 1;
        else
            nHigh = nProbe - 1;
    }
    return lpszUnknown;
}

const char* GetErrorDescription(int nError) {
    return FindText(g_pKestroErrorDef, nError, "未知错误码");
}

const char* GetErrorDescriptionE(int nError) {
    return FindText(g_pKestroErrorDefE, nError, "Unknown error!");
}

const char* GetErrorText(int nError) {
    return IsChinese() ? GetErrorDescription(nError) : GetErrorDescriptionE(nError);
}
