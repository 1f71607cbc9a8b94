#pragma once

#include <string>
#include <string_view>

#include "PlanReader.h"

/** Where the printer's output goes, piece by piece. */
class CPlanSink {
public:
    virtual ~CPlanSink() = default;
    virtual void Write(std::string_view szPiece) = 0;
};

enum PLANFORMAT {
    /** A line a field, indented by depth. */
    PLANFORMAT_TEXT,
    /** One object a record: "record", "offset" and its fields; a chain is an array. */
    PLANFORMAT_JSON,
    /** A graph for Graphviz: a node a record, an edge an offset. */
    PLANFORMAT_DOT
};

struct PLANPRINT {
    PLANFORMAT m_nFormat = PLANFORMAT_TEXT;
    /** Where each record lies. Without it two plans that differ only in the order of records print alike. */
    bool m_bOffsets = true;
    /** Fields that are zero too. */
    bool m_bZero = false;
};

/**
 * Prints a plan as a tree of named fields: from its head along all offsets whose fields name a target, then its
 * sections. What is printed once is only referred to afterwards, what leads outside is said to, and depth and amount
 * have limits, so that any bytes that the reader has opened come to an end. Long texts other than the statement are
 * cut. A password in a statement stands in its plan, and so in what is printed.
 */
void PrintPlan(const CPlanReader& stPlan, const PLANPRINT& stPrint, CPlanSink& stSink);
std::string PrintPlan(const CPlanReader& stPlan, const PLANPRINT& stPrint = {});
