#include <bvschema/host/document.h>
#include <bvschema/host/preset.h>

#include <algorithm>
#include <map>
#include <nlohmann/json.hpp>
#include <set>

#include "config_folder.h"

namespace bv::inline host {
namespace {

using Json = nlohmann::json;

Job NewJob() {
    JobOptions options;
    options.undo_depth = 0;
    return Job::Create(std::move(options));
}

Setting SettingOf(const Node& node) {
    Setting setting = {node.path(), node.label(), node.value(), node.unit(), node.shown()};
    if (setting.value.object()) setting.value = Value(setting.shown);
    return setting;
}

bool Same(const Setting& a, const Setting& b) { return a.value == b.value && a.unit == b.unit; }

std::string WithUnit(const Setting& setting) {
    return setting.unit.empty() ? setting.shown : setting.shown + ' ' + setting.unit;
}

/// The settings of a tree that hold a value, each by its path; of several with one path the first.
std::vector<Setting> SettingsOf(const Job& job) {
    std::vector<Setting> settings;
    std::set<std::string> known;
    for (const Node& node : job.Root().All()) {
        if (!node.has_value()) continue;
        Setting setting = SettingOf(node);
        if (known.insert(setting.node).second) settings.push_back(std::move(setting));
    }
    return settings;
}

/// As it was stored: a choice by its label, the rest by its value and unit.
Result<> Set(const Node& node, const Setting& setting) {
    const auto choices = node.choices();
    for (const Choice& choice : choices)
        if (choice.value.object() && choice.label == setting.value.text()) return node.Put(choice.value);
    if (node.value().object()) return node.Set(setting.value);
    if (!setting.unit.empty())
        if (const Node unit = node.unit_node())
            if (auto set = unit.Set(setting.unit); !set) return set;
    return node.Put(setting.value);
}

}  // namespace

// A choice brings settings of its own: what differs is set on the new job too, so that what hangs on it is
// compared with what a new one has there.
std::vector<Setting> Changed(const Job& job) {
    std::vector<Setting> changed;
    const Job fresh = NewJob();
    std::map<std::string, Node> defaults;
    const auto look = [&] {
        defaults.clear();
        for (const Node& node : fresh.Root().All()) defaults.emplace(node.path(), node);
    };
    look();
    for (Setting& setting : SettingsOf(job)) {
        const auto found = defaults.find(setting.node);
        if (found == defaults.end()) continue;
        if (Same(setting, SettingOf(found->second))) continue;
        const bool brings_others = bool(found->second.held());
        std::ignore = Set(found->second, setting);
        changed.push_back(std::move(setting));
        if (brings_others) look();
    }
    return changed;
}

bool IsChanged(const Job& job, std::string_view name) {
    const Node node = job[name];
    if (!node) return false;
    const std::string path = node.path();
    const auto changed = Changed(job);
    return std::any_of(changed.begin(), changed.end(),
                       [&](const Setting& setting) { return setting.node == path; });
}

Result<> Reset(Job& job, std::string_view name) {
    const Node node = job[name];
    if (!node) return Refusal{E_INVALIDARG, "there is no setting " + Quoted(name), std::string(name), {}};
    const Job fresh = NewJob();
    return job.Transaction("Reset " + node.label(), [&]() -> Result<> {
        std::vector<Node> nodes = node.All();
        nodes.insert(nodes.begin(), node);
        for (const Node& one : nodes) {
            const Node original = fresh[one.path()];
            if (!original || !original.has_value() || !one.has_value()) continue;
            const Setting wanted = SettingOf(original);
            if (Same(wanted, SettingOf(one))) continue;
            if (auto set = Set(one, wanted); !set) return set;
        }
        return {};
    });
}

std::vector<Difference> Compare(const Job& before, const Job& after) {
    std::vector<Difference> differences;
    const std::vector<Setting> was = SettingsOf(before), is = SettingsOf(after);
    // What only one of them has belongs to a choice of its own: it counts where somebody has set it.
    const std::vector<Setting> set_before = Changed(before), set_after = Changed(after);
    const auto find = [](const std::vector<Setting>& settings, const std::string& path) {
        return std::find_if(settings.begin(), settings.end(),
                            [&](const Setting& one) { return one.node == path; });
    };
    const auto has = [&](const std::vector<Setting>& settings, const std::string& path) {
        return find(settings, path) != settings.end();
    };
    for (const Setting& now : is) {
        const auto old = find(was, now.node);
        if (old == was.end() && has(set_after, now.node))
            differences.push_back({now.node, now.label, {}, WithUnit(now)});
        else if (old != was.end() && !Same(*old, now))
            differences.push_back({now.node, now.label, WithUnit(*old), WithUnit(now)});
    }
    for (const Setting& old : was)
        if (!has(is, old.node) && has(set_before, old.node))
            differences.push_back({old.node, old.label, WithUnit(old), {}});
    return differences;
}

LoadReport Apply(Job& job, const std::vector<Setting>& settings) {
    LoadReport report;
    std::ignore = job.Transaction("Preset", [&]() -> Result<> {
        for (size_t i = 0; i < settings.size(); ++i) {
            const Setting& setting = settings[i];
            const Node node = job[setting.node];
            if (!node) {
                report.notes.push_back({LoadNote::kUnknown, i + 1, setting.node,
                                        "there is no setting " + Quoted(setting.node) + " here"});
                continue;
            }
            if (const auto set = Set(node, setting); !set)
                report.notes.push_back({LoadNote::kRefused, i + 1, setting.node, set.error().text});
            else
                ++report.set;
        }
        return {};
    });
    return report;
}

// --- JSON

std::string ToJson(const std::vector<Setting>& settings) {
    Json list = Json::array();
    for (const Setting& setting : settings) {
        Json one = {{"node", setting.node}, {"type", setting.value.kind()}, {"shown", setting.shown}};
        const Scalar scalar = setting.value.scalar();
        std::visit(
            [&](const auto& value) {
                using T = std::decay_t<decltype(value)>;
                if constexpr (!std::is_same_v<T, std::monostate> && !std::is_same_v<T, Ref<IUnknown>>)
                    one["value"] = value;
            },
            scalar);
        if (!setting.unit.empty()) one["unit"] = setting.unit;
        list.push_back(std::move(one));
    }
    return Json{{"bvschema", "1.0"}, {"settings", std::move(list)}}.dump(2, ' ', false,
                                                                         Json::error_handler_t::replace) +
           "\n";
}

std::vector<Setting> ParsePreset(std::string_view json) try {
    if (json.size() > kLargestDocument) throw Error("a preset has at most 16 MB");
    // A few settings lie at most three levels deep: deeper ones would end the stack.
    const auto depth_guard = [](int depth, Json::parse_event_t, Json&) {
        if (depth > 16) throw Error("the preset's values lie too deep");
        return true;
    };
    const Json document = Json::parse(json, depth_guard);
    std::vector<Setting> settings;
    for (const Json& one : document.at("settings")) {
        Setting setting;
        setting.node = one.at("node").get<std::string>();
        setting.shown = one.value("shown", std::string());
        setting.unit = one.value("unit", std::string());
        const VARTYPE kind = one.at("type").get<VARTYPE>();
        const auto value = one.find("value");
        Value plain;
        if (value == one.end())
            plain = {};
        else if (value->is_string())
            plain = Value(value->get<std::string>());
        else if (value->is_boolean())
            plain = Value(value->get<bool>());
        else if (value->is_number_integer())
            plain = Value(value->get<std::int64_t>());
        else if (value->is_number())
            plain = Value(value->get<double>());
        else
            throw Error("a setting's value is a text, a number or a switch: " + Quoted(setting.node));
        const bool known =
            IsWhole(kind) || (kind >= VT_R4 && kind <= VT_BSTR) || kind == VT_BOOL || kind == VT_DECIMAL;
        if (plain.empty() ? kind != VT_EMPTY : !known || FAILED(plain.ChangeTo(kind, &setting.value)))
            throw Error("the value of " + Quoted(setting.node) + " doesn't fit its type");
        settings.push_back(std::move(setting));
    }
    return settings;
} catch (const Json::exception& error) {
    throw Error(std::string("this is no preset: ") + error.what());
}

// --- Presets

Presets::Presets() : folder_(ConfigFolder() / "bvschema" / "presets") {}

Result<std::filesystem::path> Presets::FileOf(std::string_view name) const {
    const bool good =
        !name.empty() && name.size() <= 200 && name.front() != '.' && name.back() != '.' &&
        name.back() != ' ' && name.find_first_of("/\\:*?\"<>|") == name.npos &&
        std::none_of(name.begin(), name.end(), [](char c) { return static_cast<unsigned char>(c) < ' '; });
    if (!good)
        return Refusal{E_INVALIDARG, Quoted(name) + " can't be the name of a preset", {}, std::string(name)};
    return folder_ / ToPath(std::string(name) + ".json");
}

std::vector<std::string> Presets::List() const {
    std::vector<std::string> names;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(folder_, error))
        if (entry.path().extension() == ".json") names.push_back(PathToUtf8(entry.path().stem()));
    std::sort(names.begin(), names.end());
    return names;
}

Result<> Presets::Save(const Job& job, std::string_view name) const {
    auto file = FileOf(name);
    if (!file) return file.error();
    std::error_code error;
    std::filesystem::create_directories(folder_, error);
    try {
        WriteWhole(*file, ToJson(Changed(job)));
    } catch (const Error& problem) {
        return Refusal{problem.status(), problem.what(), {}, std::string(name)};
    }
    return {};
}

std::vector<Setting> Presets::Load(std::string_view name) const {
    auto file = FileOf(name);
    if (!file) throw Error(file.error());
    std::error_code error;
    if (!std::filesystem::exists(*file, error))
        throw Error("there is no preset " + Quoted(name) + Suggestion(name, List()));
    return ParsePreset(ReadWhole(*file));
}

Result<> Presets::Remove(std::string_view name) const {
    auto file = FileOf(name);
    if (!file) return file.error();
    std::error_code error;
    if (!std::filesystem::remove(*file, error))
        return Refusal{E_INVALIDARG,
                       "there is no preset " + Quoted(name) + Suggestion(name, List()),
                       {},
                       std::string(name)};
    return {};
}

}  // namespace bv::inline host
