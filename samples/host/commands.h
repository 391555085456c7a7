// What each command of bvhost does. They throw Problem; the result is the exit code.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "job.h"
#include "media_source.h"

namespace host {

/// Where a job comes from.
struct JobSource {
    std::wstring from;                        // a settings file; empty: a new job
    std::vector<std::wstring> inputs;         // media files to add
    std::optional<MediaInfo> given;           // what is told of the inputs in place of reading them
    std::wstring format = {};                 // the output format to select; empty: as it is
    std::vector<std::wstring> settings = {};  // NAME=VALUE, put without a word
};
/// Restores, adds, selects and sets, and warns of what can't be restored.
void Fill(Job* job, const JobSource& source);

struct TreeArguments {
    JobSource source;
    bool all = false;  // hidden settings too
    bool json = false;
};
int ShowTree(const TreeArguments& arguments);

/// text: with the variables of the watermark's text, such as "%sf"; without one the variables are listed.
/// index: of the output.
int ExpandText(const JobSource& source, const std::optional<std::wstring>& text, int index);
/// The record that a font string stands for; without one the usual font.
int ShowFont(const std::optional<std::wstring>& text);

int ShowNode(const JobSource& source, const std::wstring& name);

struct JobArguments {
    JobSource source;
    std::vector<std::wstring> settings;  // NAME=VALUE
    std::vector<std::wstring> cuts;      // START-END, of the first input
    std::wstring output;                 // "-": standard output; empty: nowhere
};
int EditJob(const JobArguments& arguments);
/// Writes the settings as EditJob does, and says so, but on standard output.
void WriteJob(Job* job, const std::wstring& output);

/// Shows the dialog or editor of a node and prints what it changed. output: as in JobArguments.
int PickValue(const JobSource& source, const std::wstring& name, const std::wstring& output);

struct CutsArguments {
    JobSource source;                 // what the cuts are of; nothing: only frames can be told
    std::wstring file;                // .tlc
    std::vector<std::wstring> items;  // cuts, numbers of cuts, or the files to check
    std::wstring output;
};
int ListCuts(const CutsArguments& arguments);
/// Makes the file if it isn't there.
int AddToCuts(const CutsArguments& arguments);
int RemoveFromCuts(const CutsArguments& arguments);
/// The cuts of a job's first input go to a file.
int SaveCuts(const CutsArguments& arguments);
/// A file's cuts become those of a job's first input, and the job is written.
int LoadCuts(const CutsArguments& arguments);
/// Tells what is wrong with the cuts of files: 1 when anything is.
int CheckCuts(const CutsArguments& arguments);

int Register(const std::vector<std::wstring>& modules);
int Unregister(const std::vector<std::wstring>& modules);
/// What the modules wrote to the registry.
int ShowRegistry();

/// The registered type library, as text that is the same on every platform.
int ShowTypes();

/// Calls an operation of a node by name, and prints what it gives. operation: "NAME.Operation". arguments:
/// whole numbers, texts, "null", "@NAME" for a node.
int CallOperation(const JobSource& source, const std::wstring& operation,
                  const std::vector<std::wstring>& arguments);

}  // namespace host
