#include "presentation.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <utility>

#include "terminal.h"
#include "text.h"

namespace host {
namespace {

enum Colour { kPlain, kDim, kBold, kGreen, kYellow };

std::string Coloured(const std::string& text, Colour colour, const TreeStyle& style) {
    static constexpr const char* kCodes[] = {"", "\033[2m", "\033[1m", "\033[32m", "\033[33m"};
    return style.colours && colour != kPlain && !text.empty() ? kCodes[colour] + text + "\033[0m" : text;
}

std::string Line(const std::wstring& text) { return OneLine(Utf8(text)); }

// --- The tree as a table

struct Row {
    size_t level;        // below the root
    std::string branch;  // what is drawn before the title, three columns for each level
    std::string title, name, value;
    const NodeView* node;
};

std::string ValueText(const NodeView& node) {
    if (!node.has_value) return {};
    const std::string value = node.shown.empty() ? "(empty)" : Line(node.shown);
    const std::string unit = Line(UnitOf(node));
    return unit.empty() ? value : value + ' ' + unit;
}

bool Skipped(const NodeView& node, const TreeStyle& style) { return node.hidden && !style.all; }

void AddRows(const NodeView& node, const std::string& branch, const std::string& below,
             const TreeStyle& style, size_t level, std::vector<Row>* rows) {
    rows->push_back({level, branch, Line(node.Label()), Line(node.name), ValueText(node), &node});
    // A node that is only there to hold the settings of a choice is told by the choice itself.
    std::vector<const NodeView*> children;
    const auto take = [&](const NodeView& child) {
        if (!Skipped(child, style)) children.push_back(&child);
    };
    if (node.held) {
        if (node.held->has_value)
            take(*node.held);
        else
            for (const NodeView& child : node.held->children) take(child);
    }
    for (const NodeView& child : node.children) take(child);
    for (const NodeView* child : children) {
        const bool last = child == children.back();
        AddRows(*child, below + (last ? "└─ " : "├─ "), below + (last ? "   " : "│  "), style, level + 1,
                rows);
    }
}

struct Piece {
    std::string text;
    Colour colour;
};

void AddChoices(const NodeView& node, std::vector<Piece>* pieces) {
    for (const auto& choice : node.choices) {
        const std::string label = Line(choice.label);
        pieces->push_back(choice.selected ? Piece{'[' + label + ']', kGreen} : Piece{label, kPlain});
    }
}

std::string LastColumn(const NodeView& node, const TreeStyle& style, size_t columns) {
    std::vector<Piece> pieces;
    if (node.hidden) pieces.push_back({"hidden", kYellow});
    if (node.disabled) pieces.push_back({"disabled", kYellow});
    if (!node.active) pieces.push_back({"inactive", kYellow});
    AddChoices(node, &pieces);
    if (node.unit && !node.unit->choices.empty()) {
        pieces.push_back({"in", kDim});
        AddChoices(*node.unit, &pieces);
    }
    std::string text;
    size_t used = 0;
    // One that doesn't fit isn't worth its beginning: the value stands beside it.
    if (!pieces.empty() && Columns(pieces[0].text) + (pieces.size() > 1 ? 4 : 0) > columns)
        return CutEnd(std::to_string(node.choices.size()) + " choices", columns);
    for (size_t i = 0; i < pieces.size(); ++i) {
        const size_t more = i + 1 < pieces.size() ? 4 : 0;  // for how many are left out
        if (i > 0 && used + 2 + Columns(pieces[i].text) + more > columns)
            return text + Coloured("  +" + std::to_string(pieces.size() - i), kDim, style);
        text += (i ? "  " : "") + Coloured(pieces[i].text, pieces[i].colour, style);
        used += Columns(pieces[i].text) + 2;
    }
    return text;
}

// --- How wide the columns are

constexpr size_t kGap = 2;
constexpr size_t kChoices = 20;  // the least that is of use

struct Layout {
    bool titles;      // a column of their own; else the tree is made of the names
    size_t step;      // columns for each level
    size_t tree = 0;  // what the tree is made of, with its branches
    size_t name = 0;  // 0: no column
    size_t value = 0;
    size_t choices = 0;
    bool cut = true;
};

/// The branch with that many columns for each level: 3 as it is, 2 without the line before the text.
std::string Branch(const Row& row, size_t step) {
    if (step == 3) return row.branch;
    std::string branch;
    size_t column = 0;
    for (size_t at = 0; at < row.branch.size(); ++at) {
        const bool begins = (row.branch[at] & 0xC0) != 0x80;
        if (begins) ++column;
        if (column % 3 != 2) branch += row.branch[at];
    }
    return branch;
}

Layout WithTitles(const std::vector<Row>& rows, size_t step, size_t widest_value) {
    Layout layout = {.titles = true, .step = step};
    layout.tree = 5;
    layout.name = 4;
    layout.value = 5;
    for (const Row& row : rows) {
        layout.tree = std::max(layout.tree, row.level * step + Columns(row.title));
        layout.name = std::max(layout.name, Columns(row.name));
        layout.value = std::max(layout.value, std::min(widest_value, Columns(row.value)));
    }
    return layout;
}

Layout LayoutFor(const std::vector<Row>& rows, size_t width) {
    constexpr size_t kLeast = 40, kWide = 30, kShort = 20;
    Layout layout = WithTitles(rows, 3, kWide);
    if (width >= kNoTerminal) {
        constexpr size_t kWidestTitle = 48, kWidestName = 32;  // what is longer moves its own line alone
        layout.tree = std::min(layout.tree, kWidestTitle);
        layout.name = std::min(layout.name, kWidestName);
        layout.choices = kNoTerminal;
        layout.cut = false;
        return layout;
    }
    for (const auto& [step, value] : {std::pair(3, kWide), std::pair(3, kShort), std::pair(2, kShort)}) {
        layout = WithTitles(rows, size_t(step), value);
        const size_t used = layout.tree + layout.name + layout.value + 3 * kGap;
        if (used + kChoices > width) continue;
        layout.choices = width - used;
        return layout;
    }
    const size_t room = std::max(width, kLeast) - 2 * kGap;
    size_t names = 4, values = 5;
    for (const Row& row : rows) {
        names = std::max(names, row.level * 2 + Columns(row.name));
        values = std::max(values, Columns(row.value));
    }
    layout = {.titles = false, .step = 2};
    layout.tree = std::min(names, room * 55 / 100);
    layout.value = std::min({values, kWide, room * 27 / 100});
    layout.choices = room - layout.tree - layout.value;
    return layout;
}

}  // namespace

std::string TreeText(const std::vector<const NodeView*>& roots, const TreeStyle& style) {
    std::vector<Row> rows;
    for (const NodeView* root : roots) AddRows(*root, "", "", style, 0, &rows);
    const Layout layout = LayoutFor(rows, style.width);
    const std::string gap(kGap, ' ');
    std::string heading = Padded(layout.titles ? "TITLE" : "NAME", layout.tree) + gap;
    if (layout.titles) heading += Padded("NAME", layout.name) + gap;
    heading +=
        Padded("VALUE", layout.value) + gap + (layout.choices < kChoices ? "CHOICES" : "CHOICES AND FLAGS");
    std::string text = Coloured(heading, kDim, style) + '\n';
    for (const Row& row : rows) {
        const std::string branch = Branch(row, layout.step);
        const size_t used = std::min(Columns(branch), layout.tree);
        std::string label = layout.titles ? row.title : row.name, value = row.value;
        if (layout.cut) {
            // Names that begin alike, as those of one group do, differ at their end.
            const size_t room = std::max<size_t>(layout.tree - used, 4);
            if (Columns(label) > room)
                label = CutEnd(label, room / 2) + CutFront(label, room - room / 2 + 1).substr(3);
            value = value.find_first_of("/\\") == value.npos ? CutEnd(value, layout.value)
                                                             : CutFront(value, layout.value);
        }
        std::string line = Padded(branch + label, layout.tree) + gap;
        if (layout.titles) line += Coloured(Padded(row.name, layout.name), kDim, style) + gap;
        line += Coloured(Padded(value, layout.value), kBold, style) + gap +
                LastColumn(*row.node, style, layout.choices);
        line.erase(line.find_last_not_of(' ') + 1);
        text += line + '\n';
    }
    return text;
}

std::string NodeText(const NodeView& node, const TreeStyle& style) {
    std::string text;
    const auto add = [&](const char* what, const std::string& lines) {
        constexpr size_t kColumn = 14;
        bool first = true;
        for (const std::string& line : Wrapped(lines, std::max<size_t>(style.width, 50) - kColumn)) {
            text += (first ? Coloured(Padded(what, kColumn), kDim, style) : std::string(kColumn, ' ')) +
                    line + '\n';
            first = false;
        }
    };
    const auto add_choices = [&](const char* what, const NodeView& of) {
        size_t widest = 0;
        for (const auto& choice : of.choices) widest = std::max(widest, Columns(Line(choice.label)));
        for (const auto& choice : of.choices) {
            const std::string stored = choice.value.object() ? "" : "= " + Line(choice.value.AsText());
            text += Coloured(Padded(&choice == &of.choices.front() ? what : "", 12), kDim, style) +
                    (choice.selected ? "* " : "  ") + Padded(Line(choice.label), widest) + "  " + stored;
            text.erase(text.find_last_not_of(' ') + 1);
            text += '\n';
        }
    };

    char word[16];
    std::snprintf(word, sizeof word, "0x%X", unsigned(node.style));
    wchar_t cls[40];
    StringFromGUID2(node.cls, cls, 40);
    add("Name", Utf8(node.name));
    add("Title", Utf8(node.title));
    add("Description", Utf8(node.description));
    add("Type", word);
    add("Class", Utf8(cls));
    std::string state = node.hidden ? "hidden" : "shown";
    state += node.disabled ? ", disabled" : ", enabled";
    if (!node.active) state += ", inactive";
    add("State", state);
    if (node.has_value) {
        std::string value = ValueText(node);
        const std::string stored = node.value.object() ? "" : Line(node.value.AsText());
        if (!stored.empty() && stored != Line(node.shown)) value += ", stored as " + stored;
        add("Value", value + " (" + bv::KindName(node.value.kind()) + ")");
    } else {
        add("Value", "none: this is a group");
    }
    add_choices("Choices", node);
    if (node.unit) {
        add("Extension",
            ValueText(*node.unit) + (node.unit->title.empty() ? "" : " (" + Line(node.unit->title) + ")"));
        add_choices("", *node.unit);
    }
    std::string children;
    for (const NodeView& child : node.children) children += (children.empty() ? "" : ", ") + Line(child.name);
    add("Children", children);
    return text;
}

// --- Inputs

namespace {

std::string Seconds(LONGLONG units) {
    char text[40];
    std::snprintf(text, sizeof text, "%lld.%02d s", static_cast<long long>(units / 10000000),
                  int(units / 100000 % 100));
    return text;
}

}  // namespace

std::vector<std::string> InputText(const Input& input) {
    std::vector<std::string> lines = {input.path.empty() ? "(no path)" : Line(input.path)};
    if (!input.problem.empty()) {
        lines.push_back("not opened: " + input.problem);
    } else {
        std::string text = input.info.still ? "a still image" : Seconds(input.info.duration);
        if (input.info.frame_time > 0) {
            char rate[32];
            std::snprintf(rate, sizeof rate, "%.5g", 1e7 / double(input.info.frame_time));
            text += std::string(", ") + rate + " frames a second";
        }
        if (!input.info.still) {
            text += input.info.video ? ", video" : "";
            text += input.info.audio ? ", audio" : "";
        }
        lines.push_back(text);
    }
    const std::string frames =
        std::to_string(input.key_frames) + (input.key_frames == 1 ? " key frame" : " key frames");
    if (input.index == Input::kMade) lines.push_back("index: made, " + frames);
    if (input.index == Input::kFromCache) lines.push_back("index: from cache, " + frames);
    return lines;
}

// --- JSON

namespace {

std::string Json(const std::wstring& text) {
    std::string result = "\"";
    for (const char c : Utf8(text)) {
        if (c == '"' || c == '\\') {
            result += {'\\', c};
        } else if (static_cast<unsigned char>(c) < 0x20) {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\u%04x", unsigned(static_cast<unsigned char>(c)));
            result += escape;
        } else {
            result += c;
        }
    }
    return result + '"';
}

std::string Json(const Value& value) {
    if (IsWhole(value.kind())) return Utf8(value.AsText());
    char text[40];
    switch (value.kind()) {
        case VT_EMPTY:
        case VT_NULL:
        case VT_DISPATCH:
        case VT_UNKNOWN:
            return "null";
        case VT_BOOL:
            return value.get().boolVal ? "true" : "false";
        case VT_R4:
        case VT_R8: {
            Value number;
            if (FAILED(value.ChangeTo(VT_R8, &number))) break;
            const double real = number.get().dblVal;
            if (real != real || real - real != 0) return "null";  // JSON has no such numbers
            return std::string(text, std::to_chars(text, text + sizeof text, real).ptr);
        }
        default:
            break;
    }
    return Json(value.AsText());
}

class JsonWriter {
public:
    explicit JsonWriter(bool all) : all_(all) {}

