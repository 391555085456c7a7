#include "job_source.h"

#include <algorithm>
#include <cmath>

#include <bvschema/host/document.h>

#include "paths.h"

#include "terminal.h"
#include "text.h"

namespace host {

std::optional<MediaInfo> DescribedInput::Info() const {
    if (!duration && !frame_time && !streams && !still) return {};
    constexpr double kUnits = 1e7, kUsualFrame = 0.04;
    MediaInfo info;
    std::wstring list = streams.value_or(L"video,audio");
    if (list == L"none") list.clear();
    while (!list.empty()) {
        const size_t comma = std::min(list.find(L','), list.size());
        const std::wstring stream = list.substr(0, comma);
        list.erase(0, comma + 1);
        if (stream != L"video" && stream != L"audio") throw Problem("--streams knows video, audio and none");
        (stream == L"video" ? info.video : info.audio) = true;
    }
    info.still = still;
    info.duration = still ? 0 : std::llround(duration.value_or(0) * kUnits);
    if (info.video && !still) info.frame_time = std::llround(frame_time.value_or(kUsualFrame) * kUnits);
    return info;
}

void JobSource::AddTo(Command* command) {
    command->Option("--from", "FILE", "A saved job to start from; \"-\" is standard input", &from);
    command->Option("--input", "FILE", "A media file of the job; may stand several times", &inputs);
    command->Option("--format", "NAME", "The output format to select: AVI, PNG, .mp4", &format);
    command->Option("--set", "NAME=VALUE",
                    "A setting: its name, and a label of its list or a value; \"on\" and \"off\" for "
                    "check boxes, a unit behind a number. May stand several times",
                    &settings);
    command->Group("Instead of reading the inputs");
    command->Option("--duration", "SECONDS", "Length of each input", &described.duration);
    command->Option("--frame-time", "SECONDS", "Time of a frame, 0.04 by default", &described.frame_time);
    command->Option("--streams", "LIST", "video, audio, \"video,audio\" or none", &described.streams);
    command->Flag("--still", "The inputs are still images", &described.still);
    command->Group(nullptr);
}

void JobSource::AddOutputTo(const Command& command, const char* help) {
    command.Option("--output", "FILE", help, &output);
}

std::unique_ptr<Job> JobSource::Open() const {
    std::unique_ptr<Job> job;
    if (from.empty()) {
        job = std::make_unique<Job>(described.Info());
    } else {
        const bool from_input = from == L"-";
        const std::string name = from_input ? "standard input" : OneLine(Utf8(from));
        try {
            job = std::make_unique<Job>(described.Info(),
                                        from_input ? ReadInput() : bv::ReadWhole(ToPath(from)));
        } catch (const Problem& problem) {
            throw Problem(name + ": " + problem.what());
        }
        for (const std::string& warning : job->TakeWarnings()) PrintWarning(name + ": " + warning);
    }
    for (const std::wstring& input : inputs) job->AddInput(input);
    for (const std::string& warning : job->TakeWarnings()) PrintWarning(warning);
    if (!format.empty()) job->SelectFormat(format);
    return job;
}

std::unique_ptr<Job> JobSource::OpenAndSet() const {
    auto job = Open();
    for (const std::wstring& setting : settings) {
        const auto [name, value] = SplitSetting(setting);
        job->Set(name, value);
    }
    return job;
}

std::pair<std::wstring, std::wstring> SplitSetting(const std::wstring& setting) {
    const size_t equals = setting.find(L'=');
    if (equals == setting.npos || equals == 0)
        throw Problem("--set takes NAME=VALUE, not \"" + OneLine(Utf8(setting)) + "\"");
    return {setting.substr(0, equals), setting.substr(equals + 1)};
}

void WriteJob(Job* job, const std::wstring& output) {
    if (output.empty()) return;
    const std::string xml = job->Write();
    for (const std::string& loss : job->Losses()) PrintWarning(loss);
    if (!job->CacheProblem().empty()) PrintError("note: " + job->CacheProblem());
    if (output == L"-") return PrintBytes(xml);
    bv::WriteWhole(ToPath(output), xml);
    Print(Padded("Wrote", 9) + OneLine(Utf8(output)) + ", " +
          std::to_string(std::count(xml.begin(), xml.end(), '\n')) + " lines\n");
}

}  // namespace host
