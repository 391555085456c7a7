#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <shellapi.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include <bvschema/host/document.h>

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
    constexpr DWORD kEscapes = 0x0004;  // ENABLE_VIRTUAL_TERMINAL_PROCESSING, which older headers lack
    is_console = SetConsoleMode(output, mode | kEscapes) != 0;
}

bool HasColours() { return is_console && !std::getenv("NO_COLOR"); }

std::string WhyNoScreen() {
    constexpr const char* kNone = "this session shows no windows";
    USEROBJECTFLAGS flags = {};
    const BOOL told =
        GetUserObjectInformationW(GetProcessWindowStation(), UOI_FLAGS, &flags, sizeof flags, nullptr);
    if (told && !(flags.dwFlags & WSF_VISIBLE)) return kNone;
    const HWND window = CreateWindowExW(0, L"STATIC", L"", WS_POPUP, 0, 0, 1, 1, nullptr, nullptr,
                                        GetModuleHandleW(nullptr), nullptr);
    if (!window) return kNone;
    DestroyWindow(window);
    return {};
}

size_t TerminalWidth() {
    CONSOLE_SCREEN_BUFFER_INFO info = {};
    if (!GetConsoleScreenBufferInfo(GetStdHandle(STD_OUTPUT_HANDLE), &info)) return kNoTerminal;
    return info.dwSize.X >= 40 ? size_t(info.dwSize.X) : kNoTerminal;
}

// In wide characters: what the C library writes is shown in the console's code page.
bool PrintToConsole(bool error, const std::string& text) {
    const HANDLE output = GetStdHandle(error ? STD_ERROR_HANDLE : STD_OUTPUT_HANDLE);
    DWORD mode = 0;
    if (!GetConsoleMode(output, &mode)) return false;
    const std::wstring wide = Wide(text);
    constexpr size_t kPiece = 8192;  // characters of one call
    for (size_t at = 0; at < wide.size(); at += kPiece) {
        DWORD done = 0;
        const size_t count = std::min(kPiece, wide.size() - at);
        if (!WriteConsoleW(output, wide.data() + at, DWORD(count), &done, nullptr)) break;
    }
    return true;
}

std::string ReadInput() {
    _setmode(_fileno(stdin), _O_BINARY);
    return bv::ReadWhole(stdin);
}

void PrintBytes(const std::string& bytes) {
    FlushOutput();
    const int before = _setmode(_fileno(stdout), _O_BINARY);
    Print(bytes);
    FlushOutput();
    _setmode(_fileno(stdout), before);
}

}  // namespace host
