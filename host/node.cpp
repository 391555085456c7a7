#include <bvschema/host/node.h>

#include <algorithm>
#include <charconv>

#include "core.h"

namespace bv::inline host {
namespace {

template <class Call>
std::string TextBy(Call call) {
    TextResult text;
    call(text.Put());
    return text.Utf8();
}

template <class Call>
LONG NumberBy(LONG otherwise, Call call) {
    LONG number = otherwise;
    call(&number);
    return number;
}

// --- What a person types

struct Range {
    VARTYPE kind;
    long long lowest, highest;
};
template <class T>
constexpr Range RangeOf(VARTYPE kind) {
    return {kind, std::numeric_limits<T>::min(), std::numeric_limits<T>::max()};
}
constexpr Range kWholeKinds[] = {
    RangeOf<signed char>(VT_I1), RangeOf<unsigned char>(VT_UI1),
    RangeOf<short>(VT_I2),       RangeOf<unsigned short>(VT_UI2),
    RangeOf<int>(VT_I4),         RangeOf<unsigned>(VT_UI4),
    RangeOf<int>(VT_INT),        RangeOf<unsigned>(VT_UINT),
    RangeOf<long long>(VT_I8),   {VT_UI8, 0, std::numeric_limits<long long>::max()},
};

const Range* WholeRange(VARTYPE kind) {
    for (const Range& range : kWholeKinds)
        if (range.kind == kind) return &range;
    return nullptr;
}

bool IsReal(VARTYPE kind) { return kind == VT_R4 || kind == VT_R8 || kind == VT_CY || kind == VT_DECIMAL; }

template <class Number>
std::optional<Number> Parsed(std::string_view text) {
    Number number = {};
    const auto [rest, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || rest != text.data() + text.size()) return {};
    return number;
}

/// The text in a kind of value; not where that would round it.
std::optional<Value> Converted(VARTYPE kind, std::string_view text) {
    if (kind == VT_EMPTY || kind == VT_BSTR) return Value(text);
    if (const Range* range = WholeRange(kind)) {
        const auto number = Parsed<long long>(text);
        if (!number || *number < range->lowest || *number > range->highest) return {};
    } else if (IsReal(kind)) {
        const auto number = Parsed<double>(text);
        if (!number || *number - *number != 0) return {};  // neither "inf" nor "nan"
        Value value;  // not by text, in which the decimal point depends on the locale
        if (FAILED(Value(*number).ChangeTo(kind, &value))) return {};
        return value;
    }
    Value value;
    if (FAILED(Value(text).ChangeTo(kind, &value))) return {};
    return value;
}

/// A format has a name of its own beside the label of its choice.
std::string FormatName(const Choice& choice, std::string* extension = nullptr) {
    TextResult name, with_dot;
    const auto format = Ask<IOutputFormatInfo>(choice.value.object());
    if (!format || FAILED(format->GetFormatInfo(name.Put(), with_dot.Put()))) return {};
    if (extension) *extension = with_dot.Utf8();
    return name.Utf8();
}

std::optional<Value> Labelled(const std::vector<Choice>& choices, std::string_view text) {
    for (const Choice& choice : choices)
        if (SameName(choice.label, text)) return choice.value;
    for (const Choice& choice : choices)
        if (std::string extension;
            SameName(FormatName(choice, &extension), text) || SameName(extension, text))
            return choice.value;
    return {};
}

/// What a node takes, in words, with the choice that is nearest to a text that it doesn't take.
std::string Accepted(const Node& node, std::string_view text) {
    const std::vector<Choice> choices = node.choices();
    if (!choices.empty()) {
        std::vector<std::string> labels;
        std::string all;
        for (const Choice& choice : choices) {
            labels.push_back(choice.label);
            all += (all.empty() ? "" : ", ") + Quoted(choice.label);
            const std::string also = FormatName(choice);
            if (also.empty() || also == choice.label) continue;
            labels.push_back(also);
            all += " (" + OneLine(also) + ')';
        }
        return "the choices are " + all + Suggestion(text, labels);
    }
    const LONG style = node.style();
    if (style & style::kCheckBox) return "this setting is \"on\" or \"off\"";
    if (!node.has_value()) return "this is a group, it has no value";
    const VARTYPE kind = node.value().kind();
    std::string takes = "a " + KindName(kind);
    if (const Range* range = WholeRange(kind)) {
        takes = "a whole number from " + std::to_string(style & style::kNotNegative ? 0 : range->lowest) +
                " to " + std::to_string(range->highest);
    } else if (IsReal(kind)) {
        takes = "a number, such as 29.97";
    }
    if (const Node unit = node.unit_node()) {
        std::string units;
        for (const Choice& choice : unit.choices())
            units += (units.empty() ? "" : ", ") + OneLine(choice.label);
        if (!units.empty()) takes += ", and behind a blank its unit: " + units;
    }
    return "this setting takes " + takes;
}

}  // namespace

// --- What it says of itself

std::string Node::name() const {
    return TextBy([this](BSTR* out) { return node_->get_Name(out); });
}
std::string Node::title() const {
    return TextBy([this](BSTR* out) { return node_->get_Title(out); });
}
std::string Node::help() const {
    return TextBy([this](BSTR* out) { return node_->get_Description(out); });
}
std::string Node::label() const {
    std::string text = title();
    return text.empty() ? name() : text;
}

std::string Node::path() const {
    std::string path = name();
    Ref<IProperty> at = node_;
    for (int depth = 0; depth < kDeepestNode; ++depth) {
        Ref<IDispatch> above;
        if (at->get_Parent(above.Put()) != S_OK) break;
        at = above.As<IProperty>();
        if (!at) break;
        path = Node(at.get()).name() + '/' + path;
    }
    return path;
}

CLSID Node::class_id() const {
    CLSID cls = {};
    node_->get_ClassID(&cls);
    return cls;
}

LONG Node::style() const {
    return NumberBy(0, [this](LONG* out) { return node_->get_Type(out); });
}
bool Node::hidden() const {
    return NumberBy(0, [this](LONG* out) { return node_->get_IsHide(out); }) != 0;
}
bool Node::disabled() const {
    return NumberBy(0, [this](LONG* out) { return node_->get_IsDisabled(out); }) != 0;
}
bool Node::active() const {
    return NumberBy(1, [this](LONG* out) { return node_->get_Active(out); }) != 0;
}

Editor Node::editor() const {
    const LONG word = style();
    if (word & style::kCheckBox || word & style::kSwitch || word & style::kBranch) return Editor::kCheckBox;
    if (word & style::kGroup) return Editor::kGroup;
    if (word & style::kLabel && !(word & style::kDialog)) return Editor::kNone;
    const bool with_value = has_value();
    const Ref<IListOfValues> list = with_value ? Ask<IListOfValues>(node_.get()) : Ref<IListOfValues>();
    LONG count = 0;
    if (list && SUCCEEDED(list->get_Count(&count)) && count > 0) return Editor::kChoice;
    if (word & style::kFile) return Editor::kFile;
    if (word & style::kDialog) return Editor::kDialog;
    if (!with_value || word & style::kCarrier) return Editor::kNone;
    const VARTYPE kind = value().kind();
    if (IsWhole(kind) || IsReal(kind)) return Editor::kNumber;
    return word & style::kEdit || kind == VT_BSTR ? Editor::kText : Editor::kNone;
}

// --- Its value

bool Node::has_value() const {
    Value value;
    return node_->get_Value(value.Put()) == S_OK;
}

Value Node::value() const {
    Value value;
    if (node_->get_Value(value.Put()) != S_OK) return {};
    return value;
}

std::vector<Choice> Node::choices() const {
    std::vector<Choice> choices;
    const auto list = Ask<IListOfValues>(node_.get());
    LONG count = 0;
    if (!list || FAILED(list->get_Count(&count))) return choices;
    // The list itself knows which entry the value is.
    TextResult selected;
    Value value;
    const bool known =
        node_->get_Value(value.Put()) == S_OK && SUCCEEDED(list->get_Text(value.get(), selected.Put()));
    const std::string label_now = selected.Utf8();
    bool found = false;
    for (LONG i = 0; i < count; ++i) {
        Ref<IUnknown> item;
        if (FAILED(list->get_Item(i, item.Put()))) continue;
        const auto entry = item.As<IListItem>();
        TextResult label;
        Choice choice;
        if (!entry || FAILED(entry->get_Title(label.Put())) || FAILED(entry->get_Value(choice.value.Put())))
            continue;
        choice.label = label.Utf8();
        choice.selected = known && !found && choice.label == label_now;
        found = found || choice.selected;
        choices.push_back(std::move(choice));
    }
    return choices;
}

std::string Node::shown() const {
    Value value;
    if (node_->get_Value(value.Put()) != S_OK) return {};
    const auto list = Ask<IListOfValues>(node_.get());
    TextResult label;
    if (list && SUCCEEDED(list->get_Text(value.get(), label.Put()))) return label.Utf8();
    if (style() & style::kCheckBox && !value.object())
        if (const auto flag = value.number(); flag == 0 || flag == 1) return *flag ? "on" : "off";
    if (const Node node = held()) return node.label();
    if (value.object()) return "(object)";
    // What the node shows, which may differ from what it stores.
    Value formatted;
    return FAILED(node_->get_Format(formatted.Put())) ? value.text() : formatted.text();
}

Node Node::unit_node() const {
    Ref<IProperty> unit;
    if (node_->get_Extension(unit.Put()) != S_OK) return {};
    return With(std::move(unit));
}

std::string Node::unit() const {
    const Node node = unit_node();
    return node ? node.shown() : std::string();
}

std::string Node::accepts() const { return Accepted(*this, {}); }

std::optional<Value> Node::Parse(std::string_view text) const {
    const std::vector<Choice> choices = this->choices();
    if (!text.empty())
        if (auto value = Labelled(choices, text)) return value;
    const Value now = value();
    const LONG word = style();
    if (!choices.empty()) {
        for (const Choice& choice : choices)
            if (!choice.value.object() && !text.empty() && choice.value.text() == text) return choice.value;
        if (word & style::kList || now.object()) return {};
    }
    if (now.object() || !has_value()) return {};
    if (word & style::kCheckBox) {
        for (const char* yes : {"on", "yes", "true", "1"})
            if (SameName(text, std::string_view(yes))) return Converted(now.kind(), "1");
        for (const char* no : {"off", "no", "false", "0"})
            if (SameName(text, std::string_view(no))) return Converted(now.kind(), "0");
        return {};
    }
    return Converted(now.kind(), text);
}

Result<> Node::Change(const std::string& what, const Value& given,
                      const std::function<HRESULT()>& change) const {
    const auto refusal = [&](HRESULT status) {
        return Refusal{
            status, status == E_NOTIMPL && !has_value() ? "this is a group, it has no value" : Reason(status),
            name(), given.text()};
    };
    ForgetErrors();
    const HRESULT status = job_ ? job_->Edit(what, node_.get(), change) : change();
    if (FAILED(status)) return refusal(status);
    return {};
}

Result<> Node::Put(const Value& value) const {
    return Change(label(), value, [&] { return node_->put_Value(value.get()); });
}

Result<> Node::Set(const Value& value) const {
    node_->BeforeCombo();
    if (value.object() || value.empty()) return Put(value);
    std::string text = value.text();
    if (value.kind() == VT_BOOL) text = value.number() != 0 ? "on" : "off";
    std::optional<Value> parsed = Parse(text), unit;
    const Node unit_node = this->unit_node();
    const size_t blank = text.rfind(' ');
    if (!parsed && unit_node && blank != text.npos) {
        unit = Labelled(unit_node.choices(), std::string_view(text).substr(blank + 1));
        if (unit) parsed = Parse(std::string_view(text).substr(0, blank));
    }
    if (!parsed) return Refusal{E_INVALIDARG, Accepted(*this, text), name(), text};
    return Change(label(), value, [&] {
        // Where the shown and the stored form differ, the node converts; a choice is stored as it is.
        const bool shown_form = unit_node && Ask<IValueFormat>(unit_node.get()) && parsed->kind() == VT_BSTR;
        const Value before = this->value();
        HRESULT status = shown_form ? node_->put_Format(parsed->get()) : node_->put_Value(parsed->get());
        if (SUCCEEDED(status) && unit) {
            status = unit_node.get()->put_Value(unit->get());
            if (FAILED(status)) node_->put_Value(before.get());
        }
        return status;
    });
}

void Node::Keep(Result<> result) const {
    if (!result && job_) job_->refusals.push_back(result.error());
}

Result<bool> Node::ShowDialog() const {
    bool stored = false;
    const auto shown = Change(label(), {}, [&] {
        const HRESULT status = node_->ShowDialog();
        stored = status == S_OK;
        return status;
    });
    if (!shown) return shown.error();
    return stored;
}

// --- What hangs on it

Node Node::held() const {
    Value value;
    if (node_->get_Value(value.Put()) != S_OK) return {};
    return With(Ask<IProperty>(value.object()));
}

std::vector<Node> Node::children() const {
    std::vector<Node> nodes;
    const auto list = Ask<IEnumProperties>(node_.get());
    LONG count = 0;
    if (!list || FAILED(list->get_Count(&count))) return nodes;
    for (LONG i = 0; i < count; ++i) {
        Ref<IUnknown> item;
        if (FAILED(list->get_Item(i, item.Put()))) continue;
        if (Ref<IProperty> child = item.As<IProperty>()) nodes.push_back(With(std::move(child)));
    }
    return nodes;
}

void Node::Collect(std::vector<Node>& all, bool hidden_too, int depth) const {
    if (depth > kDeepestNode) return;
    const auto add = [&](const Node& node) {
        if (!hidden_too && node.hidden()) return;
        all.push_back(node);
        node.Collect(all, hidden_too, depth + 1);
    };
    if (const Node node = held()) add(node);
    for (const Node& child : children()) add(child);
}

std::vector<Node> Node::Visible() const {
    std::vector<Node> all;
    Collect(all, false, 0);
    return all;
}

std::vector<Node> Node::All() const {
    std::vector<Node> all;
    Collect(all, true, 0);
    return all;
}

Node Node::Find(std::string_view wanted) const {
    const size_t slash = wanted.find('/');
    const std::string_view first = wanted.substr(0, slash);
    for (const Node& node : All()) {
        if (!SameName(node.name(), first)) continue;
        if (slash == wanted.npos) return node;
        if (const Node below = node.Find(wanted.substr(slash + 1))) return below;
    }
    return {};
}

}  // namespace bv::inline host
