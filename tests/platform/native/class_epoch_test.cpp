// What a kept look-up of a class is checked against.
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <thread>

#include <bv_class_epoch.h>

#include "platform/probe.h"
#include "support/doubles.h"
#include "support/names.h"

namespace bv::test {
namespace {

struct Double : Fake<IClassFactory> {
    STDMETHODIMP CreateInstance(IUnknown*, REFIID, void**) override { return E_NOTIMPL; }
    STDMETHODIMP LockServer(BOOL) override { return S_OK; }
};

void Create(const CLSID& id) {
    IUnknown* object = nullptr;
    if (SUCCEEDED(CoCreateInstance(id, nullptr, CLSCTX_INPROC_SERVER, IID_IUnknown,
                                   reinterpret_cast<void**>(&object))))
        object->Release();
}

TEST(ClassEpoch, MovesWhenAClassMayLeadElsewhere) {
    const TestClass registered(kProbe, WideName(ProbePath()));
    Double factory;
    DWORD cookie = 0;
    const auto enlist = [&](DWORD flags) {
        ASSERT_EQ(CoRegisterClassObject(kProbe, &factory, CLSCTX_INPROC_SERVER, flags, &cookie), S_OK);
    };
    Create(kProbe);
    const struct {
        const char* what;
        std::function<void()> act;
        bool moves;
    } steps[] = {
        {"a creation", [] { Create(kProbe); }, false},
        {"a module in use", [] { CoFreeUnusedLibrariesEx(60'000, 0); }, false},
        {"a class object", [&] { enlist(REGCLS_MULTIPLEUSE); }, true},
        {"its creation", [] { Create(kProbe); }, false},
        {"it goes", [&] { CoRevokeClassObject(cookie); }, true},
        {"it has gone", [&] { CoRevokeClassObject(cookie); }, false},
        {"one for a single use", [&] { enlist(REGCLS_SINGLEUSE); }, true},
        {"its use", [] { Create(kProbe); }, true},
        {"the module goes", [] { CoFreeUnusedLibrariesEx(0, 0); }, true},
        {"no module to go", [] { CoFreeUnusedLibrariesEx(0, 0); }, false},
    };
    for (const auto& step : steps) {
        const ULONGLONG before = BvClassEpoch();
        ASSERT_NE(before, 0u);
        step.act();
        EXPECT_EQ(BvClassEpoch() != before, step.moves) << step.what;
    }
    std::thread([] { EXPECT_EQ(BvClassEpoch(), 0u) << "a thread that may not create"; }).join();
}

TEST(ClassEpoch, AModuleGoesAfterATimeOfGrace) {
    const TestClass registered(kProbe, WideName(ProbePath()));
    const auto loaded = [] { return GetModuleHandleW(WideName(ProbePath()).c_str()) != nullptr; };
    CoFreeUnusedLibrariesEx(0, 0);
    Create(kProbe);
    std::thread([&] {
        ASSERT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
        CoFreeUnusedLibraries();
        CoFreeUnusedLibraries();
        EXPECT_TRUE(loaded()) << "other threads may be inside";
        CoUninitialize();
    }).join();
    EXPECT_TRUE(loaded());
    const ULONGLONG epoch = BvClassEpoch();
    constexpr DWORD kGrace = 200;
    while (loaded()) CoFreeUnusedLibrariesEx(kGrace, 0);
    EXPECT_NE(BvClassEpoch(), epoch);

    Create(kProbe);
    const auto begin = std::chrono::steady_clock::now();
    while (loaded()) CoFreeUnusedLibrariesEx(kGrace, 0);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(kGrace));
    Create(kProbe);
    CoFreeUnusedLibraries();
    EXPECT_FALSE(loaded()) << "there is no other thread";
}

}  // namespace
}  // namespace bv::test
