// Fonts as text: "FONT=Tahoma;STYLE=Regular;SIZE=10;U=OFF;S=OFF;CHARSET=Default;".
#pragma once

#include <bvschema/bvschema.h>

#include <string_view>

#include "com/bstr.h"

namespace bv {

/// The text of a font. A field without its NUL ends with the field.
Bstr FontToText(const FontInfo& font);

/// Takes from the text what it says of a font; fields without an item keep what they hold, and so do all when
/// the text takes more than 512 bytes in the narrow code page. Items stand in any order and their keys in any
/// case; of two with one key the later counts. A name that is longer than its field is cut behind
/// a whole character.
void ReadFontText(std::wstring_view text, FontInfo& font);

}  // namespace bv
