// The walk through a plan along the rows of its fields. It knows kinds of fields, and no record by its name but the
// plan's head and those that sections hold; how a find looks on paper, the writers know.

#include "PlanPrinter.h"

#include <algorithm>
#include <cstring>
#include <unordered_set>
#include <utility>

#include "KestroDecimal.h"
#include "PlanFields.h"
#include "PlanWriter.h"

namespace {

/** Deeper records are left out. */
constexpr int PRINT_DEPTH_MOST = 500;
/** Bytes of a text that are printed. */
constexpr std::size_t PRINT_TEXT_MOST = 200;
/** Things that are printed of the smallest plan, at most. */
constexpr std::size_t PRINT_BUDGET_BASE = 1000;

/** A place in the plan, with the area that it may not leave: the main buffer or a section. */
struct SPOT {
    std::span<const BYTE> m_arArea;
    USHORT m_nSectionNo;
    UINT m_nPos;

    /** Of a record that lies inside. */
    const BYTE* At(UINT nOffset) const { return m_arArea.data() + m_nPos + nOffset; }
    std::size_t Left() const { return m_nPos > m_arArea.size() ? 0 : m_arArea.size() - m_nPos; }
    std::span<const BYTE> Bytes() const { return m_arArea.last(Left()); }
    SPOT Plus(UINT nOffset) const { return {m_arArea, m_nSectionNo, m_nPos + nOffset}; }
};

template <typename T>
T LoadLE(const BYTE* lpBytes) {
    T nValue;
    std::memcpy(&nValue, lpBytes, sizeof nValue);
    return nValue;
}

/** A number of 1 to 8 bytes, with its sign if it has one. */
std::int64_t LoadNumber(const BYTE* lpBytes, const PLANFIELDTYPE& stType) {
    std::uint64_t nValue = 0;
    std::memcpy(&nValue, lpBytes, stType.m_nSize);
    const int nUnused = 64 - 8 * stType.m_nSize;
    return stType.m_bSigned ? static_cast<std::int64_t>(nValue << nUnused) >> nUnused
                            : static_cast<std::int64_t>(nValue);
}

std::string Digits(const BYTE* lpBytes, const PLANFIELDTYPE& stType) {
    const std::int64_t nValue = LoadNumber(lpBytes, stType);
    return stType.m_bSigned ? std::to_string(nValue) : std::to_string(static_cast<std::uint64_t>(nValue));
}

std::string Hex(std::span<const BYTE> arByte) {
    std::string strHex = "0x";
    for (const BYTE bByte : arByte.first(std::min(arByte.size(), PRINT_TEXT_MOST / 2))) {
        strHex += "0123456789abcdef"[bByte >> 4];
        strHex += "0123456789abcdef"[bByte & 15];
    }
    return strHex;
}

std::string_view AsText(std::span<const BYTE> arByte) {
    return {reinterpret_cast<const char*>(arByte.data()), arByte.size()};
}

std::string_view ToTerminator(std::span<const BYTE> arByte) {
    return AsText(arByte).substr(0, AsText(arByte).find('\0'));
}

class CWalker {
public:
    /** `nBase`: where a plan inside another one begins. `nBudget` counts down what may still be printed. */
    CWalker(const CPlanReader& stPlan, const PLANPRINT& stPrint, CPlanWriter& stWriter, std::size_t& nBudget,
            UINT nBase = 0, int nDepth = 0)
        : m_stPlan(stPlan),
          m_stPrint(stPrint),
          m_stWriter(stWriter),
          m_nBudget(nBudget),
          m_nBase(nBase),
          m_nDepth(nDepth),
          m_nTextEnd(AsText(stPlan.Main()).rfind('\0') + 1) {}

    void Plan(const char* lpszField) {
        const PLANRECORD& stHead = GetPlanRecord(PLANRECORD_EXECUTEPLANBSON);
        const SPOT stSpot{m_stPlan.Main(), 0, 0};
        m_stWriter.BeginRecord(lpszField, stHead.m_lpszName, Place(stSpot));
        Fields(stHead, stSpot, false);
        if (m_stPlan.SectionNum() != 0) m_stWriter.BeginList("section");
        for (UINT i = 1; i <= m_stPlan.SectionNum(); ++i)
            Section(static_cast<USHORT>(i));
        if (m_stPlan.SectionNum() != 0) m_stWriter.EndList();
        if (m_nBudget == 0) m_stWriter.Note("more", "left out");
        m_stWriter.EndRecord();
    }

private:
    PLANPLACE Place(const SPOT& stSpot) const { return {stSpot.m_nSectionNo, stSpot.m_nPos + m_nBase}; }

