// A settings file that another program has written anew.
#pragma once

#include <optional>
#include <string_view>

#include "settings_file.h"

namespace host {

inline constexpr size_t kDeepestElement = 64;

/// Reads any well-formed XML whose elements say what settings say: whatever its prolog, encoding, comments,
/// white space, and attributes besides those of settings. Never fetches anything, and takes no document type.
/// No value when it isn't well-formed. Throws Problem, with the line, for other contents.
std::optional<Element> ReadXml(std::string_view bytes);

}  // namespace host
