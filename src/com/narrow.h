// Texts in the 8-bit code page, and back.
#pragma once

#include <bvschema/platform.h>

#include <string_view>

#include "com/bstr.h"

namespace bv {

inline constexpr int kTextLimit = 512;  // of narrow and wide working texts, with their terminator

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

}  // namespace bv
