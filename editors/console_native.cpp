#include "console.h"

namespace dlgs {

bool ReadConsoleLine(std::optional<std::wstring>*) { return false; }  // a terminal is a file

}  // namespace dlgs
