// bvhost why, diff, preset, schema: what the layer for hosts knows of a job beyond its values.
#include <bvschema/host/preset.h>
#include <bvschema/host/schema.h>
#include <bvschema/host/why.h>

#include <algorithm>
#include <memory>
#include <nlohmann/json.hpp>

#include "commands.h"
#include "exit_code.h"
#include "job_source.h"
#include "paths.h"
#include "terminal.h"
#include "text.h"

namespace host {
namespace {

using Json = nlohmann::json;

void PrintJson(const Json& json) { Print(json.dump(2, ' ', false, Json::error_handler_t::replace) + '\n'); }

int ShowWhy(const JobSource& source, const std::wstring& name, bool json) {
    const auto job = source.OpenAndSet();
    auto why = bv::Why(job->Layer(), Utf8(name));
    if (!why) {
        job->Node(name);  // which knows what else may have been meant
        throw Problem(why.error().text);
    }
    if (json) {
        constexpr const char* kStates[] = {"shown", "hidden", "disabled", "absent"};
        Json causes = Json::array();
        for (const bv::Cause& cause : why->causes)
            causes.push_back({{"node", cause.node},
                              {"label", cause.label},
                              {"now", cause.now},
                              {"instead", cause.instead}});
        PrintJson({{"node", Utf8(name)},
                   {"state", kStates[why->state]},
                   {"causes", causes},
                   {"text", why->text()}});
        return kDone;
    }
    Print(OneLine(why->text()) + '\n');
    if (why->causes.empty()) return kDone;
    std::string options;
    for (const bv::Cause& cause : why->causes) {
        const size_t slash = cause.node.rfind('/');
        options +=
            " --set \"" + OneLine(cause.node.substr(slash + 1)) + '=' + OneLine(cause.instead.front()) + '"';
    }
    Print("  try:" + options + '\n');
    return kDone;
}

int ShowDifferences(const std::wstring& first, const std::optional<std::wstring>& second, bool json) {
    const auto open = [](const std::wstring& file) {
        JobSource source;
        source.from = file;
        return source.Open();
    };
    // With one job: what differs from a new one.
    const auto before = second ? open(first) : JobSource().Open();
    const auto after = open(second ? *second : first);
    const auto differences = bv::Compare(before->Layer(), after->Layer());
    if (json) {
        Json list = Json::array();
        for (const bv::Difference& one : differences)
            list.push_back(
                {{"node", one.node}, {"label", one.label}, {"before", one.before}, {"after", one.after}});
        PrintJson({{"differences", list}});
        return kDone;
    }
    size_t columns = 0;
    for (const bv::Difference& one : differences) columns = std::max(columns, Columns(OneLine(one.node)));
    const auto shown = [](const std::string& text) {
        return text.empty() ? std::string("-") : OneLine(text);
    };
    for (const bv::Difference& one : differences)
        Print(Padded(OneLine(one.node), columns) + "  " + shown(one.before) + " -> " + shown(one.after) +
              '\n');
    if (differences.empty()) Print("no setting differs\n");
    return kDone;
}

int SavePreset(const JobSource& source, const std::wstring& name) {
    const auto job = source.OpenAndSet();
    const bv::Presets presets;
    presets.Save(job->Layer(), Utf8(name)).Must();
    Print("Kept " + std::to_string(bv::Changed(job->Layer()).size()) + " settings as " +
          bv::Quoted(Utf8(name)) + '\n');
    return kDone;
}

int ListPresets(bool json) {
    const auto names = bv::Presets().List();
    if (json) {
        PrintJson({{"presets", names}});
        return kDone;
    }
    for (const std::string& name : names) Print(OneLine(name) + '\n');
    if (names.empty()) Print("there are no presets yet; \"bvhost preset save NAME --set ...\" keeps one\n");
    return kDone;
}

int ShowPreset(const std::wstring& name, bool json) {
    const auto settings = bv::Presets().Load(Utf8(name));
    if (json) {
        Print(bv::ToJson(settings));
        return kDone;
    }
    for (const bv::Setting& setting : settings)
        Print(
            OneLine(setting.node + " = " + setting.shown + (setting.unit.empty() ? "" : ' ' + setting.unit)) +
            '\n');
    return kDone;
}

int ApplyPreset(const JobSource& source, const std::wstring& name) {
    const auto settings = bv::Presets().Load(Utf8(name));
    const auto job = source.OpenAndSet();
    const bv::LoadReport report = bv::Apply(job->Layer(), settings);
    for (const bv::LoadNote& note : report.notes) PrintWarning(OneLine(note.name) + ": " + note.text);
    if (source.output != L"-") Print("Set " + std::to_string(report.set) + " settings\n");
    WriteJob(job.get(), source.output);
    return kDone;
}

}  // namespace

void AddCompareCommands(CommandLine& line) {
    const auto json = std::make_shared<bool>(false);
    const auto name = std::make_shared<std::wstring>();
    {
        const auto source = std::make_shared<JobSource>();
        Command why = line.Add("why", "Tells why a setting is hidden or disabled, and what would show it");
        why.Word("NAME", "The setting, such as SplitLength", name.get());
        source->AddTo(&why);
        why.Flag("--json", "For programs", json.get());
        why.Does([source, name, json] { return ShowWhy(*source, *name, *json); });
    }
    {
        const auto second = std::make_shared<std::optional<std::wstring>>();
        Command diff =
            line.Add("diff", "Shows what differs between two saved jobs, or in one from a new job");
        diff.Word("JOB", "A saved job", name.get());
        diff.Word("OTHER", "Another one", second.get());
        diff.Flag("--json", "For programs", json.get());
        diff.Does([name, second, json] { return ShowDifferences(*name, *second, *json); });
    }
    Command preset = line.Add("preset", "Keeps what a job differs in from a new one, under a name");
    {
        const auto source = std::make_shared<JobSource>();
        Command save = preset.Add("save", "Keeps a job's settings; inputs and cuts aren't among them");
        save.Word("NAME", "The preset", name.get());
        source->AddTo(&save);
        save.Does([source, name] { return SavePreset(*source, *name); });
    }
    Command list = preset.Add("list", "Names the presets");
    list.Flag("--json", "For programs", json.get());
    list.Does([json] { return ListPresets(*json); });
    Command show = preset.Add("show", "Shows what a preset sets");
    show.Word("NAME", "The preset", name.get());
    show.Flag("--json", "As its file", json.get());
    show.Does([name, json] { return ShowPreset(*name, *json); });
    {
        const auto source = std::make_shared<JobSource>();
        Command apply = preset.Add("apply", "Sets what a preset keeps");
        apply.Word("NAME", "The preset", name.get());
        source->AddTo(&apply);
        source->AddOutputTo(apply, "Where the settings are written; \"-\" is standard output");
        apply.Does([source, name] { return ApplyPreset(*source, *name); });
    }
    Command remove = preset.Add("remove", "Deletes a preset");
    remove.Word("NAME", "The preset", name.get());
    remove.Does([name] {
        bv::Presets().Remove(Utf8(*name)).Must();
        return int(kDone);
    });

    line.Add("schema", "Writes all settings of all formats, their choices, ranges and rules, as JSON")
        .Does([] {
            Print(bv::SchemaJson());
            return int(kDone);
        });
}

}  // namespace host
