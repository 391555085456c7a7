// The job lock, as the threads of a host and of a job use it.
#include <atomic>
#include <thread>

#include "support/node.h"

namespace bv::test {
namespace {

constexpr LONG kOther = 0, kWork = 1;

class JobLockTest : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(lock->Initialize(kWork), S_OK);
        ASSERT_EQ(lock->Initialize(kOther), S_OK);
    }
    void TearDown() override {
        EXPECT_EQ(lock->Delete(kWork), S_OK);
        EXPECT_EQ(lock->Delete(kOther), S_OK);
    }
    LONG IsLock(LONG which) const {
        LONG locked = -1;
        EXPECT_EQ(lock->get_IsLock(which, &locked), S_OK);
        return locked;
    }
    LONG IsStop() const {
        LONG stopped = -1;
        EXPECT_EQ(lock->get_IsStop(&stopped), S_OK);
        return stopped;
    }

    NothingLeft no_leaks;
    Ref<ICriticalSection> lock = New<ICriticalSection>(clsid::CriticalSection);
};

TEST_F(JobLockTest, ANewJobTakesAStopBack) {
    ASSERT_EQ(lock->Stop(), S_OK);
    EXPECT_EQ(IsStop(), 1);
    ASSERT_EQ(lock->Delete(kOther), S_OK);
    ASSERT_EQ(lock->Initialize(kOther), S_OK);
    EXPECT_EQ(IsStop(), 1);
    ASSERT_EQ(lock->Initialize(-7), S_OK);  // any number but 0 is the work lock
    EXPECT_EQ(IsStop(), 0);
}

TEST_F(JobLockTest, ALockThatIsntThereCantBeEntered) {
    const auto none = New<ICriticalSection>(clsid::CriticalSection);
    for (const LONG which : {kOther, kWork}) {
        EXPECT_EQ(none->Leave(which), E_UNEXPECTED);
        EXPECT_EQ(none->Enter(which), E_UNEXPECTED);
        EXPECT_EQ(lock->Enter(which), S_OK);
        EXPECT_EQ(lock->Initialize(which), S_OK) << "it is there already";
        EXPECT_EQ(lock->Leave(which), S_OK);
    }
    EXPECT_EQ(none->get_IsStop(nullptr), E_POINTER);
    HWND window = nullptr, given = reinterpret_cast<HWND>(ULONG_PTR(7));
    EXPECT_EQ(none->put_NotifyWnd(given), S_OK);
    EXPECT_EQ(none->get_NotifyWnd(&window), S_OK);
    EXPECT_EQ(window, given);
}

TEST_F(JobLockTest, KeepsOthersOut) {
    constexpr int kThreads = 4, kRounds = 2000;
    long counter = 0;  // plain: only the lock keeps it whole
    std::atomic<int> inside{0};
    std::atomic<bool> alone{true};
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i)
        threads.emplace_back([&] {
            const Ref<ICriticalSection> mine = lock;
            for (int round = 0; round < kRounds; ++round) {
                const bool twice = round % 3 == 0;
                mine->Enter(kWork);
                if (twice) mine->Enter(2);
                if (++inside != 1) alone = false;
                ++counter;
                --inside;
                if (twice) mine->Leave(2);
                mine->Leave(kWork);
            }
        });
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(counter, kThreads * kRounds);
    EXPECT_TRUE(alone);
    EXPECT_EQ(IsLock(kWork), 0);
}

TEST_F(JobLockTest, IsLockTellsOfAWaiter) {
    for (int round = 0; round < 200; ++round) {
        lock->Enter(kWork);
        ASSERT_EQ(IsLock(kWork), 0);  // held, and nobody else asks
        std::atomic<bool> entered{false};
        LONG seen = -1;
        std::thread waiter([&] {
            lock->Enter(kWork);
            entered = true;
            lock->get_IsLock(kWork, &seen);
            lock->Leave(kWork);
        });
        while (!IsLock(kWork)) std::this_thread::yield();
        EXPECT_FALSE(entered);
        EXPECT_EQ(IsLock(kOther), 0);
        lock->Enter(kOther);  // the other lock is free
        lock->Leave(kOther);
        lock->Leave(kWork);
        waiter.join();
        EXPECT_TRUE(entered);
        ASSERT_EQ(seen, 0) << "the last owner counts no longer";
        EXPECT_EQ(IsLock(kWork), 0);
    }
}

TEST_F(JobLockTest, ARunningJobSeesTheStop) {
    std::atomic<bool> running{false};
    std::thread job([&] {
        LONG stopped = 0;
        while (!stopped) {
            lock->Enter(kWork);
            lock->Leave(kWork);
            lock->get_IsStop(&stopped);
            running = true;
        }
    });
    while (!running) std::this_thread::yield();
    lock->Stop();
    job.join();
    EXPECT_EQ(IsStop(), 1);
}

}  // namespace
}  // namespace bv::test
