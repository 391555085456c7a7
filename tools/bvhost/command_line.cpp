#include "command_line.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <sstream>

#include "exit_code.h"
#include "terminal.h"
#include "text.h"

namespace host {
namespace {

/// The command that was named, which may be one of another: "cuts list".
const CLI::App* Named(const CLI::App* app) {
    for (auto below = app->get_subcommands(); !below.empty(); below = app->get_subcommands())
        app = below.front();
    return app;
}

/// As it is typed: "bvhost cuts list".
std::string WholeName(const CLI::App* app) {
    return (app->get_parent() ? WholeName(app->get_parent()) + ' ' : std::string()) + app->get_name();
}

std::string Quoted(const std::string& word) { return '"' + OneLine(Utf8(Wide(word))) + '"'; }

std::string Near(const std::string& typed, const std::vector<std::string>& names) {
    std::vector<std::wstring> wide;
    for (const std::string& name : names) wide.push_back(Wide(name));
    return Suggestion(Wide(typed), wide);
}

std::vector<std::string> CommandNames(const CLI::App* app) {
    std::vector<std::string> names;
    for (const CLI::App* command : app->get_subcommands([](const CLI::App*) { return true; }))
        names.push_back(command->get_name());
    return names;
}

std::vector<std::string> OptionNames(const CLI::App* app) {
    std::vector<std::string> names;
    for (const CLI::Option* option : app->get_options())
        for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
    return names;
}

template <class Take>
CLI::callback_t Last(Take take) {
    return [take](const CLI::results_t& given) {
        take(Wide(given.back()));
        return true;
    };
}

/// An option of one number.
template <class Number, class Value>
CLI::callback_t NumberTo(Value* value) {
    return [value](const CLI::results_t& given) {
        Number number = {};
        if (!CLI::detail::lexical_cast(given.back(), number)) return false;
        *value = number;
        return true;
    };
}

/// The help, in lines that fit the terminal.
class Help : public CLI::Formatter {
public:
    Help() { column_width(width_ < 80 ? 24 : 34); }

    std::string make_description(const CLI::App* app) const override {
        return InLines(CLI::Formatter::make_description(app), width_) + '\n';
    }
    std::string make_option_desc(const CLI::Option* option) const override {
        return InLines(CLI::Formatter::make_option_desc(option), width_ - get_column_width());
    }
    std::string make_subcommand(const CLI::App* app) const override {
        std::ostringstream out;
        CLI::detail::format_help(out, app->get_name(),
                                 InLines(app->get_description(), width_ - get_column_width()),
                                 get_column_width());
        return out.str();
    }

private:
    static std::string InLines(const std::string& text, size_t columns) {
        std::string lines;
        for (const std::string& line : Wrapped(text, columns)) lines += (lines.empty() ? "" : "\n") + line;
        return lines;
    }

