#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <tuple>

#include <bvschema/platform.h>

#include "settings_file.h"
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

size_t TerminalWidth() {
    winsize size = {};
    return ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col >= 40 ? size.ws_col : kNoTerminal;
}

bool PrintToConsole(bool, const std::string&) { return false; }  // a terminal is a file

std::string ReadInput() { return ReadWhole(stdin); }

void PrintBytes(const std::string& bytes) { Print(bytes); }

}  // namespace host
