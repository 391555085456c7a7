// The language of registry scripts, in a scratch key of the user.
#include <cstring>

#include "module/script.h"

#include "support/registry.h"

namespace bv::test {
namespace {

class ScriptTest : public testing::Test {
protected:
    /// Runs the body of a block in the scratch key, and gives what stands there then.
    HRESULT Run(const std::string& body, bool registering = true) {
        const Replacement values[] = {{"Module", "C:\\Tom''s\\%x%.dll"}, {"Name", "v"}};
        return RunScript("HKCU\r\n{\r\n\tNoRemove BVScratch\r\n\t{\r\n" + body + "\r\n\t}\r\n}\r\n", values,
                         registering);
    }
    std::string Now() const { return Snapshot(HKEY_CURRENT_USER, L"BVScratch"); }

    TestKey scratch{HKEY_CURRENT_USER, L"BVScratch"};
};

TEST_F(ScriptTest, WritesKeysAndValues) {
    const struct {
        const char* body;
        const char* after;
    } cases[] = {
        {"", ""},
        {"a = s 'x'", "a = x\n"},
        {"a { b { c } }", "a\n a\\b\n a\\b\\c\n"},
        {"a = s 'x' { val n = s 'y' }", "a = x\n  n = y\n"},
        {"val n = s y VAL M = S 'z'", "  M = z\n  n = y\n"},
        {"a = d 4294967295 b = d '7' c = d 99999999999 e = d x",
         "a = #4294967295\nb = #7\nc = #4294967295\ne = #0\n"},
        {"a = b 00fFg1 b = b ''", "a = 00FF01\nb = \n"},
        {"a = s 'it''s 100%% = { } %mOdUlE%'", "a = it's 100% = { } C:\\Tom's\\%x%.dll\n"},
        {"'a key' = s '' %name%1", "a key = \nv1\n"},
        {"a = s 'x' Delete a = s 'y' b", "b\n"},
        {"Delete none b", "b\n"},
        {"a { b } ForceRemove a = s 'z'", "a = z\n"},
        {"CLSID { a } ForceRemove clsid { b } TypeLib { a } Delete TYPELIB z",
         "CLSID\n CLSID\\a\n CLSID\\b\nTypeLib\n TypeLib\\a\nz\n"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.body);
        EXPECT_EQ(Run(c.body), S_OK);
        std::string expected = c.after, now = Now();
        for (std::string* text : {&expected, &now})
            text->erase(std::remove(text->begin(), text->end(), ' '), text->end());
        EXPECT_EQ(now, expected);
        RegDeleteTreeW(scratch, nullptr);
    }
}

TEST_F(ScriptTest, AFaultIsTakenBack) {
    const std::string longest(4094, 'q');
    ASSERT_EQ(Run("a = s '" + longest + "'"), S_OK);
    RegDeleteTreeW(scratch, nullptr);
    const struct {
        const char* what;
        std::string body;
        HRESULT status;
    } cases[] = {
        {"a type that is none", "a = x 'y'", DISP_E_EXCEPTION},
        {"a quoted type", "a = 's' 'y'", DISP_E_EXCEPTION},
        {"bytes of odd length", "a = b 012", E_FAIL},
        {"a key with a backslash", "a\\b", DISP_E_EXCEPTION},
        {"to be forced away", "ForceRemove a\\b", DISP_E_EXCEPTION},
        {"to be deleted", "Delete 'a\\b'", DISP_E_EXCEPTION},
        {"inside of blocks", "a = s 'x' { b { val n = s 'y' } c { d { e\\f } } }", DISP_E_EXCEPTION},
        {"inside of blocks that aren't closed", "a = s 'x' { b { val n = s 'y' c", DISP_E_EXCEPTION},
        {"odd bytes inside of blocks", "a { b { val n = b 0 } }", E_FAIL},
        {"val without =", "val n s 'x'", DISP_E_EXCEPTION},
        {"no value", "a = s", DISP_E_EXCEPTION},
        {"a brace where a key goes", "{ }", DISP_E_EXCEPTION},
        {"a = where a key goes", "= s 'x'", DISP_E_EXCEPTION},
        {"a quote that isn't closed", "a = s 'x", DISP_E_EXCEPTION},
        {"a block that isn't closed", "a {", DISP_E_EXCEPTION},
        {"an end", std::string("a") + '\0', DISP_E_EXCEPTION},
        {"a quoted text that is too long", "a = s '" + longest + "q'", DISP_E_EXCEPTION},
        {"another replacement", "a = s '%OTHER%'", DISP_E_EXCEPTION},
        {"one that isn't closed", "a = s '%Module'", DISP_E_EXCEPTION},
        {"a name of 32 characters", "a = s '%" + std::string(32, 'n') + "%'", E_FAIL},
        {"one of 31", "a = s '%" + std::string(31, 'n') + "%'", DISP_E_EXCEPTION},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(Run("first = s 'x' { val n = s 'y' second }\n" + c.body), c.status);
        EXPECT_EQ(Now(), "") << "what stood before the fault has gone again";
        RegDeleteTreeW(scratch, nullptr);
    }
    std::string endless;
    for (int i = 0; i < 100000; ++i) endless += "k { ";
    for (const bool registering : {true, false}) {
        EXPECT_EQ(Run(endless, registering), DISP_E_EXCEPTION);
        EXPECT_EQ(Now(), "");
    }
    // A key without a name is no way to the enclosing one.
    for (const char* body : {"''", "ForceRemove '' = s 'y'", "Delete ''", "NoRemove '' { a }"}) {
        ASSERT_EQ(Run("kept = s 'x'"), S_OK);
        for (const bool registering : {true, false})
            EXPECT_EQ(Run(body, registering), DISP_E_EXCEPTION) << body;
        EXPECT_EQ(Now(), "kept = x\n") << body;
    }
}

TEST_F(ScriptTest, TopLevelIsRootKeysWithBlocks) {
    for (const char* script : {"HKXX { a }", "HKCU", "HKCU a", "{ }", "HKCU = s 'x'"})
        EXPECT_EQ(RunScript(script, {}, true), DISP_E_EXCEPTION) << script;
    EXPECT_EQ(RunScript("", {}, true), S_OK);
    EXPECT_EQ(RunScript("hkcu { } HKEY_CURRENT_USER { NoRemove BVScratch { x } }", {}, true), S_OK);
    EXPECT_EQ(Now(), "x\n");
    EXPECT_EQ(RunScript("HKEY_current_user { NoRemove BVScratch { x } } HKCU", {}, false), DISP_E_EXCEPTION);
    EXPECT_EQ(Now(), "");
}

TEST_F(ScriptTest, UnregisteringLeavesWhatTheScriptDoesntKnow) {
    const std::string script =
        "name = s 'd' { CLSID = s '{1}' }\n"
        "NoRemove shared { ForceRemove {1} = s 'd' { ProgID = s 'name' Server = s 'm' { val Model = s 'both' "
        "} } }\n"
        "after = s 'x'\n"
        "val n = s 'y'\n";
    const struct {
        const char* what;
        const char* stray;  // a key that somebody added
        const char* after;
    } cases[] = {
        {"nothing", nullptr, "after = x\nshared\n"},  // NoRemove holds for the rest of its block
        {"below the name", "name\\stray", "after = x\nname = d\nname\\stray\nshared\n"},
        {"below the class", "shared\\{1}\\stray", "after = x\nshared\nshared\\{1} = d\nshared\\{1}\\stray\n"},
        {"beside the class", "shared\\stray", "after = x\nshared\nshared\\stray\n"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        ASSERT_EQ(Run(script), S_OK);
        ASSERT_EQ(Run(script), S_OK);
        if (c.stray) scratch.Put(std::wstring(c.stray, c.stray + std::strlen(c.stray)), nullptr, L"");
        EXPECT_EQ(Run(script, false), S_OK);
        std::string now = Now(), expected = c.after;
        const size_t stray = now.find("stray = ");
        if (stray != now.npos) now.erase(stray + 5, 3);
        for (std::string* text : {&expected, &now})
            text->erase(std::remove(text->begin(), text->end(), ' '), text->end());
        EXPECT_EQ(now, expected);
        EXPECT_EQ(Run(script, false), S_OK) << "and again, with most of it gone";
        RegDeleteTreeW(scratch, nullptr);
    }
    // A named value that the script doesn't know goes with its key.
    ASSERT_EQ(Run("a = s 'x' { val n = s 'y' }"), S_OK);
    scratch.Put(L"a", L"stray", L"z");
    EXPECT_EQ(Run("a = s 'x' { val n = s 'y' }", false), S_OK);
    EXPECT_EQ(Now(), "");
    // Delete and ForceRemove are plain keys then.
    ASSERT_EQ(Run("a b c"), S_OK);
    EXPECT_EQ(Run("Delete a = s 'x' ForceRemove b", false), S_OK);
    EXPECT_EQ(Now(), "c\n");
}

}  // namespace
}  // namespace bv::test
