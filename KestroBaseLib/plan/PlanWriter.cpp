// The printer's three formats: indented lines, JSON, and a graph for Graphviz. What is printed, the walk decides.

#include "PlanWriter.h"

#include <vector>

namespace {

/** Bytes of the UTF-8 character that a text begins with, 0 if it isn't one of printable kind. */
std::size_t CharacterLen(std::string_view szText) {
    const auto At = [&](std::size_t i) { return static_cast<BYTE>(szText[i]); };
    const BYTE bLead = At(0);
    if (bLead < 0x80) return bLead >= 0x20 && bLead != 0x7F;
    const std::size_t nLen = bLead >= 0xF0 ? 4 : bLead >= 0xE0 ? 3 : 2;
    if (bLead < 0xC2 || bLead > 0xF4 || szText.size() < nLen) return 0;
    for (std::size_t i = 1; i < nLen; ++i)
        if ((At(i) & 0xC0) != 0x80) return 0;
    // Controls, which some terminals obey in this form too, longer forms than need be, halves of a pair, and codes
    // beyond the last.
    const bool bBad = (bLead == 0xC2 && At(1) < 0xA0) || (bLead == 0xE0 && At(1) < 0xA0) ||
                      (bLead == 0xED && At(1) > 0x9F) || (bLead == 0xF0 && At(1) < 0x90) ||
                      (bLead == 0xF4 && At(1) > 0x8F);
    return bBad ? 0 : nLen;
}

/** A text in double quotes; a byte that is no part of a printable character as `lpszEscape` and two digits. */
std::string Quoted(std::string_view szText, const char* lpszEscape) {
    std::string strQuoted = "\"";
    while (!szText.empty()) {
        const std::size_t nLen = CharacterLen(szText);
        if (nLen == 0) {
            strQuoted += lpszEscape;
            strQuoted += "0123456789abcdef"[static_cast<BYTE>(szText[0]) >> 4];
            strQuoted += "0123456789abcdef"[szText[0] & 15];
        } else {
            if (szText[0] == '"' || szText[0] == '\\') strQuoted += '\\';
            strQuoted += szText.substr(0, nLen);
        }
        szText.remove_prefix(nLen == 0 ? 1 : nLen);
    }
    return strQuoted += '"';
}

std::string PlaceText(PLANPLACE stPlace) {
    const std::string strPos = std::to_string(stPlace.m_nPos);
    return stPlace.m_nSectionNo == 0 ? strPos : std::to_string(stPlace.m_nSectionNo).append(":").append(strPos);
}

class CTextWriter : public CPlanWriter {
public:
    CTextWriter(const PLANPRINT& stPrint, CPlanSink& stSink) : m_stPrint(stPrint), m_stSink(stSink) {}

    void BeginRecord(const char* lpszField, const char* lpszRecord, PLANPLACE stPlace) override {
        Line(lpszField, Name(lpszRecord, stPlace));
        m_strIndent += "  ";
    }
    void EndRecord() override { m_strIndent.resize(m_strIndent.size() - 2); }
    void BeginList(const char*) override {}
    void EndList() override {}
    void Number(const char* lpszField, std::string_view szDigits) override { Line(lpszField, szDigits); }
    void Text(const char* lpszField, std::string_view szText) override { Line(lpszField, Quoted(szText, "\\x")); }
    void Note(const char* lpszField, std::string_view szNote) override { Line(lpszField, szNote); }
    void Again(const char* lpszField, const char* lpszRecord, PLANPLACE stPlace) override {
        Line(lpszField, Name(lpszRecord, stPlace) + " (above)");
    }

private:
    std::string Name(const char* lpszRecord, PLANPLACE stPlace) const {
        return m_stPrint.m_bOffsets ? std::string(lpszRecord).append(" @").append(PlaceText(stPlace)) : lpszRecord;
    }
    void Line(const char* lpszField, std::string_view szValue) {
        std::string strLine = m_strIndent;
        m_stSink.Write(strLine.append(lpszField).append(" ").append(szValue).append("\n"));
    }

    const PLANPRINT& m_stPrint;
    CPlanSink& m_stSink;
    std::string m_strIndent;
};

class CJsonWriter : public CPlanWriter {
public:
    CJsonWriter(const PLANPRINT& stPrint, CPlanSink& stSink) : m_stPrint(stPrint), m_stSink(stSink) {}

