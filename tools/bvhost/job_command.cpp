#include <algorithm>
#include <utility>

#include "commands.h"
#include "cuts.h"
#include "exit_code.h"
#include "job_source.h"
#include "presentation.h"
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

/// The cuts of the first input, if it is cut.
void SayCuts(const Report& report, const Job& job) {
    if (job.Inputs().empty() || AllCuts(job.Cuts().get()).empty()) return;
    const char* what = "Cuts";
    for (const std::string& line : CutsText(job.Cuts().get())) report.Say(std::exchange(what, ""), line);
    for (const std::string& problem : CutProblems(job.Cuts().get(), &job.Inputs().front().info))
        PrintWarning(problem);
}

int EditJob(const JobSource& source, const std::vector<std::wstring>& cuts) {
    const Report report(source.output == L"-");
    const auto opened = source.Open();
    Job& job = *opened;
    if (!source.from.empty()) report.Say("Job", OneLine(Utf8(source.from)));
    for (const Input& input : job.Inputs()) {
        const char* what = "Input";
        for (const std::string& line : InputText(input)) report.Say(std::exchange(what, ""), line);
    }

    size_t refused = 0;
    for (const std::wstring& cut : cuts) {
        try {
            AddCut(job.Cuts().get(), cut);
            UseCuts(job.Inputs().front().node.get());
        } catch (const Problem& problem) {
            PrintError(problem.what());
            ++refused;
        }
    }
    for (const std::wstring& setting : source.settings) {
        try {
            const auto [name, value] = SplitSetting(setting);
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
        if (!source.output.empty()) PrintError("nothing was written, since something was refused");
        return kFailed;
    }
    WriteJob(&job, source.output);
    return kDone;
}

}  // namespace

void AddJobCommand(CommandLine& line) {
    const auto source = std::make_shared<JobSource>();
    const auto cuts = std::make_shared<std::vector<std::wstring>>();
    Command job = line.Add("job", "Makes a job, or opens a saved one, changes it and writes it");
    source->AddTo(&job);
    job.Option("--cut", "START-END",
               "A cut of the first input, in frames or in times such as 0:00:01.500-0:00:03.000. May stand "
               "several times",
               cuts.get());
    source->AddOutputTo(job, "Where the settings are written; \"-\" is standard output");
    job.Does([source, cuts] { return EditJob(*source, *cuts); });
}

}  // namespace host
