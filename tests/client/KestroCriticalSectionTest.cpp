#include "KestroCriticalSection.h"

#include <gtest/gtest.h>

#include <deque>
#include <new>

namespace {

struct MUTEX {
    pthread_mutex_t m_stMutex = PTHREAD_MUTEX_INITIALIZER;

    bool Held() {
        if (pthread_mutex_trylock(&m_stMutex) != 0) return true;
        pthread_mutex_unlock(&m_stMutex);
        return false;
    }
};

TEST(KestroCriticalSectionTest, LocksItsScopeAndEntersTheRecord) {
    MUTEX stFirst, stSecond, stThird;
    KESTROCRITICALSECTION stRecord{};
    {
        CKestroCriticalSectionPtr csFirst(&stFirst.m_stMutex, &stRecord);
        CKestroCriticalSectionPtr csSecond(&stSecond.m_stMutex, &stRecord);
        CKestroCriticalSectionPtr csNoRecord(&stThird.m_stMutex, nullptr);
        EXPECT_TRUE(stFirst.Held() && stSecond.Held() && stThird.Held());
        EXPECT_EQ(stRecord.m_nCount, 2u);
        EXPECT_EQ(stRecord.m_arMutex[1], &stSecond.m_stMutex);
        csSecond.UnLock();
        csSecond.UnLock();
        EXPECT_FALSE(stSecond.Held());
        EXPECT_EQ(stRecord.m_nCount, 1u);
        EXPECT_EQ(stRecord.m_arMutex[1], nullptr);
    }
    EXPECT_FALSE(stFirst.Held() || stThird.Held());
    EXPECT_EQ(stRecord.m_nCount, 0u);
    CCriticalSectionPtr csPlain(&stFirst.m_stMutex);
    EXPECT_TRUE(stFirst.Held());
    csPlain.UnLock();
    EXPECT_FALSE(stFirst.Held());
}

TEST(KestroCriticalSectionTest, FullRecordIsIgnored) {
    std::deque<MUTEX> arMutex(CRITICALSECTION_MAX + 1);
    std::deque<CKestroCriticalSectionPtr> arLock;
    KESTROCRITICALSECTION stRecord{};
    for (MUTEX& stMutex : arMutex)
        arLock.emplace_back(&stMutex.m_stMutex, &stRecord);
    EXPECT_TRUE(arMutex.back().Held());
    EXPECT_EQ(stRecord.m_nCount, CRITICALSECTION_MAX);
    arLock.pop_back();
    EXPECT_FALSE(arMutex.back().Held());
    EXPECT_EQ(stRecord.m_nCount, CRITICALSECTION_MAX);
}

// Locks whose destructors never run, the first of them given back before the second.
TEST(KestroCriticalSectionTest, ReleaseUnlocksWhatWasLeft) {
    MUTEX stFirst, stSecond;
    KESTROCRITICALSECTION stRecord{};
    alignas(CKestroCriticalSectionPtr) unsigned char arFirst[sizeof(CKestroCriticalSectionPtr)],
        arSecond[sizeof arFirst];
    auto* pFirst = new (arFirst) CKestroCriticalSectionPtr(&stFirst.m_stMutex, &stRecord);
    new (arSecond) CKestroCriticalSectionPtr(&stSecond.m_stMutex, &stRecord);
    pFirst->UnLock();
    KestroCriticalRelease(&stRecord);
    EXPECT_FALSE(stFirst.Held() || stSecond.Held());
    EXPECT_EQ(stRecord.m_arMutex[1], nullptr);
    EXPECT_EQ(stRecord.m_nCount, 1u);
    KestroCriticalRelease(nullptr);
}

} // namespace
