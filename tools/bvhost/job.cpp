#include "job.h"

#include <algorithm>
#include <map>
#include <set>
#include <tuple>

#include "cuts.h"
#include "filters.h"
#include "paths.h"
#include "server.h"
#include "typed_value.h"

namespace host {
namespace {

std::string Quoted(const std::wstring& name) { return '"' + OneLine(Utf8(name)) + '"'; }

/// A stream that keeps what it gets.
class TextStream final : public ISequentialStream {
public:
    std::string text;

    STDMETHODIMP QueryInterface(REFIID iid, void** out) override {
        if (!out) return E_POINTER;
        const bool known = iid == bv::kIid<IUnknown> || iid == bv::kIid<ISequentialStream>;
        *out = known ? this : nullptr;
        return known ? S_OK : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return 2; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }
    STDMETHODIMP Read(void*, ULONG, ULONG*) override { return E_NOTIMPL; }
    STDMETHODIMP Write(const void* bytes, ULONG count, ULONG* written) override try {
        text.append(static_cast<const char*>(bytes), count);
        if (written) *written = count;
        return S_OK;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
};

// --- Flags before and after a change

struct Flags {
    IProperty* node;
    IProperty* parent;  // null: the root
    std::wstring name;
    bool shown, enabled;
    bool in_sight;  // all above it are shown too
};

/// What counts as the same node in two looks: the object. Nodes of another choice are others.
void CollectFlags(const NodeView& view, const Flags& above, std::vector<Flags>* flags) {
    const Flags own = {view.node.get(), above.node,     view.name,
                       !view.hidden,    !view.disabled, !view.hidden && above.in_sight};
    flags->push_back(own);
    if (view.held) CollectFlags(*view.held, own, flags);
    for (const NodeView& child : view.children) CollectFlags(child, own, flags);
}

class TreeFlags {
public:
    explicit TreeFlags(const NodeView& view) {
        CollectFlags(view, {nullptr, nullptr, {}, true, true, true}, &all_);
        for (const Flags& flags : all_) by_node_.emplace(flags.node, &flags);
    }
    const std::vector<Flags>& all() const { return all_; }
    const Flags* Find(IProperty* node) const {
        const auto found = by_node_.find(node);
        return found == by_node_.end() ? nullptr : found->second;
    }
    /// The nodes that another look doesn't have, each topmost one with the number of those below it.
    void Without(const TreeFlags& other, std::vector<Effects::Touched>* touched) const {
        const Flags* top = nullptr;  // whole trees come or go, and they stand together
        for (const Flags& flags : all_) {
            if (other.Find(flags.node)) continue;
            if (flags.parent && !other.Find(flags.parent)) {
                if (flags.in_sight && top->shown) ++touched->back().below;
                continue;
            }
            top = &flags;
            if (flags.shown) touched->push_back({flags.name});
        }
    }

private:
    std::vector<Flags> all_;
    std::map<IProperty*, const Flags*> by_node_;
};

Effects Compare(const NodeView& before, const NodeView& after) {
    const TreeFlags was(before), is(after);
    Effects effects;
    for (const Flags& now : is.all()) {
        const Flags* old = was.Find(now.node);
        if (!old) continue;
        if (now.shown && !old->shown) effects.shown.push_back({now.name});
        if (!now.shown && old->shown) effects.hidden.push_back({now.name});
        if (now.enabled && !old->enabled) effects.enabled.push_back({now.name});
        if (!now.enabled && old->enabled) effects.disabled.push_back({now.name});
    }
    is.Without(was, &effects.shown);
    was.Without(is, &effects.hidden);  // went with the choice that held them
    return effects;
}

// --- Values and nodes

void PutValue(const NodeView& node, const Value& value, const std::string& what) {
    ForgetErrors();
    // Where the shown and the stored form differ, the node converts; a choice is stored as it is.
    const bool shown_form = node.unit && node.unit->node.As<IValueFormat>() && value.kind() == VT_BSTR;
    const HRESULT status =
        shown_form ? node.node->put_Format(value.get()) : node.node->put_Value(value.get());
    if (status == E_NOTIMPL && !node.has_value) throw Problem(what + ": this is a group, it has no value");
    if (FAILED(status)) throw Problem(what + ": " + Reason(status));
}

/// The child, held or further node below a node that an element of this name is about.
Ref<IProperty> NodeFor(IProperty* parent, const std::wstring& name) {
    Value value;
    if (parent->get_Value(value.Put()) == S_OK) {
        const auto held = Ask<IProperty>(value.object());
        TextResult held_name;
        if (held && SUCCEEDED(held->get_Name(held_name.Put())) && SameName(held_name.Get(), name))
            return held;
    }
    if (const auto children = Ask<IEnumProperties>(parent)) {
        LONG count = 0;
        children->get_Count(&count);
        for (LONG i = 0; i < count; ++i) {
            Ref<IUnknown> item;
            TextResult child_name;
            if (FAILED(children->get_Item(i, item.Put()))) continue;
            const auto child = item.As<IProperty>();
            if (child && SUCCEEDED(child->get_Name(child_name.Put())) && SameName(child_name.Get(), name))
                return child;
        }
    }
    return Find(parent, name);
}

std::optional<CLSID> ClassOf(IUnknown* object) {
    CLSID cls = {};
    if (const auto format = Ask<IOutputFormatInfo>(object); format && format->GetClassID(&cls) == S_OK)
        return cls;
    if (const auto filter = Ask<IBaseFilter>(object); filter && filter->GetClassID(&cls) == S_OK) return cls;
    return {};
}

}  // namespace

// --- The job

Job::Job(std::optional<MediaInfo> given) : media_(given) {
    root_ = Create<IProperty>(bv::clsid::PropertyMain, "PropertyMain");
    media_.SetRoot(root_.get());
    root_->put_MediaObject(media_.Dispatch());
}

Job::~Job() {
    // Nodes keep no reference on the media object, so it is taken from them before it goes.
    root_->put_MediaObject(nullptr);
    for (const Input& input : inputs_) {
        input.node->SetMediaObject(nullptr);
        if (const auto cuts = CutsOf(input.node.get())) cuts->SetMediaObject(nullptr);
    }
    inputs_.clear();
    media_.Close();
}

Input& Job::NewInput(const std::wstring& path) {
    ForgetErrors();
    // The list fills an input without a path, if it is the only one: until all are there such a one needs a
    // path too.
    const HRESULT status = media_.Files()->Insert(Text(path.empty() ? L"?" : path));
    if (FAILED(status)) throw Problem(Utf8(path) + ": " + Reason(status));
    LONG count = 0;
    Ref<IUnknown> item;
    media_.Files()->get_Count(&count);
    media_.Files()->get_Item(count - 1, item.Put());
    Input input;
    input.node = item.As<IProperty>();
    input.path = path;
    if (!input.node) throw Problem(Utf8(path) + ": the list of inputs doesn't take it");
    input.node->SetMediaObject(media_.Dispatch());
    // The lengths of cuts are told in seconds from the start, not just when the input becomes the current
    // one.
    if (const auto timelines = NodeFor(input.node.get(), L"Timelines"))
        if (const auto cuts = timelines.As<ITimelines>()) cuts->SetMediaObject(&media_);
    inputs_.push_back(std::move(input));
    return inputs_.back();
}

void Job::Open(Input* input) {
    if (SUCCEEDED(media_.PreOpen(input->node.get()))) {
        input->info = media_.Info();
        return;
    }
    LONG state = 0;
    TextResult text;
    const auto open_state = input->node.As<IMediaOpenState>();
    if (open_state) open_state->GetState(&state, text.Put());
    input->problem = OneLine(Utf8(text.Get()));
    if (input->problem.empty()) input->problem = "it can't be opened";
    warnings_.push_back(OneLine(Utf8(input->path)) + ": " + input->problem);
}

// An index that came from the cache is taken; else one is made, and written with the settings.
void Job::TakeIndex(Input* input) {
    int kind = 0;
    LONG size = 0;
    BYTE* bytes = nullptr;
    if (SUCCEEDED(input->node->GetData(&kind, &size, &bytes)) && kind == MediaIndex::kKind && bytes &&
        size > 0) {
        if (const auto cached = MediaIndex::Unpack(bytes, size_t(size))) {
            input->index = Input::kFromCache;
            input->key_frames = cached->entries.size();
            return;
        }
    }
    // An input that is described on the command line isn't read.
    if (!input->problem.empty() || input->info.still || media_.Described()) return;
    try {
        const auto index = ReadIndex(input->path);
        if (!index) return;
        if (!index->damage.empty()) {  // not kept, so that it is told of each time
            warnings_.push_back(OneLine(Utf8(input->path)) + ": " + index->damage);
            return;
        }
        std::vector<BYTE> packed = index->Pack();
        if (FAILED(input->node->PutData(MediaIndex::kKind, LONG(packed.size()), packed.data()))) return;
        input->index = Input::kMade;
        input->key_frames = index->entries.size();
    } catch (const Problem& problem) {
        warnings_.push_back(OneLine(Utf8(input->path)) + ": no index: " + problem.what());
    }
}

void Job::AddInput(const std::wstring& path) {
    const std::filesystem::path file = Absolute(path);
    std::error_code ignored;
    if (!std::filesystem::exists(file, ignored)) throw Problem("there is no file " + OneLine(Utf8(path)));
    Input& input = NewInput(FromPath(file));
    Open(&input);
    TakeIndex(&input);
}

void Job::SelectFirstInput() {
    if (inputs_.empty()) return;
    media_.SetInfo(inputs_.front().info);
    const auto main = root_.As<IMainMediaPath>();
    if (main) main->SetMediaPath(inputs_.front().node.get());
}

Ref<ITimelines> Job::Cuts() const {
    if (inputs_.empty()) throw Problem("there is no input to cut");
    const Ref<ITimelines> cuts = CutsOf(inputs_.front().node.get());
    if (!cuts) throw Problem("the input can't be cut");
    return cuts;
}

NodeView Job::Node(const std::wstring& name) const {
    const NodeView root = View();
    if (const NodeView* found = Pick(root, name)) return ViewOf(found->node.get());
    if (const auto found = Find(root_.get(), name)) return ViewOf(found.get());
    std::vector<std::wstring> names;
    CollectNames(root, &names);
    if (!inputs_.empty()) CollectNames(ViewOf(inputs_.front().node.get()), &names);
    throw Problem("there is no setting " + Quoted(name) + Suggestion(name, names));
}

Effects Job::Set(const std::wstring& name, const std::wstring& text) {
    const NodeView before = View();
    const NodeView node = Node(name);
    const std::string what = OneLine(Utf8(name + L"=" + text));
    node.node->BeforeCombo();
    std::optional<Value> value = TypedValue(node, text);
    std::optional<Value> unit;
    const size_t blank = text.rfind(L' ');
    if (!value && node.unit && blank != text.npos) {
        unit = LabelledValue(*node.unit, text.substr(blank + 1));
        if (unit) value = TypedValue(node, text.substr(0, blank));
    }
    if (!value) throw Problem(what + ": " + WhatItTakes(node, text));
    PutValue(node, *value, what);
    if (unit) PutValue(*node.unit, *unit, what);
    return Compare(before, View());
}

void Job::SelectFormat(const std::wstring& format) {
    const std::wstring node = L"OutputFileFormat";
    if (Node(node).choices.empty())
        throw Problem(
            "no output format is registered; \"bvhost register\" registers those of this installation");
    Set(node, format);
}

// --- Writing

std::string Job::Write() {
    losses_.clear();
    cache_problem_.clear();
    const auto writer = root_.As<ISettingsWriter>();
    TextStream stream;
    if (!writer || FAILED(writer->WriteXml(&stream))) throw Problem("the job can't be written");
    CheckWritten(stream.text);
    return stream.text;
}

namespace {

/// The names of nodes that have a text, and of those whose text the file's code page can't spell.
struct Texts {
    std::set<std::wstring> all, foreign;

