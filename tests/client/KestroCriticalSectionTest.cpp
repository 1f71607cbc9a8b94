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

TEST(KestroCriticalSectionTest, LocksItsScopeAndEntersARecordWithRoom) {
    std::deque<MUTEX> arMutex(CRITICALSECTION_MAX + 1);
    std::deque<CKestroCriticalSectionPtr> arLock;
    KESTROCRITICALSECTION stRecord{};
    for (MUTEX& stMutex : arMutex)
        arLock.emplace_back(&stMutex.m_stMutex, &stRecord);
    for (UINT i = CRITICALSECTION_MAX + 1; i-- > 0; arLock.pop_back()) {
        EXPECT_TRUE(arMutex[i].Held());
        EXPECT_TRUE(i == CRITICALSECTION_MAX || stRecord.m_arMutex[i] == &arMutex[i].m_stMutex);
        arLock.back().UnLock();
        EXPECT_FALSE(arMutex[i].Held());
        EXPECT_EQ(stRecord.m_nCount, i);
        EXPECT_TRUE(i == CRITICALSECTION_MAX || !stRecord.m_arMutex[i]);
    }
    {
        CKestroCriticalSectionPtr csNoRecord(&arMutex[0].m_stMutex, nullptr);
        CCriticalSectionPtr csPlain(&arMutex[1].m_stMutex);
        EXPECT_TRUE(arMutex[0].Held() && arMutex[1].Held());
    }
    EXPECT_FALSE(arMutex[0].Held() || arMutex[1].Held());
}

// Locks whose destructors never run, the first of them given back before the second.
TEST(KestroCriticalSectionTest, ReleaseUnlocksWhatWasLeft) {
    MUTEX stFirst, stSecond;
    KESTROCRITICALSECTION stRecord{};
    alignas(CKestroCriticalSectionPtr) unsigned char arLock[2][sizeof(CKestroCriticalSectionPtr)];
    auto* pFirst = new (arLock[0]) CKestroCriticalSectionPtr(&stFirst.m_stMutex, &stRecord);
    new (arLock[1]) CKestroCriticalSectionPtr(&stSecond.m_stMutex, &stRecord);
    pFirst->UnLock();
    KestroCriticalRelease(&stRecord);
    EXPECT_FALSE(stFirst.Held() || stSecond.Held());
    EXPECT_EQ(stRecord.m_arMutex[1], nullptr);
    EXPECT_EQ(stRecord.m_nCount, 1u);
    KestroCriticalRelease(nullptr);
}

} // namespace
