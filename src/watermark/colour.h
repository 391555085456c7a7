// Colours as text, "0xRRGGBB". The system's colour word has them the other way round: red in its lowest byte.
#pragma once

#include <bvschema/platform.h>

#include <string>
#include <string_view>

namespace bv {

/// The colour word of a text: two hexadecimal digits each for red, green and blue behind any two characters.
/// A pair counts as far as its digits go. Black for a text of less than eight characters, or of more than 255
/// in the narrow code page.
DWORD ReadColour(std::wstring_view text);

/// The text of a colour word, in upper case.
std::wstring ColourToText(DWORD colour);

}  // namespace bv
