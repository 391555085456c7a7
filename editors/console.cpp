#include "console.h"

#include <cstdio>

#include "bvhost/text.h"

namespace dlgs {

void Say(const std::string& text) { Prompt(text + '\n'); }

void Prompt(const std::string& text) {
    std::fflush(stdout);
    if (WriteToConsole(text)) return;
    std::fwrite(text.data(), 1, text.size(), stdout);
    std::fflush(stdout);
}

std::optional<std::wstring> ReadLine() {
    std::optional<std::wstring> line;
    if (ReadConsoleLine(&line)) return line;
    constexpr size_t kMostBytes = 1 << 20;  // what never ends a line isn't typed by anybody
    std::string bytes;
    int c = 0;
    while ((c = std::getc(stdin)) != EOF && c != '\n')
        if (bytes.push_back(char(c)); bytes.size() > kMostBytes) return {};
    if (c == EOF && bytes.empty()) return {};
    if (!bytes.empty() && bytes.back() == '\r') bytes.pop_back();
    return host::Wide(bytes);
}

}  // namespace dlgs
