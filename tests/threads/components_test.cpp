// Threads that use the module at once, while classes and modules come and go.
#include <atomic>
#include <functional>
#include <thread>

#include "support/doubles.h"
#include "support/environment.h"
#include "support/names.h"
#include "support/node.h"
#include "support/registry.h"

namespace bv::test {
namespace {

constexpr int kTimes = kInFull ? 30 : 1;

/// Does the work on each of some threads, in the component model, and something else on this one until all
/// have done it.
void OnThreads(int count, const std::function<void(int)>& work, const std::function<void()>& meanwhile) {
    std::atomic<int> working = count;
    std::vector<std::thread> threads;
    for (int i = 0; i < count; ++i)
        threads.emplace_back([&, i] {
            EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
            work(i);
            CoUninitialize();
            --working;
        });
    do meanwhile();
    while (working);
    for (std::thread& thread : threads) thread.join();
}

void ExpectGone() {
    ASSERT_TRUE(ModuleCanGo());
    CoFreeUnusedLibrariesEx(0, 0);
    CoFreeUnusedLibrariesEx(0, 0);  // for a system that asks twice
    EXPECT_EQ(GetModuleHandleW(kModuleFile), nullptr);
}

TEST(ComponentThreadsTest, TreesStandWhileClassesAndModulesComeAndGo) {
    const std::filesystem::path other =
        TempFolder() / ("Other" + (BinFolder() / PathOf(kModuleFile)).extension().string());
    std::filesystem::copy_file(BinFolder() / PathOf(kModuleFile), other);
    const auto settings = [] {
        const Node root = CreateNode(clsid::PropertyMain);
        EXPECT_EQ(root.Find(L"Mode").Put(I4(2)), S_OK);
        return root.Xml();
    };
    const std::string expected = settings();
    const auto job = [&](int) {
        for (int round = 0; round < kTimes * 10; ++round) EXPECT_EQ(settings(), expected);
    };
    const auto create = [](REFCLSID cls) {
        Ref<IUnknown> made;
        return CoCreateInstance(cls, nullptr, CLSCTX_INPROC_SERVER, kIid<IUnknown>, made.PutVoid());
    };
    const Ref<IMap> held = New<IMap>(clsid::Map);  // keeps the module while its last operation returns
    OnThreads(4, job, [&] {
        {
            const ClassDouble own(kNoClass, [](IUnknown*, REFIID, void**) { return E_ABORT; });
            EXPECT_EQ(create(kNoClass), E_ABORT);
        }
        EXPECT_EQ(create(kNoClass), REGDB_E_CLASSNOTREG);
        GUID stranger = {};  // brings the other module, which doesn't know it
        ASSERT_EQ(CoCreateGuid(&stranger), S_OK);
        const TestClass registered(stranger, WideName(other));
        EXPECT_TRUE(FAILED(create(stranger)));
        CoFreeUnusedLibrariesEx(0, 0);
        CoFreeUnusedLibrariesEx(0, 0);
        EXPECT_EQ(GetModuleHandleW(WideName(other).c_str()), nullptr);
    });
}

TEST(ComponentThreadsTest, ALastReleaseReturnsBeforeItsModuleGoes) {
    const auto last_releases = [](int) {
        for (int round = 0; round < kTimes * 10'000; ++round) New<IMap>(clsid::Map);
    };
    OnThreads(2, last_releases, [] { CoFreeUnusedLibraries(); });
    ExpectGone();
}

TEST(ComponentThreadsTest, AHeldClassObjectKeepsTheModule) {
    const HMODULE module = LoadLibraryW(WideName(BinFolder() / PathOf(kModuleFile)).c_str());
    ASSERT_NE(module, nullptr);
    const auto can_unload = reinterpret_cast<HRESULT(STDAPICALLTYPE*)()>(
        reinterpret_cast<void*>(GetProcAddress(module, "DllCanUnloadNow")));
    const auto class_object = reinterpret_cast<HRESULT(STDAPICALLTYPE*)(REFCLSID, REFIID, void**)>(
        reinterpret_cast<void*>(GetProcAddress(module, "DllGetClassObject")));
    std::atomic<int> let_go = 0;
    const auto hold = [&](int) {
        for (int round = 0; round < kTimes * 40'000; ++round) {
            void* held = nullptr;
            ASSERT_EQ(class_object(clsid::Map, kIid<IClassFactory>, &held), S_OK);
            if (can_unload() == S_OK) ++let_go;
            static_cast<IClassFactory*>(held)->Release();
        }
    };
    OnThreads(4, hold, [] { std::this_thread::yield(); });
    EXPECT_EQ(let_go, 0);
    EXPECT_EQ(can_unload(), S_OK);
    FreeLibrary(module);
    ExpectGone();
}

}  // namespace
}  // namespace bv::test
