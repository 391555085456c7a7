// Lists of cuts, edited at random, against a simple model of them.
#include <algorithm>
#include <climits>
#include <cwchar>
#include <random>

#include "support/cuts.h"
#include "support/environment.h"
#include "support/names.h"

namespace bv::test {
namespace {

constexpr LONGLONG kFrame = 400000;        // 25 frames a second
constexpr LONGLONG kDuration = 100000000;  // 250 frames

struct ModelCut {
    LONG start, end, mode = 0;
    bool start_in_time = false, end_in_time = false;
    bool told = false;  // in seconds: a point was set when the source was known

    std::wstring Length() const {
        const LONGLONG frames = LONGLONG(end) - start, seconds = told ? frames / 25 : 0;
        const std::wstring count = std::to_wstring(frames) + L" frm";
        return seconds ? L"Length: " + std::to_wstring(seconds) + L" c (" + count + L")"
                       : L"Length: " + count;
    }
};

class ModelTest : public CutsTest {
protected:
    LONG Frame() {
        switch (random() % 12) {
            case 0:
                return INT_MAX;
            case 1:
                return INT_MIN;
            case 2:
                return -1 - LONG(random() % 50);
            default:
                return LONG(random() % 300);
        }
    }
    /// Cut to whole milliseconds; typed again, it is the same frame.
    static std::wstring TimeText(LONG frame) {
        const int hours = frame / 90000, minutes = frame / 1500 % 60;
        const double rest = frame / 25.0 - hours * 3600 - minutes * 60;
        wchar_t text[64];
        std::swprintf(text, 64, L"%02d:%02d:%02d.%03d", hours, minutes, int(rest),
                      int((rest - int(rest)) * 1000));
        return text;
    }
    void Set(size_t index, bool start) {
        ModelCut& cut = model[index];
        const Node point = At(LONG(index)).Find(start ? L"StartFrm" : L"EndFrm");
        const LONG frame = Frame();
        if (random() % 4 == 0) {  // a value is taken as it is
            ASSERT_EQ(point.Put(I4(frame)), S_OK);
        } else {
            const bool as_time = (start ? cut.start_in_time : cut.end_in_time) && frame >= 0 && random() % 2;
            const bool good = frame >= 0 && (start ? frame <= cut.end : frame >= cut.start);
            ASSERT_EQ(point.PutFormat(as_time ? Str(TimeText(frame)) : I4(frame)), good ? S_OK : E_FAIL)
                << frame;
            if (!good) return;
        }
        (start ? cut.start : cut.end) = frame;
        cut.told = true;
    }
    void Step() {
        const size_t index = model.empty() ? 0 : random() % model.size();
        const int what = model.empty() ? 0 : int(random() % 16);
        if (what < 3) {
            const LONG start = Frame(), end = Frame();
            Add(start, end);
            model.push_back({start, end});
        } else if (what == 3) {
            ASSERT_EQ(cuts->RemoveTimeline(At(LONG(index)).get()), S_OK);
            model.erase(model.begin() + std::ptrdiff_t(index));
        } else if (what < 9) {
            Set(index, what % 2);
        } else if (what == 9) {
            const bool start = random() % 2, time = random() % 2;
            ASSERT_EQ(At(LONG(index)).Find(start ? L"StartFrm" : L"EndFrm").Extension().Put(I4(time ? 2 : 0)),
                      S_OK);
            (start ? model[index].start_in_time : model[index].end_in_time) = time;
        } else if (what < 13) {
            model[index].mode = LONG(random() % 4);
            ASSERT_EQ(At(LONG(index)).Find(L"TimelineOutputMode").Put(I4(model[index].mode)), S_OK);
        } else if (what == 13) {
            in_use = random() % 2;
            ASSERT_EQ(timelines.Put(I4(in_use)), S_OK);
        } else if (what == 14) {
            job_mode = 1 + LONG(random() % 2);
            ASSERT_EQ((*this)[L"Mode"].Put(I4(job_mode)), S_OK);
        } else {
            const Text file(WideName(TempFolder() / "model.tlc"));
            ASSERT_EQ(cuts->Save(file), S_OK);
            ASSERT_EQ(cuts->Load(file), S_OK);
            for (ModelCut& cut : model) cut.told = true;
        }
    }
    void Check() {
        ASSERT_EQ(Count(), LONG(model.size()));
        LONGLONG sum = 0;
        for (size_t i = 0; i < model.size(); ++i) {
            const ModelCut& cut = model[i];
            const Node node = At(LONG(i));
            const Node mode = node.Find(L"TimelineOutputMode");
            ASSERT_EQ(node.Find(L"StartFrm").Value(), I4(cut.start));
            ASSERT_EQ(node.Find(L"EndFrm").Value(), I4(cut.end));
            ASSERT_EQ(node.Find(L"points").Description(), cut.Length());
            if (cut.start >= 0 && cut.start < 90000 * 99) {
                ASSERT_EQ(node.Find(L"StartFrm").Format(),
                          cut.start_in_time ? Str(TimeText(cut.start)) : I4(cut.start));
            }
            const bool whole = job_mode == 1;
            ASSERT_EQ(mode.Enabled(), !whole);
            ASSERT_EQ(mode.Format(), I4(whole ? 0 : cut.mode));
            ASSERT_EQ(node.Find(L"TimelineOutputMediaName").Shown(), !whole && cut.mode == 1);
            ASSERT_EQ(node.Find(L"TimelineDestinationPath").Shown(), !whole && cut.mode == 2);
            ASSERT_EQ(node.Find(L"TimelineFileNamePattern").Shown(), !whole && cut.mode == 2);
            if (cut.start * kFrame < kDuration)
                sum += std::min(cut.end * kFrame, kDuration) - cut.start * kFrame;
        }
        ASSERT_EQ(Active(), in_use ? sum : kDuration);
    }

    std::mt19937 random;
    std::vector<ModelCut> model;
    LONG in_use = 0, job_mode = 1;
};

TEST_F(ModelTest, RandomEditsKeepWhatIsToldOfTheCuts) {
    for (unsigned seed = 1; seed <= (kInFull ? 20 : 6); ++seed) {
        random.seed(seed);
        for (int step = 0; step < 60; ++step) {
            Step();
            Check();
            if (HasFatalFailure()) FAIL() << "seed " << seed << ", step " << step;
        }
        while (Count() > 0) cuts->RemoveTimeline(At(0).get());
        model.clear();
    }
}

}  // namespace
}  // namespace bv::test
