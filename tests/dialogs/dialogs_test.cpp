// What nodes and MediaSelecter do with what a person answers, with the answers put in place of the dialogs.
#include <array>
#include <cstring>
#include <fstream>
#include <optional>

#include "dialogs/dialogs.h"
#include "support/doubles.h"
#include "support/environment.h"
#include "support/names.h"
#include "support/own.h"
#include "support/registry.h"

namespace bv::test {
namespace {

/// What the dialogs were asked, and what they answer. An empty answer: cancelled.
struct Person {
    std::string answer;  // names of several files are parted by '|'
    std::string filter;  // NUL shown as '|'
    std::string start;
    int asked = 0;
    void (*meanwhile)() = nullptr;  // what happens while the dialog is shown
    DWORD start_color = 0;
    std::optional<DWORD> color;  // none: cancelled
    std::array<DWORD, kCustomColors> start_custom = {}, custom = {};
};
Person person;

template <size_t N>
bool Answer(char (&buffer)[N], const char* filter) {
    ++person.asked;
    person.start = buffer;
    person.filter.clear();
    for (const char* at = filter; at && *at; at += std::strlen(at) + 1)
        person.filter += std::string(at) + '|';
    if (person.answer.empty()) return false;
    EXPECT_LE(person.answer.size() + 2, N);
    std::string names = person.answer + '|';
    for (char& c : names)
        if (c == '|') c = 0;
    std::memcpy(buffer, names.c_str(), names.size() + 1);
    return true;
}
template <size_t N>
bool AnswerFile(char (&buffer)[N], const char* filter) {
    return Answer(buffer, filter);
}
bool AnswerSeveral(char (&names)[kSeveralNames], const char* filter, const char* start) {
    const bool answered = Answer(names, filter);
    person.start = start ? start : "";
    return answered;
}
HRESULT AnswerFolder(char (&folder)[kFolderName]) { return Answer(folder, nullptr) ? S_OK : S_FALSE; }

bool AnswerColor(DWORD& color, DWORD (&custom)[kCustomColors]) {
    if (person.meanwhile) person.meanwhile();
    person.start_color = color;
    std::copy(std::begin(custom), std::end(custom), person.start_custom.begin());
    std::copy(person.custom.begin(), person.custom.end(), custom);
    color = person.color.value_or(0x123456);
    return person.color.has_value();
}

constexpr DialogCalls kPerson = {AnswerFile<kOpenName>, AnswerFile<kSaveName>, AnswerSeveral,
                                 AnswerFolder,          AnswerColor,           nullptr};

class DialogTest : public testing::Test {
protected:
    DialogTest() {
        person = {};
        SetDialogs(&kPerson);
        Forget();
    }
    ~DialogTest() override {
        SetDialogs(nullptr);
        Forget();
    }

public:
    static void Forget() {
        RegDeleteTreeA(HKEY_CURRENT_USER, "Software\\Brenvaltide");
        RegDeleteTreeA(HKEY_CURRENT_USER, "Software\\Brenvaltide Software");
    }

protected:
    const TestKey input_formats{HKEY_CLASSES_ROOT,
                                L"CLSID\\" + TextOf(category::Root) + L"\\" + TextOf(category::InputFormats)};

