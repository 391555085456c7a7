// An input: what was found out about it, and how long that stays.
#include "support/doubles.h"
#include "support/environment.h"
#include "support/files.h"
#include "support/names.h"

namespace bv::test {
namespace {

namespace fs = std::filesystem;

class MediaPathTest : public testing::Test {
protected:
    ~MediaPathTest() {
        for (const auto& file : CacheFiles()) fs::remove(file);
        fs::remove_all(folder);
    }
    /// The .idx files beside the module.
    static std::vector<fs::path> CacheFiles() {
        std::vector<fs::path> files;
        for (const auto& entry : fs::directory_iterator(BinFolder()))
            if (entry.path().extension() == ".idx") files.push_back(entry.path());
        return files;
    }
    static fs::path CacheFile(const std::wstring& name) { return BinFolder() / PathOf(name + L".idx"); }
    fs::path Source(const char* name, size_t bytes) {
        fs::create_directories(folder);
        WriteAll(folder / name, std::string(bytes, 's'));
        return folder / name;
    }
    static void PutBlob(const Node& input, const std::string& bytes, int kind = 7) {
        std::string copy = bytes;
        ASSERT_EQ(input->PutData(kind, LONG(copy.size()), reinterpret_cast<BYTE*>(copy.data())), S_OK);
    }
    struct Blob {
        bool there;
        int kind;
        std::string bytes;
    };
    static Blob BlobOf(const Node& input) {
        Blob blob = {};
        LONG length = 0;
        BYTE* data = nullptr;
        EXPECT_EQ(input->GetData(&blob.kind, &length, &data), S_OK);
        blob.there = data != nullptr;
        if (data) blob.bytes.assign(reinterpret_cast<char*>(data), size_t(length));
        return blob;
    }
    /// An input as a host opens it again: path and IDX restored, then the cache read.
    static Node Reopen(const fs::path& source, const std::wstring& idx) {
        const Node input = CreateNode(clsid::PropertyMediaPath);
        EXPECT_EQ(input.Put(Str(WideName(source))), S_OK);
        EXPECT_EQ(input.Find(L"IDX").Put(Str(idx)), S_OK);
        EXPECT_EQ(input.As<ISettingsWriter>()->ReadExtraData(nullptr), S_OK);
        return input;
    }
    /// Writes the settings, so that the blob goes into its file, and gives IDX.
    static std::wstring Save(const Node& input) {
        input.Xml();
        return input.Find(L"IDX").Value().text();
    }

