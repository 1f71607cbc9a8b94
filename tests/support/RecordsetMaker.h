#pragma once

#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "MemDBRecordset.h"
#include "PlanReader.h"

/** The bytes of numbers, little-endian. */
template <typename... T>
std::string RawBytes(T... nValues) {
    return (std::string(reinterpret_cast<const char*>(&nValues), sizeof nValues) + ...);
}

/** A counted run as rows have it. */
inline std::string CountedRun(std::string_view szRun) {
    const std::size_t nLen = szRun.size();
    const std::string strCount = nLen < 255 ? RawBytes(static_cast<BYTE>(nLen)) : RawBytes(BYTE{255});
    return strCount + (nLen < 255 ? "" : RawBytes(static_cast<UINT>(nLen))) + std::string(szRun);
}

/** A field's value as rows have it, from its text: a number, a text, days for a time stamp, hh:mm:ss, yyyy-mm-dd. */
inline std::string EntryValue(BYTE bType, const std::string& strText) {
    int n[3] = {};
    switch (bType) {
        case VT_TINYINT:
            return RawBytes(static_cast<signed char>(std::stoi(strText)));
        case VT_SMALLINT:
            return RawBytes(static_cast<short>(std::stoi(strText)));
        case VT_INT:
            return RawBytes(std::stoi(strText));
        case VT_BIGINT:
            return RawBytes(std::stoll(strText));
        case VT_DOUBLE:
        case VT_DATETIME:
            return RawBytes(std::stod(strText));
        case VT_TIME:
            sscanf(strText.c_str(), "%d:%d:%d", n, n + 1, n + 2);
            return RawBytes(KESTROTIME{static_cast<BYTE>(n[2]), static_cast<BYTE>(n[1]),
                                       static_cast<BYTE>(std::abs(n[0])),
                                       strText[0] == '-' ? KESTRO_MINUS_ZERO_DAYS : static_cast<signed char>(0)});
        case VT_DATE:
            sscanf(strText.c_str(), "%d-%d-%d", n, n + 1, n + 2);
            return RawBytes(
                KESTRODATE{static_cast<BYTE>(n[2]), static_cast<BYTE>(n[1]), static_cast<std::uint16_t>(n[0])});
        default:
            return CountedRun(strText);
    }
}

/** Makes the blocks that answer queries. Fields are "NAME:type" with a type code, titles "T_NAME", the table "TAB". */
class CRecordsetMaker {
public:
    explicit CRecordsetMaker(std::string_view szFields, BYTE bModify = 1) : m_bModify(bModify) {
        for (const std::string& strField : Split(szFields)) {
            const auto nColon = strField.find(':');
            m_arName.push_back(strField.substr(0, nColon));
            m_arType.push_back(static_cast<BYTE>(std::stoi(strField.substr(nColon + 1))));
        }
    }
    /** A row of its fields' texts with "|" between them; "-" for none. */
    CRecordsetMaker& Row(long long nDataID, std::string_view szRow) {
        std::string strEntries;
        const std::vector<std::string> arText = Split(szRow);
        for (std::size_t i = 0; i < arText.size(); ++i) {
            if (arText[i] == "-") continue;
            strEntries += static_cast<char>(i);
            // A JSON value has its own type in front, "6 text".
            const bool bJson = m_arType[i] == VT_JSON;
            const BYTE bType = bJson ? static_cast<BYTE>(std::stoi(arText[i])) : m_arType[i];
            if (bJson) strEntries += static_cast<char>(bType);
            strEntries += EntryValue(bType, bJson ? arText[i].substr(arText[i].find(' ') + 1) : arText[i]);
        }
        return RawRow(nDataID, strEntries);
    }
    CRecordsetMaker& RawRow(long long nDataID, const std::string& strEntries) {
        m_strRows += RawBytes(static_cast<UINT>(12 + strEntries.size())) + RawBytes(nDataID) + strEntries;
        ++m_nRows;
        return *this;
    }
    std::string Block() const {
        RECORDSETHEAD stHead{static_cast<UINT>(m_arName.size()), m_nRows, 0, 0, m_bModify, 0, 0};
        const std::size_t nNames = sizeof stHead + m_arName.size() * sizeof(RECORDFIELD);
        std::string strFields, strNames("TAB\0", 4);
        for (std::size_t i = 0; i < m_arName.size(); ++i) {
            RECORDFIELD stField{m_arType[i], 1, 1, 20, i == 0, 0, OBJECT_TABLE, 0, 0, 0, 0, static_cast<UINT>(nNames)};
            stField.m_nTitleOffset = static_cast<UINT>(nNames + strNames.size());
            strNames += m_arName[i] + '\0';
            stField.m_nRsNameOffset = static_cast<UINT>(nNames + strNames.size());
            strNames.append("T_").append(m_arName[i]).append(1, '\0');
            strFields += RawBytes(stField);
        }
        stHead.m_nRecordBufferOffset = static_cast<UINT>(nNames + strNames.size());
        return RawBytes(stHead) + strFields + strNames + m_strRows;
    }

private:
    static std::vector<std::string> Split(std::string_view szText) {
        std::vector<std::string> arPart(1);
        for (const char c : szText)
            c == '|' ? arPart.emplace_back() : arPart.back() += c;
        return arPart;
    }

