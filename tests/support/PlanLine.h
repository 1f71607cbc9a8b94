#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <string_view>

#include "ParseSql.h"
#include "PlanPrinter.h"

/**
 * A plan in one line, `field=value` and `field=RECORD{...}`, without what all plans have: sizes, hash and text; on
 * demand without the names of fields, which are what was written, blanks left out.
 */
inline std::string PlanLine(const CPlanReader& stPlan, bool bNames = true) {
    const std::string strText = PrintPlan(stPlan, {.m_bOffsets = false});
    constexpr std::string_view COMMON[] = {"m_nTotalDataSize",      "m_bVersion", "m_nBsonDataSize",
                                           "m_nClientBsonDataSize", "m_dwHashID", "m_nSqlOffset"};
    std::string strLine;
    std::size_t nDepth = 1;
    for (std::size_t nPos = strText.find('\n') + 1, nEnd; (nEnd = strText.find('\n', nPos)) != std::string::npos;
         nPos = nEnd + 1) {
        std::string_view szField = std::string_view(strText).substr(nPos, nEnd - nPos);
        const std::size_t nIndent = szField.find_first_not_of(' ') / 2;
        szField.remove_prefix(2 * nIndent);
        const std::string_view szName = szField.substr(0, szField.find(' '));
        if (nIndent == 1 && std::find(std::begin(COMMON), std::end(COMMON), szName) != std::end(COMMON)) continue;
        if (!bNames && (szName == "m_bNameLen" || szName == "m_nExpNameOffset")) continue;
        if (nIndent > nDepth)
            strLine += '{';
        else if (nIndent < nDepth)
            strLine.append(nDepth - nIndent, '}') += ' ';
        else if (!strLine.empty())
            strLine += ' ';
        nDepth = nIndent;
        const bool bPrefix = szName.substr(0, 2) == "m_";
        strLine.append(szName.substr(bPrefix ? 2 : 0));
        if (szName.size() != szField.size()) strLine.append("=").append(szField.substr(szName.size() + 1));
    }
    return strLine.append(nDepth - 1, '}');
}

inline std::string PlanLine(const void* lpBytes, std::size_t nLen) {
    CPlanReader stPlan;
    if (stPlan.Open(lpBytes, nLen) != ERR_OK) return std::string("unsound: ") + stPlan.Fault();
    return PlanLine(stPlan);
}

inline int ParseSql(CParseSql& stParse, std::string_view szSql, EXECUTEPLANBSON*& lpPlan) {
    return stParse.ParseSql(szSql.data(), static_cast<int>(szSql.size()), lpPlan, 0, 0, 0);
}

/** What `Print` makes of a statement's plan, or the code of its error and the number of the word: "509 at 2". */
template <typename PRINT>
std::string CompiledAs(std::string_view szSql, PRINT Print, int nPageStart = 0, int nPageSize = 0) {
    CParseSql stParse;
    CPlanReader stPlan;
    EXECUTEPLANBSON* lpPlan = nullptr;
    const int nLen = static_cast<int>(szSql.size());
    const int nCode = stParse.ParseSql(szSql.data(), nLen, lpPlan, nPageStart, nPageSize, 0);
    if (nCode != ERR_OK) return std::to_string(nCode) + " at " + std::to_string(stParse.GetErrorPos());
    if (stPlan.Open(lpPlan, lpPlan->m_nTotalDataSize) != ERR_OK) return std::string("unsound: ") + stPlan.Fault();
    return Print(stPlan);
}
inline std::string Compiled(std::string_view szSql) {
    return CompiledAs(szSql, [](const CPlanReader& stPlan) { return PlanLine(stPlan); });
}