    std::string text;

    void Key(const char* key) { text += Comma() + Indent() + '"' + key + "\": "; }
    void Field(const char* key, const std::string& json) {
        Key(key);
        text += json;
    }
    void Open(char bracket) {
        text += bracket;
        ++depth_;
        first_ = true;
    }
    void Close(char bracket) {
        --depth_;
        if (!first_) text += '\n' + std::string(depth_ * 2, ' ');
        text += bracket;
        first_ = false;
    }
    void Element() { text += Comma() + Indent(); }

    void Node(const NodeView& node) {
        wchar_t cls[40];
        StringFromGUID2(node.cls, cls, 40);
        Open('{');
        Field("name", Json(node.name));
        Field("title", Json(node.title));
        Field("description", Json(node.description));
        Field("type", std::to_string(node.style));
        Field("class", Json(cls));
        Field("hidden", node.hidden ? "true" : "false");
        Field("disabled", node.disabled ? "true" : "false");
        Field("active", node.active ? "true" : "false");
        if (node.has_value) {
            Field("value", Json(node.value));
            Field("valueType", std::to_string(node.value.kind()));
            Field("shown", Json(node.shown));
        }
        if (!node.choices.empty()) {
            Key("choices");
            Open('[');
            for (const auto& choice : node.choices) {
                Element();
                text += "{\"label\": " + Json(choice.label) + ", \"value\": " + Json(choice.value) +
                        ", \"selected\": " + (choice.selected ? "true" : "false") + '}';
            }
            Close(']');
        }
        if (node.unit) {
            Key("extension");
            Node(*node.unit);
        }
        if (node.held) {
            Key("held");
            Node(*node.held);
        }
        if (!node.children.empty()) {
            Key("children");
            Open('[');
            for (const NodeView& child : node.children) {
                if (child.hidden && !all_) continue;
                Element();
                Node(child);
            }
            Close(']');
        }
        Close('}');
    }

private:
    std::string Comma() {
        const bool comma = !first_;
        first_ = false;
        return comma ? ",\n" : "\n";
    }
    std::string Indent() const { return std::string(depth_ * 2, ' '); }

    bool all_;
    bool first_ = true;
    size_t depth_ = 0;
};

}  // namespace

std::string TreeJson(const NodeView& root, const std::vector<Input>& inputs, bool all) {
    JsonWriter writer(all);
    writer.Open('{');
    writer.Key("inputs");
    writer.Open('[');
    for (const Input& input : inputs) {
        writer.Element();
        writer.Open('{');
        writer.Field("path", Json(input.path));
        writer.Field("opened", input.problem.empty() ? "true" : "false");
        writer.Field("duration", std::to_string(input.info.duration));
        writer.Field("frameTime", std::to_string(input.info.frame_time));
        writer.Field("video", input.info.video ? "true" : "false");
        writer.Field("audio", input.info.audio ? "true" : "false");
        writer.Field("still", input.info.still ? "true" : "false");
        writer.Key("node");
        writer.Node(ViewOf(input.node.get()));
        writer.Close('}');
    }
    writer.Close(']');
    writer.Key("tree");
    writer.Node(root);
    writer.Close('}');
    return writer.text + '\n';
}

}  // namespace host
