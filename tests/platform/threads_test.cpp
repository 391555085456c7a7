// Critical sections, interlocked operations, the last error.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include <bvschema/platform.h>

namespace {

TEST(Threads, ASectionIsItsOwnersAndCanBeTakenAgain) {
    CRITICAL_SECTION section;
    InitializeCriticalSection(&section);
    EnterCriticalSection(&section);
    EXPECT_TRUE(TryEnterCriticalSection(&section));
    LeaveCriticalSection(&section);
    std::thread([&] {
        EXPECT_FALSE(TryEnterCriticalSection(&section)) << "entered twice, left once";
    }).join();
    LeaveCriticalSection(&section);
    std::thread([&] {
        EXPECT_TRUE(TryEnterCriticalSection(&section));
        LeaveCriticalSection(&section);
    }).join();

    int guarded = 0;
    LONG counted = 0;
    const auto work = [&] {
        for (int i = 0; i < 5000; ++i) {
            EnterCriticalSection(&section);
            ++guarded;
            LeaveCriticalSection(&section);
            InterlockedIncrement(&counted);
        }
    };
    std::thread other(work);
    work();
    other.join();
    EXPECT_EQ(guarded, 10000);
    EXPECT_EQ(counted, 10000);
    DeleteCriticalSection(&section);
}

TEST(Threads, InterlockedOperationsGiveTheRightOne) {
    LONG value = 5;
    EXPECT_EQ(InterlockedIncrement(&value), 6);
    EXPECT_EQ(InterlockedDecrement(&value), 5);
    EXPECT_EQ(InterlockedExchangeAdd(&value, 3), 5);
    EXPECT_EQ(InterlockedExchange(&value, 1), 8);
    EXPECT_EQ(InterlockedCompareExchange(&value, 9, 2), 1);
    EXPECT_EQ(value, 1);
    EXPECT_EQ(InterlockedCompareExchange(&value, 9, 1), 1);
    EXPECT_EQ(value, 9);
}

TEST(Threads, TheLastErrorBelongsToItsThread) {
    const DWORD own = GetCurrentThreadId();
    std::atomic<int> step = 0;  // no system call stands between setting and reading
    std::thread other([&] {
        EXPECT_NE(GetCurrentThreadId(), own);
        while (step != 1) {
        }
        SetLastError(18);
        step = 2;
    });
    SetLastError(17);
    step = 1;
    while (step != 2) {
    }
    EXPECT_EQ(GetLastError(), 17u);
    other.join();
    EXPECT_EQ(GetCurrentThreadId(), own);
}

}  // namespace
