// An input's index as it is kept between sessions: in a file that the input's IDX node names.
#pragma once

#include <bvschema/bvschema.h>

#include <string_view>

#include "com/byte_block.h"
#include "com/com_ptr.h"

namespace bv {

class IndexCache {
public:
    /// node: the IDX node; null: nothing is kept.
    explicit IndexCache(ComPtr<IProperty> node) : node_(std::move(node)) {}

    /// Writes the file, and gives the node a name for it where it has none of ours.
    void Write(std::wstring_view source, int kind, const ByteBlock& index);
    /// False: nothing is kept. The block is empty when what was kept is of another source, or damaged;
    /// the file goes.
    bool Read(std::wstring_view source, int& kind, ByteBlock& index) const;
    /// Deletes the file and empties the node.
    void Drop();

private:
    ComPtr<IProperty> node_;
};

}  // namespace bv
