#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <shellapi.h>

#include <cstdio>
#include <cstdlib>

#include "terminal.h"
#include "text.h"

namespace host {
namespace {

bool is_console = false;

}  // namespace

// What main is given is in the narrow code page, which hasn't all characters.
std::vector<std::string> Arguments(int, char**) {
    int count = 0;
    LPWSTR* const typed = CommandLineToArgvW(GetCommandLineW(), &count);
    std::vector<std::string> arguments;
    for (int i = 1; typed && i < count; ++i) arguments.push_back(Utf8(typed[i]));
    LocalFree(typed);
    return arguments;
}

void StartTerminal() {
    const HANDLE output = GetStdHandle(STD_OUTPUT_HANDLE);
    DWORD mode = 0;
    is_console = GetConsoleMode(output, &mode) != 0;
    if (!is_console) return;
    SetConsoleOutputCP(CP_UTF8);
    constexpr DWORD kEscapes = 0x0004;  // ENABLE_VIRTUAL_TERMINAL_PROCESSING, which older headers lack
    is_console = SetConsoleMode(output, mode | kEscapes) != 0;
}

bool HasColours() { return is_console && !std::getenv("NO_COLOR"); }

size_t TerminalWidth() {
    CONSOLE_SCREEN_BUFFER_INFO info = {};
    if (!GetConsoleScreenBufferInfo(GetStdHandle(STD_OUTPUT_HANDLE), &info)) return kNoTerminal;
    return info.dwSize.X >= 40 ? size_t(info.dwSize.X) : kNoTerminal;
}

void PrintBytes(const std::string& bytes) {
    std::fflush(stdout);
    const int before = _setmode(_fileno(stdout), _O_BINARY);
    Print(bytes);
    std::fflush(stdout);
    _setmode(_fileno(stdout), before);
}

}  // namespace host
