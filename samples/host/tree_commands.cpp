#include <algorithm>
#include <utility>

#include "commands.h"
#include "presentation.h"
#include "terminal.h"
#include "text.h"

namespace host {
namespace {

TreeStyle Style() { return {.colours = HasColours(), .width = TerminalWidth()}; }

}  // namespace

int ShowTree(const TreeArguments& arguments) {
    Job job(arguments.source.given);
    Fill(&job, arguments.source);
    const NodeView root = job.View();
    if (arguments.json) {
        Print(TreeJson(root, job.Inputs(), arguments.all));
        return 0;
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
    return 0;
}

int ShowNode(const JobSource& source, const std::wstring& name) {
    Job job(source.given);
    Fill(&job, source);
    const NodeView node = job.Node(name);
    node.node->BeforeCombo();  // its list may be filled as late as this
    TreeStyle style = Style();
    style.width = std::min<size_t>(style.width, 100);
    Print(NodeText(Look(node.node.get()), style));
    return 0;
}

}  // namespace host