    BYTE m_bModify;
    std::vector<std::string> m_arName;
    std::vector<BYTE> m_arType;
    std::string m_strRows;
    UINT m_nRows = 0;
};

/** Decodes a copy of the bytes, which has exactly their size and goes with the recordset. */
inline int Analyse(CMemDBRecordset& stSet, std::string_view szBlock) {
    auto* const lpBlock = new BYTE[szBlock.size()];
    std::memcpy(lpBlock, szBlock.data(), szBlock.size());
    return stSet.AnalysisRecordset(lpBlock, static_cast<int>(szBlock.size()), 1);
}

/** The recordset of a block, empty if it is refused. */
struct DECODEDSET : CMemDBRecordset {
    explicit DECODEDSET(std::string_view szBlock) { Analyse(*this, szBlock); }
};

/** A code in brackets. */
inline std::string CodeText(int nCode) {
    return std::string(1, '(').append(std::to_string(nCode)).append(1, ')');
}

/** A field's text, "null", or the code in brackets. */
inline std::string FieldText(IKestroDBRecordset& stSet, int nField) {
    char* lpszText = nullptr;
    const int nCode = stSet.FieldValue(nField, lpszText);
    return nCode == ERR_OK ? lpszText : nCode == -1 ? "null" : CodeText(nCode);
}

/** All rows, "identity:text|text" with a blank between them. The cursor is at the end then. */
inline std::string ShowRows(IKestroDBRecordset& stSet) {
    std::string strRows;
    for (stSet.MoveFirst(); !stSet.eof(); stSet.MoveNext()) {
        long long nDataID = 0;
        const int nCode = stSet.GetDataID(nDataID);
        strRows.append(strRows.empty() ? "" : " ");
        strRows.append(nCode == ERR_OK ? std::to_string(nDataID) : CodeText(nCode)).append(":");
        for (int i = 0; i < stSet.GetFieldNum(); ++i)
            strRows.append(i == 0 ? "" : "|").append(FieldText(stSet, i));
    }
    return strRows;
}

/** The bytes of a finished plan as they are sent. */
inline std::string SentBytes(CBaseBson& stBson) {
    std::string strBytes(reinterpret_cast<char*>(stBson.GetBuffer()), stBson.GetBsonDataSize());
    for (USHORT nNo = 1; nNo <= stBson.GetBufferSectionNum(); ++nNo) {
        const auto* const lpSection = reinterpret_cast<const char*>(stBson.GetBufferSection(nNo));
        strBytes.append(lpSection, reinterpret_cast<const BUFFERSECTIONHEAD*>(lpSection)->m_nSectionDataSize);
    }
    return strBytes;
}

/** The plan of a recordset's changes, or nothing and the code. */
inline std::string ChangePlan(CMemDBRecordset& stSet, int& nCode, UINT nSize = 1 << 20) {
    CBaseBson stBson;
    EXECUTEPLANBSON* lpPlan = nullptr;
    nCode = stBson.AllocBsonBuffer(nullptr, nSize);
    if (nCode == ERR_OK) nCode = stSet.ParseRecordset(stBson, lpPlan);
    return nCode == ERR_OK ? SentBytes(stBson) : std::string();
}
