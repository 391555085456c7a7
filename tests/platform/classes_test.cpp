// Creation by class id: where classes are found, when their modules come and go.
#include <gmock/gmock.h>

#include <cstring>
#include <thread>

#include "platform/probe.h"
#include "support/doubles.h"
#include "support/files.h"
#include "support/names.h"

namespace bv::test {
namespace {

bool IsLoaded(const std::filesystem::path& module) {
    return GetModuleHandleW(WideName(module).c_str()) != nullptr;
}

/// The system may keep a module for a while after its last use, unless it is told not to.
void FreeUnused() {
    CoFreeUnusedLibrariesEx(0, 0);
    CoFreeUnusedLibrariesEx(0, 0);
}

HRESULT Create(const CLSID& id, IUnknown** result, IUnknown* outer = nullptr) {
    return CoCreateInstance(id, outer, CLSCTX_INPROC_SERVER, IID_IUnknown, reinterpret_cast<void**>(result));
}

/// A class object of the test's own, which makes nothing but counts.
struct Double : Fake<IClassFactory> {
    int creations = 0;
    STDMETHODIMP CreateInstance(IUnknown*, REFIID, void** result) override {
        ++creations;
        *result = nullptr;
        return kOuterSeen;
    }
    STDMETHODIMP LockServer(BOOL) override { return S_OK; }
};

TEST(Classes, AModuleComesWithItsFirstClassAndGoesWhenNothingOfItIsHeld) {
    const TestClass first(kProbe, WideName(ProbePath()));
    const TestClass second(kSecondProbe, WideName(ProbePath()));
    ASSERT_FALSE(IsLoaded(ProbePath()));

    IUnknown* a = nullptr;
    IUnknown* b = nullptr;
    ASSERT_EQ(Create(kProbe, &a), S_OK);
    ASSERT_EQ(Create(kSecondProbe, &b), S_OK);
    EXPECT_EQ(a->Release(), 0u);
    FreeUnused();
    EXPECT_TRUE(IsLoaded(ProbePath())) << "an object lives";
    EXPECT_EQ(b->Release(), 0u);

    IClassFactory* held = nullptr;
    ASSERT_EQ(CoGetClassObject(kProbe, CLSCTX_INPROC_SERVER, nullptr, IID_IClassFactory,
                               reinterpret_cast<void**>(&held)),
              S_OK);
    FreeUnused();
    EXPECT_TRUE(IsLoaded(ProbePath())) << "a class object is held";
    held->Release();

    FreeUnused();
    EXPECT_FALSE(IsLoaded(ProbePath()));
    ASSERT_EQ(Create(kProbe, &a), S_OK) << "it comes again";
    a->Release();
    CoUninitialize();
    EXPECT_FALSE(IsLoaded(ProbePath())) << "the end of the component model closes it";
    ASSERT_EQ(CoInitialize(nullptr), S_OK);
}

TEST(Classes, AFoundClassStaysWithItsModule) {
    IUnknown* object = nullptr;
    {
        const TestClass registered(kProbe, WideName(ProbePath()));
        ASSERT_EQ(Create(kProbe, &object), S_OK);
        object->Release();
    }
    FreeUnused();
    EXPECT_EQ(Create(kProbe, &object), REGDB_E_CLASSNOTREG);
}

TEST(Classes, StatusesOfWhatCannotBeCreated) {
    const std::filesystem::path text = TempFolder() / "module.txt";
    WriteAll(text, "This is no module.");
    const struct {
        const char* what;
        std::wstring module;
        HRESULT status;
        HRESULT or_status;  // Wine has its own
    } cases[] = {
        {"no such file", WideName(TempFolder() / "nothing"), HRESULT_FROM_WIN32(ERROR_MOD_NOT_FOUND),
         E_ACCESSDENIED},
        {"a file that is no module", WideName(text), HRESULT_FROM_WIN32(ERROR_BAD_EXE_FORMAT),
         E_ACCESSDENIED},
        {"a module that serves no classes", L"kernel32.dll", CO_E_ERRORINDLL, CO_E_DLLNOTFOUND},
        {"a module that doesn't know the class", WideName(ProbePath()), CLASS_E_CLASSNOTAVAILABLE, E_FAIL},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        GUID id = {};
        ASSERT_EQ(CoCreateGuid(&id), S_OK);
        auto* object = reinterpret_cast<IUnknown*>(&id);
        EXPECT_EQ(Create(id, &object), REGDB_E_CLASSNOTREG);
        EXPECT_EQ(object, nullptr);
        const TestClass registered(id, c.module);
        EXPECT_THAT(Create(id, &object), testing::AnyOf(c.status, c.or_status));
        EXPECT_EQ(object, nullptr);
    }
    const TestClass registered(kProbe, WideName(ProbePath()));
    Double outer;
    IUnknown* object = nullptr;
    EXPECT_EQ(Create(kProbe, &object, &outer), kOuterSeen) << "the outer object reaches the class";
    void* other = nullptr;
    EXPECT_EQ(CoCreateInstance(kProbe, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch, &other), E_NOINTERFACE);
    EXPECT_EQ(CoCreateInstance(kProbe, nullptr, CLSCTX_INPROC_SERVER, IID_IUnknown, nullptr), E_POINTER);
    FreeUnused();
}

TEST(Classes, ARegisteredClassObjectGoesBeforeTheRegistry) {
    const TestClass registered(kProbe, WideName(ProbePath()));
    IUnknown* object = nullptr;
    ASSERT_EQ(Create(kProbe, &object), S_OK);
    object->Release();

    Double factory;
    DWORD cookie = 0;
    ASSERT_EQ(CoRegisterClassObject(kProbe, &factory, CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE, &cookie),
              S_OK);
    EXPECT_EQ(Create(kProbe, &object), kOuterSeen);
    EXPECT_EQ(Create(kProbe, &object), kOuterSeen);
    EXPECT_EQ(factory.creations, 2);
    EXPECT_EQ(CoRevokeClassObject(cookie), S_OK);

    ASSERT_EQ(Create(kProbe, &object), S_OK);
    object->Release();
    EXPECT_TRUE(FAILED(CoRevokeClassObject(cookie)));
    FreeUnused();
}

TEST(Classes, TheProgramsNameIsTheOneThatStandsInTheRegistryNow) {
    const auto name = [] {
        wchar_t* text = nullptr;
        const HRESULT status = ProgIDFromCLSID(kProbe, &text);
        const std::wstring result = text ? text : L"status " + std::to_wstring(status);
        CoTaskMemFree(text);
        return result;
    };
    const std::wstring none = L"status " + std::to_wstring(REGDB_E_CLASSNOTREG);
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(name(), none);
        const TestClass registered(kProbe, WideName(ProbePath()));
        for (const wchar_t* given : {L"Probe.First", L"Probe.Second"}) {
            registered.Put(L"ProgID", nullptr, given);
            for (int again = 0; again < 4; ++again) EXPECT_EQ(name(), given);
        }
    }
    EXPECT_EQ(name(), none);
}

TEST(Classes, AThreadInitialisesBeforeItCreates) {
    const TestClass registered(kProbe, WideName(ProbePath()));
    std::thread([] {
        IUnknown* object = nullptr;
        EXPECT_EQ(Create(kProbe, &object), CO_E_NOTINITIALIZED);
        EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
        EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_FALSE);
        EXPECT_EQ(CoInitialize(nullptr), RPC_E_CHANGED_MODE);
        EXPECT_EQ(Create(kProbe, &object), S_OK);
        if (object) object->Release();
        CoUninitialize();
        CoUninitialize();
        EXPECT_EQ(Create(kProbe, &object), CO_E_NOTINITIALIZED);
    }).join();
    FreeUnused();
}

