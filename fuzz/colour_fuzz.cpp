// A colour typed by anyone: it is a colour word, and written again it reads the same.
#include <cstdlib>

#include "fuzz_input.h"
#include "watermark/colour.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    const DWORD colour = bv::ReadColour(input.Rest());
    if (colour > 0xFFFFFF || bv::ReadColour(bv::ColourToText(colour)) != colour) std::abort();
    return 0;
}
