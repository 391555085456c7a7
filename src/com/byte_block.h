#pragma once

#include <bvschema/platform.h>

#include <cstring>
#include <new>
#include <utility>
#include <vector>

namespace bv {

/// An owned block of bytes. A block of length 0 is not the same as no block.
class ByteBlock {
public:
    ByteBlock() = default;
    ByteBlock(const ByteBlock&) = delete;
    ByteBlock& operator=(const ByteBlock&) = delete;
    ~ByteBlock() { Free(); }

    BYTE* data() const { return data_; }
    size_t size() const { return size_; }
    explicit operator bool() const { return data_ != nullptr; }
    void Free() {
        delete[] std::exchange(data_, nullptr);
        size_ = 0;
    }
    /// The bytes go, the size stays.
    void Lose() { delete[] std::exchange(data_, nullptr); }
    void Swap(ByteBlock& other) noexcept {
        std::swap(data_, other.data_);
        std::swap(size_, other.size_);
    }
    /// Drops what was there. False: no memory, and no block.
    bool Allocate(size_t size) {
        Free();
        data_ = new (std::nothrow) BYTE[size];
        if (data_) size_ = size;
        return data_ != nullptr;
    }
    bool Assign(const void* bytes, size_t size) {
        if (!Allocate(size)) return false;
        if (size) std::memcpy(data_, bytes, size);
        return true;
    }

private:
    BYTE* data_ = nullptr;
    size_t size_ = 0;
};

/// Appends to a list; false when there is no memory.
template <class T>
bool TryAppend(std::vector<T>& list, T item) noexcept {
    try {
        if (list.capacity() == 0) list.reserve(4);  // most lists of a tree have a few entries
        list.push_back(std::move(item));
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

}  // namespace bv
