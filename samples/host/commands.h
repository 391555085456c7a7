// What each command of bvhost does. They throw Problem; the result is the exit code.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "media_source.h"

namespace host {

struct TreeArguments {
    std::vector<std::wstring> inputs;
    std::optional<MediaInfo> given;
    bool all = false;
    bool json = false;
    std::wstring name;  // of the one node to show; empty: the whole tree
};
int ShowTree(const TreeArguments& arguments);
int ShowNode(const TreeArguments& arguments);

struct JobArguments {
    std::wstring from;
    std::vector<std::wstring> inputs;
    std::vector<std::wstring> settings;  // NAME=VALUE
    std::optional<MediaInfo> given;
    std::wstring output;  // "-": standard output; empty: nowhere
};
int EditJob(const JobArguments& arguments);

int Register(const std::vector<std::wstring>& modules);
int Unregister(const std::vector<std::wstring>& modules);
/// What the modules wrote to the registry.
int ShowRegistry();

}  // namespace host
