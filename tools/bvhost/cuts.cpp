#include "cuts.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <limits>

#include "node_view.h"
#include "server.h"
#include "text.h"

namespace host {
namespace {

constexpr LONG kInFrames = 0, kInTime = 2;  // units of a point

std::wstring_view Trimmed(std::wstring_view text) {
    while (!text.empty() && text.front() == L' ') text.remove_prefix(1);
    while (!text.empty() && text.back() == L' ') text.remove_suffix(1);
    return text;
}

Value PointValue(std::wstring_view text, bool is_time) {
    if (is_time) return Value::Of(std::wstring(text));
    const auto frame = WholeNumber(text);
    if (!frame) throw Problem('"' + OneLine(Utf8(text)) + "\" is neither a frame nor a time");
    return Value::Of(*frame);
}

void PutPoint(IProperty* cut, const wchar_t* name, std::wstring_view text) {
    const bool is_time = text.find(L':') != text.npos;
    const Value shown = PointValue(text, is_time);
    const Ref<IProperty> point = Find(cut, name);
    Ref<IProperty> unit;
    if (!point || point->get_Extension(unit.Put()) != S_OK || !unit)
        throw Problem("the server's cuts have no points");
    unit->put_Value(Value::Of(is_time ? kInTime : kInFrames).get());
    ForgetErrors();
    if (const HRESULT status = point->put_Format(shown.get()); FAILED(status)) throw Problem(Reason(status));
}

/// As it is shown, and without a source, when a time can't be told, as it is stored.
std::string ShownPoint(IProperty* cut, const wchar_t* name) {
    const Ref<IProperty> point = Find(cut, name);
    Value value;
    if (!point) return {};
    ForgetErrors();
    if (FAILED(point->get_Format(value.Put()))) point->get_Value(value.Put());
    return OneLine(Utf8(value.AsText()));
}

std::optional<LONG> FrameIn(IProperty* cut, const wchar_t* name) {
    const Ref<IProperty> point = Find(cut, name);
    Value value, frame;
    if (!point || point->get_Value(value.Put()) != S_OK || value.kind() == VT_EMPTY) return {};
    if (FAILED(value.ChangeTo(VT_I4, &frame))) return {};
    return frame.get().lVal;
}

std::string LengthOf(IProperty* cut) {
    const Ref<IProperty> points = Find(cut, L"points");
    TextResult text;
    return points && SUCCEEDED(points->get_Description(text.Put())) ? OneLine(Utf8(text.Get()))
                                                                    : std::string();
}

/// The rule, and the names that it makes visible.
std::string OutputOf(IProperty* cut) {
    const Ref<IProperty> mode = Find(cut, L"TimelineOutputMode");
    if (!mode) return {};
    // Reading the flag brings the visibility of what stands below up to date.
    LONG disabled = 0;
    mode->get_IsDisabled(&disabled);
    const NodeView view = ViewOf(mode.get());
    std::wstring text = view.shown, names;
    for (const NodeView& child : view.children) {
        if (child.hidden || child.shown.empty()) continue;
        names += (names.empty() ? L": " : L", ") + child.shown;
    }
    return OneLine(Utf8(text + names));
}

/// Why nothing can be encoded of a cut; empty: something can.
std::string ProblemOf(IProperty* cut, const MediaInfo* info) {
    const auto start = FrameIn(cut, L"StartFrm"), end = FrameIn(cut, L"EndFrm");
    if (!start || !end) return "has a point that is no frame number";
    if (*start < 0) return "begins before the source";
    if (*end < *start) return "ends before it begins";
    if (*end == *start) return "is empty";
    if (info && info->frame_time > 0 && *start >= info->duration / info->frame_time)
        return "begins at or after the source's end";
    return {};
}

}  // namespace

Ref<ITimelines> CutsOf(IProperty* input) {
    const Ref<IProperty> node = Find(input, L"Timelines");
    return node ? node.As<ITimelines>() : Ref<ITimelines>();
}

void UseCuts(IProperty* input) {
    if (const Ref<IProperty> node = Find(input, L"Timelines")) node->put_Value(Value::Of(LONG(1)).get());
}

std::vector<Ref<IProperty>> AllCuts(ITimelines* cuts) {
    std::vector<Ref<IProperty>> all;
    LONG count = 0;
    cuts->get_Count(&count);
    for (LONG i = 0; i < count; ++i) {
        Ref<IUnknown> item;
        if (FAILED(cuts->get_Item(i, item.Put()))) continue;
        if (Ref<IProperty> cut = item.As<IProperty>()) all.push_back(std::move(cut));
    }
    return all;
}

void AddCut(ITimelines* cuts, const std::wstring& text) {
    const std::wstring_view whole = Trimmed(text);
    const size_t dash = whole.find(L'-', 1);  // the first may be a sign
    if (dash == whole.npos || dash + 1 == whole.size())
        throw Problem("a cut is START-END, in frames or times, not \"" + OneLine(Utf8(text)) + '"');
    Ref<IProperty> cut;
    ForgetErrors();
    if (const HRESULT status = cuts->AddTimeline(0, 0, cut.Put()); FAILED(status))
        throw Problem(Reason(status));
    try {
        // The end first, or the start would lie behind it.
        PutPoint(cut.get(), L"EndFrm", Trimmed(whole.substr(dash + 1)));
        PutPoint(cut.get(), L"StartFrm", Trimmed(whole.substr(0, dash)));
    } catch (const Problem& problem) {
        cuts->RemoveTimeline(cut.get());
        const bool no_clip = text.find(L':') != text.npos && !Ask<IMediaObject>(cuts);
        throw Problem("cut " + OneLine(Utf8(text)) + ": " + problem.what() +
                      (no_clip ? " Times need the clip: --input FILE" : ""));
    }
}

std::vector<std::string> CutsText(ITimelines* cuts) {
    using Row = std::array<std::string, 5>;
    std::vector<Row> rows = {{"", "Start", "End", "Length", "Output"}};
    for (const Ref<IProperty>& cut : AllCuts(cuts))
        rows.push_back({std::to_string(rows.size()), ShownPoint(cut.get(), L"StartFrm"),
                        ShownPoint(cut.get(), L"EndFrm"), LengthOf(cut.get()), OutputOf(cut.get())});
    std::vector<std::string> lines;
    if (rows.size() == 1) lines.push_back("no cuts");
    std::array<size_t, Row().size()> widths = {};
    for (const Row& row : rows)
        for (size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], Columns(row[i]));
    for (const Row& row : rows) {
        if (rows.size() == 1) break;
        std::string line;
        for (size_t i = 0; i + 1 < row.size(); ++i) line += Padded(row[i], widths[i] + 2);
        lines.push_back(line + row.back());
    }
    if (const auto encoded = EncodedDuration(cuts)) lines.push_back("encoded: " + ExactSeconds(*encoded));
    return lines;
}

