// A job: the settings tree, its media object and its inputs.
#pragma once

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include <bvschema/host.h>

#include "com.h"
#include "media_source.h"
#include "node_view.h"

namespace host {

/// What became of an input.
struct Input {
    enum Index { kNone, kMade, kFromCache };
    Ref<IProperty> node;
    std::wstring path;
    std::string problem;  // why it can't be opened; empty when it could
    MediaInfo info;
    Index index = kNone;
    size_t key_frames = 0;
};

/// What one change did to the rest of the tree.
struct Effects {
    struct Touched {
        std::wstring name;
        size_t below = 0;  // nodes that came or went with it
    };
    std::vector<Touched> shown, hidden, enabled, disabled;
};

class Job {
public:
    /// given: what options say of every input; the file itself is then not read. document: a saved job to
    /// start from; what can't be restored of it is a warning each. Throws Problem.
    explicit Job(const std::optional<MediaInfo>& given, const std::optional<std::string>& document = {});
    Job(const Job&) = delete;
    Job& operator=(const Job&) = delete;

    /// An input that can't be read is added too, with a warning. Throws Problem when there is no such file.
    void AddInput(const std::wstring& path);
    const std::vector<Input>& Inputs() const { return inputs_; }
    /// The cuts of the first input. Throws Problem when there is no input.
    Ref<ITimelines> Cuts() const;

    /// The job as the layer for hosts has it.
    bv::Job& Layer() { return job_; }
    IProperty* Root() const { return job_.Root().get(); }
    NodeView View() const { return ViewOf(Root()); }
    /// A node by its name, among the settings and in the current input. Throws Problem, with a suggestion.
    NodeView Node(const std::wstring& name) const;

    /// text: a label of the value list, "on" or "off" for a check box, or a value, which may be followed by
    /// the label of a unit. Throws Problem when the value is refused.
    Effects Set(const std::wstring& name, const std::wstring& text);

    /// By the label of its choice, its name or its extension. Throws Problem when there is none.
    void SelectFormat(const std::wstring& format);
    /// Which of the outputs it is that the job is asked for.
    void SetOutputIndex(int index) { job_.media()->SetIndex(index); }

    /// The settings as XML; inputs get their index files.
    std::string Write();
    /// What went wrong with inputs since the last call, a line each.
    std::vector<std::string> TakeWarnings() { return std::exchange(warnings_, {}); }
    /// What the last Write left out, a line each.
    const std::vector<std::string>& Losses() const { return losses_; }
    /// Whether the last Write could keep all indexes for the next time; else why not.
    const std::string& CacheProblem() const { return cache_problem_; }

private:
    Input& NewInput(const bv::Input& input);
    void TakeIndex(Input* input);
    void CheckWritten(const std::string& xml);

    std::optional<MediaInfo> given_;
    bv::Job job_;
    std::vector<Input> inputs_;
    std::vector<std::string> warnings_, losses_;
    std::string cache_problem_;
};

}  // namespace host
