// A job: its tree, its inputs, its file.
#pragma once

#include <bvschema/host/media.h>
#include <bvschema/host/node.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace bv::inline host {

/// A frame of a source, from 0.
struct Frames {
    LONG count = 0;
};
/// A time of a source as it is typed: "0:00:01.500".
struct Time {
    std::string text;
};

/// Where a cut begins or ends.
class CutPoint {
public:
    CutPoint(Frames frames) : value_(frames.count) {}                                    // NOLINT
    CutPoint(const Time& time) : value_(std::string_view(time.text)), is_time_(true) {}  // NOLINT
    const Value& value() const { return value_; }
    bool is_time() const { return is_time_; }

private:
    Value value_;
    bool is_time_ = false;
};

/// The cuts of one input, in order.
class Cuts {
public:
    size_t size() const;
    Node operator[](size_t index) const;
    std::vector<Node> all() const;
    /// Adds a cut and takes the cuts into use. Refused, with the system's text, for a point that the server refuses: an
    /// end before its start, a time where the source's frame rate isn't known.
    Result<Node> Add(const CutPoint& start, const CutPoint& end) const;
    /// Takes a cut out. Refused when it isn't in the list.
    Result<> Remove(const Node& cut) const;
    Result<> Clear() const;
    /// Whether the cuts count; without them the whole source is encoded.
    bool in_use() const;
    Result<> Use(bool use) const;
    /// The cuts as a file of their own (".tlc"), and from one, in place of those that are there. A load that fails leaves
    /// an empty list.
    Result<> Save(const std::filesystem::path& file) const;
    Result<> Load(const std::filesystem::path& file) const;
    /// What will be encoded, in units of 100 ns. Its input must be the current one.
    Result<LONGLONG> Duration() const;
    /// The interface for what this layer has no word for.
    ITimelines* get() const { return cuts_.get(); }

private:
    friend class JobCore;
    friend class Input;
    Cuts(Node node, Ref<ITimelines> cuts, std::shared_ptr<JobCore> job)
        : node_(std::move(node)), cuts_(std::move(cuts)), job_(std::move(job)) {}
    Result<> Edit(const std::string& what, const std::function<HRESULT()>& change) const;
    Node node_;
    Ref<ITimelines> cuts_;
    std::shared_ptr<JobCore> job_;
};

/// One input of a job.
class Input {
public:
    /// The node of the list, a PropertyMediaPath.
    const Node& node() const { return node_; }
    std::filesystem::path path() const;
    /// What the media source said. Empty with a problem.
    const MediaInfo& info() const;
    /// Why it can't be read; empty: it could.
    std::string problem() const;
    /// Throws Error for an input whose node has no list of cuts.
    Cuts cuts() const;

private:
    friend class JobCore;
    Input(Node node, std::shared_ptr<JobCore> job) : node_(std::move(node)), job_(std::move(job)) {}
    Node node_;
    std::shared_ptr<JobCore> job_;
};

/// How one node changed.
struct NodeChange {
    enum What : unsigned {
        kValue = 1,     // its value, or its unit
        kHidden = 2,    // it is shown or hidden now
        kDisabled = 4,  // it can be edited now, or no longer
        kChoices = 8,   // it offers other values
        kTitle = 16,
        kCame = 32,  // it hangs in the tree now: a child of a choice, an input, a cut
        kGone = 64,  // it did
    };
    Node node;
    unsigned what = 0;
};

/// One change of a job and all that came of it: each node once, in the order of the tree, those that went last.
struct Change {
    std::string name;  // what was done, for a menu: "Mode"
    Node cause;        // null: no single node
    std::vector<NodeChange> nodes;
};

/// Ends with its object.
class [[nodiscard]] Subscription {
public:
    Subscription() = default;
    Subscription(Subscription&& other) noexcept = default;
    Subscription& operator=(Subscription&& other) noexcept;
    ~Subscription();

private:
    friend class Job;
    Subscription(std::weak_ptr<JobCore> job, std::uint64_t id) : job_(std::move(job)), id_(id) {}
    std::weak_ptr<JobCore> job_;
    std::uint64_t id_ = 0;
};

