// bvhost as a process: what it prints and how it ends.
#pragma once

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

#include "support/environment.h"

namespace bv::test {

inline std::string ReadAll(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

inline void WriteAll(const std::filesystem::path& file, const std::string& text) {
    std::ofstream(file, std::ios::binary) << text;
}

struct Outcome {
    int exit_code;
    std::string text;  // standard output and errors
};

/// arguments: as for the shell, quoted by double quotes. input: what it reads as standard input.
/// before: commands of a POSIX shell.
inline Outcome RunBvhost(const std::string& arguments, const std::string& input = "",
                         const std::string& before = "") {
    const auto folder = TempFolder();
    WriteAll(folder / "input.txt", input);
    const std::string command = before + '"' + (BinFolder() / "bvhost").string() + "\" " + arguments +
                                " <\"" + (folder / "input.txt").string() + "\" >\"" +
                                (folder / "output.txt").string() + "\" 2>&1";
    // The Windows shell takes one pair of quotes off the whole line.
    constexpr bool kWindows = std::filesystem::path::preferred_separator == '\\';
    // On a busy machine Wine's shell at times doesn't find a program that is there; a Windows shell says 9009
    // then.
    int status = 9009;
    for (int attempt = 0; attempt < 3 && status == 9009; ++attempt)
        status = std::system((kWindows ? '"' + command + '"' : command).c_str());
    std::string text = ReadAll(folder / "output.txt");
    std::erase(text, '\r');
    return {kWindows ? status : status >> 8, text};
}

}  // namespace bv::test
