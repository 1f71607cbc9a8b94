// Arithmetic, bits, logic, concatenation and the functions on one number: by rows of text, against plain C++ arithmetic
// and on hostile text.

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <map>
#include <random>

#include "ChunkFault.h"
#include "ExactBytes.h"
#include "IntegerCut.h"
#include "ValueRows.h"

namespace {

using VALUE = const st_VARDATA&;

/** Operators by their signs give a new value. */
const std::map<std::string, st_VARDATA (*)(VALUE, VALUE)> NEW_VALUES = {{"+", [](VALUE a, VALUE b) { return a + b; }},
                                                                        {"-", [](VALUE a, VALUE b) { return a - b; }},
                                                                        {"*", [](VALUE a, VALUE b) { return a * b; }},
                                                                        {"/", [](VALUE a, VALUE b) { return a / b; }},
                                                                        {"%", [](VALUE a, VALUE b) { return a % b; }},
                                                                        {"&", [](VALUE a, VALUE b) { return a & b; }},
                                                                        {"|", [](VALUE a, VALUE b) { return a | b; }},
                                                                        {"^", [](VALUE a, VALUE b) { return a ^ b; }},
                                                                        {"<<", [](VALUE a, VALUE b) { return a << b; }},
                                                                        {">>", [](VALUE a, VALUE b) { return a >> b; }},
                                                                        {"pow", st_VARDATA::Power}};

/** Operators by their names take a pool. */
std::string Calculate(VALUE a, const std::string& str, VALUE b) {
    if (const auto it = NEW_VALUES.find(str); it != NEW_VALUES.end()) return WordValue::Print(it->second(a, b));
    st_VARDATA st;
    EXPECT_EQ(ERR_OK, str == "add"   ? st.Add(nullptr, a, b)
                      : str == "sub" ? st.Sub(nullptr, a, b)
                      : str == "mul" ? st.Mul(nullptr, a, b)
                      : str == "div" ? st.Div(nullptr, a, b)
                                     : st.Mod(nullptr, a, b));
    return WordValue::Print(st);
}

/** Rows "left operator right = result". */
void Check(const char* szTable) {
    for (const auto& st : RowsOf(szTable))
        EXPECT_EQ(st.at(4), Calculate(WordValue(st[0]), st[1], WordValue(st[2]))) << st[0] << st[1] << st[2];
}

/** One value of each kind that an operand may be. */
const std::vector<std::string> SAMPLES = RowsOf(
    "int:2 big:3 dbl:1.5 dt:45322.5 dec:2.5 date:2024-01-31 time:0d_06:00:00 hex:0x10 txt:2024-02-01 "
    "txt:10:00:00 txt:2024-02-01_06:00:00 txt:12 txt:1.25 txt:0x1F bytes:A blob:bytes")[0];

/** The letter of a printed value's type. */
char TypeLetter(const std::string& strValue) {
    static const std::map<std::string, char> LETTERS = {{"int", 'i'},  {"big", 'l'}, {"dbl", 'f'},  {"dt", 'm'},
                                                        {"date", 'd'}, {"dec", 'n'}, {"time", 't'}, {"null", '.'}};
    return LETTERS.at(strValue.substr(0, strValue.find(':')));
}

/** The results' types, "." for NULL: rows and columns as the samples. */
void CheckTypes(const char* szOperator, const std::string& strTable) {
    const auto arTable = RowsOf(strTable);
    ASSERT_EQ(std::size(SAMPLES), arTable.size());
    for (std::size_t i = 0; i < arTable.size(); ++i)
        for (std::size_t j = 0; j < arTable.size(); ++j) {
            const std::string strResult = Calculate(WordValue(SAMPLES[i]), szOperator, WordValue(SAMPLES[j]));
            EXPECT_EQ(arTable[i].at(j)[0], TypeLetter(strResult))
                << SAMPLES[i] << ' ' << szOperator << ' ' << SAMPLES[j] << " = " << strResult;
        }
}

TEST(VarDataOperator, TypesOfResults) {
    // Three rows a line, for i l f; m n; t x "date"; "time" "both" "12"; "1.25" "0x1F" bytes; blob.
    const std::string strNumbers = R"(
            l l f m n d t l d . m l f l l .; l l f m n d t l d . m l f l l .; f f f m n m t f m . m f f f f .
            m m m m m m m m m . m m m m m .; n n n m n m t n m . m n n n n .)";
    const std::string strRest = R"(
            t t t m t m t t m t m t t t t .; l l f m n d t l d . m l f l l .; d d m m m . m d . m m d m d d .
            . . . . . m t . m t . . . . . .; m m m m m . m m . m m m m m m .; l l f m n m t l m t m l f l l .
            f f f m n m t f m t m f f f f .; l l f m n m t l m t m l f l l .; l l f m n d t l d t m l f l l .
            . . . . . . . . . . . . . . . .)";
    // They differ where a date is the first.
    CheckTypes("add", strNumbers + "; d d m m m m m d . m . m m m d .;" + strRest);
    CheckTypes("sub", strNumbers + "; d d d f d m m d i m f d d d d .;" + strRest);
    const std::string strLong = "l l f . n . . l . . . l f l l .;", strReal = "f f f . n . . f . . . f f f f .;",
                      strExact = "n n n . n . . n . . . n n n n .;", strNone = ". . . . . . . . . . . . . . . .;",
                      strInt = "i i f . n . . i . . . i f i i .;";
    const std::string strTexts = strNone + strNone + strNone;
    CheckTypes("*", strLong + strLong + strReal + strNone + strExact + strNone + strNone + strLong + strTexts +
                        strLong + strReal + strLong + strLong + strNone);
    CheckTypes("/", strReal + strReal + strReal + strNone + strExact + strNone + strNone + strReal + strTexts +
                        strReal + strReal + strReal + strReal + strNone);
    CheckTypes("%", strInt + strLong + strReal + strNone + strExact + strNone + strNone + strLong + strTexts + strLong +
                        strReal + strLong + strLong + strNone);
}

