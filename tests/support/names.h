// Names of files and texts of the shell in any script, whatever the locale and the system's code page.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace bv::test {

std::wstring WideName(const std::filesystem::path& path);
std::string Utf8Name(const std::filesystem::path& path);
std::filesystem::path PathOf(std::wstring_view name);
std::filesystem::path PathOf(std::string_view utf8);

/// One argument for the system's shell, in quotes. Not for a double quote, which Windows has no name with.
std::string ShellWord(const std::string& utf8);
inline std::string ShellWord(const std::filesystem::path& path) { return ShellWord(Utf8Name(path)); }

/// Runs a command of the system's shell, in UTF-8. What std::system gives.
int RunShell(const std::string& utf8);

/// The parts of a text between separators; one without a separator is one part.
std::vector<std::string> Split(const std::string& text, const std::string& separator);

}  // namespace bv::test
