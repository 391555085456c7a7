// Jobs through the layer: nodes, inputs, cuts, refusals, the file.
#include <random>

#include "host.h"

namespace bv::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

TEST_F(HostTest, DoesWhatAHostDoes) {
    // A settings file holds what the system's 8-bit code page has.
    const Input input =
        job.AddInput(Clip(GetACP() == CP_UTF8 ? "Übung 日本 'a' $x.mp4" : "Übung 'a' $x.mp4"));
    EXPECT_EQ(input.problem(), "");
    EXPECT_EQ(input.info().duration, 100'000'000);
    job["Mode"] = 2;
    job["OutputFileFormat"] = "MP4";
    EXPECT_TRUE(job.TakeRefusals().empty());
    EXPECT_EQ(job["Mode"].value(), Value(2));
    EXPECT_EQ(job["OutputFileFormat"].shown(), "MP4");

    job["IsSplit"] = true;
    EXPECT_EQ(job["SplitLength"].unit(), "s");
    const auto split = job["SplitLength"].Set("250 ms");
    ASSERT_TRUE(split) << split.error().text;
    EXPECT_EQ(job["SplitLength"].shown(), "250");
    EXPECT_EQ(job["SplitLength"].unit(), "ms");

    std::vector<std::string> rows;
    for (const Node& node : job.Root().Visible()) rows.push_back(node.name());
    EXPECT_THAT(rows, ::testing::Contains("FileNamePattern"));
    EXPECT_THAT(rows, ::testing::Not(::testing::Contains("OutputMediaName")));

    ASSERT_TRUE(input.cuts().Add(Frames{0}, Frames{50}));
    ASSERT_TRUE(input.cuts().Add(Time{"0:00:04.000"}, Time{"0:00:05.000"}));
    EXPECT_EQ(*input.cuts().Duration(), 50 * 400'000 + 10'000'000);

    const std::filesystem::path file = TempFolder() / ToPath(std::string_view("ä.job.xml"));
    ASSERT_TRUE(job.Save(file));
    const Job again = Job::Load(file, Options());
    EXPECT_TRUE(again.report().clean()) << again.report().notes.front().text;
    EXPECT_GT(again.report().set, 50u);
    EXPECT_EQ(again.Xml(), job.Xml());
    EXPECT_EQ(again.Inputs().front().path(), input.path());
}

TEST_F(HostTest, NodesTellWhatAFormWants) {
    struct Row {
        const char* name;
        Editor editor;
        const char* shown;
    };
    for (const Row& row :
         {Row{"Mode", Editor::kChoice, "Single"}, Row{"Overwrite", Editor::kCheckBox, "on"},
          Row{"DestinationPath", Editor::kDialog, nullptr}, Row{"FileNamePattern", Editor::kText, nullptr},
          Row{"SplitLength", Editor::kNumber, nullptr}, Row{"Output", Editor::kGroup, ""}}) {
        const Node node = job[row.name];
        ASSERT_TRUE(node) << row.name;
        EXPECT_EQ(int(node.editor()), int(row.editor)) << row.name;
        if (row.shown) {
            EXPECT_EQ(node.shown(), row.shown) << row.name;
        }
    }
    EXPECT_EQ(job["mode"].path(), "Main/Common/Output/Mode");
    EXPECT_EQ(job["Output/Mode"], job["Mode"]);
    EXPECT_FALSE(job["Nothing"]);
    EXPECT_FALSE(job["Mode/Output"]);
    EXPECT_EQ(std::get<std::int64_t>(job["Mode"].value().scalar()), 1);
}

TEST_F(HostTest, RefusalsAreValuesAndChangeNothing) {
    const std::string before = job.Xml();
    struct Case {
        const char* node;
        Value value;
        HRESULT status;
        const char* text;
    };
    const Case cases[] = {
        {"Mode", "Mutliply", E_INVALIDARG,
         "the choices are \"Single\", \"Multiply\", did you mean \"Multiply\"?"},
        {"Mode", 7, E_INVALIDARG, "the choices are"},
        {"Overwrite", "perhaps", E_INVALIDARG, "this setting is \"on\" or \"off\""},
        {"SplitLength", -1, E_FAIL, "This value cannot be negative."},
        {"SplitLength", "1.5", E_INVALIDARG,
         "a whole number from 0 to 2147483647, and behind a blank its unit: "},
        {"SplitLength", "99999999999", E_INVALIDARG, "a whole number"},
        {"Output", 1, E_INVALIDARG, "this is a group, it has no value"},
    };
    for (const Case& c : cases) {
        const auto set = job[c.node].Set(c.value);
        ASSERT_FALSE(set) << c.node;
        EXPECT_EQ(set.error().status, c.status) << c.node;
        EXPECT_THAT(set.error().text, HasSubstr(c.text));
        EXPECT_EQ(set.error().node, c.node);
        EXPECT_EQ(set.error().value, c.value.text());
    }
    EXPECT_EQ(job.Xml(), before);
    EXPECT_EQ(job.undo_name(), "");
    job["Mode"] = "nonsense";
    ASSERT_EQ(job.TakeRefusals().size(), 1u);
    EXPECT_TRUE(job.TakeRefusals().empty());

    const Input input = job.AddInput(Clip("cuts.mp4"));
    const auto cut = input.cuts().Add(Frames{50}, Frames{10});
    ASSERT_FALSE(cut);
    EXPECT_FALSE(cut.error().text.empty());
    EXPECT_EQ(input.cuts().size(), 0u);
    EXPECT_FALSE(input.cuts().in_use());
    EXPECT_FALSE(job.RemoveInput(Job::Create(Options()).AddInput(Clip("other.mp4"))));
    EXPECT_FALSE(job.MoveInput(input, 1));
}

TEST_F(HostTest, WhatCannotBeMadeThrows) {
    EXPECT_THROW(Job::Load(TempFolder() / "nowhere.xml"), Error);
    EXPECT_THROW(Job::Parse("<Other></Other>"), Error);
    EXPECT_THROW(Create<IUnknown>(GUID{}, "nothing"), Error);
    EXPECT_THROW(*Result<int>(Refusal{E_FAIL, "no", {}, {}}), Error);
    std::string deep;
    for (int i = 0; i < 100'000; ++i) deep += "<a>";
    for (const std::string& bad :
         {std::string(), std::string("<Main>"), deep, "<!DOCTYPE x><Main></Main>" + deep,
          std::string("<Main value='1'></Main>"), std::string(17u << 20, ' ')})
        EXPECT_THROW(Job::Parse(bad), Error) << bad.substr(0, 40);
}

TEST_F(HostTest, AReadBackTellsWhatItCouldNotSet) {
    const Job read = Job::Parse(
        "\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!-- another tool's -->\n"
        "<Main>\n <FILES><PathToMediaFile value=\"/nowhere.mp4\" type='8'/></FILES>\n"
        "<Mode value='2' type='3'/>\n<Mode value='2' type='3' other='x'/>\n"
        "<SplitLength value='-5' type='3'/>\n<Overwrite value='many' type='3'/>\n"
        "<Unheard><Of value='1' type='3'/></Unheard>\n<OutputFileFormat value='Film' type='72'/>\n</Main>",
        Options());
    EXPECT_EQ(read["Mode"].value(), Value(2));
    std::vector<std::string> told;
    for (const LoadNote& note : read.report().notes)
        told.push_back(std::to_string(note.line) + " " + note.name + " " + std::to_string(note.kind));
    EXPECT_THAT(told, ElementsAre("4 PathToMediaFile 2", "7 SplitLength 0", "8 Overwrite 0", "9 Unheard 1",
                                  "10 OutputFileFormat 0"));
    EXPECT_EQ(read.report().notes[1].text, "This value cannot be negative.");
    EXPECT_FALSE(read.report().clean());
    EXPECT_NE(read.Inputs().front().problem(), "");
}

TEST_F(HostTest, NodesOutliveTheirJob) {
    Node mode;
    {
        JobOptions options = Options();
        options.undo_depth = 0;  // nobody watches, and nothing that changes holds the job
        Job own = Job::Create(options);
        own.AddInput(Clip("a.mp4"));
        mode = own["Mode"];
    }
    EXPECT_TRUE(mode.Set("Multiply"));
    EXPECT_EQ(mode.shown(), "Multiply");
    Job moved = std::move(job);
    EXPECT_TRUE(moved["Mode"]);
    job = std::move(moved);
}

}  // namespace
}  // namespace bv::test
