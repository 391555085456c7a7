// A settings file that another program has written anew.
#pragma once

#include <bvschema/host/document.h>

namespace bv::inline host {

inline constexpr const char* kNoDiscs = "choices on a DVD can't be kept: this host reads no discs";

/// Reads any well-formed XML whose elements say what settings say: whatever its prolog, encoding, comments,
/// white space, and attributes besides those of settings. Never fetches anything, and takes no document type.
/// No value when it isn't well-formed. Throws Error, with the line, for other contents.
std::optional<Element> ReadXml(std::string_view bytes);

}  // namespace bv::inline host
