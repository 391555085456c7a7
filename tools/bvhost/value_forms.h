// What the texts of some settings say: rectangles, sizes, colours, fonts. The tree keeps them as they are
// typed; who lets a person type them reads them.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace host {

inline constexpr int kLargestSide = 16384;  // pixels of a frame, either way

struct Rect {
    int left = 0, top = 0, right = 0, bottom = 0;
};
struct Size {
    int width = 0, height = 0;
};

/// Why a rectangle of a frame won't do.
enum class RectProblem { kNone, kBottomTooSmall, kRightTooSmall, kNoWidth, kNoHeight };
RectProblem ProblemOf(const Rect& rect);

/// "left,top,right,bottom", in pixels. No value for another text, and for a rectangle with a problem.
std::optional<Rect> ToRect(std::wstring_view text);
/// "720x576", from 1 to kLargestSide either way.
std::optional<Size> ToSize(std::wstring_view text);
std::wstring ToText(const Rect& rect);
std::wstring ToText(const Size& size);

/// "0xRRGGBB".
bool IsColour(std::wstring_view text);

/// The items of a font string that aren't KEY=VALUE with a key that fonts have.
std::vector<std::wstring> UnknownFontItems(std::wstring_view text);

}  // namespace host
