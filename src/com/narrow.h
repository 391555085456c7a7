// Texts in the 8-bit code page, and back.
#pragma once

#include <bvschema/platform.h>

#include <optional>
#include <string_view>

#include "com/bstr.h"

namespace bv {

inline constexpr size_t kTextLimit = 512;  // bytes of a working text, of a name and a value in the XML

/// What becomes of a text that is longer than its place.
enum class Fit {
    kWhole,  // nothing of it is taken
    kCut,    // as many whole characters as there is room for
};

/// To the 8-bit code page, without a terminator; "#" stands for a character that it hasn't got. capacity:
/// bytes. Gives the length; -1 for a text that isn't taken.
int ToNarrowBytes(char* buffer, std::wstring_view text, int capacity, Fit fit = Fit::kWhole);

/// A text of at most kLimit bytes in the 8-bit code page, with a NUL behind it.
template <size_t kLimit>
class NarrowBuffer {
public:
    static constexpr size_t kCapacity = kLimit;

    NarrowBuffer() { Clear(); }
    /// From wide characters up to the first NUL.
    explicit NarrowBuffer(std::wstring_view text, Fit fit = Fit::kWhole) {
        const int length = ToNarrowBytes(bytes_, text.substr(0, text.find(L'\0')), int(kLimit), fit);
        SetLength(length > 0 ? size_t(length) : 0);
    }

    std::string_view View() const { return {bytes_, length_}; }
    const char* c_str() const { return bytes_; }
    size_t size() const { return length_; }
    bool empty() const { return length_ == 0; }
    void Clear() { SetLength(0); }

    /// For a call that fills in a text, or changes the one that is there; UpdateLength follows it.
    char* Buffer() { return bytes_; }
    void UpdateLength() {
        bytes_[kLimit] = 0;
        SetLength(std::string_view(bytes_).size());
    }

    /// False, and nothing appended, when it doesn't fit.
    bool Append(std::string_view text) {
        if (text.size() > kLimit - length_) return false;
        text.copy(bytes_ + length_, text.size());
        SetLength(length_ + text.size());
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
using NarrowText = NarrowBuffer<kTextLimit>;
using PathText = NarrowBuffer<MAX_PATH - 1>;  // as long as the system's calls take a path

/// The text form of a value; none when it hasn't got one, or one that takes more than 512 bytes.
std::optional<NarrowText> ToNarrow(const VARIANT& value);

/// From the 8-bit code page, with a terminator. capacity: characters, with the terminator.
int ToWide(const char* text, wchar_t* buffer, int capacity);
/// A narrow text of any length as BSTR.
Bstr ToBstr(std::string_view text);

}  // namespace bv
