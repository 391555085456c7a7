// Why settings aren't shown, and what differs between jobs.
#include "host.h"

namespace bv::test {
namespace {

using ::testing::HasSubstr;

TEST_F(HostTest, WhyNamesWhatDecides) {
    struct Case {
        const char* node;
        const char* text;
    };
    for (const Case& c :
         {Case{"Mode", "it is shown and can be edited"},
          Case{"FileNamePattern", "hidden while Mode is Single; shown by Mode = Multiply"},
          Case{"FastStart", "not there while OutputFileFormat is AVI; shown by OutputFileFormat = MP4"}}) {
        const auto why = Why(job, c.node);
        ASSERT_TRUE(why) << c.node;
        EXPECT_EQ(Explanation(*Result(why)).text(), c.text);
    }
    EXPECT_FALSE(Why(job, "Nothing"));
}

/// Each answer for a new job is proved by doing it.
TEST_F(HostTest, DoingWhatWhyTellsShowsTheSetting) {
    std::vector<std::string> paths;
    for (const Node& node : job.Root().All())
        if (node.hidden() || node.disabled()) paths.push_back(node.path());
    ASSERT_GT(paths.size(), 5u);
    size_t answered = 0;
    for (const std::string& path : paths) {
        SCOPED_TRACE(path);
        auto why = Why(job, path);
        ASSERT_TRUE(why);
        EXPECT_NE(why->state, Explanation::kNothing);
        if (why->causes.empty()) continue;
        ++answered;
        Job own = Job::Create(Options());
        for (const Cause& cause : why->causes) {
            EXPECT_EQ(own[cause.node].shown(), cause.now);
            EXPECT_TRUE(own[cause.node].Set(cause.instead.front()));
        }
        auto then = Why(own, path);
        ASSERT_TRUE(then);
        EXPECT_EQ(then->state, Explanation::kNothing) << why->text();
    }
    EXPECT_GT(answered, paths.size() / 2);
}

TEST_F(HostTest, KeepsWhatDiffersAndSetsItAgain) {
    EXPECT_TRUE(Changed(job).empty());
    job["OutputFileFormat"] = "MP4";
    job["FastStart"] = !(job["FastStart"].shown() == "on");
    job["Mode"] = 2;
    job["IsSplit"] = true;
    ASSERT_TRUE(job["SplitLength"].Set("250 ms"));
    EXPECT_TRUE(IsChanged(job, "Mode"));
    EXPECT_FALSE(IsChanged(job, "Overwrite"));

    const Presets presets(TempFolder() / "presets");
    ASSERT_TRUE(presets.Save(job, "für's Netz"));
    EXPECT_THAT(presets.List(), ::testing::ElementsAre("für's Netz"));
    for (const char* bad : {"", "../x", "a/b", ".", "x\ny"}) EXPECT_FALSE(presets.Save(job, bad)) << bad;

    Job other = Job::Create(Options());
    const LoadReport report = Apply(other, presets.Load("für's Netz"));
    EXPECT_TRUE(report.clean()) << report.notes.front().text;
    EXPECT_EQ(other.Xml(), job.Xml());
    EXPECT_TRUE(Compare(job, other).empty());
    ASSERT_TRUE(other.Undo()) << "one step";
    EXPECT_EQ(other.Xml(), Job::Create(Options()).Xml());

    const auto differences = Compare(other, job);
    const auto split = std::find_if(differences.begin(), differences.end(),
                                    [](const Difference& one) { return one.node.ends_with("/SplitLength"); });
    ASSERT_NE(split, differences.end());
    EXPECT_EQ(split->after, "250 ms");

    ASSERT_TRUE(Reset(job, "SplitLength"));
    EXPECT_FALSE(IsChanged(job, "SplitLength"));
    EXPECT_TRUE(IsChanged(job, "Mode"));
    ASSERT_TRUE(presets.Remove("für's Netz"));
    EXPECT_FALSE(presets.Remove("für's Netz"));
    EXPECT_THROW(presets.Load("für's Netz"), Error);

    std::string deep(100'000, '[');
    for (const std::string& bad : {std::string("{}"), std::string("[1]"), deep,
                                   std::string(R"({"settings":[{"node":"a","type":9,"value":1}]})"),
                                   std::string(R"({"settings":[{"node":"a","type":3,"value":[1]}]})"),
                                   std::string(R"({"settings":[{"node":"a","type":3,"value":"x"}]})")})
        EXPECT_THROW(ParsePreset(bad), Error) << bad.substr(0, 50);
    const auto unknown = Apply(other, ParsePreset(R"({"settings":[{"node":"Main/No","type":3,"value":1}]})"));
    ASSERT_EQ(unknown.notes.size(), 1u);
    EXPECT_THAT(unknown.notes[0].text, HasSubstr("Main/No"));
}

}  // namespace
}  // namespace bv::test
