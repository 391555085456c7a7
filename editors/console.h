// The terminal that an editor talks to: questions on standard output, answers from standard input.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace dlgs {

inline constexpr size_t kLongestLine = 2048;  // characters; a longer one is no answer

/// A line of UTF-8.
void Say(const std::string& text);
/// A line as it was typed, without its end. No value at the end of input, and for input that isn't text.
std::optional<std::wstring> ReadLine();

/// The same, where standard input or output is a console that has calls of its own for it.
/// False: it isn't one.
bool ReadConsoleLine(std::optional<std::wstring>* line);
bool WriteToConsole(const std::string& text);
/// A text without an end of line, so that the answer stands beside it.
void Prompt(const std::string& text);

}  // namespace dlgs
