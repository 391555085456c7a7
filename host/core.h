// A job's inside: its tree, what was last seen of it, and what can be undone.
#pragma once

#include <bvschema/host/document.h>
#include <bvschema/host/job.h>

#include <deque>
#include <memory>

namespace bv::inline host {

inline constexpr int kDeepestNode = 64;  // a component's nodes, or a script's, may hang in a circle

/// A list whose items come and go: the inputs of the job (-1), or the cuts of an input.
using ListId = int;
inline constexpr ListId kInputs = -1;

/// Items of a list that took the place of others. Each item is kept as its element of the settings document.
struct Splice {
    ListId list;
    size_t index;
    std::vector<std::string> before, after;
    int moved = 0;  // else: the item at index went so many places down
};

/// Where a node hangs: the root (-1) or an input, then the way down.
struct Locator {
    static constexpr int kRoot = -1;
    static constexpr int kUnit = -1;
    static constexpr int kHeld = -2;
    static constexpr int kCut = 1 << 24;  // and the cut's number; below it: the number of a child
    int tree = kRoot;
    std::vector<int> way;
};

/// What a node was when it was last seen.
struct Seen {
    Ref<IProperty> node;
    int above = -1;  // its place in the list of seen nodes
    int way = 0;     // from there, as in a Locator
    bool has_value = false;
    Value stored;  // what put_Value takes to bring it back
    bool hidden = false, disabled = false;
    size_t choices = 0;
    size_t title = 0;  // hashes

    /// What became of it, as bits of NodeChange.
    unsigned ChangeTo(const Seen& now) const;
};

/// Nodes in the order of the tree, those above before those below.
using Sight = std::vector<Seen>;

struct NodeStep {
    Locator where;
    Seen before, after;
};

/// What one change did, for undo and redo.
struct Step {
    std::string name;
    std::vector<NodeStep> nodes;
    std::vector<Splice> splices;
    int selected_before = 0, selected_after = 0;

    bool empty() const { return nodes.empty() && splices.empty() && selected_before == selected_after; }
};

class JobCore : public std::enable_shared_from_this<JobCore> {
public:
    explicit JobCore(JobOptions options);
    JobCore(const JobCore&) = delete;
    JobCore& operator=(const JobCore&) = delete;
    ~JobCore();

    Node NodeOf(Ref<IProperty> node) { return {std::move(node), shared_from_this()}; }
    Input InputOf(size_t index) { return {NodeOf(inputs_[index].node), shared_from_this()}; }
    Cuts CutsOf(const Node& input);
    size_t InputCount() const { return inputs_.size(); }
    const MediaInfo& InfoOf(IProperty* input) const;
    IProperty* root() const { return root_.get(); }
    MediaObject* media() const { return media_; }
    Node Find(std::string_view name);

    // --- Changes

    /// Runs a change of a node, tells what came of it and keeps a step. A failure keeps none.
    HRESULT Edit(const std::string& name, IProperty* node, const std::function<HRESULT()>& change);
    Result<> Transaction(const std::string& name, const std::function<Result<>()>& changes);
    void BeginTransaction(const std::string& name);
    void EndTransaction(bool keep);
    void Refresh();
    bool Undo();
    bool Redo();
    const std::deque<Step>& undo() const { return undo_; }
    const std::deque<Step>& redo() const { return redo_; }

    size_t AddInput(const std::filesystem::path& path);
    Result<> RemoveInput(IProperty* input);
    Result<> MoveInput(IProperty* input, int by);
    Result<> Select(IProperty* input);
    /// Runs a change of a list that takes the items from index on away, count of them, and puts others in their place.
    HRESULT EditList(const std::string& name, ListId list, size_t index, size_t count,
                     const std::function<HRESULT()>& change);
    /// The input whose list of cuts that is; none for one that isn't this job's.
    std::optional<ListId> ListOf(ITimelines* cuts) const;

    std::uint64_t Subscribe(std::function<void(const bv::Change&)> callback);
    void Unsubscribe(std::uint64_t id);

    // --- The document

    std::string Xml() const;
    void Restore(const Element& document);

    std::vector<Refusal> refusals;
    LoadReport report;

private:
    struct InputEntry {
        Ref<IProperty> node;
        MediaInfo info;
    };
    struct Subscriber {
        std::uint64_t id;
        std::function<void(const bv::Change&)> callback;
    };
    struct InCut {
        Locator where;  // of the cut
        Sight before;
    };

    // What is seen.
    bool Watching() const { return undo_depth_ > 0 || recording_ || !subscribers_.empty(); }
    Sight SightOf() const;
    void See(Sight& sight, IProperty* node, int above, int way, int depth) const;
    Ref<IProperty> NodeAt(const Locator& where) const;
    std::optional<Locator> CutAround(IProperty* node) const;
    /// Appends what changed between two looks, and for undo what its nodes were and are.
    void Compare(const Sight& before, const Sight& after, const Locator* cut,
                 std::vector<NodeChange>& changes, std::vector<NodeStep>& steps);

    void Begin(const std::string& name, IProperty* cause);
    /// What was done since the outermost Begin; kept for undo if wanted.
    Step End(bool keep);
    void Tell(bv::Change change);
    void Remember(IProperty* node);

    void Apply(const Step& step, bool back);
    static void PutBack(const Seen& wanted, const Seen& now);

    // Lists.
    Ref<ITimelines> TimelinesOf(size_t input) const;
    std::vector<std::string> ItemsOf(ListId list) const;
    void Replace(const Splice& splice, bool back);
    void AppendItem(ListId list, const std::string& item);
    void RemoveItem(ListId list, size_t index);
    size_t CountOf(ListId list) const;
    Ref<IProperty> ItemAt(ListId list, size_t index) const;

    // Restoring.
    InputEntry& NewInput(const std::wstring& path);
    void Open(InputEntry& input);
    void SelectIndex(int index);
    void RestoreInput(const Element& element);
    void RestoreNode(const Element& element, IProperty* node);
    void RestoreBelow(const Element& element, IProperty* node);
    void RestoreFilters(const Element& part, IEnumObject* list);
    void RestoreObject(const Element& element, IProperty* node);
    void Note(LoadNote::Kind kind, const Element& element, const std::string& text);

    MediaObject* media_ = nullptr;  // with a reference
    Ref<IProperty> root_;
    std::vector<InputEntry> inputs_;
    int selected_ = -1;

    size_t undo_depth_;
    std::deque<Step> undo_, redo_;
    Sight seen_;
    bool seen_is_fresh_ = false;

    int depth_ = 0;  // of transactions
    bool applying_ = false;
    bool recording_ = false;  // a transaction, which may have to be taken back
    std::string name_;
    Ref<IProperty> cause_;
    Step step_;
    std::vector<InCut> in_cuts_;
    std::vector<NodeChange> list_changes_;  // of items of lists

    std::vector<Subscriber> subscribers_;
    std::uint64_t last_id_ = 0;
    std::deque<bv::Change> to_tell_;
    bool telling_ = false;
};

/// The text of an object's element in the settings document; empty where it can't be written.
std::string XmlOf(IUnknown* object);

}  // namespace bv::inline host
