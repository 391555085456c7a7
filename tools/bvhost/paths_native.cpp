#include "paths.h"

namespace host {

std::wstring NarrowName(const std::filesystem::path& file) { return FromPath(file); }  // UTF-8 has all names

}  // namespace host
