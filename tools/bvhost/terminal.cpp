#include "terminal.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "text.h"

namespace host {
namespace {

bool warned = false;
int output_error = 0;  // of the first write that failed

void NoteError(bool done) {
    if (!done && output_error == 0) output_error = errno != 0 ? errno : EIO;
}

}  // namespace

void Print(const std::string& text) {
    if (text.empty() || PrintToConsole(false, text)) return;
    NoteError(std::fwrite(text.data(), 1, text.size(), stdout) == text.size());
}

void FlushOutput() { NoteError(std::fflush(stdout) == 0); }

void PrintError(const std::string& text) {
    FlushOutput();
    const std::string line = "bvhost: " + text + '\n';
    if (!PrintToConsole(true, line)) std::fwrite(line.data(), 1, line.size(), stderr);
}

void PrintWarning(const std::string& text) {
    warned = true;
    PrintError("warning: " + text);
}

bool Warned() { return warned; }

void FinishOutput() {
    FlushOutput();
    if (output_error != 0)
        throw Problem(std::string("standard output can't be written: ") + std::strerror(output_error));
}

}  // namespace host
