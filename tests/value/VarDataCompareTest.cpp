// Comparison of values: outcomes by rows of text, the laws of an order on random values, members of ENUM and SET,
// hostile lengths.

#include <gtest/gtest.h>

#include <climits>
#include <map>
#include <random>

#include "ExactBytes.h"
#include "KestroErrorCode.h"
#include "ValueRows.h"

namespace {

using VALUE = const st_VARDATA&;

/** What the six comparisons == != < <= > >= come to: ~ neither less nor equal, # unequal only, . not comparable. */
std::string Outcome(VALUE a, VALUE b) {
    static const std::map<std::string, const char*> OUTCOMES = {{"100101", "="}, {"011100", "<"}, {"010011", ">"},
                                                                {"010101", "~"}, {"010000", "#"}, {"000000", "."}};
    std::string strHolding;
    for (const BOOL bHolds : {a == b, a != b, a<b, a <= b, a> b, a >= b})
        strHolding += bHolds ? '1' : '0';
    const auto lpOutcome = OUTCOMES.find(strHolding);
    return lpOutcome == OUTCOMES.end() ? strHolding : lpOutcome->second;
}

std::string TurnedRound(const std::string& strOutcome) {
    return strOutcome == "<" ? ">" : strOutcome == ">" ? "<" : strOutcome;
}

TEST(VarDataCompare, OutcomesOfPairs) {
    for (const auto& st : RowsOf(R"(
            int:1 < int:2; int:-1 = big:-1; big:9223372036854775807 > int:-2147483648; dbl:1e300 > big:1
            int:1 = dbl:1.000000009; int:1 < dbl:1.00000002; dbl:inf = dbl:inf; dbl:nan # dbl:1; dbl:nan # dbl:nan
            int:3 = dec:3; int:-3 = dec:-3.0; int:-2147483648 < dec:0.5
            big:-9223372036854775808 = dec:-9223372036854775808; big:123456789012 < dec:123456789013
            dec:1.50 = dec:1.5; dbl:0.1 = dec:0.1; dbl:nan . dec:1; int:2147483647 < dec:2147483648; int:0 < txt:abc
            int:5 > txt:12x; int:12 > txt:0xC; dbl:5 > txt:; int:1 = txt:1; int:1 ~ txt:1.0; big:1 ~ txt:1.00
            int:10 = txt:10.0; big:100 = txt:1e2; int:1 < txt:1.5; int:1 < txt:30000000000; dbl:0.5 = txt:0.50
            dec:2.5 = txt:2.50; dec:2.5 < txt:two; int:65 < bytes:A; txt:ABC = txt:abc; txt:ab < txt:abc
            txt:b > txt:ABC; date:2024-01-31 < date:2024-02-01; date:2024-12-01 < date:2025-01-01
            date:2024-01-31 < dt:45322.5; date:2024-01-31 = txt:2024-01-31; date:2024-01-31 > txt:20240130
            date:2024-01-31 < txt:2024-01-31_10:00:00; date:2024-01-31 . txt:no_date
            date:2024-01-31 = int:45322; date:2024-01-31 < dec:45322.5
            dt:45322.5 = txt:2024-01-31_12:00:00; dt:45322.5 > txt:20240131115959; dt:45322.5 = dbl:45322.5
            time:0d_10:00:00 > time:0d_09:59:59; time:-128d_00:30:00 < time:0d_00:00:00
            time:-128d_01:00:00 < time:-128d_00:30:00; time:-2d_01:00:00 < time:-2d_00:00:00
            time:0d_10:00:00 = txt:10:00:00; time:0d_10:00:00 . txt:noon; time:0d_10:00:00 . int:100000; null = null
            null . int:1; txt:a . null; empty . empty; unknown . unknown; any . int:1; blob:a . blob:a
            hex:0x1 . int:1)")) {
        const WordValue stLeft(st[0]), stRight(st.at(2));
        EXPECT_EQ(st[1], Outcome(stLeft, stRight)) << st[0] << ' ' << st[2];
        EXPECT_EQ(TurnedRound(st[1]), Outcome(stRight, stLeft)) << st[2] << ' ' << st[0];
    }
}

TEST(VarDataCompare, GroupingIsExact) {
    // The answers without and with regard to case.
    for (const auto& st : RowsOf(R"(null null 2 2; empty empty 2 2; unknown unknown 3 3; any any 0 0; null empty 0 0
            dbl:1 dbl:1.000000001 0 0; int:1 dbl:1.000000001 1 1; dec:1.0 dec:1 1 1; txt:ABC txt:abc 1 0
            txt:1 int:1 1 1; date:2024-01-31 txt:2024-01-31 1 1)")) {
        const WordValue stLeft(st[0]), stRight(st[1]);
        EXPECT_EQ(std::stoi(st[2]), stLeft.Get().IsEqual(stRight, 0)) << st[0] << ' ' << st[1];
        EXPECT_EQ(std::stoi(st[3]), stLeft.Get().IsEqual(stRight, 1)) << st[0] << ' ' << st[1];
    }
}

TEST(VarDataCompare, OperatorsByTheirCodes) {
    int nResult = 7;
    // Codes 19 to 25 are <=> == != > >= < <=.
    for (const auto& st : RowsOf("int:1 int:2 0010011; int:2 int:2 1100101; null int:2 0000000; null null 1100101"))
        for (int i = 0; i < 7; ++i) {
            const auto bCode = static_cast<unsigned char>(19 + i);
            EXPECT_EQ(ERR_OK, CompareData(WordValue(st[0]), WordValue(st[1]), bCode, nResult));
            EXPECT_EQ(st[2][i] - '0', nResult) << st[0] << ' ' << st[1] << ' ' << 19 + i;
        }
    nResult = 7;
    for (const int nCode : {0, 18, 26, 255})
        EXPECT_EQ(ERR_OPERATOR,
                  CompareData(WordValue("int:1"), WordValue("int:1"), static_cast<unsigned char>(nCode), nResult));
    EXPECT_EQ(7, nResult);
}

TEST(VarDataCompare, MembersOfEnumAndSet) {
    char szRed[] = "red", szGreen[] = "green", szBlue[] = "blue";
    char* arMembers[] = {szRed, szGreen, szBlue};
    st_MYSQLFIELDDEF stField{};
    stField.m_nEnumNum = 3;
    stField.m_arrEnumData = arMembers;
    // The value, 1 for an ENUM and 2 for a SET, the text.
    for (const auto& st : RowsOf(R"(int:1 1 txt:GREEN =; big:1 1 txt:blue <; int:0 1 txt:yellow #; int:1 1 txt:1 #
            int:1 1 int:1 =; big:3 2 txt:red,green =; big:5 2 txt:blue,x,RED =; big:4 2 txt:blue, =; big:0 2 txt: =
            int:4 2 txt:red >; big:1 3 txt:1 =)")) {
        WordValue stValue(st[0]);
        stValue->m_bEnumType = static_cast<BYTE>(std::stoi(st[1]));
        stValue->m_enumValue.m_pField = &stField;
        EXPECT_EQ(st[3], Outcome(stValue, WordValue(st[2]))) << st[0] << ' ' << st[2];
    }
}

/** A small value of one of the types. */
WordValue Draw(std::mt19937_64& stRandom, const std::vector<std::string>& arTypes) {
    const std::string& strType = arTypes[stRandom() % arTypes.size()];
    const int nWhole = static_cast<int>(stRandom() % 7) - 3;
    std::string strPayload = std::to_string(nWhole);
    if ((strType == "dbl" || strType == "dec" || strType == "txt") && stRandom() % 2) strPayload += ".25";
    if (strType == "txt" && stRandom() % 2) strPayload = static_cast<char>('A' + nWhole + 3);
    if (strType == "date") strPayload = "1899-12-" + std::to_string(28 + nWhole % 3);
    if (strType == "time") strPayload += "d_0" + std::to_string(stRandom() % 3) + ":30:00";
    return WordValue(strType == "null" ? strType : strType + ":" + strPayload);
}

TEST(VarDataCompare, RandomValuesKeepTheLawsOfOrder) {
    std::mt19937_64 stRandom(99);
    using TYPES = std::vector<std::string>;
    const TYPES arAll = {"int", "big", "dbl", "dec", "txt", "date", "time", "null"};
    for (int i = 0; i < 20000; ++i) {
        const WordValue a = Draw(stRandom, arAll), b = Draw(stRandom, arAll);
        EXPECT_EQ(TurnedRound(Outcome(a, b)), Outcome(b, a)) << WordValue::Print(a) << ' ' << WordValue::Print(b);
    }
    // Among numbers and dates, among texts, and among times, the order goes through.
    for (const TYPES& arTypes : {TYPES{"int", "big", "dbl", "dec", "date"}, TYPES{"txt"}, TYPES{"time"}})
        for (int i = 0; i < 10000; ++i) {
            const WordValue a = Draw(stRandom, arTypes), b = Draw(stRandom, arTypes), c = Draw(stRandom, arTypes);
            const bool bChain = a.Get() <= b.Get() && b.Get() <= c.Get();
            EXPECT_TRUE(!bChain || a.Get() <= c.Get())
                << WordValue::Print(a) << ' ' << WordValue::Print(b) << ' ' << WordValue::Print(c);
        }
}

TEST(VarDataCompare, TextIsNeverReadBeyondItsLength) {
    for (const std::string& strText : {std::string("2024-01-31"), std::string("12.5"), std::string("10:20:30"),
                                       std::string("a\0b\0\0", 5), std::string(3000, '9')})
        for (const int nLen : {INT_MIN, -1, 0, 1, 4, 5, 8, 10, 3000}) {
            const ExactText stText{std::string_view(strText)};
            st_VARDATA st;
            st.SetData(stText.Data(), std::min(nLen, stText.Size()), 0);
            EXPECT_EQ("=", Outcome(st, st));
            for (const char* szOther :
                 {"int:1", "big:1", "dbl:1", "dec:1", "date:2024-01-31", "dt:45322", "time:0d_10:20:30", "txt:a"})
                EXPECT_EQ(TurnedRound(Outcome(st, WordValue(szOther))), Outcome(WordValue(szOther), st)) << szOther;
            EXPECT_EQ(nLen <= 0 ? "=" : ">", Outcome(st, WordValue("txt:")));
        }
    // Zero bytes at the end don't count; a text without a buffer equals nothing on the right.
    st_VARDATA stZeros, stNone;
    stZeros.SetData("ab\0\0", 4, 0);
    EXPECT_EQ("=", Outcome(stZeros, WordValue("txt:AB")));
    stNone.SetData(nullptr, 3, 0);
    EXPECT_EQ("~", Outcome(WordValue("txt:"), stNone));
    EXPECT_EQ(">", Outcome(WordValue("txt:a"), stNone));
    EXPECT_EQ(".", Outcome(WordValue("int:0"), stNone));
}

} // namespace
