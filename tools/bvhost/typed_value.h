// What a typed text means for a node, and what the node takes.
#pragma once

#include <optional>
#include <string>

#include "node_view.h"

namespace host {

/// The value of the choice with a label; an output format may also be named by its own name or its extension.
std::optional<Value> LabelledValue(const NodeView& node, const std::wstring& text);

/// The value that a text stands for: a choice, by its label or the value behind it; "on" or "off" for a check
/// box; a number, whole where the node's are; a colour, a size, a rectangle, a font where the node has such a
/// text; else the text. No value when it is none of what the node takes.
std::optional<Value> TypedValue(const NodeView& node, const std::wstring& text);

/// What the node takes, as the end of a sentence about a text that it doesn't.
std::string WhatItTakes(const NodeView& node, const std::wstring& text);

}  // namespace host