    void AddFormat(int number, const std::vector<const wchar_t*>& extra) {
        for (size_t i = 0; i < extra.size(); ++i)
            input_formats.Put(L"{00000000-0000-0000-0000-00000000000" + std::to_wstring(number) + L"}\\" +
                                  std::to_wstring(i),
                              nullptr, extra[i]);
    }
    static Node MakeNode(REFCLSID cls) { return Node(NewOwn<IProperty>(cls)); }
    /// A folder with a separator at its end, and files in it.
    static std::string Folder() { return (TempFolder() / "").string(); }
    static std::string NewFile(const char* name) {
        const auto path = TempFolder() / name;
        std::ofstream(path) << "x";
        return path.string();
    }
    static std::string Remembered() {
        return Narrow(TextValue(HKEY_CURRENT_USER, L"Software\\Brenvaltide\\Brenvaltide2\\Options", L"sel"));
    }
    static std::vector<std::string> Paths(IMediaSelecter* selecter) {
        std::vector<std::string> paths;
        for (LONG i = 0; i < CountOf(Ref<IMediaSelecter>(selecter)); ++i) {
            BSTR path = nullptr;
            EXPECT_EQ(selecter->get_Path(i, &path), S_OK);
            paths.push_back(Narrow(Take(path)));
        }
        return paths;
    }
};

TEST_F(DialogTest, FilterOffersTheRegisteredFormats) {
    AddFormat(1, {L"*.avi", L"AVI files", L"Video"});
    AddFormat(2, {L"*.one", L"no kind"});
    AddFormat(3, {L"*.lonely"});
    AddFormat(4, {L"*.bmp;*.png;*.jpeg;*.tiff;*.webp;*.gif", L"Pictures", L"image"});
    EXPECT_EQ(InputFilter(nullptr),
              "All supported formats|*.avi;*.one;*.bmp;*.png;*.jpeg;*.tiff;*.webp|AVI files (*.avi)|*.avi|"
              "no kind (*.one)|*.one|Pictures (*.bmp;*.png;*.jpeg;*.tiff;*.webp;*.gif)|"
              "*.bmp;*.png;*.jpeg;*.tiff;*.webp;*.gif|All files(*.*)|*.*||");
    EXPECT_EQ(InputFilter(L"Image").substr(0, 60),
              "All supported formats|*.bmp;*.png;*.jpeg;*.tiff;*.webp|Pictu");
    // The one that a restriction leaves out at the end leaves its separator.
    EXPECT_EQ(InputFilter(L"Video"),
              "All supported formats|*.avi;|AVI files (*.avi)|*.avi|All files(*.*)|*.*||");
    RegDeleteTreeW(input_formats, nullptr);
    EXPECT_EQ(InputFilter(nullptr), "All supported formats||All files(*.*)|*.*||");
}

TEST_F(DialogTest, SimpleTakesTheNamesInOrderButFirstAndLast) {
    const std::string folder = Folder();
    const std::string bare = folder.substr(0, folder.size() - 1);
    struct Case {
        std::string answer;
        std::vector<std::string> paths;
    };
    const Case cases[] = {
        {"", {}},
        {folder + "one.avi", {folder + "one.avi"}},
        {bare + "|c|a|b", {folder + "b", folder + "a", folder + "c"}},
        {folder + "|x.avi|y.avi", {folder + "y.avi", folder + "x.avi"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.answer);
        person.answer = c.answer;
        const auto selecter = NewOwn<IMediaSelecter>(clsid::MediaSelecter);
        EXPECT_EQ(selecter->Simple(), S_OK);
        EXPECT_EQ(Paths(selecter.get()), c.paths);
    }
    // A name that is too long for a path of the list leaves its place to the next one.
    person.answer = bare + "|" + std::string(256, 'l') + "|a|b|c";
    const auto long_names = NewOwn<IMediaSelecter>(clsid::MediaSelecter);
    EXPECT_EQ(long_names->Simple(), S_OK);
    EXPECT_EQ(Paths(long_names.get()), (std::vector<std::string>{folder + "c", folder + "b", folder + "a"}));
    EXPECT_EQ(long_names->Simple(), S_OK);
    EXPECT_EQ(Paths(long_names.get()), (std::vector<std::string>{folder + "c", folder + "b", folder + "a",
                                                                 folder + "a", folder + "b", folder + "c"}))
        << "it adds to what is there";
    EXPECT_EQ(Remembered(), bare);
    const auto selecter = NewOwn<IMediaSelecter>(clsid::MediaSelecter);
    person.answer.clear();
    EXPECT_EQ(selecter->Simple(), S_OK);
    EXPECT_EQ(person.start, bare) << "the next dialog starts in the remembered folder";
    BSTR path = nullptr;
    EXPECT_EQ(selecter->get_Path(0, &path), E_INVALIDARG);
}

TEST_F(DialogTest, TheRememberedFolderHasUpTo255Bytes) {
    const std::string long_folder = "/" + std::string(254, 'f');
    for (const size_t length : {1u, 254u, 255u, 256u}) {
        Forget();
        HKEY key = nullptr;
        ASSERT_EQ(RegCreateKeyExA(HKEY_CURRENT_USER, "Software\\Brenvaltide\\Brenvaltide2\\Options", 0,
                                  nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr),
                  ERROR_SUCCESS);
        const std::string folder = (long_folder + "g").substr(0, length);
        for (const size_t end : {0u, 1u}) {  // with and without the zero behind it
            SCOPED_TRACE(std::to_string(length) + " bytes and " + std::to_string(end));
            ASSERT_EQ(RegSetValueExA(key, "sel", 0, REG_SZ, reinterpret_cast<const BYTE*>(folder.c_str()),
                                     DWORD(length + end)),
                      ERROR_SUCCESS);
            EXPECT_EQ(NewOwn<IMediaSelecter>(clsid::MediaSelecter)->Simple(), S_OK);
            EXPECT_EQ(person.start, length <= 255 ? folder : "");
        }
        RegCloseKey(key);
    }
}

TEST_F(DialogTest, TimelineFilesGetTheirExtension) {
    struct Case {
        const char* typed;
        const char* name;
    };
    const Case cases[] = {
        {"cuts", "cuts.tlc"}, {"cuts.", "cuts.tlc"}, {"cuts.xml", "cuts.xml"}, {"a.b.tlc", "a.b.tlc"}};
    const auto selecter = NewOwn<IMediaSelecter>(clsid::MediaSelecter);
    for (const auto pick : {&IMediaSelecter::LoadTimelines, &IMediaSelecter::SaveTimelines}) {
        for (const Case& c : cases) {
            person.answer = Folder() + c.typed;
            BSTR path = nullptr;
            ASSERT_EQ((selecter.get()->*pick)(&path), S_OK);
            EXPECT_EQ(Narrow(Take(path)), Folder() + c.name);
            EXPECT_EQ(person.filter, "Timelines config(*.tlc)|*.tlc;|All files(*.*)|*.*|");
        }
        person.answer.clear();
        BSTR path = nullptr;
        EXPECT_EQ((selecter.get()->*pick)(&path), S_FALSE);
        EXPECT_EQ(path, nullptr);
    }
}

TEST_F(DialogTest, FoldersAreBrowsedAndCancelled) {
    const auto selecter = NewOwn<IMediaSelecter>(clsid::MediaSelecter);
    BSTR path = nullptr;
    EXPECT_EQ(selecter->SelectFolder(Text(L"start"), &path), S_FALSE);
    EXPECT_EQ(path, nullptr);
    EXPECT_EQ(person.start, "start");
    person.answer = Folder();
    EXPECT_EQ(selecter->SelectFolder(nullptr, &path), S_OK);
    EXPECT_EQ(Narrow(Take(path)), Folder());

    const Node folder = MakeNode(clsid::PropertyFolder);
    EXPECT_EQ(folder->ShowDialog(), S_OK);
    EXPECT_EQ(Narrow(folder.Format().text()), Folder());
    person.answer.clear();
    EXPECT_EQ(folder->ShowDialog(), S_FALSE);
    EXPECT_EQ(Narrow(folder.Format().text()), Folder());
    EXPECT_EQ(person.start, Folder()) << "it starts from its value";
}

TEST_F(DialogTest, AnOpenDialogStartsFromAFileThatIsThere) {
    AddFormat(1, {L"*.avi", L"AVI files", L"Video"});
    AddFormat(2, {L"*.bmp", L"Bitmaps", L"image"});
    const std::string file = NewFile("there.bmp");
    for (const CLSID& cls : {clsid::PropertySimplePath, clsid::PropertyWatermarkSrcImage}) {
        person.answer.clear();
        const Node path = MakeNode(cls);
        ASSERT_EQ(path.Put(Str(L"missing.bmp")), S_OK);
        EXPECT_EQ(path->ShowDialog(), S_FALSE);
        EXPECT_EQ(person.start, "");
        EXPECT_EQ(path.Value(), Str(L"missing.bmp"));
        person.answer = file;
        EXPECT_EQ(path->ShowDialog(), S_OK);
        EXPECT_EQ(Narrow(path.Value().text()), file);
        EXPECT_EQ(path->ShowDialog(), S_OK);
        EXPECT_EQ(person.start, file);
    }
    EXPECT_EQ(person.filter, "All supported formats|*.bmp|Bitmaps (*.bmp)|*.bmp|All files(*.*)|*.*|")
        << "images alone";
}

/// A format, as the job's root shows it to the output file's dialog.
class Format final : public Fake<IOutputFormatInfo> {
public:
    STDMETHODIMP GetFormatInfo(BSTR* name, BSTR* extension) override {
        *name = SysAllocString(L"Video N");
        *extension = SysAllocString(ending.c_str());
        return S_OK;
    }
    std::wstring ending = L".vid";
    STDMETHODIMP GetClassID(GUID*) override { return E_FAIL; }
    STDMETHODIMP SetOwner(IProperty*) override { return S_OK; }
    STDMETHODIMP SetMediaObject(IDispatch*) override { return S_OK; }
};

TEST_F(DialogTest, TheOutputFileBearsTheFormatsExtension) {
    FakeMedia media;
    Format format;
    const Node root = CreateNode(clsid::PropertySimple);  // a job's root, as far as the dialog asks
    const auto children = root.As<IEnumProperties>();
    GUID simple = clsid::PropertySimple;
    Ref<IProperty> formats;
    ASSERT_EQ(children->InsertProperty(Text(L"OutputFileFormat"), &simple, formats.Put()), S_OK);
    ASSERT_EQ(formats->put_Value(Obj(&format).get()), S_OK);
    media.root = root.get();
    const Node name = MakeNode(clsid::PropertyOutputMediaName);

    person.answer = Folder() + "result";
    EXPECT_EQ(name->ShowDialog(), S_OK) << "no job in reach: no filter, and the name as typed";
    EXPECT_EQ(Narrow(name.Value().text()), Folder() + "result");
    EXPECT_EQ(person.filter, "");

    name->SetMediaObject(media.dispatch());
    struct Case {
        const char* typed;
        const char* stored;
    };
    const Case cases[] = {{"film", "film.vid"},
                          {"film.avi", "film.vid"},
                          {"film.VID", "film.VID"},
                          {"a.b.avi", "a.b.vid"},
                          {"a.b.vid", "a.b.vid"}};
    for (const Case& c : cases) {
        person.answer = Folder() + c.typed;
        EXPECT_EQ(name->ShowDialog(), S_OK);
        EXPECT_EQ(Narrow(name.Value().text()), Folder() + c.stored);
        EXPECT_EQ(person.filter, "Video N(*.vid)|*.vid|");
    }
    person.answer.clear();
    EXPECT_EQ(name->ShowDialog(), S_FALSE);
    EXPECT_EQ(Narrow(name.Value().text()), Folder() + "a.b.vid");
    // It is the result that needs room, not the name with both extensions.
    const std::string stem = Folder() + std::string(kSaveName - Folder().size() - 23, 'f');
    person.answer = stem + "." + std::string(20, 'x');
    format.ending = L".video";
    EXPECT_EQ(name->ShowDialog(), S_OK);
    EXPECT_EQ(Narrow(name.Value().text()), stem + ".video");
    format.ending = L"";
    person.answer = Folder() + "a.b.avi";
    EXPECT_EQ(name->ShowDialog(), S_OK);
    EXPECT_EQ(Narrow(name.Value().text()), Folder() + "a.b") << "a format without an extension";
    name->SetMediaObject(nullptr);

    // Without a media object of its own: what the first node above says that has one, or is one.
    format.ending = L".up";
    const Node above = CreateNode(clsid::PropertySimple), top = CreateNode(clsid::PropertySimple);
    ASSERT_EQ(above->put_Parent(top.get()), S_OK);
    Fake<IDispatch> no_node;
    const struct {
        IDispatch *parent, *of_top;
        const char* filter;
    } parents[] = {{above.get(), nullptr, ""},
                   {above.get(), media.dispatch(), "Video N(*.up)|*.up|"},
                   {&no_node, nullptr, ""},
                   {media.dispatch(), nullptr, "Video N(*.up)|*.up|"}};
    for (const auto& c : parents) {
        ASSERT_EQ(name->put_Parent(c.parent), S_OK);
        ASSERT_EQ(top->SetMediaObject(c.of_top), S_OK);
        EXPECT_EQ(name->ShowDialog(), S_OK);
        EXPECT_EQ(person.filter, c.filter);
    }
    name->put_Parent(nullptr);
}

TEST_F(DialogTest, ARelativeNameOfACutCountsFromTheJobsFolder) {
    FakeMedia media;
    const Node name = MakeNode(clsid::PropertyOutputMediaName), folder = CreateNode(clsid::PropertySimple);
    folder->SetInfo(Text(L"DestinationPath"), Nothing().get());
    name->SetMediaObject(media.dispatch());
    const std::wstring here = WideName(TempFolder() / "");
    const std::string a = NewFile("a.avi"), b = NewFile("b.avi");  // a dialog starts from what is there
    const struct {
        const wchar_t* node;
        std::wstring folder, stored;
        std::string start, without_job;
    } cases[] = {{L"Cut", here, L"a.avi", a, ""},       {L"Cut", here, L"", Narrow(here), ""},
                 {L"Cut", here, here + L"b.avi", b, b}, {L"Cut", L"", L"a.avi", "", ""},
                 {L"Cut", here, L"none.avi", "", ""},   {L"OutputMediaName", here, L"a.avi", "", ""}};
    for (const bool in_job : {false, true}) {
        if (in_job) {
            ASSERT_EQ(media.map()->InsertProperty(folder.get()), S_OK);
        }
        for (const auto& c : cases) {
            SCOPED_TRACE(Narrow(c.stored));
            ASSERT_EQ(name->SetInfo(Text(c.node), Nothing().get()), S_OK);
            ASSERT_EQ(folder.Put(Str(c.folder)), S_OK);
            ASSERT_EQ(name.Put(Str(c.stored)), S_OK);
            EXPECT_EQ(name->ShowDialog(), S_FALSE);
            EXPECT_EQ(person.start, in_job ? c.start : c.without_job);
        }
    }
    name->SetMediaObject(nullptr);
}

TEST_F(DialogTest, ColoursOpenOnTheirTextAndComeBackAsText) {
    struct Case {
        const wchar_t* stored;
        DWORD opens_on;  // red in the low byte
        const wchar_t* again;
    };
    const Case cases[] = {
        {L"0xff8000", 0x0080FF, L"0xFF8000"},
        {L"", 0, L"0x000000"},
        {L"0x1G0203xyz", 0x030201, L"0x010203"},
    };
    const Node color = MakeNode(clsid::PropertyWatermarkBackgroundColor);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.stored);
        ASSERT_EQ(color.Put(Str(c.stored)), S_OK);
        person.color = std::nullopt;
        EXPECT_EQ(color->ShowDialog(), S_FALSE) << "cancelled";
        EXPECT_EQ(color.Value(), Str(c.stored));
        EXPECT_EQ(person.start_color, c.opens_on);
        person.color = person.start_color;
        EXPECT_EQ(color->ShowDialog(), S_OK);
        EXPECT_EQ(color.Value(), Str(c.again));
    }
    ASSERT_EQ(color.Put(I4(7)), S_OK);
    EXPECT_EQ(color->ShowDialog(), S_OK);
    EXPECT_EQ(person.start_color, 0u) << "no text";
}

TEST_F(DialogTest, CustomColoursAreKeptForAllColours) {
    const wchar_t* const key = L"Software\\Brenvaltide Software\\Brenvaltide\\Color";
    const Node one = MakeNode(clsid::PropertyWatermarkBackgroundColor),
               other = MakeNode(clsid::PropertyWatermarkBackgroundColor);
    std::array<DWORD, kCustomColors> white;
    white.fill(0xFFFFFF);
    for (DWORD i = 0; i < kCustomColors; ++i) person.custom[i] = 0x010101 * i;
    EXPECT_EQ(one->ShowDialog(), S_FALSE);
    EXPECT_EQ(person.start_custom, white);
    EXPECT_TRUE(KeyExists(HKEY_CURRENT_USER, key));
    EXPECT_EQ(Snapshot(HKEY_CURRENT_USER, key).find('#'), std::string::npos)
        << "what was mixed before a cancel is dropped";
    person.color = 0;
    EXPECT_EQ(one->ShowDialog(), S_OK);
    EXPECT_EQ(other->ShowDialog(), S_OK);
    EXPECT_EQ(person.start_custom, person.custom);

    HKEY opened = nullptr;
    ASSERT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, key, 0, KEY_ALL_ACCESS, &opened), ERROR_SUCCESS);
    const BYTE bytes[8] = {1, 2, 3};
    RegSetValueExA(opened, "2", 0, REG_BINARY, bytes, 3);
    RegSetValueExA(opened, "3", 0, REG_BINARY, bytes, 8);
    RegDeleteValueW(opened, L"15");
    RegCloseKey(opened);
    EXPECT_EQ(one->ShowDialog(), S_OK);
    for (const size_t i : {2, 3, 15}) EXPECT_EQ(person.start_custom[i], 0xFFFFFFu) << i;
    EXPECT_EQ(person.start_custom[14], 0x0E0E0Eu);

    // The key that was read is gone when the person is done.
    person.meanwhile = Forget;
    EXPECT_EQ(one->ShowDialog(), S_OK);
    person.meanwhile = nullptr;
    EXPECT_EQ(other->ShowDialog(), S_OK);
    EXPECT_EQ(person.start_custom, person.custom);
}

