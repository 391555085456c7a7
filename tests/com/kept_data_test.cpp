// What becomes of a node's data when there is no memory for new ones.
#include <cstdlib>
#include <new>

#include "support/own.h"

namespace {
bool no_memory = false;
}

// All of them, so that the blocks of one are freed by the other.
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return no_memory ? nullptr : std::malloc(size + 1);
}
void* operator new[](std::size_t size) {
    if (void* block = std::malloc(size + 1)) return block;
    throw std::bad_alloc();
}
void operator delete[](void* block) noexcept { std::free(block); }
void operator delete[](void* block, std::size_t) noexcept { std::free(block); }
void operator delete[](void* block, const std::nothrow_t&) noexcept { std::free(block); }

namespace bv::test {
namespace {

TEST(KeptData, ABlockThatGetsNoMemoryLeavesKindAndLength) {
    // Of this program's own code, since a module on Windows has operators of its own.
    const Node node(NewOwn<IProperty>(clsid::PropertySimple));
    BYTE bytes[] = {1, 2, 3};
    ASSERT_EQ(node->PutData(7, 3, bytes), S_OK);
    no_memory = true;
    const HRESULT status = node->PutData(8, 2, bytes);
    no_memory = false;
    EXPECT_EQ(status, E_OUTOFMEMORY);
    int kind = 0;
    LONG length = 0;
    BYTE* kept = bytes;
    ASSERT_EQ(node->GetData(&kind, &length, &kept), S_OK);
    EXPECT_EQ(kind, 7);
    EXPECT_EQ(length, 3);
    EXPECT_EQ(kept, nullptr);
    ASSERT_EQ(node->PutData(9, 1, bytes), S_OK);
    ASSERT_EQ(node->GetData(&kind, &length, &kept), S_OK);
    EXPECT_EQ(length, 1);
    EXPECT_EQ(kept[0], 1);
}

}  // namespace
}  // namespace bv::test
