// Until what was written is on the disk.
#pragma once

#include <filesystem>

namespace bv::inline host {

/// Waits for a closed file. Throws std::filesystem::filesystem_error.
void BringToDisk(const std::filesystem::path& file);
/// Waits for the names of the files in a folder, where a system can do that. Doesn't fail: the files are there.
void BringFolderToDisk(const std::filesystem::path& folder);

}  // namespace bv::inline host
