// The desktop's own dialogs, answered as a person does it. They need a screen, which the runner lends.
#include <fstream>

#include "desktop/person.h"
#include "dialogs/editor_library.h"
#include "support/environment.h"
#include "support/names.h"
#include "support/node.h"

namespace bv::test {
namespace {

namespace fs = std::filesystem;

class DesktopTest : public testing::Test {
protected:
    DesktopTest() { RegDeleteTreeA(HKEY_CURRENT_USER, "Software\\Brenvaltide"); }
    ~DesktopTest() override { RegDeleteTreeA(HKEY_CURRENT_USER, "Software\\Brenvaltide"); }

    static std::string NewFile(const fs::path& name) {
        const fs::path path = TempFolder() / name;
        fs::create_directories(path.parent_path());
        std::ofstream(path) << "x";
        return path.string();
    }
    /// What ShowDialog gives while a person does something with the dialog.
    static HRESULT Shown(const Node& node, std::function<void()> act) {
        const Meanwhile person(std::move(act));
        return node->ShowDialog();
    }
};

TEST_F(DesktopTest, FilesAreOpenedAndSaved) {
    struct Case {
        CLSID cls;
        const char* title;
        std::string file;
    };
    const Case cases[] = {
        {clsid::PropertySimplePath, "Open Media File", NewFile("A film.avi")},
        {clsid::PropertyOutputMediaName, "Save Media File", (TempFolder() / "Result -1.avi").string()},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.title);
        const Node node = CreateNode(c.cls);
        const Dialog dialog = {c.title};
        EXPECT_EQ(Shown(node, [&] { dialog.Cancel(); }), S_FALSE);
        EXPECT_EQ(node.Value(), Str(L""));
        EXPECT_EQ(Shown(node, [&] { dialog.Accept(c.file); }), S_OK);
        EXPECT_EQ(Narrow(node.Value().text()), c.file);
    }
}

TEST_F(DesktopTest, SeveralFilesAreOpenedWhereTheLastWere) {
    const std::vector<std::string> names = {"a.avi", "b.avi"};
    std::string first;
    for (const std::string& name : names) first = NewFile(fs::path("several") / name);
    const auto open = [](std::function<void()> act) {
        const auto selecter = New<IMediaSelecter>(clsid::MediaSelecter);
        {
            const Meanwhile person(std::move(act));
            EXPECT_EQ(selecter->Simple(), S_OK);
        }
        std::vector<std::string> paths;
        LONG count = 0;
        EXPECT_EQ(selecter->get_Count(&count), S_OK);
        for (LONG i = 0; i < count; ++i) {
            BSTR path = nullptr;
            EXPECT_EQ(selecter->get_Path(i, &path), S_OK);
            paths.push_back(Narrow(Take(path)));
        }
        return paths;
    };
    const Dialog dialog = {"Open Media File"};
    EXPECT_EQ(open([&] { dialog.Accept(first); }), std::vector{first});
    const auto both = open([&] { dialog.AcceptAll(names); });
    EXPECT_THAT(both, testing::UnorderedElementsAre((TempFolder() / "several" / "a.avi").string(), first));
    EXPECT_TRUE(open([&] { dialog.Cancel(); }).empty());
}

TEST_F(DesktopTest, FoldersAreBrowsed) {
    const fs::path folder = TempFolder() / "chosen";
    fs::create_directories(folder);
    const Node node = CreateNode(clsid::PropertyFolder);
    ASSERT_EQ(node.Put(Str(WideName(TempFolder()))), S_OK);
    const Dialog dialog = {"Browse For Folder"};
    EXPECT_EQ(Shown(node, [&] { dialog.Cancel(); }), S_FALSE);
    EXPECT_EQ(Narrow(node.Format().text()), TempFolder().string());
    EXPECT_EQ(Shown(node, [&] { dialog.Accept(folder.string()); }), S_OK);
    EXPECT_EQ(Narrow(node.Format().text()), folder.string());
}

TEST_F(DesktopTest, ColoursAreChosen) {
    const Node node = CreateNode(clsid::PropertyWatermarkBackgroundColor);
    ASSERT_EQ(node.Put(Str(L"0xff8001")), S_OK);
    const Dialog dialog = {"Color"};
    EXPECT_EQ(Shown(node, [&] { dialog.Cancel(); }), S_FALSE);
    EXPECT_EQ(node.Value(), Str(L"0xff8001"));
    EXPECT_EQ(Shown(node, [&] { dialog.Accept(""); }), S_OK);
    EXPECT_EQ(node.Value(), Str(L"0xFF8001")) << "it opens on the value";
    EXPECT_EQ(Shown(node, [&] { dialog.AcceptColor(10, 128, 255); }), S_OK);
    EXPECT_EQ(node.Value(), Str(L"0x0A80FF"));
}

TEST_F(DesktopTest, AMissingLibraryIsToldInABox) {
    const Meanwhile person([] { Dialog{"Error"}.Accept(""); });
    EXPECT_EQ(RunEditor("CropEditor", CreateNode(clsid::PropertySimple).get(), "no_such_library.dll"),
              S_FALSE);
}

}  // namespace
}  // namespace bv::test
