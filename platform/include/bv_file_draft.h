// A file that is written beside its place and takes it when it is whole: what stood there before stays until
// then, also when the disk is full or the process is killed.
#pragma once

#include <windows.h>

#ifndef _WIN32
extern "C" {
/// Brings a closed file to the disk and moves it over another one, or to where there is none. A link stays a
/// link, and the rights are those of the file before. FALSE with the last error set: the file is as it was,
/// unless it was only the folder that couldn't be brought to the disk; the draft may be left.
BV_PLATFORM_API BOOL BvKeepDraftA(LPCSTR draft, LPCSTR file);
BV_PLATFORM_API BOOL BvKeepDraftW(LPCWSTR draft, LPCWSTR file);
}
#endif

namespace bv {

#ifdef _WIN32
namespace detail {
inline bool FlushAndClose(HANDLE file) {
    if (file == INVALID_HANDLE_VALUE) return false;
    const bool flushed = FlushFileBuffers(file);
    return CloseHandle(file) && flushed;
}
constexpr DWORD kMoveOver = MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH;
}  // namespace detail
#endif

/// Puts a draft, written and closed, in a file's place. False: the draft is gone, and the file is
/// the old one.
inline bool KeepDraft(const char* draft, const char* file) {
#ifdef _WIN32
    const bool kept = detail::FlushAndClose(CreateFileA(draft, GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                                                        FILE_ATTRIBUTE_NORMAL, nullptr)) &&
                      MoveFileExA(draft, file, detail::kMoveOver);
#else
    const bool kept = BvKeepDraftA(draft, file);
#endif
    if (!kept) DeleteFileA(draft);
    return kept;
}
inline bool KeepDraft(const wchar_t* draft, const wchar_t* file) {
#ifdef _WIN32
    const bool kept = detail::FlushAndClose(CreateFileW(draft, GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                                                        FILE_ATTRIBUTE_NORMAL, nullptr)) &&
                      MoveFileExW(draft, file, detail::kMoveOver);
#else
    const bool kept = BvKeepDraftW(draft, file);
#endif
    if (!kept) DeleteFileW(draft);
    return kept;
}

}  // namespace bv
