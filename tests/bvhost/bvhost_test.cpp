// bvhost as a process: what it prints, what it writes, how it ends.
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "bvhost/bvhost_process.h"
#include "platform/probe.h"
#include "support/node.h"
#include "support/registry.h"

namespace bv::test {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::Not;

constexpr const char* kAnyScript = "Übung 日本 'a' $x 😀";
constexpr int kWarned = 3, kCancelled = 4, kNoScreen = 5;  // exit codes

class BvhostTest : public testing::Test {
protected:
    static void SetUpTestSuite() {
        fs::create_directory(Folder());
        ASSERT_EQ(CallModule(kSamplesFile, "DllRegisterServer"), S_OK);
    }
    static void TearDownTestSuite() { EXPECT_EQ(CallModule(kSamplesFile, "DllUnregisterServer"), S_OK); }

    static Outcome Run(const std::string& arguments, const std::string& before = "") {
        return RunBvhost(arguments, "", before);
    }
    struct Case {
        std::string arguments;
        int exit_code;
        std::string text;  // what stands somewhere in what it prints
    };
    static void Check(std::initializer_list<Case> cases) {
        for (const Case& c : cases) {
            SCOPED_TRACE(c.arguments);
            const Outcome outcome = Run(c.arguments);
            EXPECT_EQ(outcome.exit_code, c.exit_code);
            EXPECT_THAT(outcome.text, HasSubstr(c.text));
        }
    }
    /// All files lie where a name needs quotes, and characters that no code page but UTF-8 has.
    static fs::path Folder() { return TempFolder() / PathOf(kAnyScript); }
    static std::string File(const char* name) { return ShellWord(Folder() / name); }
    static fs::path ClipFile() {
        return (DataFolder().parent_path() / "samples/media/clip.mp4").make_preferred();
    }
    static std::string Clip() { return ShellWord(ClipFile()); }
};

TEST_F(BvhostTest, TellsWhyASettingIsNotShown) {
    Check({{"why Mode", 0, "it is shown and can be edited\n"},
           {"why FileNamePattern", 0,
            "hidden while Mode is Single; shown by Mode = Multiply\n  try: --set \"Mode=Multiply\"\n"},
           {"why SplitLength --set Mode=Multiply", 0,
            "disabled while Use split is off; enabled by Use split = on\n"},
           {"why FastStart --json", 0, "\"state\": \"absent\""},
           {"why Mod", 1, "did you mean \"Mode\"?"}});
}

TEST_F(BvhostTest, KeepsPresetsAndComparesJobs) {
    static std::string variable =
        (kInFull ? "XDG_CONFIG_HOME=" : "APPDATA=") + (TempFolder() / "config").string();
    ASSERT_EQ(putenv(variable.data()), 0);  // which keeps the text itself
    const auto run = [](const std::string& arguments) { return Run(arguments); };
    EXPECT_THAT(run("preset list").text, HasSubstr("there are no presets yet"));
    const Outcome kept =
        run("preset save \"For the web\" --format MP4 --set Mode=Multiply --set \"SplitLength=250 frm\"");
    EXPECT_EQ(kept.text, "Kept 3 settings as \"For the web\"\n");
    EXPECT_EQ(run("preset list").text, "For the web\n");
    EXPECT_THAT(run("preset show \"For the web\"").text, HasSubstr("SplitLength = 250 frm\n"));
    EXPECT_EQ(run("preset apply \"For the web\" --output " + File("web.xml")).exit_code, 0);
    EXPECT_EQ(run("diff " + File("web.xml")).text,
              "Main/OutputFileFormat                   AVI -> MP4\n"
              "Main/Common/Output/Mode                 Single -> Multiply\n"
              "Main/Common/Output/IsSplit/SplitLength  10 s -> 250 frm\n");
    EXPECT_EQ(run("diff " + File("web.xml") + ' ' + File("web.xml")).text, "no setting differs\n");
    EXPECT_EQ(run("preset show \"For the wep\"").exit_code, 1);
    EXPECT_EQ(run("preset save ../web").exit_code, 1);
    EXPECT_EQ(run("preset remove \"For the web\"").exit_code, 0);
    EXPECT_EQ(run("preset remove \"For the web\"").exit_code, 1);
}

TEST_F(BvhostTest, WritesReadsAndWritesTheSameBytes) {
    const Outcome made =
        Run("job --input " + Clip() +
            " --duration 3 --set Mode=multiply --set OutputFileFormat=MP4 "
            "--set \"SplitLength=250 frm\" --set IsSplit=on --set \"OutputMediaName=Tom's & Co <1>.mp4\" "
            "--set Common/Output/Overwrite=off --output " +
            File("first.xml"));
    ASSERT_EQ(made.exit_code, 0) << made.text;
    EXPECT_THAT(made.text,
                HasSubstr("shows     DestinationPath, FileNamePattern, IsSplit, SplitLength, Exactly\n"));
    EXPECT_THAT(made.text, HasSubstr("hides     OutputMediaName\n"));
    EXPECT_THAT(made.text, HasSubstr("enables   SplitLength, Exactly\n"));
    EXPECT_THAT(made.text, testing::ContainsRegex("shows     MP4 with .* below it\n"));
    const std::string first = ReadAll(Folder() / "first.xml");
    EXPECT_THAT(first, HasSubstr("<Mode value='2' type='3'>\n"));
    EXPECT_THAT(first, HasSubstr("<SplitLength value='250' type='3' ext='3' extType='3'>\n"));
    EXPECT_THAT(first, HasSubstr("value='Tom&apos;s &amp; Co &lt;1&gt;.mp4'"));
    EXPECT_THAT(first, HasSubstr("<MP4>\n"));

    const Outcome again =
        Run("job --from " + File("first.xml") + " --duration 3 --output " + File("second.xml"));
    EXPECT_EQ(again.exit_code, 0);
    EXPECT_THAT(again.text, Not(HasSubstr("warning")));
    EXPECT_EQ(ReadAll(Folder() / "second.xml"), first);
}

TEST_F(BvhostTest, TakesNamesInAnyScript) {
    const std::string name = kAnyScript;
    const auto file = [&](const char* extension) { return Folder() / PathOf(name + extension); };
    fs::copy_file(ClipFile(), file(".mp4"));
    const std::string input = " --input " + ShellWord(file(".mp4")) + " --duration 3";
    const Outcome made =
        Run("job" + input + " --set Mode=Multiply --set DestinationPath=" + ShellWord(Folder()) +
            " --output " + ShellWord(file(".xml")));
    EXPECT_EQ(made.exit_code, kInFull ? 0 : kWarned) << made.text;
    EXPECT_THAT(made.text, HasSubstr("Input    " + Utf8Name(file(".mp4")) + "\n         3.00 s"));
    EXPECT_THAT(made.text, HasSubstr("Wrote    " + Utf8Name(file(".xml")) + ", "));
    if (kInFull) {
        EXPECT_THAT(made.text, Not(HasSubstr("warning")));
        Check({
            {"job --duration 3 --from " + ShellWord(file(".xml")) + " --output " + File("again.xml"), 0,
             "Input    " + Utf8Name(file(".mp4")) + "\n         3.00 s"},
            {"expand --from " + ShellWord(file(".xml")) + " '%sf|%of'", 0, name + ".mp4|" + name + ".avi\n"},
            {"tree --input '\xDC.mp4'", 1, "bvhost: \"\xEF\xBF\xBD.mp4\" isn't UTF-8\n"},
        });
        EXPECT_EQ(ReadAll(Folder() / "again.xml"), ReadAll(file(".xml")));
        const std::string elsewhere = "BV_REGISTRY=" + ShellWord(file(".db")) + ' ';
        EXPECT_THAT(Run("registry", elsewhere).text, HasSubstr("Nothing is registered"));
        EXPECT_TRUE(fs::exists(file(".db")));
    } else {  // the narrow code page of a settings file hasn't all of it
        EXPECT_THAT(made.text, HasSubstr("warning: PathToMediaFile: "));
    }

    EXPECT_EQ(Run("cuts add " + ShellWord(file(".tlc")) + " 0-25" + input).exit_code, 0);
    EXPECT_THAT(Run("cuts list " + ShellWord(file(".tlc")) + input).text, HasSubstr("encoded: 1.000 s\n"));
    EXPECT_TRUE(fs::exists(file(".tlc")));
    Check({{"cuts check " + ShellWord(file(".tlc")), 0, name + ".tlc: 1 cut\n"},
           {"tree --input " + ShellWord(file(".none")), 1, name + ".none\n"}});

    // Nothing in a name moves the cursor or turns the text, and wide characters take two columns of a line.
    std::string word;
    while (word.size() < 90) word += "日";
    Check({
        {"show OutputMediaName --set " +
             ShellWord(std::string("OutputMediaName=日本\xC2\x9B\xE2\x80\xAE.mp4")),
         0, "日本 .mp4 (text)\n"},
        {"show OutputMediaName --set " + ShellWord("OutputMediaName=" + word + ' ' + word), 0, word + "\n  "},
    });

    // A module registers itself from where it lies, and is loaded from there.
    const fs::path module = Folder() / PathOf(kModuleFile);
    fs::copy_file(BinFolder() / PathOf(kModuleFile), module);
    EXPECT_EQ(Run("register " + ShellWord(module)).text, "registered    " + Utf8Name(module) + '\n');
    EXPECT_EQ(Run("unregister " + ShellWord(BinFolder() / PathOf(kSamplesFile))).exit_code, 0);
    EXPECT_EQ(Run("registry").text.find(Utf8Name(BinFolder())), std::string::npos);
    EXPECT_EQ(Run("tree").exit_code, 0);
    EXPECT_EQ(Run("register").exit_code, 0);
}

TEST_F(BvhostTest, CutsGoThroughFilesAndJobs) {
    const std::string of_clip = " --input " + Clip() + " --duration 3", file = File("cuts.tlc");
    fs::remove(Folder() / "cuts.tlc");
    const Outcome made = Run("cuts add " + file + " 0-25 0:00:01.500-0:00:03.000" + of_clip);
    EXPECT_EQ(made.exit_code, 0);
    EXPECT_EQ(made.text,
              "   Start         End           Length                Output\n"
              "1  0             25            Length: 1 c (25 frm)  Use global settings\n"
              "2  00:00:01.480  00:00:03.000  Length: 1 c (38 frm)  Use global settings\n"
              "encoded: 2.520 s\n");
    const std::string kept = ReadAll(Folder() / "cuts.tlc");
    EXPECT_EQ(Run("cuts list " + file + of_clip).text, made.text);
    EXPECT_THAT(Run("cuts list " + file).text,
                HasSubstr("2  37     75   Length: 38 frm  Use global settings\n"));

    Check({
        {"cuts add " + file + " 0-1 30-20", 1,
         "bvhost: cut 30-20: Start point should be less than End point!\n"},
        {"cuts add " + file + " 5--10", 1, "bvhost: cut 5--10: This value cannot be negative.\n"},
        {"cuts add " + file + " 0:0:1-9" + of_clip, 1, "The time value is wrong. Please use: hh:mm:ss.nn\n"},
        {"cuts add " + file + " 0:0:1.0-99", 1, "Couldn't find parser. Times need the clip: --input FILE\n"},
        {"cuts add " + file + " 1.5-9", 1, "\"1.5\" is neither a frame nor a time\n"},
        {"cuts add " + file + " 0-99999999999", 1, "is neither a frame nor a time\n"},
        {"cuts add " + file + " 12", 1, "a cut is START-END, in frames or times, not \"12\"\n"},
        {"cuts remove " + file + " 1 3", 1, "there is no cut 3; the file has 2\n"},
        {"cuts save " + file, 1, "takes a job: --from or --input\n"},
        {"cuts list " + File("gone.tlc"), 1, "gone.tlc: Couldn't load config.\n"},
        {"cuts list " + file + of_clip + " --still", 0, "encoded: 0.004 s\n"},
        {"cuts save " + ShellWord(Folder()) + of_clip, 1, ": Couldn't create file.\n"},
        {"job --cut 0-1", 1, "there is no input to cut\n"},
    });
    EXPECT_EQ(ReadAll(Folder() / "cuts.tlc"), kept);

    // The same cuts given to a job, or taken from the file into one: inside of its input.
    const Outcome job =
        Run("job" + of_clip + " --cut 0-25 --cut 0:00:01.500-0:00:03.000 --output " + File("job.xml"));
    EXPECT_EQ(job.exit_code, 0);
    EXPECT_THAT(job.text, HasSubstr("         encoded: 2.520 s\n"));
    const std::string xml = ReadAll(Folder() / "job.xml");
    const size_t first = xml.find("<Timeline>\n"), last = xml.rfind("</Timeline>\n");
    ASSERT_NE(first, xml.npos);
    EXPECT_LT(xml.find("<Timelines value='1' type='3'>\n"), first);
    EXPECT_LT(last, xml.find("</FILES>"));
    EXPECT_EQ(Run("cuts load " + file + of_clip + " --output " + File("loaded.xml")).exit_code, 0);
    EXPECT_EQ(ReadAll(Folder() / "loaded.xml"), xml);
    const std::string from_job = "cuts save " + File("saved.tlc") + " --duration 3 --from " + File("job.xml");
    EXPECT_EQ(Run(from_job).text, made.text);
    EXPECT_EQ(ReadAll(Folder() / "saved.tlc"), kept);
    EXPECT_NE(Run("job" + of_clip + " --cut 9-1 --output " + File("none.xml")).exit_code, 0);
    EXPECT_FALSE(fs::exists(Folder() / "none.xml"));

    EXPECT_EQ(Run("cuts check " + file + of_clip).exit_code, 0);
    const Outcome empty = Run("cuts add " + file + " 60-60 80-200");
    EXPECT_EQ(empty.exit_code, kWarned);
    EXPECT_THAT(empty.text, HasSubstr("bvhost: warning: cut 3 is empty\n"));
    const Outcome checked = Run("cuts check " + file + ' ' + File("gone.tlc") + of_clip);
    EXPECT_EQ(checked.exit_code, 1);
    for (const char* line : {"cut 3 is empty\n", "cut 4 begins at or after the source's end\n",
                             ": 4 cuts, encoded: 2.520 s\n", "gone.tlc: Couldn't load config.\n"})
        EXPECT_THAT(checked.text, HasSubstr(line));
    EXPECT_EQ(Run("cuts remove " + file + " 4 3 3").exit_code, 0);
    if (kInFull) {  // a full disk: what was there stays
        // The registry wants some room to be read, unless it is open in another process already.
        ASSERT_TRUE(KeyExists(HKEY_CLASSES_ROOT, L"CLSID"));
        const Outcome full = Run("cuts add " + file + " 80-90", "trap '' XFSZ; ulimit -f 1; ");
        EXPECT_EQ(full.exit_code, 1);
        EXPECT_THAT(full.text, HasSubstr("cuts.tlc: Couldn't create file.\n"));
    }
    EXPECT_EQ(ReadAll(Folder() / "cuts.tlc"), kept);
    EXPECT_EQ(Run("cuts remove " + file + " 1 2").text, "no cuts\n");
}

/// Gives this program's standard output, and so those of the programs that it starts, a file that can
/// only be read.
class UnwritableOutput {
public:
    explicit UnwritableOutput(const fs::path& file) : before_(dup(1)) {
        std::fflush(stdout);
        const int input = open(file.string().c_str(), O_RDONLY);
        dup2(input, 1);
        close(input);
    }
    UnwritableOutput(const UnwritableOutput&) = delete;
    UnwritableOutput& operator=(const UnwritableOutput&) = delete;
    ~UnwritableOutput() {
        dup2(before_, 1);
        close(before_);
    }

private:
    int before_;
};

TEST_F(BvhostTest, SaysThatWhatItPrintsIsLost) {
    std::vector<const char*> ways = {nullptr};
    if (kInFull) ways = {nullptr, " >/dev/full", " >&-"};
    const std::string cuts = File("lost.tlc");
    Run("cuts add " + cuts + " 0-5");
    WriteAll(TempFolder() / "readable.txt", "");
    for (const std::string& command :
         {std::string("tree"), std::string("tree --json"), std::string("show Mode"),
          std::string("job --output -"), std::string("registry"), "cuts list " + cuts, std::string("types"),
          std::string("--help")}) {
        for (const char* way : ways) {
            SCOPED_TRACE(command + (way ? way : ""));
            Outcome outcome;
            if (way) {
                outcome = RunBvhost(command, "", "", way);
            } else {
                const UnwritableOutput unwritable(TempFolder() / "readable.txt");
                outcome = RunBvhost(command, "", "", nullptr);
            }
            EXPECT_EQ(outcome.exit_code, 1);
            EXPECT_THAT(outcome.text, HasSubstr("bvhost: standard output can't be written: "));
        }
    }
    if (!kInFull) return;
    Check({{"job --output /dev/full", 1, "bvhost: /dev/full can't be written\n"}});
    // A file that is opened doesn't take the place of a closed standard output.
    RunBvhost("job --output " + File("beside.xml"), "", "", " >&-");
    EXPECT_THAT(ReadAll(Folder() / "beside.xml"), testing::EndsWith("</Main>\n"));
}

TEST_F(BvhostTest, WarnsOfInputsAndCutsButWritesTheJob) {
    WriteAll(Folder() / "zero.mp4", "");
    WriteAll(Folder() / "text.mp4", "no pictures, no sound\n");
    const std::string clip = ReadAll(DataFolder().parent_path() / "samples/media/clip.mp4");
    WriteAll(Folder() / "half.mp4", clip.substr(0, clip.size() / 2));
    const std::string of_clip = "job --input " + Clip() + " --duration 4 ",
                      part = " is damaged or not whole: ";
    const std::string output = "--output " + File("warned.xml");
    const bool reads_media = Run("job --input " + Clip()).exit_code == 0;
    const Case cases[] = {
        {"job --input " + File("zero.mp4"), kWarned, "zero.mp4: the file is empty\n"},
        {"job --input " + ShellWord(Folder()), kWarned, ": this is a folder\n"},
        {"job --input " + File("text.mp4"), kWarned,
         reads_media ? "text.mp4: it can't be read: " : "reads no media files"},
        {"job --input " + File("half.mp4"), kWarned,
         reads_media ? "half.mp4: it" + part : "reads no media files"},
        {of_clip + "--cut 5000-6000", kWarned, "cut 1 begins at or after the source's end\n"},
        {of_clip + "--cut 0-5 --cut 7-7", kWarned, "cut 2 is empty\n"},
        {of_clip + "--cut 0-5", 0, "encoded: 0.200 s\n"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.arguments);
        fs::remove(Folder() / "warned.xml");
        const Outcome outcome = Run(c.arguments + ' ' + output);
        EXPECT_EQ(outcome.exit_code, c.exit_code);
        EXPECT_THAT(outcome.text, HasSubstr(c.text));
        EXPECT_EQ(outcome.text.find("bvhost: warning: ") != std::string::npos, c.exit_code == kWarned);
        EXPECT_THAT(ReadAll(Folder() / "warned.xml"), HasSubstr("</Main>"));
    }
}

TEST_F(BvhostTest, SaysWhatIsWrongInOneLine) {
    std::string deep, wide(600, 'x');
    for (int i = 0; i < 100; ++i) deep += "<a>";
    WriteAll(Folder() / "cut.xml", "<Main>\n<Common>\n");
    WriteAll(Folder() / "twice.xml", "<Main>\n<Mode value='1' type='3' value='2'>\n</Mode>\n</Main>\n");
    WriteAll(Folder() / "entity.xml", "<Main>\n<Mode value='&bomb;' type='8'>\n</Mode>\n</Main>\n");
    WriteAll(Folder() / "deep.xml", deep);
    WriteAll(Folder() / "other.xml", "<Timeline>\n</Timeline>\n");
    Check({
        {"job --set SplitLength=-5 --output " + File("none.xml"), 1,
         "bvhost: SplitLength=-5: This value cannot be negative.\n"},
        {"job --set Mod=Single", 1, "bvhost: there is no setting \"Mod\", did you mean \"Mode\"?\n"},
        {"job --set Mode=Singel", 1, "the choices are \"Single\", \"Multiply\", did you mean \"Single\"?\n"},
        {"job --set OutputFileFormat=AVJ", 1, "did you mean \"AVI\"?\n"},
        {"job --set SplitLength=many", 1,
         "this setting takes a whole number from 0 to 2147483647, "
         "and behind a blank its unit: s, ms, frm\n"},
        {"job --set Output=1", 1, "this is a group, it has no value\n"},
        {"job --set Mode", 1, "--set takes NAME=VALUE"},
        {"show " + wide, 1, "bvhost: there is no setting \"xxx"},
        {"job --input " + File("gone.mp4"), 1, "bvhost: there is no file "},
        {"job --from " + File("gone.xml"), 1, ": there is no such file\n"},
        {"job --from " + File("cut.xml"), 1, ": line 3: the file ends inside of Common\n"},
        {"job --from " + File("twice.xml"), 1,
         ": line 2: the attribute value is unknown or stands here twice\n"},
        {"job --from " + File("entity.xml"), 1, ": line 2: an unknown "},
        {"job --from " + File("deep.xml"), 1, "elements lie more than 64 deep\n"},
        {"job --from " + File("other.xml"), 1, "these are settings of \"Timeline\", not of a job\n"},
        {"register " + File("cut.xml"), 1, "cut.xml: "},
        {"tree --format pgn", 1,
         "the choices are \"AVI\", \"MP4\", \"Picture\" (PNG), did you mean \"PNG\"?\n"},
        {"expand " + wide, 1, "bvhost: the text is too long"},
        {"expand --set FORMAT=1 x", 1, "bvhost: there is no setting \"FORMAT\""},
    });
    EXPECT_FALSE(fs::exists(Folder() / "none.xml"));
}

TEST_F(BvhostTest, TakesAndRefusesValuesByWhatTheSettingIs) {
    const char* const whole = "this setting takes a whole number from ";
    const char* const size = "this setting takes <source> or pixels from 1x1 to 16384x16384";
    const char* const crop = "this setting takes <none> or the pixels \"left,top,right,bottom\"";
    const char* const colour = "this setting takes a colour, 0xRRGGBB";
    const char* const font = "this setting takes a font, such as \"FONT=";
    const struct {
        const char* setting;
        const char* shown;  // null: refused
        const char* takes = "";
    } cases[] = {
        {"VideoBitrate=1500", "VideoBitrate = 1500 kbit/s\n"},
        {"VideoBitrate=1.5", nullptr, whole},
        {"VideoBitrate=", nullptr, whole},
        {"VideoBitrate=12x", nullptr, whole},
        {"VideoBitrate=99999999999", nullptr, whole},
        {"Mode=2", "Mode = Multiply\n"},
        {"Mode=", nullptr, "the choices are \"Single\", \"Multiply\"\n"},
        {"Mode=7", nullptr, "the choices are \"Single\", \"Multiply\"\n"},
        {"FrameRate=15.5", nullptr, "the choices are \"15 fps"},
        {"OutputFileFormat=", nullptr, "the choices are \"AVI\""},
        {"Overwrite=off", "Overwrite = off\n"},
        {"Overwrite=1", "Overwrite = on\n"},
        {"Overwrite=7", nullptr, "this setting is \"on\" or \"off\"\n"},
        {"Overwrite=", nullptr, "this setting is \"on\" or \"off\"\n"},
        {"Size=640x360", "Size = 640x360\n"},
        {"\"Size=<source>\"", "Size = <source>\n"},
        {"Size=-5x99999999", nullptr, size},
        {"Size=640x360p", nullptr, size},
        {"Size=0x0", nullptr, size},
        {"WaterMarkLogoImageSize=big", nullptr, size},
        {"Crop=0,0,640,480", "Crop = 0,0,640,480\n"},
        {"Crop=rubbish", nullptr, crop},
        {"Crop=640,0,20,480", nullptr, crop},
        {"Crop=0,0,640", nullptr, crop},
        {"WaterMarkTextColor=0xff8000", "WaterMarkTextColor = 0xff8000\n"},
        {"WaterMarkTextColor=red", nullptr, colour},
        {"WaterMarkTextColor=", nullptr, colour},
        {"WatermarkTransparentColor=", "WatermarkTransparentColor =\n"},
        {"WatermarkTransparentColor=red", nullptr, "such as 0xFF0000 for red, or nothing\n"},
        {"\"WaterMarkTextFont=FONT=Arial;SIZE=12;\"", "WaterMarkTextFont = FONT=Arial;SIZE=12;"},
        {"WaterMarkTextFont=Arial", nullptr, font},
        {"OutputMediaName=", "OutputMediaName =\n"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.setting);
        const Outcome outcome = Run(std::string("job --set ") + c.setting);
        EXPECT_EQ(outcome.exit_code, c.shown ? 0 : 1);
        EXPECT_THAT(outcome.text, HasSubstr(c.shown ? c.shown : c.takes));
        EXPECT_EQ(outcome.text.starts_with("bvhost: "), !c.shown);
    }
}

TEST_F(BvhostTest, UnderstandsOrSaysWhatWasMeant) {
    Check({
        {"--version", 0, "bvhost 1."},
        {"", 2, "bvhost: a command is needed: tree, show, "},
        {"tre", 2, "bvhost: there is no command \"tre\", did you mean \"tree\"?"},
        {"cuts lst x", 2, "bvhost: there is no command \"lst\", did you mean \"list\"?"},
        {"tree --inptu x", 2, "bvhost: there is no option \"--inptu\", did you mean \"--input\"?"},
        {"job --ouptut=x", 2, "bvhost: there is no option \"--ouptut\", did you mean \"--output\"?"},
        {"show --dutarion 3", 2, "bvhost: there is no option \"--dutarion\", did you mean \"--duration\"?"},
        {"tree --nonsense", 2,
         "bvhost: there is no option \"--nonsense\" (\"bvhost tree --help\" tells more)\n"},
        {"tree one two three", 2, "bvhost: these words are not expected: \"one\" \"two\" \"three\""},
        {"tree --duration -1", 2, "seconds are a number from 0 to 1000000, not \"-1\""},
        {"show", 2, "bvhost: NAME is required"},
        {"show Nope", 1, "bvhost: there is no setting \"Nope\"\n"},
        {"show Ouptut", 1, "bvhost: there is no setting \"Ouptut\", did you mean \"Output\"?\n"},
    });
}

TEST_F(BvhostTest, ReadsAJobThatAnotherXmlToolWroteAnew) {
    const std::string given = " --duration 3 ", from = "job" + given + "--from ";
    ASSERT_EQ(
        Run("job --input " + Clip() + given +
            "--set Mode=Multiply --set \"OutputMediaName=Tom's & Co.avi\" --output " + File("plain.xml"))
            .exit_code,
        0);
    const std::string plain = ReadAll(Folder() / "plain.xml");
    // What tools do to a file: a prolog, comments, other quotes and indents, attributes of their
    // own, short ends.
    std::string anew = plain;
    const auto replace = [&](const std::string& old, const std::string& by) {
        for (size_t at = 0; (at = anew.find(old, at)) != anew.npos; at += by.size())
            anew.replace(at, old.size(), by);
    };
    replace(">\n<", ">\n\n    <");
    replace("<Mode ", "<Mode note=\"a > b\"\n      xml:space='preserve' ");
    replace("<SplitLength ", "<!-- <Gone>\"' --><?tool <Gone>?><SplitLength ");
    replace("Tom&apos;s", "T&#111;m&#x27;s");
    const std::string empty = "type='3'>\n\n    </Exactly>";
    ASSERT_NE(anew.find(empty), anew.npos);
    replace(empty, "type='3'/>");
    const std::string utf8 =
        "<?xml version=\"1.0\" encoding='utf-8' standalone='yes'?>\n" + anew + "\n<!-- end -->\n";
    std::string utf16 = "\xFF\xFE";
    for (const char c : utf8) utf16 += {c, '\0'};
    for (const std::string& text : {anew, utf8, "\xEF\xBB\xBF" + anew, utf16}) {
        SCOPED_TRACE(text.substr(0, 20));
        WriteAll(Folder() / "anew.xml", text);
        const Outcome outcome = Run(from + File("anew.xml") + " --output " + File("again.xml"));
        EXPECT_EQ(outcome.exit_code, 0) << outcome.text;
        EXPECT_EQ(ReadAll(Folder() / "again.xml"), plain);
    }
    const Outcome piped = RunBvhost(from + "- --output -", utf8);
    EXPECT_EQ(piped.exit_code, 0);
    EXPECT_EQ(piped.text, plain);

    // What isn't settings is told with its line; what is no XML, and what would be looked for
    // elsewhere, is refused.
    const std::string declared = "<?xml version='1.0'?>\n<!-- c\n -->\n<Main>\n";
    std::string deep;
    for (int i = 0; i < 100; ++i) deep += "<a>";
    for (int i = 0; i < 100; ++i) deep += "</a>";
    const struct {
        std::string text;
        int exit_code;
        const char* told;
    } cases[] = {
        {declared + "<Gone/></Main>", kWarned, "standard input: line 5: there is no setting \"Gone\" here"},
        {declared + "<Mode value='2' type='x'/></Main>", 1, "standard input: line 5: a type is a number\n"},
        {declared + "<Mode value='2'/></Main>", 1, "line 5: a value stands with its type, or not at all\n"},
        {declared + "\n<Mode>2</Mode></Main>", 1, "line 6: text inside of Mode\n"},
        {declared + "<Mode></Main>", 1, "standard input: this is no well-formed XML\n"},
        {declared + deep + "</Main>", 1, "elements lie more than 64 deep\n"},
        {"<?xml version='1.0' encoding='ISO-8859-1'?><Main>\n<G\xDC/></Main>", kWarned,
         "line 2: there is no setting \"G\xC3\x9C\" here"},
        {"<?xml version='1.0' encoding='x-none'?><Main/>", 1, "the encoding x-none isn't known here\n"},
        {"<!DOCTYPE Main [<!ENTITY a SYSTEM 'file:///etc/passwd'>]>\n<Main/>", 1,
         "line 1: a document type has no place in settings\n"},
        {std::string(17 << 20, ' '), 1, "standard input: settings have at most 16 MB\n"},
        {"", 1, "standard input: line 1: here should stand an element\n"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.told);
        const Outcome outcome = RunBvhost("job --from -", c.text);
        EXPECT_EQ(outcome.exit_code, c.exit_code);
        EXPECT_THAT(outcome.text, HasSubstr(c.told));
    }
}

TEST_F(BvhostTest, WritesNoJobThatItCouldNotRead) {
    // A node is named as its action is registered.
    const TestKey action(HKEY_CLASSES_ROOT, L"CLSID\\" + TextOf(category::Root) + L"\\" +
                                                TextOf(category::Actions) +
                                                L"\\{00000000-0000-0000-0000-000000000001}");
    action.Put(L"", nullptr, L"a<b");
    const Outcome outcome = Run("job --output " + File("unread.xml"));
    EXPECT_EQ(outcome.exit_code, 1);
    EXPECT_THAT(outcome.text,
                HasSubstr("bvhost: the settings can't be written so that they are read again: line "));
    EXPECT_FALSE(fs::exists(Folder() / "unread.xml"));
}

TEST_F(BvhostTest, SaysThatTheRegistryCannotBeRead) {
    if (!kInFull) GTEST_SKIP() << "the registry is the system's";
    for (const std::string& place : {std::string("/proc/none/r.db"), Utf8Name(TempFolder())}) {
        const Outcome outcome = Run("tree", "BV_REGISTRY=" + ShellWord(place) + ' ');
        EXPECT_EQ(outcome.exit_code, 1);
        EXPECT_EQ(outcome.text, "bvhost: can't create Map: the registry can't be read\n");
    }
}

TEST_F(BvhostTest, RestoresTheRestOfADamagedJob) {
    WriteAll(Folder() / "odd.xml",
             "<Main>\n<FILES>\n<PathToMediaFile value='/no/such/file.avi' type='8'>\n"
             "<IDX value='../../etc/x' type='8'>\n</IDX>\n</PathToMediaFile>\n</FILES>\n"
             "<OutputFileFormat value='{00000000-0000-0000-0000-000000000001}' "
             "type='72'>\n<Gone>\n</Gone>\n</OutputFileFormat>\n"
             "<Common>\n<Output>\n<Mode value='2' type='3'>\n</Mode>\n<SplitLength value='many' "
             "type='3'>\n</SplitLength>\n"
             "<Exactly value='1' type='9'>\n</Exactly>\n</Output>\n</Common>\n"
             "<Filters value='1' "
             "type='3'>\n<EnumFilters>\n<Blur>\n</Blur>\n<Grain>\n<GrainStrength value='35' "
             "type='3'>\n</GrainStrength>\n"
             "</Grain>\n</EnumFilters>\n</Filters>\n</Main>\n");
    const Outcome outcome = Run("job --from " + File("odd.xml") + " --output " + File("mended.xml"));
    EXPECT_EQ(outcome.exit_code, kWarned);
    for (const char* warning :
         {"file.avi: there is no such file\n",
          "line 8: OutputFileFormat: the object \"{00000000-0000-0000-0000-000000000001}\" isn't restored\n",
          "line 9: there is no setting \"Gone\" here; it is skipped with all inside\n",
          "line 16: SplitLength: the value doesn't fit its type 3\n",
          "line 18: Exactly: the value doesn't fit its type 9\n",
          "line 24: the filter \"Blur\" isn't restored: no component offers one of this name\n"})
        EXPECT_THAT(outcome.text, HasSubstr(warning));
    const std::string mended = ReadAll(Folder() / "mended.xml");
    EXPECT_THAT(mended, HasSubstr("<Mode value='2' type='3'>\n"));
    EXPECT_THAT(mended, HasSubstr("<EnumFilters>\n<Grain>\n<GrainStrength value='35' type='3'"));
    EXPECT_THAT(mended, HasSubstr("<SplitLength value='10' type='3' ext='1' extType='3'>\n"));
}

TEST_F(BvhostTest, KeepsAnInputWithoutAPathInItsPlace) {
    WriteAll(Folder() / "gap.xml",
             "<Main>\n<FILES>\n<PathToMediaFile value='' type='8'>\n</PathToMediaFile>\n"
             "<PathToMediaFile value='' type='8'>\n</PathToMediaFile>\n"
             "<PathToMediaFile value='/no/such/file.avi' type='8'>\n</PathToMediaFile>\n</FILES>\n</Main>\n");
    const Outcome outcome = Run("job --from " + File("gap.xml") + " --output " + File("kept.xml"));
    EXPECT_EQ(outcome.exit_code, kWarned) << outcome.text;
    const std::string kept = ReadAll(Folder() / "kept.xml");
    size_t at = 0;
    for (const char* path : {"''", "''", "'/no/such/file.avi'"}) {
        at = kept.find("<PathToMediaFile value=", at + 1);
        ASSERT_NE(at, kept.npos);
        EXPECT_EQ(kept.substr(at + 23, std::strlen(path)), path);
    }
}

TEST_F(BvhostTest, ShowsHiddenNodesOnlyWhenAsked) {
    const std::string tree = Run("tree").text;
    EXPECT_THAT(tree, HasSubstr("[Single]  Multiply\n"));
    EXPECT_THAT(tree, Not(HasSubstr("SplitLength")));
    EXPECT_THAT(tree, Not(HasSubstr("\033")));
    EXPECT_THAT(Run("tree --all").text, HasSubstr("10 s   "));
    const std::string json = Run("tree --json --all").text;
    EXPECT_THAT(json, HasSubstr("{\"label\": \"Multiply\", \"value\": 2, \"selected\": false}"));
    EXPECT_THAT(Run("show Mode").text, HasSubstr("* Single    = 1\n"));
    for (const char* command :
         {"", "tree ", "show ", "job ", "expand ", "font ", "register ", "unregister ", "registry "})
        EXPECT_THAT(Run(command + std::string("--help")).text, HasSubstr("Usage: bvhost")) << command;
}

size_t WidestLine(const std::string& utf8) {
    size_t widest = 0, columns = 0;
    for (const char c : utf8) {
        if (c == '\n' || c == '\r')
            columns = 0;
        else if ((c & 0xC0) != 0x80)
            widest = std::max(widest, ++columns);
    }
    return widest;
}

TEST_F(BvhostTest, FitsTheTreeIntoTheTerminalAndLeavesItWholeInAPipe) {
    const std::string tree = "tree --all --duration 3 --input " + Clip() +
                             " --set \"OutputMediaName=/a/very/long/path/to/some/result.avi\"";
    const Outcome whole = Run(tree);
    EXPECT_GT(WidestLine(whole.text), 160u);
    EXPECT_EQ(whole.text.find("…"), std::string::npos);
    EXPECT_THAT(whole.text, HasSubstr("FONT=Tahoma;STYLE=Regular;SIZE=10;U=OFF;S=OFF;CHARSET=Default;\n"));
    EXPECT_THAT(whole.text, HasSubstr("  [25.00 fps (PAL)]  29.97 fps (NTSC)"));
    const auto lines = std::count(whole.text.begin(), whole.text.end(), '\n');
    for (const size_t width : {60, 80, 100, 120, 200}) {
        SCOPED_TRACE(width);
        const Outcome fitted = Run(tree + " --width " + std::to_string(width));
        EXPECT_EQ(fitted.exit_code, 0);
        EXPECT_LE(WidestLine(fitted.text), width);
        EXPECT_GT(WidestLine(fitted.text), width - 10) << "the room is used";
        EXPECT_EQ(std::count(fitted.text.begin(), fitted.text.end(), '\n'), lines);
        for (const char* part :
             {"OutputFileFormat", "OutputMediaName", "SplitLength", "result.avi", "hidden", "clip.mp4\n"})
            EXPECT_THAT(fitted.text, HasSubstr(part));
        EXPECT_EQ(fitted.text.find("WaterMarkBackgroundMode  ") != std::string::npos, width >= 80);
        EXPECT_EQ(fitted.text.find("TITLE") != std::string::npos, width >= 120);
    }
    if (kInFull) {
        const std::string bvhost = (BinFolder() / "bvhost").string();
        for (const char* command : {"tree", "job --help", "--help"}) {
            SCOPED_TRACE(command);
            std::system(("NO_COLOR=1 script -qec \"stty cols 60; '" + bvhost + "' " + command + "\" '" +
                         (TempFolder() / "screen.txt").string() + "' >/dev/null </dev/null")
                            .c_str());
            std::string screen = ReadAll(TempFolder() / "screen.txt");
            screen = screen.substr(screen.find('\n') + 1);  // the recorder's own first and last lines
            screen = screen.substr(0, screen.rfind("Script done"));
            EXPECT_THAT(screen, HasSubstr(command[0] == 't' ? "OutputFileFormat" : "Usage: bvhost"));
            EXPECT_LE(WidestLine(screen), 60u);
        }
    }
}

TEST_F(BvhostTest, ShowsTheAskedPartOfATree) {
    EXPECT_EQ(Run("tree --depth 1").text,
              "TITLE                NAME              VALUE  CHOICES AND FLAGS\n"
              "Main                 Main\n"
              "├─ OutputFileFormat  OutputFileFormat  AVI    [AVI]  MP4  Picture\n"
              "└─ Common            Common\n");
    const std::string found = Run("tree --find MULTIPLY").text;  // a choice
    EXPECT_THAT(found, HasSubstr("└─ Common"));
    EXPECT_THAT(found, HasSubstr("[Single]  Multiply\n"));
    EXPECT_EQ(std::count(found.begin(), found.end(), '\n'), 5) << found;
    EXPECT_THAT(Run("tree --find clip.mp4 --duration 3 --input " + Clip()).text,
                HasSubstr("PathToMediaFile"));
    EXPECT_THAT(Run("tree --json --find Overwrite").text, Not(HasSubstr("OutputFileFormat")));
    Check({
        {"tree --all --find exactly", 0, "Exactly"},
        {"tree --find exactly", 1, "; hidden ones have: --all shows them\n"},
        {"tree --find xyzzy", 1, "bvhost: no setting has \"xyzzy\" in its title, name, value or choices\n"},
        {"tree --depth -1", 1, "bvhost: --depth is a number of levels, from 0\n"},
        {"tree --width 20", 1, "bvhost: --width is a number of columns, from 60\n"},
    });
}

TEST_F(BvhostTest, PicksByDialogOrSaysWhyNot) {
    const std::string output = " --output " + File("picked.xml");
    const std::string no_screen = ": no dialog can be shown: ";
    Check({
        {"pick Mode", 1, "bvhost: Mode has no dialog\n"},
        {"pick Mod", 1, "bvhost: there is no setting \"Mod\", did you mean \"Mode\"?\n"},
        {"pick DestinationPath" + output, kNoScreen, "bvhost: DestinationPath" + no_screen},
        {"pick WaterMarkSrcImage" + output, kNoScreen, "bvhost: WaterMarkSrcImage" + no_screen},
        {"pick OutputMediaName --output -", kNoScreen, "bvhost: OutputMediaName" + no_screen},
    });
    EXPECT_FALSE(fs::exists(Folder() / "picked.xml"));
    if (!kInFull) return;
    // Dialog programs of a desktop, one for each thing that a person does.
    const struct {
        const char* program;
        int exit_code;
        const char* told;
    } people[] = {
        {"exit 1", kCancelled, "bvhost: OutputMediaName: cancelled, nothing was changed\n"},
        {"echo /tmp/chosen.avi", 0, "OutputMediaName: (empty) -> /tmp/chosen.avi\n"},
    };
    const fs::path programs = TempFolder() / "programs";
    fs::create_directory(programs);
    for (const auto& person : people) {
        WriteAll(programs / "zenity", std::string("#!/bin/sh\n") + person.program + '\n');
        fs::permissions(programs / "zenity", fs::perms::owner_all);
        const Outcome outcome =
            Run("pick OutputMediaName" + output, "DISPLAY=:1 PATH='" + programs.string() + "' ");
        EXPECT_EQ(outcome.exit_code, person.exit_code);
        EXPECT_THAT(outcome.text, HasSubstr(person.told));
        EXPECT_EQ(fs::exists(Folder() / "picked.xml"), person.exit_code == 0);
    }
    const Outcome none = Run("pick OutputMediaName", "DISPLAY=:1 PATH=/none ");
    EXPECT_EQ(none.exit_code, kNoScreen);
    EXPECT_THAT(none.text, HasSubstr("neither zenity nor kdialog is installed\n"));
}

TEST_F(BvhostTest, ExpandsTextsAndReadsFonts) {
    const std::string given = "expand --input " + Clip() + " --duration 3 ";
    Check({
        {given + "--index 7 --set FORMAT_i=%04d \"%sf|%s|%i|%%|%x\"", 0, "clip.mp4|clip|0007|%%|%x\n"},
        {given + "--set OutputMediaName=out.b.avi \"%OF|%o\"", 0, "out.b.avi|out.b\n"},
        {given + "--set Mode=Multiply --set FileNamePattern={SOURCE_FILE_NAME}-{SOURCE_FILE_NAME} --format "
                 "png \"%of|%o\"",
         0, "clip-clip.png|clip-clip\n"},
        {"expand \"%s %i\"", 0, "%s 00\n"},
        {"expand \"%s %i\"", 0, "bvhost: note: %s stays: no input; --input names one\n"},
        {"expand", 0, "%i        Index                     00\n"},
        {"font", 0, "As text     FONT=Tahoma;STYLE=Regular;SIZE=10;U=OFF;S=OFF;CHARSET=Default;\n"},
        {"font \"font=Arial;size=12pt;U=on;junk\"", 0,
         "Size        12\nUnderline   on\nStrikeout   off  (by default)\nCharset     Default  (by default)\n"
         "As text     FONT=Arial;STYLE=Regular;SIZE=12;U=ON;S=OFF;CHARSET=Default;\n"},
        {"font \"font=Arial;junk\"", 0, "bvhost: note: \"junk\" is no item of a font and is left out\n"},
        {"font FONT=" + std::string(600, 'x'), 0, "bvhost: note: nothing of the string counts"},
        {"tree --format .PNG", 0, "  ├─ Image  "},
    });
}

TEST_F(BvhostTest, TellsOfLongPathsThatTheFileCantHold) {
    const std::string path = std::string(600, 'p') + ".avi";
    const Outcome outcome = Run("job --set OutputMediaName=" + path + " --output " + File("long.xml"));
    EXPECT_EQ(outcome.exit_code, kWarned);
    EXPECT_THAT(outcome.text,
                HasSubstr("warning: OutputMediaName: the text is too long for a settings file"));
    EXPECT_THAT(ReadAll(Folder() / "long.xml"), HasSubstr("<OutputMediaName value='' type='8'>"));
}

TEST_F(BvhostTest, SaysHowToRegisterWhatIsNotRegistered) {
    ASSERT_EQ(Run("unregister").exit_code, 0);
    EXPECT_THAT(Run("registry").text, HasSubstr("Nothing is registered"));
    const Outcome tree = Run("tree");
    EXPECT_EQ(tree.exit_code, 1);
    EXPECT_THAT(tree.text, HasSubstr("the class isn't registered; \"bvhost register\" registers it\n"));
    ASSERT_EQ(Run("register").exit_code, 0);
    EXPECT_EQ(Run("tree").exit_code, 0);
    EXPECT_THAT(Run("registry").text, HasSubstr("BVSchema.Map"));
}

TEST_F(BvhostTest, RegistersOnlyWhatCanBeMade) {
    const std::string announcer =
        '"' + (ProbePath().parent_path() / ("BVAnnouncer" + ProbePath().extension().string())).string() + '"';
    for (const char* time : {"the first time", "and again"}) {
        SCOPED_TRACE(time);
        const Outcome outcome = Run("register " + announcer);
        EXPECT_EQ(outcome.exit_code, 1);
        for (const char* text : {"\"Not there\" {D0B1E000-0000-4000-8000-0000000000F1}, announced as an "
                                 "output format, can't be made: "
                                 "the module doesn't have this class\n",
                                 "\"Wrong place\" {D0B1E000-0000-4000-8000-0000000000F2}, announced as an "
                                 "output format, can't be made: "
                                 "its module is said to be ",
                                 "\"No class\" {D0B1E000-0000-4000-8000-0000000000F3}, announced as an "
                                 "output format, can't be made: "
                                 "the class isn't registered\n"})
            EXPECT_THAT(outcome.text, HasSubstr(text));
        EXPECT_THAT(outcome.text, Not(HasSubstr("registered  ")));
    }
    EXPECT_EQ(Run("unregister " + announcer).exit_code, 0);
    EXPECT_EQ(Run("register").exit_code, 0) << "what others have announced is all there";
}

TEST_F(BvhostTest, CallsByNameWhatTheTypeLibraryTells) {
    EXPECT_EQ(Run("types").text, ReadAll(DataFolder() / "golden/types.txt")) << "on every platform";
    Check({
        {"call Mode.Value", 0, "32-bit number 1\n"},
        {"call Mode.value 2", 0, "nothing\n"},
        {"call Mode.FindProperty splitlength", 0, "node SplitLength\n"},
        {"call Mode.FindProperty None", 0, "no object\n"},
        {"call SplitLength.Value -5", 1, "bvhost: This value cannot be negative. (BVSchema.Property.1)\n"},
        {"call SplitLength.ShowDialog", 1, "bvhost: "},
        {"call SplitLength.Nonsense", 1, "bvhost: a node has no operation Nonsense\n"},
        {"call SplitLength.Hide many", 1, "bvhost: the call is refused: a value of another kind is needed\n"},
        {"call SplitLength.Hide", 1, "bvhost: the call is refused: another number of arguments is needed\n"},
        {"call SplitLength", 1, "bvhost: what is called is written NAME.Operation\n"},
    });
}

TEST_F(BvhostTest, KeepsTheIndexOfARealFile) {
    const Outcome made = Run("job --input " + Clip() + " --output " + File("indexed.xml"));
    if (made.text.find("reads no media files") != made.text.npos)
        GTEST_SKIP() << "this bvhost has no media library";
    ASSERT_EQ(made.exit_code, 0) << made.text;
    EXPECT_THAT(made.text, HasSubstr("index: made, 1 key frame\n"));
    EXPECT_THAT(made.text, HasSubstr("3.00 s, 25 frames a second, video, audio\n"));

    const std::string xml = ReadAll(Folder() / "indexed.xml");
    const size_t begin = xml.find("<IDX value='") + 12;
    const std::string name = xml.substr(begin, xml.find('\'', begin) - begin);
    const fs::path cache = BinFolder() / (name + ".idx");
    ASSERT_EQ(name.size(), 38u);
    EXPECT_TRUE(fs::is_regular_file(cache));
    EXPECT_THAT(Run("job --from " + File("indexed.xml")).text, HasSubstr("index: from cache, 1 key frame\n"));

    // A cache that can't be read is made again; one that can't be written is told once.
    fs::remove(cache);
    fs::create_directory(cache);
    const Outcome barred = Run("job --from " + File("indexed.xml") + " --output " + File("barred.xml"));
    EXPECT_EQ(barred.exit_code, 0);
    EXPECT_THAT(barred.text, HasSubstr("index: made, 1 key frame\n"));
    EXPECT_THAT(barred.text, HasSubstr("note: there is no cache for indexes: "));
    fs::remove(cache);
}

}  // namespace
}  // namespace bv::test
