#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <string>
#include <utility>

#include "KestroDecimal.h"
#include "PlanOperators.h"
#include "PlanReader.h"
#include "ValueText.h"

/** Prints parts of a plan; a record that isn't there fails the test and is taken for an empty one. */
class CPlanText {
public:
    explicit CPlanText(const CPlanReader& stPlan) : m_stPlan(stPlan) {}

protected:
    template <typename T>
    const T& At(UINT nOffset) const {
        static constexpr T NONE = {};
        const T* const lpRecord = m_stPlan.Record<T>(nOffset);
        EXPECT_NE(lpRecord, nullptr) << nOffset;
        return lpRecord ? *lpRecord : NONE;
    }
    /** An entry of the list of offsets behind a record's head. */
    UINT Entry(UINT nTail, UINT i) const {
        UINT nEntry = 0;
        const BYTE* const lpEntry = m_stPlan.Bytes(nTail + i * 4, 4);
        if (lpEntry) std::memcpy(&nEntry, lpEntry, sizeof nEntry);
        return nEntry;
    }
    /** A leaf and its data, null for one that isn't there. A leaf without data is shorter than its record. */
    std::pair<const MATHEXPELEMENTBSON&, std::string_view> Leaf(UINT nOffset) const {
        static constexpr MATHEXPELEMENTBSON NONE = {};
        constexpr UINT HEAD_SIZE = offsetof(MATHEXPELEMENTBSON, m_bDataBuffer);
        const BYTE* const lpHead = m_stPlan.Bytes(nOffset, HEAD_SIZE);
        if (!lpHead) return {NONE, {}};
        const auto& st = *reinterpret_cast<const MATHEXPELEMENTBSON*>(lpHead);
        return {st, m_stPlan.Text(nOffset + HEAD_SIZE, static_cast<UINT>(st.m_nDataLen))};
    }

    const CPlanReader& m_stPlan;
};

/**
 * Expressions of a plan as one line, operators in front: `(+ (neg 1) 2.A)`. A function is `f` and its code, behind a
 * point its sub-type. Leaves:
 *
 *     A  2.A           a field, with the number of its object      A!     without the terminator in its length
 *     *  2.*           all fields                                   A->x   A->>x  with a JSON path
 *     ?  NEW.A  OLD.A  parameters, rows of triggers                 [q]    a subquery
 *     12.5  7i 7l 7f   decimal, INT, BIGINT, DOUBLE                 NULL  DEFAULT
 *     'text'  'text'!  a text, one without its terminator; a byte below blank is its number behind a backslash
 *
 * A root that only wraps its leaf prints as the leaf, such a node inside a tree in braces.
 */
class CExpressionText : CPlanText {
public:
    using CPlanText::CPlanText;

    std::string Root(UINT nOffset) const {
        if (nOffset == 0) return "none";
        const std::string strText = Node(nOffset);
        return strText.front() == '{' ? strText.substr(1, strText.size() - 2) : strText;
    }

    /** An operand by its kind, with a text in front unless there is none. */
    std::string Operand(BYTE bKind, UINT nOffset, const std::string& strFront = "") const {
        switch (bKind) {
            case EXP_ELEMENT:
                return strFront + Element(nOffset);
            case EXP_EXPRESSION:
                return strFront + Node(nOffset);
            case EXP_PARAM_LIST:
                return Arguments(nOffset);
            case EXP_NONE:
                return nOffset == 0 ? "" : "BAD";
            case EXP_SUBQUERY:
                return strFront + "[q]";
            default:
                return (strFront + "kind").append(std::to_string(bKind));
        }
    }

    std::string Element(UINT nOffset) const {
        const auto [st, szData] = Leaf(nOffset);
        if (!szData.data()) return "BAD";
        std::string strObject = st.m_bObjectNo ? std::to_string(st.m_bObjectNo) + "." : "";
        switch (st.m_bDataSource) {
            case SOURCE_LITERAL:
                return Literal(st, szData);
            case SOURCE_PARAM:
                return st.m_nDataLen == 4 ? "?" : "BAD";
            case SOURCE_NEW:
                return strObject.append("NEW.") + Name(szData);
            case SOURCE_OLD:
                return strObject.append("OLD.") + Name(szData);
            default:
                if (st.m_bAllField) return strObject + "*";
                if (st.m_bJsonField != JSON_FIELD_NONE) return strObject + Json(st, szData);
                return strObject + Name(szData);
        }
    }

private:
    // The left spine in a loop: a chain of operators may be long.
    std::string Node(UINT nOffset) const {
        std::string strOpen, strClose;
        while (true) {
            const auto& st = At<st_MATHEXPBSON>(nOffset);
            const std::string strRight = Operand(st.m_bExpressionType2, st.m_nExpOffset2, " ");
            if (st.m_bOperator == OP_NONE && strRight.empty())
                return strOpen + "{" + Operand(st.m_bExpressionType1, st.m_nExpOffset1) + "}" + strClose;
            strOpen.append("(").append(Operator(st.m_bOperator));
            strClose = strRight + ")" + strClose;
            if (st.m_bExpressionType1 != EXP_EXPRESSION)
                return strOpen + Operand(st.m_bExpressionType1, st.m_nExpOffset1, " ") + strClose;
            strOpen += " ";
            nOffset = st.m_nExpOffset1;
        }
    }

