// Texts with variables in them, and the formats that numbers are shown by.
#pragma once

#include <string_view>

#include "com/narrow.h"

namespace bv {

/// Puts a value in the place of each occurrence of a variable's key, which is in lower case and stands in the
/// text in any case. A text that outgrows its limit by that becomes empty.
void PutVariable(NarrowText& text, std::string_view key, std::string_view value);

/// A number as a format shows it: any text with at most one integer conversion as printf has them (d, i, u,
/// o, x or X, with flags, width, precision and any length, which says how many of the number's bytes
/// are shown), and
/// "%%" for a percent sign. Any other format, and one that makes a text of more than 512 bytes, counts as "%d".
NarrowText FormatNumber(std::string_view format, LONG number);

}  // namespace bv