TEST(Classes, ThreadsCreateWhileAnotherFreesWhatIsUnused) {
    const TestClass first(kProbe, WideName(ProbePath()));
    const TestClass second(kSecondProbe, WideName(ProbePath()));
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; ++i) {
        threads.emplace_back([i] {
            ASSERT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
            for (int round = 0; round < 300; ++round) {
                IUnknown* object = nullptr;
                ASSERT_EQ(Create(i % 2 ? kProbe : kSecondProbe, &object), S_OK);
                object->Release();
            }
            CoUninitialize();
        });
    }
    IUnknown* held = nullptr;  // keeps the module while its last operation returns
    ASSERT_EQ(Create(kProbe, &held), S_OK);
    for (int round = 0; round < 300; ++round) FreeUnused();
    for (std::thread& thread : threads) thread.join();
    held->Release();
    FreeUnused();
    EXPECT_FALSE(IsLoaded(ProbePath()));
}

TEST(Ids, Texts) {
    const GUID id = {0x48ADEF10, 0x6C76, 0x40CE, {0x8D, 0x40, 0x34, 0x77, 0x19, 0x34, 0x78, 0x5D}};
    const wchar_t kText[] = L"{48ADEF10-6C76-40CE-8D40-34771934785D}";
    wchar_t buffer[40] = L"before";
    EXPECT_EQ(StringFromGUID2(id, buffer, 38), 0);
    EXPECT_EQ(StringFromGUID2(id, buffer, 39), 39);
    EXPECT_STREQ(buffer, kText);

    GUID read = {};
    EXPECT_EQ(CLSIDFromString(kText, &read), S_OK);
    EXPECT_TRUE(IsEqualGUID(read, id));
    read = id;
    EXPECT_EQ(CLSIDFromString(L"{48adef10-6c76-40ce-8d40-34771934785d}", &read), S_OK);
    EXPECT_TRUE(IsEqualGUID(read, id));
    EXPECT_EQ(CLSIDFromString(nullptr, &read), S_OK);
    EXPECT_TRUE(IsEqualGUID(read, GUID{}));

    for (const wchar_t* wrong :
         {L"", L"{", L"48ADEF10-6C76-40CE-8D40-34771934785D", L"{48ADEF10-6C76-40CE-8D40-34771934785D",
          L"{48ADEF10-6C76-40CE-8D40-34771934785G}", L"{48ADEF10 6C76-40CE-8D40-34771934785D}",
          L"{48ADEF1-06C76-40CE-8D40-34771934785D}", L" {48ADEF10-6C76-40CE-8D40-34771934785D}"})
        EXPECT_EQ(CLSIDFromString(const_cast<LPOLESTR>(wrong), &read), CO_E_CLASSSTRING)
            << Utf8Name(PathOf(wrong));

    GUID other = {};
    ASSERT_EQ(CoCreateGuid(&read), S_OK);
    ASSERT_EQ(CoCreateGuid(&other), S_OK);
    EXPECT_FALSE(IsEqualGUID(read, other));
    EXPECT_EQ(read.Data3 >> 12, 4);
}

}  // namespace
}  // namespace bv::test
