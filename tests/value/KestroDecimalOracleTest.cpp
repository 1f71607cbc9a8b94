// Decimals against arbitrary-precision integers, on seeded random operands inside, outside and at the limits of 36
// digits. Results are compared as records, byte by byte.

#if __has_include(<boost/multiprecision/cpp_int.hpp>)

#include <algorithm>
#include <cstring>
#include <random>
#include <string>

#include <gtest/gtest.h>
#include <boost/multiprecision/cpp_int.hpp>

#include "KestroDecimal.h"

namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) || !defined(NDEBUG)
constexpr int ROUNDS = 4'000;
#else
constexpr int ROUNDS = 200'000;
#endif

using Big = boost::multiprecision::number<boost::multiprecision::cpp_int_backend<
    1024, 1024, boost::multiprecision::unsigned_magnitude, boost::multiprecision::unchecked, void>>;

const Big& Power(int n) {
    static const auto* lpPowers = [] {
        auto* lpTable = new Big[304];
        lpTable[0] = 1;
        for (int i = 1; i < 304; ++i)
            lpTable[i] = lpTable[i - 1] * 10;
        return lpTable;
    }();
    return lpPowers[n];
}

struct NUMBER {
    bool m_bNegative = false;
    int m_nScale = 0;
    Big m_n = 0;
    int m_nPrecision = 0;
    bool m_bNoDigits = false;

    [[nodiscard]] int Digits() const {
        int n = 0;
        while (m_n >= Power(n))
            ++n;
        return n;
    }
    [[nodiscard]] int Whole() const { return Digits() - m_nScale; }

    [[nodiscard]] st_VARDATA Record() const {
        st_VARDATA stValue;
        std::memset(static_cast<void*>(&stValue), 0, sizeof(stValue));
        stValue.m_vt = VT_DECIMAL;
        stValue.m_bSign = m_bNegative;
        stValue.m_bScale = static_cast<signed char>(m_nScale);
        stValue.m_bPrecison = static_cast<BYTE>(m_nPrecision);
        Big nRest = m_n;
        for (int i = 0; i < 4; ++i, nRest /= Power(9))
            stValue.m_arDecimalData[i] = static_cast<int>(nRest % Power(9));
        stValue.m_bValid = m_bNoDigits ? 0 : static_cast<BYTE>(std::max((Digits() + 8) / 9, 1));
        return stValue;
    }

    /** Another scale, half up; digits may become more than 36. */
    [[nodiscard]] NUMBER At(int nScale) const {
        NUMBER stResult = *this;
        stResult.m_nScale = nScale;
        if (nScale != m_nScale) stResult.m_nPrecision = 0;
        if (nScale >= m_nScale)
            stResult.m_n *= Power(nScale - m_nScale);
        else
            stResult.m_n = (m_n + Power(m_nScale - nScale) / 2) / Power(m_nScale - nScale);
        return stResult;
    }

    [[nodiscard]] std::string Text() const {
        std::string szText = m_bNegative && m_n != 0 ? "-" : "";
        const std::string szDigits = m_n.str();
        if (m_nScale <= 0)
            return szText.append(szDigits).append(m_n != 0 ? static_cast<std::size_t>(-m_nScale) : 0, '0');
        const auto nPlaces = static_cast<std::size_t>(m_nScale);
        const std::size_t nWhole = szDigits.size() > nPlaces ? szDigits.size() - nPlaces : 0;
        szText.append(nWhole ? szDigits.substr(0, nWhole) : "0").append(".");
        return szText.append(nWhole ? 0 : nPlaces - szDigits.size(), '0').append(szDigits, nWhole);
    }

    /** Digits and exponent. */
    [[nodiscard]] std::string Scientific() const {
        std::string szText = m_bNegative ? "-" : "";
        return szText.append(m_n.str()).append("e").append(std::to_string(-m_nScale));
    }
};

const NUMBER LOST{.m_bNoDigits = true};

