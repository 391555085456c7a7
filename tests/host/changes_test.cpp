// What a job tells of its changes, and takes back.
#include <map>
#include <random>
#include <set>

#include "host.h"

namespace bv::test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::Pair;

class ChangesTest : public HostTest {
protected:
    static std::map<std::string, unsigned> Told(const Change& change) {
        std::map<std::string, unsigned> told;
        std::set<IProperty*> nodes;
        for (const NodeChange& node : change.nodes) {
            EXPECT_TRUE(nodes.insert(node.node.get()).second) << node.node.name() << " is told twice";
            told[node.node.name()] |= node.what;
        }
        return told;
    }
    std::vector<Change> changes;
    Subscription subscription = job.Subscribe([this](const Change& change) { changes.push_back(change); });
};

TEST_F(ChangesTest, TellsEachNodeThatChangedOnce) {
    job["Mode"] = 2;
    ASSERT_EQ(changes.size(), 1u);
    EXPECT_EQ(changes[0].cause, job["Mode"]);
    EXPECT_EQ(changes[0].name, job["Mode"].label());
    const auto told = Told(changes[0]);
    EXPECT_THAT(told, Contains(Pair("Mode", NodeChange::kValue)));
    EXPECT_THAT(told, Contains(Pair("FileNamePattern", NodeChange::kHidden)));
    EXPECT_THAT(told, Contains(Pair("OutputMediaName", NodeChange::kHidden)));

    changes.clear();
    job["Mode"] = 2;
    EXPECT_TRUE(changes.empty()) << "nothing changed";
    job["Mode"] = "nonsense";
    EXPECT_TRUE(changes.empty()) << "nothing changed";

    job["OutputFileFormat"] = "MP4";
    ASSERT_EQ(changes.size(), 1u);
    EXPECT_THAT(Told(changes[0]), Contains(Pair("FastStart", NodeChange::kCame)));
    EXPECT_THAT(Told(changes[0]), Contains(Pair("Interleave", NodeChange::kGone)));

    changes.clear();
    ASSERT_TRUE(job["SplitLength"].Set("5 ms"));
    ASSERT_EQ(changes.size(), 1u);
    EXPECT_THAT(Told(changes[0]), ElementsAre(Pair("SplitLength", NodeChange::kValue)))
        << "its unit is its own";

    changes.clear();
    job["Overwrite"].get()->put_Value(Value(0).get());
    EXPECT_TRUE(changes.empty());
    job.Refresh();
    ASSERT_EQ(changes.size(), 1u);
    EXPECT_THAT(Told(changes[0]), ElementsAre(Pair("Overwrite", NodeChange::kValue)));
}

TEST_F(ChangesTest, AChangeInACallbackIsToldAfterwards) {
    std::vector<std::string> order;
    const Subscription first = job.Subscribe([&](const Change& change) {
        order.push_back("first " + change.cause.name());
        if (change.cause.name() == "Mode") job["Overwrite"] = false;
    });
    Subscription second;
    second = job.Subscribe([&](const Change& change) {
        order.push_back("second " + change.cause.name());
        second = {};  // ends itself
    });
    job["Mode"] = 2;
    EXPECT_THAT(order, ElementsAre("first Mode", "second Mode", "first Overwrite"));
}

TEST_F(ChangesTest, TellsOfInputsAndCuts) {
    const Input input = job.AddInput(Clip("b.mp4"));
    ASSERT_EQ(changes.size(), 1u);
    EXPECT_THAT(Told(changes[0]), Contains(Pair(input.node().name(), NodeChange::kCame)));
    changes.clear();
    const auto cut = input.cuts().Add(Frames{1}, Frames{5});
    ASSERT_TRUE(cut);
    ASSERT_EQ(changes.size(), 1u) << "one change, though it also takes the cuts into use";
    changes.clear();
    ASSERT_TRUE(input.cuts()[0]["EndFrm"].Set("7"));
    ASSERT_EQ(changes.size(), 1u);
    EXPECT_THAT(Told(changes[0]), Contains(Pair("EndFrm", NodeChange::kValue)));
    changes.clear();
    ASSERT_TRUE(input.cuts().Remove(input.cuts()[0]));
    ASSERT_EQ(changes.size(), 1u);
    EXPECT_EQ(changes[0].nodes.front().what, NodeChange::kGone);
}

TEST_F(ChangesTest, ATransactionIsOneStepOrNone) {
    const std::string before = job.Xml();
    EXPECT_TRUE(job.Transaction("Both", [&]() -> Result<> {
        if (auto set = job["Mode"].Set(2); !set) return set;
        return job["Overwrite"].Set(false);
    }));
    EXPECT_EQ(changes.size(), 1u);
    EXPECT_EQ(job.undo_name(), "Both");
    ASSERT_TRUE(job.Undo());
    EXPECT_EQ(job.Xml(), before);
    EXPECT_EQ(job.redo_name(), "Both");
    EXPECT_FALSE(job.Undo());

    job.AddInput(Clip("c.mp4"));
    const std::string with_input = job.Xml();
    EXPECT_FALSE(job.Transaction("Refused", [&]() -> Result<> {
        job["Mode"] = 2;
        job.AddInput(Clip("d.mp4"));
        std::ignore = job.Inputs()[0].cuts().Add(Frames{0}, Frames{9});
        return job["Mode"].Set("nonsense");
    }));
    EXPECT_EQ(job.Xml(), with_input);
    EXPECT_EQ(job.Inputs().size(), 1u);
    EXPECT_EQ(job.undo_name(), "Add c.mp4");
}

