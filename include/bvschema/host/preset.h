// What differs between jobs: from the defaults, from another job, and kept under a name.
#pragma once

#include <bvschema/host/job.h>

#include <string>
#include <string_view>
#include <vector>

namespace bv::inline host {

/// A setting's value, so that it can be set again.
struct Setting {
    std::string node;   // its path: "Main/Common/Output/Mode"
    std::string label;  // as a person knows it
    Value value;        // as it is stored; for an object, such as a format, the label of its choice
    std::string unit;   // the label of its unit; empty where it has none
    std::string shown;  // the value as a person reads it
};

/// A difference between two jobs. A side whose job has no such setting is empty.
struct Difference {
    std::string node;
    std::string label;
    std::string before, after;  // as a person reads them, with the unit
};

/// What a job's settings differ in from those of a new job, in the order in which they are to be set. Inputs
/// and their cuts aren't among them. Throws Error when a new job can't be made.
std::vector<Setting> Changed(const Job& job);
/// Whether a setting differs from that of a new job.
bool IsChanged(const Job& job, std::string_view name);
/// Sets a node and all below it back to what a new job has, as one step to undo.
Result<> Reset(Job& job, std::string_view name);
/// All settings that differ, in the order of the trees. What only one of the jobs has, as another format is
/// selected there, counts where it differs from its default.
std::vector<Difference> Compare(const Job& before, const Job& after);

/// Sets what was kept, as one step to undo. What the tree refuses or doesn't know is told by the report, and
/// the rest is set.
LoadReport Apply(Job& job, const std::vector<Setting>& settings);

/// Settings as JSON, and from it: at most kLargestDocument bytes. ParsePreset throws Error, with the place.
std::string ToJson(const std::vector<Setting>& settings);
std::vector<Setting> ParsePreset(std::string_view json);

/// The presets of this user: a file each in a folder below the user's configuration.
class Presets {
public:
    /// The user's own folder: $XDG_CONFIG_HOME/bvschema/presets, on Windows below the application data.
    Presets();
    explicit Presets(std::filesystem::path folder) : folder_(std::move(folder)) {}

    const std::filesystem::path& folder() const { return folder_; }
    /// Their names, in order.
    std::vector<std::string> List() const;
    /// Keeps what a job differs in; one of the same name is replaced.
    /// Refused for a name that no file can have.
    Result<> Save(const Job& job, std::string_view name) const;
    /// Throws Error for one that isn't there or can't be read.
    std::vector<Setting> Load(std::string_view name) const;
    Result<> Remove(std::string_view name) const;

private:
    Result<std::filesystem::path> FileOf(std::string_view name) const;
    std::filesystem::path folder_;
};

}  // namespace bv::inline host
