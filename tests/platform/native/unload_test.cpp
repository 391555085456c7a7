// A module that is freed is really gone from the process.
#include <gtest/gtest.h>

#include <fstream>

#include "platform/probe.h"
#include "support/names.h"

namespace bv::test {
namespace {

bool IsMapped(const std::string& file) {
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);)
        if (line.find(file) != std::string::npos) return true;
    return false;
}

TEST(Unload, AFreedModuleIsNoLongerMapped) {
    const HMODULE module = LoadLibraryW(WideName(ProbePath()).c_str());
    ASSERT_NE(module, nullptr);
    EXPECT_TRUE(IsMapped("BVProbe.so"));
    FreeLibrary(module);
    EXPECT_FALSE(IsMapped("BVProbe.so"));
    SetLastError(0);
    EXPECT_FALSE(FreeLibrary(module)) << "once too often";
    EXPECT_EQ(GetLastError(), DWORD(ERROR_MOD_NOT_FOUND));
}

}  // namespace
}  // namespace bv::test
