// bvhost: the reference host of BVSchema, a command-line program.
//
// It shows what a host does with the server: registers the modules, creates a job's tree by class id, gives
// it a media object, walks it, changes it, writes it and reads it again.
#include <CLI/CLI.hpp>

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "commands.h"
#include "server.h"
#include "terminal.h"
#include "text.h"

namespace {

using namespace host;

constexpr int kFailed = 1;
constexpr int kBadUsage = 2;

/// The options that describe an input in place of its file.
struct DescribedInput {
    double duration = 0, frame_time = 0;  // in seconds
    std::string streams = "video,audio";
    bool still = false;
    std::vector<CLI::Option*> options;

    void AddTo(CLI::App* command) {
        const auto seconds = CLI::Range(0.0, 1e6, std::string());
        const std::string group = "Instead of reading the inputs";
        options = {
            command->add_option("--duration", duration, "Length of each input")
                ->type_name("SECONDS")
                ->check(seconds),
            command->add_option("--frame-time", frame_time, "Time of a frame, 0.04 by default")
                ->type_name("SECONDS")
                ->check(seconds),
            command->add_option("--streams", streams, "video, audio, \"video,audio\" or none")
                ->type_name("LIST"),
            command->add_flag("--still", still, "The inputs are still images"),
        };
        for (CLI::Option* option : options) option->group(group);
    }

    std::optional<MediaInfo> Get() const {
        const bool given =
            std::any_of(options.begin(), options.end(), [](auto* option) { return option->count() > 0; });
        if (!given) return {};
        constexpr double kUnits = 1e7, kUsualFrame = 0.04;
        MediaInfo info;
        std::string list = streams == "none" ? "" : streams;
        while (!list.empty()) {
            const size_t comma = std::min(list.find(','), list.size());
            const std::string stream = list.substr(0, comma);
            list.erase(0, comma + 1);
            if (stream != "video" && stream != "audio")
                throw Problem("--streams knows video, audio and none");
            (stream == "video" ? info.video : info.audio) = true;
        }
        info.still = still;
        info.duration = still ? 0 : std::llround(duration * kUnits);
        const bool has_frame_time = options[1]->count() > 0;
        if (info.video && !still)
            info.frame_time = std::llround((has_frame_time ? frame_time : kUsualFrame) * kUnits);
        return info;
    }
};

std::vector<std::wstring> Wide(const std::vector<std::string>& texts) {
    std::vector<std::wstring> result;
    for (const std::string& text : texts) result.push_back(host::Wide(text));
    return result;
}

/// "cuts" and what it does with a file of cuts.
class CutsCommands {
    using Command = int (*)(const CutsArguments&);

public:
    template <class AddSource>
    void AddTo(CLI::App* app, const AddSource& add_source, std::string* output) {
        cuts_ = app->add_subcommand("cuts", "Shows, changes and checks files of cuts (.tlc)");
        cuts_->require_subcommand(1);
        cuts_->fallthrough();
        add_source(cuts_);
        described_.AddTo(cuts_);
        Add("list", "Shows the cuts of a file; with an input their times, and how long the result will be",
            ListCuts);
        Add("add", "Adds cuts to a file, which is made if it isn't there", AddToCuts)
            ->add_option("START-END", items_, "In frames, or in times such as 0:00:01.500-0:00:03.000")
            ->required();
        Add("remove", "Removes cuts", RemoveFromCuts)
            ->add_option("NUMBER", items_, "Their numbers, as \"list\" shows them")
            ->required();
        Add("save", "Writes the cuts of a job's first input to a file", SaveCuts);
        Add("load", "Makes the cuts of a file those of a job's first input", LoadCuts)
            ->add_option("--output", *output, "Where the job is written; \"-\" is standard output")
            ->type_name("FILE");
        CLI::App* check = cuts_->add_subcommand("check", "Tells what is wrong with the cuts of files");
        check->add_option("FILE", items_, "The files of cuts")->required();
        commands_.emplace_back(check, CheckCuts);
    }
    /// Null: the command is another one.
    Command Parsed() const {
        for (const auto& [app, command] : commands_)
            if (cuts_->parsed() && app->parsed()) return command;
        return nullptr;
    }
    CutsArguments Arguments(JobSource source, const std::string& output) const {
        source.given = described_.Get();
        return {source, host::Wide(file_), Wide(items_), host::Wide(output)};
    }

private:
    CLI::App* Add(const char* name, const char* help, Command command) {
        CLI::App* app = cuts_->add_subcommand(name, help);
        app->add_option("FILE", file_, "The file of cuts")->required();
        commands_.emplace_back(app, command);
        return app;
    }