NUMBER Sum(const NUMBER& stFirst, const NUMBER& stSecond) {
    int nScale = std::max(stFirst.m_nScale, stSecond.m_nScale);
    const int nWhole = std::max(stFirst.Whole(), stSecond.Whole());
    const bool bRaised = stFirst.m_nScale != stSecond.m_nScale;
    NUMBER stResult = stFirst;
    if (bRaised) {
        stResult.m_nPrecision = 0;
        const NUMBER& stLower = stFirst.m_nScale < stSecond.m_nScale ? stFirst : stSecond;
        if (stLower.Whole() + nScale > 36) {
            nScale = 36 - nWhole;
            if (nScale + std::min(stFirst.Whole(), stSecond.Whole()) < -127) return LOST;
            stResult.m_nPrecision = nScale == stFirst.m_nScale ? stFirst.m_nPrecision : 0;
        }
    }
    const Big nFirst = stFirst.At(nScale).m_n, nSecond = stSecond.At(nScale).m_n;
    stResult.m_nScale = nScale;
    if (stFirst.m_bNegative == stSecond.m_bNegative) {
        stResult.m_n = nFirst + nSecond;
        if (stResult.m_n < Power(36)) return stResult;
        return nScale == -128
                   ? LOST
                   : NUMBER{stResult.m_bNegative, nScale - 1, (stResult.m_n + 5) / 10, stResult.m_nPrecision};
    }
    if (nFirst == nSecond) return {.m_nPrecision = stResult.m_nPrecision};
    stResult.m_bNegative = nFirst > nSecond ? stFirst.m_bNegative : stSecond.m_bNegative;
    stResult.m_n = nFirst > nSecond ? Big(nFirst - nSecond) : Big(nSecond - nFirst);
    return stResult;
}

NUMBER Product(const NUMBER& stFirst, const NUMBER& stSecond) {
    NUMBER stResult{stFirst.m_bNegative != stSecond.m_bNegative, stFirst.m_nScale + stSecond.m_nScale,
                    stFirst.m_n * stSecond.m_n};
    const bool bWhole = stFirst.m_nScale == 0 || stSecond.m_nScale == 0;
    if (stResult.m_n < Power(36) && (bWhole || stResult.m_nScale < 9))
        return stResult.m_nScale < -128 ? LOST : stResult;
    const int nKeep = std::max({stFirst.m_nScale, stSecond.m_nScale, 9});
    int nDrop = std::max(stResult.m_nScale - nKeep, 0);
    nDrop += std::max(stResult.Digits() - nDrop - 36, 0);
    stResult = stResult.At(stResult.m_nScale - nDrop);
    if (stResult.m_nScale < -127 || stResult.m_nScale > 127) return LOST;
    return stResult.m_n < Power(36) ? stResult : stResult.At(stResult.m_nScale - 1);
}

NUMBER Quotient(const NUMBER& stFirst, const NUMBER& stSecond) {
    if (stFirst.m_n == 0) return stFirst;
    int nRaise = std::max(35 - stFirst.Digits() + stSecond.Digits(), 0);
    while (stFirst.m_n * Power(nRaise) < stSecond.m_n * Power(35))
        ++nRaise;
    const Big nScaled = stFirst.m_n * Power(nRaise);
    Big nQuotient = nScaled / stSecond.m_n;
    if ((nScaled - nQuotient * stSecond.m_n) * 2 >= stSecond.m_n) ++nQuotient;
    return {stFirst.m_bNegative != stSecond.m_bNegative, stFirst.m_nScale - stSecond.m_nScale + nRaise, nQuotient, 255};
}

NUMBER Remainder(const NUMBER& stFirst, const NUMBER& stSecond) {
    const int nScale = std::max(stFirst.m_nScale, stSecond.m_nScale);
    return {stFirst.m_bNegative, nScale, stFirst.At(nScale).m_n % stSecond.At(nScale).m_n};
}

/** Operands: any number of digits, many runs of nines and zeros, scales mostly small, at times anything. */
class CSource {
public:
    explicit CSource(unsigned nSeed) : m_stRandom(nSeed) {}

    int Below(int n) { return static_cast<int>(m_stRandom() % static_cast<unsigned>(n)); }