TEST_F(ChangesTest, AnOpenTransactionIsKeptOrTakenBack) {
    const std::string before = job.Xml();
    {
        TransactionScope outer = job.Begin("Both");
        job["Mode"] = 2;
        {
            TransactionScope inner = job.Begin("Inner");
            job["Overwrite"] = false;
        }  // a part of the outer one, which decides
        EXPECT_FALSE(job.Undo()) << "it is open still";
        outer.Keep();
    }
    EXPECT_EQ(changes.size(), 1u);
    EXPECT_EQ(job.undo_name(), "Both");
    ASSERT_TRUE(job.Undo());
    EXPECT_EQ(job.Xml(), before);
    {
        const TransactionScope left = job.Begin("Left open");
        job["Mode"] = 2;
    }
    EXPECT_EQ(job.Xml(), before);
    EXPECT_EQ(job.undo_name(), "");
}

TEST_F(ChangesTest, WhatThrowsInTheMiddleLeavesNothingOpen) {
    const std::string before = job.Xml();
    EXPECT_THROW(std::ignore = job.Transaction("Thrown",
                                               [&]() -> Result<> {
                                                   job["Mode"] = 2;
                                                   throw std::bad_alloc();
                                               }),
                 std::bad_alloc);
    EXPECT_EQ(job.Xml(), before);
    changes.clear();
    job["Mode"] = 2;
    EXPECT_EQ(changes.size(), 1u);
    EXPECT_TRUE(job.Undo());
    EXPECT_EQ(job.Xml(), before);
    EXPECT_EQ(job.AddInput("named.mp4").path().filename(), "named.mp4");
}

/// All that a person sees, so that undo brings back more than the document tells.
std::string Seen(const Job& job) {
    std::string text = job.Xml();
    for (const Node& node : job.Root().All())
        text += node.name() + (node.hidden() ? " hidden" : "") + (node.disabled() ? " disabled" : "") + "\n";
    return text;
}

TEST_F(ChangesTest, RandomEditsAreUndoneToTheStartAndRedoneToTheEnd) {
    constexpr int kEdits = kInFull ? 150 : 40;
    for (const unsigned seed : {1u, 2u, 3u}) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        std::minstd_rand random(seed);
        Job own = Job::Create(Options());
        const auto pick = [&](size_t count) { return size_t(random() % std::max<size_t>(count, 1)); };
        std::vector<std::string> states = {Seen(own)};
        const auto input = [&]() -> std::optional<Input> {
            const auto inputs = own.Inputs();
            if (inputs.empty()) return {};
            return inputs[pick(inputs.size())];
        };
        const auto edit_node = [&](const Node& node) {
            const auto choices = node.choices();
            if (!choices.empty())
                std::ignore = node.Put(choices[pick(choices.size())].value);
            else if (node.editor() == Editor::kCheckBox)
                std::ignore = node.Set(bool(random() % 2));
            else if (node.has_value())
                std::ignore = node.Set(std::to_string(random() % 1000));
        };
        for (int i = 0; i < kEdits; ++i) {
            const std::string before = own.undo_name();
            switch (random() % 8) {
                case 0:
                    own.AddInput(Clip("e.mp4"));
                    break;
                case 1:
                    if (const auto one = input(); one && own.Inputs().size() > 1)
                        std::ignore = own.MoveInput(*one, random() % 2 ? 1 : -1);
                    break;
                case 2:
                    if (const auto one = input(); one && own.Inputs().size() > 2)
                        std::ignore = own.RemoveInput(*one);
                    break;
                case 3:
                    if (const auto one = input()) {
                        const LONG start = LONG(random() % 100);
                        std::ignore = one->cuts().Add(Frames{start}, Frames{start + LONG(random() % 100)});
                    }
                    break;
                case 4:
                    if (const auto one = input())
                        if (const auto cuts = one->cuts(); cuts.size() > 1)
                            std::ignore = cuts.Remove(cuts[pick(cuts.size())]);
                    break;
                case 5:
                    if (const auto one = input())
                        if (const auto cuts = one->cuts(); cuts.size() > 0) {
                            const auto below = cuts[pick(cuts.size())].All();
                            edit_node(below[pick(below.size())]);
                        }
                    break;
                default: {
                    const auto all = own.Root().All();
                    edit_node(all[pick(all.size())]);
                }
            }
            states.push_back(Seen(own));
        }
        const std::string last = states.back();
        size_t steps = 0;
        while (own.Undo()) ++steps;
        EXPECT_EQ(Seen(own), states.front());
        EXPECT_GT(steps, size_t(kEdits) / 16);
        while (own.Redo()) --steps;
        EXPECT_EQ(Seen(own), last);
        EXPECT_EQ(steps, 0u);
    }
}

}  // namespace
}  // namespace bv::test
