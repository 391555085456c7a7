// Where a user's configuration lies.
#pragma once

#include <filesystem>

namespace bv::inline host {

std::filesystem::path ConfigFolder();

}  // namespace bv::inline host