    void Collect(const NodeView& view) {
        // The shown form is the one that is stored: a folder's value is its place, worked out.
        if (view.value.kind() == VT_BSTR && !view.shown.empty()) {
            all.insert(view.name);
            if (!FitsNarrow(view.shown)) foreign.insert(view.name);
        }
        if (view.held) Collect(*view.held);
        for (const NodeView& child : view.children) Collect(child);
    }
};

/// Names whose text is written empty, although the tree has one.
void FindLost(const Element& element, const std::set<std::wstring>& texts, std::vector<std::wstring>* lost) {
    const bool empty = element.value && element.value->kind == VT_BSTR && element.value->text.empty();
    if (empty && texts.contains(element.name)) lost->push_back(element.name);
    for (const Element& child : element.children) FindLost(child, texts, lost);
}

}  // namespace

// The file has limits of its own: a text beyond them is left out, and an index is kept only where its file
// can be.
void Job::CheckWritten(const std::string& xml) try {
    const Element written = ParseSettings(xml);
    std::vector<std::wstring> lost;
    Texts texts;
    texts.Collect(View());
    for (const Element& part : written.children)
        if (part.name != L"FILES") FindLost(part, texts.all, &lost);
    for (const std::wstring& name : lost)
        losses_.push_back(OneLine(Utf8(name)) + ": the text is too long for a settings file and is left out");
    for (const Input& input : inputs_) {
        Texts of_input;
        lost.clear();
        of_input.Collect(ViewOf(input.node.get()));
        texts.foreign.merge(of_input.foreign);
        for (const Element& part : written.children)
            for (const Element& file : part.children)
                if (part.name == L"FILES" &&
                    size_t(&file - part.children.data()) == size_t(&input - inputs_.data()))
                    FindLost(file, of_input.all, &lost);
        if (!lost.empty())
            losses_.push_back("input " + std::to_string(&input - inputs_.data() + 1) +
                              ": the path is too long for a settings file and is left out");
    }

    for (const std::wstring& name : texts.foreign)
        losses_.push_back(OneLine(Utf8(name)) +
                          ": the text has characters that a settings file in code page " +
                          std::to_string(GetACP()) + " can't hold, \"#\" stands for them");

    const auto folder = ModuleFolderOf(bv::clsid::PropertyMediaPath);
    for (const Input& input : inputs_) {
        if (input.index == Input::kNone) continue;
        const auto name_node = NodeFor(input.node.get(), L"IDX");
        const std::wstring name = name_node ? PathOf(name_node.get()) : std::wstring();
        std::error_code ignored;
        if (!name.empty() && std::filesystem::is_regular_file(folder / ToPath(name + L".idx"), ignored))
            continue;
        cache_problem_ = "there is no cache for indexes: " + PathText(folder) +
                         " can't be written, or its path is too long";
        break;
    }
} catch (const Problem& problem) {
    throw Problem(std::string("the settings can't be written so that they are read again: ") +
                  problem.what());
}

// --- Restoring

std::vector<std::string> Job::Restore(const Element& root) {
    if (!SameName(root.name, L"Main"))
        throw Problem("these are settings of " + Quoted(root.name) + ", not of a job");
    warnings_.clear();
    for (const Element& part : root.children) {
        if (!SameName(part.name, L"FILES")) continue;
        for (const Element& file : part.children) RestoreInput(file);
    }
    for (const Input& input : inputs_)
        if (input.path.empty()) input.node->put_Value(Value::Of(L"").get());
    SelectFirstInput();
    RestoreNode(root, root_.get());
    return TakeWarnings();
}

void Job::RestoreInput(const Element& element) {
    if (!element.value) return;
    Input& input = NewInput(element.value->text);
    if (input.path.empty()) {
        input.problem = "no file is chosen";
        return;
    }
    Open(&input);
    RestoreBelow(element, input.node.get());
    if (const auto writer = input.node.As<ISettingsWriter>()) writer->ReadExtraData(nullptr);
    TakeIndex(&input);
}

// By the rule of the file: the text in the kind that was stored, then the unit's; flags follow from the
// values.
void Job::RestoreNode(const Element& element, IProperty* node) {
    const std::string where =
        "line " + std::to_string(element.line) + ": " + OneLine(Utf8(element.name)) + ": ";
    if (element.value && element.value->kind == kObjectKind) {
        RestoreObject(element, node);
    } else if (element.value) {
        const auto value = Restored(*element.value);
        ForgetErrors();
        const HRESULT status = value ? node->put_Value(value->get()) : E_INVALIDARG;
        if (!value)
            warnings_.push_back(where + "the value doesn't fit its type " +
                                std::to_string(element.value->kind));
        else if (FAILED(status))
            warnings_.push_back(where + Reason(status));
    }
    if (element.unit) {
        Ref<IProperty> unit;
        const auto value = Restored(*element.unit);
        if (!value || node->get_Extension(unit.Put()) != S_OK || FAILED(unit->put_Value(value->get())))
            warnings_.push_back(where + "the unit isn't restored");
    }
    RestoreBelow(element, node);
    if (const auto writer = Ask<ISettingsWriter>(node)) writer->ReadExtraData(nullptr);
}

void Job::RestoreBelow(const Element& element, IProperty* node) {
    for (const Element& child : element.children) {
        if (SameName(child.name, L"FILES") && node == root_.get()) continue;
        if (SameName(child.name, L"EnumFilters") && Ask<IEnumObject>(node)) {
            RestoreFilters(child, Ask<IEnumObject>(node).get());
            continue;
        }
        const auto cuts = SameName(child.name, L"timeline") ? Ask<ITimelines>(node) : Ref<ITimelines>();
        Ref<IProperty> below;
        if (cuts)
            std::ignore = cuts->AddTimeline(0, 0, below.Put());
        else
            below = NodeFor(node, child.name);
        if (below)
            RestoreNode(child, below.get());
        else
            warnings_.push_back("line " + std::to_string(child.line) + ": there is no setting " +
                                Quoted(child.name) + " here; it is skipped with all inside");
    }
}

// The file has the settings of each filter of the list under the name of its node, and not its class.
void Job::RestoreFilters(const Element& part, IEnumObject* list) {
    for (const Element& element : part.children) {
        IUnknown* added = nullptr;
        const auto offered = OfferedFilters();
        for (const OfferedFilter& filter : offered)
            if (SameName(filter.name, element.name)) added = filter.filter.get();
        if (added && SUCCEEDED(list->Add(&added)))
            RestoreNode(element, Ask<IProperty>(added).get());
        else
            warnings_.push_back("line " + std::to_string(element.line) + ": the filter " +
                                Quoted(element.name) +
                                " isn't restored: no component offers one of this name");
    }
}

// An object was written as its class id or as the label of its choice.
void Job::RestoreObject(const Element& element, IProperty* node) {
    const std::wstring& text = element.value->text;
    CLSID cls = {};
    const bool by_class = SUCCEEDED(CLSIDFromString(text.c_str(), &cls));
    for (const auto& choice : ViewOf(node).choices) {
        if (!choice.value.object()) continue;
        const auto choice_class = ClassOf(choice.value.object());
        if (by_class ? choice_class != cls : choice.label != text) continue;
        if (SUCCEEDED(node->put_Value(choice.value.get()))) return;
    }
    warnings_.push_back("line " + std::to_string(element.line) + ": " + OneLine(Utf8(element.name)) +
                        ": the object " + Quoted(text) + " isn't restored");
}

}  // namespace host