    NothingLeft no_leaks;
    fs::path folder = TempFolder() / "in";
    Node input = CreateNode(clsid::PropertyMediaPath);
};

TEST_F(MediaPathTest, BeginsEmpty) { EXPECT_EQ(Dump(input), Golden("media_path.txt")); }

// --- The last attempt to open it ---

void PutError(const wchar_t* text) {
    Ref<ICreateErrorInfo> error;
    ASSERT_EQ(CreateErrorInfo(error.Put()), S_OK);
    error->SetDescription(Text(text));
    SetErrorInfo(0, error.As<IErrorInfo>().get());
}

TEST_F(MediaPathTest, StateOfTheLastAttempt) {
    const auto open = input.As<IMediaOpenState>();
    const auto state = [&] {
        LONG number = -1;
        BSTR text = nullptr;
        EXPECT_EQ(open->GetState(&number, &text), S_OK);
        return std::make_pair(number, Take(text));
    };
    const auto flags = [&] {
        LONG set = -1, good = -1;
        EXPECT_EQ(open->get_StateSet(&set), S_OK);
        EXPECT_EQ(open->get_IsGood(&good), S_OK);
        return std::make_pair(set, good);
    };
    using State = std::pair<LONG, std::wstring>;
    using Flags = std::pair<LONG, LONG>;
    SetErrorInfo(0, nullptr);
    EXPECT_EQ(state(), State(0, L""));
    EXPECT_EQ(flags(), Flags(0, 0));

    ASSERT_EQ(open->SetState(1, Text(L"fine")), S_OK);
    EXPECT_EQ(flags(), Flags(1, 1));
    PutError(L"an old error");
    EXPECT_EQ(state(), State(1, L"fine")) << "it went well: nobody looks for an error";
    EXPECT_EQ(TakeRefusal().text, L"an old error");

    ASSERT_EQ(open->SetState(5, Text(L"the host's")), S_OK);
    EXPECT_EQ(flags(), Flags(1, 0));
    EXPECT_EQ(state(), State(5, L"the host's"));
    PutError(L"no such codec");
    EXPECT_EQ(state(), State(2, L"no such codec"));
    EXPECT_EQ(state(), State(2, L"no such codec")) << "from then on";
    PutError(L"text of no interest");
    LONG number = 0;
    EXPECT_EQ(open->GetState(&number, nullptr), S_OK);
    EXPECT_EQ(number, 2);
    EXPECT_EQ(open->GetState(&number, nullptr), E_POINTER);
    ASSERT_EQ(open->SetState(1, nullptr), S_OK);
    EXPECT_EQ(open->GetState(&number, nullptr), E_POINTER);
    EXPECT_EQ(state(), State(1, L""));

    ASSERT_EQ(input.Put(Str(L"a")), S_OK);
    EXPECT_EQ(flags(), Flags(0, 0)) << "a new path has not been tried";
}

// --- The sample ---

class SampleTest : public MediaPathTest {
protected:
    SampleTest() {
        type.cbFormat = ULONG(sizeof format);
        type.pbFormat = format;
        type.pUnk = owner.unknown();
    }
    HRESULT PutSample(const Node& node, LONG type_size = sizeof(AM_MEDIA_TYPE)) {
        BYTE data[] = {1, 2, 3};
        return node.As<ICachedSample>()->PutSample(data, 3, &type, type_size);
    }
    Fake<IUnknown> owner;
    BYTE format[4] = {9, 8, 7, 6};
    AM_MEDIA_TYPE type = {};
};

TEST_F(SampleTest, IsAnOwnCopyUntilThePathChanges) {
    const auto cache = input.As<ICachedSample>();
    BYTE* data = format;
    LONG size = 77, type_size = 77;
    AM_MEDIA_TYPE* kept = &type;
    EXPECT_EQ(cache->GetSample(&data, &size, &kept, &type_size), S_FALSE);
    EXPECT_EQ(size, 77);
    EXPECT_EQ(kept, &type);

    ASSERT_EQ(PutSample(input, sizeof(AM_MEDIA_TYPE) + 8), S_OK);
    EXPECT_EQ(owner.references(), 2u);
    format[0] = 0;
    ASSERT_EQ(cache->GetSample(&data, &size, &kept, &type_size), S_OK);
    EXPECT_EQ(std::vector<BYTE>(data, data + size), (std::vector<BYTE>{1, 2, 3}));
    EXPECT_EQ(type_size, LONG(sizeof(AM_MEDIA_TYPE) + 8));
    EXPECT_EQ(kept->pbFormat[0], 9);
    EXPECT_EQ(PutSample(input), S_FALSE) << "it has one";
    ASSERT_EQ(input.Put(Str(L"a")), S_OK);
    EXPECT_EQ(owner.references(), 1u);
    EXPECT_EQ(PutSample(input), S_OK);
    ASSERT_EQ(input.Put(Str(L"A")), S_OK);
    EXPECT_EQ(PutSample(input), S_FALSE) << "the same path in other letters";
    ASSERT_EQ(input.Put(Str(L"b")), S_OK);

    EXPECT_EQ(cache->PutSample(nullptr, 3, &type, sizeof type), E_POINTER);
    EXPECT_EQ(cache->PutSample(data, 3, nullptr, sizeof type), E_POINTER);
    EXPECT_EQ(cache->PutSample(format, -1, &type, sizeof type), E_INVALIDARG);
    EXPECT_EQ(PutSample(input, 8), E_INVALIDARG) << "no room for a type";
    EXPECT_EQ(cache->PutSample(nullptr, 0, &type, sizeof type), S_OK) << "an empty block is a sample";
    EXPECT_EQ(cache->GetSample(&data, &size, &kept, &type_size), S_OK);
    EXPECT_EQ(size, 0);
    input.Release();
    EXPECT_EQ(owner.references(), 2u) << "the other interface holds the input";
}

TEST_F(SampleTest, AProcessHas201OfThem) {
    std::vector<Node> inputs;
    for (int i = 0; i < 202; ++i) inputs.push_back(CreateNode(clsid::PropertyMediaPath));
    for (int i = 0; i < 201; ++i) ASSERT_EQ(PutSample(inputs[size_t(i)]), S_OK) << i;
    EXPECT_EQ(PutSample(inputs[201]), S_FALSE);
    ASSERT_EQ(inputs[0].Put(Str(L"other")), S_OK);
    EXPECT_EQ(PutSample(inputs[201]), S_OK);
    EXPECT_EQ(PutSample(inputs[0]), S_FALSE);
    inputs[5].Release();  // an input that goes takes its sample along
    EXPECT_EQ(PutSample(inputs[0]), S_OK);
}

TEST_F(SampleTest, MayBePutAgainWhileTheOldOneGoes) {
    ComesBack coming_back;
    type.pUnk = coming_back.unknown();
    ASSERT_EQ(PutSample(input), S_OK);
    type.pUnk = owner.unknown();
    coming_back.last_end = [&] {
        EXPECT_EQ(input.Put(Str(L"second")), S_OK);
        EXPECT_EQ(PutSample(input), S_OK);
    };
    ASSERT_EQ(input.Put(Str(L"first")), S_OK);
    EXPECT_EQ(coming_back.references(), 1u);
    EXPECT_EQ(owner.references(), 2u) << "the sample that came last";
    ASSERT_EQ(input.Put(Str(L"second")), S_OK);
    EXPECT_EQ(PutSample(input), S_FALSE) << "that is the path already";
    ASSERT_EQ(input.Put(Str(L"third")), S_OK);

    type.pUnk = coming_back.unknown();
    const Node ending = CreateNode(clsid::PropertyMediaPath);
    ASSERT_EQ(PutSample(ending), S_OK);
    const auto cache = ending.As<ICachedSample>();
    coming_back.last_end = [&] {
        BYTE* data = nullptr;
        LONG size = 0, type_size = 0;
        AM_MEDIA_TYPE* kept = nullptr;
        EXPECT_EQ(cache->GetSample(&data, &size, &kept, &type_size), S_FALSE);
    };
    ASSERT_EQ(ending.Put(Str(L"x")), S_OK);
    EXPECT_FALSE(coming_back.last_end);
}

// --- The index and its cache file ---

TEST_F(MediaPathTest, TheIndexGoesIntoAFileBesideTheModule) {
    const fs::path source = Source("a.avi", 300);
    ASSERT_EQ(input.Put(Str(WideName(source))), S_OK);
    EXPECT_EQ(Save(input), L"") << "no index, no file";
    PutBlob(input, "index");
    const std::wstring idx = Save(input);
    ASSERT_EQ(idx.size(), 38u);
    EXPECT_EQ(idx.front(), L'{');
    const std::string bytes = ReadAll(CacheFile(idx));
    ASSERT_EQ(bytes.size(), 16u + 5);
    EXPECT_EQ(bytes.substr(0, 12), std::string("\x2C\x01\0\0\0\0\0\0\x07\0\0\0", 12));
    EXPECT_EQ(bytes.substr(16), "index");
    EXPECT_NE(input.Xml().find("<IDX value='" + Narrow(idx) + "' type='8'>"), std::string::npos);
    PutBlob(input, "another");
    EXPECT_EQ(Save(input), idx) << "the name stays";
    EXPECT_EQ(ReadAll(CacheFile(idx)).substr(16), "another");

    const Blob again = BlobOf(Reopen(source, idx));
    EXPECT_EQ(again.kind, 7);
    EXPECT_EQ(again.bytes, "another");

    // The same path in other letters changes nothing, another one drops the file.
    std::wstring upper = WideName(source);
    for (wchar_t& c : upper) c = c == L'a' ? L'A' : c;
    ASSERT_EQ(input.Put(Str(upper)), S_OK);
    EXPECT_TRUE(BlobOf(input).there);
    ASSERT_EQ(input.Put(Str(L"else")), S_OK);
    EXPECT_FALSE(BlobOf(input).there);
    EXPECT_EQ(input.Find(L"IDX").Value(), Str(L""));
    EXPECT_TRUE(CacheFiles().empty());
}

TEST_F(MediaPathTest, WithoutAnIndexAChangeOfPathLeavesTheFile) {
    const fs::path source = Source("a.avi", 300);
    ASSERT_EQ(input.Put(Str(WideName(source))), S_OK);
    PutBlob(input, "index");
    const std::wstring idx = Save(input);
    const Node other = CreateNode(clsid::PropertyMediaPath);
    ASSERT_EQ(other.Find(L"IDX").Put(Str(idx)), S_OK);
    ASSERT_EQ(other.Put(Str(L"else")), S_OK);
    EXPECT_EQ(other.Find(L"IDX").Value(), Str(idx));
    EXPECT_EQ(CacheFiles().size(), 1u);
    EXPECT_EQ(other.As<ISettingsWriter>()->ReadExtraData(nullptr), S_OK);
    EXPECT_TRUE(CacheFiles().empty()) << "which the next reading finds to be of another source";
}

TEST_F(MediaPathTest, ACacheOfAnotherSourceOrADamagedOneGoes) {
    const fs::path source = Source("a.avi", 300);
    const std::string header("\x2C\x01\0\0\0\0\0\0\x07\0\0\0\xCC\xCC\xCC\xCC", 16);
    struct Case {
        const char* what;
        std::string file;
        bool good;
    };
    std::vector<Case> cases = {
        {"whole", header + "index", true},
        {"nothing behind the header", header, true},
        {"another size", std::string(1, '\x2D') + header.substr(1) + "index", false},
        {"the high half set", header.substr(0, 4) + "\x01" + header.substr(5) + "index", false},
        {"a negative kind", header.substr(0, 8) + "\xFF\xFF\xFF\xFF" + header.substr(12) + "i", true},
    };
    for (size_t length = 0; length < 16; ++length)
        cases.push_back({"short", header.substr(0, length), false});
    const std::wstring idx = L"{00000000-0000-0000-0000-000000000001}";
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what + std::to_string(c.file.size()));
        WriteAll(CacheFile(idx), c.file);
        const Node opened = Reopen(source, idx);
        EXPECT_EQ(BlobOf(opened).there, c.good);
        EXPECT_EQ(BlobOf(opened).bytes, c.good ? c.file.substr(16) : "");
        EXPECT_EQ(CacheFiles().size(), c.good ? 1u : 0u);
        EXPECT_EQ(opened.Find(L"IDX").Value(), Str(idx)) << "the name stays as it is";
    }
    // One that was loaded is replaced, whatever comes of the reading.
    WriteAll(CacheFile(idx), header + "index");
    const Node opened = Reopen(source, idx);
    Source("a.avi", 301);
    opened.As<ISettingsWriter>()->ReadExtraData(nullptr);
    EXPECT_FALSE(BlobOf(opened).there) << "the source grew";
    PutBlob(opened, "new");
    opened.As<ISettingsWriter>()->ReadExtraData(nullptr);
    EXPECT_TRUE(BlobOf(opened).there) << "no file, no change";
}

