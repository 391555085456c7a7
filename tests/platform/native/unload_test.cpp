// Modules as the system's loader sees them: one that is freed is really gone, one without its entry isn't
// taken for the program.
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

TEST(Entry, AModuleWithoutItIsNotTakenForTheProgram) {
    const HMODULE module = LoadLibraryA("BVBare.so");
    ASSERT_NE(module, nullptr);
    const auto ask = reinterpret_cast<DWORD (*)(HMODULE, wchar_t*, DWORD)>(
        reinterpret_cast<void*>(GetProcAddress(module, "AskPath")));
    ASSERT_NE(ask, nullptr);
    wchar_t path[1024] = {};
    testing::internal::CaptureStderr();
    EXPECT_EQ(ask(nullptr, path, 1024), 0u);
    EXPECT_EQ(GetLastError(), DWORD(ERROR_DLL_INIT_FAILED));
    EXPECT_NE(testing::internal::GetCapturedStderr().find("BVBare.so: "), std::string::npos) << "it is loud";
    EXPECT_GT(ask(module, path, 1024), 0u) << "who names a module is answered";
    EXPECT_GT(GetModuleFileNameW(nullptr, path, 1024), 0u) << "and so is the program";
    FreeLibrary(module);
}

}  // namespace
}  // namespace bv::test
