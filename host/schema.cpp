#include <bvschema/host/preset.h>
#include <bvschema/host/schema.h>
#include <bvschema/host/why.h>

#include <nlohmann/json.hpp>
#include <set>

namespace bv::inline host {
namespace {

using Json = nlohmann::json;

constexpr int kDeepestChoice = 4;  // choices that bring choices

Job NewTree() {
    JobOptions options;
    options.undo_depth = 0;
    return Job::Create(std::move(options));
}

Json Plain(const Value& value, const std::string& shown) {
    const Scalar scalar = value.scalar();
    return std::visit(
        [&](const auto& one) -> Json {
            using T = std::decay_t<decltype(one)>;
            if constexpr (std::is_same_v<T, std::monostate>)
                return nullptr;
            else if constexpr (std::is_same_v<T, Ref<IUnknown>>)
                return shown;
            else
                return one;
        },
        scalar);
}

const char* Name(Editor editor) {
    switch (editor) {
        case Editor::kGroup:
            return "group";
        case Editor::kCheckBox:
            return "check box";
        case Editor::kChoice:
            return "choice";
        case Editor::kNumber:
            return "number";
        case Editor::kText:
            return "text";
        case Editor::kFile:
            return "file";
        case Editor::kDialog:
            return "dialog";
        case Editor::kNone:
            break;
    }
    return "none";
}

std::string Id(const CLSID& cls) {
    wchar_t text[40] = {};
    StringFromGUID2(cls, text, 40);
    return ToUtf8(text);
}

/// Whether the tree takes a number; the setting is as it was afterwards.
bool Takes(const Node& node, std::int64_t number) {
    const Value before = node.value();
    Value value;
    if (FAILED(Value(number).ChangeTo(before.kind(), &value)) || !node.Put(value)) return false;
    std::ignore = node.Put(before);
    return true;
}

/// The least and the greatest whole number that the tree takes, found by trying powers of two and what
/// lies beside them.
Json RangeOf(const Node& node) {
    const VARTYPE kind = node.value().kind();
    if (!IsWhole(kind) || node.editor() != Editor::kNumber) return nullptr;
    const int bits = kind == VT_I2 || kind == VT_UI2 ? 16 : kind == VT_I1 || kind == VT_UI1 ? 8 : 32;
    const bool has_sign = kind == VT_I1 || kind == VT_I2 || kind == VT_I4 || kind == VT_INT || kind == VT_I8;
    const std::int64_t highest = (std::int64_t(1) << (has_sign ? bits - 1 : bits)) - 1;
    const std::int64_t lowest = has_sign ? -highest - 1 : 0;
    const auto edge = [&](std::int64_t from, std::int64_t to) {  // from is taken, to may be
        if (Takes(node, to)) return to;
        while (to - from > 1 || from - to > 1) {
            const std::int64_t middle = from + (to - from) / 2;
            (Takes(node, middle) ? from : to) = middle;
        }
        return from;
    };
    std::int64_t inside = node.value().number().value_or(0);
    return {edge(inside, lowest), edge(inside, highest)};
}

class Writer {
public:
    Json Settings() {
        Collect({}, 0);
        return std::move(settings_);
    }

private:
    /// The settings of a new job with these choices made, and then of each choice that brings others.
    void Collect(const std::vector<std::pair<std::string, std::string>>& choices, int depth) {
        const auto tree = [&] {
            Job job = NewTree();
            for (const auto& [path, label] : choices)
                if (const Node node = job[path]) std::ignore = node.Set(label);
            return job;
        };
        const Job job = tree();
        std::vector<std::pair<std::string, std::string>> further;
        for (const Node& node : job.Root().All()) {
            const std::string path = node.path();
            const bool is_new = known_.insert(path).second;
            if (is_new) Add(job, node, path, choices);
            if (depth >= kDeepestChoice || !is_new) continue;
            for (const Choice& choice : node.choices())
                if (choice.value.object() && !choice.selected) further.push_back({path, choice.label});
        }
        for (const auto& one : further) {
            auto more = choices;
            more.push_back(one);
            Collect(more, depth + 1);
        }
    }

    void Add(const Job& job, const Node& node, const std::string& path,
             const std::vector<std::pair<std::string, std::string>>& choices) {
        Json one = {{"path", path},
                    {"name", node.name()},
                    {"title", node.title()},
                    {"help", node.help()},
                    {"class", Id(node.class_id())},
                    {"style", node.style()},
                    {"editor", Name(node.editor())},
                    {"hidden", node.hidden()},
                    {"disabled", node.disabled()}};
        if (!choices.empty()) {
            one["with"] = Json::array();
            for (const auto& [decider, label] : choices)
                one["with"].push_back({{"node", decider}, {"value", label}});
        }
        if (node.has_value()) {
            const Value value = node.value();
            const std::string shown = node.shown();
            one["type"] = value.kind();
            one["default"] = {{"value", Plain(value, shown)}, {"shown", shown}};
            if (const Json range = RangeOf(node); !range.is_null())
                one["range"] = {{"from", range[0]}, {"to", range[1]}};
        }
        if (const auto list = node.choices(); !list.empty()) {
            one["choices"] = Json::array();
            for (const Choice& choice : list)
                one["choices"].push_back(
                    {{"label", choice.label}, {"value", Plain(choice.value, choice.label)}});
        }
        if (const Node unit = node.unit_node()) {
            Json units = Json::array();
            for (const Choice& choice : unit.choices()) units.push_back(choice.label);
            one["unit"] = {{"default", unit.shown()}, {"choices", std::move(units)}};
        }
        auto why = Why(job, path);
        if (why && why->state != Explanation::kNothing) {
            one["shown by"] = Json::array();
            for (const Cause& cause : why->causes)
                one["shown by"].push_back({{"node", cause.node}, {"values", cause.instead}});
        }
        settings_.push_back(std::move(one));
    }

    Json settings_ = Json::array();
    std::set<std::string> known_;
};

}  // namespace

std::string SchemaJson() {
    const Json document = {{"bvschema", "1.0"}, {"settings", Writer().Settings()}};
    return document.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace bv::inline host
