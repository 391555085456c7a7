#include <algorithm>
#include <filesystem>
#include <utility>

#include "commands.h"
#include "cuts.h"
#include "presentation.h"
#include "server.h"
#include "settings_file.h"
#include "terminal.h"
#include "text.h"

namespace host {
namespace {

/// Remarks on the way; they stay out of standard output when the settings go there.
class Report {
public:
    explicit Report(bool quiet) : quiet_(quiet) {}
    void Say(const char* what, const std::string& text) const {
        const std::string line = Padded(what, 9) + text + '\n';
        if (!quiet_) Print(line);
    }

private:
    bool quiet_;
};

void SayNames(const Report& report, const char* what, const std::vector<Effects::Touched>& nodes) {
    std::string text;
    for (const auto& [name, below] : nodes) {
        text += (text.empty() ? "" : ", ") + OneLine(Utf8(name));
        if (below != 0) text += " with " + std::to_string(below) + " below it";
    }
    for (const std::string& line : Wrapped(text, 80)) {
        report.Say("", "  " + Padded(what, 10) + line);
        what = "";
    }
}

void SayEffects(const Report& report, const Effects& effects) {
    SayNames(report, "shows", effects.shown);
    SayNames(report, "hides", effects.hidden);
    SayNames(report, "enables", effects.enabled);
    SayNames(report, "disables", effects.disabled);
}

std::pair<std::wstring, std::wstring> Split(const std::wstring& setting) {
    const size_t equals = setting.find(L'=');
    if (equals == setting.npos || equals == 0)
        throw Problem("--set takes NAME=VALUE, not \"" + OneLine(Utf8(setting)) + "\"");
    return {setting.substr(0, equals), setting.substr(equals + 1)};
}

/// The cuts of the first input, if it is cut.
void SayCuts(const Report& report, const Job& job) {
    if (job.Inputs().empty() || AllCuts(job.Cuts().get()).empty()) return;
    const char* what = "Cuts";
    for (const std::string& line : CutsText(job.Cuts().get())) report.Say(std::exchange(what, ""), line);
}

}  // namespace

void Fill(Job* job, const JobSource& source) {
    if (!source.from.empty()) {
        const std::string name = OneLine(Utf8(source.from));
        try {
            for (const std::string& warning : job->Restore(ParseSettings(ReadWhole(source.from))))
                PrintError("warning: " + name + ": " + warning);
        } catch (const Problem& problem) {
            throw Problem(name + ": " + problem.what());
        }
    }
    for (const std::wstring& input : source.inputs) job->AddInput(input);
    job->SelectFirstInput();
    if (!source.format.empty()) job->SelectFormat(source.format);
    for (const std::wstring& setting : source.settings) {
        const auto [name, value] = Split(setting);
        job->Set(name, value);
    }
}

int EditJob(const JobArguments& arguments) {
    const Report report(arguments.output == L"-");
    Job job(arguments.source.given);
    Fill(&job, arguments.source);
    if (!arguments.source.from.empty()) report.Say("Job", OneLine(Utf8(arguments.source.from)));
    for (const Input& input : job.Inputs()) {
        const char* what = "Input";
        for (const std::string& line : InputText(input)) report.Say(std::exchange(what, ""), line);
    }

    size_t refused = 0;
    for (const std::wstring& cut : arguments.cuts) {
        try {
            AddCut(job.Cuts().get(), cut);
            UseCuts(job.Inputs().front().node.get());
        } catch (const Problem& problem) {
            PrintError(problem.what());
            ++refused;
        }
    }
    for (const std::wstring& setting : arguments.settings) {
        try {
            const auto [name, value] = Split(setting);
            const Effects effects = job.Set(name, value);
            const NodeView node = job.Node(name);
            const std::string unit = OneLine(Utf8(UnitOf(node)));
            report.Say("Set",
                       OneLine(Utf8(node.name + L" = " + node.shown)) + (unit.empty() ? "" : ' ' + unit));
            SayEffects(report, effects);
        } catch (const Problem& problem) {
            PrintError(problem.what());
            ++refused;
        }
    }
    SayCuts(report, job);
    if (refused > 0) {
        if (!arguments.output.empty()) PrintError("nothing was written, since something was refused");
        return 1;
    }
    WriteJob(&job, arguments.output);
    return 0;
}

void WriteJob(Job* job, const std::wstring& output) {
    if (output.empty()) return;
    const std::string xml = job->Write();
    for (const std::string& loss : job->Losses()) PrintError("warning: " + loss);
    if (output == L"-") return PrintBytes(xml);
    WriteWhole(std::filesystem::path(output), xml);
    Report(false).Say("Wrote", OneLine(Utf8(output)) + ", " +
                                   std::to_string(std::count(xml.begin(), xml.end(), '\n')) + " lines");
}

}  // namespace host
