#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <deque>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "ChunkFault.h"
#include "FieldName2Index.h"
#include "Fields.h"
#include "KestroBufferPool.h"
#include "KestroMap.h"
#include "KestroQueue.h"
#include "KestroStack.h"
#include "Platform.h"

namespace {

TEST(KestroQueueTest, KeepsTheOrderOfADeque) {
    for (unsigned nSeed = 0; nSeed < 20; ++nSeed) {
        // Odd seeds go round the ring without filling it, even ones fill first and empty afterwards.
        std::mt19937 stRandom(nSeed);
        const CChunkFault stBalance;
        CKestroQueueUINT stQueue;
        std::deque<UINT> arrModel;
        for (UINT i = 1; i < 2000; ++i) {
            const bool bPush = nSeed % 2 ? arrModel.size() < 62 && stRandom() % 2 : i < nSeed * 60;
            bPush ? stQueue.push(i) : stQueue.pop();
            if (bPush) arrModel.push_back(i);
            if (!bPush && !arrModel.empty()) arrModel.pop_front();
            ASSERT_EQ(stQueue.size(), static_cast<int>(arrModel.size())) << nSeed << ' ' << i;
            ASSERT_EQ(stQueue.empty(), arrModel.empty());
            ASSERT_EQ(stQueue.front(), arrModel.empty() ? 0 : arrModel.front());
            ASSERT_EQ(stQueue.back(), arrModel.empty() ? 0 : arrModel.back());
            std::vector<UINT> arrCopy(arrModel.size());
            stQueue.copy(arrCopy.data());
            ASSERT_TRUE(std::equal(arrCopy.begin(), arrCopy.end(), arrModel.begin()));
        }
    }
}

void Push(CKestroQueueUINT& stQueue, UINT nFirst, UINT nLast) {
    for (UINT i = nFirst; i <= nLast; ++i)
        stQueue.push(i);
}

TEST(KestroQueueTest, ARingThatGrowsWhileWrappedReadsAsEmpty) {
    CKestroQueueUINT stQueue;
    Push(stQueue, 1, 10);
    EXPECT_EQ(stQueue.get(9), 10u);
    for (const int i : {-1, 10, 11, 64, 1 << 30})
        EXPECT_EQ(stQueue.get(i), 0u) << i;
    stQueue.pop();
    EXPECT_EQ(stQueue.get(0), 0u);
    Push(stQueue, 11, 64);
    EXPECT_EQ(stQueue.size(), 63);
    stQueue.push(65);
    EXPECT_TRUE(stQueue.empty());
    Push(stQueue, 66, 68);
    EXPECT_EQ(stQueue.front(), 66u);
    EXPECT_EQ(stQueue.size(), 3);
    stQueue.free();
    Push(stQueue, 1, 100);
    EXPECT_EQ(stQueue.get(99), 100u);
}

TEST(KestroQueueTest, AnEntryWithoutMemoryIsLostThereAndOnAStack) {
    CChunkFault stFault(2);
    CKestroQueueUINT stQueue;
    Push(stQueue, 1, 130);
    EXPECT_TRUE(stFault.CameTrue());
    EXPECT_TRUE(stQueue.size() == 129 && stQueue.get(126) == 127 && stQueue.get(127) == 129);
    KestroChunkFailNth(1);
    CKestroStackInt64 stStack;
    for (int i = 1; i <= 66; ++i)
        stStack.push(i);
    EXPECT_TRUE(stStack.size() == 65 && stStack.top() == 66);
}

TEST(KestroStackTest, KeepsTheOrderOfAVector) {
    std::mt19937 stRandom(1);
    const CChunkFault stBalance;
    int arCell[500];
    CKestroStack stStack;
    std::vector<void*> arrModel;
    for (int i = 0; i < 5000; ++i) {
        const bool bPush = stRandom() % 5 < 3;
        bPush ? stStack.push(&arCell[i % 500]) : stStack.pop();
        if (bPush) arrModel.push_back(&arCell[i % 500]);
        if (!bPush && !arrModel.empty()) arrModel.pop_back();
        if (stRandom() % 500 == 0) stStack.free(), arrModel.clear();
        const int nSize = static_cast<int>(arrModel.size());
        ASSERT_EQ(stStack.size(), nSize);
        ASSERT_EQ(stStack.top(), arrModel.empty() ? nullptr : arrModel.back());
        const int nAt = static_cast<int>(stRandom() % 300) - 50;
        ASSERT_EQ(stStack.at(nAt), nAt >= 0 && nAt < nSize ? arrModel[static_cast<unsigned>(nAt)] : nullptr);
    }
}

/** A key whose hash is the smallest number, which has no absolute value. */
std::string SmallestHash() {
    return std::string(23, 1) + '\x80' + std::string(23, -1) + '\x80';
}

TEST(KestroMapStringTest, AgreesWithAMapWhicheverAllocationFails) {
    for (std::int64_t nFault = 0; nFault < 40; ++nFault) {
        std::mt19937 stRandom(static_cast<unsigned>(nFault));
        const CChunkFault stFault(nFault);
        CKestroMapString stMap;
        std::map<std::string, UINT> mapModel;
        for (UINT i = 1; i < 3000; ++i) {
            const std::string strKey(1 + stRandom() % 63, static_cast<char>(stRandom() % 4 + 0x7E));
            const auto itFound = mapModel.find(strKey);
            const bool bFound = itFound != mapModel.end();
            UINT nValue = 0;
            ASSERT_EQ(stMap.Get(strKey.c_str(), nValue), bFound ? 0 : -1) << strKey;
            ASSERT_EQ(nValue, bFound ? itFound->second : 0);
            if (stRandom() % 3 == 0) {
                ASSERT_EQ(stMap.Remove(strKey.c_str()), nValue);
                mapModel.erase(strKey);
            } else if (stMap.Set(strKey.c_str(), i) == 0 || bFound) {
                mapModel[strKey] = i;
            } else {
                ASSERT_EQ(stMap.Get(strKey.c_str(), nValue), -1);
                ASSERT_TRUE(stFault.CameTrue());
            }
            if (i % 700 == 0) {
                stMap.Clear();
                mapModel.clear();
            }
        }
        const char* lpszKey;
        UINT nValue;
        const int nCount = static_cast<int>(mapModel.size());
        EXPECT_TRUE(stMap.Count() == nCount && stMap.GetCount() == nCount);
        auto stPosition = stMap.GetHeadPosition();
        while (stPosition) {
            stMap.GetNext(stPosition, lpszKey, nValue);
            const auto itFound = mapModel.find(lpszKey);
            ASSERT_TRUE(itFound != mapModel.end() && itFound->second == nValue) << lpszKey;
            mapModel.erase(itFound);
        }
        EXPECT_TRUE(mapModel.empty());
        stMap.GetNext(stPosition, lpszKey, nValue);
        EXPECT_EQ(lpszKey, nullptr);
        EXPECT_EQ(nValue, 0u);
    }
}

TEST(KestroMapStringTest, TellsAnUpdateAndCutsLongKeys) {
    CKestroMapString stMap;
    const std::string strLong(70, 'k');
    UINT nValue = 0;
    EXPECT_EQ(stMap.Set("a", 1), 0);
    EXPECT_EQ(stMap.Set("a", 2), 3);
    EXPECT_EQ(stMap.Get("a", nValue), 0);
    EXPECT_EQ(nValue, 2u);
    for (const std::string& strKey : {strLong, strLong, std::string(100000, 'k'), std::string()}) {
        EXPECT_EQ(stMap.Set(strKey.c_str(), 7), 0);
        EXPECT_EQ(stMap.Get(strKey.c_str(), nValue), -1);
        EXPECT_EQ(stMap.Remove(strKey.c_str()), 0u);
    }
    EXPECT_EQ(stMap.Count(), 4);
    EXPECT_EQ(stMap.GetCount(), 5);
    EXPECT_EQ(stMap.Set(SmallestHash().c_str(), 1), 0);
    EXPECT_EQ(stMap.Get(SmallestHash().c_str(), nValue), 0);
}

TEST(KestroMapInt64Test, AgreesWithASetButForZero) {
    CKestroMapInt64 stMap;
    const CChunkFault stBalance;
    EXPECT_EQ(stMap.Find(0), 1);
    EXPECT_EQ(stMap.Set(257), 0);
    EXPECT_EQ(stMap.Find(0), 0);
    EXPECT_EQ(stMap.Set(0), 0);
    EXPECT_EQ(stMap.Find(0), 1);
    stMap.Clear();
    std::mt19937_64 stRandom(1);
    std::set<long long> setModel;
    for (int i = 0; i < 4000; ++i) {
        auto llValue = static_cast<long long>(stRandom() >> stRandom() % 64);
        if (stRandom() % 2) llValue = -llValue;
        if (llValue == 0) continue;
        ASSERT_EQ(stMap.Find(llValue), setModel.count(llValue));
        if (i % 1000 == 7) {
            KestroChunkFailNth(1);
            const bool bSet = stMap.Set(llValue) == 0;
            ASSERT_EQ(bSet, KestroChunkFailNth(0) == 1);
            if (!bSet) continue;
        }
        ASSERT_EQ(stMap.Set(llValue), 0);
        setModel.insert(llValue);
    }
    for (const long long llValue : setModel)
        ASSERT_EQ(stMap.Find(llValue), 1);
    stMap.Clear();
    EXPECT_EQ(stMap.Find(*setModel.begin()), 0);
}

char* NewText(const std::string& strText) {
    const auto lpszText = new char[strText.size() + 1];
    std::memcpy(lpszText, strText.c_str(), strText.size() + 1);
    return lpszText;
}

TEST(KestroMapCacheTest, OwnsWhatItHolds) {
    const CChunkFault stBalance;
    std::mt19937 stRandom(1);
    CKestroMapCache stMap(7);
    std::map<std::string, std::string> mapModel;
    for (int i = 0; i < 3000; ++i) {
        const std::string strKey(stRandom() % 30 * 10, static_cast<char>('a' + stRandom() % 2));
        const auto itFound = mapModel.find(strKey);
        const auto lpszValue = static_cast<const char*>(stMap.Get(strKey.c_str()));
        ASSERT_EQ(lpszValue != nullptr, itFound != mapModel.end());
        if (lpszValue) {
            ASSERT_EQ(itFound->second, lpszValue);
            const auto lpTaken = static_cast<char*>(stMap.Remove(strKey.c_str()));
            ASSERT_EQ(lpTaken, lpszValue);
            delete[] lpTaken;
            mapModel.erase(itFound);
        } else {
            ASSERT_EQ(stMap.Set(NewText(strKey), NewText(std::to_string(i))), 0);
            mapModel[strKey] = std::to_string(i);
        }
        ASSERT_EQ(stMap.GetCount(), static_cast<int>(mapModel.size()));
    }
    EXPECT_EQ(stMap.Remove("none"), nullptr);
    EXPECT_EQ(stMap.Count(), stMap.GetCount());
    const char* lpszKey;
    void* lpValue;
    for (auto stPosition = stMap.GetHeadPosition(); stPosition;) {
        stMap.GetNext(stPosition, lpszKey, lpValue);
        ASSERT_EQ(mapModel.at(lpszKey), static_cast<char*>(lpValue));
    }
    stMap.Clear();
    EXPECT_EQ(stMap.Count() + stMap.GetCount(), 0);
    EXPECT_FALSE(stMap.GetHeadPosition());
}

TEST(KestroMapCacheTest, ReplacesTheValueAndStampsIt) {
    const PLATFORM stSaved = g_stPlatform;
    g_stPlatform.m_lpfnMicroseconds = [] { return std::int64_t{5}; };
    const CChunkFault stBalance;
    CKestroMapCache stMap(1);
    char* const lpszKey = NewText("key");
    char* const lpszValue = NewText("new");
    EXPECT_EQ(stMap.Set(lpszKey, NewText("old")), 0);
    EXPECT_EQ(stMap.Set(lpszKey, lpszValue), 0);
    EXPECT_EQ(stMap.Set(lpszKey, lpszValue), 0);
    EXPECT_EQ(stMap.Get("key"), lpszValue);
    EXPECT_EQ(stMap.GetCount(), 1);
    EXPECT_EQ(stMap.GetHeadPosition().m_lpNode->m_nTime, 116444736000000050);
    // The key stands behind the bucket, whose own entry goes; it's still the same entry that is set.
    char* const lpszOther = NewText("other");
    EXPECT_EQ(stMap.Set(lpszOther, NewText("1")), 0);
    delete[] static_cast<char*>(stMap.Remove("key"));
    EXPECT_EQ(stMap.Set(lpszOther, NewText("2")), 0);
    EXPECT_EQ(stMap.GetCount(), 1);
    g_stPlatform = stSaved;
}

TEST(KestroMapCacheTest, StaysEmptyWithoutBuckets) {
    char lpszKey[] = "key";
    const auto ExpectEmpty = [&](CKestroMapCache&& stMap) {
        EXPECT_EQ(stMap.Set(lpszKey, nullptr), 3);
        EXPECT_EQ(stMap.Get(lpszKey), nullptr);
        EXPECT_EQ(stMap.Remove(lpszKey), nullptr);
        EXPECT_FALSE(stMap.GetHeadPosition());
        stMap.Clear();
    };
    ExpectEmpty(CKestroMapCache(0));
    ExpectEmpty(CKestroMapCache(-5));
    const CChunkFault stFault(1);
    ExpectEmpty(CKestroMapCache(100));
}

template <typename TABLE>
using CHAROF = std::decay_t<decltype(TABLE::stu_Field_BaseData::m_lpszName[0])>;

/** A name in a table's characters, negative ones included. */
template <typename TABLE>
std::basic_string<CHAROF<TABLE>> NameOf(const std::string& strText) {
    return {strText.begin(), strText.end()};
}

template <typename TABLE>
void AgreesWithAMapWhateverFails() {
    bool bFailed = true;
    for (unsigned nFault = 0; bFailed || nFault == 1; ++nFault) {
        std::mt19937 stRandom(nFault);
        const CChunkFault stFault(nFault);
        CKestroBufferPool stPool;
        stPool.SetPoolPageSize(nFault % 2 * 3000);
        TABLE stTable;
        EXPECT_EQ(stTable.Get(NameOf<TABLE>("a").c_str()), -1);
        std::map<std::basic_string<CHAROF<TABLE>>, int> mapModel;
        const bool bReady = stTable.Initialize(static_cast<int>(stRandom() % 40), &stPool) == 0;
        for (int i = 0; i < 200; ++i) {
            std::string strText(1 + stRandom() % 31, static_cast<char>(stRandom() % 4 + 0x7E));
            const auto strName = NameOf<TABLE>(strText);
            const int nReplace = static_cast<int>(stRandom() % 2);
            const int nResult = stTable.Set(strName.c_str(), i, nReplace);
            if (nResult == 0 && (nReplace || !mapModel.count(strName))) mapModel[strName] = i;
            EXPECT_TRUE(nResult == 0 || (nResult == 3 && nFault != 0));
            EXPECT_EQ(stTable.Get(strName.c_str()), nResult == 0 ? mapModel[strName] : -1);
        }
        bFailed = stFault.CameTrue();
        EXPECT_EQ(bReady, !bFailed || nFault > 1);
    }
}

TEST(FieldName2IndexTest, AgreesWithAMapWhateverFails) {
    AgreesWithAMapWhateverFails<CFieldName2Index>();
    AgreesWithAMapWhateverFails<CFieldName2IndexW>();
}

template <typename TABLE>
int Ask(int nSize, const std::string& strStored, const std::string& strAsked) {
    CKestroBufferPool stPool;
    TABLE stTable;
    EXPECT_EQ(stTable.Initialize(nSize, &stPool), 0);
    EXPECT_EQ(stTable.Set(NameOf<TABLE>("").c_str(), 9, 1), 0);
    EXPECT_EQ(stTable.Set(NameOf<TABLE>(strStored).c_str(), 5, 0), 0);
    return stTable.Get(NameOf<TABLE>(strAsked).c_str());
}

/** In both tables; they must agree. */
int AskBoth(int nSize, const std::string& strStored, const std::string& strAsked) {
    const int nIndex = Ask<CFieldName2Index>(nSize, strStored, strAsked);
    EXPECT_EQ(Ask<CFieldName2IndexW>(nSize, strStored, strAsked), nIndex) << nSize << strAsked;
    return nIndex;
}

TEST(FieldName2IndexTest, FindsOtherCaseInTheSameBucketOnly) {
    CheckRows({"1|azNAZ|AZnaz=>5", "8|name|NAMe=>5", "9|name|NAME=>-1", "15|name|NAME=>5", "8|n@me|n`me=>-1",
               "8|name|nam=>-1", "8|x|=>-1", "-2147483648|a|a=>5", "2147483647|a|a=>5",
               // Of a large table several buckets share a chain.
               "256|same|samE=>5", "512|same|samE=>-1"},
              [](const auto& arText) {
                  return std::to_string(
                      AskBoth(arText[0].Number(), std::string(arText[1].View()), std::string(arText[2].View())));
              });
    EXPECT_EQ(AskBoth(9, SmallestHash().substr(0, 24), SmallestHash().substr(0, 24)), 5);
}

TEST(FieldName2IndexTest, NamesThatDontFitArentFound) {
    for (const unsigned nLen : {31u, 32u, 63u, 64u, 65u, 100000u}) {
        const std::string strName(nLen, 'n');
        EXPECT_EQ(Ask<CFieldName2Index>(8, strName, strName), nLen < 32 ? 5 : -1) << nLen;
        EXPECT_EQ(Ask<CFieldName2IndexW>(8, strName, strName), nLen < 64 ? 5 : -1) << nLen;
    }
    // Nor does one answer for the name that is left when it's cut.
    EXPECT_EQ(Ask<CFieldName2Index>(8, std::string(32, 'n'), std::string(31, 'n')), -1);
    EXPECT_EQ(Ask<CFieldName2IndexW>(8, std::string(64, 'n'), std::string(63, 'n')), -1);
    EXPECT_EQ(Ask<CFieldName2Index>(8, SmallestHash(), SmallestHash()), -1);
}

} // namespace
