// Critical sections, locks without a constructor, and the last error of a thread.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

#include "host/platform.h"

namespace zv::test {
namespace {

constexpr int kThreads = 4;
constexpr int kRounds = 20000;

template <class Work>
void OnFourThreads(const Work& work) {
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) threads.emplace_back(work);
    for (std::thread& thread : threads) thread.join();
}

TEST(CriticalSection, OneThreadAtATime) {
    CRITICAL_SECTION section;
    InitializeCriticalSection(&section);
    int counter = 0;
    OnFourThreads([&] {
        for (int i = 0; i < kRounds; ++i) {
            EnterCriticalSection(&section);
            ++counter;
            LeaveCriticalSection(&section);
        }
    });
    EXPECT_EQ(kThreads * kRounds, counter);
    DeleteCriticalSection(&section);
}

TEST(CriticalSection, ItsThreadMayEnterAgain) {
    CRITICAL_SECTION section;
    InitializeCriticalSection(&section);
    EnterCriticalSection(&section);
    EnterCriticalSection(&section);
    std::atomic<bool> entered = false;
    std::thread other([&] {
        EnterCriticalSection(&section);
        entered = true;
        LeaveCriticalSection(&section);
    });
    LeaveCriticalSection(&section);
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_FALSE(entered) << "entered twice and left once";
    LeaveCriticalSection(&section);
    other.join();
    EXPECT_TRUE(entered);
    DeleteCriticalSection(&section);
}

TEST(CriticalSection, MayBeMadeAgainAfterItsEnd) {
    CRITICAL_SECTION section;
    for (int i = 0; i < 3; ++i) {
        InitializeCriticalSection(&section);
        EnterCriticalSection(&section);
        LeaveCriticalSection(&section);
        DeleteCriticalSection(&section);
    }
    InitializeCriticalSection(&section);
    int counter = 0;
    OnFourThreads([&] {
        EnterCriticalSection(&section);
        ++counter;
        LeaveCriticalSection(&section);
    });
    EXPECT_EQ(kThreads, counter);
    DeleteCriticalSection(&section);
}

constinit SRWLOCK staticLock = SRWLOCK_INIT;

TEST(StaticLock, OneThreadAtATime) {
    int counter = 0;
    OnFourThreads([&] {
        for (int i = 0; i < kRounds; ++i) {
            AcquireSRWLockExclusive(&staticLock);
            ++counter;
            ReleaseSRWLockExclusive(&staticLock);
        }
    });
    EXPECT_EQ(kThreads * kRounds, counter);
}

TEST(LastError, BelongsToItsThread) {
    std::atomic<int> step = 0;
    DWORD atStart = 1, later = 1;
    std::thread other([&] {
        while (step != 1) std::this_thread::yield();
        atStart = GetLastError();
        SetLastError(99);
        later = GetLastError();
        step = 2;
    });
    // Nothing else is called in between: starting and joining threads may set it as well.
    SetLastError(17);
    step = 1;
    while (step != 2) {
    }
    const DWORD here = GetLastError();
    other.join();
    EXPECT_EQ(17U, here);
    EXPECT_NE(17U, atStart);
    EXPECT_EQ(99U, later);
}

TEST(LastError, KeepsEveryBit) {
    for (const DWORD error : {DWORD{0}, DWORD{2021}, DWORD{0x80070002}, DWORD{0xFFFFFFFF}}) {
        SetLastError(error);
        EXPECT_EQ(error, GetLastError());
    }
}

}  // namespace
}  // namespace zv::test
