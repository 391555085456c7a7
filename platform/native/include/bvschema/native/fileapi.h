// Files and folders. Names are taken as they stand: narrow ones as bytes, wide ones through the narrow code
// page. Calls that give a BOOL give FALSE on failure and set the last error.
#pragma once

#include "minwinbase.h"

#define INVALID_HANDLE_VALUE ((HANDLE)(LONG_PTR)-1)

#define GENERIC_READ 0x80000000u
#define GENERIC_WRITE 0x40000000u
#define FILE_SHARE_READ 0x1
#define FILE_SHARE_WRITE 0x2
#define FILE_SHARE_DELETE 0x4
#define CREATE_NEW 1
#define CREATE_ALWAYS 2
#define OPEN_EXISTING 3
#define OPEN_ALWAYS 4
#define FILE_ATTRIBUTE_READONLY 0x1
#define FILE_ATTRIBUTE_DIRECTORY 0x10
#define FILE_ATTRIBUTE_NORMAL 0x80

inline constexpr int kMaxFileName = 256;  // of one entry, with its NUL

/// An entry of a folder. A folder's size is 0.
struct WIN32_FIND_DATAW {
    DWORD dwFileAttributes;
    FILETIME ftCreationTime;
    FILETIME ftLastAccessTime;
    FILETIME ftLastWriteTime;
    DWORD nFileSizeHigh;
    DWORD nFileSizeLow;
    DWORD dwReserved0;
    DWORD dwReserved1;
    WCHAR cFileName[kMaxFileName];
    WCHAR cAlternateFileName[14];
};
using LPWIN32_FIND_DATAW = WIN32_FIND_DATAW*;

extern "C" {

/// Opens a regular file; anything else (a folder, a pipe, a device) is refused with ERROR_ACCESS_DENIED.
/// Close the handle with CloseHandle. INVALID_HANDLE_VALUE on failure.
/// Sharing modes and attributes are not kept.
BV_PLATFORM_API HANDLE CreateFileA(LPCSTR lpFileName, DWORD dwDesiredAccess, DWORD dwShareMode,
                                   LPSECURITY_ATTRIBUTES lpSecurityAttributes, DWORD dwCreationDisposition,
                                   DWORD dwFlagsAndAttributes, HANDLE hTemplateFile);
BV_PLATFORM_API HANDLE CreateFileW(LPCWSTR lpFileName, DWORD dwDesiredAccess, DWORD dwShareMode,
                                   LPSECURITY_ATTRIBUTES lpSecurityAttributes, DWORD dwCreationDisposition,
                                   DWORD dwFlagsAndAttributes, HANDLE hTemplateFile);
/// Closes a handle of CreateFile.
BV_PLATFORM_API WINBOOL CloseHandle(HANDLE hObject);
/// Reads up to the given number of bytes; at the end of the file it succeeds with 0 bytes.
BV_PLATFORM_API WINBOOL ReadFile(HANDLE hFile, LPVOID lpBuffer, DWORD nNumberOfBytesToRead,
                                 LPDWORD lpNumberOfBytesRead, LPOVERLAPPED lpOverlapped);
BV_PLATFORM_API WINBOOL WriteFile(HANDLE hFile, LPCVOID lpBuffer, DWORD nNumberOfBytesToWrite,
                                  LPDWORD lpNumberOfBytesWritten, LPOVERLAPPED lpOverlapped);
BV_PLATFORM_API WINBOOL GetFileSizeEx(HANDLE hFile, PLARGE_INTEGER lpFileSize);

BV_PLATFORM_API WINBOOL DeleteFileA(LPCSTR lpFileName);
BV_PLATFORM_API WINBOOL DeleteFileW(LPCWSTR lpFileName);

/// The first entry that matches a mask in the last part of the path: "*" any text, "?" any character, "*.*"
/// everything, without regard to case. "." and ".." are entries. INVALID_HANDLE_VALUE on failure:
/// ERROR_FILE_NOT_FOUND when nothing matches, ERROR_PATH_NOT_FOUND when there is no such folder.
BV_PLATFORM_API HANDLE FindFirstFileW(LPCWSTR lpFileName, LPWIN32_FIND_DATAW lpFindFileData);
/// The next one; ERROR_NO_MORE_FILES after the last.
BV_PLATFORM_API WINBOOL FindNextFileW(HANDLE hFindFile, LPWIN32_FIND_DATAW lpFindFileData);
BV_PLATFORM_API WINBOOL FindClose(HANDLE hFindFile);
}