    /** The sub-type, and the arguments behind blanks. */
    std::string Arguments(UINT nOffset) const {
        const auto& stList = At<FUNCTIONPARAMLIST>(nOffset);
        std::string strText;
        if (stList.m_bCombinedType) strText.append(".").append(std::to_string(stList.m_bCombinedType));
        for (UINT i = 0; i < stList.m_bNum; ++i) {
            const auto& st = At<FUNCTIONPARAM>(Entry(nOffset + offsetof(FUNCTIONPARAMLIST, m_nExpOffset), i));
            strText.append(" ").append(Operand(st.m_bExpressionType, st.m_nExpOffset));
        }
        return strText;
    }

    static std::string Operator(BYTE bCode) {
        if (bCode == OP_NAME_OR_CALL) return "name-or-call";
        if (IsFunctionCode(bCode) || bCode == FN_SERVER_254) return std::string("f").append(std::to_string(bCode));
        static constexpr std::pair<BYTE, const char*> WORDS[] = {
            {OP_NONE, "wrap"}, {OP_ADD, "+"},   {OP_SUB, "-"},   {OP_MUL, "*"},    {OP_DIVIDE, "/"}, {OP_MOD, "%"},
            {OP_LINK, "||"},   {OP_COMMA, ","}, {OP_DIV, "div"}, {OP_PLUS, "pos"}, {OP_MINUS, "neg"}};
        for (const auto& [bWord, lpszWord] : WORDS)
            if (bWord == bCode) return lpszWord;
        return std::string("op").append(std::to_string(bCode));
    }

    static std::string Name(std::string_view szData) {
        const std::size_t nEnd = szData.find('\0');
        return nEnd == szData.npos ? std::string(szData) + "!" : std::string(szData.substr(0, nEnd));
    }

    static std::string Json(const MATHEXPELEMENTBSON& st, std::string_view szData) {
        const std::string strName = Name(szData);
        const std::string_view szPath = szData.substr(std::min(strName.size() + 1, szData.size()));
        return strName + (st.m_bJsonField == JSON_FIELD_ARROW ? "->" : "->>") + Name(szPath);
    }

    static std::string Literal(const MATHEXPELEMENTBSON& st, std::string_view szData) {
        switch (st.m_bDataType) {
            case VT_NULL:
                return "NULL";
            case VT_DEFAULT:
                return "DEFAULT";
            case VT_INT:
                return Number<int>(szData, "%di");
            case VT_BIGINT:
                return Number<long long>(szData, "%lldl");
            case VT_DOUBLE:
                return Number<double>(szData, "%.6gf");
            case VT_DECIMAL:
                return Decimal(szData);
            case VT_VARCHAR:
                return Text(szData);
            default:
                return std::string("type").append(std::to_string(st.m_bDataType));
        }
    }

    static std::string Text(std::string_view szData) {
        const bool bTerminated = !szData.empty() && szData.back() == 0;
        if (bTerminated) szData.remove_suffix(1);
        std::string strText = "'";
        for (const char c : szData)
            if (static_cast<BYTE>(c) >= ' ')
                strText += c;
            else
                (strText += '\\') += std::to_string(c);
        return strText + (bTerminated ? "'" : "'!");
    }

    template <typename T>
    static std::string Number(std::string_view szData, const char* lpszFormat) {
        T tValue{};
        if (szData.size() != sizeof tValue) return "BAD";
        std::memcpy(&tValue, szData.data(), sizeof tValue);
        return PrintText(lpszFormat, tValue);
    }

    static std::string Decimal(std::string_view szData) {
        st_VARDATA stValue;
        const auto* const lpImage = reinterpret_cast<const BYTE*>(szData.data());
        const int nCode = CKestroDecimal::LoadBin(lpImage, static_cast<int>(szData.size()), &stValue);
        return nCode == ERR_OK ? ShowValue(stValue).substr(4) : "BAD";
    }
};
