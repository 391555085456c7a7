// A text in the narrow code page with the limit that working texts have.
#pragma once

#include <string_view>

#include "com/narrow.h"

namespace bv {

/// Holds at most 512 bytes, with a NUL behind them. What doesn't fit makes it empty: no text is cut.
class NarrowText {
public:
    static constexpr size_t kLimit = 512;

    NarrowText() { Clear(); }
    /// From wide characters up to the first NUL; "#" stands for what the code page hasn't got.
    explicit NarrowText(std::wstring_view text) {
        const int length = ToNarrowBytes(bytes_, text.substr(0, text.find(L'\0')), kLimit);
        SetLength(length > 0 ? size_t(length) : 0);
    }

    std::string_view View() const { return {bytes_, length_}; }
    const char* c_str() const { return bytes_; }
    /// For a call that fills in a text of up to 512 bytes, or shortens the one that is there; Settle follows
    /// it.
    char* Buffer() { return bytes_; }
    void Settle() { SetLength(std::string_view(bytes_).size()); }
    void Clear() { SetLength(0); }
    bool empty() const { return length_ == 0; }

    /// False, and nothing appended, when it doesn't fit.
    bool Append(std::string_view text) {
        if (text.size() > kLimit - length_) return false;
        text.copy(bytes_ + length_, text.size());
        SetLength(length_ + text.size());
        return true;
    }
    bool Append(size_t count, char c) {
        if (count > kLimit - length_) return false;
        std::char_traits<char>::assign(bytes_ + length_, count, c);
        SetLength(length_ + count);
        return true;
    }

private:
    void SetLength(size_t length) {
        length_ = length;
        bytes_[length] = 0;
    }
    char bytes_[kLimit + 1];
    size_t length_;
};

}  // namespace bv
