#pragma once

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

#include "com/block_pool.h"

namespace bv {

/// A growing list that takes 8 bytes while it is empty, in an object that exists in great number. T may be moved in
/// memory as it is. kFirst: room at the first item.
template <class T, std::uint32_t kFirst>
class CompactList {
public:
    CompactList() = default;
    CompactList(CompactList&& other) noexcept : head_(std::exchange(other.head_, nullptr)) {}
    CompactList& operator=(CompactList&& other) noexcept {
        std::swap(head_, other.head_);
        return *this;
    }
    ~CompactList() {
        for (T& item : *this) item.~T();
        if (head_) FreeBlock(head_, BytesFor(head_->capacity));
    }

    size_t size() const { return head_ ? head_->count : 0; }
    bool empty() const { return !head_ || head_->count == 0; }
    T* begin() const { return head_ ? reinterpret_cast<T*>(head_ + 1) : nullptr; }
    T* end() const { return begin() + size(); }
    T& operator[](size_t index) const { return begin()[index]; }

    /// Another item at the end, not made from one of its own; null when there is no memory.
    template <class... From>
    T* Append(From&&... from) {
        if ((!head_ || head_->count == head_->capacity) && !Grow()) return nullptr;
        T* const item = new (end()) T(std::forward<From>(from)...);
        ++head_->count;
        return item;
    }
    /// Takes an item out; the caller lets it go when the list is whole again.
    T Take(size_t index) {
        T taken = std::move((*this)[index]);
        T* const place = begin() + index;
        place->~T();
        std::memmove(static_cast<void*>(place), place + 1, (size() - index - 1) * sizeof(T));
        --head_->count;
        return taken;
    }

private:
    bool Grow() {
        const std::uint32_t capacity = head_ ? head_->capacity * 2 : kFirst;
        auto* grown = static_cast<Head*>(AllocateBlock(BytesFor(capacity)));
        if (!grown) return false;
        grown->count = std::uint32_t(size());
        grown->capacity = capacity;
        if (head_) {
            std::memcpy(static_cast<void*>(grown + 1), head_ + 1, size() * sizeof(T));
            FreeBlock(head_, BytesFor(head_->capacity));
        }
        head_ = grown;
        return true;
    }
    struct Head {
        std::uint32_t count, capacity;
    };
    static_assert(alignof(T) <= sizeof(Head));
    static size_t BytesFor(std::uint32_t capacity) { return sizeof(Head) + capacity * sizeof(T); }
    Head* head_ = nullptr;
};

}  // namespace bv
