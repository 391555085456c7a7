// Code pages and comparison of text.
#pragma once

#include "minwinbase.h"

using LPCCH = const char*;
using LPCWCH = const wchar_t*;

#define CP_ACP 0
#define CP_UTF8 65001

#define MB_PRECOMPOSED 0x1
#define MB_ERR_INVALID_CHARS 0x8
#define WC_ERR_INVALID_CHARS 0x80
#define WC_NO_BEST_FIT_CHARS 0x400

#define CSTR_LESS_THAN 1
#define CSTR_EQUAL 2
#define CSTR_GREATER_THAN 3

extern "C" {

/// The narrow code page, which CP_ACP stands for: UTF-8 (65001), unless the environment variable BV_CODEPAGE
/// names another, such as 1251. It is read once.
BV_PLATFORM_API UINT GetACP();

/// Narrow text to wide text. A narrow length of -1 means up to and with the NUL, which is then converted too.
/// Gives the characters written, or with a wide length of 0 those needed, or 0 with the last error
/// ERROR_INVALID_PARAMETER (null text, length 0, unknown code page), ERROR_INSUFFICIENT_BUFFER or
/// ERROR_NO_UNICODE_TRANSLATION (bytes that mean nothing, under MB_ERR_INVALID_CHARS;
/// without it they become U+FFFD).
BV_PLATFORM_API int MultiByteToWideChar(UINT CodePage, DWORD dwFlags, LPCCH lpMultiByteStr, int cbMultiByte,
                                        LPWSTR lpWideCharStr, int cchWideChar);

/// Wide text to narrow text, with the same rules for lengths and failures. A character that the code page
/// hasn't got becomes lpDefaultChar (null: "?") and sets *lpUsedDefaultChar; no similar one is looked for,
/// with or without WC_NO_BEST_FIT_CHARS. UTF-8 lacks only what is no character, such as half a surrogate
/// pair: that becomes lpDefaultChar (null: U+FFFD), or an error under WC_ERR_INVALID_CHARS.
BV_PLATFORM_API int WideCharToMultiByte(UINT CodePage, DWORD dwFlags, LPCWCH lpWideCharStr, int cchWideChar,
                                        LPSTR lpMultiByteStr, int cbMultiByte, LPCCH lpDefaultChar,
                                        LPBOOL lpUsedDefaultChar);

/// Compares character by character, upper-cased one by one if bIgnoreCase. A length of -1 means up to the
/// NUL. Gives CSTR_LESS_THAN, CSTR_EQUAL or CSTR_GREATER_THAN; 0 for a null text.
BV_PLATFORM_API int CompareStringOrdinal(LPCWCH lpString1, int cchCount1, LPCWCH lpString2, int cchCount2,
                                         WINBOOL bIgnoreCase);

/// Below, equal to or above 0, without regard to case. Null is less than any text. The order is that of the
/// upper-cased characters, not a dictionary's.
BV_PLATFORM_API int lstrcmpiA(LPCSTR lpString1, LPCSTR lpString2);
}
