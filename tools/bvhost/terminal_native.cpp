#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <tuple>

#include <bvschema/platform.h>

#include <bvschema/host/document.h>

#include "terminal.h"
#include "text.h"

namespace host {

// The locale isn't asked: a name of a file is what its bytes are, and those of names are UTF-8.
std::vector<std::string> Arguments(int argc, char** argv) {
    std::vector<std::string> arguments;
    for (int i = 1; i < argc; ++i) {
        if (*argv[i] && MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, argv[i], -1, nullptr, 0) == 0)
            throw Problem('"' + OneLine(Utf8(Wide(argv[i]))) + "\" isn't UTF-8");
        arguments.emplace_back(argv[i]);
    }
    return arguments;
}

// A stream that was closed would lend its number to the next file that is opened, and what is printed would
// go there. What takes its place refuses each use, as a closed one does.
void StartTerminal() {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        if (fcntl(stream, F_GETFD) == -1)
            std::ignore = open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
}

bool HasColours() {
    const char* kind = std::getenv("TERM");
    return isatty(STDOUT_FILENO) && !std::getenv("NO_COLOR") && kind && std::strcmp(kind, "dumb") != 0;
}

std::string WhyNoScreen() {
    const auto set = [](const char* name) {
        const char* value = std::getenv(name);
        return value && *value;
    };
    if (!set("DISPLAY") && !set("WAYLAND_DISPLAY")) return "there is no display: DISPLAY isn't set";
    const char* const path = std::getenv("PATH");
    std::string_view rest = path ? path : "";
    while (!rest.empty()) {
        const std::string folder(rest.substr(0, rest.find(':')));
        for (const char* program : {"/zenity", "/kdialog"})
            if (!folder.empty() && access((folder + program).c_str(), X_OK) == 0) return {};
        rest.remove_prefix(std::min(folder.size() + 1, rest.size()));
    }
    return "neither zenity nor kdialog is installed";
}

size_t TerminalWidth() {
    winsize size = {};
    return ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col >= 40 ? size.ws_col : kNoTerminal;
}

bool PrintToConsole(bool, const std::string&) { return false; }  // a terminal is a file

std::string ReadInput() { return bv::ReadWhole(stdin); }

void PrintBytes(const std::string& bytes) { Print(bytes); }

}  // namespace host