TEST(VarDataOperator, ValuesOfNumbers) {
    Check(R"(int:2147483647 + int:1 = big:2147483648; big:9223372036854775807 + int:1 = big:-9223372036854775808
            big:-9223372036854775808 - big:1 = big:9223372036854775807; int:-2147483648 + dec:0.5 = dec:-2147483647.5
            big:-9223372036854775808 - dec:0.5 = dec:-9223372036854775808.5; dec:0.1 + dbl:0.2 = dec:0.3
            dbl:1e200 + dec:1 = null; hex:0x10 + int:1 = big:17; hex:2.5 + int:1 = big:4; hex:2.5 + dec:1 = dec:3.5
            txt:abc + int:1 = big:1; txt: + int:1 = big:1; txt:abc + dec:1 = null; txt:12abc - int:1 = big:11
            txt:20240131 + int:1 = big:20240132; txt:1e2 + int:1 = dbl:101; txt:0x1F - txt:1.5 = dbl:29.5
            bytes:A1 + int:1 = big:16690; bytes:A + dec:0.5 = dec:65.5
            big:3037000500 * big:3037000500 = dec:9223372037000250000; big:2147483647 * int:2 = dec:4294967294
            big:2147483646 * big:-2147483647 = big:-4611686011984936962; big:-2147483648 * int:1 = dec:-2147483648
            txt:0x7FFFFFFE * int:2 = big:4294967292; txt:0x7FFFFFFF * int:2 = dec:4294967294
            dbl:0.5 * int:3 = dbl:1.5; int:7 / int:2 = dbl:3.5; int:1 / dec:3 = dec:0.333333333; int:1 / int:0 = null
            dec:1.0 / int:0 = null; int:1 % int:0 = null; dbl:1 % dbl:0 = null; dec:1 % int:0 = null
            int:-7 % big:2 = int:-1; int:-2147483648 % int:-1 = int:0; big:-9223372036854775808 % big:-1 = big:0
            dbl:7.5 % int:-2 = dbl:1.5; dec:7.5 % int:-2 = dec:1.5; int:2 pow int:62 = big:4611686018427387904
            int:2 pow int:-1 = big:0; int:10 pow int:30 = big:-9223372036854775808; dbl:2.25 pow dbl:0.5 = dbl:1.5
            int:-8 pow dbl:2 = null; dbl:-8 pow int:2 = dbl:64; int:2 pow dec:2 = null)");
}

