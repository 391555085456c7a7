// Texts that mean something to some settings alone: what a person may type there. The server stores any text.
#pragma once

#include <string>

#include "node_view.h"

namespace host {

/// What the setting takes, in words, when the text isn't of that form;
/// empty when it is, or there is no such form.
std::string FormOtherThan(const NodeView& node, const std::wstring& text);

}  // namespace host
