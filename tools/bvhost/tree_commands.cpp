#include <algorithm>
#include <optional>
#include <utility>

#include "commands.h"
#include "exit_code.h"
#include "job_source.h"
#include "presentation.h"
#include "terminal.h"
#include "text.h"

namespace host {
namespace {

struct TreeArguments {
    JobSource source;
    bool all = false;  // hidden settings too
    bool json = false;
    std::wstring find;
    std::optional<int> depth, width;
};

TreeStyle Style() { return {.colours = HasColours(), .width = TerminalWidth()}; }

bool Has(const std::wstring& text, const std::wstring& part) {
    for (size_t at = 0; at + part.size() <= text.size(); ++at)
        if (SameName(std::wstring_view(text).substr(at, part.size()), part)) return true;
    return false;
}

bool Matches(const NodeView& view, const std::wstring& text) {
    if (Has(view.name, text) || Has(view.title, text) || Has(view.shown, text)) return true;
    return std::any_of(view.choices.begin(), view.choices.end(),
                       [&](const NodeView::Choice& choice) { return Has(choice.label, text); });
}

/// Leaves what has a text, and what stands above it. False: nothing has it.
bool KeepMatches(NodeView* view, const std::wstring& text, bool all) {
    if (view->hidden && !all) return false;
    std::vector<NodeView> kept;
    for (NodeView& child : view->children)
        if (KeepMatches(&child, text, all)) kept.push_back(std::move(child));
    view->children = std::move(kept);
    if (view->held && !KeepMatches(view->held.get(), text, all)) view->held.reset();
    return !view->children.empty() || view->held || Matches(*view, text);
}

void CutBelow(NodeView* view, int depth) {
    // What only holds the settings of a choice is no level of its own.
    if (view->held && view->held->has_value && depth == 0) view->held.reset();
    if (view->held) CutBelow(view->held.get(), view->held->has_value ? depth - 1 : depth);
    if (depth == 0) view->children.clear();
    for (NodeView& child : view->children) CutBelow(&child, depth - 1);
}

/// Cuts and searches as asked; false: nothing has the text.
bool Narrow(NodeView* view, const TreeArguments& arguments, bool all) {
    if (arguments.depth) CutBelow(view, *arguments.depth);
    return arguments.find.empty() || KeepMatches(view, arguments.find, all);
}

int ShowTree(const TreeArguments& arguments) {
    if (arguments.depth.value_or(0) < 0) throw Problem("--depth is a number of levels, from 0");
    if (arguments.width.value_or(60) < 60) throw Problem("--width is a number of columns, from 60");
    const auto opened = arguments.source.OpenAndSet();
    const Job& job = *opened;
    NodeView root = job.View();
    bool found = Narrow(&root, arguments, arguments.all);
    std::vector<NodeView> inputs;
    for (const Input& input : job.Inputs()) {
        NodeView view = ViewOf(input.node.get());
        if (Narrow(&view, arguments, arguments.all)) inputs.push_back(std::move(view));
    }
    if (!found && inputs.empty()) {
        NodeView with_hidden = job.View();
        throw Problem("no setting has \"" + OneLine(Utf8(arguments.find)) +
                      "\" in its title, name, value or choices" +
                      (Narrow(&with_hidden, arguments, true) ? "; hidden ones have: --all shows them" : ""));
    }
    if (arguments.json) {
        Print(TreeJson(root, job.Inputs(), arguments.all));
        return kDone;
    }
    TreeStyle style = Style();
    style.all = arguments.all;
    if (arguments.width) style.width = size_t(*arguments.width);
    if (arguments.find.empty()) {
        for (const Input& input : job.Inputs()) {
            const char* what = "Input  ";
            for (const std::string& line : InputText(input))
                Print(std::exchange(what, "       ") + CutFront(line, style.width - 7) + '\n');
        }
        if (!job.Inputs().empty()) Print("\n");
    }
    std::vector<const NodeView*> roots;
    for (const NodeView& input : inputs) roots.push_back(&input);
    if (found) roots.push_back(&root);
    Print(TreeText(roots, style));
    return kDone;
}

int ShowNode(const JobSource& source, const std::wstring& name) {
    const auto job = source.OpenAndSet();
    const NodeView node = job->Node(name);
    node.node->BeforeCombo();  // its list may be filled as late as this
    TreeStyle style = Style();
    style.width = std::min<size_t>(style.width, 100);
    Print(NodeText(ViewOf(node.node.get()), style));
    return kDone;
}

}  // namespace

void AddTreeCommands(CommandLine& line) {
    const auto arguments = std::make_shared<TreeArguments>();
    Command tree = line.Add("tree", "Shows the settings tree of a job");
    arguments->source.AddTo(&tree);
    tree.Flag("--all", "Hidden settings too", &arguments->all);
    tree.Flag("--json", "For programs", &arguments->json);
    tree.Option("--find", "TEXT", "Only settings with that in their title, name, value or choices",
                &arguments->find);
    tree.Option("--depth", "N", "Only so many levels below the root", &arguments->depth);
    tree.Option("--width", "COLUMNS",
                "What the tree is to fit into, from 60; by default the terminal's width, and all that it "
                "needs in a file or a pipe",
                &arguments->width);
    tree.Does([arguments] { return ShowTree(*arguments); });

    const auto name = std::make_shared<std::wstring>();
    const auto source = std::make_shared<JobSource>();
    Command show = line.Add("show", "Shows one setting with all that it says of itself");
    show.Word("NAME", "The setting, such as Mode or Output/Mode", name.get());
    source->AddTo(&show);
    show.Does([source, name] { return ShowNode(*source, *name); });
}

}  // namespace host