TEST(VarDataOperator, ValuesOfDates) {
    Check(R"(date:2024-02-29 + int:1 = date:2024-03-01; date:2024-02-29 + dbl:0.5 = dt:45351.5
            date:2024-03-01 - dbl:0.5 = date:2024-02-29; date:2024-03-01 - dt:45351.5 = dbl:0.5
            date:2024-03-01 - txt:2024-02-28_06:00:00 = dbl:1.75; date:2024-03-01 - txt:2024-02-28 = int:2
            date:2024-03-01 - txt:1 = date:2024-02-29; date:2024-03-01 + txt:1 = dt:45353
            date:2024-03-01 + txt:2024-13-45 = null; int:1 + txt:2024-13-45 = null; date:0001-01-01 - int:1 = null
            date:2024-03-01 + big:9223372036854775807 = null; dt:45351.5 + time:0d_12:00:01 = dt:45352.0000115741
            time:0d_10:00:00 - time:0d_10:30:00 = time:-128d_00:30:00
            time:0d_23:59:59 + time:0d_00:00:01 = time:1d_00:00:00
            time:-128d_00:30:00 + time:0d_01:00:00 = time:0d_00:30:00
            time:0d_10:00:00 + int:126 = time:126d_10:00:00; time:0d_10:00:00 + int:128 = null
            time:0d_10:00:00 - dbl:1e300 = null; txt:2024-02-01 + txt:10:00:00 = dt:45323.4166666667
            txt:10:00:00 + txt:0:30:00 = time:0d_10:30:00; txt:1_10:00:00 + int:1 = null)");
    EXPECT_EQ("null", Calculate(WordValue("txt:\1\6\0025"), "add", WordValue("date:2024-02-01")));
}

TEST(VarDataOperator, PseudoValues) {
    Check(R"(null add any = null; unknown add null = null; unknown add any = any; unknown add int:1 = unknown
            any sub null = null; any sub unknown = any; date:2024-01-31 sub any = any; hex:0x1 add unknown = unknown
            txt:1 add any = null; empty add any = null; int:1 add empty = null; int:1 add blob:x = null
            null + any = null; unknown + null = unknown; any mul null = any; empty div unknown = unknown
            empty mod int:1 = null; dec:1 mul null = null; int:1 mod any = any; null & any = null
            unknown | any = any; unknown << empty = unknown; empty ^ int:1 = null; blob:bytes & int:1 = null)");
}

TEST(VarDataOperator, Bits) {
    Check(R"(int:12 & int:10 = big:8; int:12 | txt:3abc = big:15; dec:11.5 ^ dbl:10.4 = big:6
            bytes:A | int:2 = big:67; int:-1 >> int:63 = big:1; int:1 << int:63 = big:-9223372036854775808
            int:1 << int:64 = big:0; int:-1 >> int:-1 = big:0)");
    for (const auto& st : RowsOf("int:0 big:-1; dec:1.5 big:-3; null null; any any\n"
                                 "empty empty; blob:x null"))
        EXPECT_EQ(st[1], WordValue::Print(~WordValue(st[0]).Get())) << st[0];
    // The mark of an unsigned integer.
    EXPECT_EQ(255, (WordValue("int:1").Get() | WordValue("int:2").Get()).m_bSign);
}

TEST(VarDataOperator, LogicKnowsThreeTruths) {
    const WordValue stTrue("int:1"), stFalse("int:0");
    // A value, its truth, its negation.
    for (const auto& st : RowsOf(R"(int:2 1 0; big:0 0 1; dbl:0 0 1; dbl:1e-9 1 0; txt:abc 0 1; txt:-0.5x 1 0
            txt: 0 1; dec:0.00 0 1; dec:0.01 1 0; date:1899-12-30 0 0; date:2024-01-31 1 0; time:0d_00:00:00 0 1
            time:0d_00:00:01 1 0; null 2 2; empty 0 0; unknown 0 0; any 1 0; blob:x 1 0)")) {
        const WordValue stOperand(st[0]);
        VALUE stValue = stOperand.Get();
        const int nTruth = std::stoi(st[1]);
        EXPECT_EQ(nTruth, stValue && stTrue.Get()) << st[0];
        EXPECT_EQ(nTruth, stFalse.Get() || stValue) << st[0];
        EXPECT_EQ(nTruth == 2 ? 2 : 0, stFalse.Get() && stValue) << st[0];
        EXPECT_EQ(std::stoi(st[2]), !stValue) << st[0];
    }
}

