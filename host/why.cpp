#include <bvschema/host/why.h>

#include <algorithm>
#include <map>
#include <mutex>

namespace bv::inline host {
namespace {

constexpr size_t kMostChoices = 40;  // of a node that is tried
constexpr size_t kMostCauses = 4;

using State = Explanation::State;

/// A copy of a job to try on. The inputs' data are the job's own: no file is read.
Job CopyOf(const Job& job) {
    std::map<std::filesystem::path, MediaInfo> known;
    for (const Input& input : job.Inputs()) known[input.path()] = input.info();
    JobOptions options;
    options.undo_depth = 0;
    options.source = [known](const std::filesystem::path& file) -> Result<MediaInfo> {
        const auto found = known.find(file);
        return found == known.end() ? MediaInfo{} : found->second;
    };
    return Job::Parse(job.Xml(), std::move(options));
}

State StateOf(const Job& job, std::string_view name) {
    Node node = job[name];
    if (!node) return Explanation::kAbsent;
    const bool disabled = node.disabled();
    while (node) {
        if (node.hidden()) return Explanation::kHidden;
        Ref<IDispatch> above;
        if (node.get()->get_Parent(above.Put()) != S_OK) break;
        node = Node(above.As<IProperty>().get());
    }
    return disabled ? Explanation::kDisabled : Explanation::kNothing;
}

/// How far a setting is from being shown and enabled: what is absent is farther than what is hidden.
int Distance(State state) {
    switch (state) {
        case Explanation::kNothing:
            return 0;
        case Explanation::kDisabled:
            return 1;
        case Explanation::kHidden:
            return 2;
        default:
            return 3;
    }
}

/// How many nodes above a hidden one are hidden too, itself counted:
/// a choice that shows some of them is on the way.
int HiddenAbove(const Job& job, std::string_view name) {
    int hidden = 0;
    for (Node node = job[name]; node;) {
        hidden += node.hidden();
        Ref<IDispatch> above;
        if (node.get()->get_Parent(above.Put()) != S_OK) break;
        node = Node(above.As<IProperty>().get());
    }
    return hidden;
}

struct Try {
    std::string node;
    std::vector<std::string> values;
};

/// All that a person could choose now, with its other values. What decided the last time comes first.
std::vector<Try> Tries(const Job& job, const std::string& first) {
    std::vector<Try> tries;
    const auto add = [&](const Node& node) {
        Try one = {node.path(), {}};
        const auto choices = node.choices();
        if (!choices.empty() && choices.size() <= kMostChoices) {
            for (const Choice& choice : choices)
                if (!choice.selected) one.values.push_back(choice.label);
        } else if (choices.empty() && node.editor() == Editor::kCheckBox) {
            one.values.push_back(node.shown() == "on" ? "off" : "on");
        }
        if (!one.values.empty()) tries.push_back(std::move(one));
    };
    for (const Node& node : job.Root().Visible())
        if (!node.disabled()) add(node);
    for (const Input& input : job.Inputs())
        for (const Node& node : input.node().Visible())
            if (!node.disabled()) add(node);
    std::stable_partition(tries.begin(), tries.end(), [&](const Try& one) { return one.node == first; });
    return tries;
}

/// What decided about a setting before, by its path: the schema is the same for each job.
class Remembered {
public:
    std::string Get(const std::string& path) {
        std::lock_guard lock(mutex_);
        return deciders_[path];
    }
    void Put(const std::string& path, const std::string& decider) {
        std::lock_guard lock(mutex_);
        deciders_[path] = decider;
    }

private:
    std::mutex mutex_;
    std::map<std::string, std::string> deciders_;
};
Remembered& Deciders() {
    static Remembered deciders;
    return deciders;
}

/// The next choice on the way, made on the copy; none when no single choice helps.
std::optional<Cause> NextCause(Job& copy, std::string_view name) {
    const State state = StateOf(copy, name);
    const int above = HiddenAbove(copy, name);
    const std::string key(name);
    const std::string document = copy.Xml();
    for (const Try& one : Tries(copy, Deciders().Get(key))) {
        Node decider = copy[one.node];
        if (!decider) continue;
        Cause cause = {one.node, decider.label(), decider.shown(), {}};
        int best = Distance(state);
        int best_above = above;
        for (const std::string& value : one.values) {
            Job tried = CopyOf(copy);
            if (!tried[one.node] || !tried[one.node].Set(value)) continue;
            const int distance = Distance(StateOf(tried, name));
            const int hidden = HiddenAbove(tried, name);
            const bool better =
                distance < best ||
                (distance == best && distance == Distance(Explanation::kHidden) && hidden < best_above);
            if (better) {
                cause.instead.clear();
                best = distance;
                best_above = hidden;
            }
            const bool helps = distance < Distance(state) || (distance == Distance(state) && hidden < above);
            if (helps && distance == best && hidden == best_above) cause.instead.push_back(value);
        }
        if (cause.instead.empty()) continue;
        std::ignore = decider.Set(cause.instead.front());
        Deciders().Put(key, one.node);
        return cause;
    }
    return {};
}

const char* Word(State state) {
    return state == Explanation::kHidden     ? "hidden"
           : state == Explanation::kDisabled ? "disabled"
                                             : "not there";
}

}  // namespace

std::string Explanation::text() const {
    if (state == kNothing) return "it is shown and can be edited";
    if (causes.empty()) return std::string(Word(state)) + "; no choice of this job changes that";
    std::string text = std::string(Word(state)) + " while ";
    for (size_t i = 0; i < causes.size(); ++i)
        text += (i ? " and " : "") + causes[i].label + " is " + causes[i].now;
    text += state == kDisabled ? "; enabled by " : "; shown by ";
    for (size_t i = 0; i < causes.size(); ++i) {
        text += (i ? ", then " : "") + causes[i].label + " = ";
        for (size_t k = 0; k < causes[i].instead.size(); ++k)
            text += (k ? " or " : "") + causes[i].instead[k];
    }
    return text;
}

Result<Explanation> Why(const Job& job, std::string_view name) {
    Explanation explanation;
    // The name as it stands may stand for another node when a choice brings one: the path is one node's.
    const Node node = job[name];
    const std::string path = node ? node.path() : std::string(name);
    explanation.state = StateOf(job, path);
    if (explanation.state == Explanation::kNothing) return explanation;
    Job copy = CopyOf(job);
    for (size_t i = 0; i < kMostCauses; ++i) {
        if (StateOf(copy, path) == Explanation::kNothing) return explanation;
        auto cause = NextCause(copy, path);
        if (!cause) break;
        explanation.causes.push_back(*std::move(cause));
    }
    if (StateOf(copy, path) != Explanation::kNothing) {
        if (explanation.state == Explanation::kAbsent && explanation.causes.empty())
            return Refusal{E_INVALIDARG, "there is no setting " + Quoted(name), std::string(name), {}};
        explanation.causes.clear();
    }
    return explanation;
}

}  // namespace bv::inline host