    NUMBER Next(int nMinDigits = 0) {
        NUMBER stNumber;
        const int nDigits = nMinDigits + Below(37 - nMinDigits);
        stNumber.m_n = (Big(m_stRandom()) << 64 | m_stRandom()) % Power(nDigits);
        if (Below(8) == 0) stNumber.m_n = Power(nDigits) - 1 - (nDigits > 0 ? Below(2) : 0);
        if (Below(8) == 0) stNumber.m_n = stNumber.m_n / Power(nDigits / 2) * Power(nDigits / 2);
        if (Below(16) == 0) stNumber.m_n = Power(std::max(nDigits - 1, 0));
        stNumber.m_bNegative = Below(2) != 0;
        stNumber.m_nScale = Below(4) ? Below(13) : Below(2) ? Below(60) - 20 : Below(256) - 128;
        stNumber.m_nPrecision = Below(4) ? 0 : Below(256);
        if (nMinDigits > 0 && stNumber.m_n == 0) stNumber.m_n = 1;
        return stNumber;
    }

private:
    std::mt19937_64 m_stRandom;
};

bool Same(const st_VARDATA& stFirst, const st_VARDATA& stSecond) {
    return std::memcmp(&stFirst, &stSecond, offsetof(st_VARDATA, m_nDataCount)) == 0;
}

using OPERATION = int (*)(const st_VARDATA*, const st_VARDATA*, st_VARDATA*);

/** Runs an operation into a record of its own and into each of its operands. */
void Check(OPERATION lpfnOperation, NUMBER (*lpfnOracle)(const NUMBER&, const NUMBER&), unsigned nSeed,
           int nMinDigits) {
    CSource stSource(nSeed);
    for (int i = 0; i < ROUNDS; ++i) {
        const NUMBER stFirst = stSource.Next(), stSecond = stSource.Next(nMinDigits);
        st_VARDATA stLeft = stFirst.Record(), stRight = stSecond.Record(), stResult = NUMBER{}.Record();
        ASSERT_EQ(lpfnOperation(&stLeft, &stRight, &stResult), 0);
        const st_VARDATA stExpected = lpfnOracle(stFirst, stSecond).Record();
        ASSERT_TRUE(Same(stResult, stExpected)) << stFirst.Scientific() << " " << stSecond.Scientific();
        if (i % 2) {
            lpfnOperation(&stLeft, &stRight, &stLeft);
            ASSERT_TRUE(Same(stLeft, stExpected)) << stFirst.Scientific() << " " << stSecond.Scientific();
        } else {
            lpfnOperation(&stLeft, &stRight, &stRight);
            stRight.m_bPrecison = stExpected.m_bPrecison;
            ASSERT_TRUE(Same(stRight, stExpected)) << stFirst.Scientific() << " " << stSecond.Scientific();
        }
    }
}

TEST(KestroDecimalOracle, Adds) {
    Check(&CKestroDecimal::Add, &Sum, 1, 0);
}

TEST(KestroDecimalOracle, Subtracts) {
    const auto Difference = [](const NUMBER& stFirst, const NUMBER& stSecond) {
        NUMBER stNegated = stSecond;
        stNegated.m_bNegative = !stSecond.m_bNegative;
        return Sum(stFirst, stNegated);
    };
    Check(&CKestroDecimal::Sub, Difference, 2, 0);
}

TEST(KestroDecimalOracle, Multiplies) {
    Check(&CKestroDecimal::Mul, &Product, 3, 0);
}

TEST(KestroDecimalOracle, Divides) {
    Check(&CKestroDecimal::Div, &Quotient, 4, 1);
}

TEST(KestroDecimalOracle, GivesRemainders) {
    Check(&CKestroDecimal::Mod, &Remainder, 5, 1);
}

TEST(KestroDecimalOracle, Compares) {
    CSource stSource(6);
    for (int i = 0; i < ROUNDS; ++i) {
        NUMBER stFirst = stSource.Next(), stSecond = stSource.Next();
        if (i % 4 == 0)
            stSecond = stFirst.Digits() > 30 ? stFirst.At(stFirst.m_nScale - 1) : stFirst.At(stFirst.m_nScale + 3);
        if (stSecond.m_nScale > 127 || stSecond.m_nScale < -128) continue;
        const int nScale = std::max(stFirst.m_nScale, stSecond.m_nScale);
        int nExpected = stFirst.At(nScale).m_n.compare(stSecond.At(nScale).m_n);
        nExpected = stFirst.m_bNegative != stSecond.m_bNegative ? 1 : (nExpected > 0) - (nExpected < 0);
        const st_VARDATA stLeft = stFirst.Record(), stRight = stSecond.Record();
        ASSERT_EQ(CKestroDecimal::Compare(&stLeft, &stRight), stFirst.m_bNegative ? -nExpected : nExpected)
            << stFirst.Scientific() << " " << stSecond.Scientific();
    }
}

