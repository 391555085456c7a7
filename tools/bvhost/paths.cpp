#include "paths.h"

#include "text.h"

namespace host {

namespace fs = std::filesystem;

fs::path ToPath(std::wstring_view name) {
    const std::string utf8 = Utf8(name);
    return fs::path(std::u8string(utf8.begin(), utf8.end()));
}

std::wstring FromPath(const fs::path& path) {
    const std::u8string utf8 = path.u8string();
    return Wide({reinterpret_cast<const char*>(utf8.data()), utf8.size()});
}

std::string PathText(const fs::path& path) { return OneLine(Utf8(FromPath(path))); }

fs::path Absolute(const std::wstring& name) {
    const fs::path path = ToPath(name);
    std::error_code error;
    const fs::path whole = fs::absolute(path, error);
    return error ? path : whole.lexically_normal();
}

}  // namespace host
