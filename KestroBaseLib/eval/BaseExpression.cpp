// The value of an expression: a walk over its tree from the root, in which each node computes its sides first.
// Operators and functions stand in their tables; what a tree is made of is checked by its reader.

#include "BaseExpression.h"

#include <array>
#include <new>

#include "BaseExpressionOperator.h"
#include "BaseExpressionReader.h"
#include "KestroDecimal.h"

namespace {

/** The functions that are computed here, in runs of codes. Some of them their form refuses then. */
constexpr BYTE FOLDABLE_RUNS[][2] = {
    {FN_SYSDATE, FN_SYSDATE},
    {FN_NEXTVAL, FN_TO_DATE},
    {FN_DBTIMEZONE, FN_DBTIMEZONE},
    {FN_ABS, FN_UPPER},
    {FN_REPLACE, FN_REPLACE},
    {FN_CHAR_LENGTH, FN_LENGTH},
    {FN_ISNULL, FN_EXP},
    {FN_SPECIAL_LOG, FN_BIT_LENGTH},
    {FN_FIND_IN_SET, FN_FORMAT},
    {FN_CONVERT, FN_CAST},
    {FN_CRC32, FN_CRC32},
    {FN_YEARWEEK, FN_YEARWEEK},
    {FN_XML_EXTRACT, FN_XML_EXTRACT},
};

constexpr auto FOLDABLE = [] {
    std::array<bool, 256> arFoldable{};
    for (const auto& arRun : FOLDABLE_RUNS)
        for (int nCode = arRun[0]; nCode <= arRun[1]; ++nCode)
            arFoldable[static_cast<std::size_t>(nCode)] = true;
    return arFoldable;
}();

/** The arguments of one call, in the pool; what they own goes with this object. */
class CArguments {
public:
    CArguments() = default;
    CArguments(const CArguments&) = delete;
    CArguments& operator=(const CArguments&) = delete;
    ~CArguments() {
        for (int i = 0; i < Num(); ++i)
            Value(i).~st_VARDATA();
    }

    int Allocate(CKestroBufferPool& stPool, const FUNCTIONPARAMLIST& stList) {
        const UINT nNum = std::max<UINT>(stList.m_bNum, 1);
        m_lpList = static_cast<st_MULTIVARDATA*>(stPool.AllocBuffer(st_MULTIVARDATA::Size(nNum)));
        if (!m_lpList) return ERR_MEMORY;
        m_lpList->m_bNum = stList.m_bNum;
        m_bCombinedType = stList.m_bCombinedType;
        for (int i = 0; i < Num(); ++i)
            new (&Value(i)) st_VARDATA;
        return ERR_OK;
    }
    int Num() const { return m_lpList ? m_lpList->m_bNum : 0; }
    st_VARDATA& Value(int nIndex) { return m_lpList->m_arrVarData[nIndex]; }
    st_VARDATA* Values() { return m_lpList ? m_lpList->m_arrVarData : nullptr; }
    BYTE CombinedType() const { return m_bCombinedType; }

private:
    st_MULTIVARDATA* m_lpList = nullptr;
    BYTE m_bCombinedType = 0;
};

class CExpressionValue {
public:
    explicit CExpressionValue(CBaseBson& stBson) : m_stReader(stBson) {}

    int Expression(const st_MATHEXPBSON& stNode, int nDepth, st_VARDATA& stResult) {
        // A deeper tree has a value too, but not one that is computed here.
        if (nDepth >= CBaseExpression::DEPTH_LIMIT) return ERR_FUNCTION_TYPE;
        if (!m_stReader.Enter(nDepth)) return ERR_EXPRESSION;
        return stNode.m_bExpressionType1 == EXP_PARAM_LIST ? Call(stNode, nDepth, stResult)
                                                           : Operator(stNode, nDepth, stResult);
    }

private:
    CKestroBufferPool* Pool() const { return m_stReader.Bson().GetBufferPool(); }

