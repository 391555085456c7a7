#include <algorithm>

#include "commands.h"
#include "presentation.h"
#include "terminal.h"
#include "text.h"

namespace host {
namespace {

TreeStyle StyleFor(const TreeArguments& arguments) {
    return {.all = arguments.all, .colours = HasColours(), .width = TerminalWidth()};
}

}  // namespace

int ShowTree(const TreeArguments& arguments) {
    Job job(arguments.given);
    for (const std::wstring& input : arguments.inputs) job.AddInput(input);
    job.SelectFirstInput();
    const NodeView root = job.View();
    if (arguments.json) {
        Print(TreeJson(root, job.Inputs(), arguments.all));
        return 0;
    }
    for (const Input& input : job.Inputs()) {
        bool first = true;
        for (const std::string& line : InputText(input)) {
            Print((first ? "Input  " : "       ") + line + '\n');
            first = false;
        }
    }
    if (!job.Inputs().empty()) Print("\n");
    std::vector<NodeView> inputs;
    for (const Input& input : job.Inputs()) inputs.push_back(Look(input.node.get()));
    std::vector<const NodeView*> roots;
    for (const NodeView& input : inputs) roots.push_back(&input);
    roots.push_back(&root);
    Print(TreeText(roots, StyleFor(arguments)));
    return 0;
}

int ShowNode(const TreeArguments& arguments) {
    Job job(arguments.given);
    for (const std::wstring& input : arguments.inputs) job.AddInput(input);
    job.SelectFirstInput();
    const NodeView node = job.Node(arguments.name);
    node.node->BeforeCombo();  // its list may be filled as late as this
    TreeStyle style = StyleFor(arguments);
    style.width = std::min<size_t>(style.width, 100);
    Print(NodeText(Look(node.node.get()), style));
    return 0;
}

}  // namespace host
