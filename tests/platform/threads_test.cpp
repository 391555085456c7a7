// Critical sections, interlocked operations, the last error.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include <bvschema/platform.h>

namespace {

TEST(Threads, ASectionIsItsOwnersAndCanBeTakenAgain) {
    CRITICAL_SECTION section;
    InitializeCriticalSection(&section);
    int guarded = 0;
    LONG counted = 0;
    const auto work = [&] {
        for (int i = 0; i < 5000; ++i) {
            EnterCriticalSection(&section);
            EnterCriticalSection(&section);
            LeaveCriticalSection(&section);
            ++guarded;  // entered twice, left once: still held
            LeaveCriticalSection(&section);
            InterlockedIncrement(&counted);
        }
    };
    std::thread other(work);
    work();
    other.join();
    EXPECT_EQ(guarded, 10000);
    EXPECT_EQ(InterlockedDecrement(&counted), 9999);
    DeleteCriticalSection(&section);
}

TEST(Threads, TheLastErrorBelongsToItsThread) {
    std::atomic<int> step = 0;  // no system call stands between setting and reading
    std::thread other([&] {
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
}

}  // namespace
