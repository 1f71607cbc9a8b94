// The conversion matrix: what becomes of a value of one type that is wanted as another. The flavours share it and
// differ in the cells listed behind it. The kernels stand in VarDataKernel.cpp, VarDataText.cpp and VarDataChange.cpp.

#include "VarDataConvert.h"

#include <array>

#include "CommonDataDef.h"
#include "IntegerCut.h"
#include "VarDataKernel.h"

namespace {

// ---- Sources: the rows

enum SOURCECLASS : BYTE {
    CS_EMPTY,
    CS_NULL,
    CS_INT,
    CS_BIGINT,
    CS_DOUBLE,
    CS_DATETIME,
    CS_DECIMAL,
    CS_HEXSTR,
    CS_TEXT,
    /** The text of a hexadecimal literal, for the flavours that read it as a number. */
    CS_HEXTEXT,
    CS_DATE,
    CS_TIME,
    CS_BLOB,
    CS_ANY,
    CS_OTHER,
    CS_COUNT,
};

constexpr std::array<SOURCECLASS, 256> SOURCE_CLASSES = [] {
    std::array<SOURCECLASS, 256> arClass{};
    arClass.fill(CS_OTHER);
    arClass[VT_EMPTY] = CS_EMPTY;
    arClass[VT_NULL] = CS_NULL;
    arClass[VT_INT] = CS_INT;
    arClass[VT_BIGINT] = CS_BIGINT;
    arClass[VT_DOUBLE] = CS_DOUBLE;
    arClass[VT_DATETIME] = CS_DATETIME;
    arClass[VT_DECIMAL] = CS_DECIMAL;
    arClass[VT_HEXSTR] = CS_HEXSTR;
    arClass[VT_VARCHAR] = CS_TEXT;
    arClass[VT_DATE] = CS_DATE;
    arClass[VT_TIME] = CS_TIME;
    arClass[VT_BLOB] = CS_BLOB;
    arClass[VT_ANY] = CS_ANY;
    return arClass;
}();

// ---- Targets: the columns

enum TARGETCLASS : BYTE {
    CT_INT,
    CT_BIGINT,
    CT_DOUBLE,
    CT_DATETIME,
    CT_DECIMAL,
    CT_TEXT,
    CT_BLOB,
    CT_DATE,
    CT_TIME,
    /** The columns of the matrix end here; what follows is the flavours' own. */
    CT_MATRIX,
    CT_ENUM = CT_MATRIX,
    CT_SET,
    /** All types that a flavour doesn't know. */
    CT_OTHER,
    CT_COUNT,
};

/** Sets of flavours, sources and targets. */
using CLASSSET = unsigned;

constexpr CLASSSET Set(auto... nClass) {
    return ((1U << nClass) | ...);
}

constexpr CLASSSET EVERY = ~0U;
constexpr CLASSSET VALUE = Set(FLAVOUR_VALUE);
constexpr CLASSSET FIELD = Set(FLAVOUR_FIELD);
constexpr CLASSSET NUMBER = Set(FLAVOUR_NUMBER);
constexpr CLASSSET SAFE = Set(FLAVOUR_SAFE);
constexpr CLASSSET FORCED = Set(FLAVOUR_FORCED);
constexpr CLASSSET COLUMN = Set(FLAVOUR_COLUMN);
constexpr CLASSSET TEXT = Set(FLAVOUR_TEXT);
constexpr CLASSSET IN_PLACE = SAFE | FORCED | COLUMN;

struct TARGETTYPE {
    BYTE m_bType;
    TARGETCLASS m_nTarget;
    /** The flavours that know the type. */
    CLASSSET m_nFlavours;
};

constexpr TARGETTYPE TARGET_TYPES[] = {
    {VT_INT, CT_INT, EVERY},
    {VT_TINYINT, CT_INT, FIELD | COLUMN | TEXT},
    {VT_SMALLINT, CT_INT, FIELD | COLUMN | TEXT},
    {VT_BIGINT, CT_BIGINT, EVERY},
    {VT_DOUBLE, CT_DOUBLE, EVERY},
    {VT_DATETIME, CT_DATETIME, EVERY},
    {VT_DECIMAL, CT_DECIMAL, EVERY},
    {VT_CHAR, CT_TEXT, FIELD | IN_PLACE | TEXT},
    {VT_VARCHAR, CT_TEXT, VALUE | FIELD | IN_PLACE | TEXT},
    {VT_CLOB, CT_TEXT, FIELD | IN_PLACE | TEXT},
    {VT_BLOB, CT_BLOB, VALUE | FIELD | IN_PLACE},
    {VT_DATE, CT_DATE, EVERY},
    {VT_TIME, CT_TIME, EVERY},
    {VT_ENUM, CT_ENUM, COLUMN},
    {VT_SET, CT_SET, COLUMN},
};

constexpr auto TARGETS = [] {
    std::array<std::array<TARGETCLASS, 256>, FLAVOUR_COUNT> arTargets{};
    for (unsigned nFlavour = 0; nFlavour < FLAVOUR_COUNT; ++nFlavour) {
        arTargets[nFlavour].fill(CT_OTHER);
        for (const TARGETTYPE& stRow : TARGET_TYPES)
            if (stRow.m_nFlavours >> nFlavour & 1) arTargets[nFlavour][stRow.m_bType] = stRow.m_nTarget;
    }
    return arTargets;
}();

// ---- The matrix

constexpr CONVERTKERNEL HexToInt = HexVia<DecToInt>;
constexpr CONVERTKERNEL HexToBig = HexVia<DecToBig>;
constexpr CONVERTKERNEL HexToDbl = HexVia<NumToDbl>;
constexpr CONVERTKERNEL HexToDec = HexVia<Keep>;
constexpr CONVERTKERNEL HexToDate = HexVia<NumToDate>;
constexpr CONVERTKERNEL HexToTime = HexVia<NumToTime>;
constexpr CONVERTKERNEL BytToInt = BytesVia<BigToInt>;
constexpr CONVERTKERNEL BytToBig = BytesVia<Keep>;
constexpr CONVERTKERNEL BytToDbl = BytesVia<NumToDbl>;
constexpr CONVERTKERNEL BytToDec = BytesVia<BigToDec>;
constexpr CONVERTKERNEL DayToInt = DayVia<Keep>;
constexpr CONVERTKERNEL DayToBig = DayVia<IntToBig>;
constexpr CONVERTKERNEL DayToDbl = DayVia<NumToDbl>;
constexpr CONVERTKERNEL DayToDec = DayVia<IntToDec>;

struct MATRIXROW {
    SOURCECLASS m_nSource;
    std::array<CONVERTKERNEL, CT_MATRIX> m_arKernel;