TEST_F(DialogTest, SeveralInputsFillTheListBehindTheFirst) {
    const ClassDouble selecter(clsid::MediaSelecter, [](IUnknown*, REFIID iid, void** out) {
        return NewOwn<IMediaSelecter>(clsid::MediaSelecter)->QueryInterface(iid, out);
    });
    FakeMedia media;
    const auto files = New<IMediaFiles>(clsid::MediaFiles);
    media.files = files.get();
    const Node path = MakeNode(clsid::PropertyMediaPath);
    path->SetMediaObject(media.dispatch());
    EXPECT_EQ(path->ShowDialog(), S_OK) << "cancelled";
    EXPECT_EQ(path.Value(), Str(L""));
    person.answer = Folder() + "one.avi";
    EXPECT_EQ(path->ShowDialog(), S_OK);
    EXPECT_EQ(Narrow(path.Value().text()), Folder() + "one.avi");
    person.answer = Folder() + "|c|a|b";
    EXPECT_EQ(path->ShowDialog(), S_FALSE) << "more than one";
    EXPECT_EQ(Narrow(path.Value().text()), Folder() + "b");
    EXPECT_EQ(CountOf(files), 2);

    person.answer = Folder() + "d";
    EXPECT_EQ(files->AddNew(), S_OK);
    EXPECT_EQ(CountOf(files), 3);
    path->SetMediaObject(nullptr);
}

}  // namespace
}  // namespace bv::test
