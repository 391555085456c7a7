#include "job.h"

#include <bvschema/host/document.h>

#include <algorithm>
#include <map>
#include <set>

#include "cuts.h"
#include "paths.h"
#include "server.h"
#include "typed_value.h"

namespace host {
namespace {

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

}  // namespace

// --- The job

Job::Job(const std::optional<MediaInfo>& given, const std::optional<std::string>& document)
    : given_(given), job_([&] {
          bv::JobOptions options;
          options.undo_depth = 0;
          options.source = [given](const std::filesystem::path& file) -> bv::Result<MediaInfo> {
              if (given) return *given;
              std::error_code ignored;
              if (std::filesystem::is_regular_file(file, ignored) &&
                  std::filesystem::file_size(file, ignored) == 0)
                  throw Problem("the file is empty");
              return ReadMedia(FromPath(file));
          };
          return document ? bv::Job::Parse(*document, std::move(options))
                          : bv::Job::Create(std::move(options));
      }()) {
    for (const bv::LoadNote& note : job_.report().notes) {
        const std::string line = "line " + std::to_string(note.line) + ": ";
        warnings_.push_back(note.kind == bv::LoadNote::kInput ? note.text
                            : note.kind == bv::LoadNote::kUnknown
                                ? line + note.text
                                : line + OneLine(note.name) + ": " + note.text);
    }
    for (const bv::Input& input : job_.Inputs()) TakeIndex(&NewInput(input));
}

Input& Job::NewInput(const bv::Input& input) {
    Input entry;
    entry.node = Ref<IProperty>(input.node().get());
    entry.path = FromPath(input.path());
    entry.problem = input.problem();
    entry.info = input.info();
    inputs_.push_back(std::move(entry));
    return inputs_.back();
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
    if (!input->problem.empty() || input->info.still || given_) return;
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
    Input& input = NewInput(job_.AddInput(file));
    if (!input.problem.empty()) warnings_.push_back(OneLine(Utf8(input.path)) + ": " + input.problem);
    TakeIndex(&input);
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
    if (const auto found = Find(Root(), name)) return ViewOf(found.get());
    std::vector<std::wstring> names;
    CollectNames(root, &names);
    if (!inputs_.empty()) CollectNames(ViewOf(inputs_.front().node.get()), &names);
    throw Problem("there is no setting " + bv::Quoted(Utf8(name)) + Suggestion(name, names));
}

Effects Job::Set(const std::wstring& name, const std::wstring& text) {
    const NodeView before = View();
    const NodeView node = Node(name);
    const std::string what = OneLine(Utf8(name + L"=" + text));
    if (const std::string takes = FormOtherThan(node, text); !takes.empty())
        throw Problem(what + ": this setting takes " + takes);
    if (const auto set = bv::Node(node.node.get()).Set(Utf8(text)); !set)
        throw Problem(what + ": " + set.error().text);
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
    std::string xml = job_.Xml();
    CheckWritten(xml);
    return xml;
}

namespace {

/// The names of nodes that have a text, and of those whose text the file's code page can't spell.
struct Texts {
    std::set<std::string> all, foreign;

    void Collect(const NodeView& view) {
        // The shown form is the one that is stored: a folder's value is its place, worked out.
        if (view.value.kind() == VT_BSTR && !view.shown.empty()) {
            all.insert(Utf8(view.name));
            if (!FitsNarrow(view.shown)) foreign.insert(Utf8(view.name));
        }
        if (view.held) Collect(*view.held);
        for (const NodeView& child : view.children) Collect(child);
    }
};

/// Names whose text is written empty, although the tree has one.
void FindLost(const bv::Element& element, const std::set<std::string>& texts,
              std::vector<std::string>* lost) {
    const bool empty = element.value && element.value->kind == VT_BSTR && element.value->text.empty();
    if (empty && texts.contains(element.name)) lost->push_back(element.name);
    for (const bv::Element& child : element.children) FindLost(child, texts, lost);
}

}  // namespace

// The file has limits of its own: a text beyond them is left out, and an index is kept only where its
// file can be.
void Job::CheckWritten(const std::string& xml) try {
    const bv::Element written = bv::ParseSettings(xml);
    std::vector<std::string> lost;
    Texts texts;
    texts.Collect(View());
    for (const bv::Element& part : written.children)
        if (part.name != "FILES") FindLost(part, texts.all, &lost);
    for (const std::string& name : lost)
        losses_.push_back(OneLine(name) + ": the text is too long for a settings file and is left out");
    for (const Input& input : inputs_) {
        Texts of_input;
        lost.clear();
        of_input.Collect(ViewOf(input.node.get()));
        texts.foreign.merge(of_input.foreign);
        for (const bv::Element& part : written.children)
            for (const bv::Element& file : part.children)
                if (part.name == "FILES" &&
                    size_t(&file - part.children.data()) == size_t(&input - inputs_.data()))
                    FindLost(file, of_input.all, &lost);
        if (!lost.empty())
            losses_.push_back("input " + std::to_string(&input - inputs_.data() + 1) +
                              ": the path is too long for a settings file and is left out");
    }

    for (const std::string& name : texts.foreign)
        losses_.push_back(OneLine(name) + ": the text has characters that a settings file in code page " +
                          std::to_string(GetACP()) + " can't hold, \"#\" stands for them");

    const auto folder = ModuleFolderOf(bv::clsid::PropertyMediaPath);
    for (const Input& input : inputs_) {
        if (input.index == Input::kNone) continue;
        const bv::Node name_node = bv::Node(input.node.get()).Find("IDX");
        const std::wstring name = name_node ? name_node.value().AsText() : std::wstring();
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

}  // namespace host
