// Operations on paths as text. See shlwapi.h for the two families of paths.
#include <sys/stat.h>

#include <algorithm>
#include <string_view>

#include "shlwapi.h"
#include "winbase.h"
#include "winerror.h"

namespace {

template <typename Char>
using View = std::basic_string_view<Char>;

template <typename Char>
bool IsRelative(const Char* path) {
    if (!path || !*path) return true;
    return path[0] != '/' && path[0] != '\\' && path[1] != ':';
}

template <typename Char>
bool IsUnc(View<Char> path) {
    return path.size() > 1 && path[0] == '\\' && path[1] == '\\';
}

/// What a path begins with and ".." doesn't pass.
template <typename Char>
struct Root {
    std::size_t length = 0;  // characters of the path
    View<Char> text;         // as it stands in a canonical path
    bool fixed = false;      // false for a path that counts from a current folder
};

template <typename Char>
Root<Char> RootOf(View<Char> path) {
    static constexpr Char kBackslash[] = {'\\'};
    const std::size_t size = path.size();
    const auto at = [path, size](std::size_t i) { return i < size ? path[i] : Char{}; };
    if (at(0) == '/') {
        const std::size_t end = path.find_first_not_of(Char{'/'});
        return {std::min(end, size), path.substr(0, 1), true};
    }
    if (at(0) == '\\' && at(1) == '\\') {
        const bool long_drive = at(2) == '?' && at(3) == '\\' && at(5) == ':' && at(6) == '\\';
        const std::size_t length = long_drive ? 7 : 2;
        return {length, path.substr(0, length), true};
    }
    if (at(0) == '\\') return {1, path.substr(0, 1), true};
    if (size > 1 && at(1) == ':') {
        const std::size_t length = at(2) == '\\' ? 3 : 2;
        return {length, path.substr(0, length), length == 3 || size == 2};
    }
    if (size == 0) return {0, View<Char>(kBackslash, 1), true};
    return {};
}

/// Writes a path part by part. A part that ".." takes back goes together with the separator before it.
template <typename Char>
class CanonicalPath {
public:
    /// buffer: room for the path, a root and a NUL. separator: between the parts.
    CanonicalPath(Char* buffer, Char separator) : begin_(buffer), end_(buffer), separator_(separator) {}