TEST(KestroDecimalOracle, TextsAndImagesComeBack) {
    CSource stSource(7);
    for (int i = 0; i < ROUNDS; ++i) {
        NUMBER stNumber = stSource.Next();
        stNumber.m_nPrecision = 0;
        const st_VARDATA stValue = stNumber.Record();
        char szText[DECIMAL_TEXT_SIZE];
        const int nLen = CKestroDecimal::PrintDecimal(&stValue, szText);
        ASSERT_EQ(std::string(szText, static_cast<std::size_t>(nLen)), stNumber.Text());
        st_VARDATA stLoaded = NUMBER{}.Record();
        // A text of a positive scale gives the value back; the exponent form does at any scale a text can have.
        const std::string szScientific = stNumber.Scientific();
        for (const char* lpszText : {static_cast<const char*>(szText), szScientific.c_str()}) {
            if (stNumber.m_nScale <= (lpszText == szText ? 0 : -128)) continue;
            ASSERT_EQ(CKestroDecimal::Convert2Decimal(lpszText, &stLoaded), 0);
            // A zero is printed without its sign.
            if (stNumber.m_n == 0) stLoaded.m_bSign = stValue.m_bSign;
            ASSERT_TRUE(Same(stLoaded, stValue)) << lpszText;
        }
        unsigned char arImage[DECIMAL_BIN_SIZE];
        int nImage = 0;
        ASSERT_EQ(CKestroDecimal::FormatBin(&stValue, arImage, nImage), 0);
        ASSERT_EQ(nImage, CKestroDecimal::CalcBinLen(&stValue));
        ASSERT_EQ(CKestroDecimal::LoadBin(arImage, nImage, &stLoaded), 0);
        stLoaded.m_bPrecison = 0;
        ASSERT_TRUE(Same(stLoaded, stValue)) << szText;
        ASSERT_EQ(CKestroDecimal::LoadBin(arImage, nImage - 1, &stLoaded), ERR_DECIMAL_LOAD);
    }
}

TEST(KestroDecimalOracle, ColumnsTakeWhatFits) {
    CSource stSource(8);
    for (int i = 0; i < ROUNDS; ++i) {
        const NUMBER stNumber = stSource.Next();
        const int nPrecision = 1 + stSource.Below(36), nScale = stSource.Below(12);
        st_VARDATA stValue = stNumber.Record(), stLoaded;
        const int nCode = CKestroDecimal::VerificationData(&stValue, static_cast<unsigned char>(nPrecision),
                                                           static_cast<char>(nScale));
        if (nCode != 0) continue;
        if (nScale > 0) {
            ASSERT_TRUE(Same(stValue, stNumber.At(nScale).Record())) << stNumber.Scientific();
        }
        unsigned char arImage[DECIMAL_BIN_SIZE];
        int nLen = 0;
        ASSERT_EQ(CKestroDecimal::FormatBin(&stValue, nPrecision, DECIMAL_SCALE_KEEP, arImage, nLen), 0);
        ASSERT_EQ(nLen, CKestroDecimal::CalcBinLen(nPrecision));
        ASSERT_EQ(CKestroDecimal::LoadBin(arImage, nLen, &stLoaded), 0);
        stLoaded.m_bPrecison = stValue.m_bPrecison;
        ASSERT_TRUE(Same(stLoaded, stValue)) << stNumber.Scientific();
    }
}

TEST(KestroDecimalOracle, HashesDontSeeZerosAtTheEnd) {
    CSource stSource(9);
    for (int i = 0; i < ROUNDS; ++i) {
        const NUMBER stNumber = stSource.Next();
        const int nMore = 1 + stSource.Below(20);
        if (stNumber.Digits() + nMore > 36 || stNumber.m_nScale + nMore > 127) continue;
        const st_VARDATA stValue = stNumber.Record(), stLonger = stNumber.At(stNumber.m_nScale + nMore).Record();
        ASSERT_EQ(CKestroDecimal::CalcHashFactor(&stValue), CKestroDecimal::CalcHashFactor(&stLonger))
            << stNumber.Scientific() << " " << nMore;
    }
}

} // namespace

#endif
