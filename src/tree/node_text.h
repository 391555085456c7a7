// The texts of a node, kept small: most are plain letters, and few are long.
#pragma once

#include <cstdint>
#include <cstring>

#include "com/bstr.h"

namespace bv {

/// A name that is looked for: packed once, as many texts are compared with it.
class WantedName {
public:
    explicit WantedName(std::wstring_view name);
    std::wstring_view View() const { return name_; }

private:
    friend class NodeText;
    std::wstring_view name_;
    char packed_[24];
    bool is_packed_;
};

/// A name, title, label or help text. Up to 23 ASCII characters lie in it, a byte each; a longer text stays the
/// literal that it is, or has a block of its own. May be moved in memory as it is.
class NodeText {
public:
    NodeText() {}  // NOLINT: what isn't used of its room isn't set
    explicit NodeText(const LiteralText& literal) { SetLiteral(literal); }
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
    void SetLiteral(const LiteralText& literal) {
        Free();
        if (literal.IsPacked())
            std::memcpy(here_, literal.packed, kBlock);  // with its length
        else
            Set({{literal.text}, literal.length}, kLiteral);
    }
    /// False when there is no memory; the text is as it was.
    bool SetCopy(std::wstring_view text) { return SetShort(text) || SetLong(text); }

    size_t size() const { return form_ <= kRoom ? form_ : long_().size; }
    bool empty() const { return form_ == 0; }
    /// Whether it is this name, without regard to case.
    bool Is(const WantedName& name) const {
        if (form_ <= kRoom && name.is_packed_) return name.name_.size() == form_ && IsPacked(name.packed_);
        return name.name_.size() == size() && IsOther(name.name_);
    }
    bool Is(std::wstring_view name) const { return Is(WantedName(name)); }
    HRESULT CopyTo(BSTR* out) const;
    /// As ASCII bytes without a zero; null data for a text with other characters.
    std::string_view Ascii() const {
        if (form_ <= kRoom) return {here_, form_};
        return form_ == kLongAscii ? std::string_view(long_().bytes, long_().size) : std::string_view();
    }
    /// The bytes of a short ASCII text at the begin of a block of kBlock bytes; null for any other.
    const char* Block() const { return form_ <= kRoom ? here_ : nullptr; }
    static constexpr size_t kBlock = 24;
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
    bool SetShortForLong(std::wstring_view text);
    bool SetLong(std::wstring_view text);
    /// Whether it is a name of its length: a short one in ASCII, as it is ...
    bool IsPacked(const char* name) const {
        if (form_ < sizeof(std::uint64_t)) return IsPackedShort(name);
        // Most differ in their first letters already.
        std::uint64_t own, other;
        std::memcpy(&own, here_, sizeof own);
        std::memcpy(&other, name, sizeof other);
        return ((own ^ other) & ~kCaseBits) == 0 && IsPackedShort(name);
    }
    bool IsPackedShort(const char* name) const;
    /// ... or any.
    bool IsOther(std::wstring_view name) const;
    static constexpr std::uint64_t kCaseBits = 0x2020202020202020;
    void Free() {
        if (form_ > kRoom) FreeLong();
        form_ = 0;
    }
    void FreeLong();

    alignas(8) char here_[kRoom];  // the first form_ of them, or a Long
    unsigned char form_ = 0;       // right behind them, as in a LiteralText
};
static_assert(sizeof(NodeText) == NodeText::kBlock && NodeText::kBlock == LiteralText::kPacked);

}  // namespace bv
