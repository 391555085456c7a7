// Dialog programs that answer as no good one does, and what they are given.
#include <sys/stat.h>

#include <cstdlib>
#include <fstream>
#include <iterator>

#include "dialogs/dialogs.h"
#include "support/environment.h"
#include "support/own.h"
#include "support/registry.h"

namespace bv::test {
namespace {

/// Puts a program of the given name in front of all others, which notes its arguments, a line each, and
/// answers with a file.
class ProgramsTest : public testing::Test {
protected:
    ProgramsTest() {
        SetDialogs(nullptr);
        std::filesystem::create_directories(folder_);
        for (const char* name : {"zenity", "kdialog"}) {
            std::ofstream(folder_ / name) << "#!/bin/sh\ncd '" << folder_.string()
                                          << "'\nfor a; do printf '%s\\0' \"$a\"; done >asked\n"
                                             "locale charmap >charset 2>&1\n"
                                             "cat answer\n. ./end\n";
            chmod((folder_ / name).c_str(), 0755);
        }
        setenv("PATH", (folder_.string() + ":" + path_).c_str(), 1);
        setenv("DISPLAY", ":99", 1);
    }
    ~ProgramsTest() override {
        setenv("PATH", path_.c_str(), 1);
        unsetenv("DISPLAY");
        unsetenv("XDG_CURRENT_DESKTOP");
    }
    void Answer(const std::string& answer, const char* end = "exit 0") const {
        std::ofstream(folder_ / "answer", std::ios::binary) << answer;
        std::ofstream(folder_ / "end") << end << '\n';
    }
    std::vector<std::string> Asked() const {
        std::ifstream stream(folder_ / "asked", std::ios::binary);
        std::vector<std::string> arguments;
        for (std::string argument; std::getline(stream, argument, '\0');) arguments.push_back(argument);
        return arguments;
    }

