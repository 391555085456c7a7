// The device enumerator: what is announced for a category of the media framework.
#include <gtest/gtest.h>

#include "platform/probe.h"
#include "support/names.h"

namespace bv::test {
namespace {

constexpr CLSID kCategory = {0x5A1E00F0, 0x21B4, 0x4C0B, {0x9A, 0x55, 0x10, 0x6E, 0x3B, 0x7C, 0x44, 0x01}};

class Devices : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(CoCreateInstance(CLSID_SystemDeviceEnum, nullptr, CLSCTX_INPROC_SERVER, IID_ICreateDevEnum,
                                   reinterpret_cast<void**>(&devices)),
                  S_OK);
    }
    void TearDown() override { devices->Release(); }

    HRESULT Enumerate(IEnumMoniker** result) { return devices->CreateClassEnumerator(kCategory, result, 0); }

    ICreateDevEnum* devices = nullptr;
};

/// The friendly name, or the status that is in its way.
std::wstring NameOf(IMoniker* moniker) {
    IPropertyBag* properties = nullptr;
    const HRESULT bound =
        moniker->BindToStorage(nullptr, nullptr, IID_IPropertyBag, reinterpret_cast<void**>(&properties));
    if (FAILED(bound)) return std::to_wstring(bound);
    VARIANT value;
    VariantInit(&value);
    const HRESULT read = properties->Read(L"FriendlyName", &value, nullptr);
    const std::wstring name = read == S_OK && value.vt == VT_BSTR ? value.bstrVal : std::to_wstring(read);
    VariantClear(&value);
    EXPECT_EQ(properties->Read(L"there is none", &value, nullptr), HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND));
    properties->Release();
    return name;
}

TEST_F(Devices, ACategoryWithNothingHasNoEnumerator) {
    auto* monikers = reinterpret_cast<IEnumMoniker*>(this);
    EXPECT_EQ(Enumerate(&monikers), S_FALSE);
    EXPECT_EQ(monikers, nullptr);
}

TEST_F(Devices, AnnouncedComponentsAreNamedAndMade) {
    const TestClass probe(kProbe, WideName(ProbePath()));
    const TestKey category(HKEY_CLASSES_ROOT, L"CLSID\\" + TextOf(kCategory));
    category.Put(L"Instance\\b", L"FriendlyName", L"No class behind it");
    category.Put(L"Instance\\b", L"CLSID", TextOf(kCategory));
    category.Put(L"Instance\\A", L"FriendlyName", L"The probe");
    category.Put(L"Instance\\A", L"CLSID", TextOf(kProbe));

    IEnumMoniker* monikers = nullptr;
    ASSERT_EQ(Enumerate(&monikers), S_OK);
    IMoniker* moniker = nullptr;
    ASSERT_EQ(monikers->Next(1, &moniker, nullptr), S_OK);
    EXPECT_EQ(NameOf(moniker), L"The probe");
    IUnknown* object = nullptr;
    EXPECT_EQ(moniker->BindToObject(nullptr, nullptr, IID_IUnknown, reinterpret_cast<void**>(&object)), S_OK);
    if (object) object->Release();
    void* filter = nullptr;
    EXPECT_EQ(moniker->BindToObject(nullptr, nullptr, IID_IBaseFilter, &filter), E_NOINTERFACE);
    moniker->Release();

    ULONG fetched = 7;
    ASSERT_EQ(monikers->Next(1, &moniker, &fetched), S_OK);
    EXPECT_EQ(fetched, 1u);
    EXPECT_EQ(NameOf(moniker), L"No class behind it");
    EXPECT_EQ(moniker->BindToObject(nullptr, nullptr, IID_IUnknown, &filter), REGDB_E_CLASSNOTREG);
    moniker->Release();
    EXPECT_EQ(monikers->Next(1, &moniker, &fetched), S_FALSE);
    EXPECT_EQ(fetched, 0u);
    monikers->Release();
    CoFreeUnusedLibrariesEx(0, 0);
}

}  // namespace
}  // namespace bv::test
