#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "ParseSql.h"

/**
 * The byte of a statement at which `stParse` failed to compile it with a code: that of the word at fault, or behind the
 * last word. A head that is refused names its own; an unknown command is its verb's fault.
 */
[[nodiscard]] std::size_t FindFault(std::string_view szSql, int nCode, CParseSql& stParse);

/** A place in a text, as a terminal shows it. */
struct SHOWNPLACE {
    int m_nLine;            // from 1
    int m_nColumn;          // from 1; a wide character has two, a tab leads to the next multiple of 8
    std::string m_strLine;  // the line, safe to be shown; of a long one what stands around the place
    std::string m_strBlank; // as many blanks as are in front of the place in `m_strLine`
};
[[nodiscard]] SHOWNPLACE ShowPlace(std::string_view szText, std::size_t nPos);

/** One line of text, safe to be shown: what is no printable character stands as "\xNN". */
[[nodiscard]] std::string ShowText(std::string_view szText);
