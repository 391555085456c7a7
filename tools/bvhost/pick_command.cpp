// Dialogs and editors: the ways in which a person sets a value without typing it.
#include <algorithm>
#include <iterator>
#include <map>

#include "commands.h"
#include "exit_code.h"
#include "job_source.h"
#include "server.h"
#include "terminal.h"
#include "text.h"

namespace host {
namespace {

std::string Shown(const std::wstring& text) { return text.empty() ? "(empty)" : OneLine(Utf8(text)); }

/// All values below a node by the node that holds them, with the length of a list beside one;
/// nodes of its units too.
void CollectValues(const NodeView& view, std::vector<std::pair<IProperty*, std::string>>* values) {
    LONG count = 0;
    const auto list = Ask<IEnumObject>(view.node.get());
    std::string text = view.has_value ? Shown(view.shown) : std::string();
    if (list && SUCCEEDED(list->Count(&count)))
        text += (text.empty() ? "" : ", ") + std::to_string(count) + (count == 1 ? " filter" : " filters");
    if (!text.empty()) values->push_back({view.node.get(), text});
    if (view.unit) CollectValues(*view.unit, values);
    if (view.held) CollectValues(*view.held, values);
    for (const NodeView& child : view.children) CollectValues(child, values);
}

std::string NameOf(IProperty* node) {
    TextResult name;
    return SUCCEEDED(node->get_Name(name.Put())) ? OneLine(Utf8(name.Get())) : "?";
}

/// Says why: a library that isn't there, no screen, or a person who didn't want to. The exit code.
int NothingPicked(const NodeView& node) {
    const CLSID with_editor[] = {bv::clsid::PropertyCrop,
                                 bv::clsid::PropertySize,
                                 bv::clsid::PropertyFilters,
                                 bv::clsid::PropertyWatermark,
                                 bv::clsid::PropertyWatermarkText,
                                 bv::clsid::PropertyWatermarkFont,
                                 bv::clsid::PropertyWatermarkImageSize};
    const std::string name = NameOf(node.node.get());
    if (std::find(std::begin(with_editor), std::end(with_editor), node.cls) != std::end(with_editor))
        throw Problem(name + ": the library of editors can't be loaded");
    if (const std::string problem = WhyNoScreen(); !problem.empty()) {
        PrintError(name + ": no dialog can be shown: " + problem);
        return kNoScreen;
    }
    PrintError(name + ": cancelled, nothing was changed");
    return kCancelled;
}

/// Shows the dialog or editor of a node and prints what it changed.
int PickValue(const JobSource& source, const std::wstring& name) {
    const auto opened = source.OpenAndSet();
    Job& job = *opened;
    const NodeView node = job.Node(name);
    std::vector<std::pair<IProperty*, std::string>> before, after;
    CollectValues(node, &before);
    FlushOutput();  // an editor may write there too
    ForgetErrors();
    const HRESULT status = node.node->ShowDialog();
    const std::string shown_name = NameOf(node.node.get());
    if (status == E_NOTIMPL) throw Problem(shown_name + " has no dialog");
    if (FAILED(status)) throw Problem(shown_name + ": " + Reason(status));
    if (status != S_OK) return NothingPicked(node);

    const NodeView changed = ViewOf(node.node.get());
    CollectValues(changed, &after);
    const std::map<IProperty*, std::string> was(before.begin(), before.end());
    size_t changes = 0;
    const bool quiet = source.output == L"-";  // the settings go there
    for (const auto& [at, value] : after) {
        const auto old = was.find(at);
        if (old != was.end() && old->second == value) continue;
        ++changes;
        if (!quiet) Print(NameOf(at) + ": " + (old == was.end() ? "" : old->second + " -> ") + value + '\n');
    }
    if (changes == 0 && !quiet) Print(shown_name + ": nothing was changed\n");
    WriteJob(&job, source.output);
    return kDone;
}

}  // namespace

void AddPickCommand(CommandLine& line) {
    const auto source = std::make_shared<JobSource>();
    const auto name = std::make_shared<std::wstring>();
    Command pick = line.Add("pick", "Shows the dialog or editor of a setting, and what it changed");
    pick.Word("NAME", "The setting, such as DestinationPath", name.get());
    source->AddTo(&pick);
    source->AddOutputTo(pick, "Where the settings are written then; \"-\" is standard output");
    pick.Does([source, name] { return PickValue(*source, *name); });
}

}  // namespace host
