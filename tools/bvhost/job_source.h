// The job that a command works on, as its options tell it.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "command_line.h"
#include "job.h"

namespace host {

/// What options say of each input in place of its file.
struct DescribedInput {
    std::optional<double> duration, frame_time;  // in seconds
    std::optional<std::wstring> streams;
    bool still = false;

    /// No value when no option says anything. Throws Problem.
    std::optional<MediaInfo> Info() const;
};

struct JobSource {
    std::wstring from;                 // a settings file; empty: a new job
    std::vector<std::wstring> inputs;  // media files to add
    DescribedInput described;
    std::wstring format;                 // the output format to select; empty: as it is
    std::vector<std::wstring> settings;  // NAME=VALUE
    std::wstring output;                 // where the job is written; "-": standard output; empty: nowhere

    void AddTo(Command* command);
    void AddOutputTo(const Command& command, const char* help);

    bool Empty() const { return from.empty() && inputs.empty(); }
    /// A job, restored, with the inputs added and the format selected. Warns of what can't be restored.
    std::unique_ptr<Job> Open() const;
    /// The same, and the settings put without a word.
    std::unique_ptr<Job> OpenAndSet() const;
};

/// "NAME=VALUE". Throws Problem.
std::pair<std::wstring, std::wstring> SplitSetting(const std::wstring& setting);

/// Writes the job, and says so, but on standard output. An empty name: nowhere.
void WriteJob(Job* job, const std::wstring& output);

}  // namespace host
