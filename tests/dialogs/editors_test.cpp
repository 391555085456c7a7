// The editor library that ships: what is typed, and what of it the node holds then.
#include <cstdio>
#include <cstring>

#include "dialogs/dialogs.h"
#include "dialogs/editor_library.h"
#include "support/environment.h"
#include "support/files.h"
#include "support/node.h"

namespace bv::test {
namespace {

using testing::HasSubstr;
using testing::Not;

std::string boxes;
constexpr DialogCalls kBoxes = {nullptr, nullptr, nullptr,
                                nullptr, nullptr, [](const char* text) { boxes += text; }};

class EditorsTest : public testing::Test {
protected:
    static void SetUpTestSuite() { ASSERT_EQ(CallModule(kSamplesFile, "DllRegisterServer"), S_OK); }
    static void TearDownTestSuite() { EXPECT_EQ(CallModule(kSamplesFile, "DllUnregisterServer"), S_OK); }

    /// Shows the editor to a person who types this; gives what it says.
    static std::string Type(const Node& node, const std::string& lines) {
        const std::string file = (TempFolder() / "typed.txt").string();
        WriteAll(file, lines);
        EXPECT_NE(std::freopen(file.c_str(), "r", stdin), nullptr);
        testing::internal::CaptureStdout();
        EXPECT_EQ(node->ShowDialog(), S_OK) << "whatever was typed";
        return testing::internal::GetCapturedStdout();
    }
    static std::wstring TextBelow(const Node& node, const wchar_t* name) {
        return node.Find(name).Value().text();
    }
};

TEST_F(EditorsTest, EachEditorStoresWhatIsConfirmed) {
    struct Case {
        const char* what;
        CLSID cls;
        const char* typed;
        std::wstring stored;
        const char* said;
    };
    const std::wstring tahoma = L"FONT=Tahoma;STYLE=Regular;SIZE=10;U=OFF;S=OFF;CHARSET=Default;";
    const Case cases[] = {
        {"crop", clsid::PropertyCrop, "y\n16\n\n704\n576\ny\n", L"16,0,704,576",
         "  Crop: <none> -> 16,0,704,576\n"},
        {"crop, not confirmed", clsid::PropertyCrop, "y\n16\n\n704\n576\nno\n", L"<none>", "Cancelled"},
        {"crop, input ends", clsid::PropertyCrop, "y\n16\n", L"<none>", "Cancelled"},
        {"crop, nothing", clsid::PropertyCrop, "", L"<none>", "Cancelled"},
        {"crop, kept as it is", clsid::PropertyCrop, "\n", L"<none>", "Nothing is changed.\n"},
        {"bottom", clsid::PropertyCrop, "y\n0\n0\n9\n3\n0\n0\n9\n8\ny\n", L"0,0,9,8",
         "Bottom should be greater than 3 pixels!\n"},
        {"right", clsid::PropertyCrop, "y\n0\n0\n3\n9\n0\n0\n9\n9\ny\n", L"0,0,9,9",
         "Right should be greater than 3 pixel!\n"},
        {"left", clsid::PropertyCrop, "y\n9\n0\n9\n9\n0\n0\n9\n9\ny\n", L"0,0,9,9",
         "Right should be greater than Left.\n"},
        {"top", clsid::PropertyCrop, "y\n0\n9\n9\n9\n0\n0\n9\n9\ny\n", L"0,0,9,9",
         "Botton should be greater than Top.\n"},
        {"negative", clsid::PropertyCrop, "y\n-1\n0\n0\n9\n9\ny\n", L"0,0,9,9",
         "This value cannot be negative.\n"},
        {"no number", clsid::PropertyCrop, "y\n1.5\n99999999999\n20000\n 1\n0\n0\n9\n9\ny\n", L"0,0,9,9",
         "A whole number is needed.\n"},
        {"size", clsid::PropertySize, "n\n640\n360\nn\nlet\ny\n", L"640x360",
         "Output frame dimension doesn't devide by 16 (640, 360.)"},
        {"source size", clsid::PropertySize, "y\n", L"<source>", "Nothing is changed.\n"},
        {"image size", clsid::PropertyWatermarkImageSize, "no\n0\n64\n48\n\n", L"64x48",
         "It is a number from 1 to 16384.\n"},
        {"text", clsid::PropertyWatermarkText, "%d \xC3\xBC|;--\n\n\n\ny\n", L"%d \u00FC|;--",
         "  %sf  Full Source File Name\n"},
        {"too long a text", clsid::PropertyWatermarkText, nullptr, L"", "That is longer than 512 bytes.\n"},
        {"font", clsid::PropertyWatermarkFont, "A;B\nArial\nBold\n0\n12\ny\n\n\ny\n",
         L"FONT=Arial;STYLE=Bold;SIZE=12;U=ON;S=OFF;CHARSET=Default;",
         "A font's texts can't have a semicolon.\n"},
        {"font, cancelled", clsid::PropertyWatermarkFont, "Arial\nBold\n12\ny\n\n\nn\n", tahoma, "Cancelled"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const Node node = CreateNode(c.cls);
        EXPECT_THAT(
            Type(node,
                 c.typed ? c.typed : std::string(513, 'x') + "\n" + std::string(5000, 'x') + "\n\n\n\n\n"),
            HasSubstr(c.said));
        EXPECT_EQ(node.Value().text(), c.stored);
    }

    const Node size = CreateNode(clsid::PropertySize);
    Type(size, "n\n640\n352\nn\nletterbox\ny\n");
    EXPECT_EQ(size.Child(0).Value(), I4(1));
    EXPECT_EQ(size.Child(1).Value(), I4(0));
    EXPECT_EQ(size.Child(2).Value(), I4(2));
    EXPECT_THAT(Type(size, ""), HasSubstr("Cancelled"));
    EXPECT_EQ(size.Value(), Str(L"640x352"));
}

TEST_F(EditorsTest, TheWatermarkAsksForWhatIsShown) {
    const Node mark = CreateNode(clsid::PropertyWatermark);
    // On, an image, its file, a bad and a good colour, place, size, background, colour,
    // transparency, rotation, area.
    const std::string said =
        Type(mark,
             "on\nimage\nlogo.bmp\nred\n0x00FF00\n5\n6\nn\n64\n48\nsolid\n\n101\n25\n90\n"
             "10\n20\n10\n60\n10\n20\n110\n60\ny\n");
    EXPECT_THAT(said, HasSubstr("A colour is written 0xRRGGBB.\n"));
    EXPECT_THAT(said, HasSubstr("Invalid Depth value. This property should be from 0 to 100.\n"));
    EXPECT_THAT(said, HasSubstr("Right should be greater than Left.\n"));
    EXPECT_THAT(said, HasSubstr("  WaterMarkSourceMode: Text -> Image\n"));
    EXPECT_THAT(said, HasSubstr("  WaterMarkOrientation: None -> 90 degree\n"));
    EXPECT_THAT(said, Not(HasSubstr("Text colour")));
    EXPECT_EQ(mark.Value(), I4(1));
    EXPECT_EQ(TextBelow(mark, L"WaterMarkSrcImage"), L"logo.bmp");
    EXPECT_EQ(TextBelow(mark, L"WatermarkTransparentColor"), L"0x00FF00");
    EXPECT_EQ(TextBelow(mark, L"WaterMarkLogoImageSize"), L"64x48");
    EXPECT_EQ(mark.Find(L"WaterMarkLeft").Value(), I4(10));
    EXPECT_EQ(mark.Find(L"WaterMarkRight").Value(), I4(110));
    EXPECT_FALSE(mark.Find(L"WaterMarkSrcText").Shown());

    // What isn't confirmed is taken back, and what it had shown is hidden again.
    EXPECT_THAT(Type(mark, "\ntext\nhello\n"), HasSubstr("Cancelled"));
    EXPECT_EQ(TextBelow(mark, L"WaterMarkSrcTextDesc"), L"");
    EXPECT_FALSE(mark.Find(L"WaterMarkSrcText").Shown());
    EXPECT_TRUE(mark.Find(L"WaterMarkSrcImage").Shown());
    EXPECT_THAT(Type(mark, "off\ny\n"), HasSubstr("  WaterMark: on -> off\n"));
}

TEST_F(EditorsTest, FiltersAreAddedRemovedAndPutBack) {
    const Node node = CreateNode(clsid::PropertyFilters);
    const auto list = node.As<IEnumObject>();
    LONG count = 0;
    const std::string said =
        Type(node, "blur\nfilm grain\n{00000000-0000-0000-0000-000000000001}\nsize\ncrop\n-4\n-2\n\non\ny\n");
    EXPECT_THAT(said, HasSubstr("A filter is added by its name, by \"size\", \"crop\" or its class id.\n"));
    EXPECT_THAT(said, HasSubstr("There is no such filter on this machine.\n"));
    EXPECT_THAT(said, HasSubstr("There is no filter of that number.\n"));
    EXPECT_THAT(said, HasSubstr("  There is: Film grain\n"));
    EXPECT_THAT(said, HasSubstr("  Filters: none -> Film grain, Crop\n"));
    EXPECT_EQ(node.Value(), I4(1));
    ASSERT_EQ(list->Count(&count), S_OK);
    ASSERT_EQ(count, 2);
    Ref<IUnknown> crop, still;
    ASSERT_EQ(list->Item(1, crop.Put()), S_OK);

    EXPECT_THAT(Type(node, "size\n-2\n"), HasSubstr("Cancelled"));
    ASSERT_EQ(list->Count(&count), S_OK);
    ASSERT_EQ(count, 2);
    ASSERT_EQ(list->Item(1, still.Put()), S_OK);
    EXPECT_EQ(still.get(), crop.get());
}

TEST_F(EditorsTest, WhatIsMissingIsToldInABox) {
    SetDialogs(&kBoxes);
    const Node node = CreateNode(clsid::PropertySimple);
    const char* const samples = "BVSamples.dll";  // a library without editors
    for (const auto& [library, text] : {std::pair("no_such_library.dll", "Couldn't load dlgs.dll."),
                                        std::pair(samples, "Couldn't find procedure.")}) {
        boxes.clear();
        EXPECT_EQ(RunEditor("CropEditor", node.get(), library), S_FALSE);
        EXPECT_EQ(boxes, text);
    }
    boxes.clear();
    EXPECT_EQ(RunEditor("NoEditor", node.get()), S_FALSE);
    EXPECT_EQ(boxes, "Couldn't find procedure.");
    Ref<IErrorInfo> error;
    EXPECT_EQ(GetErrorInfo(0, error.Put()), S_FALSE);
    SetDialogs(nullptr);
}

}  // namespace
}  // namespace bv::test
