// What stands between the bytes of a file and the parser:
// encodings, and the rules that the parser doesn't hold to.
#pragma once

#include <pugixml.hpp>

#include <string>
#include <string_view>

namespace bv::platform {

constexpr size_t kMaxXmlSize = size_t{256} << 20;  // bytes of a file
constexpr int kMaxXmlDepth = 256;                  // of elements in elements

/// Makes UTF-8 of a document's bytes, without a byte-order mark: UTF-16 by its mark, bytes that are UTF-8
/// already, else by the encoding that the XML declaration names. False: neither.
bool ToXmlUtf8(std::string& bytes);

/// Parses UTF-8 in place: the text must live as long as the tree. False for what is no document.
bool ParseXml(pugi::xml_document& document, std::string& text);

}  // namespace bv::platform
