#include <bvschema/platform.h>

#include <system_error>

#include "disk.h"

namespace bv::inline host {

void BringToDisk(const std::filesystem::path& file) {
    HANDLE const open = CreateFileW(file.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
    DWORD error = open == INVALID_HANDLE_VALUE || !FlushFileBuffers(open) ? GetLastError() : ERROR_SUCCESS;
    if (open != INVALID_HANDLE_VALUE && !CloseHandle(open) && error == ERROR_SUCCESS) error = GetLastError();
    if (error != ERROR_SUCCESS)
        throw std::filesystem::filesystem_error("FlushFileBuffers", file, {int(error), std::system_category()});
}

void BringFolderToDisk(const std::filesystem::path&) {}

}  // namespace bv::inline host
