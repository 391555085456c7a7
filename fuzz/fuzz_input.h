// What a fuzz target takes from its input: bytes, lines, texts.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "com/narrow.h"

class FuzzInput {
public:
    FuzzInput(const std::uint8_t* data, std::size_t size)
        : rest_(reinterpret_cast<const char*>(data), size) {}

    int Byte() {
        if (rest_.empty()) return 0;
        const int byte = static_cast<unsigned char>(rest_[0]);
        rest_.remove_prefix(1);
        return byte;
    }
    /// Up to the next line end, or all that is left.
    std::wstring Line() {
        const std::size_t end = std::min(rest_.find('\n'), rest_.size());
        std::wstring line = Wide(rest_.substr(0, end));
        rest_.remove_prefix(std::min(end + 1, rest_.size()));
        return line;
    }
    std::wstring Rest() { return Wide(rest_); }

private:
    static std::wstring Wide(std::string_view bytes) { return std::wstring(bv::ToBstr(bytes).View()); }
    std::string_view rest_;
};
