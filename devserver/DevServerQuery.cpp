// Queries on V$INSTANCE, answered from what their plans say: the columns in their order with their aliases, and WHERE
// over its one row. The statement's text is never looked at. All offsets come from a client: the reader checks where
// they lead, and a budget of nodes ends what leads in circles.

#include "DevServerInstance.h"

#include <cstring>

#include "KestroDecimal.h"
#include "PlanOperators.h"
#include "VarData.h"

namespace {

constexpr std::string_view INSTANCE_NAME = "V$INSTANCE";

/** Entries of a row are numbered by a byte. */
constexpr std::size_t FIELD_MOST = 255;
constexpr int CONDITION_DEPTH_MOST = 200;

struct INSTANCECOLUMN {
    std::string_view m_szName;
    int INSTANCEROW::*m_pNumber; // null in a column of texts
    std::string INSTANCEROW::*m_pText;
};

constexpr INSTANCECOLUMN COLUMNS[] = {
    {"ID", &INSTANCEROW::m_nId, nullptr},
    {"STATUS", nullptr, &INSTANCEROW::m_strStatus},
    {"PATH", nullptr, &INSTANCEROW::m_strPath},
    {"CLUSTERSTATUS", nullptr, &INSTANCEROW::m_strClusterStatus},
    {"MASTERIP", nullptr, &INSTANCEROW::m_strMasterIP},
    {"MASTERPORT", &INSTANCEROW::m_nMasterPort, nullptr},
};

const INSTANCECOLUMN* FindColumn(std::string_view szName) {
    for (const INSTANCECOLUMN& stColumn : COLUMNS)
        if (stColumn.m_szName == szName) return &stColumn;
    return nullptr;
}

/** A column of the answer. */
struct ANSWERFIELD {
    const INSTANCECOLUMN* m_lpColumn;
    std::string_view m_szTitle; // its alias, else its name
};

class CInstanceQuery {
public:
    CInstanceQuery(const CPlanReader& stPlan, const INSTANCEROW& stRow)
        : m_stPlan(stPlan), m_stRow(stRow), m_nBudget(stPlan.Main().size() / sizeof(BASECONDITIONBSON)) {}

    int Run(std::string& strBlock, int& nRows);

private:
    int CheckQuery(const QUERYEXECUTEPLANBSON& stQuery) const;
    int ReadFields(const QUERYEXECUTEPLANBSON& stQuery);
    int AddField(const EXECUTEFIELDBSON& stField);
    int Element(const st_MATHEXPBSON& stExpression, const MATHEXPELEMENTBSON*& lpElement,
                std::string_view& szData) const;

    int Where(const QUERYEXECUTEPLANBSON& stQuery, bool& bTrue);
    int Operand(BYTE bType, UINT nOffset, int nDepth, bool& bTrue);
    int Condition(UINT nOffset, int nDepth, bool& bTrue);
    int Join(const BASECONDITIONBSON& stNode, int nDepth, bool& bTrue);
    int Comparison(UINT nOffset, bool& bTrue) const;
    int Value(UINT nOffset, st_VARDATA& stValue) const;
    int Literal(BYTE bType, std::string_view szData, st_VARDATA& stValue) const;

    std::string Block(int nRows) const;
    std::string RowBytes() const;

