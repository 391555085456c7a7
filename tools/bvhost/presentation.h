// The tree for people and for programs.
#pragma once

#include <string>
#include <vector>

#include "job.h"
#include "node_view.h"

namespace host {

struct TreeStyle {
    bool all = false;  // hidden nodes too
    bool colours = false;
    size_t width = 120;  // columns to fit into; kNoTerminal: nothing is cut
};

/// Several trees as one table: title, name, value, choices. Where there is no room for the titles the tree is
/// made of the names, which are what --set takes; then what is long is cut, names in their middle.
std::string TreeText(const std::vector<const NodeView*>& roots, const TreeStyle& style);

/// One node, with all that it says of itself.
std::string NodeText(const NodeView& node, const TreeStyle& style);

std::string TreeJson(const NodeView& root, const std::vector<Input>& inputs, bool all);

/// What was found out about an input, a few words to a line.
std::vector<std::string> InputText(const Input& input);

}  // namespace host
