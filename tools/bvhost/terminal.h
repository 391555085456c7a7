// Where the output goes.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace host {

/// What was typed behind the program's name, in UTF-8. Throws Problem for what has no such form.
std::vector<std::string> Arguments(int argc, char** argv);

/// To be called first: makes a console show colours, and asks whether one is there.
void StartTerminal();
/// Whether colours are wanted: standard output is a terminal and NO_COLOR isn't set.
bool HasColours();
/// Why no dialog can be shown here; empty: one can.
std::string WhyNoScreen();
/// Columns to fill; a file or a pipe has as many as are needed.
inline constexpr size_t kNoTerminal = 1 << 20;
size_t TerminalWidth();

/// UTF-8 to standard output, and a line "bvhost: ..." to standard error.
void Print(const std::string& text);
void PrintError(const std::string& text);
/// The same on a console that has a call of its own for characters. False: there is none.
bool PrintToConsole(bool error, const std::string& text);
/// A line "bvhost: warning: ...", which the exit code tells of too.
void PrintWarning(const std::string& text);
bool Warned();
/// The bytes as they are, line ends too.
void PrintBytes(const std::string& bytes);
/// All bytes of standard input, as they are. Throws Problem for more than settings have.
std::string ReadInput();
/// What was printed is on its way; what was lost is noted.
void FlushOutput();
/// To be called last: throws Problem when any of the output was lost, as on a full disk.
void FinishOutput();

}  // namespace host
