#pragma once

#include <map>

#include "BaseExpression.h"
#include "PlanMaker.h"
#include "ValueRows.h"

/** The code of an operator or function by its word. */
inline BYTE ExpressionCode(const std::string& strWord) {
    std::istringstream stCodes(
        "same 0 plus 18 + 1 - 2 * 3 / 4 % 5 || 6 DIV 17 ~ 38 AND 40 OR 41 NOT 42 neg 43 & 45 ^ 46 | 47 << 48 "
        ">> 49 = 20 SUM 84 COUNT 80 ABS 61 CEIL 62 FLOOR 63 LOWER 64 UPPER 73 SQRT 71 MOD 65 NULLIF 66 NVL 67 "
        "NVL2 68 POWER 69 ROUND 70 TRUNC 72 TO_CHAR 54 TO_DATE 55 CHAR_LENGTH 134 LENGTH 135 ISNULL 149 EXP "
        "150 LN 153 LOG2 153 LOG10 153 LOG 154 PI 155 RAND 156 SIGN 157 ASCII 158 BIT_LENGTH 159 SYSDATE 50 "
        "DBTIMEZONE 59 CONCAT 132 CRC32 193 SIMILARITY 237 REPLACE 131 EXPORT_SET 178 STARTNODEID 91 "
        "DATE_PART 168 JSON_TYPE 114 USER 60");
    std::string strFound;
    for (int nCode; stCodes >> strFound >> nCode;)
        if (strFound == strWord) return static_cast<BYTE>(nCode);
    ADD_FAILURE() << strWord;
    return 0;
}

/** The sub-type that a word stands for. */
inline BYTE ExpressionSubType(const std::string& strWord) {
    return strWord == "LN" ? FNLOG_LN : strWord == "LOG2" ? FNLOG_LOG2 : strWord == "LOG10" ? FNLOG_LOG10 : 0;
}

/**
 * Writes expressions from their text: "( + dec:1 ( neg int:2 ) )", "( ABS field )". A leaf is a `WordValue`, "field",
 * "param", "new", "old", "default" or "byte:7", which lies in the leaf's head.
 */
class CExpressionMaker {
public:
    /** The offset of the root; a leaf gets a node around it. */
    UINT Make(const std::string& strText) {
        m_arWord = RowsOf(strText).at(0);
        m_nWord = 0;
        const OPERAND stRoot = Operand();
        return stRoot.m_bKind == EXP_EXPRESSION ? stRoot.m_nOffset : Node(OP_NONE, stRoot, {EXP_NONE, 0});
    }
    /** The value of an expression, or the code behind a "!". */
    std::string Value(UINT nRoot) {
        st_VARDATA stResult;
        const int nCode = CBaseExpression::GetExpressionResult(&Bson(), Root(nRoot), stResult);
        EXPECT_FALSE(stResult.OwnsBuffer());
        return nCode == ERR_OK ? WordValue::Print(stResult) : PrintText("!%d", nCode);
    }
    CBaseBson& Bson() { return m_stMaker.m_stBson; }
    st_MATHEXPBSON* Root(UINT nRoot) { return reinterpret_cast<st_MATHEXPBSON*>(Bson().ConvertOffset2Addr(nRoot)); }

    struct OPERAND {
        BYTE m_bKind;
        UINT m_nOffset;
    };
    UINT Node(BYTE bOperator, OPERAND stLeft, OPERAND stRight) {
        UINT nNode = 0;
        auto* const lpNode = m_stMaker.New<st_MATHEXPBSON>(nNode);
        lpNode->m_bOperator = bOperator;
        lpNode->m_bExpressionType1 = stLeft.m_bKind;
        lpNode->m_nExpOffset1 = stLeft.m_nOffset;
        lpNode->m_bExpressionType2 = stRight.m_bKind;
        lpNode->m_nExpOffset2 = stRight.m_nOffset;
        return nNode;
    }

    CPlanMaker m_stMaker{PLAN_SELECT};

private:
    OPERAND Operand() {
        const std::string strWord = m_arWord.at(m_nWord++);
        if (strWord != "(") return {EXP_ELEMENT, Leaf(strWord)};
        const std::string strOperator = m_arWord.at(m_nWord++);
        std::vector<OPERAND> arOperand;
        while (m_arWord.at(m_nWord) != ")")
            arOperand.push_back(Operand());
        ++m_nWord;
        const BYTE bCode = ExpressionCode(strOperator);
        if (bCode >= FN_FIRST) {
            arOperand = {{EXP_PARAM_LIST, ParamList(ExpressionSubType(strOperator), arOperand)}};
        }
        arOperand.resize(2, {EXP_NONE, 0});
        return {EXP_EXPRESSION, Node(bCode, arOperand[0], arOperand[1])};
    }

    UINT ParamList(BYTE bSubType, const std::vector<OPERAND>& arOperand) {
        UINT nList = 0;
        const auto nTail = static_cast<UINT>(arOperand.size() * sizeof(UINT));
        auto* const lpList = m_stMaker.New<FUNCTIONPARAMLIST>(nList, nTail);
        lpList->m_bNum = static_cast<BYTE>(arOperand.size());
        lpList->m_bCombinedType = bSubType;
        for (std::size_t i = 0; i < arOperand.size(); ++i) {
            UINT nParam = 0;
            auto* const lpParam = m_stMaker.New<FUNCTIONPARAM>(nParam);
            lpParam->m_bExpressionType = arOperand[i].m_bKind;
            lpParam->m_nExpOffset = arOperand[i].m_nOffset;
            lpList->m_nExpOffset[i] = nParam;
        }
        return nList;
    }

    UINT Leaf(const std::string& strWord) {
        static const std::map<std::string, BYTE> mapSource = {
            {"field", SOURCE_FIELD}, {"param", SOURCE_PARAM}, {"new", SOURCE_NEW}, {"old", SOURCE_OLD}};
        UINT nLeaf = 0;
        if (const auto itSource = mapSource.find(strWord); itSource != mapSource.end()) {
            m_stMaker.New<MATHEXPELEMENTBSON>(nLeaf, 4)->m_bDataSource = itSource->second;
            return nLeaf;
        }
        const WordValue stValue(strWord);
        std::string strData(reinterpret_cast<const char*>(&stValue.Get().m_llValue), 8);
        BYTE bType = stValue.Get().m_vt;
        if (bType == VT_VARCHAR || bType == VT_BLOB)
            strData.assign(stValue.Get().m_lpszValue, static_cast<std::size_t>(int{stValue.Get().m_nStrLen}));
        if (bType == VT_DECIMAL) strData = DecimalImage(strWord.substr(4).c_str());
        if (bType == VT_INT) strData.resize(4);
        if (bType == VT_NULL) strData.clear();
        if (strWord == "default") bType = VT_DEFAULT;
        auto* const lpLeaf = m_stMaker.New<MATHEXPELEMENTBSON>(nLeaf, static_cast<UINT>(strData.size()));
        lpLeaf->m_bDataType = bType;
        lpLeaf->m_nDataLen = static_cast<int>(strData.size());
        std::memcpy(lpLeaf->m_bDataBuffer, strData.data(), strData.size());
        if (strWord.starts_with("byte:")) lpLeaf->m_bObjectNo = static_cast<BYTE>(std::stoi(strWord.substr(5)));
        return nLeaf;
    }

    std::vector<std::string> m_arWord;
    std::size_t m_nWord = 0;
};