TEST_F(MediaPathTest, AFolderIsKnownByTheSizesInIt) {
    Source("one", 100);
    Source("two", 23);
    fs::create_directories(folder / "below");
    WriteAll(folder / "below" / "three", "not counted");
    ASSERT_EQ(input.Put(Str(WideName(folder))), S_OK);
    PutBlob(input, "index");
    const std::wstring idx = Save(input);
    EXPECT_EQ(ReadAll(CacheFile(idx)).substr(0, 8), std::string("\x7B\0\0\0\0\0\0\0", 8));
    WriteAll(folder / "below" / "four", "not counted either");
    EXPECT_TRUE(BlobOf(Reopen(folder, idx)).there);
    Source("five", 1);
    EXPECT_FALSE(BlobOf(Reopen(folder, idx)).there);
    // What isn't there counts 0, so does an empty file.
    ASSERT_EQ(input.Put(Str(WideName(folder / "gone"))), S_OK);
    PutBlob(input, "index");
    const std::wstring of_nothing = Save(input);
    EXPECT_EQ(ReadAll(CacheFile(of_nothing)).substr(0, 8), std::string(8, '\0'));
}

TEST_F(MediaPathTest, AFolderMayBeRelativeOrLong) {
    // As long as can be made here by a plain name.
    fs::path deep = folder;
    while (deep.native().size() + 130 < MAX_PATH - 14) deep /= std::u16string(40, u'\x4E00');
    deep /= std::string(MAX_PATH - 14 - deep.native().size() - 1, 'l');
    const fs::path before = fs::current_path(), below = "rel", relative = below / "ative";
    fs::create_directories(folder / relative);
    fs::create_directories(deep);
    fs::current_path(folder);
    const auto wide = [](const fs::path& path) {
        const std::u16string text = path.u16string();
        return std::wstring(text.begin(), text.end());
    };
    for (const fs::path& source : {below, relative, deep}) {
        SCOPED_TRACE(source.native().size());
        WriteAll(source / "one", std::string(100, 's'));
        WriteAll(source / "two", std::string(23, 's'));
        const Node node = CreateNode(clsid::PropertyMediaPath);
        ASSERT_EQ(node.Put(Str(wide(source))), S_OK);
        PutBlob(node, "index");
        const std::wstring idx = Save(node);
        EXPECT_EQ(ReadAll(CacheFile(idx)).substr(0, 8), std::string("\x7B\0\0\0\0\0\0\0", 8));
    }
    fs::current_path(before);
}

