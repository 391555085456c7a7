#include <windows.h>

#include <algorithm>

#include "paths.h"
#include "text.h"

namespace host {

std::wstring NarrowName(const std::filesystem::path& file) {
    const std::wstring name = FromPath(file);
    if (FitsNarrow(name)) return name;
    // The short name is of plain letters, where the volume has such names.
    std::wstring brief(1024, L'\0');
    const DWORD length = GetShortPathNameW(name.c_str(), brief.data(), DWORD(brief.size()));
    if (length == 0) return name;  // it isn't there, which the operation will tell
    brief.resize(std::min<size_t>(length, brief.size()));
    if (FitsNarrow(brief)) return brief;
    throw Problem(PathText(file) + ": the system's code page " + std::to_string(GetACP()) +
                  " can't spell this name");
}

}  // namespace host
