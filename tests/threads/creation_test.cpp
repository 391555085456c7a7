// Threads that build trees while another changes what classes lead to, and lets modules come and go.
#include <atomic>
#include <thread>

#include "support/doubles.h"

namespace bv::test {
namespace {

/// Refuses; threads that have got it may still ask it when it has been revoked.
class Refusing final : public IClassFactory {
public:
    STDMETHODIMP QueryInterface(REFIID, void** out) override {
        AddRef();
        *out = static_cast<IClassFactory*>(this);
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }
    STDMETHODIMP_(ULONG) Release() override {
        const ULONG left = --references_;
        if (left == 0) delete this;
        return left;
    }
    STDMETHODIMP CreateInstance(IUnknown*, REFIID, void** out) override {
        *out = nullptr;
        if (std::this_thread::get_id() == maker_) ++asked_by_maker;
        return E_ABORT;
    }
    STDMETHODIMP LockServer(BOOL) override { return S_OK; }
    std::atomic<int> asked_by_maker{0};

private:
    ~Refusing() = default;
    const std::thread::id maker_ = std::this_thread::get_id();
    std::atomic<ULONG> references_{1};
};

Ref<IProperty> Make(REFCLSID cls) {
    Ref<IProperty> node;
    CoCreateInstance(cls, nullptr, CLSCTX_INPROC_SERVER, kIid<IProperty>, node.PutVoid());
    return node;
}

TEST(CreationThreads, TreesAreWholeWhileClassesAndModulesChange) {
    NothingLeft no_leaks;
    std::atomic<bool> done{false};
    std::atomic<int> built{0};
    std::thread builders[2];
    for (std::thread& builder : builders) {
        builder = std::thread([&] {
            CoInitialize(nullptr);
            while (!done) {
                const Ref<IProperty> cut = Make(clsid::PropertyTimeline);
                ASSERT_TRUE(cut);
                const Ref<IEnumProperties> children = cut.As<IEnumProperties>();
                ASSERT_TRUE(children);
                LONG count = 0;
                EXPECT_EQ(children->get_Count(&count), S_OK);
                EXPECT_GT(count, 0);
                ++built;
            }
            CoUninitialize();
        });
    }
    // A class of the tree is stood for again and again: the creation that follows on this thread sees it.
    for (int round = 0; round < 200 || built < 20; ++round) {
        auto* stand_in = new Refusing;
        DWORD cookie = 0;
        ASSERT_EQ(CoRegisterClassObject(clsid::PropertyTimelineOutput, stand_in, CLSCTX_INPROC_SERVER,
                                        REGCLS_MULTIPLEUSE, &cookie),
                  S_OK);
        EXPECT_TRUE(Make(clsid::PropertyTimeline));
        EXPECT_EQ(stand_in->asked_by_maker, 1);
        EXPECT_EQ(CoRevokeClassObject(cookie), S_OK);
        stand_in->Release();
        EXPECT_TRUE(Make(clsid::PropertyTimelineOutput));
        CoFreeUnusedLibraries();
    }
    done = true;
    for (std::thread& builder : builders) builder.join();
}

}  // namespace
}  // namespace bv::test
