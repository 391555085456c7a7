// The one place where names of files change their form: in the tree they are wide, on the command line UTF-8.
// std::filesystem converts wide names by itself too, but not outside of ASCII where the locale is "C".
#pragma once

#include <filesystem>
#include <string>

#include <bvschema/host/text.h>

namespace host {

using bv::FromPath;
using bv::ToPath;

/// For the user: UTF-8, one line.
std::string PathText(const std::filesystem::path& path);

std::filesystem::path Absolute(const std::wstring& name);

/// The name of a file that is there, for the server's operations that open files by their narrow names.
/// Throws Problem when it has none.
std::wstring NarrowName(const std::filesystem::path& file);

}  // namespace host
