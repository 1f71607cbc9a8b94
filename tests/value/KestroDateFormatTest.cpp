// Date text by a format: the writers against the C library and in their own odd rules, the reader, and both together.

#include <gtest/gtest.h>

#include <algorithm>
#include <ctime>
#include <random>
#include <string>

#include "Fields.h"
#include "KestroBufferPool.h"
#include "KestroDate.h"
#include "KestroErrorCode.h"
#include "ValueText.h"

namespace {

/** A text in a block that ends with its terminator. */
template <typename T>
ExactBytes<T> Ended(const std::string& strText) {
    return ExactBytes<T>(TextOf<T>(strText) + T{});
}

DATE At(int y, int m, int d, int h = 0, int mi = 0, int s = 0, int us = 0) {
    double dblDate;
    EXPECT_EQ(ERR_OK, CKestroDate::ConvertVariantTime(dblDate, y, m, d, h, mi, s, us));
    return dblDate;
}

DATE At(const char* lpszText) {
    DATE dblDate = 0;
    EXPECT_EQ(ERR_OK, CKestroDate().ParseDate(dblDate, lpszText, static_cast<int>(strlen(lpszText)))) << lpszText;
    return dblDate;
}

/** What is written into a value, as text: a code, "null" or the text, whose length has to count its terminator. */
template <typename WRITE>
std::string Written(WRITE Write) {
    CKestroBufferPool stPool;
    st_VARDATA stText;
    stText.AttachBuffer(VT_VARCHAR, new char[4], 4);
    const int nResult = Write(stPool, stText);
    if (nResult) return std::to_string(nResult);
    if (stText.m_vt != VT_VARCHAR) return stText.m_vt == VT_NULL ? "null" : "?";
    EXPECT_EQ(0, stText.m_lpszValue[stText.m_nStrLen - 1]);
    return {stText.m_lpszValue, static_cast<std::size_t>(stText.m_nStrLen - 1)};
}

/** What a call makes of a text in the narrow form; the wide one has to give the same. */
template <typename CALL>
std::string InBoth(const std::string& strText, CALL Call) {
    const std::string strResult = Call(Ended<char>(strText).Data());
    EXPECT_EQ(strResult, Call(Ended<wchar_t>(strText).Data())) << "wide: " << strText;
    return strResult;
}

template <typename T>
std::string FormatAs(DATE dblDate, const T* lpszFormat) {
    return Written([&](auto& stPool, auto& st) { return CKestroDate::Format(&stPool, dblDate, lpszFormat, st); });
}

std::string Format(DATE dblDate, const std::string& strFormat) {
    return InBoth(strFormat, [&](const auto* lpszFormat) { return FormatAs(dblDate, lpszFormat); });
}

std::string TimeFormat(const KESTROTIME& stTime, const std::string& strFormat) {
    return InBoth(strFormat, [&](const auto* lpszFormat) {
        return Written(
            [&](auto& stPool, auto& st) { return CKestroDate::TimeFormat(&stPool, stTime, lpszFormat, st); });
    });
}

/** Year, month, day, time and day of the year as read, or the code. */
std::string Read(const std::string& strText, const std::string& strFormat) {
    return InBoth(strText, [&]<typename T>(const T* lpszText) {
        int y, m, d, h, mi, s, us, n;
        const int nResult = CKestroDate::ParseDate(y, m, d, h, mi, s, us, n, lpszText,
                                                   static_cast<const T*>(Ended<T>(strFormat).Data()));
        return nResult ? std::to_string(nResult) : PrintText("%d-%d-%d %d:%d:%d.%d %d", y, m, d, h, mi, s, us, n);
    });
}

std::string ReadMoment(const char* lpszText, const char* lpszFormat) {
    DATE dblDate = 0;
    const int nResult = CKestroDate::ParseDate(dblDate, lpszText, lpszFormat);
    return nResult ? std::to_string(nResult) : FormatAs(dblDate, "%Y-%m-%d %T.%f");
}

/** The two texts of a row. */
std::pair<std::string, std::string> Cut(const std::string& strRow) {
    const std::size_t nAt = strRow.find(" | ");
    return {strRow.substr(0, nAt), strRow.substr(nAt + 3)};
}

// Tokens with the code and the length found, by bars; "\f" would be a letter but for a bit.
TEST(KestroDateFormat, TheLongestTokenIsTaken) {
    for (const std::string& strToken : Fields(
             "YYYYY 0 4|yyy- 55 3|Yy 54 2|Y,YYY 56 5|Y,YY 53 1|y 53 1|IYYY 0 4|IYY 55 3|iy 54 2|I 53 1|IW 60 2|"
             "RRRR 10 4|RRR -1 0|RR 9 2|Rm 19 2|R -1 0|DDDD 12 3|DDx 15 2|Day 41 3|dy 40 2|DW 59 2|Dx 43 1|HH24 16 4|"
             "hh12 11 4|HH25 11 2|HX -1 0|MONTH 18 5|MONT 17 3|MI 4 2|mM 14 2|MO -1 0|SSSSS 23 5|SSSS 5 2|SCC 52 3|"
             "S -1 0|FF6 6 3|FF3 7 3|FF9 7 2|A.M. 13 4|A.M -1 0|P.M. 13 4|AD 61 2|b.c. 62 4|B -1 0|WW 48 2|Wx 49 1|"
             "TS 20 2|CC 52 2|J 57 1|q 58 1|Z -1 0|%Y 0 2|%D 22 2|%% -2 2|%Q -1 0|% -1 0| -1 0|- -1 0|Y\fYYY 53 1|"
             "A\x0EM\x0E -1 0")) {
        const std::string strText = strToken.substr(0, strToken.find(' '));
        EXPECT_EQ(InBoth(strText,
                         [&](const auto* lpszText) {
                             const auto* lpszEnd = lpszText;
                             const int nCode = CKestroDate::GetFormatType(lpszEnd);
                             return PrintText("%s %d %d", strText.c_str(), nCode, static_cast<int>(lpszEnd - lpszText));
                         }),
                  strToken);
    }
}

TEST(KestroDateFormat, DatesAreWrittenAsTheCLibraryDoes) {
    static constexpr char OURS[] = "%Y %y %m %d %H %i %s %h %j %b %M %a %W %w %U %T YY MON DAY HH12 DDD";
    static constexpr char THEIRS[] = "%Y %y %m %d %H %M %S %I %j %b %B %a %A %w %U %T %y %b %A %I %j";
    std::mt19937 stRandom(11);
    for (int i = 0; i < 20'000; ++i) {
        // Days of the week agree behind day 0, and years with four digits.
        const int nDay = 1 + static_cast<int>(stRandom() % 2'958'465), nTime = static_cast<int>(stRandom() % 86400);
        const time_t nSeconds = (nDay - 25569) * 86400LL + nTime;
        tm st;
        ASSERT_NE(nullptr, gmtime_r(&nSeconds, &st));
        const DATE dblDate = At(st.tm_year + 1900, st.tm_mon + 1, st.tm_mday, st.tm_hour, st.tm_min, st.tm_sec);
        char szExpected[200];
        ASSERT_NE(0U, strftime(szExpected, sizeof(szExpected), THEIRS, &st));
        ASSERT_EQ(szExpected, Format(dblDate, OURS));
        // In the middle of the year the weeks from Monday are those of ISO 8601, but for years that begin on a
        // Saturday.
        const bool bSaturday = ((st.tm_wday - st.tm_yday) % 7 + 7) % 7 == 6;
        if (st.tm_yday < 4 || st.tm_yday >= 360 || bSaturday) continue;
        ASSERT_NE(0U, strftime(szExpected, sizeof(szExpected), "%V %V %Y", &st));
        ASSERT_EQ(szExpected, Format(dblDate, "%u %v %x"));
    }
}

TEST(KestroDateFormat, WeeksAtTheEndsOfYears) {
    ExpectRows({"2016-01-01 => 00 00 52 2015 53 2015 01", "2017-01-01 => 01 00 01 2017 52 2016 01",
                "2011-01-01 => 00 00 52 2010 52 2010 01", "2011-01-02 => 01 00 01 2011 52 2010 01",
                "2011-01-05 => 01 01 01 2011 01 2011 02", "2010-12-31 => 52 52 52 2010 52 2010 01",
                "2014-12-29 => 52 53 52 2014 01 2015 01", "2014-12-31 => 52 53 52 2014 01 2015 01",
                "2008-12-30 => 52 53 52 2008 01 2009 53", "2012-12-30 => 53 52 53 2012 52 2012 01",
                "2012-12-31 => 53 53 53 2012 01 2013 01", "2018-12-31 => 52 53 52 2018 01 2019 53",
                "2021-01-03 => 01 00 01 2021 53 2020 01", "2022-01-01 => 00 00 52 2021 52 2021 01",
                "2022-01-04 => 01 00 01 2022 00 2022 02", "2023-12-31 => 53 52 53 2023 52 2023 01"},
               [](const std::string& strDate) {
                   const DATE dblDate = At(strDate.c_str());
                   return Format(dblDate, "%U %u %V %X %v %x ") + Format(dblDate, "IW");
               });
    // The year before year 1 is year -1, a common one.
    EXPECT_EQ("52 -0001", Format(At(1, 1, 1), "%V %X"));
}

TEST(KestroDateFormat, TokensAndTheirOddRules) {
    ExpectRows(
        {"2017-03-05 07:08:09.012345 | %Y %c %e %k %i %S %s %f %y %I %l %m %d %H => 2017 03 05 07 08 09 09 012345 17 "
         "07 07 03 05 07",
         "2017-03-05 07:08:09.012545 | yyyy mi ss ff6 ff3 ff rr rrrr hh mm dd => 2017 08 09 012545 013 013 17 2017 07 "
         "03 05",
         "2017-03-05 07:08:09.999800 | FF FF6 => 1000 999800",
         // Parts and pictures.
         "2017-03-05 07:08:09 | %r|%T|%D|%w|%%|%Q => 07:08:09 AM|07:08:09|5th|0|%|%1",
         "2017-03-05 07:08:09 | D DW WW W CC SCC Y YY YYY Y,YYY J Q SSSSS => 1 6 10 1 21 21 7 17 017 2,017 2457818 1 "
         "25689",
         "2017-03-28 | W-IYYY-IYY-IY-I => 5-2017-017-17-7", "2017-03-05 00:00:00 | hh:mi AM ts => 12:00 PM 12:00:00 PM",
         "2017-03-05 12:00:00 | %I:%i %p => 12:00 AM", "2017-03-05 01:00:00 | HH A.M. => 01 AM",
         "2017-03-05 23:59:59 | HH12 P.M. %p => 11 PM PM", "2017-01-05 | RM => \xE2\x85\xA0",
         "2017-10-05 | RM => \xE0\x81\x98", "2017-12-05 | RM => \xE2\x85\xAB",
         "2017-03-05 | BC AD a.d. b.c. => AD AD A.D. A.D.", "2017-03-01 | %D => 1st", "2017-03-02 | %D => 2nd",
         "2017-03-11 | %D => 11th", "2017-03-12 | %D => 12th", "2017-03-13 | %D => 13th", "2017-03-23 | %D => 23rd",
         "2017-03-31 | %D => 31st", "70000-01-02 03:04:05 | YYYY RRRR %X Y,YYY YY => 70000 70000 70000 70,000 00",
         "2017-03-05 | RRR => R17", "2017-03-05 |  => ",
         // Quotes bound text in pictures only; a "%" token anywhere outside of them makes them plain characters.
         "2017-03-05 | YYYY\"YYYY %Y\"MM => 2017YYYY %Y03", "2017-03-05 | \"Q\"YYYY\" \"\"MM => Q2017 MM",
         "2017-03-05 | %Y\"MM\" => 2017\"03\"", "2017-03-05 | \"MM\" => \"03\"", "2017-03-05 | %%\"MM\"Q => %\"03\"1"},
        [](const std::string& strRow) {
            const auto [strDate, strFormat] = Cut(strRow);
            return Format(At(strDate.c_str()), strFormat);
        });
    EXPECT_EQ("-0005 -0005 05 5 -0,005 01 AD", Format(At(-5, 1, 1), "YYYY RRRR YY Y Y,YYY MM BC"));
    EXPECT_EQ("24:00:00 -00008", Format(0.9999999999, "HH24:MI:SS FF6"));
}

TEST(KestroDateFormat, OutputIsCutAndFailsCleanly) {
    const DATE dblDate = At(2017, 3, 5, 7, 8, 9);
    EXPECT_EQ(std::string(256, '-'), Format(dblDate, std::string(1000, '-')));
    EXPECT_EQ(std::string(253, '-') + "201", Format(dblDate, std::string(253, '-') + "YYYY-MM"));
    EXPECT_EQ(std::string(250, '-') + "Sunday",
              Format(dblDate, std::string(250, '-') + "\"\"DAY" + std::string(100'000, 'D')));
    EXPECT_EQ(std::string(255, '9') + "0", Format(At(99999, 9, 9), std::string("\"").append(255, '9').append("\"MM")));

    // Quotes write nothing, and a format of many is still walked through once.
    EXPECT_EQ("2017", Format(dblDate, std::string(1'000'000, '"') + "YYYY"));

    // Days that don't fit leave the value as it is, an owned text too.
    for (const DATE dblFar : {1e300, -3e9, std::numeric_limits<double>::quiet_NaN()})
        EXPECT_EQ(std::string(3, '\0'), Written([&](auto& stPool, auto& stText) {
                      std::memset(stText.m_lpszValue, 0, 4);
                      return CKestroDate::Format(&stPool, dblFar, "%Y", stText);
                  }));
    class CNoPool : public CKestroBufferPool {
        LPVOID AllocBuffer(UINT) override { return nullptr; }
    } stNoPool;
    st_VARDATA stText;
    const KESTROTIME stTime{};
    EXPECT_EQ(ERR_MEMORY, CKestroDate::Format(&stNoPool, dblDate, "%Y", stText));
    EXPECT_EQ(ERR_MEMORY, CKestroDate::Format(&stNoPool, dblDate, stText));
    EXPECT_EQ(ERR_MEMORY, CKestroDate::TimeFormat(&stNoPool, stTime, L"%H", stText));
    EXPECT_EQ(ERR_DATE_FORMAT, CKestroDate::Format(&stNoPool, dblDate, static_cast<const char*>(nullptr), stText));
    EXPECT_EQ(ERR_DATE_FORMAT,
              CKestroDate::TimeFormat(&stNoPool, stTime, static_cast<const wchar_t*>(nullptr), stText));
    EXPECT_EQ("2017-03-05 07:08:09",
              Written([&](auto& stPool, auto& st) { return CKestroDate::Format(&stPool, dblDate, st); }));
}

TEST(KestroDateFormat, LiteralCharactersBecomeUtf8) {
    const auto Wide = [](const wchar_t* lpszFormat) {
        return Written([&](auto& stPool, auto& st) { return CKestroDate::Format(&stPool, 42799, lpszFormat, st); });
    };
    EXPECT_EQ("2017年03é\xF0\x9F\x98\x80.", Wide(L"%Y\u5E74%c\u00E9\U0001F600."));
    const wchar_t arPair[] = {L'"', 0xD83D, 0xDE00, 0xDE00, 0xD83D, L'"', L'D', 0x110000, static_cast<wchar_t>(-1), 0};
    EXPECT_EQ("\xF0\x9F\x98\x80??1??", Wide(arPair));
    EXPECT_EQ("2017年", FormatAs(42799, "%Y年"));
}

TEST(KestroDateFormat, Durations) {
    // Days, hours, minutes and seconds; -128 stands for a negative time of less than a day.
    ExpectRows({"4 3 8 9 | HH24:MI:SS => 99:08:09", "4 3 8 9 | %k %H %i %s|\"x\" => 99 99 08 09|\"x\"",
                "4 4 8 9 | %H => 100", "4 3 8 9 | hh %r %T TS => 03 03:08:09 AM 03:08:09 03:08:09 AM",
                "0 12 0 0 | %I %r => 12 12:00:00 AM", "-128 0 8 9 | HH24 hh12 ff6 ff3 %% => -00 12 -000000 -000 %",
                "-4 3 8 9 | %H:%i => -99:08", "-127 255 255 255 | %H:%i:%s %T => -3303:255:255 15:255:255",
                "4 3 8 9 | %H %Y => null", "4 3 8 9 | %H AM => null", "4 3 8 9 | %H %x => null", "4 3 8 9 | IW => 1504",
                "4 3 8 9 | %H SSSSS => 1504", "4 3 8 9 | AD => 1504", "4 3 8 9 | B.C. => 1504", "4 3 8 9 |  => "},
               [](const std::string& strRow) {
                   int d, h, m, sec;
                   EXPECT_EQ(4, sscanf(strRow.c_str(), "%d %d %d %d", &d, &h, &m, &sec));
                   return TimeFormat({BYTE(sec), BYTE(m), BYTE(h), static_cast<signed char>(d)}, Cut(strRow).second);
               });
    constexpr KESTROTIME MINUS{9, 8, 0, KESTRO_MINUS_ZERO_DAYS};
    EXPECT_EQ(std::string("-").append(255, '.'), TimeFormat(MINUS, std::string(300, '.')));
}

TEST(KestroDateFormat, TextsAreReadByAFormat) {
    ExpectRows(
        {"2017-03-05 07:08:09.5 | %Y-%m-%d %H:%i:%s.%f => 2017-3-5 7:8:9.5 0",
         "20170305070809 | YYYYMMDDHH24MISS => 2017-3-5 7:8:9.0 0", "17/3/5 | %y/%c/%e => 2017-3-5 -1:-1:-1.0 0",
         "69 70 | %y %k => 2069-0-0 70:-1:-1.0 0", "70 | %y => 1970-0-0 -1:-1:-1.0 0",
         "-0005 12 | %Y DDD => -5-0-0 -1:-1:-1.0 12", "12345 | %Y%d => 1234-0-5 -1:-1:-1.0 0",
         "49 | rr => 2049-0-0 -1:-1:-1.0 0", "50 | RRRR => 1950-0-0 -1:-1:-1.0 0",
         "123456 | ff3ff6 => 0-0-0 -1:-1:-1.456 0", "12 | ff => 0-0-0 -1:-1:-1.12000 0",
         // Halves of the day.
         "1:02 pm | %h:%i %p => 0-0-0 13:2:-1.0 0", "12 am | hh AM => 0-0-0 12:-1:-1.0 0",
         "12 PM | hh am => 0-0-0 0:-1:-1.0 0", "PM 12:30 | AM hh12:mi => 0-0-0 0:30:-1.0 0",
         "3 | %I => 0-0-0 3:-1:-1.0 0", "1:2:3PM | %r => 0-0-0 13:2:3.0 0", "1 : 2 : 3 pm | ts => 0-0-0 13:2:3.0 0",
         "1 :2: 3 | %T => 0-0-0 1:2:3.0 0", "sun 5 mar 2017 | %a %e %b %Y => 2017-3-5 -1:-1:-1.0 0",
         "5 xyz 2017 | %e mon %Y => 2017-0-5 -1:-1:-1.0 0", "5 xy | %e mon => 0-0-5 -1:-1:-1.0 0",
         "september9 | %M%d => 0-9-9 -1:-1:-1.0 0", "march | MONTH => 0-3-0 -1:-1:-1.0 0",
         "  5 | %d => 0-0-5 -1:-1:-1.0 0", "5 |    %d => 0-0-5 -1:-1:-1.0 0", "5 | %d and more => 0-0-5 -1:-1:-1.0 0",
         "5 and more | %d => 0-0-5 -1:-1:-1.0 0", "%Y | %Y => 0-0-0 -1:-1:-1.0 0", " | %d => 0-0-0 -1:-1:-1.0 0"},
        [](const std::string& strRow) {
            const auto [strText, strFormat] = Cut(strRow);
            return Read(strText, strFormat);
        });
    // Of "March" and "MONTH" the "M" is taken as a literal, and the rest is no token.
    for (const char* const lpszRow :
         {"13 | %I", "0 AM | %I %p", "1:2:3 | %r", "1:2 | %T", "mars | %M", "March | MONTH", "5  | %d%m", "5x | %dy",
          "5 at | %d at", "x | %d", "7 | %W", "7 | %%", "%7 | %%%d"})
        EXPECT_EQ("1504", Read(Cut(lpszRow).first, Cut(lpszRow).second)) << lpszRow;
}

TEST(KestroDateFormat, ReadPartsMakeAMomentOrNone) {
    ExpectRows(
        {"2017-03-05 07:08:09.5 | %Y-%m-%d %H:%i:%s.%f => 2017-03-05 07:08:09.000005",
         "5.3.2017 | DD.MM.YYYY => 2017-03-05 00:00:00.000000", "2016 366 | YYYY DDD => 2016-12-31 00:00:00.000000",
         "2017 366 | YYYY DDD => 49", "070809 | HH24MISS => 2017-03-20 07:08:09.000000",
         "2017-03-05 10:11:12.5 |  => 2017-03-05 10:11:12.500000", "2017-02-29 | %Y-%m-%d => 49", "2017-02-29 |  => 49",
         "2017-03-05 07 | %Y-%m-%d %H => 1504", "0708 | HH24MI => 1504", "2017-03 | YYYY-MM => 1504",
         "5.3. | DD.MM. => 1504", " | YYYY => 1504", " |  => 1504"},
        [](const std::string& strRow) { return ReadMoment(Cut(strRow).first.c_str(), Cut(strRow).second.c_str()); });
    ExpectRows({"2017-03-05 => 2017-03-05 00:00:00.000000", "20170305101112 => 2017-03-05 10:11:12.000000",
                "10:11:12 => 2017-03-20 10:11:12.000000"},
               [](const std::string& strText) { return ReadMoment(strText.c_str(), nullptr); });
    EXPECT_EQ("1504 1504", ReadMoment(nullptr, "%Y") + " " + ReadMoment(nullptr, nullptr));
}

TEST(KestroDateFormat, WrittenTextsAreReadBack) {
    std::mt19937 stRandom(12);
    static constexpr const char* FORMATS[] = {"%Y-%m-%d %H:%i:%s",      "%d%c%Y %T",  "%a, %e %M %Y %H:%i:%S",
                                              "DD mon YYYY HH24.MI.SS", "%j / %Y %T", "%Y%m%d%H%i%s%f"};
    for (int i = 0; i < 30'000; ++i) {
        const int nDay = static_cast<int>(stRandom() % 3'652'059) - 693'593,
                  nTime = static_cast<int>(stRandom() % 86400);
        int y, m, d;
        ASSERT_EQ(ERR_OK, CKestroDate::ConvertDate(nDay, y, m, d));
        const DATE dblDate = At(y, m, d, nTime / 3600, nTime / 60 % 60, nTime % 60);
        for (const char* const lpszFormat : FORMATS) {
            // Days far from zero may lack microseconds to a second, which are written with a sign.
            if (abs(nDay) > 60'000 && strstr(lpszFormat, "%f")) continue;
            const std::string szText = FormatAs(dblDate, lpszFormat);
            DATE dblRead = 0;
            ASSERT_EQ(ERR_OK, CKestroDate::ParseDate(dblRead, szText.c_str(), lpszFormat)) << szText;
            ASSERT_NEAR(dblDate, dblRead, 1e-10) << szText << " by " << lpszFormat;
        }
    }
}

TEST(KestroDateFormat, AnyBytesAreFormatsAndTexts) {
    std::mt19937 stRandom(13);
    static constexpr char PIECES[] =
        "%Y%m%d%H%i%s%f%M%b%r%T%p%IYYYYMONTHDAYHH24SSSSSRRRRA.M.Y,YYYCCIWJQ\"\"--  ::0123456789\x81\xFF";
    const auto Make = [&](unsigned nMax) {
        std::string szText(stRandom() % nMax, ' ');
        for (char& c : szText)
            c = stRandom() % 8 ? PIECES[stRandom() % (sizeof(PIECES) - 1)] : static_cast<char>(stRandom());
        return szText.substr(0, strlen(szText.c_str()));
    };
    for (int i = 0; i < 20'000; ++i) {
        const std::string szFormat = Make(i % 16 ? 24 : 400);
        const DATE dblDate = static_cast<double>(static_cast<int>(stRandom())) + 0.7512345;
        const bool bAscii = std::all_of(szFormat.begin(), szFormat.end(), [](char c) { return c > 0; });
        const std::string szText =
            bAscii ? Format(dblDate, szFormat) : FormatAs<char>(dblDate, Ended<char>(szFormat).Data());
        ASSERT_LE(szText.size(), 256U);
        TimeFormat({BYTE(stRandom()), BYTE(stRandom()), BYTE(stRandom()), static_cast<signed char>(stRandom())},
                   bAscii ? szFormat : "");
        Read(szText, szFormat);
        Read(Make(40), szFormat);
    }
}

} // namespace
