// Date text without a format: what the free readers make of it, in narrow and wide form, and the fixed forms written.

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "Fields.h"
#include "KestroDate.h"
#include "KestroErrorCode.h"
#include "ValueText.h"

namespace {

/** What a reader makes of a text in both forms, as text; an error is its code. No terminator follows the text. */
template <typename READ>
std::string ReadBoth(const std::string& szText, READ Read) {
    const ExactText stNarrow(szText);
    const ExactWide stWide(TextOf<wchar_t>(szText));
    const std::string szResult = Read(stNarrow.Data(), stNarrow.Size());
    EXPECT_EQ(szResult, Read(stWide.Data(), stWide.Size())) << "wide: " << szText;
    return szResult;
}

std::string ReadParts(const std::string& szText) {
    return ReadBoth(szText, [](const auto* lpText, int nLen) {
        int y, m, d, h, mi, s, us;
        const int nResult = CKestroDate().ParseDate(y, m, d, h, mi, s, us, lpText, nLen);
        return nResult ? std::to_string(nResult) : PrintText("%d-%d-%d %d:%d:%d.%d", y, m, d, h, mi, s, us);
    });
}

std::string ReadDate(const std::string& szText) {
    return ReadBoth(szText, [](const auto* lpText, int nLen) {
        DATE dblDate = 0;
        const int nResult = CKestroDate().ParseDate(dblDate, lpText, nLen);
        char szDate[KESTRO_DATETIME_TEXT_SIZE];
        CKestroDate::FormatDateTime(dblDate, szDate, 6);
        return nResult ? std::to_string(nResult) : szDate;
    });
}

std::string ReadValue(const std::string& szText) {
    return ReadBoth(szText, [](const auto* lpText, int nLen) {
        st_VARDATA stValue;
        stValue.AttachBuffer(VT_VARCHAR, new char[4], 4);
        const int nResult = CKestroDate().ParseDate(&stValue, lpText, nLen);
        char szDate[KESTRO_DATETIME_TEXT_SIZE] = "null";
        if (stValue.m_vt == VT_DATE) CKestroDate::FormatDate(KESTRODATE(stValue.m_stDate), szDate);
        if (stValue.m_vt == VT_TIME) CKestroDate::FormatTime(KESTROTIME(stValue.m_stTime), szDate);
        if (stValue.m_vt == VT_DATETIME) CKestroDate::FormatDateTime(stValue.m_dblValue, szDate, -1);
        EXPECT_EQ(nResult != ERR_OK, stValue.m_vt == VT_NULL);
        return nResult ? PrintText("%d %s", nResult, szDate) : szDate;
    });
}

std::string ReadTime(const std::string& szText) {
    return ReadBoth(szText, [](const auto* lpText, int nLen) {
        KESTROTIME st{};
        const int nResult = CKestroDate().ParseTime(st, lpText, nLen);
        return nResult
                   ? std::to_string(nResult)
                   : PrintText("%d %d:%d:%d", int(st.m_nDay), int(st.m_bHour), int(st.m_bMintue), int(st.m_bSecond));
    });
}

std::string ReadDay(const std::string& szText) {
    return ReadBoth(szText, [](const auto* lpText, int nLen) {
        KESTRODATE st{9, 9, 9};
        const int nResult = CKestroDate().ParseDate(st, lpText, nLen);
        EXPECT_TRUE(!nResult || st.m_sYear == 9);
        return nResult ? std::to_string(nResult)
                       : PrintText("%d-%d-%d", int(st.m_sYear), int(st.m_bMonth), int(st.m_bDay));
    });
}

void Refuse(const char* lpszExpected, std::initializer_list<const char*> arTexts,
            std::string (*Read)(const std::string&)) {
    for (const char* const lpszText : arTexts)
        EXPECT_EQ(lpszExpected, Read(lpszText)) << '"' << lpszText << '"';
}

TEST(KestroDateText, PartsOfAText) {
    ExpectRows(
        {"2017-03-20 => 2017-3-20 -1:-1:-1.-1", "2017/3/2 => 2017-3-2 -1:-1:-1.-1", "17.03,20 => 2017-3-20 -1:-1:-1.-1",
         "70-03-20 => 2070-3-20 -1:-1:-1.-1", "71-03-20 => 1971-3-20 -1:-1:-1.-1", "070-03-20 => 70-3-20 -1:-1:-1.-1",
         "'2017-03-20' => 2017-3-20 -1:-1:-1.-1", "\"2017-03-20 10:11\" => 2017-3-20 10:11:0.0",
         "2017-03-20 10:11:12 => 2017-3-20 10:11:12.0", "2017-03-20T10:11:12Z+8 => 2017-3-20 10:11:12.0",
         "2017-03-20t10 => 2017-3-20 10:0:0.0", " \t2017-03-20\r\n10:11:12  => 2017-3-20 10:11:12.0",
         "2017-03-20 10:11:12.5 => 2017-3-20 10:11:12.500000", "2017-03-20 10:11:12.000123 => 2017-3-20 10:11:12.123",
         "2017-03-20 10:11:12.0001234 => 2017-3-20 10:11:12.1234",
         // Times, and digits only.
         "10:11:12 => 0-0-0 10:11:12.0", "-100:71:12.25 => 0-0-0 100:71:12.250000",
         "20170320101112 => 2017-3-20 10:11:12.0", " 170320101112x => 2017-3-20 10:11:12.0",
         "1703201011129 => 2017-3-20 10:11:12.0", "2000-02-29 => 2000-2-29 -1:-1:-1.-1",
         "0000-01-01 => 0-1-1 -1:-1:-1.-1"},
        ReadParts);
    Refuse("49",
           {"2017-02-29", "2017-13-01", "2017-00-01", "2017-01-00", "2017-03-20 24:00:00", "2017-03-20 10:60:00",
            "2017-03-20 10:11:60", "2017-03-20 10:11:12.1234567", "20171320101112"},
           ReadParts);
    Refuse("1504",
           {"-2017-03-20", "-2017-03-20 10:11:12", "2017-03-20T", "2017-03", "20170320", "10:11", "17032010111",
            "'170320101112'", "2017-03-20 10:11:12.1 2", "2017-03-20 10:11:12+8", "20 March 2017", "'2017-03-20\"",
            "2017'-03-20", "'2017-03-20''", ""},
           ReadParts);
}

TEST(KestroDateText, NumbersAndValues) {
    ExpectRows({"2017-03-20 10:11:12.25 => 2017-03-20 10:11:12.250000", "2017-03-20 => 2017-03-20 00:00:00.000000",
                "10:11:12 => 2017-03-20 10:11:12.000000", "10:11:60 => 2017-03-20 10:12:00.000000"},
               ReadDate);
    Refuse("49", {"24:11:12", "0000-01-01"}, ReadDate);
    Refuse("1504", {"20170320101112"}, ReadDate);
    ExpectRows({"2017-03-20 => 2017-03-20", "2017-03-20 10:11:12 => 2017-03-20 10:11:12",
                "20170320101112 => 2017-03-20 10:11:12", "10:11:12 => 10:11:12", "100:11:12 => 100:11:12",
                "99999999:00:00 => 838:59:59"},
               ReadValue);
    Refuse("49 null", {"10:60:12", "70000-01-01", "2017-03-20 10:61"}, ReadValue);
    Refuse("1504 null", {"tomorrow"}, ReadValue);
}

TEST(KestroDateText, PackedTimes) {
    ExpectRows(
        {"10:11:12 => 0 10:11:12", "10:11 => 0 10:11:0", "-00:10:00 => -128 0:10:0", "-51:10:09.5 => -2 3:10:9",
         "838:59:58 => 34 22:59:58", "839:00:00 => 34 22:59:59", "-9999:00:00 => -34 22:59:59", "101112 => 0 10:11:12",
         "-5 => -128 0:0:5", "  1112 => 0 0:11:12", "8390000 => 34 22:59:59", "99999999 => 34 22:59:59",
         "2017-03-20 => 0 0:20:17", "3 10:11:12 => 3 10:11:12", "-3 10:11:12 => -3 10:11:12", "127 10: => 127 10:0:0",
         "2017-03-20 10:11:12.5 => 0 10:11:12", "2017-03-20T10 => 0 10:0:0"},
        ReadTime);
    Refuse("49", {"10:60:00", "106100", "128 10:11:12", "3 24:11:12", "2017-13-20 10:11:12", "2017-03-20 24:11:12"},
           ReadTime);
    Refuse("1504", {"2017-03-20T", "1 2 10:11:12", "999999999", ":", "-", ""}, ReadTime);
}

TEST(KestroDateText, PackedDates) {
    ExpectRows({"20170320 => 2017-3-20", "170320 => 2017-3-20", "710320 => 1971-3-20", "2017-03-20 => 2017-3-20",
                "70-3-20 10:11 => 2070-3-20", "2017-03-20T => 2017-3-20", "2017-99-31 => 2017-99-31",
                "0000-1-1 => 0-1-1", "65535-1-1 => 65535-1-1"},
               ReadDay);
    Refuse("1504",
           {"65536-1-1", "2017-256-1", "2017-01-32", "00000320", "0170320", "-20170320", "-17-03-20", "2017-03",
            "10:11:12"},
           ReadDay);
}

TEST(KestroDateText, LengthsAndPointersThatLie) {
    CKestroDate stDate;
    DATE dblDate = 0;
    int n = 7;
    EXPECT_EQ(ERR_DATE_FORMAT, stDate.ParseDate(dblDate, "2017-03-20", -1));
    EXPECT_EQ(ERR_DATE_FORMAT, stDate.ParseDate(dblDate, static_cast<const char*>(nullptr), 10));
    EXPECT_EQ(ERR_DATE_FORMAT, stDate.Parse(static_cast<const wchar_t*>(nullptr)));
    EXPECT_EQ(ERR_DATE_FORMAT, stDate.GetDateTimeType("x", n));
    EXPECT_EQ(7, n);
    EXPECT_EQ("2017-3-20 -1:-1:-1.-1", ReadParts("2017-03-20" + std::string(53, ' ')));
    EXPECT_EQ("1504", ReadParts("2017-03-20" + std::string(54, ' ')));
    // The terminator ends the text, whatever the length says.
    const ExactText stText({"2017-03-20", 11});
    EXPECT_EQ(ERR_OK, stDate.ParseDate(dblDate, stText.Data(), 63));
    EXPECT_EQ(42814, dblDate);
    EXPECT_EQ(ERR_OK, stDate.ParseDate(dblDate, L"2017-03-20 10:11:12", 10));
    EXPECT_EQ(42814, dblDate);
    EXPECT_EQ(ERR_DATE_FORMAT, stDate.Parse(L"２017-03-20"));
    EXPECT_EQ(ERR_DATE_FORMAT, stDate.Parse(L"2017-03-2\x0130"));
}

TEST(KestroDateText, ThePartsTakeSevenGroupsOfEightDigits) {
    CKestroDate stDate;
    EXPECT_EQ(ERR_DATE_FORMAT, stDate.Push("123456789", 9));
    EXPECT_EQ(ERR_DATE_FORMAT, stDate.Push("12", -1));
    EXPECT_EQ(ERR_DATE_FORMAT, stDate.Push("1x", 2));
    for (int i = 0; i < 7; ++i)
        EXPECT_EQ(ERR_OK, stDate.Push(L"12345678", 8));
    EXPECT_EQ(ERR_DATE_FORMAT, stDate.Push("1", 1));
    stDate.m_nDataIndex = -1;
    EXPECT_EQ(ERR_DATE_FORMAT, stDate.Push("1", 1));
    stDate.m_nDataIndex = 7;
    EXPECT_EQ(0, std::memcmp(stDate.m_arData[6], "12345678\0\0\0\0\0\0\0", 16));
    // Only parts that are there count: an hour of 25 is none when hours aren't asked for.
    EXPECT_EQ(ERR_OK, stDate.Parse("25:59"));
    EXPECT_TRUE(stDate.CheckValidTime(false) == ERR_OK && stDate.CheckValidTime(true) == ERR_DATE_DATA);
    EXPECT_TRUE(stDate.CheckValidDateTime(true) == ERR_DATE_DATA && !CKestroDate().CheckValidDateTime(true));
}

/** The splitting told byte by byte. */
std::string SplitSlowly(const std::string& szText) {
    std::string szGroup, szParts;
    int nParts = 0, nTimeIndex = -1;
    bool bOpen = false;
    const auto End = [&] {
        const bool bFits = szGroup.size() <= 8 && nParts + !szGroup.empty() <= 7;
        if (!szGroup.empty()) szParts.append(" ").append(std::exchange(szGroup, "")), ++nParts;
        return bFits;
    };
    for (std::size_t i = 0; i < szText.size() && szText[i]; ++i) {
        const char c = szText[i];
        if (c >= '0' && c <= '9') {
            szGroup += c;
            continue;
        }
        if (std::string("\t \r\n/-.,:tTzZ\"'").find(c) == std::string::npos) return "bad";
        if (c == '"' || c == '\'') {
            if (i != 0 && (!bOpen || c != szText[0])) return "bad";
            bOpen = i == 0;
        }
        if (c == ':' && nTimeIndex < 0) nTimeIndex = nParts;
        if (!End()) return "bad";
        if ((c == 't' || c == 'T') && nTimeIndex < 0) nTimeIndex = nParts;
        if (c == 'z' || c == 'Z') return std::to_string(nTimeIndex) + szParts;
    }
    return End() ? std::to_string(nTimeIndex) + szParts : "bad";
}

template <typename T>
std::string Split(const std::basic_string<T>& szText) {
    CKestroDate stDate;
    if (stDate.Parse(ExactBytes<T>(szText + T{}).Data())) return "bad";
    std::string szResult = std::to_string(stDate.m_nTimeIndex);
    for (int i = 0; i < stDate.m_nDataIndex; ++i)
        szResult.append(" ").append(stDate.m_arData[i], strnlen(stDate.m_arData[i], 8));
    return szResult;
}

TEST(KestroDateText, AnyBytesAreSplitAsOneByOne) {
    std::mt19937 stRandom(5);
    static constexpr char ALPHABET[] = "0123456789012345678901234567890123456789 -:/.,tTzZ'\"\t\nx\xFF";
    for (int i = 0; i < 60'000; ++i) {
        std::string szText = i % 3 ? "2017-03-20 10:11:12.123456" : "";
        szText.resize(stRandom() % 40, '7');
        for (unsigned n = i % 3 ? stRandom() % 3 : 40; n > 0 && !szText.empty(); --n)
            szText[stRandom() % szText.size()] =
                n % 7 ? ALPHABET[stRandom() % (sizeof(ALPHABET) - 1)] : char(stRandom());
        const std::string szExpected = SplitSlowly(szText);
        ASSERT_EQ(szExpected, Split(szText)) << szText;
        ASSERT_EQ(szExpected, Split(TextOf<wchar_t>(szText))) << szText;
        // With a length in place of a terminator; the answers are compared with each other.
        ReadParts(szText), ReadDate(szText), ReadValue(szText), ReadTime(szText), ReadDay(szText);
    }
}

TEST(KestroDateText, FixedForms) {
    const auto Write = [](DATE dblDate, int nDigits) {
        char szText[KESTRO_DATETIME_TEXT_SIZE];
        wchar_t szWide[KESTRO_DATETIME_TEXT_SIZE];
        const int nLen = CKestroDate::FormatDateTime(dblDate, szText, nDigits);
        EXPECT_EQ(nLen, static_cast<int>(strlen(szText)));
        EXPECT_EQ(nLen, CKestroDate::FormatDateTime(dblDate, szWide, nDigits));
        EXPECT_EQ(TextOf<wchar_t>(szText), szWide);
        return std::string(szText);
    };
    // Microseconds and digits. Nothing is carried from those that round up.
    ExpectRows({"0 -1 => ", "0 0 => ", "0 3 => .000", "123456 1 => .1", "150000 1 => .2", "123456 4 => .1235",
                "123456 5 => .12346", "123456 -1 => .123", "600 -1 => .001", "123456 6 => .123456",
                "123456 9 => .123456", "123456 -2 => ", "999890 3 => .:00", "999890 1 => .:", "999890 -1 => .:00"},
               [&](const std::string& strRow) {
                   const DATE dblDate = 42814 + 36672 / 86400.0 + std::stoi(strRow) / 86400e6;
                   const std::string strText = Write(dblDate, std::stoi(strRow.substr(strRow.find(' '))));
                   EXPECT_EQ("2017-03-20 10:11:12", strText.substr(0, 19));
                   return strText.substr(19);
               });
    // Just under the next day no carry is made.
    ExpectRows({"-693594 => 0000-12-31 00:00:00", "2958466 => 9999-01-01 00:00:00", "1e300 => 9999-12-31 23:59:59",
                "-1e300 => 0000-00-00 00:00:00", "nan => 0000-00-00 00:00:00", "0.99999999999 => 1899-12-30 24:00:00"},
               [&](const std::string& strDate) { return Write(std::stod(strDate), 0); });
    EXPECT_EQ("9999-12-31 23:59:59.001", Write(1e300, -1));
    // Days, hours, minutes and seconds.
    char szText[KESTRO_TIME_TEXT_SIZE];
    ExpectRows({"0 1 2 3 => 01:02:03", "34 22 59 59 => 838:59:59", "-2 3 2 3 => -51:02:03", "-128 0 10 0 => -0:10:00",
                "-127 255 255 255 => -3303:55:55"},
               [&](const std::string& strRow) {
                   int d, h, m, sec;
                   EXPECT_EQ(4, sscanf(strRow.c_str(), "%d %d %d %d", &d, &h, &m, &sec));
                   const KESTROTIME stTime{BYTE(sec), BYTE(m), BYTE(h), static_cast<signed char>(d)};
                   const int nLen = CKestroDate::FormatTime(stTime, szText);
                   return std::string(szText, static_cast<std::size_t>(nLen));
               });
    EXPECT_EQ(8, CKestroDate::FormatTime(-1.75, szText));
    EXPECT_STREQ("18:00:00", szText);
    EXPECT_EQ(10, CKestroDate::FormatDate(KESTRODATE{255, 255, 65535}, szText));
    EXPECT_STREQ("9999-55-55", szText);
    EXPECT_EQ(10, CKestroDate::FormatDate(-1.25, szText));
    EXPECT_STREQ("1899-12-29", szText);
}

TEST(KestroDateText, NumbersAsDatesAndTimes) {
    ExpectRows({"20170320 => 2017-3-20 no", "10000101 => 1000-1-1 no", "9991231 => no no", "20160229 => 2016-2-29 no",
                "20170229 => no no", "20171301 => no no", "20170100 => no no", "20170320101112 => 2017-3-20 10:11:12",
                "20170320000000 => 2017-3-20 0:0:0", "20170320246000 => no no",
                // Times alone.
                "20170229101112 => no no", "101112 => no 10:11:12", "235960 => no no", "236000 => no no",
                "7 => no 0:0:7", "0 => no 0:0:0", "-1 => no no", "99991231235959 => 9999-12-31 23:59:59",
                "99991231236000 => no no", "9223372036854775807 => no no"},
               [](const std::string& strNumber) {
                   const long long llNumber = std::stoll(strNumber);
                   int a, b, c;
                   const std::string strDate =
                       CKestroDate::ValidDate(llNumber, a, b, c) ? PrintText("%d-%d-%d ", a, b, c) : "no ";
                   return strDate + (CKestroDate::ValidTime(llNumber, a, b, c) ? PrintText("%d:%d:%d", a, b, c) : "no");
               });
}

TEST(KestroDateText, ZonesAreConvertedIntoEachOther) {
    st_VARDATA stResult;
    EXPECT_EQ(ERR_OK, CKestroDate::ConvertTZ(nullptr, 42814.5, "+08:00", "-01:30", stResult));
    EXPECT_EQ(VT_DATETIME, stResult.m_vt);
    EXPECT_DOUBLE_EQ(42814.5 - 9.5 / 24, stResult.m_dblValue);
    for (const char* const lpszZone : {"+14:00", "8", "", static_cast<const char*>(nullptr)}) {
        EXPECT_EQ(ERR_OK, CKestroDate::ConvertTZ(nullptr, 42814.5, "+08:00", lpszZone, stResult));
        EXPECT_EQ(VT_NULL, stResult.m_vt);
    }
}

} // namespace
