#include "paths.h"

#include "text.h"

namespace host {

namespace fs = std::filesystem;

std::string PathText(const fs::path& path) { return OneLine(Utf8(FromPath(path))); }

fs::path Absolute(const std::wstring& name) {
    const fs::path path = ToPath(name);
    std::error_code error;
    const fs::path whole = fs::absolute(path, error);
    return error ? path : whole.lexically_normal();
}

}  // namespace host
