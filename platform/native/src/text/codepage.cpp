// Narrow and wide text. Code pages other than UTF-8 stand on iconv.
#include <iconv.h>

#include <charconv>
#include <cstdlib>
#include <new>
#include <string>

#include "stringapiset.h"
#include "text/text.h"
#include "winbase.h"
#include "winerror.h"

using namespace bv::platform;

namespace {

UINT ReadNarrowPage() {
    const char* text = std::getenv("BV_CODEPAGE");
    UINT page = CP_UTF8;
    if (text) std::from_chars(text, text + std::strlen(text), page);
    return page == CP_ACP ? CP_UTF8 : page;
}

/// The caller's buffer, or a count of what would go into it when its size is 0.
template <typename Char>
class Output {
public:
    Output(Char* buffer, int size) : buffer_(buffer), size_(static_cast<std::size_t>(size)) {}

    bool Put(const Char* text, std::size_t length) {
        if (size_ != 0) {
            if (length > size_ - used_) return false;
            std::memcpy(buffer_ + used_, text, length * sizeof(Char));
        }
        used_ += length;
        return used_ <= INT32_MAX;
    }
    bool Put(Char c) { return Put(&c, 1); }
    int Used() const { return static_cast<int>(used_); }

private:
    Char* buffer_;
    std::size_t size_;
    std::size_t used_ = 0;
};

int Fail(DWORD error) {
    SetLastError(error);
    return 0;
}

// --- UTF-8

int DecodeUtf8Page(DWORD flags, const char* text, std::size_t count, Output<wchar_t>& out) {
    for (std::size_t i = 0; i < count;) {
        auto [c, length] = DecodeUtf8({text + i, count - i});
        if (c < 0) {
            if (flags & MB_ERR_INVALID_CHARS) return Fail(ERROR_NO_UNICODE_TRANSLATION);
            c = kReplacement;
        }
        if (!out.Put(c)) return Fail(ERROR_INSUFFICIENT_BUFFER);
        i += length;
    }
    return out.Used();
}

int EncodeUtf8Page(DWORD flags, const wchar_t* text, std::size_t count, const char* other, bool* used_other,
                   Output<char>& out) {
    char bytes[4];
    for (std::size_t i = 0; i < count; ++i) {
        if (!IsCharacter(text[i])) {
            if (flags & WC_ERR_INVALID_CHARS) return Fail(ERROR_NO_UNICODE_TRANSLATION);
            *used_other = true;
            if (other) {
                if (!out.Put(other[0])) return Fail(ERROR_INSUFFICIENT_BUFFER);
                continue;
            }
        }
        if (!out.Put(bytes, EncodeUtf8(text[i], bytes))) return Fail(ERROR_INSUFFICIENT_BUFFER);
    }
    return out.Used();
}

// --- Other code pages

/// iconv between a code page and wide text, one piece at a time.
class Converter {
public:
    Converter(UINT page, bool to_wide) {
        char name[24];
        std::snprintf(name, sizeof name, "CP%u", page);
        handle_ = to_wide ? iconv_open("WCHAR_T", name) : iconv_open(name, "WCHAR_T");
    }
    ~Converter() {
        if (IsOpen()) iconv_close(handle_);
    }
    Converter(const Converter&) = delete;
    Converter& operator=(const Converter&) = delete;

    bool IsOpen() const { return handle_ != reinterpret_cast<iconv_t>(-1); }

    /// Converts as much as fits and is valid. Gives the bytes written; moves *text on.
    std::size_t Run(char** text, std::size_t* left, char* buffer, std::size_t size) {
        char* end = buffer;
        iconv(handle_, text, left, &end, &size);
        return static_cast<std::size_t>(end - buffer);
    }
    void Reset() { iconv(handle_, nullptr, nullptr, nullptr, nullptr); }

private:
    iconv_t handle_;
};

bool IsControl(wchar_t c) { return c >= 0x80 && c <= 0x9F; }

int DecodePage(UINT page, DWORD flags, const char* text, std::size_t count, Output<wchar_t>& out) {
    Converter converter(page, true);
    if (!converter.IsOpen()) return Fail(ERROR_INVALID_PARAMETER);
    char* at = const_cast<char*>(text);  // iconv's signature; it only reads
    wchar_t piece[256];
    while (count > 0) {
        const std::size_t bytes = converter.Run(&at, &count, reinterpret_cast<char*>(piece), sizeof piece);
        if (!out.Put(piece, bytes / sizeof(wchar_t))) return Fail(ERROR_INSUFFICIENT_BUFFER);
        if (bytes > 0 || count == 0) continue;
        // A byte without a meaning: the codes of control characters stand for themselves.
        const auto byte = static_cast<unsigned char>(*at);
        if (!IsControl(byte) && (flags & MB_ERR_INVALID_CHARS)) return Fail(ERROR_NO_UNICODE_TRANSLATION);
        if (!out.Put(IsControl(byte) ? static_cast<wchar_t>(byte) : kReplacement)) {
            return Fail(ERROR_INSUFFICIENT_BUFFER);
        }
        converter.Reset();
        ++at;
        --count;
    }
    return out.Used();
}

int EncodePage(UINT page, const wchar_t* text, std::size_t count, const char* other, bool* used_other,
               Output<char>& out) {
    Converter converter(page, false);
    if (!converter.IsOpen()) return Fail(ERROR_INVALID_PARAMETER);
    char* at = const_cast<char*>(reinterpret_cast<const char*>(text));
    std::size_t left = count * sizeof(wchar_t);
    char piece[1024];
    while (left > 0) {
        const std::size_t bytes = converter.Run(&at, &left, piece, sizeof piece);
        if (!out.Put(piece, bytes)) return Fail(ERROR_INSUFFICIENT_BUFFER);
        if (bytes > 0 || left == 0) continue;
        wchar_t c;
        std::memcpy(&c, at, sizeof c);
        if (!IsControl(c)) *used_other = true;
        if (!out.Put(IsControl(c) ? static_cast<char>(c) : other ? other[0] : '?')) {
            return Fail(ERROR_INSUFFICIENT_BUFFER);
        }
        converter.Reset();
        at += sizeof c;
        left -= sizeof c;
    }
    return out.Used();
}

}  // namespace

