#include "value_forms.h"

#include <algorithm>
#include <array>

#include "text.h"

namespace host {
namespace {

/// N numbers from 0 to the largest side, with a separator between them and nothing round them.
template <size_t N>
std::optional<std::array<int, N>> Numbers(std::wstring_view text, wchar_t separator) {
    std::array<int, N> numbers = {};
    for (size_t i = 0; i < N; ++i) {
        const size_t end = i + 1 < N ? text.find(separator) : text.size();
        if (end == text.npos) return {};
        const auto number = WholeNumber(text.substr(0, end));
        if (!number || *number < 0 || *number > kLargestSide) return {};
        numbers[i] = int(*number);
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return numbers;
}

}  // namespace

RectProblem ProblemOf(const Rect& rect) {
    constexpr int kMargin = 3;
    if (rect.bottom <= kMargin) return RectProblem::kBottomTooSmall;
    if (rect.right <= kMargin) return RectProblem::kRightTooSmall;
    if (rect.right <= rect.left) return RectProblem::kNoWidth;
    if (rect.bottom <= rect.top) return RectProblem::kNoHeight;
    return RectProblem::kNone;
}

std::optional<Rect> ToRect(std::wstring_view text) {
    const auto sides = Numbers<4>(text, L',');
    if (!sides) return {};
    const Rect rect = {(*sides)[0], (*sides)[1], (*sides)[2], (*sides)[3]};
    if (ProblemOf(rect) != RectProblem::kNone) return {};
    return rect;
}

std::optional<Size> ToSize(std::wstring_view text) {
    const auto sides = Numbers<2>(text, L'x');
    if (!sides || (*sides)[0] == 0 || (*sides)[1] == 0) return {};
    return Size{(*sides)[0], (*sides)[1]};
}

std::wstring ToText(const Rect& rect) {
    return std::to_wstring(rect.left) + L',' + std::to_wstring(rect.top) + L',' +
           std::to_wstring(rect.right) + L',' + std::to_wstring(rect.bottom);
}

std::wstring ToText(const Size& size) {
    return std::to_wstring(size.width) + L'x' + std::to_wstring(size.height);
}

bool IsColour(std::wstring_view text) {
    const auto digit = [](wchar_t c) {
        return (c >= L'0' && c <= L'9') || (c >= L'a' && c <= L'f') || (c >= L'A' && c <= L'F');
    };
    return text.size() == 8 && SameName(text.substr(0, 2), L"0x") &&
           std::all_of(text.begin() + 2, text.end(), digit);
}

std::vector<std::wstring> UnknownFontItems(std::wstring_view text) {
    std::vector<std::wstring> unknown;
    for (size_t begin = 0; begin < text.size();) {
        const size_t end = std::min(text.find(L';', begin), text.size());
        const std::wstring_view item = text.substr(begin, end - begin);
        const size_t equals = item.find(L'=');
        bool known = item.empty();
        for (const wchar_t* key : {L"FONT", L"STYLE", L"CHARSET", L"SIZE", L"U", L"S"})
            known = known || (equals != item.npos && SameName(item.substr(0, equals), key));
        if (!known) unknown.emplace_back(item);
        begin = end + 1;
    }
    return unknown;
}

}  // namespace host