    /** Counts things to be printed; false when there were too many. */
    bool Spend(std::size_t nThings = 1) {
        m_nBudget -= std::min(m_nBudget, nThings);
        return m_nBudget != 0;
    }

    void Record(const char* lpszField, PLANRECORDNO nRecord, const SPOT& stSpot, bool bInChain) {
        const PLANRECORD& stRecord = GetPlanRecord(nRecord);
        m_stWriter.BeginRecord(lpszField, stRecord.m_lpszName, Place(stSpot));
        Fields(stRecord, stSpot, bInChain);
        m_stWriter.EndRecord();
    }

    void Fields(const PLANRECORD& stRecord, const SPOT& stSpot, bool bInChain) {
        ++m_nDepth;
        for (const PLANFIELD& stField : stRecord.m_arField)
            if (IsInForce(stRecord, stField, stSpot) && Spend()) Field(stRecord, stField, stSpot, bInChain);
        --m_nDepth;
    }

    /** Whether a row says what its bytes are: the first case that holds, else the plain row. */
    bool IsInForce(const PLANRECORD& stRecord, const PLANFIELD& stField, const SPOT& stSpot) const {
        if (stField.m_bOtherName || !HoldsCase(stRecord, stField, stSpot)) return false;
        for (const PLANFIELD& stOther : stRecord.m_arField) {
            if (stField.m_lpszTag && &stOther == &stField) return true;
            if (stOther.m_nOffset == stField.m_nOffset && stOther.m_lpszTag && HoldsCase(stRecord, stOther, stSpot))
                return false;
        }
        return true;
    }
    bool HoldsCase(const PLANRECORD& stRecord, const PLANFIELD& stField, const SPOT& stSpot) const {
        if (stField.m_lpszTag && stField.m_lpszTag == PLANFIELD_STATEMENT)
            return m_stPlan.Head().m_nType == stField.m_bTagValue;
        return !stField.m_lpszTag || *stSpot.At(stRecord.Find(stField.m_lpszTag)->m_nOffset) == stField.m_bTagValue;
    }

    void Field(const PLANRECORD& stRecord, const PLANFIELD& stField, const SPOT& stSpot, bool bInChain) {
        const PLANFIELDTYPE& stType = stField.m_stType;
        const char* const lpszField = stField.m_lpszName;
        if (stType.m_nKind >= PLANFIELD_TAIL_OFFSETS) return Tail(stRecord, stField, stSpot);
        const std::span<const BYTE> arByte(stSpot.At(stField.m_nOffset), stType.Bytes());
        if (stType.m_nKind == PLANFIELD_RECORD)
            return Record(lpszField, stType.m_nRecord, stSpot.Plus(stField.m_nOffset), false);
        if (!m_stPrint.m_bZero && std::ranges::all_of(arByte, [](BYTE bByte) { return bByte == 0; })) return;
        switch (stType.m_nKind) {
            case PLANFIELD_NUMBER:
                return Numbers(lpszField, stType, arByte);
            case PLANFIELD_BYTES:
                return m_stWriter.Note(lpszField, Hex(arByte));
            case PLANFIELD_CHARS:
                return Chars(lpszField, stType, arByte);
            default:
                return Offset(stRecord, stField, stSpot, static_cast<UINT>(LoadNumber(arByte.data(), stType)),
                              bInChain);
        }
    }

    void Offset(const PLANRECORD& stRecord, const PLANFIELD& stField, const SPOT& stSpot, UINT nOffset, bool bInChain) {
        const char* const lpszField = stField.m_lpszName;
        const PLANRECORDNO nRecord = stField.m_stType.m_nRecord;
        if (nOffset == 0) return m_stWriter.Number(lpszField, "0");
        switch (stField.m_stType.m_nKind) {
            case PLANFIELD_ID:
                return m_stWriter.Note(lpszField,
                                       std::to_string(nOffset >> 16) + ":" + std::to_string(nOffset & 0xFFFF));
            case PLANFIELD_NEXT:
                // The chain itself goes on to the next one.
                return bInChain ? void() : Chain(lpszField, nRecord, nOffset);
            case PLANFIELD_OFFSET:
                return Chain(lpszField, nRecord, nOffset);
            case PLANFIELD_ARRAY:
                return Array(lpszField, nRecord, {m_stPlan.Main(), 0, nOffset}, Length(stRecord, stField, stSpot));
            case PLANFIELD_TEXT:
                // The statement is printed whole, but once: not for every name that a bad plan finds in it.
                return Text(lpszField, nOffset,
                            stField.m_nRecord == PLANRECORD_EXECUTEPLANBSON ? m_stPlan.Text(nOffset) : TextAt(nOffset));
            case PLANFIELD_TEXT_OF:
                return Text(lpszField, nOffset,
                            m_stPlan.Text(nOffset, Length(stRecord, stField, stSpot)).substr(0, PRINT_TEXT_MOST));
            default:
                return InnerPlan(lpszField, nOffset);
        }
    }

