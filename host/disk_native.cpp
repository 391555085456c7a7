#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "disk.h"

namespace bv::inline host {
namespace {

/// 0, or what went wrong.
int SyncAt(const std::filesystem::path& path, int flags) {
    const int file = open(path.c_str(), flags | O_CLOEXEC);
    if (file < 0) return errno;
    const int error = fsync(file) != 0 ? errno : 0;
    const int closed = close(file) != 0 ? errno : 0;
    return error ? error : closed;
}

}  // namespace

void BringToDisk(const std::filesystem::path& file) {
    if (const int error = SyncAt(file, O_RDONLY))
        throw std::filesystem::filesystem_error("fsync", file, {error, std::generic_category()});
}

void BringFolderToDisk(const std::filesystem::path& folder) { SyncAt(folder, O_RDONLY | O_DIRECTORY); }

}  // namespace bv::inline host
