// Files and folders. A handle is a file descriptor plus 1, so that null is none.
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>

#include "boundary.h"
#include "bv_file_draft.h"
#include "fileapi.h"
#include "stringapiset.h"
#include "winbase.h"
#include "winerror.h"

namespace {

DWORD ErrorOf(int code) {
    switch (code) {
        case ENOENT:
            return ERROR_FILE_NOT_FOUND;
        case ENOTDIR:
            return ERROR_PATH_NOT_FOUND;
        case EACCES:
        case EPERM:
        case EROFS:
        case EISDIR:
        case ENXIO:
        case ELOOP:
            return ERROR_ACCESS_DENIED;
        case EBADF:
            return ERROR_INVALID_HANDLE;
        case EMFILE:
        case ENFILE:
            return ERROR_TOO_MANY_OPEN_FILES;
        case ENOMEM:
            return ERROR_NOT_ENOUGH_MEMORY;
        case EBUSY:
        case ETXTBSY:
            return ERROR_SHARING_VIOLATION;
        case EEXIST:
            return ERROR_FILE_EXISTS;
        case ENOSPC:
        case EDQUOT:
        case EFBIG:
            return ERROR_DISK_FULL;
        case ENAMETOOLONG:
            return ERROR_FILENAME_EXCED_RANGE;
        case EINVAL:
            return ERROR_INVALID_PARAMETER;
        default:
            return ERROR_GEN_FAILURE;
    }
}

BOOL Fail(DWORD error) {
    SetLastError(error);
    return FALSE;
}

/// ERROR_PATH_NOT_FOUND when it is the folder that is not there.
DWORD MissingPart(const char* name) {
    std::string_view path(name);
    const std::size_t end = path.rfind('/');
    if (path.empty()) return ERROR_PATH_NOT_FOUND;
    if (end == std::string_view::npos || end == 0) return ERROR_FILE_NOT_FOUND;
    struct stat folder;
    char name_of_folder[PATH_MAX];
    if (end >= sizeof name_of_folder) return ERROR_PATH_NOT_FOUND;
    name_of_folder[path.copy(name_of_folder, end)] = 0;
    const bool there = stat(name_of_folder, &folder) == 0 && S_ISDIR(folder.st_mode);
    return there ? ERROR_FILE_NOT_FOUND : ERROR_PATH_NOT_FOUND;
}

/// Sets the last error from errno for a call on this name.
void SetErrorOf(const char* name) {
    const int code = errno;
    SetLastError(code == ENOENT ? MissingPart(name) : ErrorOf(code));
}

/// Runs a call on the narrow form of a name; `failed`, with the last error set, when there is none. A draft
/// is taken away by its name also when there is no memory left.
template <typename Result, typename Call>
Result WithNarrow(LPCWSTR name, Result failed, Call call) {
    char narrow[PATH_MAX];
    BOOL lost = FALSE;
    BOOL* lost_out = GetACP() == CP_UTF8 ? nullptr : &lost;
    const DWORD flags = lost_out ? WC_NO_BEST_FIT_CHARS : WC_ERR_INVALID_CHARS;
    const int size =
        name && *name ? WideCharToMultiByte(CP_ACP, flags, name, -1, narrow, PATH_MAX, nullptr, lost_out) : 0;
    if (size > 0 && !lost) return call(static_cast<const char*>(narrow));
    if (name && !*name)
        SetLastError(ERROR_PATH_NOT_FOUND);
    else if (!name || lost || GetLastError() != ERROR_INSUFFICIENT_BUFFER)
        SetLastError(ERROR_INVALID_NAME);
    else
        SetLastError(ERROR_FILENAME_EXCED_RANGE);
    return failed;
}

int DescriptorOf(HANDLE file) {
    const auto value = reinterpret_cast<INT_PTR>(file);
    return value > 0 && value <= INT32_MAX ? static_cast<int>(value - 1) : -1;
}

DWORD AttributesOf(const struct stat& entry) {
    if (S_ISDIR(entry.st_mode)) return FILE_ATTRIBUTE_DIRECTORY;
    return entry.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH) ? FILE_ATTRIBUTE_NORMAL : FILE_ATTRIBUTE_READONLY;
}

