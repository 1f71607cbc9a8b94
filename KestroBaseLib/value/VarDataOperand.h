#pragma once

// What the operators on values share: the classes by which their matrices are indexed, and the reading of operands. For
// the sources of the operators only.

#include <array>

#include "KestroDecimal.h"
#include "VarDataText.h"

/** What an operand is to a matrix. A matrix has a row and a column for each class in front of `OC_PAIRS`. */
enum OPERANDCLASS : BYTE {
    OC_INT,
    OC_BIGINT,
    OC_DOUBLE,
    OC_DATETIME,
    OC_DECIMAL,
    OC_DATE,
    OC_TIME,
    /** Values end here; text that looks like a date, a time, or both follows. */
    OC_VALUES,
    OC_DATETEXT = OC_VALUES,
    OC_TIMETEXT,
    OC_DATETIMETEXT,
    OC_PAIRS,
    /** Resolved into one of the above before a matrix sees them. */
    OC_HEXSTR = OC_PAIRS,
    OC_TEXT,
    /** No values. */
    OC_NULL,
    OC_UNKNOWN,
    OC_ANY,
    OC_EMPTY,
    OC_OTHER,
    OC_COUNT,
};

inline constexpr auto OPERAND_CLASSES = [] {
    std::array<OPERANDCLASS, 256> arClass{};
    arClass.fill(OC_OTHER);
    arClass[VT_INT] = OC_INT;
    arClass[VT_BIGINT] = OC_BIGINT;
    arClass[VT_DOUBLE] = OC_DOUBLE;
    arClass[VT_DATETIME] = OC_DATETIME;
    arClass[VT_DECIMAL] = OC_DECIMAL;
    arClass[VT_DATE] = OC_DATE;
    arClass[VT_TIME] = OC_TIME;
    arClass[VT_HEXSTR] = OC_HEXSTR;
    arClass[VT_VARCHAR] = OC_TEXT;
    arClass[VT_NULL] = OC_NULL;
    arClass[VT_UNKNOWN] = OC_UNKNOWN;
    arClass[VT_ANY] = OC_ANY;
    arClass[VT_EMPTY] = OC_EMPTY;
    return arClass;
}();

inline OPERANDCLASS ClassOf(const st_VARDATA& stValue) {
    return OPERAND_CLASSES[stValue.m_vt];
}

/** Whether a value of type `VT_VARCHAR` has a text at all; one without counts as NULL. */
inline bool HasText(const st_VARDATA& stText) {
    return stText.m_lpszValue != nullptr;
}

/** A text as an operand: a C string with its length. */
class CTextOperand : public CBoundedText {
public:
    explicit CTextOperand(const st_VARDATA& stText)
        : CBoundedText(stText), m_nLen(static_cast<int>(std::strlen(Text()))) {}

    int Len() const { return m_nLen; }
    /** With a decimal point, whatever the locale; 0 for no number. */
    double Double() const { return ReadDouble(Text()); }
    /** False for no number. */
    [[nodiscard]] bool Decimal(st_VARDATA& stDecimal) const {
        return CKestroDecimal::Convert2Decimal(Text(), &stDecimal) == ERR_OK && stDecimal.m_vt == VT_DECIMAL;
    }

private:
    int m_nLen;
};

// ---- Reading; of the seven classes of values

/** An INT or a BIGINT. */
inline long long IntegerOf(const st_VARDATA& stValue) {
    return stValue.m_vt == VT_INT ? stValue.m_nValue : stValue.m_llValue;
}

/** A value that isn't stored as a double. */
[[nodiscard]] bool OtherDoubleOf(const st_VARDATA& stValue, double& dblValue);

/** Any value; a date or time as its day number. False for a date that doesn't exist. */
[[nodiscard]] inline bool DoubleOf(const st_VARDATA& stValue, double& dblValue) {
    if (stValue.m_vt != VT_DOUBLE && stValue.m_vt != VT_DATETIME) return OtherDoubleOf(stValue, dblValue);
    dblValue = stValue.m_dblValue;
    return true;
}

/** A number, exactly: the lowest integers keep their sign here, which the plain conversion loses. */
void IntegerToDecimal(long long llValue, st_VARDATA& stDecimal);

/**
 * Any value; a date or time as its day number. Answers the value itself or `stHeld`; null for what no decimal holds.
 */
[[nodiscard]] const st_VARDATA* DecimalOf(const st_VARDATA& stValue, st_VARDATA& stHeld);

/**
 * An operand of arithmetic with its class. Numeric literals and text become the number or date that they hold, which
 * depends on the class of the other operand.
 */
class COperand {
public:
    explicit COperand(const st_VARDATA& stValue) : m_lpValue(&stValue), m_nClass(::ClassOf(stValue)) {}
    COperand(const COperand&) = delete;
    COperand& operator=(const COperand&) = delete;

    /** False for what is no operand: no value, text without a buffer, a date or decimal that can't be read. */
    [[nodiscard]] bool Resolve(OPERANDCLASS nOther);

    OPERANDCLASS Class() const { return m_nClass; }
    const st_VARDATA& Value() const { return *m_lpValue; }

private:
    bool ResolveHexstr(OPERANDCLASS nOther);
    bool ResolveText(OPERANDCLASS nOther);
    bool ResolveDateText(const CTextOperand& stText, int nKind, OPERANDCLASS nOther);
    bool ResolveNumberText(const CTextOperand& stText, OPERANDCLASS nOther);
    bool Hold(OPERANDCLASS nClass) {
        m_nClass = nClass;
        m_lpValue = &m_stHeld;
        return true;
    }
    bool HoldInteger(long long llValue, OPERANDCLASS nOther);
    bool HoldDouble(double dblValue) {
        m_stHeld.SetData(dblValue, VT_DOUBLE);
        return Hold(OC_DOUBLE);
    }

    const st_VARDATA* m_lpValue;
    OPERANDCLASS m_nClass;
    st_VARDATA m_stHeld;
};
