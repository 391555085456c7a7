// .tlc files: what is written, what comes back, and what a file from outside can do.
#include <climits>
#include <cstdlib>

#include "support/cuts.h"
#include "support/doubles.h"
#include "support/environment.h"
#include "support/files.h"
#include "support/names.h"

namespace bv::test {
namespace {

namespace fs = std::filesystem;

constexpr wchar_t kBadConfig[] = L"Couldn't load config.";
constexpr wchar_t kSource[] = L"BVSchema.Timelines.1";
constexpr bool kIsWindows = fs::path::preferred_separator == '\\';
constexpr char kDeclaration[] = "<?xml version=\"1.0\" encoding=\"Windows-1251\" ?>";

/// A document with this between its tags.
std::string File(const std::string& inside) {
    return std::string(kDeclaration) + "<Timelines>" + inside + "</Timelines>";
}

class FilesTest : public CutsTest {
protected:
    HRESULT Save(const fs::path& path) { return cuts->Save(Text(WideName(path))); }
    HRESULT Load(const fs::path& path) { return cuts->Load(Text(WideName(path))); }
    HRESULT LoadBytes(const std::string& bytes) {
        WriteAll(file, bytes);
        return Load(file);
    }
    void ExpectNotLoaded(const std::string& bytes) {
        Add(1, 2);
        SCOPED_TRACE(bytes.substr(0, 80));
        ExpectRaised([&] { return LoadBytes(bytes); }, kBadConfig, kSource);
        EXPECT_EQ(Count(), 0);
    }
    /// All that a file keeps of a list.
    std::string Kept() const {
        std::string all;
        for (LONG i = 0; i < Count(); ++i) all += At(i).Xml();
        return all;
    }
    /// Two cuts with all that can be set.
    void AddTwo(const std::wstring& name) {
        const Node first = Add(10, 250), second = Add(300, 20);
        EXPECT_EQ(first.Find(L"StartFrm").Extension().Put(I4(2)), S_OK);
        EXPECT_EQ(first.Find(L"TimelineOutputMode").Put(I4(2)), S_OK);
        EXPECT_EQ(second.Find(L"TimelineOutputMode").Put(I4(1)), S_OK);
        EXPECT_EQ(second.Find(L"TimelineOutputMediaName").Put(Str(name)), S_OK);
        EXPECT_EQ(second.Find(L"EndFrmAsRelation").Put(I4(-7)), S_OK);
    }