TEST(VarDataOperator, RandomIntegersAgreeWithWideOnes) {
    std::mt19937_64 stRandom(20240131);
    auto Draw = [&] { return static_cast<long long>(stRandom()) >> stRandom() % 64; };
    for (int i = 0; i < 20000; ++i) {
        const long long a = Draw(), b = Draw();
        st_VARDATA stFirst, stSecond;
        stFirst.SetData(a);
        stSecond.SetData(b);
        EXPECT_EQ(static_cast<long long>(__int128{a} + b), (stFirst + stSecond).m_llValue);
        EXPECT_EQ(static_cast<long long>(__int128{a} - b), (stFirst - stSecond).m_llValue);
        const st_VARDATA stProduct = stFirst * stSecond;
        const __int128 nProduct = __int128{a} * b;
        EXPECT_TRUE(stProduct.m_vt == VT_DECIMAL || nProduct == stProduct.m_llValue) << a << " * " << b;
        if (b == 0) continue;
        // A decimal product of up to 36 digits is exact, and so is the way back.
        if (stProduct.m_vt == VT_DECIMAL && std::fabs(static_cast<double>(nProduct)) < 1e36) {
            EXPECT_TRUE(stProduct / stSecond == stFirst) << a << " * " << b;
        }
        EXPECT_EQ(static_cast<double>(a) / static_cast<double>(b), (stFirst / stSecond).m_dblValue);
        EXPECT_EQ(b == -1 ? 0 : a % b, (stFirst % stSecond).m_llValue);
    }
}

TEST(VarDataOperator, ResultsMayBeOperandsAndKeepTheirFlags) {
    const WordValue stCent("dec:0.01"), stOne("int:1");
    WordValue stSum("int:0");
    stSum->m_bAvg = 255;
    stSum->m_nDataCount = 200;
    for (int i = 0; i < 200; ++i)
        EXPECT_EQ(ERR_OK, stSum->Add(nullptr, stCent, stSum));
    EXPECT_EQ("dec:2.00", WordValue::Print(stSum));
    EXPECT_EQ(255, stSum->m_bAvg);
    // The second time there is no running sum any more.
    for (int i = 0; i < 2; ++i)
        stSum->Avg(nullptr);
    EXPECT_EQ("dec:0.01", WordValue::Print(stSum));

    st_VARDATA stOwned;
    stOwned.AttachBuffer(VT_VARCHAR, new char[3]{'4', '1', 0}, 3);
    EXPECT_EQ(ERR_OK, stOwned.Add(nullptr, stOwned, stOne));
    EXPECT_EQ(ERR_OK, stOwned.Mul(nullptr, stOwned, stOwned));
    EXPECT_EQ("big:1764", WordValue::Print(stOwned));

    for (const auto& st :
         RowsOf("int:7 2 dbl:3.5; big:1 0 null; dbl:1 4 dbl:0.25; date:2024-01-31 2 date:2024-01-31")) {
        WordValue stRunning(st[0]);
        stRunning->m_bAvg = 255;
        stRunning->m_nDataCount = static_cast<UINT>(std::stoul(st[1]));
        stRunning->Avg(nullptr);
        EXPECT_EQ(st[2], WordValue::Print(stRunning)) << st[0];
    }
}

TEST(VarDataOperator, ConcatenationLeavesNullOut) {
    Pool stPool;
    for (const auto& st : RowsOf(R"(txt:ab txt:cd txt:abcd; null txt:ab txt:ab; int:1 empty int:1
            int:-1 big:2 txt:-12; dbl:1.5 dec:1.50 txt:1.5000001.50
            date:2024-01-31 time:0d_01:02:03 txt:2024-01-3101:02:03; hex:0x4142 txt: txt:AB; blob:bytes txt:a null
            txt: txt: txt:; any txt:a null)")) {
        const WordValue stLeft(st[0]), stRight(st[1]);
        st_VARDATA stResult;
        EXPECT_EQ(ERR_OK, stLeft.Get().Link(&stPool, stRight, stResult));
        EXPECT_EQ(st[2], WordValue::Print(stResult)) << st[0] << ' ' << st[1];
    }
    st_VARDATA stOwned, stCopy;
    stOwned.AttachBuffer(VT_VARCHAR, new char[3]{'a', 'b', 0}, 3);
    EXPECT_EQ(ERR_MEMORY, WordValue("null").Get().Link(nullptr, stOwned, stCopy));
    EXPECT_EQ(ERR_OK, stOwned.Link(&stPool, stOwned, stOwned));
    EXPECT_STREQ("abab", stOwned.m_lpszValue);
    for (const char* szLeft : {"txt:a", "hex:0x41", "int:1"})
        for (std::int64_t nNth = 1;; ++nNth) {
            CChunkFault stFault(nNth);
            CKestroBufferPool stFresh;
            const int nResult = WordValue(szLeft).Get().Link(&stFresh, WordValue("txt:b"), stCopy);
            EXPECT_EQ(stFault.CameTrue() ? ERR_MEMORY : ERR_OK, nResult) << szLeft;
            if (nResult == ERR_OK) break;
        }
}

