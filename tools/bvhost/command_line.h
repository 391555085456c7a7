// The command line: each command says here what it takes and what it does.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace host {

class CommandLine;

/// A command as it is declared. What the words and options hold is put where the pointers say before it runs;
/// what isn't given leaves its place as it is.
class Command {
public:
    /// A command of this one: one of them must be named then.
    Command Add(const char* name, const char* help) const;
    /// The result is the exit code.
    void Does(std::function<int()> action) const;

    /// A word that stands by itself, in the order of the declarations.
    void Word(const char* name, const char* help, std::wstring* value) const;
    void Word(const char* name, const char* help,
              std::optional<std::wstring>* value) const;  // may be left out
    /// All that follow.
    void Words(const char* name, const char* help, std::vector<std::wstring>* values, bool needed) const;

    /// "--name VALUE". type: what the help calls the value.
    void Option(const char* name, const char* type, const char* help, std::wstring* value) const;
    void Option(const char* name, const char* type, const char* help,
                std::optional<std::wstring>* value) const;
    void Option(const char* name, const char* type, const char* help, int* value) const;
    void Option(const char* name, const char* type, const char* help, std::optional<int>* value) const;
    /// Seconds, from 0 to a million.
    void Option(const char* name, const char* type, const char* help, std::optional<double>* value) const;
    /// May stand several times, each time with one value.
    void Option(const char* name, const char* type, const char* help,
                std::vector<std::wstring>* values) const;
    void Flag(const char* name, const char* help, bool* value) const;

    /// Options that are declared from here on stand below a heading of their own in the help.
    void Group(const char* heading) { group_ = heading; }

private:
    friend class CommandLine;
    Command(CommandLine* line, CLI::App* app) : line_(line), app_(app) {}
    CLI::Option* InGroup(CLI::Option* option) const;

    CommandLine* line_;
    CLI::App* app_;
    const char* group_ = nullptr;
};

class CommandLine {
public:
    CommandLine();
    CommandLine(const CommandLine&) = delete;
    CommandLine& operator=(const CommandLine&) = delete;
    ~CommandLine();

    Command Add(const char* name, const char* help);
    /// Does what the words ask for. Gives the exit code; a word that isn't understood is told of here.
    int Run(std::vector<std::string> words);

private:
    friend class Command;
    std::string Misunderstood(const CLI::App* command, const std::string& otherwise) const;

    std::unique_ptr<CLI::App> app_;
    std::map<const CLI::App*, std::function<int()>> actions_;
};

}  // namespace host
