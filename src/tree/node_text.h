// The texts of a node, kept small: most are plain letters, and few are long.
#pragma once

#include <cstring>

#include "com/bstr.h"

namespace bv {

/// A name, title, label or help text. Up to 23 ASCII characters lie in it, a byte each; a longer text stays the
/// literal that it is, or has a block of its own. May be moved in memory as it is.
class NodeText {
public:
    NodeText() = default;
    explicit NodeText(LiteralText literal) { SetLiteral(literal.View()); }
    NodeText(const NodeText&) = delete;
    NodeText& operator=(const NodeText&) = delete;
    NodeText(NodeText&& other) noexcept { std::memcpy(this, &other, sizeof *this), other.form_ = 0; }
    ~NodeText() { Free(); }
    void Swap(NodeText& other) {
        NodeText mine(std::move(*this));
        std::memcpy(static_cast<void*>(this), &other, sizeof *this);
        std::memcpy(static_cast<void*>(&other), &mine, sizeof mine);
        mine.form_ = 0;
    }

    /// A text that lives for ever.
    void SetLiteral(std::wstring_view literal);
    /// Empty when there is no memory.
    void SetCopy(std::wstring_view text);

    size_t size() const { return form_ <= kRoom ? form_ : long_().size; }
    bool empty() const { return form_ == 0; }
    /// Whether it is this name, without regard to case.
    bool Is(std::wstring_view name) const {
        if (name.size() != size()) return false;
        if (form_ > kRoom && form_ != kLongAscii) return SameLetters({long_().wide, long_().size}, name);
        return IsAscii(name);
    }
    HRESULT CopyTo(BSTR* out) const;
    /// As ASCII bytes without a zero; null data for a text with other characters.
    std::string_view Ascii() const {
        if (form_ <= kRoom) return {here_, form_};
        return form_ == kLongAscii ? std::string_view(long_().bytes, long_().size) : std::string_view();
    }
    /// A text for which Ascii gives null data.
    std::wstring_view Wide() const { return {long_().wide, long_().size}; }

private:
    static constexpr unsigned char kRoom = 23;
    enum : unsigned char { kLongAscii = 32, kLiteral, kWide };  // other values of form_ than a length
    struct Long {
        union {
            const wchar_t* wide;
            char* bytes;
        };
        size_t size;
    };

    Long long_() const {
        Long text;
        std::memcpy(&text, here_, sizeof text);
        return text;
    }
    void Set(const Long& text, unsigned char form) {
        std::memcpy(here_, &text, sizeof text);
        form_ = form;
    }
    /// Takes a text that fits; false for any other.
    bool SetShort(std::wstring_view text);
    bool IsAscii(std::wstring_view name) const;
    void Free();

    alignas(8) char here_[kRoom] = {};
    unsigned char form_ = 0;
};
static_assert(sizeof(NodeText) == 24);

}  // namespace bv
