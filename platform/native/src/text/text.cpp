#include "text/text.h"

#include <windows.h>

#include <algorithm>
#include <clocale>
#include <cwctype>

namespace bv::platform {
namespace {

constexpr wchar_t kReplacement = 0xFFFD;

/// The character at the beginning of the text, and its length in bytes; 0 bytes when there is none.
struct Decoded {
    wchar_t character = 0;
    size_t length = 0;
};

Decoded Decode(std::string_view text) {
    const auto byte = [&](size_t i) {
        return i < text.size() ? unsigned{static_cast<unsigned char>(text[i])} : 0u;
    };
    const unsigned first = byte(0);
    if (first < 0x80) return {static_cast<wchar_t>(first), text.empty() ? 0u : 1u};
    const size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    if (first < 0xC2 || first > 0xF4) return {};
    unsigned value = first & (0x7Fu >> length);
    for (size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0) != 0x80) return {};
        value = value << 6 | (byte(i) & 0x3F);
    }
    constexpr unsigned kLeast[] = {0, 0, 0x80, 0x800, 0x10000};
    if (value < kLeast[length] || value > 0x10FFFF || (value >= 0xD800 && value < 0xE000)) return {};
    return {static_cast<wchar_t>(value), length};
}

void Append(std::string& text, wchar_t character) {
    unsigned c = static_cast<unsigned>(character);
    if (c > 0x10FFFF || (c >= 0xD800 && c < 0xE000)) c = kReplacement;
    if (c < 0x80) {
        text += static_cast<char>(c);
        return;
    }
    const int more = c < 0x800 ? 1 : c < 0x10000 ? 2 : 3;
    constexpr unsigned kLead[] = {0, 0xC0, 0xE0, 0xF0};
    text += static_cast<char>(kLead[more] | c >> 6 * more);
    for (int i = more - 1; i >= 0; --i) text += static_cast<char>(0x80 | (c >> 6 * i & 0x3F));
}

wchar_t Upper(wchar_t c) {
    static const locale_t all_characters = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    if (c >= L'a' && c <= L'z') return c - L'a' + L'A';
    return c < 0x80 || !all_characters
               ? c
               : static_cast<wchar_t>(towupper_l(static_cast<wint_t>(c), all_characters));
}

}  // namespace

std::string ToUtf8(std::wstring_view text) {
    std::string result;
    result.reserve(text.size());
    for (const wchar_t c : text) Append(result, c);
    return result;
}

std::wstring ToWide(std::string_view text) {
    std::wstring result;
    result.reserve(text.size());
    while (!text.empty()) {
        const Decoded next = Decode(text);
        result += next.length ? next.character : kReplacement;
        text.remove_prefix(next.length ? next.length : 1);
    }
    return result;
}

std::string NarrowToUtf8(std::string_view text) {
    if (GetACP() == CP_UTF8 || text.empty()) return std::string(text);
    std::wstring wide(text.size() + 1, L'\0');
    const int length = MultiByteToWideChar(CP_ACP, 0, text.data(), static_cast<int>(text.size()), wide.data(),
                                           static_cast<int>(wide.size()));
    return ToUtf8({wide.data(), static_cast<size_t>(length)});
}

std::string Utf8ToNarrow(std::string_view text) {
    if (GetACP() == CP_UTF8 || text.empty()) return std::string(text);
    const std::wstring wide = ToWide(text);
    const int needed = WideCharToMultiByte(CP_ACP, 0, wide.data(), static_cast<int>(wide.size()), nullptr, 0,
                                           nullptr, nullptr);
    std::string result(static_cast<size_t>(needed), '\0');
    WideCharToMultiByte(CP_ACP, 0, wide.data(), static_cast<int>(wide.size()), result.data(), needed, nullptr,
                        nullptr);
    return result;
}

std::string Fold(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    const auto is_ascii = [](char c) { return static_cast<unsigned char>(c) < 0x80; };
    const auto plain = std::find_if_not(text.begin(), text.end(), is_ascii) - text.begin();
    result.assign(text.substr(0, static_cast<size_t>(plain)));
    for (char& c : result)
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    text.remove_prefix(static_cast<size_t>(plain));
    while (!text.empty()) {
        const Decoded next = Decode(text);
        if (next.length) {
            Append(result, Upper(next.character));
        } else {
            result += text.front();
        }
        text.remove_prefix(next.length ? next.length : 1);
    }
    return result;
}

std::string_view CutUtf8(std::string_view text, size_t size) {
    if (text.size() <= size) return text;
    size_t end = size;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) --end;
    return text.substr(0, end);
}

}  // namespace bv::platform