    CLI::App* cuts_ = nullptr;
    std::vector<std::pair<CLI::App*, Command>> commands_;
    std::string file_;
    std::vector<std::string> items_;
    DescribedInput described_;
};

int Run(int argc, char** argv) {
    CLI::App app("The settings of a video conversion job: shown, changed, written, read again.", "bvhost");
    app.require_subcommand(1);
    app.get_formatter()->column_width(34);

    std::vector<std::string> inputs, settings, cut_texts, modules;
    CutsCommands cuts;
    std::string name, from, format, output, text;
    int index = 0;
    TreeArguments tree_arguments;
    DescribedInput tree_input, show_input, job_input, expand_input;

    const auto add_source = [&](CLI::App* command) {
        command->add_option("--from", from, "A saved job to start from")->type_name("FILE");
        command->add_option("--input", inputs, "A media file of the job; may stand several times")
            ->type_name("FILE")
            ->allow_extra_args(false);
        command->add_option("--format", format, "The output format to select: AVI, PNG, .mp4")
            ->type_name("NAME");
        command
            ->add_option("--set", settings,
                         "A setting: its name, and a label of its list or a value; \"on\" and \"off\" for "
                         "check boxes, a unit behind a number. May stand several times")
            ->type_name("NAME=VALUE")
            ->allow_extra_args(false);
    };

    CLI::App* tree = app.add_subcommand("tree", "Shows the settings tree of a job");
    add_source(tree);
    tree->add_flag("--all", tree_arguments.all, "Hidden settings too");
    tree->add_flag("--json", tree_arguments.json, "For programs");
    tree_input.AddTo(tree);

    CLI::App* show = app.add_subcommand("show", "Shows one setting with all that it says of itself");
    show->add_option("NAME", name, "The setting, such as Mode or Output/Mode")->required();
    add_source(show);
    show_input.AddTo(show);

    CLI::App* job = app.add_subcommand("job", "Makes a job, or opens a saved one, changes it and writes it");
    add_source(job);
    job->add_option(
           "--cut", cut_texts,
           "A cut of the first input, in frames or in times such as 0:00:01.500-0:00:03.000. May stand "
           "several times")
        ->type_name("START-END")
        ->allow_extra_args(false);
    job->add_option("--output", output, "Where the settings are written; \"-\" is standard output")
        ->type_name("FILE");
    job_input.AddTo(job);

    cuts.AddTo(&app, add_source, &output);

    CLI::App* expand = app.add_subcommand("expand", "Puts the values of variables into a watermark's text");
    const CLI::Option* given_text =
        expand->add_option("TEXT", text, "Such as \"%s, %d\"; without it the variables are listed");
    add_source(expand);
    expand->add_option("--index", index, "The number of the output, for %i")->type_name("N");
    expand_input.AddTo(expand);

    CLI::App* font = app.add_subcommand("font", "Shows what a font string says");
    const CLI::Option* given_font =
        font->add_option("STRING", text, "Such as \"FONT=Arial;SIZE=12;U=ON;\"; without it the usual font");

    std::string operation;
    std::vector<std::string> call_arguments;
    DescribedInput call_input;
    DescribedInput pick_input;
    CLI::App* pick =
        app.add_subcommand("pick", "Shows the dialog or editor of a setting, and what it changed");
    pick->add_option("NAME", name, "The setting, such as DestinationPath")->required();
    add_source(pick);
    pick->add_option("--output", output, "Where the settings are written then; \"-\" is standard output")
        ->type_name("FILE");
    pick_input.AddTo(pick);

    CLI::App* types = app.add_subcommand("types", "Shows the type library: what scripts see of the server");
    CLI::App* call =
        app.add_subcommand("call", "Calls an operation of a setting by its name, as a script does");
    call->add_option("NAME.OPERATION", operation, "Such as Mode.Title")->required();
    call->add_option("ARG", call_arguments, "A whole number, a text, null, or @NAME for a setting");
    add_source(call);
    call_input.AddTo(call);

    CLI::App* registering = app.add_subcommand("register", "Registers component modules");
    registering->add_option("MODULE", modules,
                            "Module files; by default BVSchema and BVSamples of this installation");
    CLI::App* unregistering = app.add_subcommand("unregister", "Takes component modules out of the registry");
    unregistering->add_option("MODULE", modules, "Module files; by default those of this installation");
    CLI::App* registry = app.add_subcommand("registry", "Shows what the modules wrote to the registry");

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : kBadUsage;
    }

    if (registering->parsed()) return Register(Wide(modules));
    if (unregistering->parsed()) return Unregister(Wide(modules));
    if (registry->parsed()) return ShowRegistry();
    if (types->parsed()) return ShowTypes();
    const auto typed = [&](const CLI::Option* option) {
        return option->count() ? std::optional(host::Wide(text)) : std::nullopt;
    };
    if (font->parsed()) return ShowFont(typed(given_font));
    JobSource source = {
        .from = host::Wide(from), .inputs = Wide(inputs), .given = {}, .format = host::Wide(format)};
    if (!job->parsed()) source.settings = Wide(settings);
    if (const auto command = cuts.Parsed()) return command(cuts.Arguments(source, output));
    source.given = job->parsed()      ? job_input.Get()
                   : tree->parsed()   ? tree_input.Get()
                   : call->parsed()   ? call_input.Get()
                   : expand->parsed() ? expand_input.Get()
                   : pick->parsed()   ? pick_input.Get()
                                      : show_input.Get();
    if (expand->parsed()) return ExpandText(source, typed(given_text), index);
    if (call->parsed()) return CallOperation(source, host::Wide(operation), Wide(call_arguments));
    if (pick->parsed()) return PickValue(source, host::Wide(name), host::Wide(output));
    if (job->parsed()) return EditJob({source, Wide(settings), Wide(cut_texts), host::Wide(output)});
    if (show->parsed()) return ShowNode(source, host::Wide(name));
    tree_arguments.source = source;
    return ShowTree(tree_arguments);
}

}  // namespace

int main(int argc, char** argv) {
    StartTerminal();
    const HRESULT started = CoInitialize(nullptr);
    int result = kFailed;
    try {
        if (FAILED(started)) throw Problem("the component model doesn't start: " + Reason(started));
        result = Run(argc, argv);
    } catch (const std::bad_alloc&) {
        PrintError("out of memory");
    } catch (const std::exception& error) {
        PrintError(error.what());
    }
    if (SUCCEEDED(started)) CoUninitialize();
    return result;
}