    // --- values ------------------------------------------------------------------------------------------------------

    void Numbers(const char* lpszField, const PLANFIELDTYPE& stType, std::span<const BYTE> arByte) {
        if (stType.m_nCount == 1) return m_stWriter.Number(lpszField, Digits(arByte.data(), stType));
        m_stWriter.BeginList(lpszField);
        for (UINT i = 0; i < stType.m_nCount; ++i)
            m_stWriter.Number(lpszField, Digits(&arByte[i * stType.m_nSize], stType));
        m_stWriter.EndList();
    }

    void Chars(const char* lpszField, const PLANFIELDTYPE& stType, std::span<const BYTE> arByte) {
        if (stType.m_nCount == 1) return m_stWriter.Text(lpszField, ToTerminator(arByte));
        m_stWriter.BeginList(lpszField);
        for (UINT i = 0; i < stType.m_nCount; ++i) {
            const std::string_view szText = ToTerminator(arByte.subspan(i * stType.m_nSize, stType.m_nSize));
            if (!szText.empty()) m_stWriter.Text(lpszField, szText);
        }
        m_stWriter.EndList();
    }

    void Text(const char* lpszField, UINT nOffset, std::string_view szText) {
        if (!szText.data()) return Outside(lpszField, nOffset);
        m_stWriter.Text(lpszField, szText);
    }

    /** As much of a text as is printed. No search goes to its end, which in a bad plan is the end of many others. */
    std::string_view TextAt(UINT nPos) const {
        if (nPos >= m_nTextEnd || !m_stPlan.Bytes(nPos, 1)) return {};
        const std::span<const BYTE> arByte = m_stPlan.Main().subspan(nPos);
        return ToTerminator(arByte.first(std::min(arByte.size(), PRINT_TEXT_MOST)));
    }

    void Outside(const char* lpszField, UINT nOffset) {
        m_stWriter.Note(lpszField, std::to_string(nOffset) + " leads outside");
    }

    /** What the length field of the same record says, at least 0. */
    static UINT Length(const PLANRECORD& stRecord, const PLANFIELD& stField, const SPOT& stSpot) {
        const PLANFIELD& stLength = *stRecord.Find(stField.m_stType.m_lpszLength);
        const std::int64_t nLength = LoadNumber(stSpot.At(stLength.m_nOffset), stLength.m_stType);
        return static_cast<UINT>(std::max<std::int64_t>(nLength, 0));
    }

    // --- records -----------------------------------------------------------------------------------------------------

    /** A record, or a remark in its place. Whether it was printed here. */
    bool Target(const char* lpszField, PLANRECORDNO nRecord, const SPOT& stSpot, bool bInChain) {
        const PLANRECORD& stRecord = GetPlanRecord(nRecord);
        const bool bMain = stSpot.m_nSectionNo == 0;
        if (!Spend()) return false;
        if (bMain && !m_stPlan.Bytes(stSpot.m_nPos, stRecord.m_nSize)) return Outside(lpszField, stSpot.m_nPos), false;
        if (m_nDepth >= PRINT_DEPTH_MOST) return m_stWriter.Note(lpszField, "too deep"), false;
        if (bMain && !m_setPrinted.insert(stSpot.m_nPos).second)
            return m_stWriter.Again(lpszField, stRecord.m_lpszName, Place(stSpot)), false;
        Record(lpszField, nRecord, stSpot, bInChain);
        return true;
    }

