// bvhost cuts: files of cuts, with the clip that they are of or without one.
#include <filesystem>
#include <fstream>
#include <memory>
#include <set>

#include <bvschema/host/document.h>

#include "commands.h"
#include "cuts.h"
#include "exit_code.h"
#include "job_source.h"
#include "paths.h"
#include "server.h"

#include "terminal.h"
#include "text.h"

namespace host {
namespace {

struct CutsArguments {
    JobSource source;                 // what the cuts are of; nothing: only frames can be told
    std::wstring file;                // .tlc
    std::vector<std::wstring> items;  // cuts, numbers of cuts, or the files to check
};

bool Exists(const std::filesystem::path& file) {
    std::error_code ignored;
    return std::filesystem::exists(file, ignored);
}

/// A list of cuts: that of a job's first input, or one that stands alone.
class List {
public:
    explicit List(const JobSource& source) {
        if (source.Empty()) {
            cuts_ = Create<ITimelines>(bv::clsid::Timelines, "Timelines");
            return;
        }
        job_ = source.OpenAndSet();
        cuts_ = job_->Cuts();
    }

    ITimelines* get() const { return cuts_.get(); }
    ITimelines* operator->() const { return cuts_.get(); }
    Job* job() const { return job_.get(); }
    /// What is known of the source; null: nothing.
    const MediaInfo* Source() const { return job_ ? &job_->Inputs().front().info : nullptr; }
    size_t Count() const { return AllCuts(get()).size(); }

    void Load(const std::wstring& file) const {
        const std::filesystem::path path = Absolute(file);
        const Text name(Exists(path) ? NarrowName(path) : FromPath(path));
        ForgetErrors();
        const HRESULT status = cuts_->Load(name);
        if (FAILED(status)) throw Problem(OneLine(Utf8(file)) + ": " + Reason(status));
        if (job_) UseCuts(job_->Inputs().front().node.get());
    }
    void Save(const std::wstring& file) const {
        bv::ReplaceFile(Absolute(file), [&](const std::filesystem::path& path) {
            if (!Exists(path)) std::ofstream(path).close();  // what isn't there has no other name
            const Text name(NarrowName(path));
            ForgetErrors();
            const HRESULT status = cuts_->Save(name);
            if (FAILED(status)) throw Problem(OneLine(Utf8(file)) + ": " + Reason(status));
        });
    }
    void Warn() const {
        for (const std::string& problem : CutProblems(get(), Source())) PrintWarning(problem);
    }
    void Show() const {
        for (const std::string& line : CutsText(get())) Print(line + '\n');
        Warn();
    }

private:
    std::unique_ptr<Job> job_;
    Ref<ITimelines> cuts_;
};

/// "3": the third of a list.
LONG NumberOf(const std::wstring& text, size_t count) {
    const auto number = WholeNumber(text);
    if (!number || *number < 1 || size_t(*number) > count)
        throw Problem("there is no cut " + OneLine(Utf8(text)) + "; the file has " + std::to_string(count));
    return *number;
}

int ListCuts(const CutsArguments& arguments) {
    const List list(arguments.source);
    list.Load(arguments.file);
    list.Show();
    return kDone;
}

/// Makes the file if it isn't there.
int AddToCuts(const CutsArguments& arguments) {
    const List list(arguments.source);
    if (Exists(Absolute(arguments.file))) list.Load(arguments.file);
    for (const std::wstring& cut : arguments.items) AddCut(list.get(), cut);
    if (list.job()) UseCuts(list.job()->Inputs().front().node.get());
    list.Save(arguments.file);
    list.Show();
    return kDone;
}

int RemoveFromCuts(const CutsArguments& arguments) {
    const List list(arguments.source);
    list.Load(arguments.file);
    const auto cuts = AllCuts(list.get());
    std::set<LONG> numbers;
    for (const std::wstring& item : arguments.items) numbers.insert(NumberOf(item, cuts.size()));
    for (const LONG number : numbers) list->RemoveTimeline(cuts[size_t(number - 1)].get());
    list.Save(arguments.file);
    list.Show();
    return kDone;
}

/// The cuts of a job's first input go to a file.
int SaveCuts(const CutsArguments& arguments) {
    const List list(arguments.source);
    if (!list.job()) throw Problem("\"cuts save\" takes a job: --from or --input");
    list.Save(arguments.file);
    list.Show();
    return kDone;
}

/// A file's cuts become those of a job's first input, and the job is written.
int LoadCuts(const CutsArguments& arguments) {
    const List list(arguments.source);
    if (!list.job()) throw Problem("\"cuts load\" takes a job: --from or --input");
    list.Load(arguments.file);
    if (arguments.source.output == L"-")
        list.Warn();
    else
        list.Show();
    WriteJob(list.job(), arguments.source.output);
    return kDone;
}

/// Tells what is wrong with the cuts of files: that is a failure.
int CheckCuts(const CutsArguments& arguments) {
    bool good = true;
    const List list(arguments.source);
    for (const std::wstring& file : arguments.items) {
        const std::string name = OneLine(Utf8(file));
        try {
            list.Load(file);
        } catch (const Problem& problem) {
            PrintError(problem.what());
            good = false;
            continue;
        }
        for (const std::string& problem : CutProblems(list.get(), list.Source())) {
            Print(name + ": " + problem + '\n');
            good = false;
        }
        const size_t number = list.Count();
        const auto encoded = EncodedDuration(list.get());
        Print(name + ": " + std::to_string(number) + (number == 1 ? " cut" : " cuts") +
              (encoded ? ", encoded: " + ExactSeconds(*encoded) : "") + '\n');
    }
    return good ? kDone : kFailed;
}

}  // namespace

void AddCutsCommands(CommandLine& line) {
    const auto arguments = std::make_shared<CutsArguments>();
    const Command cuts = line.Add("cuts", "Shows, changes and checks files of cuts (.tlc)");
    const auto add = [&](const char* name, const char* help, int (*action)(const CutsArguments&)) {
        Command command = cuts.Add(name, help);
        if (action != CheckCuts) command.Word("FILE", "The file of cuts", &arguments->file);
        arguments->source.AddTo(&command);
        command.Does([arguments, action] { return action(*arguments); });
        return command;
    };
    add("list", "Shows the cuts of a file; with an input their times, and how long the result will be",
        ListCuts);
    add("add", "Adds cuts to a file, which is made if it isn't there", AddToCuts)
        .Words("START-END", "In frames, or in times such as 0:00:01.500-0:00:03.000", &arguments->items,
               true);
    add("remove", "Removes cuts", RemoveFromCuts)
        .Words("NUMBER", "Their numbers, as \"list\" shows them", &arguments->items, true);
    add("save", "Writes the cuts of a job's first input to a file", SaveCuts);
    arguments->source.AddOutputTo(
        add("load", "Makes the cuts of a file those of a job's first input", LoadCuts),
        "Where the job is written; \"-\" is standard output");
    add("check", "Tells what is wrong with the cuts of files", CheckCuts)
        .Words("FILE", "The files of cuts", &arguments->items, true);
}

}  // namespace host
