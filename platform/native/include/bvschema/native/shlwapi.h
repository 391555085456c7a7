// Operations on paths as text.
//
// A path that begins with "/" is absolute and splits at "/" alone; a backslash in it is a letter. A relative
// path that is joined to it may use either. Every other path has the Windows rules:
// drives, UNC names, the backslash.
//
// Buffers hold MAX_PATH characters with the NUL; what would not fit is refused and, where so said, leaves the
// empty text. A null path is refused, never followed.
#pragma once

#include "minwinbase.h"

extern "C" {

/// False for a path with a root: a drive, a leading separator.
BV_PLATFORM_API WINBOOL PathIsRelativeA(LPCSTR pszPath);

/// Joins pMore to the path in the buffer and makes the result canonical.
BV_PLATFORM_API WINBOOL PathAppendA(LPSTR pszPath, LPCSTR pMore);
BV_PLATFORM_API WINBOOL PathAppendW(LPWSTR pszPath, LPCWSTR pMore);

/// Copies the path without its "." and ".." parts; ".." stops at the root.
BV_PLATFORM_API WINBOOL PathCanonicalizeA(LPSTR pszBuf, LPCSTR pszPath);

/// Cuts the last part and its separator, but not the root. True if that changed the path.
BV_PLATFORM_API WINBOOL PathRemoveFileSpecA(LPSTR pszPath);
BV_PLATFORM_API WINBOOL PathRemoveFileSpecW(LPWSTR pszPath);

/// Ends the path in a separator. Gives the position of the NUL, or null when there is no room.
BV_PLATFORM_API LPSTR PathAddBackslashA(LPSTR pszPath);

/// The last "." of the last part, or the NUL. A "." before a blank doesn't count.
BV_PLATFORM_API LPSTR PathFindExtensionA(LPCSTR pszPath);

/// Cuts the path at its extension.
BV_PLATFORM_API void PathRemoveExtensionA(LPSTR pszPath);

/// Adds an extension (with its ".") to a path that has none. False when it has one or there is no room.
BV_PLATFORM_API WINBOOL PathAddExtensionA(LPSTR pszPath, LPCSTR pszExt);

/// The last part of the path.
BV_PLATFORM_API LPSTR PathFindFileNameA(LPCSTR pszPath);

/// True for a file or folder that is there.
BV_PLATFORM_API WINBOOL PathFileExistsA(LPCSTR pszPath);
}