    /** A record and those that follow it in its chain; or the record alone, if it has none. */
    void Chain(const char* lpszField, PLANRECORDNO nRecord, UINT nOffset) {
        SPOT stSpot{m_stPlan.Main(), 0, nOffset};
        const PLANFIELD* const lpNext = NextField(nRecord);
        if (!lpNext) return static_cast<void>(Target(lpszField, nRecord, stSpot, false));
        m_stWriter.BeginList(lpszField);
        while (stSpot.m_nPos != 0 && Target(lpszField, nRecord, stSpot, true))
            stSpot.m_nPos = static_cast<UINT>(LoadNumber(stSpot.At(lpNext->m_nOffset), lpNext->m_stType));
        m_stWriter.EndList();
    }

    static const PLANFIELD* NextField(PLANRECORDNO nRecord) {
        for (const PLANFIELD& stField : GetPlanRecord(nRecord).m_arField)
            if (stField.m_stType.m_nKind == PLANFIELD_NEXT && stField.m_stType.m_nRecord == nRecord) return &stField;
        return nullptr;
    }

    /** Records one behind the other. */
    void Array(const char* lpszField, PLANRECORDNO nRecord, const SPOT& stFirst, UINT nCount) {
        const UINT nSize = GetPlanRecord(nRecord).m_nSize;
        if (stFirst.Left() < std::uint64_t{nCount} * nSize) return Outside(lpszField, stFirst.m_nPos);
        m_stWriter.BeginList(lpszField);
        for (UINT i = 0; i < nCount && m_nBudget != 0; ++i)
            Target(lpszField, nRecord, stFirst.Plus(i * nSize), false);
        m_stWriter.EndList();
    }

    void InnerPlan(const char* lpszField, UINT nOffset) {
        const auto* const lpHead = m_stPlan.Record<EXECUTEPLANBSON>(nOffset);
        const BYTE* const lpPlan = lpHead ? m_stPlan.Bytes(nOffset, lpHead->m_nTotalDataSize) : nullptr;
        CPlanReader stInner;
        // Its size is the price of looking at it: plans inside each other end with the budget.
        if (lpPlan && !Spend(lpHead->m_nTotalDataSize)) return;
        if (!lpPlan || stInner.Open(lpPlan, lpHead->m_nTotalDataSize) != ERR_OK) return Outside(lpszField, nOffset);
        if (m_nDepth < PRINT_DEPTH_MOST)
            CWalker(stInner, m_stPrint, m_stWriter, m_nBudget, m_nBase + nOffset, m_nDepth).Plan(lpszField);
    }

    void Section(USHORT nSectionNo) {
        const PLANSECTION stSection = m_stPlan.Section(nSectionNo);
        const SPOT stHead{stSection.m_arByte, nSectionNo, 0};
        const PLANRECORD& stRecord = GetPlanRecord(PLANRECORD_BUFFERSECTIONHEAD);
        if (!Spend()) return;
        m_stWriter.BeginRecord("section", stRecord.m_lpszName, Place(stHead));
        Fields(stRecord, stHead, false);
        if (stSection.m_bType == SECTION_RECORD)
            Linked("row", PLANRECORD_RECORDSECTIONHEAD, PLANRECORD_RECORDHEAD, stHead);
        if (stSection.m_bType == SECTION_STEP)
            Linked("step", PLANRECORD_STEPSECTIONHEAD, PLANRECORD_EXECUTESTEP, stHead);
        m_stWriter.EndRecord();
    }

    /** The link head of a section and all records behind it. */
    void Linked(const char* lpszField, PLANRECORDNO nLink, PLANRECORDNO nRecord, const SPOT& stHead) {
        const SPOT stLink = stHead.Plus(sizeof(BUFFERSECTIONHEAD));
        Record("link", nLink, stLink, false);
        const SPOT stFirst = stLink.Plus(GetPlanRecord(nLink).m_nSize);
        Array(lpszField, nRecord, stFirst, static_cast<UINT>(stFirst.Left() / GetPlanRecord(nRecord).m_nSize));
    }

    // --- tails -------------------------------------------------------------------------------------------------------

