// What must hold for any bytes: taken for a statement they compile to a sound plan or to an error, the same one in any
// buffer; taken for a plan they are refused or printed. The tests run it over the corpus; libFuzzer runs it for as long
// as one likes.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "ExactBytes.h"
#include "ParseSql.h"
#include "PlanPrinter.h"

namespace {

/** Ends the run: what the bytes are, libFuzzer keeps and the tests see here. */
[[noreturn]] void Stop(const char* lpszWhat, const char* lpszMore, std::string_view szBytes) {
    std::fprintf(stderr, "%s: %s\n", lpszWhat, lpszMore);
    for (const char c : szBytes)
        std::fprintf(stderr, c >= ' ' && c < 0x7F && c != '\\' ? "%c" : "\\x%02x", static_cast<BYTE>(c));
    std::fputs("\n", stderr);
    std::abort();
}

/** Prints a plan in all formats; answers it as text. */
std::string PrintAll(const CPlanReader& stPlan) {
    for (const PLANFORMAT nFormat : {PLANFORMAT_JSON, PLANFORMAT_DOT})
        static_cast<void>(PrintPlan(stPlan, {nFormat, false, true}));
    return PrintPlan(stPlan);
}

/** Bytes that nobody vouches for: any answer will do. Their number picks the format, since one at a time is enough. */
void ReadAnyPlan(std::string_view szPlan) {
    constexpr PLANFORMAT FORMATS[] = {PLANFORMAT_TEXT, PLANFORMAT_JSON, PLANFORMAT_DOT};
    const ExactText stBytes(szPlan);
    CPlanReader stPlan;
    if (stPlan.Open(stBytes.Data(), szPlan.size()) == ERR_OK)
        static_cast<void>(PrintPlan(stPlan, {FORMATS[szPlan.size() % std::size(FORMATS)], true, false}));
}

/** The same with a head that the reader doesn't refuse at once. */
void ReadWithHead(std::string strPlan) {
    if (strPlan.size() < sizeof(EXECUTEPLANBSON)) return;
    auto* const lpHead = reinterpret_cast<EXECUTEPLANBSON*>(strPlan.data());
    lpHead->m_bVersion = PLAN_VERSION;
    lpHead->m_nTotalDataSize = static_cast<UINT>(strPlan.size());
    if (lpHead->m_nClientSectionNum == 0) lpHead->m_nClientBsonDataSize = lpHead->m_nTotalDataSize;
    ReadAnyPlan(strPlan);
}

void ReadDamaged(std::string strPlan) {
    unsigned nRandom = 1;
    for (const char c : strPlan)
        nRandom = nRandom * 31 + static_cast<BYTE>(c);
    for (int i = 0; i < 4; ++i) {
        nRandom = nRandom * 1664525 + 1013904223;
        strPlan[sizeof(EXECUTEPLANBSON) / 2 + (nRandom >> 8) % (strPlan.size() - sizeof(EXECUTEPLANBSON) / 2)] =
            static_cast<char>(nRandom);
        ReadWithHead(strPlan);
    }
}

/** What the compiler makes is sound: the reader opens it, and no offset in it leads outside. */
void CheckSound(std::string_view szPlan, std::string_view szSql) {
    const ExactText stBytes(szPlan);
    CPlanReader stPlan;
    if (stPlan.Open(stBytes.Data(), szPlan.size()) != ERR_OK) Stop("plan refused", stPlan.Fault(), szSql);
    // Between quotes a line feed is never printed as such, so this is no text of the statement's.
    const std::string strText = PrintAll(stPlan);
    if (strText.find(" leads outside\n") != strText.npos) Stop("plan unsound", strText.c_str(), szSql);
}

std::string PlanBytes(const EXECUTEPLANBSON* lpPlan) {
    return std::string(reinterpret_cast<const char*>(lpPlan), lpPlan->m_nTotalDataSize);
}

struct COMPILED {
    int m_nCode;
    int m_nErrorPos;
    std::string m_strPlan;

    bool operator==(const COMPILED&) const = default;
};

/** Compiles, in a block of the caller's with other bytes in it if there is one. */
COMPILED Compile(const ExactText& stSql, CParseSql& stParse, EXECUTEPLANBSON* lpBlock) {
    EXECUTEPLANBSON* lpPlan = lpBlock;
    COMPILED stCompiled{stParse.ParseSql(stSql.Data(), stSql.Size(), lpPlan, 0, 0, 0), stParse.GetErrorPos(), {}};
    if ((stCompiled.m_nCode == ERR_OK) != (lpPlan != nullptr))
        Stop("code", std::to_string(stCompiled.m_nCode).c_str(), stSql.View());
    if (lpPlan) stCompiled.m_strPlan = PlanBytes(lpPlan);
    return stCompiled;
}

/** A smaller or larger buffer makes no difference. */
void CheckBlock(const ExactText& stSql, const COMPILED& stExpected, std::size_t nCapacity) {
    const ExactText stBlock(std::string(nCapacity, '\xA5'));
    auto* const lpBlock = reinterpret_cast<EXECUTEPLANBSON*>(stBlock.Data());
    lpBlock->m_nClientBsonDataSize = static_cast<UINT>(nCapacity);
    CParseSql stParse;
    if (Compile(stSql, stParse, lpBlock) != stExpected)
        Stop("compiled otherwise in a block of bytes", std::to_string(nCapacity).c_str(), stSql.View());
}

void CheckBinding(const ExactText& stSql, CParseSql& stParse) {
    st_VARDATA stValue;
    stValue.m_vt = VT_BIGINT;
    stValue.m_llValue = 1;
    for (int i = 1; i <= stParse.GetParameterNum(); ++i)
        if (stParse.BindData(i, stValue) != ERR_OK)
            Stop("parameter not bound", std::to_string(i).c_str(), stSql.View());
    if (stParse.ExecuteBind() != ERR_OK) Stop("binding", "not closed", stSql.View());
    CheckSound(PlanBytes(stParse.GetExecutePlan()), stSql.View());
}

void CheckStatement(std::string_view szSql) {
    const ExactText stSql(szSql);
    CParseSql stParse;
    const COMPILED stCompiled = Compile(stSql, stParse, nullptr);
    const std::size_t nSize = std::max(stCompiled.m_strPlan.size(), sizeof(EXECUTEPLANBSON));
    // One that ends behind the plan's head or among its records, and one that is large enough.
    CheckBlock(stSql, stCompiled, sizeof(EXECUTEPLANBSON) + (szSql.size() % 2 == 0 ? 0 : nSize / 2));
    CheckBlock(stSql, stCompiled, nSize + 4096);
    if (stCompiled.m_nCode != ERR_OK) return;
    CheckSound(stCompiled.m_strPlan, szSql);
    ReadDamaged(stCompiled.m_strPlan);
    CheckBinding(stSql, stParse);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const BYTE* lpBytes, std::size_t nLen) {
    const std::string_view szBytes(reinterpret_cast<const char*>(lpBytes), nLen);
    CheckStatement(szBytes);
    ReadAnyPlan(szBytes);
    ReadWithHead(std::string(szBytes));
    return 0;
}
