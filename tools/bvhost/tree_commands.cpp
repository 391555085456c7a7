#include <algorithm>
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
};

TreeStyle Style() { return {.colours = HasColours(), .width = TerminalWidth()}; }

int ShowTree(const TreeArguments& arguments) {
    const auto opened = arguments.source.OpenAndSet();
    const Job& job = *opened;
    const NodeView root = job.View();
    if (arguments.json) {
        Print(TreeJson(root, job.Inputs(), arguments.all));
        return kDone;
    }
    std::vector<NodeView> inputs;
    for (const Input& input : job.Inputs()) {
        const char* what = "Input  ";
        for (const std::string& line : InputText(input)) Print(std::exchange(what, "       ") + line + '\n');
        inputs.push_back(Look(input.node.get()));
    }
    if (!inputs.empty()) Print("\n");
    std::vector<const NodeView*> roots;
    for (const NodeView& input : inputs) roots.push_back(&input);
    roots.push_back(&root);
    TreeStyle style = Style();
    style.all = arguments.all;
    Print(TreeText(roots, style));
    return kDone;
}

int ShowNode(const JobSource& source, const std::wstring& name) {
    const auto job = source.OpenAndSet();
    const NodeView node = job->Node(name);
    node.node->BeforeCombo();  // its list may be filled as late as this
    TreeStyle style = Style();
    style.width = std::min<size_t>(style.width, 100);
    Print(NodeText(Look(node.node.get()), style));
    return kDone;
}

}  // namespace

void AddTreeCommands(CommandLine& line) {
    const auto arguments = std::make_shared<TreeArguments>();
    Command tree = line.Add("tree", "Shows the settings tree of a job");
    arguments->source.AddTo(&tree);
    tree.Flag("--all", "Hidden settings too", &arguments->all);
    tree.Flag("--json", "For programs", &arguments->json);
    tree.Does([arguments] { return ShowTree(*arguments); });

    const auto name = std::make_shared<std::wstring>();
    const auto source = std::make_shared<JobSource>();
    Command show = line.Add("show", "Shows one setting with all that it says of itself");
    show.Word("NAME", "The setting, such as Mode or Output/Mode", name.get());
    source->AddTo(&show);
    show.Does([source, name] { return ShowNode(*source, *name); });
}

}  // namespace host