TEST_F(MediaPathTest, AnInputThatIsSwitchedOffActsOnItsOwnIndexAndCuts) {
    FakeMedia media;
    const Node other = CreateNode(clsid::PropertyMediaPath);
    const Node inputs[] = {other, input};
    for (const Node& node : inputs) {
        ASSERT_EQ(media.map()->InsertProperty(node.get()), S_OK);
        node.Give(media.dispatch());
        ASSERT_EQ(node.Put(Str(WideName(Source("a.avi", 300)))), S_OK);
        ASSERT_EQ(node.Child(0).As<ITimelines>()->AddTimeline(1, 2, nullptr), S_OK);
        PutBlob(node, "index");
    }
    ASSERT_EQ(input->put_Active(0), S_OK);
    for (const Node& node : inputs) node.Xml();
    const Value idx = other.Child(1).Value(), own = input.Child(1).Value();
    EXPECT_EQ(CacheFiles().size(), own == Str(L"") ? 1u : 2u);
    EXPECT_FALSE(own == idx);
    ASSERT_EQ(input.Put(Str(L"")), S_OK);
    EXPECT_EQ(input.Child(1).Value(), Str(L""));
    EXPECT_EQ(CountOf(input.Child(0).As<ITimelines>()), 0);
    EXPECT_EQ(other.Child(1).Value(), idx) << "the other input's";
    EXPECT_EQ(CacheFiles(), std::vector<fs::path>{CacheFile(idx.text())});
    EXPECT_EQ(CountOf(other.Child(0).As<ITimelines>()), 1);
    for (const Node& node : inputs) node.Give(nullptr);
}

