// What is registered on the machine: components of the application's categories, filters of
// the media framework's.
#include "support/doubles.h"
#include "support/registry.h"

namespace bv::test {
namespace {

constexpr GUID kCategory = GuidOf("D0B1E000-0000-4000-8000-0000000000C1");
constexpr CLSID kFirst = GuidOf("D0B1E000-0000-4000-8000-0000000000A1");
constexpr CLSID kSecond = GuidOf("D0B1E000-0000-4000-8000-0000000000A2");

class MapperTest : public testing::Test {
protected:
    HRESULT Init() {
        GUID category = kCategory;
        return mapper->Init(&category);
    }
    LONG Count() const { return CountOf(mapper); }
    const tagGUIDREG& At(LONG index) const {
        tagGUIDREG* record = nullptr;
        EXPECT_EQ(mapper->get_Item(index, &record), S_OK);
        return *record;
    }
    std::wstring path = L"CLSID\\" + TextOf(category::Root) + L"\\" + TextOf(kCategory);
    NothingLeft no_leaks;
    Ref<IBVMapper> mapper = New<IBVMapper>(clsid::BVMapper);
};

TEST_F(MapperTest, ACategoryMayBeMissingOrEmpty) {
    EXPECT_EQ(Init(), HRESULT(0x80070002));
    EXPECT_EQ(mapper->Init(nullptr), E_POINTER);
    const TestKey category(HKEY_CLASSES_ROOT, path);
    EXPECT_EQ(Init(), S_OK);
    EXPECT_EQ(Count(), 0);
    tagGUIDREG* none = nullptr;
    for (const LONG index : {-1, 0}) EXPECT_EQ(mapper->get_Item(index, &none), E_INVALIDARG);
}

TEST_F(MapperTest, AComponentIsItsNameAndItsExtraTexts) {
    const TestKey category(HKEY_CLASSES_ROOT, path);
    category.Put(TextOf(kSecond), nullptr, L"Second");
    category.Put(TextOf(kFirst), nullptr, L"First");
    for (int i = 0; i < 13; ++i) {
        const wchar_t name[] = {L'x', wchar_t(L'A' + i), 0};
        category.Put(TextOf(kFirst) + L"\\" + name, nullptr, L"extra " + std::to_wstring(i));
    }
    category.Put(TextOf(kSecond) + L"\\a", L"named", L"no default value");
    category.Put(TextOf(kSecond) + L"\\b", nullptr, L"b");
    ASSERT_EQ(Init(), S_OK);
    ASSERT_EQ(Count(), 2);
    EXPECT_EQ(At(0).clsGUID, kFirst);
    EXPECT_EQ(std::wstring(At(0).bstrName), L"First");
    ASSERT_EQ(At(0).cbCount, 10) << "there is room for ten";
    for (int i = 0; i < 10; ++i) EXPECT_EQ(At(0).pExtrData[i], L"extra " + std::to_wstring(i));
    EXPECT_EQ(At(1).clsGUID, kSecond);
    ASSERT_EQ(At(1).cbCount, 2) << "a text without a value keeps its place";
    EXPECT_EQ(SysStringLen(At(1).pExtrData[0]), 0u);
    EXPECT_EQ(std::wstring(At(1).pExtrData[1]), L"b");
    EXPECT_EQ(At(1).pExtrData[2], nullptr);

    const tagGUIDREG* before = &At(0);
    ASSERT_EQ(Init(), S_OK);
    EXPECT_EQ(Count(), 4) << "a second time appends";
    EXPECT_EQ(&At(0), before) << "and records stay where they are";
}

TEST_F(MapperTest, WhatIsNoComponentIsPassedOver) {
    const TestKey category(HKEY_CLASSES_ROOT, path);
    for (const wchar_t* name :
         {L"no class id", L"{D0B1E000-0000-4000-8000-0000000000}", L"{zzzzzzzz-0000-4000-8000-0000000000A1}"})
        category.Put(name, nullptr, L"Not I");
    category.Put(std::wstring(200, L'k'), nullptr, L"Nor I");
    category.Put(TextOf(kFirst), nullptr, std::wstring(255, L'n'));
    category.Put(TextOf(kFirst) + L"\\x", nullptr, std::wstring(256, L'x'));
    const TestKey second(category, TextOf(kFirst) + L"\\y");
    const BYTE binary[] = {1, 2, 3};
    RegSetValueExW(second, nullptr, 0, REG_BINARY, binary, 3);
    ASSERT_EQ(Init(), S_OK);
    ASSERT_EQ(Count(), 1);
    EXPECT_EQ(std::wstring(At(0).bstrName), std::wstring(255, L'n'));
    ASSERT_EQ(At(0).cbCount, 2);
    EXPECT_EQ(SysStringLen(At(0).pExtrData[0]), 0u) << "longer than a text may be";
    EXPECT_EQ(SysStringLen(At(0).pExtrData[1]), 0u) << "no text";
}

// --- Filters of the media framework ---

class Wrapper : public Fake<IFilterItem> {
public:
    std::wstring name;
    IUnknown* filter = nullptr;
    HRESULT status = S_OK;
    STDMETHODIMP Init(BSTR given, IUnknown* wrapped) override {
        name = given ? given : L"";
        filter = wrapped;
        return status;
    }
    STDMETHODIMP get_Text(BSTR*) override { return E_NOTIMPL; }
};

class OwnFilter : public FilterDouble<> {
public:
    ForeignNode node{L"own"};
    STDMETHODIMP QueryInterface(REFIID iid, void** out) override {
        return iid == kIid<IProperty> ? node.QueryInterface(iid, out)
                                      : FilterDouble::QueryInterface(iid, out);
    }
};

class FilterMapperTest : public testing::Test {
protected:
    static void Announce(const TestKey& category, const std::wstring& key, const CLSID& cls,
                         const wchar_t* name) {
        category.Put(L"Instance\\" + key, L"CLSID", TextOf(cls));
        category.Put(L"Instance\\" + key, L"FriendlyName", name);
    }
    HRESULT Init(GUID* wrapper_class) {
        GUID category = kCategory;
        return New<IBVFilterMapper>(clsid::BVFilterMapper)->Init(&category, wrapper_class, list().get());
    }
    Ref<IListOfValues> list() { return node.As<IListOfValues>(); }

