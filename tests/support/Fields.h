#pragma once

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "ExactBytes.h"

/** The fields of a table's row that is written as one text, with "|" between them. */
inline std::vector<std::string> Fields(std::string_view szRow) {
    std::vector<std::string> arField(1);
    for (const char c : szRow)
        c == '|' ? arField.emplace_back() : arField.back() += c;
    return arField;
}

/** Rows of fields, "=>" and what `Run` answers for them. A field's text ends where its heap block ends. */
template <typename F>
void CheckRows(std::initializer_list<std::string_view> lstRow, F Run) {
    for (const std::string_view szRow : lstRow) {
        const std::size_t nArrow = szRow.find("=>");
        std::vector<ExactText> arText;
        for (const std::string& strField : Fields(szRow.substr(0, nArrow)))
            arText.emplace_back(strField);
        EXPECT_EQ(Run(arText), szRow.substr(nArrow + 2)) << szRow;
    }
}

/** Rows of a text, " => " and what `Run` answers for it. */
template <typename F>
void ExpectRows(std::initializer_list<std::string_view> lstRow, F Run) {
    for (const std::string_view szRow : lstRow) {
        const std::size_t nArrow = szRow.rfind(" => ");
        EXPECT_EQ(Run(std::string(szRow.substr(0, nArrow))), szRow.substr(nArrow + 4)) << szRow;
    }
}

/** A text many times over, and two texts around it. */
inline std::string Repeat(std::string_view szText, int nTimes, std::string_view szFront = "",
                          std::string_view szBehind = "") {
    std::string strAll(szFront);
    for (int i = 0; i < nTimes; ++i)
        strAll.append(szText);
    return strAll.append(szBehind);
}
