#include <cstdlib>

#include "support/names.h"

namespace bv::test {

std::string ShellWord(const std::string& utf8) { return '"' + utf8 + '"'; }

int RunShell(const std::string& utf8) {
    // The shell takes one pair of quotes off the whole line.
    return _wsystem(WideName(PathOf('"' + utf8 + '"')).c_str());
}

}  // namespace bv::test
