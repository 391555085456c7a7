// A font string typed by anyone, read into a record and written again; and a record that ends nowhere.
#include <cstdlib>
#include <cstring>

#include "fuzz_input.h"
#include "watermark/font_string.h"

namespace {

template <std::size_t N>
void ExpectEnded(const char (&field)[N]) {
    if (!std::memchr(field, 0, N)) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FontInfo raw;
    std::memset(&raw, 'x', sizeof raw);
    std::memcpy(&raw, data, size < sizeof raw ? size : sizeof raw);
    bv::FontToText(raw);

    FontInfo font = {};
    bv::ReadFontText(FuzzInput(data, size).Rest(), font);
    ExpectEnded(font.FaceName);
    ExpectEnded(font.Style);
    ExpectEnded(font.Charset);
    FontInfo again = {};
    bv::ReadFontText(bv::FontToText(font).View(), again);
    if (again.Size != font.Size || again.Underline != font.Underline || again.Strikeout != font.Strikeout ||
        std::strcmp(again.FaceName, font.FaceName) != 0 || std::strcmp(again.Style, font.Style) != 0)
        std::abort();
    return 0;
}
