// Folders of a job: what a relative one counts from, however long it is, and when nothing says
// where to begin.
#include <cstring>

#include "support/doubles.h"

namespace bv::test {
namespace {

class FolderTest : public JobTest {
protected:
    Node MakeInput(const std::wstring& path) {
        const Node input = CreateNode(clsid::PropertyMediaPath);
        EXPECT_EQ(input.Put(Str(path)), S_OK);
        EXPECT_EQ(root.As<IMainMediaPath>()->SetMediaPath(input.get()), S_OK);
        return input;
    }
};

TEST_F(FolderTest, CountsFromTheInputsFolder) {
    const std::wstring deep = L"C:\\" + std::wstring(100, L'f') + L"\\" + std::wstring(100, L'g');
    struct Case {
        std::wstring input, typed, value;
    };
    const Case cases[] = {
        {L"C:\\in\\a.avi", L"sub\\..\\out", L"C:\\in\\out"},
        {L"C:\\in\\a.avi", L"", L"C:\\in\\"},
        {L"C:\\in\\a.avi", L"D:\\out", L"D:\\out"},
        {L"a.avi", L"out", L"out"},
        {deep + L"\\a.avi", L"out", deep + L"\\out"},
        // Shorter than its parts, longer than the path calls have room for everywhere.
        {deep + L"\\a.avi", std::wstring(40, L'h') + L"\\..\\..\\x", deep.substr(0, 104) + L"x"},
        {L"C:\\in\\a.avi", std::wstring(600, L'o'), std::wstring(600, L'o')},
    };
    const Node folder = (*this)[L"DestinationPath"];
    for (const Case& c : cases) {
        SCOPED_TRACE(Narrow(c.typed));
        const Node input = MakeInput(c.input);
        ASSERT_EQ(folder.Put(Str(c.typed)), S_OK);
        EXPECT_EQ(folder.Value(), Str(c.value));
        EXPECT_EQ(folder.Format(), Str(c.typed));
        input.Give(nullptr);
    }
    // Where a path may be longer than 260 characters, a folder below a long one is found too.
    if (MAX_PATH > 600) {
        const std::wstring letters = L"/" + std::wstring(87, L'\x4E00');
        const Node input = MakeInput(letters + letters.substr(0, 80) + L"/a.avi");
        ASSERT_EQ(folder.Put(Str(std::wstring(87, L'\x4E00'))), S_OK);
        EXPECT_EQ(folder.Value(), Str(letters + letters.substr(0, 80) + letters));
        input.Give(nullptr);
    }
}

TEST_F(FolderTest, AnotherFolderCountsFromTheJobsOutput) {
    const Node other = CreateNode(clsid::PropertyFolder);
    ASSERT_EQ(other.Put(Str(L"in")), S_OK);
    EXPECT_EQ(other.Value(), Str(L"in")) << "no job in reach";
    ASSERT_EQ(root.As<IMainMediaPath>()->SetMediaPath(other.get()), S_OK);
    ASSERT_EQ((*this)[L"DestinationPath"].Put(Str(L"C:\\folder")), S_OK);
    const struct {
        Value mode, name;
        const wchar_t* value;
    } cases[] = {{I4(1), Str(L"C:\\result\\a.avi"), L"C:\\result\\in"},
                 {Str(L"1"), Str(L"C:\\a.avi"), L"C:\\in"},
                 {I4(1), Str(L"a.avi"), L"in"},
                 {I4(1), Nothing(), L"in"},
                 {I4(2), Str(L"C:\\result\\a.avi"), L"C:\\folder\\in"},
                 {Str(L"x"), Str(L"C:\\result\\a.avi"), L"C:\\folder\\in"}};
    for (const auto& c : cases) {
        ASSERT_EQ((*this)[L"Mode"].Put(c.mode), S_OK);
        ASSERT_EQ((*this)[L"OutputMediaName"].Put(c.name), S_OK);
        EXPECT_EQ(other.Value(), Str(c.value));
    }
    other.Give(nullptr);
}

TEST(FolderChainTest, AFolderCountsFromFoldersOfOtherJobsUpToADepth) {
    NothingLeft no_leaks;
    constexpr size_t kJobs = 40, kDeepest = 32;
    FakeMedia media[kJobs];
    std::vector<Node> folders, commons;
    for (FakeMedia& job : media) {
        folders.push_back(CreateNode(clsid::PropertyFolder));
        commons.push_back(CreateNode(clsid::PropertySimple));
        ASSERT_EQ(commons.back()->SetInfo(Text(L"Common"), Nothing().get()), S_OK);
        AddChild(commons.back(), L"Mode").Put(I4(2));
        ASSERT_EQ(folders.back().Put(Str(L"x")), S_OK);
        commons.back().Give(job.dispatch());
        ASSERT_EQ(job.map()->InsertProperty(commons.back().get()), S_OK);
        folders.back()->SetMediaObject(job.dispatch());
    }
    for (size_t i = 0; i + 1 < kJobs; ++i)
        ASSERT_EQ(media[i].map()->InsertProperty(folders[i + 1].get()), S_OK);
    const std::wstring value = folders[0].Value().text();
    EXPECT_EQ(std::count(value.begin(), value.end(), L'x'), kDeepest + 1) << Narrow(value);
    for (size_t i = 0; i < kJobs; ++i) commons[i].Give(nullptr), folders[i]->SetMediaObject(nullptr);
}

TEST_F(FolderTest, FoldersThatCountFromEachOtherCountOnce) {
    ASSERT_EQ((*this)[L"Mode"].Put(I4(2)), S_OK);
    const Node destination = (*this)[L"DestinationPath"], other = CreateNode(clsid::PropertyFolder);
    ASSERT_EQ(destination.Put(Str(L"out")), S_OK);
    ASSERT_EQ(other.Put(Str(L"in")), S_OK);
    ASSERT_EQ(root.As<IMainMediaPath>()->SetMediaPath(other.get()), S_OK);
    for (int again = 0; again < 2; ++again) {
        EXPECT_EQ(destination.Value(), Str(L"out\\out"));
        EXPECT_EQ(other.Value(), Str(L"out\\in"));
    }
    other.Give(nullptr);
}

}  // namespace
}  // namespace bv::test
