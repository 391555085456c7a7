#include "terminal.h"

#include <cstdio>

namespace host {

void Print(const std::string& text) {
    if (!PrintToConsole(false, text)) std::fwrite(text.data(), 1, text.size(), stdout);
}

void PrintError(const std::string& text) {
    std::fflush(stdout);
    const std::string line = "bvhost: " + text + '\n';
    if (!PrintToConsole(true, line)) std::fwrite(line.data(), 1, line.size(), stderr);
}

}  // namespace host
