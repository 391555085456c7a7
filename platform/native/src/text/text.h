// Text inside the layer is UTF-8. Bytes that are no UTF-8 pass through unchanged, since they may be part of a
// file name; as wide characters they become U+FFFD.
#pragma once

#include <string>
#include <string_view>

namespace bv::platform {

std::string ToUtf8(std::wstring_view text);
std::wstring ToWide(std::string_view text);

/// Between the narrow code page and UTF-8; the same bytes when that is the code page.
std::string NarrowToUtf8(std::string_view text);
std::string Utf8ToNarrow(std::string_view text);

/// The form in which texts compare without case: upper case, character by character, whatever the locale.
std::string Fold(std::string_view text);

/// The longest beginning of at most that many bytes that splits no character.
std::string_view CutUtf8(std::string_view text, size_t size);

}  // namespace bv::platform
