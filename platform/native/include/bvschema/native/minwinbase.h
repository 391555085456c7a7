// Records that several families of calls share.
#pragma once

#include "windef.h"

using LPBOOL = WINBOOL*;

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wpedantic"  // the nameless struct
union LARGE_INTEGER {
    struct {
        DWORD LowPart;
        LONG HighPart;
    };
    LONGLONG QuadPart;
};
#pragma GCC diagnostic pop
using PLARGE_INTEGER = LARGE_INTEGER*;

/// A date and a time of day. wDayOfWeek: 0 is Sunday.
struct SYSTEMTIME {
    WORD wYear;
    WORD wMonth;
    WORD wDayOfWeek;
    WORD wDay;
    WORD wHour;
    WORD wMinute;
    WORD wSecond;
    WORD wMilliseconds;
};
using LPSYSTEMTIME = SYSTEMTIME*;

// Overlapped transfer there is none: callers give null.
struct OVERLAPPED;
using LPOVERLAPPED = OVERLAPPED*;
