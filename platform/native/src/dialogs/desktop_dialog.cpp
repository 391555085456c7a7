#include "dialogs/desktop_dialog.h"

#include <fcntl.h>
#include <langinfo.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cctype>
#include <charconv>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <string_view>

extern char** environ;

namespace bv::platform {
namespace {

constexpr size_t kMaxOutput = 1 << 20;  // bytes of an answer; more is no answer

bool IsSet(const char* variable) {
    const char* value = std::getenv(variable);
    return value && *value;
}

enum class Program { kNone, kZenity, kKdialog };

bool Exists(const char* program) {
    const char* path = std::getenv("PATH");
    for (std::string_view rest = path ? path : ""; !rest.empty();) {
        const size_t end = std::min(rest.find(':'), rest.size());
        const std::string file = std::string(rest.substr(0, end)) + '/' + program;
        if (end > 0 && access(file.c_str(), X_OK) == 0) return true;
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    return false;
}

/// The dialog program of the desktop; the other one where that isn't installed.
Program FindProgram() {
    if (!IsSet("DISPLAY") && !IsSet("WAYLAND_DISPLAY")) return Program::kNone;
    const char* desktop = std::getenv("XDG_CURRENT_DESKTOP");
    const bool kde = desktop && std::string_view(desktop).find("KDE") != std::string_view::npos;
    if (kde && Exists("kdialog")) return Program::kKdialog;
    if (Exists("zenity")) return Program::kZenity;
    return Exists("kdialog") ? Program::kKdialog : Program::kNone;
}

/// The variables of a dialog program. It writes the names of files in the character set of its locale: one
/// that hasn't all characters is replaced, and the language stays, if there is such a locale at all.
std::vector<std::string> Environment() {
    std::vector<std::string> variables;
    for (char** variable = environ; *variable; ++variable) variables.emplace_back(*variable);
    const auto set = [&](const std::string& name, const std::string& value) {
        std::erase_if(variables, [&](const std::string& text) { return text.starts_with(name + '='); });
        if (!value.empty()) variables.push_back(name + '=' + value);
    };
    const locale_t locale = newlocale(LC_ALL_MASK, "", nullptr);
    if (!locale) {
        set("LC_ALL", "C.UTF-8");
        return variables;
    }
    if (std::string_view(nl_langinfo_l(CODESET, locale)) != "UTF-8") {
        if (IsSet("LC_ALL")) set("LC_MESSAGES", std::getenv("LC_ALL"));
        set("LC_ALL", "");
        set("LC_CTYPE", "C.UTF-8");
    }
    freelocale(locale);
    return variables;
}

std::vector<char*> Pointers(const std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    for (const std::string& text : texts) pointers.push_back(const_cast<char*>(text.c_str()));
    pointers.push_back(nullptr);
    return pointers;
}

/// Runs a program with its arguments, no shell between. Its output when it ends with 0.
std::optional<std::string> Run(const std::vector<std::string>& arguments) {
    int pipe_ends[2];
    if (pipe2(pipe_ends, O_CLOEXEC) != 0) return std::nullopt;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, pipe_ends[1], STDOUT_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    const std::vector<std::string> environment = Environment();
    const std::vector<char*> argv = Pointers(arguments), variables = Pointers(environment);
    pid_t child = 0;
    const int failed = posix_spawnp(&child, argv[0], &actions, nullptr, argv.data(), variables.data());
    posix_spawn_file_actions_destroy(&actions);
    close(pipe_ends[1]);
    std::string output;
    if (!failed) {
        char buffer[4096];
        for (;;) {
            const ssize_t count = read(pipe_ends[0], buffer, sizeof buffer);
            if (count < 0 && errno == EINTR) continue;
            if (count <= 0) break;
            if (output.size() <= kMaxOutput) output.append(buffer, size_t(count));
        }
    }
    close(pipe_ends[0]);
    if (failed) return std::nullopt;
    int status = 0;
    while (waitpid(child, &status, 0) < 0)
        if (errno != EINTR) return std::nullopt;
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0 || output.size() > kMaxOutput) return std::nullopt;
    if (!output.empty() && output.back() == '\n') output.pop_back();
    return output;
}

/// A mask whose letters match in both cases.
std::string AnyCase(const std::string& mask) {
    std::string result;
    for (const char c : mask) {
        const auto letter = static_cast<unsigned char>(c);
        if (letter < 0x80 && std::isalpha(letter))
            result += {'[', char(std::tolower(letter)), char(std::toupper(letter)), ']'};
        else
            result += c;
    }
    return result == "*.*" ? "*" : result;  // every file, also one without a point
}

/// A label in a place where the program would read a bar as a separator.
std::string Label(const std::string& text) {
    std::string result;
    for (const char c : text) result += c == '|' || c == '\n' ? ' ' : c;
    return result;
}

// An absolute path has no two separators in a row, so they part the names in an answer.
constexpr std::string_view kBetweenNames = "//";

std::vector<std::string> SplitNames(std::string_view answer, std::string_view separator) {
    std::vector<std::string> names;
    while (!answer.empty()) {
        const size_t end = answer.find(separator, 1);
        names.emplace_back(answer.substr(0, end));
        if (end == std::string_view::npos) break;
        answer.remove_prefix(end + separator.size());
    }
    return names;
}

std::vector<std::string> ZenityArguments(const FileDialog& dialog) {
    std::vector<std::string> arguments = {"zenity", "--file-selection", "--title=" + dialog.title};
    if (dialog.kind == FileDialog::kFolder) arguments.push_back("--directory");
    if (dialog.kind == FileDialog::kSave)
        arguments.insert(arguments.end(), {"--save", "--confirm-overwrite"});
    if (dialog.kind == FileDialog::kOpenSeveral)
        arguments.insert(arguments.end(), {"--multiple", "--separator=" + std::string(kBetweenNames)});
    if (!dialog.initial.empty()) arguments.push_back("--filename=" + dialog.initial);
    for (const FileMask& filter : dialog.filters) {
        std::string text = "--file-filter=";
        text += Label(filter.label);
        text += " |";
        for (const std::string& mask : filter.masks) text += ' ' + AnyCase(mask);
        arguments.push_back(text);
    }
    return arguments;
}

std::vector<std::string> KdialogArguments(const FileDialog& dialog) {
    std::vector<std::string> arguments = {"kdialog", "--title", dialog.title};
    switch (dialog.kind) {
        case FileDialog::kFolder:
            arguments.push_back("--getexistingdirectory");
            break;
        case FileDialog::kSave:
            arguments.push_back("--getsavefilename");
            break;
        case FileDialog::kOpenSeveral:
            arguments.insert(arguments.end(), {"--multiple", "--separate-output"});
            [[fallthrough]];
        case FileDialog::kOpen:
            arguments.push_back("--getopenfilename");
            break;
    }
    // Positional from here on; a path that began with a dash would be read as an option.
    arguments.push_back(dialog.initial.starts_with('/') ? dialog.initial : ":");
    std::string filters;
    for (const FileMask& filter : dialog.filters) {
        if (!filters.empty()) filters += '\n';
        filters += Label(filter.label);
        filters += " (";
        for (size_t i = 0; i < filter.masks.size(); ++i) {
            if (i) filters += ' ';
            filters += AnyCase(filter.masks[i]);
        }
        filters += ')';
    }
    if (!filters.empty()) arguments.push_back(filters);
    return arguments;
}

/// kdialog gives a name a line; a line that doesn't begin a path is a part of the name before it.
std::vector<std::string> JoinLines(std::vector<std::string> lines) {
    std::vector<std::string> names;
    for (std::string& line : lines) {
        if (line.starts_with('/') || names.empty())
            names.push_back(std::move(line));
        else
            names.back().append("\n").append(line);
    }
    return names;
}

/// "#RRGGBB", "#RRRRGGGGBBBB", "rgb(r,g,b)" and "rgba(r,g,b,a)", as the programs' versions write it.
std::optional<Rgb> ParseColor(std::string_view text) {
    int parts[3] = {};
    if (text.starts_with('#') && (text.size() == 7 || text.size() == 13)) {
        const size_t digits = (text.size() - 1) / 3;
        for (size_t i = 0; i < 3; ++i) {
            const char* first = text.data() + 1 + i * digits;  // of four digits the first two count
            if (std::from_chars(first, first + 2, parts[i], 16).ptr != first + 2 || parts[i] < 0)
                return std::nullopt;
        }
    } else {
        const size_t open = text.find('(');
        if (!text.starts_with("rgb") || open == std::string_view::npos) return std::nullopt;
        const char* at = text.data() + open + 1;
        const char* const end = text.data() + text.size();
        for (int& part : parts) {
            while (at < end && (*at == ' ' || *at == ',')) ++at;
            const auto number = std::from_chars(at, end, part);
            if (number.ec != std::errc() || part < 0 || part > 255) return std::nullopt;
            at = number.ptr;
        }
    }
    return Rgb{static_cast<unsigned char>(parts[0]), static_cast<unsigned char>(parts[1]),
               static_cast<unsigned char>(parts[2])};
}

}  // namespace

std::optional<std::vector<std::string>> ShowFileDialog(const FileDialog& dialog) {
    const Program program = FindProgram();
    if (program == Program::kNone) return std::nullopt;
    const bool zenity = program == Program::kZenity;
    const auto answer = Run(zenity ? ZenityArguments(dialog) : KdialogArguments(dialog));
    if (!answer || !answer->starts_with('/'))
        return std::nullopt;  // all paths are absolute: else it is garbage
    if (answer->find('\0') != std::string::npos) return std::nullopt;
    if (dialog.kind != FileDialog::kOpenSeveral) return std::vector<std::string>{*answer};
    return zenity ? SplitNames(*answer, kBetweenNames) : JoinLines(SplitNames(*answer, "\n"));
}

std::optional<Rgb> ShowColorDialog(Rgb initial) {
    const Program program = FindProgram();
    if (program == Program::kNone) return std::nullopt;
    char color[8];
    std::snprintf(color, sizeof color, "#%02x%02x%02x", initial.red, initial.green, initial.blue);
    const auto answer =
        program == Program::kZenity
            ? Run({"zenity", "--color-selection", "--title=Color", std::string("--color=") + color})
            : Run({"kdialog", "--title", "Color", "--getcolor", "--default", color});
    return answer ? ParseColor(*answer) : std::nullopt;
}

bool ShowErrorBox(const std::string& caption, const std::string& text) {
    switch (FindProgram()) {
        case Program::kZenity:
            Run({"zenity", "--error", "--no-markup", "--title=" + caption, "--text=" + text});
            return true;
        case Program::kKdialog:
            Run({"kdialog", "--title", caption, "--error", text});
            return true;
        case Program::kNone:
            break;
    }
    return false;
}

}  // namespace bv::platform