    int Operator(const st_MATHEXPBSON& stNode, int nDepth, st_VARDATA& stResult) {
        st_VARDATA stLeft, stRight;
        if (const int nCode = Operand(stNode.m_bExpressionType1, stNode.m_nExpOffset1, nDepth, stLeft)) return nCode;
        if (const int nCode = RightOperand(stNode, nDepth, stRight)) return nCode;
        if (const OPERATORFUNCTION lpfnCompute = GetOperatorFunction(stNode.m_bOperator))
            return lpfnCompute(Pool(), stLeft, stRight, stResult);
        CArguments stNone;
        return Function(stNode.m_bOperator, stNone, stResult);
    }

    int Call(const st_MATHEXPBSON& stNode, int nDepth, st_VARDATA& stResult) {
        CArguments stArguments;
        if (const int nCode = Arguments(stNode.m_nExpOffset1, nDepth, stArguments)) return nCode;
        st_VARDATA stRight;
        if (const int nCode = RightOperand(stNode, nDepth, stRight)) return nCode;
        // A list in front of an operator is no operand.
        if (const OPERATORFUNCTION lpfnCompute = GetOperatorFunction(stNode.m_bOperator))
            return lpfnCompute(Pool(), st_VARDATA(), stRight, stResult);
        return Function(stNode.m_bOperator, stArguments, stResult);
    }

    int Function(BYTE bCode, CArguments& stArguments, st_VARDATA& stResult) {
        if (!FOLDABLE[bCode]) return ERR_FUNCTION_TYPE;
        if (CBaseExpression::GetFunParamNum(bCode) > stArguments.Num()) return ERR_EXPRESSION;
        return CBaseExpression::GetFunctionVal(&m_stReader.Bson(), bCode, stArguments.CombinedType(),
                                               stArguments.Values(), stResult);
    }

    int Arguments(UINT nOffset, int nDepth, CArguments& stArguments) {
        const FUNCTIONPARAMLIST* const lpList = m_stReader.ParamList(nOffset);
        if (!lpList) return ERR_EXPRESSION;
        if (const int nCode = stArguments.Allocate(*Pool(), *lpList)) return nCode;
        for (int i = 0; i < lpList->m_bNum; ++i) {
            const FUNCTIONPARAM& stParam = *m_stReader.Param(*lpList, i);
            st_VARDATA& stValue = stArguments.Value(i);
            const BYTE bKind = stParam.m_bExpressionType == EXP_EXPRESSION ? EXP_EXPRESSION : EXP_ELEMENT;
            if (const int nCode = Operand(bKind, stParam.m_nExpOffset, nDepth, stValue)) return nCode;
        }
        return ERR_OK;
    }

    int RightOperand(const st_MATHEXPBSON& stNode, int nDepth, st_VARDATA& stValue) {
        // A list on the right is not read.
        if (stNode.m_bExpressionType2 == EXP_PARAM_LIST) return ERR_OK;
        return Operand(stNode.m_bExpressionType2, stNode.m_nExpOffset2, nDepth, stValue);
    }

    int Operand(BYTE bKind, UINT nOffset, int nDepth, st_VARDATA& stValue) {
        switch (bKind) {
            case EXP_ELEMENT:
                return Element(nOffset, stValue);
            case EXP_EXPRESSION: {
                const st_MATHEXPBSON* const lpNode = m_stReader.Node(nOffset);
                return lpNode ? Expression(*lpNode, nDepth + 1, stValue) : ERR_EXPRESSION;
            }
            case EXP_NONE:
                stValue.SetData(0);
                return ERR_OK;
            default:
                return ERR_FUNCTION_TYPE;
        }
    }

    int Element(UINT nOffset, st_VARDATA& stValue) {
        const MATHEXPELEMENTBSON* const lpElement = m_stReader.Element(nOffset);
        if (!lpElement) return ERR_EXPRESSION;
        switch (lpElement->m_bDataSource) {
            case SOURCE_LITERAL:
                // An argument that was left out has a type and no value.
                if (lpElement->m_bDataType == VT_DEFAULT) stValue.m_vt = VT_DEFAULT;
                [[fallthrough]];
            case SOURCE_FIELD:
                return CBaseExpression::GetDataValue(lpElement, stValue);
            default:
                // Parameters, NEW and OLD have no value yet.
                return ERR_FUNCTION_TYPE;
        }
    }

