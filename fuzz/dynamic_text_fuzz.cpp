// A watermark text, the pictures of its variables and the file names that they stand for, all from anyone: an
// expansion has at most 512 bytes, and so has each number.
//
// An input is an index (one byte) and five lines: text, pictures of index, date and time, path.
#include <cstdlib>
#include <string>

#include "fuzz_input.h"
#include "watermark/dynamic_text.h"

namespace bv {
namespace {

/// The expansion alone, each variable standing for a line of the input.
void Substitute(const std::wstring& text, const std::wstring& value) {
    NarrowText working(text);
    for (const char* key : {"%sf", "%s", "%of", "%o", "%i", "%d", "%t"})
        PutVariable(working, key, NarrowText(value).View());
    if (working.View().size() > NarrowText::kCapacity) std::abort();
}

}  // namespace
}  // namespace bv

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace bv;
    FuzzInput input(data, size);
    const int number = input.Byte();
    const std::wstring text = input.Line(), index = input.Line(), date = input.Line(), time = input.Line();
    const std::wstring path = input.Rest();
    const NarrowText picture(index);
    for (const LONG n : {LONG(number), -number, 0x7FFFFFFF - number, -0x7FFFFFFF - 1 + number})
        if (FormatNumber(picture.View(), n).View().size() > NarrowText::kCapacity) std::abort();
    Substitute(text, path);
    Substitute(text, index);

    SYSTEMTIME when = {2024, 2, 1, 5, 14, 7, 9, 0};
    char shown[NarrowText::kCapacity];
    for (const std::wstring& each : {date, time}) {
        if (GetDateFormatA(0, 0, &when, NarrowText(each).c_str(), shown, sizeof shown) > int(sizeof shown))
            std::abort();
        if (GetTimeFormatA(0, 0, &when, NarrowText(each).c_str(), shown, sizeof shown) > int(sizeof shown))
            std::abort();
    }
    return 0;
}