    void BeginRecord(const char* lpszField, const char* lpszRecord, PLANPLACE stPlace) override {
        Value(lpszField, Head(lpszRecord, stPlace));
        m_arLevel.push_back({false, false});
    }
    void EndRecord() override { Close("}"); }
    void BeginList(const char* lpszField) override {
        Value(lpszField, "[");
        m_arLevel.push_back({true, true});
    }
    void EndList() override { Close("]"); }
    void Number(const char* lpszField, std::string_view szDigits) override { Value(lpszField, szDigits); }
    void Text(const char* lpszField, std::string_view szText) override { Value(lpszField, Quoted(szText, "\\u00")); }
    void Note(const char* lpszField, std::string_view szNote) override { Value(lpszField, Quoted(szNote, "\\u00")); }
    void Again(const char* lpszField, const char* lpszRecord, PLANPLACE stPlace) override {
        Value(lpszField, Head(lpszRecord, stPlace) + ",\"above\":true}");
    }
    void Finish() override { m_stSink.Write("\n"); }

private:
    struct LEVEL {
        bool m_bList;
        /** Nothing stands in it yet. A record has its name. */
        bool m_bEmpty;
    };

    std::string Head(const char* lpszRecord, PLANPLACE stPlace) const {
        std::string strHead = "{\"record\":" + Quoted(lpszRecord, "");
        if (!m_stPrint.m_bOffsets) return strHead;
        const std::string strPlace = PlaceText(stPlace);
        return strHead.append(",\"offset\":").append(stPlace.m_nSectionNo == 0 ? strPlace : Quoted(strPlace, ""));
    }
    void Value(const char* lpszField, std::string_view szValue) {
        std::string strText;
        if (!m_arLevel.empty()) {
            LEVEL& stLevel = m_arLevel.back();
            if (!stLevel.m_bEmpty) strText = ",";
            stLevel.m_bEmpty = false;
            if (!stLevel.m_bList) strText.append(Quoted(lpszField, "")).append(":");
        }
        m_stSink.Write(strText.append(szValue));
    }
    void Close(std::string_view szBracket) {
        m_arLevel.pop_back();
        m_stSink.Write(szBracket);
    }

    const PLANPRINT& m_stPrint;
    CPlanSink& m_stSink;
    std::vector<LEVEL> m_arLevel;
};

class CDotWriter : public CPlanWriter {
public:
    CDotWriter(const PLANPRINT& stPrint, CPlanSink& stSink) : m_stPrint(stPrint), m_stSink(stSink) {
        m_stSink.Write("digraph plan {\nnode [shape=box fontname=monospace]\n");
    }

    void BeginRecord(const char* lpszField, const char* lpszRecord, PLANPLACE stPlace) override {
        Edge(lpszField, lpszRecord, stPlace);
        m_arNode.push_back({Id(lpszRecord, stPlace), lpszRecord});
        if (m_stPrint.m_bOffsets) m_arNode.back().m_strLabel.append(" @").append(PlaceText(stPlace));
        m_arNode.back().m_strLabel += "\\l";
    }
    void EndRecord() override {
        const NODE& stNode = m_arNode.back();
        m_stSink.Write(stNode.m_strId + " [label=\"" + stNode.m_strLabel + "\"]\n");
        m_arNode.pop_back();
    }
    void BeginList(const char*) override {}
    void EndList() override {}
    void Number(const char* lpszField, std::string_view szDigits) override { Line(lpszField, szDigits); }
    void Text(const char* lpszField, std::string_view szText) override { Line(lpszField, Quoted(szText, "\\x")); }
    void Note(const char* lpszField, std::string_view szNote) override { Line(lpszField, szNote); }
    void Again(const char* lpszField, const char* lpszRecord, PLANPLACE stPlace) override {
        Edge(lpszField, lpszRecord, stPlace);
    }
    void Finish() override { m_stSink.Write("}\n"); }

private:
    struct NODE {
        std::string m_strId;
        std::string m_strLabel;
    };

    /** A record and the first record inside it lie at the same place. */
    static std::string Id(const char* lpszRecord, PLANPLACE stPlace) {
        return Quoted(std::string(lpszRecord).append(" ").append(PlaceText(stPlace)), "");
    }
    void Edge(const char* lpszField, const char* lpszRecord, PLANPLACE stPlace) {
        if (m_arNode.empty()) return;
        m_stSink.Write(m_arNode.back().m_strId + " -> " + Id(lpszRecord, stPlace) + " [label=" + Quoted(lpszField, "") +
                       "]\n");
    }
    void Line(const char* lpszField, std::string_view szValue) {
        std::string& strLabel = m_arNode.back().m_strLabel;
        strLabel.append(lpszField).append(" ");
        for (const char c : szValue) {
            if (c == '"' || c == '\\') strLabel += '\\';
            strLabel += c;
        }
        strLabel += "\\l";
    }

    const PLANPRINT& m_stPrint;
    CPlanSink& m_stSink;
    std::vector<NODE> m_arNode;
};

} // namespace

std::unique_ptr<CPlanWriter> MakePlanWriter(const PLANPRINT& stPrint, CPlanSink& stSink) {
    switch (stPrint.m_nFormat) {
        case PLANFORMAT_JSON:
            return std::make_unique<CJsonWriter>(stPrint, stSink);
        case PLANFORMAT_DOT:
            return std::make_unique<CDotWriter>(stPrint, stSink);
        default:
            return std::make_unique<CTextWriter>(stPrint, stSink);
    }
}