FILETIME TimeOf(const timespec& time) {
    constexpr LONGLONG kUnits = 10'000'000;              // of 100 ns in a second
    constexpr LONGLONG kSecondsTo1970 = 11'644'473'600;  // from the beginning of 1601
    const LONGLONG units = (time.tv_sec + kSecondsTo1970) * kUnits + time.tv_nsec / 100;
    return {static_cast<DWORD>(units), static_cast<DWORD>(units >> 32)};
}

// --- Searching a folder

bool SameCharacter(wchar_t a, wchar_t b) {
    return a == b || CompareStringOrdinal(&a, 1, &b, 1, TRUE) == CSTR_EQUAL;
}

/// "*" stands for any text, "?" for any character.
bool Matches(std::wstring_view name, std::wstring_view mask) {
    std::size_t n = 0, m = 0, star = std::wstring_view::npos, resume = 0;
    while (n < name.size()) {
        if (m < mask.size() && mask[m] == L'*') {
            star = m++;
            resume = n;
        } else if (m < mask.size() && (mask[m] == L'?' || SameCharacter(mask[m], name[n]))) {
            ++m;
            ++n;
        } else if (star != std::wstring_view::npos) {
            m = star + 1;
            n = ++resume;
        } else {
            return false;
        }
    }
    return mask.find_first_not_of(L'*', m) == std::wstring_view::npos;
}

std::wstring Widen(const char* text) {
    std::wstring result(std::strlen(text) + 1, L'\0');
    const int size = MultiByteToWideChar(CP_ACP, 0, text, -1, result.data(), static_cast<int>(result.size()));
    result.resize(size > 0 ? static_cast<std::size_t>(size - 1) : 0);
    return result;
}

/// What a find handle stands for.
struct Search {
    DIR* folder = nullptr;
    std::wstring mask;

    ~Search() {
        if (folder) closedir(folder);
    }

    /// The next entry that matches; false at the end.
    bool Next(WIN32_FIND_DATAW* found) {
        while (const dirent* entry = readdir(folder)) {
            const std::wstring name = Widen(entry->d_name);
            if ((mask != L"*.*" && !Matches(name, mask)) || name.size() >= kMaxFileName) continue;
            struct stat info = {};
            const int descriptor = dirfd(folder);
            if (fstatat(descriptor, entry->d_name, &info, 0) != 0 &&
                fstatat(descriptor, entry->d_name, &info, AT_SYMLINK_NOFOLLOW) != 0) {
                continue;  // gone since it was listed
            }
            *found = {};
            found->dwFileAttributes = AttributesOf(info);
            found->ftCreationTime = TimeOf(info.st_ctim);
            found->ftLastAccessTime = TimeOf(info.st_atim);
            found->ftLastWriteTime = TimeOf(info.st_mtim);
            const auto size = S_ISDIR(info.st_mode) ? 0 : static_cast<ULONGLONG>(info.st_size);
            found->nFileSizeHigh = static_cast<DWORD>(size >> 32);
            found->nFileSizeLow = static_cast<DWORD>(size);
            name.copy(found->cFileName, name.size());
            return true;
        }
        return false;
    }
};

Search* SearchOf(HANDLE find) {
    return find && find != INVALID_HANDLE_VALUE ? static_cast<Search*>(find) : nullptr;
}

/// A mask that the path calls have joined to a relative path stands behind a backslash.
HANDLE StartSearch(std::string_view path, WIN32_FIND_DATAW* found) {
    const std::size_t end = path[0] == '/' ? path.rfind('/') : path.find_last_of("/\\");
    const std::string folder =
        end == std::string_view::npos ? "." : std::string(path.substr(0, std::max<std::size_t>(end, 1)));
    auto search = std::make_unique<Search>();
    search->mask = Widen(std::string(path.substr(end == std::string_view::npos ? 0 : end + 1)).c_str());
    search->folder = opendir(folder.c_str());
    DWORD error = ERROR_FILE_NOT_FOUND;
    if (!search->folder) {
        error = errno == ENOENT ? ERROR_PATH_NOT_FOUND : ErrorOf(errno);
    } else if (search->Next(found)) {
        return search.release();
    }
    SetLastError(error);
    return INVALID_HANDLE_VALUE;
}

// --- Drafts

/// Runs a call on an open file or folder and closes it. False, with errno set, when one of the two failed.
template <typename Call>
bool DoAndClose(int file, Call call) {
    const bool done = call(file);
    const int error = errno;
    const bool closed = close(file) == 0;
    if (!done) errno = error;
    return done && closed;
}