std::optional<LONGLONG> EncodedDuration(ITimelines* cuts) {
    constexpr LONGLONG kUntold =
        std::numeric_limits<LONGLONG>::min();  // left so for a source without streams
    LONGLONG duration = kUntold;
    if (!Ask<IMediaObject>(cuts)) return {};
    ForgetErrors();
    if (const HRESULT status = cuts->get_ActiveDuration(&duration); FAILED(status))
        throw Problem(Reason(status));
    if (duration == kUntold) return {};
    return duration;
}

std::vector<std::string> CutProblems(ITimelines* cuts, const MediaInfo* info) {
    std::vector<std::string> problems;
    size_t number = 0;
    for (const Ref<IProperty>& cut : AllCuts(cuts)) {
        ++number;
        const std::string problem = ProblemOf(cut.get(), info);
        if (!problem.empty()) problems.push_back("cut " + std::to_string(number) + ' ' + problem);
    }
    return problems;
}

std::string ExactSeconds(LONGLONG units) {
    const auto whole = units < 0 ? 0 - ULONGLONG(units) : ULONGLONG(units);
    char text[48];
    std::snprintf(text, sizeof text, "%s%llu.%03d s", units < 0 ? "-" : "",
                  static_cast<unsigned long long>(whole / 10000000), int(whole / 10000 % 1000));
    return text;
}

}  // namespace host
