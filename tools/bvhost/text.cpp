#include "text.h"

#include <algorithm>
#include <charconv>
#include <utility>

#include <bvschema/platform.h>

namespace host {

std::wstring FromNarrow(std::string_view text) { return Wide(bv::NarrowToUtf8(text)); }

bool FitsNarrow(std::wstring_view text) {
    if (text.empty()) return true;
    std::string narrow(text.size() * 4, '\0');
    const int size = WideCharToMultiByte(CP_ACP, 0, text.data(), int(text.size()), narrow.data(),
                                         int(narrow.size()), nullptr, nullptr);
    return size > 0 && FromNarrow({narrow.data(), size_t(size)}) == text;
}

namespace {

/// The first character of a text that isn't empty, and its length; a byte that begins none stands for itself.
char32_t First(std::string_view utf8, size_t* length) {
    const auto byte = [&](size_t i) { return static_cast<unsigned char>(utf8[i]); };
    *length = byte(0) < 0xC0 ? 1 : byte(0) < 0xE0 ? 2 : byte(0) < 0xF0 ? 3 : 4;
    if (*length == 1 || *length > utf8.size()) {
        *length = 1;
        return byte(0);
    }
    char32_t c = byte(0) & (0x7F >> *length);
    for (size_t i = 1; i < *length; ++i) c = c << 6 | (byte(i) & 0x3F);
    return c;
}

struct Range {
    char32_t first, last;
};

template <size_t N>
bool IsIn(char32_t c, const Range (&ranges)[N]) {
    return std::any_of(ranges, ranges + N, [c](Range range) { return c >= range.first && c <= range.last; });
}

// What a terminal shows in the column before it, and what takes two columns. The C library knows, but only in
// a locale that knows the character.
constexpr Range kNoColumn[] = {{0x300, 0x36F},   {0x483, 0x489},   {0x591, 0x5BD},   {0x610, 0x61A},
                               {0x64B, 0x65F},   {0x200B, 0x200F}, {0x20D0, 0x20F0}, {0x3099, 0x309A},
                               {0xFE00, 0xFE0F}, {0xFE20, 0xFE2F}, {0xFEFF, 0xFEFF}, {0x1F3FB, 0x1F3FF}};
constexpr Range kTwoColumns[] = {
    {0x1100, 0x115F},   {0x2E80, 0x303E},   {0x3041, 0x4DBF},   {0x4E00, 0xA4CF},   {0xA960, 0xA97F},
    {0xAC00, 0xD7A3},   {0xF900, 0xFAFF},   {0xFE30, 0xFE6F},   {0xFF01, 0xFF60},   {0xFFE0, 0xFFE6},
    {0x1F300, 0x1F64F}, {0x1F680, 0x1F6FF}, {0x1F900, 0x1F9FF}, {0x1FA70, 0x1FAFF}, {0x20000, 0x3FFFD}};

size_t ColumnsOf(char32_t c) { return c < 0x300 ? 1 : IsIn(c, kNoColumn) ? 0 : IsIn(c, kTwoColumns) ? 2 : 1; }

}  // namespace

size_t Columns(std::string_view utf8) {
    size_t columns = 0;
    for (size_t length = 0; !utf8.empty(); utf8.remove_prefix(length))
        columns += ColumnsOf(First(utf8, &length));
    return columns;
}

std::string CutEnd(std::string_view utf8, size_t columns) {
    if (Columns(utf8) <= columns) return std::string(utf8);
    size_t kept = 0, used = 0, length = 0;
    for (; kept < utf8.size(); kept += length) {
        used += ColumnsOf(First(utf8.substr(kept), &length));
        if (used >= columns) break;
    }
    return std::string(utf8.substr(0, kept)) + "…";
}

std::string CutFront(std::string_view utf8, size_t columns) {
    size_t left = Columns(utf8);
    if (left <= columns) return std::string(utf8);
    size_t length = 0;
    for (char32_t c; !utf8.empty(); utf8.remove_prefix(length), left -= ColumnsOf(c)) {
        c = First(utf8, &length);
        if (left < columns && ColumnsOf(c) > 0) break;
    }
    return "…" + std::string(utf8);
}

std::string Padded(std::string_view utf8, size_t columns) {
    const size_t used = Columns(utf8);
    return std::string(utf8) + std::string(used < columns ? columns - used : 0, ' ');
}

std::vector<std::string> Wrapped(std::string_view utf8, size_t columns) {
    std::vector<std::string> lines;
    while (!utf8.empty()) {
        const size_t end = utf8.find('\n');
        std::string_view paragraph = utf8.substr(0, end);
        utf8 = end == utf8.npos ? std::string_view() : utf8.substr(end + 1);
        std::string line;
        while (!paragraph.empty()) {
            const size_t blank = paragraph.find(' ');
            const std::string word = OneLine(paragraph.substr(0, blank));
            paragraph = blank == paragraph.npos ? std::string_view() : paragraph.substr(blank + 1);
            if (word.empty()) continue;
            if (!line.empty() && Columns(line) + 1 + Columns(word) > columns)
                lines.push_back(std::exchange(line, {}));
            if (!line.empty()) line += ' ';
            line += word;
        }
        lines.push_back(line);
    }
    while (!lines.empty() && lines.back().empty()) lines.pop_back();
    return lines;
}

std::optional<LONG> WholeNumber(std::wstring_view text) {
    const std::string digits = Utf8(text);
    const char* const end = digits.data() + digits.size();
    LONG number = 0;
    const auto [rest, error] = std::from_chars(digits.data(), end, number);
    if (error != std::errc() || rest != end) return {};
    return number;
}

std::string Suggestion(std::wstring_view typed, const std::vector<std::wstring>& candidates) {
    std::vector<std::string> names;
    for (const std::wstring& candidate : candidates) names.push_back(Utf8(candidate));
    return bv::Suggestion(Utf8(typed), names);
}

}  // namespace host
