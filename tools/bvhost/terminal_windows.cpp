#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <cstdio>
#include <cstdlib>

#include "terminal.h"

namespace host {
namespace {

bool is_console = false;

}  // namespace

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