    void PutRoot(View<Char> root) { begin_ = end_ = std::copy(root.begin(), root.end(), end_); }
    void PutPart(View<Char> part) {
        if (count_++ > 0) *end_++ = separator_;
        end_ = std::copy(part.begin(), part.end(), end_);
    }
    void DropPart() {
        const std::size_t last = View<Char>(begin_, Size()).rfind(separator_);
        end_ = --count_ > 0 ? begin_ + last : begin_;
    }
    View<Char> LastPart() const {
        const View<Char> parts(begin_, Size());
        return parts.substr(parts.rfind(separator_) + 1);
    }
    std::size_t Count() const { return count_; }
    std::size_t Size() const { return static_cast<std::size_t>(end_ - begin_); }
    Char* begin() const { return begin_; }
    Char* end() const { return end_; }

private:
    Char* begin_;  // of the parts
    Char* end_;
    std::size_t count_ = 0;
    const Char separator_;
};

/// Writes a path of less than 2 * MAX_PATH characters without its "." and ".." parts into a buffer of
/// 2 * MAX_PATH + 2. Gives the length.
template <typename Char>
std::size_t WriteCanonical(View<Char> path, Char* buffer) {
    static constexpr Char kDots[] = {'.', '.'};
    const View<Char> here(kDots, 1), up(kDots, 2);
    const Root<Char> root = RootOf(path);
    const bool slash = !path.empty() && path[0] == '/';
    const Char separator = slash ? Char{'/'} : Char{'\\'};
    const std::size_t kept = IsUnc(path) ? 1 : 0;  // the name of the server

    CanonicalPath<Char> result(buffer, separator);
    result.PutRoot(root.text);
    if (root.fixed && root.text.size() == 2 && root.text[1] == ':') result.PutRoot(View<Char>(&separator, 1));
    bool to_root = root.fixed;
    View<Char> rest = path.substr(root.length);
    for (bool last = false; !last;) {
        const std::size_t end = std::min(rest.find(separator), rest.size());
        const View<Char> part = rest.substr(0, end);
        last = end == rest.size();
        rest.remove_prefix(last ? end : end + 1);
        if (part == here || (slash && part.empty() && !last)) continue;
        if (part != up || !(to_root || (result.Count() > 0 && result.LastPart() != up))) {
            result.PutPart(part);
            continue;
        }
        if (result.Count() > kept) result.DropPart();
        if (result.Count() > 0 || to_root) continue;
        to_root = true;  // a relative path that lost its only part goes on from the root
        result.PutRoot(View<Char>(&separator, 1));
    }
    if (result.end() == buffer) result.PutPart(here);
    *result.end() = 0;
    return static_cast<std::size_t>(result.end() - buffer);
}

/// path may lie in the buffer.
template <typename Char>
BOOL Canonicalize(Char* buffer, const Char* path) {
    if (!buffer || !path) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    const View<Char> text(path);
    Char result[2 * MAX_PATH + 2];
    const std::size_t length = text.size() < 2 * MAX_PATH ? WriteCanonical(text, result) : MAX_PATH;
    if (length >= MAX_PATH) {
        *buffer = 0;
        SetLastError(ERROR_INSUFFICIENT_BUFFER);
        return FALSE;
    }
    std::copy_n(result, length + 1, buffer);
    return TRUE;
}

/// A path with a root of its own replaces what stands in the buffer;
/// a separator that begins the other ones goes.
template <typename Char>
BOOL Append(Char* path, const Char* more) {
    if (!path || !more) return FALSE;
    const bool slash = path[0] == '/';
    View<Char> rest(more);
    const bool replaces = IsUnc(rest) || (!IsRelative(more) && more[0] != '\\');
    while (!replaces && !rest.empty() && (rest[0] == '\\' || (slash && rest[0] == '/')))
        rest.remove_prefix(1);

    Char joined[2 * MAX_PATH];
    std::size_t length = 0;
    const View<Char> base = replaces ? View<Char>() : View<Char>(path);
    if (base.size() + 1 + rest.size() >= 2 * MAX_PATH) {
        *path = 0;
        return FALSE;
    }
    for (const Char c : base) joined[length++] = c;
    const Char separator = slash ? Char{'/'} : Char{'\\'};
    if (length > 0 && !rest.empty() && joined[length - 1] != separator) joined[length++] = separator;
    const bool translate = slash && !replaces;
    for (const Char c : rest) joined[length++] = translate && c == '\\' ? separator : c;
    joined[length] = 0;
    return Canonicalize(path, joined);
}

template <typename Char>
BOOL RemoveFileSpec(Char* path) {
    if (!path) return FALSE;
    const View<Char> text(path);
    const bool slash = path[0] == '/';
    const std::size_t root = text.empty() ? 0 : RootOf(text).length;
    const std::size_t found = text.rfind(slash ? Char{'/'} : Char{'\\'});
    std::size_t end = found == View<Char>::npos || found < root ? root : found;
    while (slash && end > root && text[end - 1] == '/') --end;
    if (slash && end == root) end = 1;
    if (end >= text.size()) return FALSE;
    path[end] = 0;
    return TRUE;
}

std::size_t ExtensionOf(std::string_view path) {
    const char separator = path.starts_with('/') ? '/' : '\\';
    for (std::size_t i = path.size(); i > 0; --i) {
        const char c = path[i - 1];
        if (c == '.') return i - 1;
        if (c == separator || c == ' ') break;
    }
    return path.size();
}

std::size_t FileNameOf(std::string_view path) {
    const bool slash = path.starts_with('/');
    const auto is_separator = [slash](char c) { return c == '/' || (!slash && c == '\\'); };
    std::size_t result = 0;
    for (std::size_t i = 0; i + 1 < path.size(); ++i) {
        const bool splits = is_separator(path[i]) || (!slash && path[i] == ':');
        if (splits && !is_separator(path[i + 1])) result = i + 1;
    }
    return result;
}

// The result points into the argument, whose const these calls drop, as they have always done.
LPSTR Inside(LPCSTR path, std::size_t (*position)(std::string_view)) {
    return path ? const_cast<LPSTR>(path) + position(path) : nullptr;
}

}  // namespace

BOOL PathIsRelativeA(LPCSTR pszPath) { return IsRelative(pszPath); }
BOOL PathAppendA(LPSTR pszPath, LPCSTR pMore) { return Append(pszPath, pMore); }
BOOL PathAppendW(LPWSTR pszPath, LPCWSTR pMore) { return Append(pszPath, pMore); }
BOOL PathCanonicalizeA(LPSTR pszBuf, LPCSTR pszPath) { return Canonicalize(pszBuf, pszPath); }
BOOL PathRemoveFileSpecA(LPSTR pszPath) { return RemoveFileSpec(pszPath); }
BOOL PathRemoveFileSpecW(LPWSTR pszPath) { return RemoveFileSpec(pszPath); }
LPSTR PathFindExtensionA(LPCSTR pszPath) { return Inside(pszPath, ExtensionOf); }
LPSTR PathFindFileNameA(LPCSTR pszPath) { return Inside(pszPath, FileNameOf); }

LPSTR PathAddBackslashA(LPSTR pszPath) {
    if (!pszPath) return nullptr;
    const std::string_view text(pszPath);
    const char separator = pszPath[0] == '/' ? '/' : '\\';
    char* end = pszPath + text.size();
    if (text.empty() || text.back() == separator) return text.size() < MAX_PATH ? end : nullptr;
    if (text.size() + 1 >= MAX_PATH) return nullptr;
    end[0] = separator;
    end[1] = 0;
    return end + 1;
}

void PathRemoveExtensionA(LPSTR pszPath) {
    if (pszPath) pszPath[ExtensionOf(pszPath)] = 0;
}

BOOL PathAddExtensionA(LPSTR pszPath, LPCSTR pszExt) {
    if (!pszPath || !pszExt) return FALSE;
    const std::string_view text(pszPath), added(pszExt);
    if (ExtensionOf(text) != text.size() || text.size() + added.size() >= MAX_PATH) return FALSE;
    added.copy(pszPath + text.size(), added.size());
    pszPath[text.size() + added.size()] = 0;
    return TRUE;
}

BOOL PathFileExistsA(LPCSTR pszPath) {
    struct stat entry;
    return pszPath && stat(pszPath, &entry) == 0;
}
