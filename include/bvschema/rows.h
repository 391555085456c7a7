// Constant arrays in tables of settings.
#pragma once

#include <cstddef>

namespace bv {

/// A constant array, or none. T may be the type that holds it.
template <class T>
struct Rows {
    constexpr Rows() = default;
    template <std::size_t N>
    constexpr Rows(const T (&rows)[N]) : first(rows), count(N) {}  // NOLINT: an array is rows
    constexpr const T* begin() const { return first; }
    constexpr const T* end() const { return first + count; }

    const T* first = nullptr;
    std::size_t count = 0;
};

}  // namespace bv