/// Several changes as one, where no single function can hold them: Job::Begin. What is still open at its end is taken
/// back. One that begins inside of another is a part of that one, which alone keeps or takes back.
class [[nodiscard]] TransactionScope {
public:
    TransactionScope(TransactionScope&&) noexcept = default;
    TransactionScope& operator=(TransactionScope&&) = delete;
    ~TransactionScope();
    /// Ends it: one step to undo, one event.
    void Keep();
    /// Ends it: all is as it was.
    void TakeBack();

private:
    friend class Job;
    explicit TransactionScope(std::shared_ptr<JobCore> job) : job_(std::move(job)) {}
    std::shared_ptr<JobCore> job_;  // null: it has ended
};

/// What became of one element of a file that was read.
struct LoadNote {
    enum Kind { kRefused, kUnknown, kInput };
    Kind kind;
    size_t line;       // of the file
    std::string name;  // the element's
    std::string text;  // why, for the user
};

/// What became of a file that was read.
struct LoadReport {
    size_t set = 0;               // values and units that the tree took
    std::vector<LoadNote> notes;  // what it didn't, inputs first
    bool clean() const { return notes.empty(); }
};

struct JobOptions {
    MediaSource source;
    /// A media object of the host's own, made by new; the job takes the reference over. Null: the layer's.
    MediaObject* media = nullptr;
    /// How many steps can be undone; 0: none, and none is kept.
    size_t undo_depth = 1000;
};

/// A job with its tree. Movable; the tree lives as long as the job or a Node of it.
class Job {
public:
    /// A new job as the server makes it. Throws Error when the module isn't registered, or memory ends.
    static Job Create(JobOptions options = {});
    /// A job from its file: the settings document, whatever its encoding and layout. Throws Error for a file that can't
    /// be read or is no such document; what in it can't be set is told by report().
    static Job Load(const std::filesystem::path& file, JobOptions options = {});
    /// The same from bytes.
    static Job Parse(std::string_view document, JobOptions options = {});

    /// The root of the tree.
    Node Root() const;
    /// A node by its name: of the tree or of the current input. Null: none.
    Node operator[](std::string_view name) const;

    // --- Inputs

    /// Adds a file; the first becomes the current input. A file that can't be read is added too: Input::problem tells.
    Input AddInput(const std::filesystem::path& path);
    /// The same by a name in UTF-8.
    template <std::convertible_to<std::string_view> Name>
    Input AddInput(const Name& utf8_path) {
        return AddInput(ToPath(std::string_view(utf8_path)));
    }
    std::vector<Input> Inputs() const;
    Result<> RemoveInput(const Input& input);
    /// One place up (-1) or down (1).
    Result<> MoveInput(const Input& input, int by);
    /// Makes an input the one that the tree's hooks ask about.
    Result<> Select(const Input& input);

    // --- The file

    /// The settings document, in the system's 8-bit code page (UTF-8 on Linux).
    std::string Xml() const;
    /// Writes the document. A draft takes the file's place when it is whole and on the disk.
    Result<> Save(const std::filesystem::path& file) const;
    /// What became of the file that the job was read from.
    const LoadReport& report() const;

    // --- Changes

    /// Calls after each change, with all that it changed. A change that a callback makes is told after this one.
    Subscription Subscribe(std::function<void(const Change&)> callback);
    /// Looks for what was changed by the plain interfaces, and tells it.
    void Refresh();
    /// Several changes as one: one step to undo, one event. A refusal, which the function returns, takes all of it back.
    Result<> Transaction(const std::string& name, const std::function<Result<>()>& changes);
    /// The same as an object that ends it. What is begun last must end first.
    TransactionScope Begin(const std::string& name);
    /// Refusals of job["Name"] = value since the last call.
    std::vector<Refusal> TakeRefusals();

    // --- Undo

    /// The names of the steps that Undo and Redo would take, empty without one.
    std::string undo_name() const;
    std::string redo_name() const;
    /// Takes the last change back, with all that hooks changed. False: there is none.
    bool Undo();
    bool Redo();

    MediaObject* media() const;

private:
    explicit Job(std::shared_ptr<JobCore> core) : core_(std::move(core)) {}
    std::shared_ptr<JobCore> core_;
};

}  // namespace bv::inline host