    /** A row without a kernel for each target doesn't compile. */
    template <typename... KERNEL>
    requires(sizeof...(KERNEL) == CT_MATRIX) constexpr MATRIXROW(SOURCECLASS nSource, KERNEL... lpfnKernel)
        : m_nSource(nSource), m_arKernel{lpfnKernel...} {}
};

// To be read downward as well.
// clang-format off
constexpr MATRIXROW MATRIX[] = {
    //            INT       BIGINT    DOUBLE    DATETIME    DECIMAL   TEXT      BLOB     DATE       TIME
    {CS_EMPTY,    Nothing,  Nothing,  Nothing,  Nothing,    Nothing,  Nothing,  Nothing, Nothing,   Nothing},
    {CS_NULL,     Nothing,  Nothing,  Nothing,  Nothing,    Nothing,  Nothing,  Nothing, Nothing,   Nothing},
    {CS_INT,      Keep,     IntToBig, NumToDbl, NumToDbl,   IntToDec, NumToTxt, Refuse,  NumToDate, SecToTime},
    {CS_BIGINT,   BigToInt, Keep,     NumToDbl, NumToDbl,   BigToDec, NumToTxt, Refuse,  NumToDate, SecToTime},
    {CS_DOUBLE,   DblToInt, DblToBig, Keep,     NumToDbl,   DblToDec, NumToTxt, Refuse,  NumToDate, NumToTime},
    {CS_DATETIME, DblToInt, DblToBig, NumToDbl, Keep,       DblToDec, NumToTxt, Refuse,  NumToDate, NumToTime},
    {CS_DECIMAL,  DecToInt, DecToBig, NumToDbl, NumToDbl,   Keep,     NumToTxt, Refuse,  NumToDate, NumToTime},
    {CS_HEXSTR,   HexToInt, HexToBig, HexToDbl, HexToDbl,   HexToDec, HexToTxt, Refuse,  HexToDate, HexToTime},
    {CS_TEXT,     TxtToInt, TxtToBig, TxtToDbl, TxtToStamp, TxtToDec, Keep,     Refuse,  TxtToDate, TxtToTime},
    {CS_HEXTEXT,  BytToInt, BytToBig, BytToDbl, TxtToStamp, BytToDec, Keep,     Refuse,  TxtToDate, TxtToTime},
    {CS_DATE,     DayToInt, DayToBig, DayToDbl, DayToDbl,   DayToDec, NumToTxt, Refuse,  Keep,      Refuse},
    {CS_TIME,     Refuse,   Refuse,   NumToDbl, NumToDbl,   Refuse,   NumToTxt, Refuse,  Refuse,    Keep},
    {CS_BLOB,     Refuse,   Refuse,   Refuse,   Refuse,     Refuse,   Refuse,   Keep,    Refuse,    Refuse},
    {CS_ANY,      Refuse,   Refuse,   Refuse,   Refuse,     Refuse,   Refuse,   Refuse,  Refuse,    Refuse},
    {CS_OTHER,    Refuse,   Refuse,   Refuse,   Refuse,     Refuse,   Refuse,   Refuse,  Refuse,    Refuse},
};
// clang-format on

// ---- Where the flavours differ from it

struct DEVIATION {
    CLASSSET m_nFlavours;
    CLASSSET m_nSources;
    CLASSSET m_nTargets;
    CONVERTKERNEL m_lpfnKernel;
};

constexpr CLASSSET NO_VALUE = Set(CS_EMPTY, CS_NULL);
constexpr CLASSSET MATRIX_TARGETS = Set(CT_MATRIX) - 1;
constexpr CLASSSET PRINTED = Set(CS_INT, CS_BIGINT, CS_DOUBLE, CS_DATETIME, CS_DECIMAL, CS_DATE, CS_TIME);

constexpr DEVIATION DEVIATIONS[] = {
    // NULL comes first: it is NULL whatever the target. In place a target that isn't known changes nothing.
    {VALUE | FIELD | NUMBER, NO_VALUE, Set(CT_OTHER), Nothing},
    {NUMBER, EVERY & ~NO_VALUE, Set(CT_OTHER), Refuse},
    {TEXT, EVERY, Set(CT_OTHER), Refuse},
    {FIELD, Set(CS_ANY), MATRIX_TARGETS, Keep},

    {NUMBER, Set(CS_DECIMAL), Set(CT_BIGINT), DecToNear},
    {NUMBER, Set(CS_HEXSTR), Set(CT_BIGINT), HexVia<DecToNear>},
    {FIELD, Set(CS_DECIMAL), Set(CT_TIME), DecToSec},
    {FIELD, Set(CS_HEXSTR), Set(CT_TIME), HexVia<DecToSec>},

    {IN_PLACE, Set(CS_INT, CS_BIGINT), Set(CT_TIME), Refuse},
    {IN_PLACE, Set(CS_TEXT), Set(CT_BLOB), TxtToBlob},
    {IN_PLACE, Set(CS_BLOB), Set(CT_TEXT), BlobToTxt},
    {COLUMN, PRINTED, Set(CT_BLOB), NumToBlob},
    {COLUMN, Set(CS_HEXSTR), Set(CT_BLOB), HexToBlob},

    {SAFE, Set(CS_BIGINT), Set(CT_INT), BigToSafeInt},
    {SAFE, Set(CS_DOUBLE, CS_DATETIME), Set(CT_INT), DblToSafeInt},
    {SAFE, Set(CS_DOUBLE, CS_DATETIME), Set(CT_BIGINT), DblToSafeBig},
    {SAFE, Set(CS_DECIMAL), Set(CT_INT), DecToSafeInt},
    {SAFE, Set(CS_DECIMAL), Set(CT_BIGINT), DecToSafeBig},
    {SAFE, Set(CS_HEXSTR), Set(CT_INT), HexVia<DecToSafeInt>},
    {SAFE, Set(CS_HEXSTR), Set(CT_BIGINT), HexVia<DecToSafeBig>},
    {FORCED, Set(CS_DECIMAL), Set(CT_INT), DecToForcedInt},
    {FORCED, Set(CS_DECIMAL), Set(CT_BIGINT), DecToForcedBig},
    {FORCED, Set(CS_HEXSTR), Set(CT_INT), HexVia<DecToForcedInt>},
    {FORCED, Set(CS_HEXSTR), Set(CT_BIGINT), HexVia<DecToForcedBig>},

    {COLUMN, EVERY, Set(CT_ENUM), Refuse},
    {COLUMN, Set(CS_NULL), Set(CT_ENUM), Nothing},
    {COLUMN, Set(CS_INT), Set(CT_ENUM), NumToEnum<Keep>},
    {COLUMN, Set(CS_BIGINT), Set(CT_ENUM), NumToEnum<BigToInt>},
    {COLUMN, Set(CS_DOUBLE), Set(CT_ENUM), NumToEnum<DblToInt>},
    {COLUMN, Set(CS_DECIMAL), Set(CT_ENUM), NumToEnum<DecToInt>},
    {COLUMN, Set(CS_TEXT), Set(CT_ENUM), TxtToEnum},
    {COLUMN, NO_VALUE, Set(CT_SET), Nothing},
    {COLUMN, Set(CS_INT), Set(CT_SET), IntToSet},
    {COLUMN, Set(CS_TEXT), Set(CT_SET), TxtToSet},
};

using KERNELMATRIX = std::array<std::array<CONVERTKERNEL, CT_COUNT>, CS_COUNT>;

/** A flavour's own matrix; a column without a rule keeps what it is given. */
constexpr KERNELMATRIX FlavourMatrix(unsigned nFlavour) {
    KERNELMATRIX arKernel{};
    for (const MATRIXROW& stRow : MATRIX)
        for (unsigned nTarget = 0; nTarget < CT_COUNT; ++nTarget)
            arKernel[stRow.m_nSource][nTarget] = nTarget < CT_MATRIX ? stRow.m_arKernel[nTarget] : Keep;
    for (const DEVIATION& stRow : DEVIATIONS) {
        if (!(stRow.m_nFlavours >> nFlavour & 1)) continue;
        for (unsigned nSource = 0; nSource < CS_COUNT; ++nSource)
            for (unsigned nTarget = 0; nTarget < CT_COUNT; ++nTarget)
                if (stRow.m_nSources >> nSource & stRow.m_nTargets >> nTarget & 1)
                    arKernel[nSource][nTarget] = stRow.m_lpfnKernel;
    }
    return arKernel;
}

constexpr auto KERNELS = [] {
    std::array<KERNELMATRIX, FLAVOUR_COUNT> arKernels{};
    for (unsigned nFlavour = 0; nFlavour < FLAVOUR_COUNT; ++nFlavour)
        arKernels[nFlavour] = FlavourMatrix(nFlavour);
    return arKernels;
}();

constexpr bool HasEachSource() {
    unsigned nRow = 0;
    for (const MATRIXROW& stRow : MATRIX)
        if (stRow.m_nSource != nRow++) return false;
    return nRow == CS_COUNT;
}
static_assert(HasEachSource(), "one row a source, in order");

SOURCECLASS ClassOf(CONVERTFLAVOUR nFlavour, const st_VARDATA& st) {
    const SOURCECLASS nClass = SOURCE_CLASSES[st.m_vt];
    if (nClass != CS_TEXT && nClass != CS_HEXSTR) return nClass;
    if (!st.m_lpszValue) return CS_NULL;
    const bool bReadsBytes = nFlavour == FLAVOUR_FIELD || nFlavour == FLAVOUR_NUMBER;
    return nClass == CS_TEXT && bReadsBytes && st.m_bCharset == KESTRO_CHARSET_HEX ? CS_HEXTEXT : nClass;
}

} // namespace

