#include <cstdlib>

#include "support/names.h"

namespace bv::test {

std::string ShellWord(const std::string& utf8) {
    std::string quoted = "'";
    for (const char c : utf8) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return quoted + '\'';
}

int RunShell(const std::string& utf8) { return std::system(utf8.c_str()); }

}  // namespace bv::test
