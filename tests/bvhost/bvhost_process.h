// bvhost as a process: what it prints and how it ends.
#pragma once

#include <cstdlib>
#include <string>

#include "support/environment.h"
#include "support/files.h"
#include "support/names.h"

namespace bv::test {

struct Outcome {
    int exit_code;
    std::string text;  // standard output and errors
};

/// arguments: as for the shell. input: what it reads as standard input.
/// before: commands of a POSIX shell. output: where the shell sends standard output; null: nowhere, it stays
/// that of this program. The text is then that of the errors alone.
inline Outcome RunBvhost(const std::string& arguments, const std::string& input = "",
                         const std::string& before = "", const char* output = "") {
    const auto folder = TempFolder();
    WriteAll(folder / "input.txt", input);
    // The locale that knows nothing but ASCII: names of files don't depend on it.
    const std::string command =
        before + (kInFull ? "LC_ALL=C " : "") + ShellWord(BinFolder() / "bvhost") + ' ' + arguments + " <" +
        ShellWord(folder / "input.txt") +
        (output && !*output ? " >" + ShellWord(folder / "output.txt") + " 2>&1"
                            : " 2>" + ShellWord(folder / "output.txt") + (output ? output : ""));
    // On a busy machine Wine's shell at times doesn't find a program that is there;
    // a Windows shell says 9009 then.
    int status = 9009;
    for (int attempt = 0; attempt < 3 && status == 9009; ++attempt) status = RunShell(command);
    std::string text = ReadAll(folder / "output.txt");
    std::erase(text, '\r');
    return {kInFull ? status >> 8 : status, text};
}

}  // namespace bv::test