bool Flush(int file) {
    while (fsync(file) != 0)
        if (errno != EINTR) return false;
    return true;
}

/// Brings a file's name to the disk. What a file system can't do, or the user may not, is left.
bool FlushFolderOf(const char* file) {
    char folder[PATH_MAX];
    const std::string_view path(file);
    const std::size_t end = path.rfind('/');
    const std::string_view part =
        end == std::string_view::npos ? "." : path.substr(0, std::max<std::size_t>(end, 1));
    if (part.size() >= sizeof folder) return true;
    folder[part.copy(folder, part.size())] = 0;
    const int opened = open(folder, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (opened < 0) return errno == EACCES;
    return DoAndClose(opened, [](int descriptor) { return Flush(descriptor) || errno == EINVAL; });
}

}  // namespace

BOOL BvKeepDraftA(LPCSTR draft, LPCSTR file) {
    if (!draft || !file) return Fail(ERROR_PATH_NOT_FOUND);
    char target[PATH_MAX];
    if (!realpath(file, target)) {
        if (errno != ENOENT) return Fail(ErrorOf(errno));
        const std::size_t length = std::strlen(file);
        if (length >= sizeof target) return Fail(ERROR_FILENAME_EXCED_RANGE);
        std::memcpy(target, file, length + 1);
    }
    const int opened = open(draft, O_WRONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    struct stat before;
    const bool there = opened >= 0 && stat(target, &before) == 0;
    const bool flushed =
        opened >= 0 && DoAndClose(opened, [&](int descriptor) {
            return (!there || fchmod(descriptor, before.st_mode & 07777) == 0) && Flush(descriptor);
        });
    if (!flushed || std::rename(draft, target) != 0 || !FlushFolderOf(target)) return Fail(ErrorOf(errno));
    return TRUE;
}

BOOL BvKeepDraftW(LPCWSTR draft, LPCWSTR file) {
    return WithNarrow(draft, FALSE, [&](const char* from) {
        return WithNarrow(file, FALSE, [&](const char* to) { return BvKeepDraftA(from, to); });
    });
}

HANDLE CreateFileA(LPCSTR lpFileName, DWORD dwDesiredAccess, DWORD, LPSECURITY_ATTRIBUTES,
                   DWORD dwCreationDisposition, DWORD, HANDLE) {
    const bool writes = (dwDesiredAccess & GENERIC_WRITE) != 0;
    const bool reads = (dwDesiredAccess & GENERIC_READ) != 0;
    // Nothing is emptied before it is known to be a regular file; what isn't must not hold the caller up.
    int flags = O_CLOEXEC | O_NONBLOCK | O_NOCTTY | (writes ? (reads ? O_RDWR : O_WRONLY) : O_RDONLY);
    switch (dwCreationDisposition) {
        case CREATE_NEW:
            flags |= O_CREAT | O_EXCL;
            break;
        case CREATE_ALWAYS:
        case OPEN_ALWAYS:
            flags |= O_CREAT;
            break;
        case OPEN_EXISTING:
            break;
        default:
            SetLastError(ERROR_INVALID_PARAMETER);
            return INVALID_HANDLE_VALUE;
    }
    if (!lpFileName) {
        SetLastError(ERROR_PATH_NOT_FOUND);
        return INVALID_HANDLE_VALUE;
    }
    const int file = open(lpFileName, flags, 0666);
    if (file < 0) {
        SetErrorOf(lpFileName);
        return INVALID_HANDLE_VALUE;
    }
    struct stat info = {};
    const bool regular = fstat(file, &info) == 0 && S_ISREG(info.st_mode);
    const bool empties = dwCreationDisposition == CREATE_ALWAYS && info.st_size != 0;
    if (!regular || (empties && ftruncate(file, 0) != 0)) {
        SetLastError(regular ? ErrorOf(errno) : ERROR_ACCESS_DENIED);
        close(file);
        return INVALID_HANDLE_VALUE;
    }
    return reinterpret_cast<HANDLE>(static_cast<INT_PTR>(file) + 1);
}

HANDLE CreateFileW(LPCWSTR lpFileName, DWORD dwDesiredAccess, DWORD dwShareMode,
                   LPSECURITY_ATTRIBUTES lpSecurityAttributes, DWORD dwCreationDisposition,
                   DWORD dwFlagsAndAttributes, HANDLE hTemplateFile) {
    return WithNarrow(lpFileName, INVALID_HANDLE_VALUE, [&](const char* name) {
        return CreateFileA(name, dwDesiredAccess, dwShareMode, lpSecurityAttributes, dwCreationDisposition,
                           dwFlagsAndAttributes, hTemplateFile);
    });
}

WINBOOL CloseHandle(HANDLE hObject) {
    const int file = DescriptorOf(hObject);
    if (file < 0 || close(file) != 0) return Fail(ERROR_INVALID_HANDLE);
    return TRUE;
}

WINBOOL ReadFile(HANDLE hFile, LPVOID lpBuffer, DWORD nNumberOfBytesToRead, LPDWORD lpNumberOfBytesRead,
                 LPOVERLAPPED) {
    if (lpNumberOfBytesRead) *lpNumberOfBytesRead = 0;
    const int file = DescriptorOf(hFile);
    if (file < 0) return Fail(ERROR_INVALID_HANDLE);
    std::size_t done = 0;
    while (done < nNumberOfBytesToRead) {
        const ssize_t count = read(file, static_cast<char*>(lpBuffer) + done, nNumberOfBytesToRead - done);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return Fail(ErrorOf(errno));
        if (count == 0) break;
        done += static_cast<std::size_t>(count);
    }
    if (lpNumberOfBytesRead) *lpNumberOfBytesRead = static_cast<DWORD>(done);
    return TRUE;
}

WINBOOL WriteFile(HANDLE hFile, LPCVOID lpBuffer, DWORD nNumberOfBytesToWrite, LPDWORD lpNumberOfBytesWritten,
                  LPOVERLAPPED) {
    if (lpNumberOfBytesWritten) *lpNumberOfBytesWritten = 0;
    const int file = DescriptorOf(hFile);
    if (file < 0) return Fail(ERROR_INVALID_HANDLE);
    std::size_t done = 0;
    while (done < nNumberOfBytesToWrite) {
        const ssize_t count =
            write(file, static_cast<const char*>(lpBuffer) + done, nNumberOfBytesToWrite - done);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return Fail(ErrorOf(errno));
        done += static_cast<std::size_t>(count);
        if (lpNumberOfBytesWritten) *lpNumberOfBytesWritten = static_cast<DWORD>(done);
    }
    return TRUE;
}

WINBOOL GetFileSizeEx(HANDLE hFile, PLARGE_INTEGER lpFileSize) {
    struct stat info;
    if (!lpFileSize) return Fail(ERROR_INVALID_PARAMETER);
    if (fstat(DescriptorOf(hFile), &info) != 0) return Fail(ERROR_INVALID_HANDLE);
    lpFileSize->QuadPart = info.st_size;
    return TRUE;
}

WINBOOL DeleteFileA(LPCSTR lpFileName) {
    if (!lpFileName) return Fail(ERROR_PATH_NOT_FOUND);
    if (unlink(lpFileName) == 0) return TRUE;
    SetErrorOf(lpFileName);
    return FALSE;
}

WINBOOL DeleteFileW(LPCWSTR lpFileName) {
    return WithNarrow(lpFileName, WINBOOL{FALSE}, [](const char* name) { return DeleteFileA(name); });
}

HANDLE FindFirstFileW(LPCWSTR lpFileName, LPWIN32_FIND_DATAW lpFindFileData) {
    return WithNarrow(lpFileName, INVALID_HANDLE_VALUE, [lpFindFileData](const char* name) {
        return bv::platform::Bounded(INVALID_HANDLE_VALUE, [&] { return StartSearch(name, lpFindFileData); });
    });
}
WINBOOL FindNextFileW(HANDLE hFindFile, LPWIN32_FIND_DATAW lpFindFileData) {
    Search* search = SearchOf(hFindFile);
    if (!search) return Fail(ERROR_INVALID_HANDLE);
    return bv::platform::Bounded(
        FALSE, [&] { return search->Next(lpFindFileData) ? TRUE : Fail(ERROR_NO_MORE_FILES); });
}
WINBOOL FindClose(HANDLE hFindFile) {
    Search* search = SearchOf(hFindFile);
    if (!search) return Fail(ERROR_INVALID_HANDLE);
    delete search;
    return TRUE;
}
