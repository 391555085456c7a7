#include "terminal.h"

#include <cstdio>

namespace host {

void Print(const std::string& text) { std::fwrite(text.data(), 1, text.size(), stdout); }

void PrintError(const std::string& text) {
    std::fflush(stdout);
    std::fprintf(stderr, "bvhost: %s\n", text.c_str());
}

}  // namespace host
