#pragma once

#include <memory>

#include "PlanPrinter.h"

/** A place in a plan: an offset of the main buffer, or in a section of that number. */
struct PLANPLACE {
    USHORT m_nSectionNo = 0;
    UINT m_nPos = 0;
};

/** What the printer finds, one event after the other; each format is a writer. A list's members bear its name. */
class CPlanWriter {
public:
    virtual ~CPlanWriter() = default;
    virtual void BeginRecord(const char* lpszField, const char* lpszRecord, PLANPLACE stPlace) = 0;
    virtual void EndRecord() = 0;
    /** Records of one chain or array, or texts of one field. */
    virtual void BeginList(const char* lpszField) = 0;
    virtual void EndList() = 0;
    virtual void Number(const char* lpszField, std::string_view szDigits) = 0;
    virtual void Text(const char* lpszField, std::string_view szText) = 0;
    /** Bytes in hexadecimal, an id, or a remark. */
    virtual void Note(const char* lpszField, std::string_view szNote) = 0;
    /** A record that was printed before. */
    virtual void Again(const char* lpszField, const char* lpszRecord, PLANPLACE stPlace) = 0;
    virtual void Finish() {}
};

std::unique_ptr<CPlanWriter> MakePlanWriter(const PLANPRINT& stPrint, CPlanSink& stSink);