    const std::filesystem::path folder_ = TempFolder() / "programs";
    const std::string path_ = std::getenv("PATH");
};

constexpr char kFilter[] = "Films|*.avi;*.Mp4|All files(*.*)|*.*||";

TEST_F(ProgramsTest, OnlyAbsoluteNamesOfOneFolderAreAnAnswer) {
    using Names = std::vector<std::string>;
    const std::string long_name = "/d/" + std::string(200, 'n'), many(5200, 'm');
    struct Case {
        const char* what;
        std::string answer;
        const char* end;
        Names names;
    };
    const Case cases[] = {
        {"one", "/d/a.avi\n", "exit 0", {"/d/a.avi"}},
        {"odd letters",
         "/d/-a 'b\" \n|;\\$(x)\xC3\xBC//\x2F"
         "d/c\n",
         "exit 0",
         {"/d/-a 'b\" \n|;\\$(x)\xC3\xBC", "/d/c"}},
        {"in the root", "/a///b\n", "exit 0", {"/a", "/b"}},
        {"two folders", "/d/a///e/b\n", "exit 0", {}},
        {"relative", "a.avi\n", "exit 0", {}},
        {"garbage", "(zenity:1): Gtk-WARNING **\n", "exit 0", {}},
        {"nothing", "", "exit 0", {}},
        {"a NUL", std::string("/d/a\0b\n", 7), "exit 0", {}},
        {"an error", "/d/a.avi\n", "exit 5", {}},
        {"hung up", "/d/a.avi\n", "kill -9 $$", {}},
        {"longer than the buffer", "/" + many + "\n", "exit 0", {}},
        {"endless", std::string(3 << 20, '/'), "exit 0", {}},
        {"nearly too long", long_name + "\n", "exit 0", {long_name}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        Answer(c.answer, c.end);
        EXPECT_EQ(OpenSeveral(kFilter, "/start"), c.names);
        std::string name;
        if (c.names.size() == 1) {
            EXPECT_TRUE(OpenOne(name, kFilter));
        }
    }
    // kdialog gives a name a line.
    setenv("XDG_CURRENT_DESKTOP", "KDE", 1);
    Answer("/d/a\n/d/b\nof two lines\n");
    EXPECT_EQ(OpenSeveral(kFilter, ""), (Names{"/d/a", "/d/b\nof two lines"}));
    std::string name = "kept", folder = "kept";
    Answer("/" + std::string(MAX_PATH, 'n') + "\n");
    EXPECT_FALSE(SaveOne(name, kFilter));
    EXPECT_EQ(BrowseFolder(folder), S_FALSE);
    EXPECT_EQ(name + folder, "keptkept");
}

TEST_F(ProgramsTest, NamesAndTitlesReachTheProgramAsTheyAre) {
    std::string name = (TempFolder() / "-x 'q\"|;\n\xC3\xBC.avi").string();
    std::ofstream(name) << "x";
    Answer("", "exit 1");
    const std::string start = name;
    EXPECT_FALSE(OpenOne(name, kFilter));
    EXPECT_EQ(name, start) << "cancelled";
    EXPECT_THAT(Asked(),
                testing::ElementsAre("--file-selection", "--title=Open Media File", "--filename=" + start,
                                     "--file-filter=Films | *.[aA][vV][iI] *.[mM][pP]4",
                                     "--file-filter=All files(*.*) | *"));
    EXPECT_FALSE(SaveOne(name, "A\nB|*.x||"));
    EXPECT_THAT(Asked(), testing::Contains("--file-filter=A B | *.[xX]"));
    std::string folder = TempFolder().string();
    EXPECT_EQ(BrowseFolder(folder), S_FALSE);
    EXPECT_THAT(Asked(), testing::ElementsAre("--file-selection", "--title=Browse For Folder", "--directory",
                                              "--filename=" + folder));
    setenv("XDG_CURRENT_DESKTOP", "KDE", 1);
    EXPECT_FALSE(OpenOne(name, kFilter));
    EXPECT_THAT(Asked(), testing::ElementsAre("--title", "Open Media File", "--getopenfilename", start,
                                              "Films (*.[aA][vV][iI] *.[mM][pP]4)\nAll files(*.*) (*)"));
    Dialogs().error_box("--help 'x'");
    EXPECT_THAT(Asked(), testing::Contains("--help 'x'"));
}

TEST_F(ProgramsTest, TheProgramHasAllCharactersInEveryLocale) {
    const std::string before = std::getenv("LC_ALL") ? std::getenv("LC_ALL") : "";
    for (const char* locale : {"C", "C.UTF-8", "no_SUCH"}) {
        setenv("LC_ALL", locale, 1);
        Answer("/d/\xC3\xBC\xE6\x97\xA5.avi\n");
        std::string name, charset;
        EXPECT_TRUE(OpenOne(name, kFilter)) << locale;
        EXPECT_EQ(name, "/d/\xC3\xBC\xE6\x97\xA5.avi") << locale;
        std::getline(std::ifstream(folder_ / "charset") >> std::ws, charset);
        EXPECT_EQ(charset, "UTF-8") << locale;
    }
    setenv("LC_ALL", before.c_str(), 1);
}

TEST_F(ProgramsTest, ColoursComeInTheFormsOfTheProgramsVersions) {
    struct Case {
        const char* answer;
        std::optional<DWORD> color;  // red in the low byte
    };
    const Case cases[] = {
        {"rgb(1,2,3)\n", 0x030201},    {"rgba(1,2,3,0.5)\n", 0x030201}, {"#010203\n", 0x030201},
        {"#010102020303\n", 0x030201}, {"rgb(1, 2, 3)\n", 0x030201},    {"rgb(256,2,3)\n", std::nullopt},
        {"rgb(1,2", std::nullopt},     {"rgb(-1,2,3)", std::nullopt},   {"#0102\n", std::nullopt},
        {"#01020g\n", std::nullopt},   {"red\n", std::nullopt},         {"", std::nullopt},
        {"#-10203\n", std::nullopt},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.answer);
        Answer(c.answer);
        DWORD color = 0x0080FF, custom[kCustomColors] = {};
        EXPECT_EQ(Dialogs().choose_color(color, custom), c.color.has_value());
        EXPECT_EQ(color, c.color.value_or(0x0080FF));
        EXPECT_THAT(Asked(), testing::Contains("--color=#ff8000"));
    }
}

TEST_F(ProgramsTest, WhatCantBeRememberedStillCounts) {
    const auto change = [](const std::string& sql) {
        return std::system(("sqlite3 \"$BV_REGISTRY\" \"" + sql + '"').c_str());
    };
    for (const char* table : {"keys", "entries"})
        ASSERT_EQ(change(std::string("CREATE TRIGGER no_") + table + " BEFORE INSERT ON " + table +
                         " BEGIN SELECT RAISE(ABORT, 'barred'); END"),
                  0);
    const auto selecter = NewOwn<IMediaSelecter>(clsid::MediaSelecter);
    Answer("/d/a.avi\n");
    EXPECT_EQ(selecter->Simple(), S_OK);
    EXPECT_EQ(CountOf(selecter), 1);
    const Node color(NewOwn<IProperty>(clsid::PropertyWatermarkBackgroundColor));
    Answer("#010203\n");
    EXPECT_EQ(color->ShowDialog(), S_OK);
    EXPECT_EQ(color.Value(), Str(L"0x010203"));
    EXPECT_EQ(change("DROP TRIGGER no_keys; DROP TRIGGER no_entries"), 0);
    EXPECT_FALSE(KeyExists(HKEY_CURRENT_USER, L"Software\\Brenvaltide"));
}

TEST_F(ProgramsTest, WithoutADisplayOrAProgramItIsCancelledAtOnce) {
    Answer("/d/a.avi\n");
    std::filesystem::remove(folder_ / "asked");
    std::string name;
    unsetenv("DISPLAY");
    EXPECT_FALSE(OpenOne(name, kFilter));
    setenv("DISPLAY", ":99", 1);
    setenv("PATH", "/nowhere", 1);
    EXPECT_FALSE(OpenOne(name, kFilter));
    EXPECT_EQ(BrowseFolder(name), S_FALSE);
    EXPECT_TRUE(Asked().empty());
}

}  // namespace
}  // namespace bv::test
