#pragma once

#include <bvschema/bvschema.h>

#include <cstdint>
#include <cstring>
#include <cwchar>
#include <iterator>
#include <string_view>
#include <utility>

#include "com/ascii.h"

namespace bv {

/// The characters of a BSTR, which may be null.
inline std::wstring_view View(const wchar_t* text) {
    if (!text) return {};
    std::uint32_t bytes;  // stand before the first character
    std::memcpy(&bytes, reinterpret_cast<const char*>(text) - sizeof bytes, sizeof bytes);
    return {text, bytes / sizeof(wchar_t)};
}

/// An owned BSTR. Null and empty read alike; null is also what stays when there is no memory.
class Bstr {
public:
    Bstr() = default;
    explicit Bstr(const wchar_t* literal) : text_(SysAllocString(literal)) {}
    explicit Bstr(std::wstring_view text) : text_(SysAllocStringLen(text.data(), UINT(text.size()))) {}
    Bstr(const Bstr&) = delete;
    Bstr(Bstr&& other) noexcept : text_(std::exchange(other.text_, nullptr)) {}
    ~Bstr() {
        if (text_) SysFreeString(text_);
    }
    Bstr& operator=(const Bstr&) = delete;
    Bstr& operator=(Bstr&& other) noexcept {
        std::swap(text_, other.text_);
        return *this;
    }

    BSTR get() const { return text_; }
    std::wstring_view View() const { return bv::View(text_); }
    const wchar_t* c_str() const { return text_ ? text_ : L""; }
    bool empty() const { return SysStringLen(text_) == 0; }
    BSTR* Put() {
        SysFreeString(std::exchange(text_, nullptr));
        return &text_;
    }
    BSTR Detach() { return std::exchange(text_, nullptr); }

    /// A copy for a caller of an interface: E_POINTER for a null place, E_OUTOFMEMORY when the copy fails.
    static HRESULT CopyTo(std::wstring_view text, BSTR* out) {
        if (!out) return E_POINTER;
        BSTR copy = SysAllocStringLen(text.data(), UINT(text.size()));
        if (!copy) return E_OUTOFMEMORY;
        *out = copy;
        return S_OK;
    }
    HRESULT CopyTo(BSTR* out) const { return CopyTo(View(), out); }

private:
    BSTR text_ = nullptr;
};

/// A constant that can be passed where a BSTR goes in: its length stands before its characters.
template <size_t N>
struct ConstBstr {
    consteval ConstBstr(const wchar_t (&literal)[N]) : bytes((N - 1) * sizeof(wchar_t)), text() {  // NOLINT
        for (size_t i = 0; i < N; ++i) text[i] = literal[i];
    }
    BSTR get() const { return const_cast<BSTR>(text); }
    constexpr std::wstring_view View() const { return {text, N - 1}; }
    constexpr operator const wchar_t*() const { return text; }  // NOLINT: it is a literal with a length

    // So that the length ends where the characters begin, on 64 bits too.
    alignas(8) std::uint32_t before = 0;
    std::uint32_t bytes;
    wchar_t text[N];
};

/// A copy that can be passed where a BSTR goes in, on the stack if it isn't longer than names are.
class CallBstr {
public:
    explicit CallBstr(std::wstring_view text) : bytes_(std::uint32_t(text.size() * sizeof(wchar_t))) {
        if (text.size() >= kRoom) {
            long_ = Bstr(text);
            return;
        }
        text.copy(text_, text.size());
        text_[text.size()] = 0;
    }
    CallBstr(const CallBstr&) = delete;
    CallBstr& operator=(const CallBstr&) = delete;
    BSTR get() { return long_.get() ? long_.get() : text_; }

private:
    static constexpr size_t kRoom = 64;
    Bstr long_;
    alignas(8) std::uint32_t before_ = 0;  // so that the length ends where the characters begin
    std::uint32_t bytes_;
    wchar_t text_[kRoom];
};

/// The text of a GUID, braces included.
class GuidText {
public:
    explicit GuidText(REFGUID id) {
        const int length = StringFromGUID2(id, text_, int(std::size(text_)));  // with its NUL
        length_ = length > 0 ? size_t(length - 1) : 0;
    }
    std::wstring_view View() const { return {text_, length_}; }

private:
    wchar_t text_[39];
    size_t length_;
};

/// A literal with its length, and in the form in which a node keeps it, all made by the compiler: what is constant data
/// of a class isn't made again for each of its nodes.
struct LiteralText {
    constexpr LiteralText() = default;
    constexpr LiteralText(const wchar_t* literal)  // NOLINT: it is a literal
        : text(literal), length(literal ? unsigned(std::char_traits<wchar_t>::length(literal)) : 0) {
        Pack();
    }
    template <size_t N>
    constexpr LiteralText(const ConstBstr<N>& literal)
        : text(literal.text), length(N - 1) {  // NOLINT: likewise
        Pack();
    }
    constexpr explicit operator bool() const { return text != nullptr; }
    constexpr std::wstring_view View() const { return {text ? text : L"", length}; }

    constexpr bool IsPacked() const { return packed[kPacked - 1] != kNotPacked; }

    static constexpr size_t kPacked = 24;
    static constexpr char kNotPacked = 127;
    const wchar_t* text = nullptr;
    unsigned length = 0;
    /// Up to 23 ASCII characters, a byte each, and their count in the last byte; kNotPacked there for any other text.
    char packed[kPacked] = {};

private:
    constexpr void Pack() {
        bool fits = length < kPacked;
        for (unsigned i = 0; fits && i < length; ++i) {
            fits = text[i] > 0 && text[i] <= 0x7F;
            packed[i] = char(text[i]);
        }
        packed[kPacked - 1] = fits ? char(length) : kNotPacked;
    }
};

/// Whether two texts of one length are the same name.
inline bool SameLetters(std::wstring_view a, std::wstring_view b) {
    for (size_t i = 0; i < a.size(); ++i) {
        const wchar_t x = a[i], y = b[i];
        if (x == y) continue;
        if (x > 0x7F || y > 0x7F)
            return CompareStringOrdinal(a.data(), int(a.size()), b.data(), int(b.size()), TRUE) == CSTR_EQUAL;
        if (ToUpperAscii(x) != ToUpperAscii(y)) return false;
    }
    return true;
}

/// Whether two names are the same, without regard to case. Most differ in length already.
inline bool SameName(std::wstring_view a, std::wstring_view b) {
    return a.size() == b.size() && SameLetters(a, b);
}

}  // namespace bv