    const size_t width_ = std::clamp<size_t>(TerminalWidth(), 60, 100);
};

}  // namespace

Command Command::Add(const char* name, const char* help) const {
    return Command(line_, app_->add_subcommand(name, help));
}

void Command::Does(std::function<int()> action) const { line_->actions_[app_] = std::move(action); }

CLI::Option* Command::InGroup(CLI::Option* option) const { return group_ ? option->group(group_) : option; }

void Command::Word(const char* name, const char* help, std::wstring* value) const {
    app_->add_option(name, Last([value](std::wstring word) { *value = std::move(word); }), help)->required();
}

void Command::Word(const char* name, const char* help, std::optional<std::wstring>* value) const {
    app_->add_option(name, Last([value](std::wstring word) { *value = std::move(word); }), help);
}

void Command::Words(const char* name, const char* help, std::vector<std::wstring>* values,
                    bool needed) const {
    const auto take = [values](const CLI::results_t& given) {
        values->clear();
        for (const std::string& word : given) values->push_back(Wide(word));
        return true;
    };
    app_->add_option(name, take, help)
        ->required(needed)
        ->expected(1, CLI::detail::expected_max_vector_size)
        ->allow_extra_args();
}

void Command::Option(const char* name, const char* type, const char* help, std::wstring* value) const {
    const auto take = Last([value](std::wstring word) { *value = std::move(word); });
    InGroup(app_->add_option(name, take, help)->type_name(type));
}

void Command::Option(const char* name, const char* type, const char* help,
                     std::optional<std::wstring>* value) const {
    const auto take = Last([value](std::wstring word) { *value = std::move(word); });
    InGroup(app_->add_option(name, take, help)->type_name(type));
}

void Command::Option(const char* name, const char* type, const char* help, int* value) const {
    InGroup(app_->add_option(name, NumberTo<int>(value), help)->type_name(type));
}

void Command::Option(const char* name, const char* type, const char* help, std::optional<int>* value) const {
    InGroup(app_->add_option(name, NumberTo<int>(value), help)->type_name(type));
}

void Command::Option(const char* name, const char* type, const char* help,
                     std::optional<double>* value) const {
    const auto refuse = [](const std::string& text) {
        double number = -1;
        const bool fits = CLI::detail::lexical_cast(text, number) && number >= 0 && number <= 1e6;
        return fits ? std::string() : "seconds are a number from 0 to 1000000, not " + Quoted(text);
    };
    InGroup(app_->add_option(name, NumberTo<double>(value), help)->type_name(type)->check(refuse));
}

void Command::Option(const char* name, const char* type, const char* help,
                     std::vector<std::wstring>* values) const {
    const auto take = [values](const CLI::results_t& given) {
        values->clear();
        for (const std::string& word : given) values->push_back(Wide(word));
        return true;
    };
    CLI::Option* const option = app_->add_option(name, take, help)->type_name(type);
    InGroup(option->expected(1, CLI::detail::expected_max_vector_size)->allow_extra_args(false));
}

void Command::Flag(const char* name, const char* help, bool* value) const {
    InGroup(app_->add_flag(name, *value, help));
}

// --- The whole line

CommandLine::CommandLine()
    : app_(std::make_unique<CLI::App>(
          "The settings of a video conversion job: shown, changed, written, read again.", "bvhost")) {
    app_->formatter(std::make_shared<Help>());
    app_->set_help_flag("-h,--help", "Shows this help and ends");
    app_->set_version_flag("--version", std::string("bvhost ") + BV_VERSION, "Shows the version and ends");
    app_->allow_extras();  // they are told of here, with what may have been meant
}

CommandLine::~CommandLine() = default;

Command CommandLine::Add(const char* name, const char* help) {
    return Command(this, app_.get()).Add(name, help);
}

// A slip in a name explains more than what is missing because of it.
std::string CommandLine::Misunderstood(const CLI::App* command, const std::string& otherwise) const {
    const std::vector<std::string> left = app_->remaining(true);
    const auto option = std::find_if(left.begin(), left.end(), [](const std::string& word) {
        return word.starts_with("-") && word != "-";
    });
    if (option != left.end()) {
        const std::string name = option->substr(0, option->find('='));
        return "there is no option " + Quoted(name) + Near(name, OptionNames(command));
    }
    const std::vector<std::string> commands = CommandNames(command);
    if (!commands.empty()) {
        if (!left.empty())
            return "there is no command " + Quoted(left.front()) + Near(left.front(), commands);
        std::string all;
        for (const std::string& name : commands) all += (all.empty() ? "" : ", ") + name;
        return "a command is needed: " + all;
    }
    if (left.empty()) return OneLine(otherwise);
    std::string words;
    for (const std::string& word : left) words += ' ' + Quoted(word);
    return (left.size() == 1 ? "this word is not expected:" : "these words are not expected:") + words;
}

int CommandLine::Run(std::vector<std::string> words) {
    std::string otherwise;
    bool understood = true;
    try {
        std::reverse(words.begin(), words.end());  // taken from the end
        app_->parse(std::move(words));
    } catch (const CLI::Success& asked) {  // help or the version
        std::ostringstream text;
        app_->exit(asked, text, text);
        Print(text.str());
        return kDone;
    } catch (const CLI::ParseError& error) {
        otherwise = error.what();
        understood = false;
    }
    const CLI::App* const command = Named(app_.get());
    const auto action = actions_.find(command);
    if (understood && action != actions_.end() && app_->remaining(true).empty()) return action->second();
    PrintError(Misunderstood(command, otherwise) + " (\"" + WholeName(command) + " --help\" tells more)");
    return kBadUsage;
}

}  // namespace host