UINT GetACP() {
    static const UINT page = ReadNarrowPage();
    return page;
}

int MultiByteToWideChar(UINT CodePage, DWORD dwFlags, LPCCH lpMultiByteStr, int cbMultiByte,
                        LPWSTR lpWideCharStr, int cchWideChar) {
    if (!lpMultiByteStr || cbMultiByte == 0 || cchWideChar < 0 || (!lpWideCharStr && cchWideChar != 0)) {
        return Fail(ERROR_INVALID_PARAMETER);
    }
    if (dwFlags & ~(MB_PRECOMPOSED | MB_ERR_INVALID_CHARS)) return Fail(ERROR_INVALID_FLAGS);
    const UINT page = CodePage == CP_ACP ? GetACP() : CodePage;
    const std::size_t count =
        cbMultiByte < 0 ? std::strlen(lpMultiByteStr) + 1 : static_cast<std::size_t>(cbMultiByte);
    Output<wchar_t> out(lpWideCharStr, cchWideChar);
    return page == CP_UTF8 ? DecodeUtf8Page(dwFlags, lpMultiByteStr, count, out)
                           : DecodePage(page, dwFlags, lpMultiByteStr, count, out);
}

int WideCharToMultiByte(UINT CodePage, DWORD dwFlags, LPCWCH lpWideCharStr, int cchWideChar,
                        LPSTR lpMultiByteStr, int cbMultiByte, LPCCH lpDefaultChar,
                        LPBOOL lpUsedDefaultChar) {
    if (!lpWideCharStr || cchWideChar == 0 || cbMultiByte < 0 || (!lpMultiByteStr && cbMultiByte != 0)) {
        return Fail(ERROR_INVALID_PARAMETER);
    }
    if (dwFlags & ~(WC_ERR_INVALID_CHARS | WC_NO_BEST_FIT_CHARS)) return Fail(ERROR_INVALID_FLAGS);
    const UINT page = CodePage == CP_ACP ? GetACP() : CodePage;
    const std::size_t count =
        cchWideChar < 0 ? std::wcslen(lpWideCharStr) + 1 : static_cast<std::size_t>(cchWideChar);
    Output<char> out(lpMultiByteStr, cbMultiByte);
    bool used_default = false;
    const int result = page == CP_UTF8
                           ? EncodeUtf8Page(dwFlags, lpWideCharStr, count, lpDefaultChar, &used_default, out)
                           : EncodePage(page, lpWideCharStr, count, lpDefaultChar, &used_default, out);
    if (lpUsedDefaultChar) *lpUsedDefaultChar = used_default;
    return result;
}

int CompareStringOrdinal(LPCWCH lpString1, int cchCount1, LPCWCH lpString2, int cchCount2,
                         WINBOOL bIgnoreCase) {
    if (!lpString1 || !lpString2) return Fail(ERROR_INVALID_PARAMETER);
    const std::size_t count1 = cchCount1 < 0 ? std::wcslen(lpString1) : static_cast<std::size_t>(cchCount1);
    const std::size_t count2 = cchCount2 < 0 ? std::wcslen(lpString2) : static_cast<std::size_t>(cchCount2);
    for (std::size_t i = 0; i < count1 && i < count2; ++i) {
        wchar_t a = lpString1[i], b = lpString2[i];
        if (a == b) continue;
        if (bIgnoreCase) {
            a = UpperCase(a);
            b = UpperCase(b);
        }
        if (a != b) return a < b ? CSTR_LESS_THAN : CSTR_GREATER_THAN;
    }
    return count1 == count2 ? CSTR_EQUAL : count1 < count2 ? CSTR_LESS_THAN : CSTR_GREATER_THAN;
}

int lstrcmpiA(LPCSTR lpString1, LPCSTR lpString2) {
    if (!lpString1 || !lpString2) return (lpString1 != nullptr) - (lpString2 != nullptr);
    const auto wide = [](const char* text) {
        std::wstring result(std::strlen(text) + 1, L'\0');  // never more characters than bytes
        MultiByteToWideChar(CP_ACP, 0, text, -1, result.data(), static_cast<int>(result.size()));
        return result;
    };
    try {
        return CompareStringOrdinal(wide(lpString1).c_str(), -1, wide(lpString2).c_str(), -1, TRUE) -
               CSTR_EQUAL;
    } catch (const std::bad_alloc&) {
        return std::strcmp(lpString1, lpString2);
    }
}
