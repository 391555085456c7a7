// The last error. Sections are shown by the job lock's tests, which stand on one.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include <bvschema/platform.h>

namespace {

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