    CExpressionReader m_stReader;
};

template <typename T>
T Load(const char* lpData) {
    T nValue;
    std::memcpy(&nValue, lpData, sizeof nValue);
    return nValue;
}

/** Types whose value has one form wherever it lies; false for the others. */
bool LoadNumber(const char* lpData, BYTE bType, st_VARDATA& stValue) {
    switch (bType) {
        case VT_INT:
            stValue.SetData(Load<int>(lpData));
            return true;
        case VT_BIGINT:
            stValue.SetData(Load<long long>(lpData));
            return true;
        case VT_DOUBLE:
        case VT_DATETIME:
            stValue.SetData(Load<double>(lpData), bType);
            return true;
        default:
            return false;
    }
}

} // namespace

int CBaseExpression::GetExpressionResult(CBaseBson* pBson, const st_MATHEXPBSON* lpExpression, st_VARDATA& stResult) {
    if (!lpExpression) {
        stResult.SetData(1);
        return ERR_OK;
    }
    return pBson ? CExpressionValue(*pBson).Expression(*lpExpression, 0, stResult) : ERR_NULL_POINTER;
}

int CBaseExpression::GetDataValue(const MATHEXPELEMENTBSON* lpElement, st_VARDATA& stValue) {
    if (lpElement->m_bDataSource == SOURCE_FIELD) {
        stValue.SetNull();
        return ERR_OK;
    }
    const char* const lpData = lpElement->m_bDataBuffer;
    if (LoadNumber(lpData, lpElement->m_bDataType, stValue)) return ERR_OK;
    switch (lpElement->m_bDataType) {
        case VT_EMPTY:
            // A small number stands where others have the number of their object.
            stValue.SetData(static_cast<int>(lpElement->m_bObjectNo));
            return ERR_OK;
        case VT_VARCHAR:
            stValue.SetData(lpData, lpElement->m_nDataLen, lpElement->m_bCharset);
            return ERR_OK;
        case VT_BLOB:
            stValue.SetBinaryData(reinterpret_cast<LPBYTE>(const_cast<char*>(lpData)), lpElement->m_nDataLen);
            return ERR_OK;
        case VT_NULL:
            stValue.SetNull();
            return ERR_OK;
        case VT_DECIMAL:
            stValue.Free();
            return CKestroDecimal::LoadBin(reinterpret_cast<const BYTE*>(lpData), lpElement->m_nDataLen, &stValue);
        default:
            return ERR_OK;
    }
}

int CBaseExpression::GetDataValue(const char* lpData, st_VARDATA& stValue, unsigned char bType) {
    if (LoadNumber(lpData, bType, stValue)) return ERR_OK;
    switch (bType) {
        case VT_CHAR:
        case VT_VARCHAR:
            stValue.SetData(lpData, static_cast<int>(std::strlen(lpData)) + 1, 0);
            return ERR_OK;
        case VT_BLOB:
            // Unlike elsewhere the length of bytes counts the zero byte behind them. Intended.
            stValue.SetBinaryData(reinterpret_cast<LPBYTE>(const_cast<char*>(lpData)),
                                  static_cast<int>(std::strlen(lpData)) + 1);
            return ERR_OK;
        case VT_TINYINT:
            stValue.SetData(static_cast<int>(Load<signed char>(lpData)));
            return ERR_OK;
        case VT_SMALLINT:
            stValue.SetData(Load<short>(lpData));
            return ERR_OK;
        case VT_DECIMAL:
            stValue.Free();
            return CKestroDecimal::LoadBin(reinterpret_cast<const BYTE*>(lpData), &stValue);
        default:
            stValue.SetNull();
            return ERR_OK;
    }
}
