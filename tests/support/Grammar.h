#pragma once

#include <cctype>
#include <map>
#include <random>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

/**
 * Makes texts at random from a grammar, the same in each run: a rule a row, with ";" between its forms, of which the
 * first one leads to an end. "$" stands in front of a rule's name; "@" becomes the number of the "query" around it, "#"
 * another number each time. What "{" and "}" mean is the caller's affair; in "fields" and "columns" they are left out.
 */
class CGrammar {
public:
    template <std::size_t N>
    explicit CGrammar(const char* const (&arRow)[N], unsigned nSeed) : m_stRandom(nSeed) {
        for (const std::string strRow : arRow) {
            const std::size_t nName = strRow.find(' ');
            std::istringstream stForms(strRow.substr(nName + 1));
            for (std::string strForm; std::getline(stForms, strForm, ';');)
                m_mapForms[strRow.substr(0, nName)].push_back(strForm);
        }
    }

    /** A text of a rule; once so many rules are used up, first forms only. */
    std::string Text(const std::string& strRule, int nRules) {
        m_nLeft = nRules;
        m_nNumber = 0;
        return Make(strRule);
    }
    unsigned Pick(std::size_t nNum) { return static_cast<unsigned>(m_stRandom() % nNum); }
    /** The last number that the last text has for a "#". */
    int LastNumber() const { return m_nNumber; }

private:
    std::string Make(const std::string& strRule) {
        const auto& arForm = m_mapForms.at(strRule);
        const std::string& strForm = arForm[m_nLeft-- > 0 ? Pick(arForm.size()) : 0];
        const int nQuery = std::exchange(m_nQuery, strRule == "query" ? m_nQuery + 1 : m_nQuery);
        std::string strText;
        for (std::size_t i = 0; i < strForm.size(); ++i) {
            std::size_t nEnd = i + 1;
            while (strForm[i] == '$' && nEnd < strForm.size() && std::islower(strForm[nEnd]))
                ++nEnd;
            strText += strForm[i] == '$'   ? Make(strForm.substr(i + 1, nEnd - i - 1))
                       : strForm[i] == '@' ? std::to_string(m_nQuery)
                       : strForm[i] == '#' ? std::to_string(++m_nNumber)
                                           : strForm.substr(i, 1);
            i = nEnd - 1;
        }
        m_nQuery = nQuery;
        if (strRule == "fields" || strRule == "columns")
            std::erase_if(strText, [](char c) { return c == '{' || c == '}'; });
        return strText;
    }

    std::map<std::string, std::vector<std::string>> m_mapForms;
    std::mt19937 m_stRandom;
    int m_nLeft = 0, m_nQuery = 0, m_nNumber = 0;
};
