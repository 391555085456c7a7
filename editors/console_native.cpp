#include "console.h"

namespace dlgs {

// A terminal is a file.
bool ReadConsoleLine(std::optional<std::wstring>*) { return false; }
bool WriteToConsole(const std::string&) { return false; }

}  // namespace dlgs