    const CPlanReader& m_stPlan;
    const INSTANCEROW& m_stRow;
    std::vector<ANSWERFIELD> m_arField;
    /** No sound tree has more nodes than its plan has room for. */
    std::size_t m_nBudget;
};

template <typename T>
void Append(std::string& strBytes, const T& nValue) {
    strBytes.append(reinterpret_cast<const char*>(&nValue), sizeof nValue);
}

// --- what is asked ---------------------------------------------------------------------------------------------------

int CInstanceQuery::Run(std::string& strBlock, int& nRows) {
    const auto* const lpQuery = m_stPlan.Record<QUERYEXECUTEPLANBSON>(m_stPlan.Head().m_nCommandOffset);
    if (!lpQuery) return ERR_PARAMETER;
    if (const int nCode = CheckQuery(*lpQuery)) return nCode;
    if (const int nCode = ReadFields(*lpQuery)) return nCode;
    bool bTrue = true;
    if (const int nCode = Where(*lpQuery, bTrue)) return nCode;
    // The only row stands on the first page.
    nRows = bTrue && !(lpQuery->m_bPageType && lpQuery->m_nPageNo > 1);
    strBlock = Block(nRows);
    return ERR_OK;
}

int CInstanceQuery::CheckQuery(const QUERYEXECUTEPLANBSON& stQuery) const {
    const auto* const lpObject = m_stPlan.Record<OBJECTBSON>(stQuery.m_nObjectOffset);
    if (!lpObject) return ERR_PARAMETER;
    if (stQuery.m_nObjectNum != 1 || lpObject->m_bObjectType == OBJECT_SUBQUERY || lpObject->m_nDataBaseNameOffset ||
        m_stPlan.Text(lpObject->m_nObjectNameOffset) != INSTANCE_NAME)
        return ERR_NOT_DEVELOPED;
    const bool bPlain = !stQuery.m_bAggreFun && !stQuery.m_bGetQueryPath && stQuery.m_nGroupByOffset == 0 &&
                        stQuery.m_nOrderByOffset == 0 && stQuery.m_nUnionOffset == 0 &&
                        stQuery.m_nQueryPathOffset == 0 && stQuery.m_nOutFileNameOffset == 0;
    return bPlain ? ERR_OK : ERR_NOT_DEVELOPED;
}

int CInstanceQuery::ReadFields(const QUERYEXECUTEPLANBSON& stQuery) {
    for (UINT nOffset = stQuery.m_nExecuteFieldOffset; nOffset != 0;) {
        const auto* const lpField = m_stPlan.Record<EXECUTEFIELDBSON>(nOffset);
        if (!lpField) return ERR_PARAMETER;
        if (const int nCode = AddField(*lpField)) return nCode;
        if (m_arField.size() > FIELD_MOST) return ERR_FIELD_NUMBER;
        nOffset = lpField->m_nNextOffset;
    }
    return m_arField.empty() ? ERR_PARAMETER : ERR_OK;
}

int CInstanceQuery::AddField(const EXECUTEFIELDBSON& stField) {
    const auto* const lpExpression = m_stPlan.Record<st_MATHEXPBSON>(stField.m_nExpOffset);
    if (!lpExpression) return ERR_PARAMETER;
    const MATHEXPELEMENTBSON* lpElement = nullptr;
    std::string_view szName;
    if (const int nCode = Element(*lpExpression, lpElement, szName)) return nCode;
    if (stField.m_bHide || lpElement->m_bDataSource != SOURCE_FIELD || lpElement->m_bJsonField != JSON_FIELD_NONE)
        return ERR_NOT_DEVELOPED;
    if (lpElement->m_bAllField) {
        for (const INSTANCECOLUMN& stColumn : COLUMNS)
            m_arField.push_back({&stColumn, stColumn.m_szName});
        return ERR_OK;
    }
    const INSTANCECOLUMN* const lpColumn = FindColumn(szName);
    if (!lpColumn) return ERR_FIELD_NOT_EXIST;
    std::string_view szTitle = lpColumn->m_szName;
    if (stField.m_nExpTitleOffset != 0) szTitle = m_stPlan.Text(stField.m_nExpTitleOffset);
    if (!szTitle.data()) return ERR_PARAMETER;
    m_arField.push_back({lpColumn, szTitle});
    return ERR_OK;
}

// An expression that is one element, and its data without the terminator.
int CInstanceQuery::Element(const st_MATHEXPBSON& stExpression, const MATHEXPELEMENTBSON*& lpElement,
                            std::string_view& szData) const {
    if (stExpression.m_bOperator != OP_NONE || stExpression.m_bExpressionType1 != EXP_ELEMENT ||
        stExpression.m_bExpressionType2 != EXP_NONE)
        return ERR_NOT_DEVELOPED;
    constexpr std::size_t TAIL = offsetof(MATHEXPELEMENTBSON, m_bDataBuffer);
    const UINT nOffset = stExpression.m_nExpOffset1;
    // A record without data may end where its tail begins.
    const BYTE* const lpBytes = m_stPlan.Bytes(nOffset, TAIL);
    lpElement = reinterpret_cast<const MATHEXPELEMENTBSON*>(lpBytes);
    if (!lpElement || lpElement->m_nDataLen < 0) return ERR_PARAMETER;
    const std::size_t nLen = static_cast<std::size_t>(lpElement->m_nDataLen);
    if (!m_stPlan.Bytes(nOffset, TAIL + nLen)) return ERR_PARAMETER;
    szData = {reinterpret_cast<const char*>(lpBytes) + TAIL, nLen};
    if (lpElement->m_bDataSource == SOURCE_FIELD) szData = szData.substr(0, szData.find('\0'));
    return ERR_OK;
}

// --- WHERE -----------------------------------------------------------------------------------------------------------

int CInstanceQuery::Where(const QUERYEXECUTEPLANBSON& stQuery, bool& bTrue) {
    if (stQuery.m_nConditionOffset == 0) return ERR_OK;
    const auto* const lpConditions = m_stPlan.Record<COMMONCONDITION>(stQuery.m_nConditionOffset);
    if (!lpConditions) return ERR_PARAMETER;
    if (lpConditions->m_nHavingCondOffset || lpConditions->m_nConnOffset || lpConditions->m_nNodeNumber ||
        lpConditions->m_bJoin != WHERE_PLAIN)
        return ERR_NOT_DEVELOPED;
    return lpConditions->m_nWhereOffset ? Condition(lpConditions->m_nWhereOffset, 0, bTrue) : ERR_OK;
}

int CInstanceQuery::Operand(BYTE bType, UINT nOffset, int nDepth, bool& bTrue) {
    if (bType == CONDITION_NODE) return Condition(nOffset, nDepth + 1, bTrue);
    return bType == CONDITION_COMPARE ? Comparison(nOffset, bTrue) : ERR_PARAMETER;
}

// Long chains of AND or OR hang on their left sides, which are gone down in a loop; only right sides nest.
int CInstanceQuery::Condition(UINT nOffset, int nDepth, bool& bTrue) {
    std::vector<const BASECONDITIONBSON*> arSpine;
    do {
        if (nDepth > CONDITION_DEPTH_MOST || m_nBudget == 0) return ERR_SELECT_CONDITION;
        --m_nBudget;
        arSpine.push_back(m_stPlan.Record<BASECONDITIONBSON>(nOffset));
        if (!arSpine.back()) return ERR_PARAMETER;
        nOffset = arSpine.back()->m_nConditionOffset1;
    } while (arSpine.back()->m_bConditionType1 == CONDITION_NODE);
    if (const int nCode = Operand(arSpine.back()->m_bConditionType1, nOffset, nDepth, bTrue)) return nCode;
    for (; !arSpine.empty(); arSpine.pop_back())
        if (const int nCode = Join(*arSpine.back(), nDepth, bTrue)) return nCode;
    return ERR_OK;
}

// The left side of a node is worked out already.
int CInstanceQuery::Join(const BASECONDITIONBSON& stNode, int nDepth, bool& bTrue) {
    if (stNode.m_bLogicOperator != LOGIC_NONE) {
        if (stNode.m_bLogicOperator != LOGIC_AND && stNode.m_bLogicOperator != LOGIC_OR) return ERR_PARAMETER;
        bool bSecond = false;
        if (const int nCode = Operand(stNode.m_bConditionType2, stNode.m_nConditionOffset2, nDepth, bSecond))
            return nCode;
        bTrue = stNode.m_bLogicOperator == LOGIC_AND ? bTrue && bSecond : bTrue || bSecond;
    }
    bTrue = bTrue != (stNode.m_bLogicNot != 0);
    return ERR_OK;
}

int CInstanceQuery::Comparison(UINT nOffset, bool& bTrue) const {
    const auto* const lpCompare = m_stPlan.Record<COMPAREEXPBSON>(nOffset);
    if (!lpCompare) return ERR_PARAMETER;
    bTrue = false;
    if (lpCompare->m_bOperator == COMPARE_FALSE) return ERR_OK;
    if (lpCompare->m_bOperator < OP_EQUAL || lpCompare->m_bOperator > OP_LESS_EQUAL ||
        lpCompare->m_bExpressionType2 == EXPCLASS_IN || lpCompare->m_bExpressionType2 == EXPCLASS_SUBQUERY)
        return ERR_NOT_DEVELOPED;
    st_VARDATA stFirst, stSecond;
    if (const int nCode = Value(lpCompare->m_nMathExpOffset1, stFirst)) return nCode;
    if (const int nCode = Value(lpCompare->m_nMathExpOffset2, stSecond)) return nCode;
    int nResult = 0;
    if (const int nCode = CompareData(stFirst, stSecond, lpCompare->m_bOperator, nResult)) return nCode;
    bTrue = (nResult != 0) != (lpCompare->m_bLogicNot != 0);
    return ERR_OK;
}

int CInstanceQuery::Value(UINT nOffset, st_VARDATA& stValue) const {
    const auto* const lpExpression = m_stPlan.Record<st_MATHEXPBSON>(nOffset);
    if (!lpExpression) return ERR_PARAMETER;
    const MATHEXPELEMENTBSON* lpElement = nullptr;
    std::string_view szData;
    if (const int nCode = Element(*lpExpression, lpElement, szData)) return nCode;
    if (lpElement->m_bDataSource == SOURCE_LITERAL) return Literal(lpElement->m_bDataType, szData, stValue);
    if (lpElement->m_bDataSource != SOURCE_FIELD || lpElement->m_bAllField) return ERR_NOT_DEVELOPED;
    const INSTANCECOLUMN* const lpColumn = FindColumn(szData);
    if (!lpColumn) return ERR_FIELD_NOT_EXIST;
    if (lpColumn->m_pNumber)
        stValue.SetData(m_stRow.*lpColumn->m_pNumber);
    else
        return Literal(VT_VARCHAR, m_stRow.*lpColumn->m_pText, stValue);
    return ERR_OK;
}

// Texts stay where they are: the value doesn't outlive the plan or the row.
int CInstanceQuery::Literal(BYTE bType, std::string_view szData, st_VARDATA& stValue) const {
    switch (bType) {
        case VT_DECIMAL:
            return CKestroDecimal::LoadBin(reinterpret_cast<const BYTE*>(szData.data()),
                                           static_cast<int>(szData.size()), &stValue);
        case VT_CHAR:
        case VT_VARCHAR:
            if (szData.ends_with('\0')) szData.remove_suffix(1);
            stValue.AttachString(const_cast<char*>(szData.data()), static_cast<int>(szData.size()), 0);
            return ERR_OK;
        default:
            return ERR_NOT_DEVELOPED;
    }
}

// --- the answer ------------------------------------------------------------------------------------------------------

std::string CInstanceQuery::RowBytes() const {
    std::string strEntries;
    for (std::size_t i = 0; i < m_arField.size(); ++i) {
        const INSTANCECOLUMN& stColumn = *m_arField[i].m_lpColumn;
        strEntries += static_cast<char>(i);
        if (stColumn.m_pNumber) {
            Append(strEntries, m_stRow.*stColumn.m_pNumber);
            continue;
        }
        const std::string& strText = m_stRow.*stColumn.m_pText;
        const bool bLong = strText.size() >= 255;
        strEntries += static_cast<char>(bLong ? 255 : strText.size());
        if (bLong) Append(strEntries, static_cast<UINT>(strText.size()));
        strEntries += strText;
    }
    std::string strRow;
    Append(strRow, RECORDSETROW{static_cast<UINT>(sizeof(RECORDSETROW) + strEntries.size()), 1});
    return strRow + strEntries;
}

std::string CInstanceQuery::Block(int nRows) const {
    const std::size_t nNames = sizeof(RECORDSETHEAD) + m_arField.size() * sizeof(RECORDFIELD);
    std::string strFields, strNames(INSTANCE_NAME);
    strNames += '\0';
    const auto AddName = [&](std::string_view szName) {
        const UINT nOffset = static_cast<UINT>(nNames + strNames.size());
        strNames.append(szName) += '\0';
        return nOffset;
    };
    for (const ANSWERFIELD& stField : m_arField) {
        RECORDFIELD stRecord{};
        stRecord.m_bFieldType = stField.m_lpColumn->m_pNumber ? VT_INT : VT_VARCHAR;
        stRecord.m_bMaxLen = stField.m_lpColumn->m_pNumber ? sizeof(int) : 255;
        stRecord.m_bFieldNameType = 1;
        stRecord.m_bObjectType = OBJECT_TABLE;
        // The two change places: what is named after the result's name becomes the title. Intended.
        stRecord.m_nRsNameOffset = AddName(stField.m_lpColumn->m_szName);
        stRecord.m_nTitleOffset = AddName(stField.m_szTitle);
        stRecord.m_nObjectOffset = static_cast<UINT>(nNames);
        Append(strFields, stRecord);
    }
    RECORDSETHEAD stHead{};
    stHead.m_nFieldNum = static_cast<UINT>(m_arField.size());
    stHead.m_nRowNum = static_cast<UINT>(nRows);
    stHead.m_nRecordBufferOffset = static_cast<UINT>(nNames + strNames.size());
    std::string strBlock;
    Append(strBlock, stHead);
    return strBlock + strFields + strNames + (nRows ? RowBytes() : "");
}

} // namespace

int QueryInstance(const CPlanReader& stPlan, const INSTANCEROW& stRow, std::string& strBlock, int& nRows) {
    return CInstanceQuery(stPlan, stRow).Run(strBlock, nRows);
}
