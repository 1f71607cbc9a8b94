#pragma once

#include <sstream>
#include <string>
#include <vector>

#include "ValueText.h"

/** A value from its text in one word: "int:5", "dt:45322.25", "time:0d_06:00:00", "null". */
class WordValue : public ValueSource {
public:
    explicit WordValue(const std::string& strWord) : ValueSource(Spaced(strWord)) {}
    operator const st_VARDATA&() const { return m_stValue; }
    const st_VARDATA& Get() const { return m_stValue; }
    st_VARDATA* operator->() { return &m_stValue; }

    static std::string Print(const st_VARDATA& stValue) {
        std::string strWord = ShowValue(stValue);
        if (const auto nType = strWord.find(' '); nType != std::string::npos) strWord[nType] = ':';
        for (char& c : strWord)
            if (c == ' ') c = '_';
        return strWord;
    }

private:
    static std::string Spaced(std::string strWord) {
        if (const auto nType = strWord.find(':'); nType != std::string::npos) strWord[nType] = ' ';
        for (char& c : strWord)
            if (c == '_') c = ' ';
        return strWord;
    }
};

/** The words of a table written as text, row by row; a row ends with its line or at a ";". */
inline std::vector<std::vector<std::string>> RowsOf(std::string strTable) {
    for (char& c : strTable)
        if (c == ';') c = '\n';
    std::vector<std::vector<std::string>> arRows;
    std::istringstream stTable(strTable);
    for (std::string strRow; std::getline(stTable, strRow);) {
        std::istringstream stRow(strRow);
        std::vector<std::string> arWords;
        for (std::string strWord; stRow >> strWord;)
            arWords.push_back(strWord);
        if (!arWords.empty()) arRows.push_back(arWords);
    }
    return arRows;
}
