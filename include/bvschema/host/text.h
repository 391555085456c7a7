// Texts and names of files: those of the tree are wide, those of this layer's surface are UTF-8.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace bv::inline host {

/// A lone surrogate, which no UTF-8 has, becomes U+FFFD.
std::string ToUtf8(std::wstring_view text);
/// Bytes that are no UTF-8 become U+FFFD.
std::wstring ToWide(std::string_view utf8);

/// Names of files, in any locale: std::filesystem converts wide names by itself too, but not outside of ASCII
/// where the locale is "C".
std::filesystem::path ToPath(std::wstring_view name);
std::filesystem::path ToPath(std::string_view utf8);
std::wstring FromPath(const std::filesystem::path& path);
std::string PathToUtf8(const std::filesystem::path& path);

/// From the system's 8-bit code page, which settings files are in.
std::string NarrowToUtf8(std::string_view text);

/// The same name, without regard to case.
bool SameName(std::wstring_view a, std::wstring_view b);
bool SameName(std::string_view a, std::string_view b);

/// A text without line ends, other control characters and those that turn the direction of writing, for a
/// line of its own.
std::string OneLine(std::string_view utf8);
/// The same in quotes.
std::string Quoted(std::string_view utf8);

/// ", did you mean "X"?" for the candidate that is nearest to what was typed, or nothing when none is near.
std::string Suggestion(std::string_view typed, const std::vector<std::string>& candidates);

}  // namespace bv::inline host
