// The settings XML: forms, limits, texts of object values, extension values, and streams that fail.
#include "support/doubles.h"

namespace bv::test {
namespace {

std::wstring Repeat(size_t count, const std::wstring& text = L"x") {
    std::wstring result;
    while (count-- > 0) result += text;
    return result;
}

class SettingsXmlTest : public testing::Test {
protected:
    SettingsXmlTest() { node->SetInfo(Text(L"N"), Nothing().get()); }
    std::string XmlOf(const Value& value) {
        EXPECT_EQ(node.Put(value), S_OK);
        return node.Xml();
    }
    Node Child(const wchar_t* name) { return AddChild(node, name); }
    NothingLeft no_leaks;
    Node node = CreateNode(clsid::PropertySimple);
};

TEST_F(SettingsXmlTest, Forms) {
    EXPECT_EQ(node.Xml(), "<N>\n</N>\n");
    const struct {
        Value value;
        const char* attributes;
    } cases[] = {
        {Nothing(), ""},
        {Str(L""), " value='' type='8'"},
        {I4(-7), " value='-7' type='3'"},
        {I4(LONG(0x80000000)), " value='-2147483648' type='3'"},
        {I2(-7), " value='-7' type='2'"},
        {UI1(200), " value='200' type='17'"},
        {Bool(true), " value='-1' type='11'"},
        {Bool(false), " value='0' type='11'"},
        {R8(1.5), " value='1.5' type='5'"},
        {R8(1e300), " value='1E+300' type='5'"},
        {Str(L"C:\\Tom's & Jerry's"), " value='C:\\Tom&apos;s &amp; Jerry&apos;s' type='8'"},
        {Str(L"<a href=\"&amp;\">"), " value='&lt;a href=\"&amp;amp;\"&gt;' type='8'"},
    };
    for (const auto& c : cases) EXPECT_EQ(XmlOf(c.value), std::string("<N") + c.attributes + ">\n</N>\n");
    // A kind without a text form.
    Value error;
    error.get().vt = VT_ERROR;
    error.get().scode = E_FAIL;
    EXPECT_EQ(XmlOf(error), "<N value='' type='10'>\n</N>\n");
}

TEST_F(SettingsXmlTest, ALimitEmptiesATextAndLeavesTheElement) {
    const struct {
        const char* what;
        std::wstring text;
        bool written;
    } cases[] = {
        {"the longest plain text", Repeat(512), true},
        {"one byte more", Repeat(513), false},
        {"much more", Repeat(100000), false},
        {"the longest text with a special character", Repeat(250) + L"&", true},
        {"one character more", Repeat(251) + L"&", false},
        {"special characters alone", Repeat(51, L"&"), true},
        {"one more", Repeat(52, L"&"), false},
        {"63 lower signs have 252 characters", Repeat(63, L"<"), true},
        {"64 have 256", Repeat(64, L"<"), false},
        {"above 1024 bytes, with a special one", Repeat(1100) + L"'", false},
        {"the special one first", L"'" + Repeat(1100), false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        std::string safe;
        for (const char x : Narrow(c.text))
            safe += x == '&' ? "&amp;" : x == '<' ? "&lt;" : x == '\'' ? "&apos;" : std::string(1, x);
        EXPECT_EQ(XmlOf(Str(c.text)), "<N value='" + (c.written ? safe : "") + "' type='8'>\n</N>\n");
    }
    EXPECT_EQ(XmlOf(Str(std::wstring(L"a\0b&", 4))), "<N value='a' type='8'>\n</N>\n")
        << "a text ends at its zero";
    // The three texts of one line together, and a name that is too long.
    node.As<ISimpleInit>()->SetPathExtension(Text(Repeat(512)));
    const std::string most(512, 'x');
    EXPECT_EQ(XmlOf(Str(Repeat(512))),
              "<N value='" + most + "' type='8' ext='" + most + "' extType='8'>\n</N>\n");
    node->SetInfo(Text(Repeat(513)), Nothing().get());
    EXPECT_EQ(XmlOf(I4(1)), "< value='1' type='3' ext='" + most + "' extType='8'>\n</>\n");
}

TEST_F(SettingsXmlTest, AnExtensionStandsInItsNodesElement) {
    const auto setup = node.As<ISimpleInit>();
    CLSID unit = clsid::PropertyLenExt;
    ASSERT_EQ(setup->SetExtensionClass(&unit), S_OK);
    EXPECT_EQ(node.Xml(), "<N>\n</N>\n") << "no value, no extension value";
    EXPECT_EQ(XmlOf(I4(1)), "<N value='1' type='3' ext='1' extType='3'>\n</N>\n");
    const struct {
        Value unit;
        const char* attributes;
    } cases[] = {
        {Str(L"a<b"), " ext='a&lt;b' extType='8'"},
        {Str(Repeat(52, L"&")), " ext='' extType='8'"},
        {R8(0.5), " ext='0.5' extType='5'"},
        {Nothing(), ""},
    };
    for (const auto& c : cases) {
        ASSERT_EQ(node.Extension().Put(c.unit), S_OK);
        EXPECT_EQ(node.Xml(), std::string("<N value='1' type='3'") + c.attributes + ">\n</N>\n");
    }
    unit = clsid::PropertySimple;
    ASSERT_EQ(setup->SetExtensionClass(&unit), S_OK);
    EXPECT_EQ(node.Xml(), "<N value='1' type='3'>\n</N>\n") << "an extension without a store";
    ASSERT_EQ(node.Extension().Put(I4(1)), S_OK);
    Fake<IDispatch> object;
    EXPECT_EQ(XmlOf(Obj(&object)), "<N>\n</N>\n") << "beside an object there is none";
    ASSERT_EQ(node.Put(Nothing()), S_OK);
}

// --- Object values ---

class FilterItemDouble : public FilterDouble<IFilterItem> {
public:
    HRESULT text_status = S_OK;
    STDMETHODIMP Init(BSTR, IUnknown*) override { return E_NOTIMPL; }
    STDMETHODIMP get_Text(BSTR* out) override {
        *out = SysAllocString(L"a wrapper's & text");
        return text_status;
    }
};

class MediaTypeDouble : public Fake<IAMMediaType> {
public:
    HRESULT status = S_OK;
    STDMETHODIMP SetMedia(_AMMediaType*) override { return E_NOTIMPL; }
    STDMETHODIMP get_Description(BSTR* out) override {
        if (FAILED(status)) return status;
        *out = SysAllocString(L"16 Kbits/s");
        return S_OK;
    }
    STDMETHODIMP GetMedia(_AMMediaType**) override { return E_NOTIMPL; }
};

TEST_F(SettingsXmlTest, AnObjectIsWrittenByTheFirstTextThatItHas) {
    const std::string id = "{01020304-0506-0708-090A-0B0C0D0E0FAF}";
    const GUID guid = GuidOf("01020304-0506-0708-090a-0b0c0d0e0faf");
    const auto list = node.As<IListOfValues>();
    const auto line = [](const std::string& text) { return "<N value='" + text + "' type='72'>\n</N>\n"; };

    FilterItemDouble item;
    item.id = guid;
    ASSERT_EQ(list->AddItem(Text(L"of the list"), Unk(item.unknown()).get()), S_OK);
    EXPECT_EQ(XmlOf(Unk(item.unknown())), line("a wrapper's & text")) << "not made safe";
    item.text_status = S_FALSE;
    EXPECT_EQ(node.Xml(), line(id)) << "a filter's class";
    item.id_status = E_FAIL;
    EXPECT_EQ(node.Xml(), line("of the list"));
    ASSERT_EQ(list->Clear(), S_OK);
    EXPECT_EQ(node.Xml(), "<N>\n</N>\n");

    FormatDouble format(L"f");
    format.id = guid;
    EXPECT_EQ(XmlOf(Obj(static_cast<IProperty*>(&format))), line(id));
    format.id_status = S_FALSE;
    EXPECT_EQ(node.Xml(), "<N>\n</N>\n");

    MediaTypeDouble type;
    EXPECT_EQ(XmlOf(Obj(&type)), line("16 Kbits/s"));
    type.status = E_FAIL;
    ASSERT_EQ(list->AddItem(Text(L""), Obj(&type).get()), S_OK);
    EXPECT_EQ(node.Xml(), "<N>\n</N>\n") << "an empty label is no text";
    ASSERT_EQ(list->Clear(), S_OK);
    ASSERT_EQ(node.Put(Obj(nullptr)), S_OK);
    EXPECT_EQ(node.Xml(), "<N>\n</N>\n");
}

// --- What stands between the tags ---

/// Writes what it is told, and keeps the stream, which it shouldn't.
class WriterDouble : public Fake<IDispatch, ISettingsWriter> {
public:
    std::string text;
    Ref<ISequentialStream> kept;
    STDMETHODIMP WriteXml(ISequentialStream* stream) override {
        kept = stream;
        ULONG written = 0;
        EXPECT_EQ(stream->Write(text.data(), ULONG(text.size()), &written), S_OK);
        EXPECT_EQ(written, text.size());
        return E_FAIL;
    }
    STDMETHODIMP ReadExtraData(IUnknown*) override { return E_FAIL; }
};

TEST_F(SettingsXmlTest, ContentsStandInTheirOrder) {
    const auto list = node.As<IListOfValues>();
    for (const wchar_t* label : {L"one <&>", L"two"}) {
        CLSID cls = clsid::PropertySimple;
        ASSERT_EQ(list->AddObject2(Text(label), &cls), S_OK);
    }
    WriterDouble child, extra;
    Fake<IDispatch> silent;
    child.text = "<foreign/>\n";
    extra.text = std::string(100000, 'e') + "\n";  // more than any buffer
    Child(L"first")->Hide(1);
    ASSERT_EQ(node.As<IEnumProperties>()->AddObject(Text(L""), nullptr, &silent), S_OK);
    ASSERT_EQ(node.As<IEnumProperties>()->AddObject(Text(L""), nullptr, child.unknown()), S_OK);
    Child(L"last")->put_Active(0);
    ASSERT_EQ(node->PutExData(&extra), S_OK);
    const Value second = node.Choices().at(1).second;
    Node(Ref<IUnknown>(second.object()).As<IProperty>())->SetInfo(Text(L"held"), Nothing().get());
    EXPECT_EQ(XmlOf(second),
              "<N value='two' type='72'>\n<held value='two' type='8'>\n</held>\n<first>\n</first>\n"
              "<foreign/>\n<last>\n</last>\n" +
                  extra.text + "</N>\n");
    EXPECT_EQ(XmlOf(node.Choices().at(0).second).substr(0, 30), "<N value='one <&>' type='72'>\n")
        << "a label isn't made safe";

    // A stream that outlives the call takes nothing more.
    EXPECT_EQ(child.kept->Write("x", 1, nullptr), S_OK);
    child.kept = extra.kept = {};
    node.Release();
}

TEST_F(SettingsXmlTest, AStreamThatIsKeptKeepsTheModule) {
    WriterDouble child;
    ASSERT_EQ(node.As<IEnumProperties>()->AddObject(Text(L""), nullptr, child.unknown()), S_OK);
    EXPECT_EQ(node.Xml(), "<N>\n</N>\n");
    node.Release();
    EXPECT_FALSE(ModuleCanGo());
    child.kept = {};
    EXPECT_TRUE(ModuleCanGo());
}

TEST_F(SettingsXmlTest, AnObjectAroundANodeWritesForIt) {
    Around<WriterDouble> outer(clsid::PropertySimple);  // a node of ours in all but what it writes
    outer.text = "<mine/>\n";
    const auto list = node.As<IEnumProperties>();
    ASSERT_EQ(list->AddObject(Text(L"child"), node.get(), outer.unknown()), S_OK);
    EXPECT_TRUE(node.Find(L"child"));
    EXPECT_EQ(node.Xml(), "<N>\n<mine/>\n</N>\n");
    ASSERT_EQ(list->RemoveByName(Text(L"child"), nullptr), S_OK);
    const auto choices = node.As<IListOfValues>();
    ASSERT_EQ(choices->AddItem(Text(L"held"), Unk(outer.unknown()).get()), S_OK);
    EXPECT_EQ(XmlOf(Unk(outer.unknown())), "<N value='held' type='72'>\n<mine/>\n</N>\n");
    ASSERT_EQ(choices->Clear(), S_OK);
    ASSERT_EQ(node.Put(Nothing()), S_OK);
    outer.kept = {};
}

TEST_F(SettingsXmlTest, AStreamThatFailsIsTheCallersAffair) {
    for (int i = 0; i < 2000; ++i) Child(L"child");
    const std::string whole = node.Xml();
    ASSERT_EQ(whole.size(), 9u + 2000 * 17);
    for (const size_t room : {size_t(0), size_t(1), size_t(20000), whole.size() - 1}) {
        MemoryStream stream;
        stream.fail_after = room;
        EXPECT_EQ(node.As<ISettingsWriter>()->WriteXml(&stream), S_OK);
        EXPECT_EQ(stream.text, whole.substr(0, room));
    }
    EXPECT_EQ(node.As<ISettingsWriter>()->WriteXml(nullptr), E_POINTER);
    EXPECT_EQ(node.As<ISettingsWriter>()->ReadExtraData(nullptr), S_OK);
}

TEST_F(SettingsXmlTest, AFolderIsWrittenAsItIsStored) {
    FakeMedia media;
    const Node root = CreateNode(clsid::PropertyMain);
    root.Give(media.dispatch());
    ASSERT_EQ(root.Find(L"DestinationPath").Put(Str(L"sub\\..\\out")), S_OK);
    EXPECT_NE(root.Xml().find("<DestinationPath value='sub\\..\\out' type='8'>"), std::string::npos);
}

TEST(WholeJobXmlTest, IsTheJob) {
    NothingLeft no_leaks;
    FakeMedia media;
    const Node root = CreateNode(clsid::PropertyMain);
    EXPECT_EQ(root.Xml(), Golden("main.xml")) << "without a media object there is no list of files";
    root.Give(media.dispatch());
    EXPECT_EQ(root.Xml(), Golden("main.xml")) << "nor with one that has none";
    const auto files = New<IMediaFiles>(clsid::MediaFiles);
    media.files = files.get();
    EXPECT_EQ(root.Xml().substr(0, 25), "<Main>\n<FILES>\n</FILES>\n<");
    ASSERT_EQ(files->Insert(Text(L"C:\\in\\a.avi")), S_OK);
    std::string job = Golden("main.xml");
    job.insert(7,
               "<FILES>\n<PathToMediaFile value='C:\\in\\a.avi' type='8'>\n<Timelines value='0' type='3'>\n"
               "</Timelines>\n<IDX value='' type='8'>\n</IDX>\n</PathToMediaFile>\n</FILES>\n");
    EXPECT_EQ(root.Xml(), job);
    media.files = nullptr;
}

}  // namespace
}  // namespace bv::test