void TakeResult(st_VARDATA& stTarget, const st_VARDATA& stResult) {
    const bool bOwner = stTarget.OwnsBuffer();
    const bool bOwnBuffer = bOwner && stResult.HasOwnerFlag() && stResult.m_lpszValue == stTarget.m_lpszValue;
    if (bOwner && !bOwnBuffer) stTarget.Free();
    stTarget.m_vt = stResult.m_vt;
    constexpr std::size_t nFace = offsetof(st_VARDATA, m_bSign);
    std::memcpy(&stTarget.m_bSign, &stResult.m_bSign, offsetof(st_VARDATA, m_nDataCount) - nFace);
    if (bOwnBuffer) stTarget.m_bAutoRelease = 1;
}

int ConvertValue(CONVERTFLAVOUR nFlavour, const CONVERSION& stConversion, st_VARDATA& stTarget) {
    const TARGETCLASS nTarget = TARGETS[nFlavour][stConversion.m_bType];
    if ((nTarget == CT_ENUM || nTarget == CT_SET) && !stConversion.m_lpField) return ERR_NULL_POINTER;
    const CONVERTKERNEL lpfnKernel = KERNELS[nFlavour][ClassOf(nFlavour, stConversion.m_stSource)][nTarget];
    if (lpfnKernel == Keep && !stConversion.m_stSource.OwnsBuffer() && !stTarget.OwnsBuffer()) {
        stTarget.SetData(nullptr, stConversion.m_stSource);
        return ERR_OK;
    }
    if (lpfnKernel == Keep && &stConversion.m_stSource == &stTarget) return ERR_OK;
    st_VARDATA stResult;
    stResult.m_nStrLen = 0;
    stResult.m_nStringDataOffset = 0;
    const int nResult = lpfnKernel(stConversion, stResult);
    if (nResult == ERR_OK || nResult == ERR_DATA_TRUNCATED) TakeResult(stTarget, stResult);
    return nResult;
}

