#include "support/environment.h"
#include "support/names.h"

#include <gmock/gmock.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include <bvschema/bvschema.h>

#define BV_WIDEN_(text) L##text
#define BV_WIDEN(text) BV_WIDEN_(text)

namespace bv::test {

const wchar_t* const kModuleFile = BV_WIDEN(BV_MODULE_FILE);
const wchar_t* const kSamplesFile = BV_WIDEN(BV_SAMPLES_FILE);

std::filesystem::path BinFolder() {
    wchar_t path[4096];
    const DWORD length = GetModuleFileNameW(nullptr, path, DWORD(std::size(path)));
    return PathOf(std::wstring_view(path, length)).parent_path();
}

std::filesystem::path DataFolder() { return std::getenv("BV_TEST_DATA"); }

std::filesystem::path TempFolder() { return std::getenv("BV_TEST_TEMP"); }

HRESULT CallModule(const wchar_t* module_file, const char* operation) {
    const HMODULE module = LoadLibraryW(WideName(BinFolder() / PathOf(module_file)).c_str());
    if (!module) return HRESULT_FROM_WIN32(GetLastError());
    using Operation = HRESULT(STDAPICALLTYPE*)();
    const auto call = reinterpret_cast<Operation>(reinterpret_cast<void*>(GetProcAddress(module, operation)));
    const HRESULT status = call ? call() : HRESULT_FROM_WIN32(GetLastError());
    FreeLibrary(module);
    return status;
}

namespace {

/// The component model up, and the module registered, while the tests run.
class ModuleEnvironment : public testing::Environment {
public:
    void SetUp() override {
        ASSERT_GE(CoInitialize(nullptr), 0);
        if (!Built()) return;
        ASSERT_EQ(CallModule(kModuleFile, "DllRegisterServer"), S_OK);
    }
    void TearDown() override {
        if (Built()) {
            EXPECT_EQ(CallModule(kModuleFile, "DllUnregisterServer"), S_OK);
        }
        CoUninitialize();
    }

private:
    // A program that tests the platform alone needs no module.
    static bool Built() { return std::filesystem::exists(BinFolder() / PathOf(kModuleFile)); }
};

}  // namespace
}  // namespace bv::test

int main(int argc, char** argv) {
    testing::InitGoogleMock(&argc, argv);
    if (!std::getenv("BV_PRIVATE_RUN") && !GTEST_FLAG_GET(list_tests)) {
        std::fputs("Tests register a module. Run them by scripts/run-native.sh or scripts/run-wine.sh.\n",
                   stderr);
        return 2;
    }
    testing::AddGlobalTestEnvironment(new bv::test::ModuleEnvironment);
    return RUN_ALL_TESTS();
}