    NothingLeft no_leaks;
    OwnFilter own;
    FilterDouble<> strange;
    Wrapper wrapper;
    Node node = CreateNode(clsid::PropertySimple);
};

TEST_F(FilterMapperTest, OwnFiltersStandInTheListOthersAreWrapped) {
    const TestKey category(HKEY_CLASSES_ROOT, L"CLSID\\" + TextOf(kCategory));
    GUID wrapper_class = kNoClass;
    EXPECT_EQ(Init(&wrapper_class), S_OK) << "an empty category";
    EXPECT_TRUE(node.Choices().empty());
    Announce(category, L"a", kFirst, L"Our filter");
    Announce(category, L"b", kSecond, L"A strange one");
    Announce(category, L"c", kCategory, L"Nothing behind it");
    const ClassDouble first(kFirst, own.Maker()), second(kSecond, strange.Maker());
    EXPECT_EQ(Init(nullptr), S_OK);
    EXPECT_EQ(node.Choices().size(), 1u) << "no wrapper, no entry";
    list()->Clear();

    const ClassDouble wrappers(kNoClass, wrapper.Maker());
    EXPECT_EQ(Init(&wrapper_class), S_OK);
    auto choices = node.Choices();
    ASSERT_EQ(choices.size(), 2u);
    EXPECT_EQ(choices[0].first, L"Our filter");
    EXPECT_EQ(choices[0].second.kind(), VT_UNKNOWN);
    EXPECT_EQ(choices[0].second.object(), own.unknown());
    EXPECT_EQ(choices[1].first, L"A strange one");
    EXPECT_EQ(choices[1].second.kind(), VT_UNKNOWN) << "the list holds each object as IUnknown";
    EXPECT_EQ(Ref<IUnknown>(choices[1].second.object()).As<IFilterItem>().get(), &wrapper);
    EXPECT_EQ(wrapper.name, L"A strange one");
    EXPECT_EQ(wrapper.filter, strange.unknown());
    choices.clear();

    list()->Clear();
    wrapper.status = E_FAIL;
    EXPECT_EQ(Init(&wrapper_class), S_OK);
    EXPECT_EQ(node.Choices().size(), 1u) << "a wrapper that refuses drops the entry";
    EXPECT_EQ(New<IBVFilterMapper>(clsid::BVFilterMapper)->Init(nullptr, nullptr, list().get()), E_POINTER);
    EXPECT_EQ(New<IBVFilterMapper>(clsid::BVFilterMapper)->Init(&wrapper_class, nullptr, nullptr), E_POINTER);
    list()->Clear();
}

// --- Media types ---

class MediaTypeTest : public testing::Test {
protected:
    std::wstring Describe(WORD channels, DWORD rate, DWORD bytes, ULONG size = sizeof(WAVEFORMATEX)) {
        WAVEFORMATEX wave = {};
        wave.nChannels = channels;
        wave.nSamplesPerSec = rate;
        wave.nAvgBytesPerSec = bytes;
        AM_MEDIA_TYPE media = {};
        media.cbFormat = size;
        media.pbFormat = size ? reinterpret_cast<BYTE*>(&wave) : nullptr;
        EXPECT_EQ(type->SetMedia(&media), S_OK);
        return TextFrom(type.get(), &IAMMediaType::get_Description);
    }
    NothingLeft no_leaks;
    Ref<IAMMediaType> type = New<IAMMediaType>(clsid::AMMediaType);
};

TEST_F(MediaTypeTest, DescribesASoundFormat) {
    EXPECT_EQ(Describe(2, 44100, 16000), L"16 Kbits/s, 44100 Hz, Stereo");
    EXPECT_EQ(Describe(1, 8000, 999), L"0 Kbits/s, 8000 Hz, Mono");
    EXPECT_EQ(Describe(6, 48000, 1999), L"1 Kbits/s, 48000 Hz, Stereo");
    EXPECT_EQ(Describe(0, 0, 0xFFFFFFFF), L"4294967 Kbits/s, 0 Hz, Stereo");
    for (const ULONG too_short : {0u, 1u, 11u}) EXPECT_EQ(Describe(2, 44100, 16000, too_short), L"");
    EXPECT_EQ(Describe(1, 44100, 16000, 12), L"16 Kbits/s, 44100 Hz, Mono");
    EXPECT_EQ(type->get_Description(nullptr), E_POINTER);
}

TEST_F(MediaTypeTest, ATypeMayBeSetWhileTheOldOneGoes) {
    ComesBack owner;
    BYTE block[] = {1, 2, 3};
    AM_MEDIA_TYPE media = {};
    media.pUnk = owner.unknown();
    media.cbFormat = 3;
    media.pbFormat = block;
    ASSERT_EQ(type->SetMedia(&media), S_OK);
    media.pUnk = nullptr;
    owner.last_end = [&] {
        media.cbFormat = 1;
        EXPECT_EQ(type->SetMedia(&media), S_OK);
    };
    ASSERT_EQ(type->SetMedia(&media), S_OK);
    EXPECT_FALSE(owner.last_end);
    EXPECT_EQ(owner.references(), 1u);
    AM_MEDIA_TYPE* copy = nullptr;
    ASSERT_EQ(type->GetMedia(&copy), S_OK);
    EXPECT_EQ(copy->cbFormat, 1u) << "the last one set";
    CoTaskMemFree(copy->pbFormat);
    CoTaskMemFree(copy);
}

TEST_F(MediaTypeTest, CopiesAreIndependent) {
    Fake<IUnknown> owner;
    BYTE block[] = {1, 2, 3};
    AM_MEDIA_TYPE media = {};
    media.lSampleSize = 5;
    media.pUnk = owner.unknown();
    media.cbFormat = 3;
    media.pbFormat = block;
    ASSERT_EQ(type->SetMedia(&media), S_OK);
    block[0] = 0;
    AM_MEDIA_TYPE* copies[2] = {};
    for (auto& copy : copies) {
        ASSERT_EQ(type->GetMedia(&copy), S_OK);
        EXPECT_EQ(copy->lSampleSize, 5u);
        EXPECT_EQ(copy->pbFormat[0], 1);
    }
    EXPECT_EQ(owner.references(), 4u);
    copies[0]->pbFormat[0] = 9;
    EXPECT_EQ(copies[1]->pbFormat[0], 1);
    for (auto* copy : copies) {
        CoTaskMemFree(copy->pbFormat);
        copy->pUnk->Release();
        CoTaskMemFree(copy);
    }
    AM_MEDIA_TYPE bad = {};  // a length without a block
    bad.cbFormat = 100;
    ASSERT_EQ(type->SetMedia(&bad), S_OK);
    EXPECT_EQ(owner.references(), 1u);
    AM_MEDIA_TYPE* copy = nullptr;
    ASSERT_EQ(type->GetMedia(&copy), S_OK);
    EXPECT_EQ(copy->cbFormat, 0u);
    CoTaskMemFree(copy);
    EXPECT_EQ(type->SetMedia(nullptr), E_POINTER);
    EXPECT_EQ(type->GetMedia(nullptr), E_POINTER);
}

}  // namespace
}  // namespace bv::test
