// Texts of the string table, the two text conversions, and how a refusal reaches the person before the host.
#pragma once

#include <bvschema/platform.h>

#include <string_view>

#include "com/bstr.h"

namespace bv {

/// What the server itself raises or formats, by string-table id.
namespace msg {
inline constexpr int kAllFormats = 16;
inline constexpr int kNoProperty = 27;
inline constexpr int kNoInterface = 30;
inline constexpr int kNoFile = 31;
inline constexpr int kNoDocument = 32;
inline constexpr int kBadConfig = 33;
inline constexpr int kNegativeValue = 40;
inline constexpr int kBadType = 41;
inline constexpr int kStartAfterEnd = 42;
inline constexpr int kBadFrameRate = 43;
inline constexpr int kNoParser = 44;
inline constexpr int kBadTime = 46;
inline constexpr int kNoTimelines = 48;
inline constexpr int kNoMap = 49;
inline constexpr int kNoEditors = 67;
inline constexpr int kNoEditor = 68;
inline constexpr int kBadDepth = 1223;
inline constexpr int kBadAngle = 1224;
}  // namespace msg

inline constexpr int kTextLimit = 512;  // of narrow and wide working texts, with their terminator

/// The module, or in a test program the program, whose string table is read.
HINSTANCE ModuleInstance();
void SetModuleInstance(HINSTANCE instance);

/// The table's text of an id; empty, with length 0, when it has none.
int LoadMessage(HINSTANCE instance, int id, char (&buffer)[kTextLimit]);
int LoadMessageW(HINSTANCE instance, int id, wchar_t (&buffer)[kTextLimit]);

/// To the 8-bit code page, with a terminator; "#" stands for a character that it hasn't got. capacity: bytes,
/// with the terminator. Gives the length; a text that doesn't fit gives an empty one.
int ToNarrow(char* buffer, const wchar_t* text, int capacity);
/// The same for counted text, without a terminator: -1 when it doesn't fit.
int ToNarrowBytes(char* buffer, std::wstring_view text, int capacity);
/// The same, but of a text that doesn't fit it takes as many whole characters as do, and gives their length
/// in bytes.
int ToNarrowCut(char* buffer, std::wstring_view text, int capacity);
/// From the 8-bit code page, with a terminator. capacity: characters, with the terminator.
int ToWide(const char* text, wchar_t* buffer, int capacity);
/// A narrow text of any length as BSTR.
Bstr ToBstr(std::string_view text);

/// Puts a text in the thread's error object. source: the class that refuses, whose ProgID becomes the source.
/// Gives the status, or DISP_E_EXCEPTION when that is 0.
HRESULT RaiseError(REFCLSID source, const char* text, REFIID iid, HRESULT status);
/// The same with a text of the string table. Gives E_FAIL.
HRESULT RaiseMessage(REFCLSID source, int id);

}  // namespace bv