TEST(VarDataOperator, FunctionsOnOneNumber) {
    Pool stPool;
    // Function or places to cut to, value, answer, value then.
    for (const auto& st : RowsOf(R"(
            abs int:-5 4 int:5; abs int:-2147483648 4 int:-2147483648
            abs big:-9223372036854775808 8 big:-9223372036854775808; abs dbl:-0.5 8 dbl:0.5; abs dec:-1.5 3 dec:1.5
            abs txt:12.5abc 8 dbl:12.5; abs null -1 null; floor dbl:-1.5 8 big:-2; floor dbl:1.5 8 big:1
            floor dbl:1e300 8 big:-9223372036854775808; floor int:3 4 int:3; floor date:2024-01-31 8 big:20240131
            floor dt:45322.4309027778 8 big:20240131102030; floor time:0d_10:20:30 8 big:102030
            floor dec:1.5 -1 dec:1.5; ceil dbl:-1.5 8 big:-1; ceil dbl:1.25 8 big:2; ceil txt:1.25 8 big:2
            sqrt int:16 8 dbl:4; sqrt dbl:2.25 8 dbl:1.5; sqrt big:-1 -1 big:-1; sqrt dec:4 -1 dec:4
            0 big:-1234 8 big:-1234; -2 big:-1234 8 big:-1200; -18 big:9223372036854775807 8 big:9000000000000000000
            -19 big:9223372036854775807 8 big:0; -9223372036854775808 big:7 8 big:0; -2 int:1234 4 int:1234
            2 dbl:-1234.567 8 dbl:-1234.56; 0 dbl:0.29e2 8 dbl:29; -2 dbl:-1234.567 8 dbl:-1200
            -4 dbl:-1234.567 8 dbl:-0; -99 dbl:1234.5 8 dbl:0; 7 dbl:1.23456789 8 dbl:1.23456789
            1 dec:-1.29 3 dec:-1.2; -1 dec:129.9 3 dec:120; 100 dec:1.29 3 dec:1.29; 1 txt:1.29 0 txt:1.29)")) {
        WordValue stValue(st[1]);
        const int nResult = st[0] == "abs"     ? stValue->Abs(&stPool)
                            : st[0] == "floor" ? stValue->Floor(&stPool)
                            : st[0] == "ceil"  ? stValue->Ceil(&stPool)
                            : st[0] == "sqrt"  ? stValue->Sqrt(&stPool)
                                               : stValue->Trunc(WordValue("big:" + st[0]));
        EXPECT_EQ(std::stoi(st[2]), nResult) << st[0] << ' ' << st[1];
        EXPECT_EQ(st[3], WordValue::Print(stValue)) << st[0] << ' ' << st[1];
    }
    EXPECT_EQ(ERR_DATA_TYPE, WordValue("big:1")->Trunc(WordValue("dbl:1")));
    EXPECT_EQ(-1, WordValue("date:2024-01-31")->Floor(nullptr));
}

TEST(VarDataOperator, TextIsNeverReadBeyondItsLength) {
    // Texts without an end mark in blocks of exactly their size, with lengths up to that size.
    for (const std::string& strText :
         {std::string("2024-01-31 10:20:30.5"), std::string("12.5e3"), std::string("0x1F2E"), std::string("1\0002", 3),
          std::string("\1\6\0025"), std::string(2000, '7')})
        for (const int nLen : {INT_MIN, -1, 0, 1, 3, 6, 10, 19, 21, 2000})
            for (const int nType : {VT_VARCHAR | 255 << 8, +VT_VARCHAR, +VT_HEXSTR}) {
                const ExactText stText{std::string_view(strText)};
                st_VARDATA st;
                st.SetData(stText.Data(), std::min(nLen, stText.Size()), static_cast<BYTE>(nType >> 8));
                st.m_vt = static_cast<BYTE>(nType);
                for (const std::string& szOther : SAMPLES) {
                    const WordValue stOther(szOther);
                    for (const auto& [szOperator, lpfn] : NEW_VALUES)
                        (void)(Calculate(st, szOperator, stOther) + Calculate(stOther, szOperator, st));
                    EXPECT_NE(2, st && stOther.Get());
                    st_VARDATA stResult;
                    Pool stPool;
                    EXPECT_EQ(ERR_OK, st.Link(&stPool, stOther, stResult));
                }
            }
    st_VARDATA stNone;
    stNone.SetData(nullptr, 100, 255);
    for (const auto& [szOperator, lpfn] : NEW_VALUES)
        EXPECT_EQ("null", Calculate(WordValue("int:1"), szOperator, stNone));
    EXPECT_EQ(0, stNone && WordValue("int:1").Get());
}

} // namespace