TEST_F(MediaPathTest, AnIdxValueThatIsNoNameTouchesNoFile) {
    const fs::path source = Source("a.avi", 300);
    const fs::path victim = folder / "victim.idx";
    const std::string header("\x2C\x01\0\0\0\0\0\0\x07\0\0\0\0\0\0\0", 16);
    const std::wstring hostile[] = {WideName(folder / "victim"),
                                    L"..\\victim",
                                    L"../victim",
                                    L"sub/victim",
                                    L"sub\\victim",
                                    L"C:victim",
                                    L"victim:stream",
                                    L"..",
                                    L"a..b",
                                    L"*",
                                    L"vic?im",
                                    L"a|b",
                                    L"a\"b",
                                    L"<a>",
                                    L"a\nb",
                                    std::wstring(L"a\0b", 3),
                                    L"NUL",
                                    L"con",
                                    L"COM1",
                                    L"lpt9.x",
                                    L"aux ",
                                    std::wstring(300, L'x')};
    for (const std::wstring& idx : hostile) {
        SCOPED_TRACE(Narrow(idx));
        WriteAll(victim, header + "victim");
        const Node opened = Reopen(source, idx);
        EXPECT_FALSE(BlobOf(opened).there) << "reading stops";
        PutBlob(opened, "index");
        ASSERT_EQ(opened.Put(Str(L"else")), S_OK);
        EXPECT_EQ(opened.Find(L"IDX").Value(), Str(L"")) << "a change of path empties it";
        ASSERT_EQ(opened.Find(L"IDX").Put(Str(idx)), S_OK);
        PutBlob(opened, "index");
        const std::wstring made = Save(opened);
        EXPECT_EQ(made.size(), 38u) << "writing makes a new name";
        EXPECT_EQ(CacheFiles(), std::vector<fs::path>{CacheFile(made)});
        fs::remove(CacheFile(made));
        EXPECT_EQ(ReadAll(victim), header + "victim");
    }
    // A value of another kind is taken as its text.
    ASSERT_EQ(input.Put(Str(WideName(source))), S_OK);
    PutBlob(input, "index");
    ASSERT_EQ(input.Find(L"IDX").Put(I4(12)), S_OK);
    input.Xml();
    EXPECT_EQ(CacheFiles(), std::vector<fs::path>{CacheFile(L"12")});
}

