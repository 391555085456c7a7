// Whether the module can go, while threads count in stripes of their own.
#include "com/module_lock.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace bv {
namespace {

TEST(ModuleLock, IsFreeWhenTheLastIsDroppedByWhateverThread) {
    ASSERT_TRUE(ModuleLocks::None());
    constexpr int kThreads = 20;  // more than there are stripes
    const auto on_threads = [](auto call) {
        std::vector<std::thread> threads;
        for (int i = 0; i < kThreads; ++i) threads.emplace_back(call);
        for (std::thread& thread : threads) thread.join();
    };
    on_threads([] {
        LockModule();
        LockModule();
    });
    for (int left = 2 * kThreads; left > kThreads; --left) {
        EXPECT_FALSE(ModuleLocks::None()) << left;
        UnlockModule();  // more than this thread has added
    }
    EXPECT_FALSE(ModuleLocks::None());
    on_threads([] {
        EXPECT_FALSE(ModuleLocks::None());
        LockModule();
        UnlockModule();
    });
    on_threads(UnlockModule);
    EXPECT_TRUE(ModuleLocks::None());
}

}  // namespace
}  // namespace bv
