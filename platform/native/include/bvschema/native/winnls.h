// The date and the time of day as text.
#pragma once

#include "minwinbase.h"

extern "C" {

/// The date and time of day in the time zone of the process.
BV_PLATFORM_API void GetLocalTime(LPSYSTEMTIME lpSystemTime);

/// Fills a format with a date (null: now). Letters: d dd ddd dddd, M MM MMM MMMM, y yy yyyy, gg; text
/// between single quotes stands as it is, '' in it is a quote, and so does any other character. Names are
/// English. A null format is "M/d/yyyy". dwFlags: 0. Gives the characters written with the NUL, or
/// with a length of 0 those needed, or 0 with the last error ERROR_INVALID_PARAMETER (no such date),
/// ERROR_INVALID_FLAGS or ERROR_INSUFFICIENT_BUFFER.
BV_PLATFORM_API int GetDateFormatA(LCID Locale, DWORD dwFlags, const SYSTEMTIME* lpDate, LPCSTR lpFormat,
                                   LPSTR lpDateStr, int cchDate);

/// The same for the time of day: h hh (12 hours), H HH (24 hours), m mm, s ss, t tt (A or AM, P or PM). A
/// null format is "h:mm:ss tt".
BV_PLATFORM_API int GetTimeFormatA(LCID Locale, DWORD dwFlags, const SYSTEMTIME* lpTime, LPCSTR lpFormat,
                                   LPSTR lpTimeStr, int cchTime);
}
