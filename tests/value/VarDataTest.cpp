// The value record: faces, ownership and copies, widths, truth, hashes.

#include <gtest/gtest.h>

#include <climits>
#include <memory>
#include <string>

#include "KestroBufferPool.h"
#include "KestroDecimal.h"
#include "KestroErrorCode.h"
#include "ValueRows.h"

namespace {

char* NewText(const std::string& strText) {
    char* lpszText = new char[strText.size() + 1];
    memcpy(lpszText, strText.c_str(), strText.size() + 1);
    return lpszText;
}

void OwnText(st_VARDATA& stValue, const std::string& strText, BYTE bType = VT_VARCHAR) {
    stValue.AttachBuffer(bType, NewText(strText), static_cast<int>(strText.size() + 1));
}

void Decimal(st_VARDATA& stValue, const char* lpszText) {
    ASSERT_EQ(ERR_OK, CKestroDecimal::Convert2Decimal(lpszText, &stValue));
}

TEST(VarData, ByteSevenIsAnOwnerFlagOfTextsOnly) {
    st_VARDATA stValue;
    Decimal(stValue, "12.5");
    stValue.m_bPrecison = 18;
    stValue.Free();
    EXPECT_EQ(VT_EMPTY, stValue.m_vt);
    Decimal(stValue, "12.5");
    stValue.m_bPrecison = 18;
    char szPlan[] = "text in a plan";
    stValue.AttachString(szPlan, sizeof szPlan, 100);
    EXPECT_EQ(0, stValue.m_bAutoRelease);
    stValue.SetData(7);
    EXPECT_EQ(0, stValue.m_bEnumType);
    // The destructor of a decimal with a precision has nothing to delete.
    Decimal(stValue, "1");
    stValue.m_bPrecison = 255;
}

TEST(VarData, BuffersAreTakenOverAndGivenBack) {
    st_VARDATA stValue;
    OwnText(stValue, "first");
    OwnText(stValue, "second");
    EXPECT_STREQ("second", stValue.m_lpszValue);
    std::unique_ptr<char[]> lpKept(stValue.m_lpszValue);
    stValue.DetachBuffer();
    EXPECT_EQ(nullptr, stValue.m_lpszValue);
    stValue.AttachBuffer(VT_VARCHAR, nullptr, 5);
    EXPECT_TRUE(stValue.IsNull());
    EXPECT_EQ(1, stValue.m_bAutoRelease);
    std::unique_ptr<char[]> lpRefused(NewText("0x41"));
    stValue.AttachBuffer(VT_HEXSTR, lpRefused.get(), 5);
    stValue.DetachBuffer();
    EXPECT_EQ(VT_HEXSTR, stValue.m_vt);
    OwnText(stValue, "third");
    stValue.SetNull();
    stValue.SetNull();
    EXPECT_TRUE(stValue.IsNull());
    stValue.SetBinaryData(reinterpret_cast<unsigned char*>(lpKept.get()), 3);
    unsigned char* lpData;
    stValue.GetBinaryData(lpData);
    EXPECT_EQ(0, memcmp(lpData, "sec", 3));
}

TEST(VarData, PoolCopiesOwnNothingAndReplaceNull) {
    Pool stPool;
    st_VARDATA stCopy;
    stCopy.SetNull();
    {
        st_VARDATA stOwned;
        OwnText(stOwned, "owned");
        stOwned.m_bCharset = 33;
        stCopy.SetData(&stPool, stOwned);
    }
    EXPECT_STREQ("owned", stCopy.m_lpszValue);
    EXPECT_EQ(33, stCopy.m_bCharset);
    EXPECT_FALSE(stCopy.OwnsBuffer());

    // An owned text goes when a view of the same type takes its place.
    OwnText(stCopy, "goes");
    st_VARDATA stView;
    stView.SetData("view", 5, 0);
    stCopy.m_nDataCount = 9;
    stCopy.SetData(&stPool, stView);
    EXPECT_EQ(stView.m_lpszValue, stCopy.m_lpszValue);
    EXPECT_EQ(9u, stCopy.m_nDataCount);
    stCopy.SetData(&stPool, stCopy);
    EXPECT_STREQ("view", stCopy.m_lpszValue);

    st_VARDATA stEnum;
    stEnum.SetData(3);
    stEnum.m_bEnumType = 1;
    st_MYSQLFIELDDEF stField{};
    stEnum.m_enumValue.m_pField = &stField;
    stCopy.SetData(&stPool, stEnum);
    EXPECT_TRUE(stCopy.m_bEnumType == 1 && stCopy.m_nValue == 3 && stCopy.m_enumValue.m_pField == &stField);

    // Without a pool there is no memory for an owned text.
    st_VARDATA stOwned;
    OwnText(stOwned, "owned");
    stCopy.SetData(nullptr, stOwned);
    EXPECT_EQ(VT_EMPTY, stCopy.m_vt);
    st_VARDATA stEmpty;
    OwnText(stCopy, "goes");
    stCopy.SetData(&stPool, stEmpty);
    EXPECT_EQ(VT_EMPTY, stCopy.m_vt);
}

TEST(VarData, HeapCopiesOwnWhatTheSourceOwnedAndLeaveNull) {
    st_VARDATA stNull;
    stNull.SetNull();
    st_VARDATA stOwned;
    OwnText(stOwned, "owned");
    stNull = stOwned;
    EXPECT_TRUE(stNull.IsNull());
    st_VARDATA stCopy(stOwned);
    EXPECT_TRUE(stCopy.OwnsBuffer());
    EXPECT_NE(stOwned.m_lpszValue, stCopy.m_lpszValue);
    EXPECT_STREQ("owned", stCopy.m_lpszValue);
    st_VARDATA stDecimal;
    Decimal(stDecimal, "-1.25");
    stCopy = stDecimal;
    EXPECT_EQ(0, memcmp(&stCopy, &stDecimal, 24));
    // Lengths that lie don't make a copy read outside of the buffer.
    for (int nLen : {INT_MIN, -1, 0, 3}) {
        stOwned.m_nStrLen = nLen;
        st_VARDATA stCut;
        stCut = stOwned;
        EXPECT_EQ(std::string("owned").substr(0, nLen > 0 ? nLen : 0), stCut.m_lpszValue);
    }
}

TEST(VarData, VariablesKeepTheirBlockAndGrow) {
    Pool stPool;
    st_VARDATA stVariable, stText;
    const std::string strLong(300, 'x');
    stText.SetData("short", 6, 0);
    ASSERT_EQ(ERR_OK, stVariable.SetDataProce(&stPool, stText));
    char* const lpBlock = stVariable.m_lpszValue;
    EXPECT_EQ(100, stVariable.m_nCacheBufferSize);
    stText.SetData("other", 6, 0);
    ASSERT_EQ(ERR_OK, stVariable.SetDataProce(&stPool, stText));
    EXPECT_EQ(lpBlock, stVariable.m_lpszValue);
    EXPECT_STREQ("other", lpBlock);
    stText.SetData(strLong.c_str(), 301, 0);
    ASSERT_EQ(ERR_OK, stVariable.SetDataProce(&stPool, stText));
    EXPECT_EQ(strLong, stVariable.m_lpszValue);
    st_VARDATA stNull;
    stNull.SetNull();
    ASSERT_EQ(ERR_OK, stVariable.SetDataProce(&stPool, stNull));
    EXPECT_EQ(0, stVariable.m_nCacheBufferSize);
    EXPECT_EQ(ERR_MEMORY, stVariable.SetDataProce(nullptr, stText));
}

TEST(VarData, TruthIsThreeValued) {
    for (const auto& arRow :
         RowsOf("empty 0; txt: 1; dbl:1e-9 0; dbl:-1e-7 1; dbl:nan 0; dec:0.00 0; null 2; unknown 0; any 1"))
        EXPECT_EQ(std::stoi(arRow[1]), WordValue(arRow[0]).Get().IsTrue()) << arRow[0];
    WordValue stOdd("dec:0.00");
    stOdd->m_bValid = 200;
    EXPECT_EQ(0, stOdd->IsTrue());
    stOdd->m_vt = VT_STOP;
    EXPECT_EQ(0, stOdd->IsTrue());
}

TEST(VarData, CharactersAndWildcardsStayInsideTheLength) {
    const auto Check = [](const char* lpszText, int nLen, int nChars, bool bWild) {
        st_VARDATA st;
        st.SetData(lpszText, nLen, 0);
        EXPECT_EQ(nChars, st.GetCharNum()) << lpszText;
        EXPECT_EQ(bWild, st.IsAllWildcard()) << lpszText;
    };
    Check("abc", 4, 3, false);
    Check("\xF0\x9F\x98\x80\xE4\xB8\xAD", 8, 2, false);
    Check("\1\2", 3, 2, true);
    Check("", 1, 0, true);
    Check("abc", -5, 0, true);
    Check("ab\0cd", 6, 2, false);
    char szText[] = "aZ\xC3\xA9z";
    st_VARDATA st;
    st.SetData(szText, 3, 0);
    st.Upper(100);
    EXPECT_STREQ("AZ\xC3\xA9z", szText);
    st.Lower(1);
    EXPECT_STREQ("aZ\xC3\xA9z", szText);
}

TEST(VarData, WidthsOfTypes) {
    // The width as a field's value, of the value itself, and of its buffer.
    const auto Widths = [](BYTE bType, int nLen) {
        st_VARDATA st;
        st.m_vt = bType;
        st.m_nStrLen = nLen;
        const std::string strWidths =
            PrintText("%d %d %d", st.GetDataLen(bType), st.GetDataLen(), st.GetDataBufferLen(0));
        st.m_vt = VT_EMPTY;
        EXPECT_EQ(0, st.GetDataLen(bType));
        return strWidths;
    };
    EXPECT_EQ("251 250 250", Widths(VT_VARCHAR, 250));
    EXPECT_EQ("256 251 251", Widths(VT_VARCHAR, 251));
    EXPECT_EQ("250 249 0", Widths(VT_CHAR, 249));
    EXPECT_EQ("0 9 9", Widths(VT_BLOB, 9));
    EXPECT_EQ("10 9 9", Widths(VT_JSON, 9));
    EXPECT_EQ("1 0 0", Widths(VT_SMALLINT, 0));
    EXPECT_EQ("4 4 4", Widths(VT_INT, 0));
    EXPECT_EQ("0 0 0", Widths(VT_ENUM, 0));
    EXPECT_EQ("2147483643 2147483638 0", Widths(VT_CLOB, INT_MAX - 9));
}

TEST(VarData, EqualValuesHashAlike) {
    auto Hash = [](const st_VARDATA& st) {
        long long llHash = 5;
        unsigned long long ullShort = 5;
        st.CalcHashFactor(llHash);
        st.CalcHashFactorEx(ullShort);
        return std::pair{llHash, ullShort};
    };
    for (const char* const lpszOther : {"dbl:1234567890", "dec:1234567890.000", "hex:1234567890"})
        EXPECT_EQ(Hash(WordValue("int:1234567890")), Hash(WordValue(lpszOther))) << lpszOther;
    st_VARDATA stUpper, stBytes;
    stUpper.SetData("AZ09-", 6, 0);
    EXPECT_EQ(Hash(stUpper), Hash(WordValue("txt:az09-")));
    EXPECT_EQ(((((5LL * 37 + 10) * 37 + 35) * 10 + 0) * 10 + 9) * 131 + '-', Hash(stUpper).first);
    // Bytes count to their length, texts to their end.
    stBytes.SetBinaryData(stUpper.m_lpValue, 6);
    EXPECT_EQ(Hash(stUpper).first * 131, Hash(stBytes).first);
    stUpper.m_nStrLen = -1;
    EXPECT_EQ(5, Hash(stUpper).first);
}

TEST(VarData, AFieldFreesWhatItOwns) {
    st_MYSQLFIELDDEF stField{};
    stField.m_nEnumNum = 2;
    stField.m_arrEnumData = new char* [2] { NewText("red"), NewText("green") };
    stField.m_lpVirtualField = new st_VIRTUALFIELDINMEMORY{};
    stField.m_lpVirtualField->m_lpExpressionString = NewText("a+b");
    stField.m_lpDefaultExp = new BYTE[stField.m_lpDefaultExpLen = 3];
    int nIndex = 9;
    EXPECT_TRUE(stField.GetEnumIndex("blue", nIndex) == -1 && nIndex == 0);
    stField.Free();
    EXPECT_TRUE(!stField.m_lpDefaultExp && stField.m_lpDefaultExpLen == 0);
    EXPECT_EQ(-1, stField.GetEnumIndex("red", nIndex));
}

} // namespace
