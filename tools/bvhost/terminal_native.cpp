#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>

#include "terminal.h"

namespace host {

void StartTerminal() {}

bool HasColours() {
    const char* kind = std::getenv("TERM");
    return isatty(STDOUT_FILENO) && !std::getenv("NO_COLOR") && kind && std::strcmp(kind, "dumb") != 0;
}

size_t TerminalWidth() {
    winsize size = {};
    return ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col >= 40 ? size.ws_col : kNoTerminal;
}

void PrintBytes(const std::string& bytes) { Print(bytes); }

}  // namespace host