int st_VARDATA::GetCompatibleValue(CKestroBufferPool* lpPool, unsigned char bType, st_VARDATA& stOut,
                                   bool bRound) const {
    return ConvertValue(FLAVOUR_VALUE, {*this, lpPool, bType, bRound, nullptr}, stOut);
}

int st_VARDATA::GetCompatableFieldValue(CKestroBufferPool* lpPool, unsigned char bType, st_VARDATA& stOut,
                                        bool bRound) const {
    return ConvertValue(FLAVOUR_FIELD, {*this, lpPool, bType, bRound, nullptr}, stOut);
}

int st_VARDATA::GetCompatibleNumberValue(unsigned char bType, st_VARDATA& stOut, bool bRound) const {
    return ConvertValue(FLAVOUR_NUMBER, {*this, nullptr, bType, bRound, nullptr}, stOut);
}

int st_VARDATA::GetCompatibleInt() const {
    switch (m_vt) {
        case VT_DOUBLE:
        case VT_DATETIME:
        case VT_DATE:
            return CutToInt(GetCompatibleDouble());
        case VT_DECIMAL:
            return CKestroDecimal::Convert2Int(this, 1);
        default:
            return m_nValue;
    }
}

long long st_VARDATA::GetCompatibleBigInt() const {
    switch (m_vt) {
        case VT_INT:
            return m_nValue;
        case VT_DOUBLE:
        case VT_DATETIME:
        case VT_DATE:
            return CutToInt64(GetCompatibleDouble());
        case VT_DECIMAL:
            return CKestroDecimal::Convert2Int64(this, 1);
        default:
            return m_llValue;
    }
}

double st_VARDATA::GetCompatibleDouble() const {
    double dblValue;
    switch (m_vt) {
        case VT_INT:
            return m_nValue;
        case VT_BIGINT:
            return static_cast<double>(m_llValue);
        case VT_TIME:
            CKestroDate::ConvertVariantTime(dblValue, m_stTime);
            return dblValue;
        case VT_DATE:
            // A date that the calendar doesn't have reads as 0.
            (void)CKestroDate::ConvertVariantTime(dblValue, m_stDate);
            return dblValue;
        case VT_DECIMAL:
            return CKestroDecimal::Convert2Double(this);
        default:
            return m_dblValue;
    }
}
