#include "support/names.h"

#include <bvschema/bvschema.h>

namespace bv::test {

// By way of UTF-8: the library's own conversion of wide names fails in the locale "C".
std::string Utf8Name(const std::filesystem::path& path) {
    const std::u8string name = path.u8string();
    return {name.begin(), name.end()};
}

std::wstring WideName(const std::filesystem::path& path) {
    const std::string name = Utf8Name(path);
    std::wstring wide(name.size() + 1, L'\0');
    const int size = MultiByteToWideChar(CP_UTF8, 0, name.c_str(), -1, wide.data(), int(wide.size()));
    wide.resize(size > 0 ? size_t(size) - 1 : 0);
    return wide;
}

std::filesystem::path PathOf(std::string_view utf8) { return {std::u8string(utf8.begin(), utf8.end())}; }

std::filesystem::path PathOf(std::wstring_view name) {
    std::string utf8(name.size() * 4, '\0');
    const int size = name.empty() ? 0
                                  : WideCharToMultiByte(CP_UTF8, 0, name.data(), int(name.size()),
                                                        utf8.data(), int(utf8.size()), nullptr, nullptr);
    return PathOf(std::string_view(utf8.data(), size_t(size)));
}

std::vector<std::string> Split(const std::string& text, const std::string& separator) {
    std::vector<std::string> parts;
    size_t begin = 0;
    for (size_t end = 0; (end = text.find(separator, begin)) != text.npos; begin = end + separator.size())
        parts.push_back(text.substr(begin, end - begin));
    parts.push_back(text.substr(begin));
    return parts;
}

}  // namespace bv::test
