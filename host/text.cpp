#include <bvschema/host/text.h>

#include <bvschema/platform.h>

#include <algorithm>
#include <cwctype>

namespace bv::inline host {

std::string ToUtf8(std::wstring_view text) {
    std::string result;
    for (size_t i = 0; i < text.size(); ++i) {
        char32_t c = sizeof(wchar_t) == 2 ? char16_t(text[i]) : char32_t(text[i]);
        const bool high = c >= 0xD800 && c < 0xDC00;
        if (high && i + 1 < text.size() && text[i + 1] >= 0xDC00 && text[i + 1] < 0xE000)
            c = 0x10000 + ((c - 0xD800) << 10) + (char32_t(text[++i]) - 0xDC00);
        else if ((c >= 0xD800 && c < 0xE000) || c > 0x10FFFF)
            c = 0xFFFD;
        if (c < 0x80) {
            result += char(c);
        } else if (c < 0x800) {
            result += {char(0xC0 | c >> 6), char(0x80 | (c & 0x3F))};
        } else if (c < 0x10000) {
            result += {char(0xE0 | c >> 12), char(0x80 | (c >> 6 & 0x3F)), char(0x80 | (c & 0x3F))};
        } else {
            result += {char(0xF0 | c >> 18), char(0x80 | (c >> 12 & 0x3F)), char(0x80 | (c >> 6 & 0x3F)),
                       char(0x80 | (c & 0x3F))};
        }
    }
    return result;
}

namespace {

std::wstring FromPage(UINT page, std::string_view text) {
    if (text.empty()) return {};
    const int size = MultiByteToWideChar(page, 0, text.data(), int(text.size()), nullptr, 0);
    std::wstring result(size_t(std::max(size, 0)), L'\0');
    if (size > 0) MultiByteToWideChar(page, 0, text.data(), int(text.size()), result.data(), size);
    return result;
}

}  // namespace

std::wstring ToWide(std::string_view utf8) { return FromPage(CP_UTF8, utf8); }
std::string NarrowToUtf8(std::string_view text) { return ToUtf8(FromPage(CP_ACP, text)); }

std::filesystem::path ToPath(std::string_view utf8) {
    return std::filesystem::path(std::u8string(utf8.begin(), utf8.end()));
}
std::filesystem::path ToPath(std::wstring_view name) { return ToPath(ToUtf8(name)); }

std::string PathToUtf8(const std::filesystem::path& path) {
    const std::u8string utf8 = path.u8string();
    return {reinterpret_cast<const char*>(utf8.data()), utf8.size()};
}
std::wstring FromPath(const std::filesystem::path& path) { return ToWide(PathToUtf8(path)); }

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

struct CharacterRange {
    char32_t first, last;
};

template <size_t N>
bool IsIn(char32_t c, const CharacterRange (&ranges)[N]) {
    return std::any_of(ranges, ranges + N, [c](CharacterRange range) { return c >= range.first && c <= range.last; });
}

bool IsIn(char32_t c, const CharacterRange (&ranges)[4]) {
    return std::any_of(ranges, ranges + 4, [c](CharacterRange range) { return c >= range.first && c <= range.last; });
}

// A terminal obeys the first kind; the others end a line or turn the direction of what follows.
constexpr CharacterRange kControls[] = {{0, 0x1F}, {0x7F, 0x9F}, {0x2028, 0x202E}, {0x2066, 0x2069}};

wchar_t Lower(wchar_t c) { return wchar_t(std::towlower(wint_t(c))); }

/// How many slips lie between two texts: a character left out, put in, mistaken, or two that changed places.
size_t EditDistance(std::wstring_view a, std::wstring_view b) {
    std::vector<size_t> before, last(b.size() + 1), row(b.size() + 1);
    for (size_t j = 0; j <= b.size(); ++j) last[j] = j;
    for (size_t i = 1; i <= a.size(); ++i) {
        row[0] = i;
        for (size_t j = 1; j <= b.size(); ++j) {
            const bool same = Lower(a[i - 1]) == Lower(b[j - 1]);
            row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + (same ? 0 : 1)});
            if (i > 1 && j > 1 && Lower(a[i - 1]) == Lower(b[j - 2]) && Lower(a[i - 2]) == Lower(b[j - 1]))
                row[j] = std::min(row[j], before[j - 2] + 1);
        }
        before = last;
        last = row;
    }
    return last[b.size()];
}

}  // namespace

std::string OneLine(std::string_view utf8) {
    std::string result;
    for (size_t length = 0; !utf8.empty(); utf8.remove_prefix(length)) {
        if (!IsIn(First(utf8, &length), kControls))
            result += utf8.substr(0, length);
        else if (!result.empty() && result.back() != ' ')
            result += ' ';
    }
    while (!result.empty() && result.back() == ' ') result.pop_back();
    return result;
}

std::string Quoted(std::string_view utf8) { return '"' + OneLine(utf8) + '"'; }

bool SameName(std::wstring_view a, std::wstring_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](wchar_t x, wchar_t y) { return Lower(x) == Lower(y); });
}

bool SameName(std::string_view a, std::string_view b) { return SameName(ToWide(a), ToWide(b)); }

std::string Suggestion(std::string_view typed, const std::vector<std::string>& candidates) {
    constexpr size_t kLongest = 256;  // nobody types more and means something
    if (typed.size() > kLongest) return {};
    const std::wstring wanted = ToWide(typed);
    const std::string* best = nullptr;
    size_t least = std::max<size_t>(1, wanted.size() / 3) + 1;  // one slip in three letters
    for (const std::string& candidate : candidates) {
        if (candidate.empty() || candidate.size() > kLongest) continue;
        const size_t distance = EditDistance(wanted, ToWide(candidate));
        if (distance < least) {
            least = distance;
            best = &candidate;
        }
    }
    return best ? ", did you mean " + Quoted(*best) + "?" : std::string();
}

}  // namespace bv::inline host
