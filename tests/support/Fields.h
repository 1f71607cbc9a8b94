#pragma once

#include <string>
#include <string_view>
#include <vector>

/** The fields of a table's row that is written as one text, with "|" between them. */
inline std::vector<std::string> Fields(std::string_view szRow) {
    std::vector<std::string> arField(1);
    for (const char c : szRow) {
        if (c == '|')
            arField.emplace_back();
        else
            arField.back() += c;
    }
    return arField;
}
