// Texts: the tree's are wide, those of the terminal and of arguments are UTF-8, settings files are in the
// system's narrow code page.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <bvschema/host/result.h>
#include <bvschema/host/text.h>

namespace host {

/// What went wrong, in one line for the user.
using Problem = bv::Error;

using bv::OneLine;
using bv::SameName;

inline std::string Utf8(std::wstring_view text) { return bv::ToUtf8(text); }
inline std::wstring Wide(std::string_view utf8) { return bv::ToWide(utf8); }
/// From the narrow code page, of settings files and of records.
std::wstring FromNarrow(std::string_view text);
/// Whether the narrow code page has all characters of a text.
bool FitsNarrow(std::wstring_view text);

/// How many columns a terminal gives a text.
size_t Columns(std::string_view utf8);
std::string Padded(std::string_view utf8, size_t columns);
/// At most so many columns of a text: its beginning, or its end, and "…" for the rest.
std::string CutEnd(std::string_view utf8, size_t columns);
std::string CutFront(std::string_view utf8, size_t columns);
/// Lines of at most so many columns, broken at blanks; the text's own line ends stay.
std::vector<std::string> Wrapped(std::string_view utf8, size_t columns);

/// A decimal number without anything round it; no value for any other text, and for one beyond 32 bits.
std::optional<LONG> WholeNumber(std::wstring_view text);

/// ", did you mean X?" for the candidate that is nearest to what was typed, or nothing when none is near.
std::string Suggestion(std::wstring_view typed, const std::vector<std::wstring>& candidates);

}  // namespace host