TEST_F(MediaPathTest, AChangeOfPathDropsWhatTheHostKeeps) {
    Fake<IDispatch> extra;
    ASSERT_EQ(input->PutExData(&extra), S_OK);
    ASSERT_EQ(input.Put(Str(L"")), S_OK);
    EXPECT_EQ(extra.references(), 2u) << "it was empty before";
    ASSERT_EQ(input.Put(Str(L"a")), S_OK);
    EXPECT_EQ(extra.references(), 1u);
}

/// A Timelines child that has a cut, and refuses to lose it.
class StubbornTimelines : public ForeignNodeOf<ITimelines> {
public:
    StubbornTimelines() : ForeignNodeOf(L"") {}
    int asked = 0;
    STDMETHODIMP get_Count(LONG* out) override {
        *out = 1;
        return S_OK;
    }
    STDMETHODIMP get_Item(LONG, IUnknown** out) override {
        return QueryInterface(kIid<IUnknown>, reinterpret_cast<void**>(out));
    }
    STDMETHODIMP AddTimeline(LONG, LONG, IProperty**) override { return E_NOTIMPL; }
    STDMETHODIMP RemoveTimeline(IProperty*) override {
        ++asked;
        return E_FAIL;
    }
    STDMETHODIMP Save(BSTR) override { return E_NOTIMPL; }
    STDMETHODIMP Load(BSTR) override { return E_NOTIMPL; }
    using ForeignNodeOf::SetMediaObject;
    STDMETHODIMP SetMediaObject(IMediaObject*) override { return E_NOTIMPL; }
    STDMETHODIMP get_ActiveDuration(LONGLONG*) override { return E_NOTIMPL; }
};

TEST_F(MediaPathTest, AnEmptyPathAsksForTheEndOfItsCuts) {
    StubbornTimelines timelines;
    {
        const ClassDouble made(clsid::PropertyTimelines, timelines.Maker());
        input = CreateNode(clsid::PropertyMediaPath);
    }
    EXPECT_EQ(timelines.name, L"Timelines");
    ASSERT_EQ(input.Put(Str(L"a")), S_OK);
    ASSERT_EQ(input.Put(Str(L"b")), S_OK);
    EXPECT_EQ(timelines.asked, 0) << "another file keeps them";
    ASSERT_EQ(input.Put(Str(L"")), S_OK) << "and it ends";
    EXPECT_EQ(timelines.asked, 1);
    input.Release();
}

}  // namespace
}  // namespace bv::test