    const fs::path file = TempFolder() / "cuts.tlc";
};

TEST_F(FilesTest, AnEmptyListIsOneLine) {
    ASSERT_EQ(Save(file), S_OK);
    EXPECT_EQ(ReadAll(file), File(""));
    Add(1, 2);
    ASSERT_EQ(Load(file), S_OK);
    EXPECT_EQ(Count(), 0);
}

TEST_F(FilesTest, FilesOfBothPlatformsAreAlike) {
    AddTwo(L"D:\\cut 1 & <more>.avi");
    ASSERT_EQ(Save(file), S_OK);
    EXPECT_EQ(ReadAll(file), Golden(kIsWindows ? "cuts_windows.tlc" : "cuts_linux.tlc"));
    const std::string kept = Kept();
    for (const char* other : {"cuts_windows.tlc", "cuts_linux.tlc"}) {
        ASSERT_EQ(Load(DataFolder() / "golden" / other), S_OK);
        EXPECT_EQ(Count(), 2);
        EXPECT_EQ(Kept(), kept) << other;
    }
    // What was loaded is shown as if it had been chosen.
    EXPECT_EQ(At(0).Find(L"points").Description(), L"Length: 9 c (240 frm)");
    EXPECT_EQ(At(0).Find(L"StartFrm").Format(), Str(L"00:00:00.400"));
    EXPECT_TRUE(At(0).Find(L"TimelineFileNamePattern").Shown());
    EXPECT_FALSE(At(0).Find(L"TimelineOutputMediaName").Shown());
    EXPECT_TRUE(At(1).Find(L"TimelineOutputMediaName").Shown());
}

TEST_F(FilesTest, NamesOfTheNarrowPageComeBack) {
    // Where the environment is made for a page, it is that page that is tested.
    if (const char* page = std::getenv("BV_TEST_CODEPAGE")) {
        ASSERT_EQ(GetACP(), UINT(std::atoi(page)));
    }
    struct Case {
        const wchar_t* name;
        bool cyrillic;
    };
    const Case cases[] = {{L"plain.avi", true},
                          {L"\x416\x430\x431\x430 & \x43A\x43E.avi", true},
                          {L"\xE9\xDF\x153.avi", false},
                          {L"\x4E2D\x6587.avi", false},
                          {L"\U0001F600\U0001F3AC.avi", false}};
    for (const Case& c : cases) {
        // On Windows the document says Windows-1251 whatever the code page:
        // ASCII survives everywhere, Cyrillic there.
        const bool plain = c.name == cases[0].name;
        if (kIsWindows && !plain && !(c.cyrillic && GetACP() == 1251)) continue;
        if (GetACP() == 1251 && !c.cyrillic) continue;
        ASSERT_EQ(LoadBytes(File("")), S_OK);
        AddTwo(c.name);
        const std::string kept = Kept();
        ASSERT_EQ(Save(file), S_OK);
        ASSERT_EQ(Load(file), S_OK);
        EXPECT_EQ(Kept(), kept);
        EXPECT_EQ(At(1).Find(L"TimelineOutputMediaName").Value(), Str(c.name));
        if (kIsWindows && c.cyrillic && !plain) {
            EXPECT_EQ(ReadAll(file), Golden("cuts_windows_1251.tlc"));
        }
    }
    // A Windows file in 1251 is read everywhere.
    ASSERT_EQ(Load(DataFolder() / "golden" / "cuts_windows_1251.tlc"), S_OK);
    EXPECT_EQ(At(1).Find(L"TimelineOutputMediaName").Value(), Str(cases[1].name));
}

TEST_F(FilesTest, ElementsAreTakenByName) {
    const std::string cut =
        "<points><EndFrm type='3' VALUE='9' other='1'/><STARTFRM Value='4' TYPE='3' EXT='2' "
        "EXTTYPE='3'/></points>";
    ASSERT_EQ(LoadBytes("<x><y><TIMELINE>" + cut + "</TIMELINE></y><timeline>text" + cut +
                        "<none><StartFrm value='1' type='3'/></none></timeline><Timeline/></x>"),
              S_OK);
    ASSERT_EQ(Count(), 3);
    for (LONG i : {0, 1}) {
        EXPECT_EQ(At(i).Find(L"StartFrm").Value(), I4(4));
        EXPECT_EQ(At(i).Find(L"StartFrm").Extension().Value(), I4(2));
        EXPECT_EQ(At(i).Find(L"EndFrm").Value(), I4(9));
    }
    EXPECT_EQ(At(2).Find(L"EndFrm").Value(), I4(0));
    std::string utf16 = "\xFF\xFE";
    for (const char c : std::string("<a><Timeline/></a>")) utf16 += {c, '\0'};
    ASSERT_EQ(LoadBytes(utf16), S_OK);
    EXPECT_EQ(Count(), 1);

    // What doesn't set a value, and where the search for a name begins.
    ASSERT_EQ(
        LoadBytes("<Timeline><StartFrm value='5'/><EndFrm type='3'/><EndFrmAsRelation value='5' type='72'/>"
                  "<none value='1' type='3'><TimelineOutputMode value='1' type='3'><points><StartFrm "
                  "value='6' type='3'"
                  " ext='2'/></points></TimelineOutputMode></none><StartFrm value='1' "
                  "type='3'/><Timeline/></Timeline>"),
        S_OK);
    ASSERT_EQ(Count(), 2);
    EXPECT_EQ(At(0).Find(L"StartFrm").Value(), I4(1));
    EXPECT_EQ(At(0).Find(L"StartFrm").Extension().Value(), I4(0));
    EXPECT_EQ(At(0).Find(L"EndFrm").Value(), I4(0));
    EXPECT_EQ(At(0).Find(L"EndFrmAsRelation").Value(), I4(0));
    EXPECT_EQ(At(0).Find(L"TimelineOutputMode").Value(), I4(1));

    // A text of any length, and what follows it.
    ASSERT_EQ(LoadBytes("<Timeline><TimelineOutputMediaName value='" + std::string(3000, 'x') +
                        "\xC3\xA9' type='8'/><EndFrm value='7' type='3'/></Timeline>"),
              S_OK);
    EXPECT_EQ(At(0).Find(L"TimelineOutputMediaName").Value(),
              Str((std::wstring(3000, L'x') + L"\u00E9").c_str()));
    EXPECT_EQ(At(0).Find(L"EndFrm").Value(), I4(7));
}

TEST_F(FilesTest, EveryKindIsTakenOrLeavesNothing) {
    // All plain kinds, and with all flags: arrays, references, what no flag is.
    std::vector<int> kinds;
    for (int flags = 0; flags < 0x10000; flags += 0x1000)
        for (int kind = 0; kind <= 80; ++kind)
            if (kInFull || flags == 0 || kind % 10 == 3) kinds.push_back(flags | kind);
    for (const int kind : {0x103, 0x208, 0xFFF, 0x20FF, 0xFFFF}) kinds.push_back(kind);
    std::string inside, words;
    for (const int kind : kinds) {
        const std::string k = std::to_string(kind);
        inside +=
            "<Timeline><StartFrm value='12' type='" + k + "' ext='2' extType='" + k + "'/></Timeline>\n";
    }
    ASSERT_EQ(LoadBytes(File(inside)), S_OK);
    ASSERT_EQ(Count(), LONG(kinds.size()));
    for (size_t i = 0; i < kinds.size(); ++i) {
        const int kind = kinds[i];
        if (kind == VT_DATE) continue;  // a number alone may or may not be a day
        const Node start = At(int(i)).Find(L"StartFrm");
        const int stored = start.ValueType(), unit = start.Extension().ValueType();
        const bool plain = (kind >= VT_I2 && kind <= VT_BSTR) || kind == VT_BOOL || kind == VT_DECIMAL ||
                           (kind >= VT_I1 && kind <= VT_UINT);
        EXPECT_EQ(stored, kind == 72 ? VT_I4 : plain ? kind : VT_EMPTY) << kind;
        EXPECT_EQ(unit, kind == 72 ? VT_I4 : plain ? kind : VT_EMPTY) << kind;
    }
    for (int word = 0; word < 0x10000; word += kInFull ? 1 : 251) {
        const std::string k = std::to_string(word);
        words += "<StartFrm value='12' type='" + k + "' ext='2' extType='" + k + "'/>";
    }
    ASSERT_EQ(LoadBytes(File("<Timeline>" + words + "<EndFrm value='7' type='3'/></Timeline>")), S_OK);
    EXPECT_EQ(At(0).Find(L"EndFrm").Value(), I4(7));
    for (const char* kind : {"", "x", "-3", "65539", "4294967299", "3 ", "0x3"}) {
        ASSERT_EQ(LoadBytes("<Timeline><StartFrm value='5' type='" + std::string(kind) + "'/></Timeline>"),
                  S_OK);
        EXPECT_EQ(At(0).Find(L"StartFrm").Value(), Nothing()) << kind;
    }
    for (const char* value : {"", "abc", "99999999999", "1e400"}) {
        ASSERT_EQ(LoadBytes("<Timeline><StartFrm value='" + std::string(value) + "' type='3'/></Timeline>"),
                  S_OK);
        EXPECT_EQ(At(0).Find(L"StartFrm").Value(), Nothing()) << value;
    }
    ASSERT_EQ(LoadBytes("<Timeline><StartFrm value='-2147483648' type='3'/><EndFrm value='2147483647' "
                        "type='3'/></Timeline>"),
              S_OK);
    EXPECT_EQ(At(0).Find(L"points").Description(), L"Length: 171798691 c (4294967295 frm)");
}

TEST_F(FilesTest, WhatIsNoFileOfCutsLeavesAnEmptyList) {
    AddTwo(L"a.avi");
    ASSERT_EQ(Save(file), S_OK);
    const std::string whole = ReadAll(file);
    for (size_t length = 0; length < whole.size(); length += kInFull ? 1 : 13)
        ExpectNotLoaded(whole.substr(0, length));
    for (const std::string& bytes :
         {whole + whole, whole + "text", whole + "<Timelines/>", std::string("<a b='1' b='2'/>"),
          std::string("<?xml version='1.0' encoding='none-such'?><Timelines v='\xC6'/>"),
          std::string(5000, '\0')})
        ExpectNotLoaded(bytes);
}

TEST_F(FilesTest, DeepNestingIsRefused) {
    std::string deep;
    for (int i = 0; i < 100000; ++i) deep += "<Timeline>";
    for (int i = 0; i < 100000; ++i) deep += "</Timeline>";
    ExpectNotLoaded(deep);
    // What lies deeper than a reader goes is passed over, where the document may be so deep at all.
    for (const auto& [depth, count] : {std::pair(200, 1), {400, 0}}) {
        deep = "<Timeline/>";
        for (int i = 0; i < depth; ++i) deep = "<a>" + deep + "</a>";
        LoadBytes(deep);
        EXPECT_EQ(Count(), count) << depth;
    }
}

TEST_F(FilesTest, AFileThatClaimsMuchIsRefused) {
    WriteAll(file, "<Timelines>");
    fs::resize_file(file, kInFull ? 1u << 30 : 1u << 24);
    EXPECT_EQ(Load(file), E_FAIL);
    EXPECT_EQ(Count(), 0);
    fs::resize_file(file, 0);
}

TEST_F(FilesTest, CutsThatSayNothingAreTakenUpToAThousand) {
    const auto many = [](int count, const std::string& cut) {
        std::string all;
        for (int i = 0; i < count; ++i) all += cut;
        return File(all);
    };
    ASSERT_EQ(LoadBytes(many(1000, "<Timeline/>")), S_OK);
    EXPECT_EQ(Count(), 1000);
    ASSERT_EQ(LoadBytes(many(
                  1500, "<Timeline><StartFrm value='1' type='3'/><EndFrm value='9' type='3'/></Timeline>")),
              S_OK);
    EXPECT_EQ(Count(), 1500);
    ExpectNotLoaded(many(1500, "<Timeline/>"));
}

TEST_F(FilesTest, ALoadThatRunsOutOfMemorySaysSo) {
    ASSERT_EQ(LoadBytes(File("<Timeline/>")), S_OK);
    for (const HRESULT status : {E_OUTOFMEMORY, E_ABORT}) {
        int made = 0;
        const ClassDouble ends(clsid::PropertyTimeline, [&](IUnknown*, REFIID iid, void** out) {
            return ++made < 3 ? CreateNode(clsid::PropertyMain)->QueryInterface(iid, out) : status;
        });
        EXPECT_EQ(LoadBytes(File("<Timeline/><Timeline/><Timeline/><Timeline/>")), status);
        EXPECT_EQ(made, 3);
        EXPECT_EQ(Count(), 0);
    }
    class Full : public ForeignNode {
    public:
        using ForeignNode::ForeignNode;
        STDMETHODIMP FindProperty(BSTR, IProperty** out) override {
            return QueryInterface(kIid<IProperty>, reinterpret_cast<void**>(out));
        }
        STDMETHODIMP put_Value(VARIANT) override { return E_OUTOFMEMORY; }
    } full(L"Timeline");
    const ClassDouble made(clsid::PropertyTimeline, full.Maker());
    EXPECT_EQ(LoadBytes(File("<Timeline><x value='1' type='3'/></Timeline>")), E_OUTOFMEMORY);
    EXPECT_EQ(Count(), 0);
}

TEST_F(FilesTest, AFileSetsItsOwnCutsUnlessTheHostTrustsIt) {
    const Node outside = (*this)[L"OutputMediaName"];
    const std::string bytes = File(
        "<Timeline><StartFrm value='5' type='3'/><OutputMediaName value='theirs' type='8'>"
        "<EndFrm value='9' "
        "type='3'/></OutputMediaName><OutputMediaName><Gone/></OutputMediaName></Timeline>");
    const auto reach = cuts.As<ICutFileReach>();
    ASSERT_TRUE(reach);
    EXPECT_EQ(reach->get_WholeJob(nullptr), E_POINTER);
    for (const LONG trusted : {0, 1, 0}) {
        ASSERT_EQ(outside.Put(Str(L"mine")), S_OK);
        ASSERT_EQ(reach->put_WholeJob(trusted), S_OK);
        LONG now = -1;
        EXPECT_EQ(reach->get_WholeJob(&now), S_OK);
        EXPECT_EQ(now, trusted);
        ASSERT_EQ(LoadBytes(bytes), S_OK);
        EXPECT_EQ(outside.Value(), Str(trusted ? L"theirs" : L"mine"));
        EXPECT_EQ(At(0).Find(L"StartFrm").Value(), I4(5));
        EXPECT_EQ(At(0).Find(L"EndFrm").Value(), I4(9)) << "inside of what is passed over";
    }
}

TEST_F(FilesTest, WhatCantBeReadLeavesAnEmptyList) {
    for (const fs::path& path :
         {TempFolder(), TempFolder() / "missing.tlc", fs::path(), fs::path("/dev/null")}) {
        Add(1, 2);
        ExpectRaised([&] { return Load(path); }, kBadConfig, kSource);
        EXPECT_EQ(Count(), 0);
    }
    EXPECT_EQ(cuts->Load(nullptr), E_FAIL);
    ASSERT_EQ(LoadBytes(File("text<Timeline>text<!-- c --><?p?>&amp;</Timeline>text")), S_OK);
    EXPECT_EQ(Count(), 1);
    const ClassDouble none(GuidOf("2933BF90-7B36-11D2-B20E-00C04F983E60"),
                           [](IUnknown*, REFIID, void**) { return E_ACCESSDENIED; });
    ExpectRaised([&] { return Load(file); }, L"Couldn't create MSXml DomDocument.", kSource);
    EXPECT_EQ(Count(), 0);
}

TEST_F(FilesTest, AFileThatCantBeMadeIsTold) {
    Add(1, 2);
    const std::wstring too_long = WideName(TempFolder() / std::string(600, 'a'));
    for (const std::wstring& path :
         {WideName(TempFolder()), WideName(TempFolder() / "none" / "a.tlc"), std::wstring(), too_long})
        ExpectRaised([&] { return cuts->Save(Text(path)); }, L"Couldn't create file.", kSource);
    EXPECT_EQ(cuts->Save(nullptr), E_FAIL);
    EXPECT_EQ(Count(), 1);
}

TEST_F(FilesTest, ALongListKeepsItsOrder) {
    for (LONG i = 0; i < 400; ++i) Add(i * 3, i * 3 + 2);
    ASSERT_EQ(Save(file), S_OK);
    ASSERT_EQ(Load(file), S_OK);
    ASSERT_EQ(Count(), 400);
    for (LONG i = 0; i < 400; i += 77) EXPECT_EQ(At(i).Find(L"EndFrm").Value(), I4(i * 3 + 2));
    while (Count() > 0) ASSERT_EQ(cuts->RemoveTimeline(At(0).get()), S_OK);
}

}  // namespace
}  // namespace bv::test
