#include "core.h"

#include <algorithm>
#include <string_view>
#include <unordered_map>

namespace bv::inline host {
namespace {

size_t HashOf(BSTR text) { return std::hash<std::wstring_view>()({text ? text : L"", SysStringLen(text)}); }

bool IsConverter(IProperty* unit) { return unit && Ask<IValueFormat>(unit); }

Refusal NotHere(const char* text) { return {E_INVALIDARG, text, {}, {}}; }

}  // namespace

JobCore::JobCore(JobOptions options) : undo_depth_(options.undo_depth) {
    media_ = options.media ? options.media : new MediaObject;
    if (options.source) media_->SetSource(std::move(options.source));
    try {
        root_ = Create<IProperty>(clsid::PropertyMain, "PropertyMain");
    } catch (...) {
        media_->Close();
        media_->Release();
        throw;
    }
    media_->SetRoot(root_.get());
    root_->put_MediaObject(media_->Dispatch());
}

JobCore::~JobCore() {
    undo_.clear();
    redo_.clear();
    seen_.clear();
    // Nodes keep no reference on the media object, so it is taken from them before it goes.
    root_->put_MediaObject(nullptr);
    while (!inputs_.empty()) RemoveItem(kInputs, inputs_.size() - 1);
    media_->Close();
    root_ = {};
    media_->Release();
}

Node JobCore::Find(std::string_view name) {
    const size_t slash = name.find('/');
    Ref<IProperty> found;
    if (slash == name.npos && root_->FindProperty(Text(name), found.Put()) == S_OK) return NodeOf(found);
    const Node root = NodeOf(root_);
    if (SameName(name.substr(0, slash), root.name())) {  // a whole path
        if (slash == name.npos) return root;
        name.remove_prefix(slash + 1);
    }
    if (const Node node = root.Find(name)) return node;
    if (selected_ < 0) return {};
    const Node input = NodeOf(inputs_[size_t(selected_)].node);
    const size_t end = std::min(name.find('/'), name.size());
    if (!SameName(name.substr(0, end), input.name())) return input.Find(name);
    return end == name.size() ? input : input.Find(name.substr(end + 1));
}

const MediaInfo& JobCore::InfoOf(IProperty* input) const {
    static const MediaInfo none;
    for (const InputEntry& entry : inputs_)
        if (entry.node.get() == input) return entry.info;
    return none;
}

// --- What is seen

unsigned Seen::ChangeTo(const Seen& now) const {
    return (stored == now.stored && has_value == now.has_value ? 0u : unsigned(NodeChange::kValue)) |
           (hidden == now.hidden ? 0u : unsigned(NodeChange::kHidden)) |
           (disabled == now.disabled ? 0u : unsigned(NodeChange::kDisabled)) |
           (choices == now.choices ? 0u : unsigned(NodeChange::kChoices)) |
           (title == now.title ? 0u : unsigned(NodeChange::kTitle));
}

void JobCore::See(Sight& sight, IProperty* node, int above, int way, int depth) const {
    if (depth > kDeepestNode) return;
    const int place = int(sight.size());
    {
        Seen seen;
        seen.node = Ref<IProperty>(node);
        seen.above = above;
        seen.way = way;
        LONG disabled = 0, hidden = 0;
        node->get_IsDisabled(&disabled);  // first: it may bring what is shown up to date
        node->get_IsHide(&hidden);
        seen.disabled = disabled != 0;
        seen.hidden = hidden != 0;
        seen.has_value = node->get_Value(seen.stored.Put()) == S_OK;
        TextResult title;
        node->get_Title(title.Put());
        seen.title = std::hash<std::wstring_view>()(title.View());
        if (const auto list = Ask<IListOfValues>(node)) {
            LONG count = 0;
            list->get_Count(&count);
            seen.choices = size_t(count);
            for (LONG i = 0; i < count; ++i) {
                Ref<IUnknown> item;
                if (FAILED(list->get_Item(i, item.Put()))) continue;
                BSTR label = nullptr;
                if (const auto entry = item.As<IListItem>()) entry->get_Title(&label);
                seen.choices = seen.choices * 31 + HashOf(label);
                SysFreeString(label);
            }
        }
        sight.push_back(std::move(seen));
    }
    Ref<IProperty> unit;
    if (node->get_Extension(unit.Put()) == S_OK && unit)
        See(sight, unit.get(), place, Locator::kUnit, depth + 1);
    // A folder stores its text, which is what it shows, and gives the place that is worked out from it.
    if (sight[size_t(place)].stored.kind() == VT_BSTR && !IsConverter(unit.get())) {
        Value format;
        if (SUCCEEDED(node->get_Format(format.Put())) && format.kind() == VT_BSTR)
            sight[size_t(place)].stored = std::move(format);
    }
    if (const auto held = Ask<IProperty>(sight[size_t(place)].stored.object()))
        See(sight, held.get(), place, Locator::kHeld, depth + 1);
    if (const auto children = Ask<IEnumProperties>(node)) {
        LONG count = 0;
        children->get_Count(&count);
        for (LONG i = 0; i < count; ++i) {
            Ref<IUnknown> item;
            if (FAILED(children->get_Item(i, item.Put()))) continue;
            if (const auto child = item.As<IProperty>()) See(sight, child.get(), place, i, depth + 1);
        }
    }
}

/// The job's tree and the inputs; cuts are seen when they change.
Sight JobCore::SightOf() const {
    Sight sight;
    sight.reserve(seen_.size());
    See(sight, root_.get(), -1, Locator::kRoot, 0);
    for (size_t i = 0; i < inputs_.size(); ++i) See(sight, inputs_[i].node.get(), -1, int(i), 0);
    return sight;
}

namespace {

Locator LocatorOf(const Sight& sight, int index, const Locator* cut) {
    Locator where;
    for (; sight[size_t(index)].above >= 0; index = sight[size_t(index)].above)
        where.way.push_back(sight[size_t(index)].way);
    if (cut) {
        where.way.insert(where.way.end(), cut->way.rbegin(), cut->way.rend());
        where.tree = cut->tree;
    } else {
        where.tree = sight[size_t(index)].way;
    }
    std::reverse(where.way.begin(), where.way.end());
    return where;
}

}  // namespace

void JobCore::Compare(const Sight& before, const Sight& after, const Locator* cut,
                      std::vector<NodeChange>& changes, std::vector<NodeStep>& steps) {
    const auto changed = [&](const Seen& was, int now_index) {
        const Seen& now = after[size_t(now_index)];
        const unsigned what = was.ChangeTo(now);
        if (what == 0) return;
        if (now.way == Locator::kUnit && now.above >= 0) {  // told of the node whose unit it is
            const Ref<IProperty>& owner = after[size_t(now.above)].node;
            const auto told = std::find_if(changes.begin(), changes.end(), [&](const NodeChange& change) {
                return change.node.get() == owner.get();
            });
            if (told != changes.end())
                told->what |= NodeChange::kValue;
            else
                changes.push_back({NodeOf(owner), NodeChange::kValue});
        } else {
            changes.push_back({NodeOf(now.node), what});
        }
        if (what & (NodeChange::kValue | NodeChange::kHidden | NodeChange::kDisabled))
            steps.push_back({LocatorOf(after, now_index, cut), was, now});
    };
    const auto same = [](const Seen& a, const Seen& b) { return a.node == b.node; };
    if (before.size() == after.size() && std::equal(before.begin(), before.end(), after.begin(), same)) {
        for (size_t i = 0; i < after.size(); ++i) changed(before[i], int(i));
        return;
    }
    std::unordered_map<IProperty*, const Seen*> was, is;
    for (const Seen& seen : before) was.emplace(seen.node.get(), &seen);
    for (const Seen& seen : after) is.emplace(seen.node.get(), &seen);
    for (size_t i = 0; i < after.size(); ++i) {
        const auto found = was.find(after[i].node.get());
        if (found != was.end())
            changed(*found->second, int(i));
        else if (after[i].way != Locator::kUnit)
            changes.push_back({NodeOf(after[i].node), NodeChange::kCame});
    }
    for (const Seen& seen : before)
        if (seen.way != Locator::kUnit && !is.contains(seen.node.get()))
            changes.push_back({NodeOf(seen.node), NodeChange::kGone});
}

Ref<IProperty> JobCore::NodeAt(const Locator& where) const {
    Ref<IProperty> at = where.tree == Locator::kRoot          ? root_
                        : size_t(where.tree) < inputs_.size() ? inputs_[size_t(where.tree)].node
                                                              : Ref<IProperty>();
    for (const int step : where.way) {
        if (!at) break;
        Ref<IProperty> next;
        if (step == Locator::kUnit) {
            if (at->get_Extension(next.Put()) != S_OK) next = {};
        } else if (step == Locator::kHeld) {
            Value value;
            if (at->get_Value(value.Put()) == S_OK) next = Ask<IProperty>(value.object());
        } else {
            Ref<IUnknown> item;
            if (step >= Locator::kCut) {
                if (const auto cuts = at.As<ITimelines>()) cuts->get_Item(step - Locator::kCut, item.Put());
            } else if (const auto children = at.As<IEnumProperties>()) {
                children->get_Item(step, item.Put());
            }
            next = item.As<IProperty>();
        }
        at = std::move(next);
    }
    return at;
}

/// The cut that a node belongs to; none for one outside of cuts. A cut hangs at the list, which is no node.
std::optional<Locator> JobCore::CutAround(IProperty* node) const {
    if (inputs_.empty()) return {};
    Ref<IProperty> cut(node);
    Ref<ITimelines> cuts;
    for (int depth = 0; cut && !cuts && depth < kDeepestNode; ++depth) {
        Ref<IDispatch> above;
        if (cut->get_Parent(above.Put()) != S_OK) return {};
        cuts = above.As<ITimelines>();
        if (!cuts) cut = above.As<IProperty>();
    }
    const auto list = cuts ? ListOf(cuts.get()) : std::nullopt;
    if (!list) return {};
    LONG count = 0, index = 0;
    cuts->get_Count(&count);
    for (Ref<IUnknown> item; index < count; ++index)
        if (SUCCEEDED(cuts->get_Item(index, item.Put())) && item.As<IProperty>() == cut) break;
    if (index == count) return {};
    Sight sight;
    See(sight, inputs_[size_t(*list)].node.get(), -1, *list, 0);
    for (size_t place = 0; place < sight.size(); ++place) {
        if (sight[place].node.As<ITimelines>() != cuts) continue;
        Locator where = LocatorOf(sight, int(place), nullptr);
        where.way.push_back(Locator::kCut + int(index));
        return where;
    }
    return {};
}

// --- Changes

void JobCore::Begin(const std::string& name, IProperty* cause) {
    if (depth_++ > 0) return;
    name_ = name;
    cause_ = Ref<IProperty>(cause);
    step_ = {};
    step_.selected_before = selected_;
    in_cuts_.clear();
    list_changes_.clear();
    if (Watching() && !seen_is_fresh_) {
        seen_ = SightOf();
        seen_is_fresh_ = true;
    }
}

/// What a node of a cut is before the change that is about to come.
void JobCore::Remember(IProperty* node) {
    if (!Watching()) return;
    const auto cut = CutAround(node);
    if (!cut) return;
    for (const InCut& known : in_cuts_)
        if (known.where.tree == cut->tree && known.where.way == cut->way) return;
    InCut in_cut = {*cut, {}};
    See(in_cut.before, NodeAt(*cut).get(), -1, cut->way.back(), 0);
    in_cuts_.push_back(std::move(in_cut));
}

Step JobCore::End(bool keep) {
    if (--depth_ > 0) return {};
    if (!Watching()) {
        seen_is_fresh_ = false;
        list_changes_.clear();  // their nodes hold the job
        return {};
    }
    bv::Change change = {name_, cause_ ? NodeOf(cause_) : Node(), {}};
    Sight now = SightOf();
    Compare(seen_, now, nullptr, change.nodes, step_.nodes);
    for (const InCut& in_cut : in_cuts_) {
        const Ref<IProperty> cut = NodeAt(in_cut.where);
        if (!cut || in_cut.before.empty() || in_cut.before.front().node != cut) continue;
        Sight after;
        See(after, cut.get(), -1, in_cut.where.way.back(), 0);
        Compare(in_cut.before, after, &in_cut.where, change.nodes, step_.nodes);
    }
    const auto known = [&](const NodeChange& other) {
        return std::any_of(change.nodes.begin(), change.nodes.end(),
                           [&](const NodeChange& told) { return told.node == other.node; });
    };
    for (NodeChange& item : list_changes_)
        if (!known(item)) change.nodes.push_back(std::move(item));
    list_changes_.clear();
    in_cuts_.clear();
    seen_ = std::move(now);
    step_.name = name_;
    step_.selected_after = selected_;
    cause_ = {};
    Step step = std::exchange(step_, {});
    if (keep && undo_depth_ > 0 && !applying_ && !step.empty()) {
        undo_.push_back(step);
        if (undo_.size() > undo_depth_) undo_.pop_front();
        redo_.clear();
    }
    if (!change.nodes.empty()) Tell(std::move(change));
    return step;
}

HRESULT JobCore::Edit(const std::string& name, IProperty* node, const std::function<HRESULT()>& change) {
    const auto alive = shared_from_this();
    Begin(name, node);
    HRESULT status = E_FAIL;
    try {
        Remember(node);
        status = change();
    } catch (...) {
        End(false);
        throw;
    }
    End(SUCCEEDED(status));
    return status;
}

void JobCore::BeginTransaction(const std::string& name) {
    recording_ = true;
    Begin(name, nullptr);
}

void JobCore::EndTransaction(bool keep) {
    const auto alive = shared_from_this();
    const bool outermost = depth_ == 1;
    const Step step = End(keep);
    if (!outermost) return;
    recording_ = false;
    if (!keep) Apply(step, true);
}

Result<> JobCore::Transaction(const std::string& name, const std::function<Result<>()>& changes) {
    const auto alive = shared_from_this();
    BeginTransaction(name);
    try {
        const Result<> result = changes();
        EndTransaction(bool(result));
        return result;
    } catch (...) {
        EndTransaction(false);
        throw;
    }
}

void JobCore::Refresh() {
    const auto alive = shared_from_this();
    if (!Watching() || depth_ > 0) return;
    if (!seen_is_fresh_) {
        seen_ = SightOf();
        seen_is_fresh_ = true;
        return;
    }
    Begin({}, nullptr);
    End(false);
}

void JobCore::Tell(bv::Change change) {
    if (subscribers_.empty()) return;
    to_tell_.push_back(std::move(change));
    if (telling_) return;  // who is telling now tells this one too
    telling_ = true;
    struct Done {
        bool& flag;
        ~Done() { flag = false; }
    } done{telling_};
    while (!to_tell_.empty()) {
        const bv::Change next = std::move(to_tell_.front());
        to_tell_.pop_front();
        const std::vector<Subscriber> subscribers = subscribers_;  // a callback may subscribe and unsubscribe
        for (const Subscriber& subscriber : subscribers) {
            const bool still =
                std::any_of(subscribers_.begin(), subscribers_.end(),
                            [&](const Subscriber& other) { return other.id == subscriber.id; });
            if (still) subscriber.callback(next);
        }
    }
}

std::uint64_t JobCore::Subscribe(std::function<void(const bv::Change&)> callback) {
    if (!Watching()) seen_is_fresh_ = false;
    subscribers_.push_back({++last_id_, std::move(callback)});
    if (!seen_is_fresh_ && depth_ == 0) {
        seen_ = SightOf();
        seen_is_fresh_ = true;
    }
    return last_id_;
}

void JobCore::Unsubscribe(std::uint64_t id) {
    std::erase_if(subscribers_, [id](const Subscriber& subscriber) { return subscriber.id == id; });
}

// --- Undo

bool JobCore::Undo() {
    if (undo_.empty() || depth_ > 0) return false;
    const auto alive = shared_from_this();
    Step step = std::move(undo_.back());
    undo_.pop_back();
    Apply(step, true);
    redo_.push_back(std::move(step));
    return true;
}

bool JobCore::Redo() {
    if (redo_.empty() || depth_ > 0) return false;
    const auto alive = shared_from_this();
    Step step = std::move(redo_.back());
    redo_.pop_back();
    Apply(step, false);
    undo_.push_back(std::move(step));
    return true;
}

void JobCore::PutBack(const Seen& wanted, const Seen& now) {
    IProperty* const node = now.node.get();
    if (wanted.has_value && !(wanted.stored == now.stored)) node->put_Value(wanted.stored.get());
}

/// Puts back what the step's nodes were, then whatever the hooks made of others on the way.
void JobCore::Apply(const Step& step, bool back) {
    applying_ = true;
    const Sight known = seen_is_fresh_ ? seen_ : SightOf();
    Begin(step.name, nullptr);
    if (!back)
        for (const Splice& splice : step.splices) Replace(splice, false);
    std::unordered_map<IProperty*, Seen> wanted;
    for (const Seen& seen : known) wanted.emplace(seen.node.get(), seen);
    const auto nodes = [&](const auto& put) {
        if (back)
            std::for_each(step.nodes.rbegin(), step.nodes.rend(), put);
        else
            std::for_each(step.nodes.begin(), step.nodes.end(), put);
    };
    nodes([&](const NodeStep& change) {
        const Ref<IProperty> node = NodeAt(change.where);
        if (!node) return;
        Remember(node.get());
        Seen target = back ? change.before : change.after;
        target.node = node;
        if (target.has_value) node->put_Value(target.stored.get());
        wanted[node.get()] = std::move(target);
    });
    if (back)
        for (auto splice = step.splices.rbegin(); splice != step.splices.rend(); ++splice)
            Replace(*splice, true);
    const int selected = back ? step.selected_before : step.selected_after;
    if (selected != selected_ || !step.splices.empty()) SelectIndex(selected);

    // Hooks ran in another order than they did: what differs from what is wanted is put once more, then the flags alone.
    constexpr int kPasses = 3;
    for (int pass = 0; pass < kPasses; ++pass) {
        Sight now = SightOf();
        for (const InCut& in_cut : in_cuts_) {
            if (const Ref<IProperty> cut = NodeAt(in_cut.where)) See(now, cut.get(), -1, 0, 0);
        }
        bool same = true;
        for (const Seen& seen : now) {
            const auto found = wanted.find(seen.node.get());
            if (found == wanted.end()) continue;
            const Seen& target = found->second;
            if (pass + 1 < kPasses) {
                same = same && (!target.has_value || target.stored == seen.stored);
                PutBack(target, seen);
            }
        }
        if (same && pass + 1 < kPasses) pass = kPasses - 2;  // on to the flags
        if (pass + 1 < kPasses) continue;
        for (const Seen& seen : now) {
            const auto found = wanted.find(seen.node.get());
            if (found == wanted.end()) continue;
            LONG hidden = 0, disabled = 0;  // as a flag put above may have reached it
            seen.node->get_IsHide(&hidden);
            seen.node->get_IsDisabled(&disabled);
            if ((hidden != 0) != found->second.hidden) seen.node->put_IsHide(found->second.hidden);
            if ((disabled != 0) != found->second.disabled) seen.node->put_IsDisabled(found->second.disabled);
        }
    }
    End(false);
    applying_ = false;
}

// --- Lists

Ref<ITimelines> JobCore::TimelinesOf(size_t input) const {
    const Node node = Node(inputs_[input].node.get()).Find("Timelines");
    return node ? Ask<ITimelines>(node.get()) : Ref<ITimelines>();
}

Cuts JobCore::CutsOf(const Node& input) {
    const Node node = input.Find("Timelines");
    Ref<ITimelines> cuts = node ? Ask<ITimelines>(node.get()) : Ref<ITimelines>();
    if (!cuts) throw Error("the input can't be cut");
    return {node, std::move(cuts), shared_from_this()};
}

std::optional<ListId> JobCore::ListOf(ITimelines* cuts) const {
    for (size_t i = 0; i < inputs_.size(); ++i)
        if (TimelinesOf(i).get() == cuts) return ListId(i);
    return {};
}

size_t JobCore::CountOf(ListId list) const {
    if (list == kInputs) return inputs_.size();
    LONG count = 0;
    if (const auto cuts = TimelinesOf(size_t(list))) cuts->get_Count(&count);
    return size_t(count);
}

Ref<IProperty> JobCore::ItemAt(ListId list, size_t index) const {
    if (list == kInputs) return inputs_[index].node;
    Ref<IUnknown> item;
    if (const auto cuts = TimelinesOf(size_t(list))) cuts->get_Item(LONG(index), item.Put());
    return item.As<IProperty>();
}

void JobCore::AppendItem(ListId list, const std::string& item) {
    const Element element = ParseSettings(item);
    LoadReport kept = std::move(report);
    if (list == kInputs) {
        RestoreInput(element);
    } else if (const auto cuts = TimelinesOf(size_t(list))) {
        Ref<IProperty> cut;
        cuts->AddTimeline(0, 0, cut.Put());
        if (cut) RestoreNode(element, cut.get());
    }
    report = std::move(kept);
    if (const size_t count = CountOf(list))
        if (Ref<IProperty> added = ItemAt(list, count - 1))
            list_changes_.push_back({NodeOf(std::move(added)), NodeChange::kCame});
}

void JobCore::RemoveItem(ListId list, size_t index) {
    const Ref<IProperty> item = ItemAt(list, index);
    if (!item) return;
    if (list != kInputs) {
        TimelinesOf(size_t(list))->RemoveTimeline(item.get());
        return;
    }
    if (const auto cuts = TimelinesOf(index)) cuts->SetMediaObject(nullptr);
    media_->Files()->RemoveItem(item.get());
    item->put_Active(0);  // the index of nodes holds it still
    item->SetMediaObject(nullptr);
    inputs_.erase(inputs_.begin() + std::ptrdiff_t(index));
    if (selected_ == int(index))
        selected_ = -1;
    else if (selected_ > int(index))
        --selected_;
}

void JobCore::Replace(const Splice& splice, bool back) {
    if (splice.moved != 0) {
        const size_t from = back ? size_t(int(splice.index) + splice.moved) : splice.index;
        const int by = back ? -splice.moved : splice.moved;
        media_->Files()->Move(inputs_[from].node.get(), by);
        std::swap(inputs_[from], inputs_[size_t(int(from) + by)]);
        return;
    }
    const auto& out = back ? splice.after : splice.before;
    const auto& in = back ? splice.before : splice.after;
    // Lists grow at their end alone: what stands behind goes and comes again.
    std::vector<std::string> items = in;
    for (size_t i = splice.index + out.size(); i < CountOf(splice.list); ++i)
        items.push_back(XmlOf(ItemAt(splice.list, i).get()));
    while (CountOf(splice.list) > splice.index) {
        const size_t last = CountOf(splice.list) - 1;
        if (Ref<IProperty> gone = ItemAt(splice.list, last))
            list_changes_.push_back({NodeOf(std::move(gone)), NodeChange::kGone});
        RemoveItem(splice.list, last);
        if (CountOf(splice.list) > last) break;  // it refuses to go
    }
    for (const std::string& item : items) AppendItem(splice.list, item);
}

HRESULT JobCore::EditList(const std::string& name, ListId list, size_t index, size_t count,
                          const std::function<HRESULT()>& change) {
    const auto alive = shared_from_this();
    Begin(name, nullptr);
    Splice splice = {list, index, {}, {}};
    std::vector<Ref<IProperty>> before;
    const size_t all = CountOf(list);
    for (size_t i = 0; i < all; ++i) before.push_back(ItemAt(list, i));
    if (Watching())
        for (size_t i = index; i < index + count && i < all; ++i)
            splice.before.push_back(XmlOf(before[i].get()));
    HRESULT status = E_FAIL;
    std::exception_ptr thrown;
    try {
        status = change();
    } catch (...) {  // the list may have changed before
        thrown = std::current_exception();
    }
    std::vector<Ref<IProperty>> after;
    for (size_t i = 0; i < CountOf(list); ++i) after.push_back(ItemAt(list, i));
    const size_t tail = all - std::min(all, index + count);
    if (Watching())
        for (size_t i = index; i + tail < after.size(); ++i) splice.after.push_back(XmlOf(after[i].get()));
    const auto note = [&](const auto& from, const auto& missing_in, NodeChange::What what) {
        for (const Ref<IProperty>& item : from)
            if (std::find(missing_in.begin(), missing_in.end(), item) == missing_in.end())
                list_changes_.push_back({NodeOf(item), what});
    };
    note(after, before, NodeChange::kCame);
    note(before, after, NodeChange::kGone);
    if (before != after) step_.splices.push_back(std::move(splice));
    End(before != after || SUCCEEDED(status));
    if (thrown) std::rethrow_exception(thrown);
    return status;
}

// --- Inputs

JobCore::InputEntry& JobCore::NewInput(const std::wstring& path) {
    ForgetErrors();
    // The list fills an input without a path, if it is the only one: until all are there such a one needs a path too.
    const HRESULT status = media_->Files()->Insert(Text(std::wstring_view(path.empty() ? L"?" : path)));
    if (FAILED(status)) throw Error(status, OneLine(ToUtf8(path)) + ": " + Reason(status));
    LONG count = 0;
    Ref<IUnknown> item;
    media_->Files()->get_Count(&count);
    media_->Files()->get_Item(count - 1, item.Put());
    InputEntry entry = {item.As<IProperty>(), {}};
    if (!entry.node) throw Error(OneLine(ToUtf8(path)) + ": the list of inputs doesn't take it");
    entry.node->SetMediaObject(media_->Dispatch());
    inputs_.push_back(std::move(entry));
    // The lengths of cuts are told in seconds from the start, not just when the input becomes the current one.
    if (const auto cuts = TimelinesOf(inputs_.size() - 1)) cuts->SetMediaObject(media_);
    return inputs_.back();
}

void JobCore::Open(InputEntry& input) {
    input.info = {};
    if (SUCCEEDED(media_->PreOpen(input.node.get()))) input.info = media_->Info();
}

size_t JobCore::AddInput(const std::filesystem::path& path) {
    const size_t index = inputs_.size();
    std::error_code error;
    std::filesystem::path whole = std::filesystem::absolute(path, error);
    const std::wstring name = FromPath(error ? path : whole.lexically_normal());
    EditList("Add " + OneLine(PathToUtf8(path.filename())), kInputs, index, 0, [&] {
        Open(NewInput(name));
        if (selected_ < 0) SelectIndex(0);
        return S_OK;
    });
    return index;
}

void JobCore::SelectIndex(int index) {
    selected_ = index;
    if (index < 0 || size_t(index) >= inputs_.size()) return;
    media_->SetInfo(inputs_[size_t(index)].info);
    if (const auto main = root_.As<IMainMediaPath>()) main->SetMediaPath(inputs_[size_t(index)].node.get());
}

Result<> JobCore::RemoveInput(IProperty* input) {
    for (size_t i = 0; i < inputs_.size(); ++i) {
        if (inputs_[i].node.get() != input) continue;
        EditList("Remove " + OneLine(PathToUtf8(InputOf(i).path().filename())), kInputs, i, 1, [&] {
            RemoveItem(kInputs, i);
            if (selected_ < 0 && !inputs_.empty()) SelectIndex(0);
            return S_OK;
        });
        return {};
    }
    return NotHere("the input isn't the job's");
}

Result<> JobCore::MoveInput(IProperty* input, int by) {
    for (size_t i = 0; i < inputs_.size(); ++i) {
        if (inputs_[i].node.get() != input) continue;
        const int target = int(i) + by;
        if ((by != 1 && by != -1) || target < 0 || size_t(target) >= inputs_.size())
            return NotHere("the input can't move there");
        const auto alive = shared_from_this();
        Begin("Move " + OneLine(PathToUtf8(InputOf(i).path().filename())), input);
        const Splice splice = {kInputs, i, {}, {}, by};
        const Ref<IProperty> current = selected_ >= 0 ? inputs_[size_t(selected_)].node : Ref<IProperty>();
        Replace(splice, false);
        for (size_t k = 0; k < inputs_.size(); ++k)
            if (current && inputs_[k].node == current) selected_ = int(k);
        step_.splices.push_back(splice);
        End(true);
        return {};
    }
    return NotHere("the input isn't the job's");
}

Result<> JobCore::Select(IProperty* input) {
    for (size_t i = 0; i < inputs_.size(); ++i) {
        if (inputs_[i].node.get() != input) continue;
        const auto alive = shared_from_this();
        Begin("Current input", input);
        SelectIndex(int(i));
        End(true);
        return {};
    }
    return NotHere("the input isn't the job's");
}

}  // namespace bv::inline host
