#include <windows.h>

#include "bvhost/text.h"
#include "console.h"

namespace dlgs {

// Other calls see the console in a code page.
bool ReadConsoleLine(std::optional<std::wstring>* line) {
    const HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
    DWORD mode = 0;
    if (!GetConsoleMode(input, &mode)) return false;
    std::wstring text;
    wchar_t part[256];
    DWORD count = 0;
    constexpr wchar_t kEndOfInput = 0x1A;  // Ctrl+Z
    while (ReadConsoleW(input, part, 256, &count, nullptr) && count > 0) {
        text.append(part, count);
        if (text.front() == kEndOfInput) return true;
        if (text.back() != L'\n') continue;
        text.pop_back();
        if (!text.empty() && text.back() == L'\r') text.pop_back();
        *line = text;
        return true;
    }
    return true;
}

bool WriteToConsole(const std::string& text) {
    const HANDLE output = GetStdHandle(STD_OUTPUT_HANDLE);
    DWORD mode = 0, done = 0;
    if (!GetConsoleMode(output, &mode)) return false;
    const std::wstring wide = host::Wide(text);
    return WriteConsoleW(output, wide.data(), DWORD(wide.size()), &done, nullptr) != 0;
}

}  // namespace dlgs