    void Tail(const PLANRECORD& stRecord, const PLANFIELD& stField, const SPOT& stSpot) {
        const char* const lpszField = stField.m_lpszName;
        const PLANFIELDTYPE& stType = stField.m_stType;
        const SPOT stTail = stSpot.Plus(stField.m_nOffset);
        const UINT nLength = stType.m_lpszLength ? Length(stRecord, stField, stSpot) : 4;
        const std::size_t nElement = stType.m_nKind == PLANFIELD_TAIL_OFFSETS ? sizeof(UINT) : 1;
        if (stType.m_nKind == PLANFIELD_TAIL_RECORDS) return Array(lpszField, stType.m_nRecord, stTail, nLength);
        if (stType.m_nKind == PLANFIELD_TAIL_TEXT) return TailText(lpszField, stTail.m_nPos);
        if (stTail.Left() < nLength * nElement) return Outside(lpszField, stTail.m_nPos);
        const std::span<const BYTE> arByte = stTail.Bytes().first(nLength * nElement);
        switch (stType.m_nKind) {
            case PLANFIELD_TAIL_OFFSETS:
                return TailOffsets(lpszField, stType.m_nRecord, arByte);
            case PLANFIELD_TAIL_DECIMAL:
                return TailDecimal(lpszField, arByte);
            case PLANFIELD_TAIL_INT:
                return m_stWriter.Number(lpszField, std::to_string(LoadLE<int>(arByte.data())));
            case PLANFIELD_TAIL_OFFSET:
                return Chain(lpszField, stType.m_nRecord, LoadLE<UINT>(arByte.data()));
            default:
                return TailBytes(lpszField, arByte);
        }
    }

    void TailText(const char* lpszField, UINT nPos) {
        const std::string_view szText = TextAt(nPos);
        return szText.data() ? m_stWriter.Text(lpszField, szText) : m_stWriter.Note(lpszField, "has no end");
    }

    void TailOffsets(const char* lpszField, PLANRECORDNO nRecord, std::span<const BYTE> arByte) {
        m_stWriter.BeginList(lpszField);
        for (std::size_t i = 0; i < arByte.size() && m_nBudget != 0; i += sizeof(UINT))
            Target(lpszField, nRecord, {m_stPlan.Main(), 0, LoadLE<UINT>(&arByte[i])}, false);
        m_stWriter.EndList();
    }

    void TailDecimal(const char* lpszField, std::span<const BYTE> arByte) {
        st_VARDATA stValue;
        char szText[DECIMAL_TEXT_SIZE];
        const int nLen = static_cast<int>(std::min<std::size_t>(arByte.size(), DECIMAL_BIN_SIZE));
        if (CKestroDecimal::LoadBin(arByte.data(), nLen, &stValue) != ERR_OK)
            return m_stWriter.Note(lpszField, Hex(arByte));
        CKestroDecimal::PrintDecimal(&stValue, szText);
        m_stWriter.Number(lpszField, szText);
    }

    /** A text, with or without its terminator; in hexadecimal if it doesn't look like one. */
    void TailBytes(const char* lpszField, std::span<const BYTE> arByte) {
        if (arByte.empty()) return;
        if (arByte.back() == 0) arByte = arByte.first(arByte.size() - 1);
        arByte = arByte.first(std::min(arByte.size(), PRINT_TEXT_MOST));
        const bool bText = std::ranges::none_of(arByte, [](BYTE bByte) { return bByte > 0 && bByte < 9; });
        if (!bText) return m_stWriter.Note(lpszField, Hex(arByte));
        m_stWriter.Text(lpszField, AsText(arByte));
    }

    const CPlanReader& m_stPlan;
    const PLANPRINT& m_stPrint;
    CPlanWriter& m_stWriter;
    std::size_t& m_nBudget;
    UINT m_nBase;
    int m_nDepth;
    /** Texts that begin here or behind it have no end. */
    std::size_t m_nTextEnd;
    /** Offsets of the records that were printed. */
    std::unordered_set<UINT> m_setPrinted;
};

class CStringSink : public CPlanSink {
public:
    void Write(std::string_view szPiece) override { m_strText += szPiece; }
    std::string m_strText;
};

} // namespace

void PrintPlan(const CPlanReader& stPlan, const PLANPRINT& stPrint, CPlanSink& stSink) {
    const std::unique_ptr<CPlanWriter> lpWriter = MakePlanWriter(stPrint, stSink);
    // A sound plan prints each byte once at most as a field, once as a target, and once in a plan inside it.
    std::size_t nBudget = PRINT_BUDGET_BASE + 4 * std::size_t{stPlan.Head().m_nTotalDataSize};
    CWalker(stPlan, stPrint, *lpWriter, nBudget).Plan("plan");
    lpWriter->Finish();
}

std::string PrintPlan(const CPlanReader& stPlan, const PLANPRINT& stPrint) {
    CStringSink stSink;
    PrintPlan(stPlan, stPrint, stSink);
    return std::move(stSink.m_strText);
}
