#include "text/text.h"

#include <windows.h>

#include <algorithm>
#include <clocale>
#include <cwctype>

namespace bv::platform {
namespace {

void Append(std::string& text, wchar_t c) {
    char bytes[4];
    text.append(bytes, EncodeUtf8(c, bytes));
}

/// The locale whose tables know every script's letters, made once.
locale_t EveryScript() {
    static const locale_t locale = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    return locale;
}

}  // namespace

size_t EncodeUtf8(wchar_t c, char (&bytes)[4]) {
    auto code = static_cast<unsigned>(IsCharacter(c) ? c : kReplacement);
    if (code < 0x80) {
        bytes[0] = static_cast<char>(code);
        return 1;
    }
    const size_t length = code < 0x800 ? 2 : code < 0x10000 ? 3 : 4;
    for (size_t i = length - 1; i > 0; --i, code >>= 6) bytes[i] = static_cast<char>(0x80 | (code & 0x3F));
    bytes[0] = static_cast<char>((0xF00 >> length & 0xFF) | code);
    return length;
}

wchar_t UpperCase(wchar_t c) {
    if (c >= 0 && c < 0x80) return c >= L'a' && c <= L'z' ? c - (L'a' - L'A') : c;
    const locale_t locale = EveryScript();
    if (!locale || !IsCharacter(c)) return c;
    const auto upper = static_cast<wchar_t>(towupper_l(static_cast<wint_t>(c), locale));
    // A form of a letter doesn't come back.
    return static_cast<wchar_t>(towlower_l(static_cast<wint_t>(upper), locale)) == c ? upper : c;
}

bool SameWithoutCase(std::wstring_view a, std::wstring_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](wchar_t x, wchar_t y) { return x == y || UpperCase(x) == UpperCase(y); });
}

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
        const Utf8Character next = DecodeUtf8(text);
        result += next.character < 0 ? kReplacement : next.character;
        text.remove_prefix(next.length);
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
        const Utf8Character next = DecodeUtf8(text);
        if (next.character < 0)
            result += text.substr(0, next.length);
        else
            Append(result, UpperCase(next.character));
        text.remove_prefix(next.length);
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
