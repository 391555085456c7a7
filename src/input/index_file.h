// The .idx cache: a host's index of a source, kept in a file of its own beside the module.
#pragma once

#include <bvschema/platform.h>

#include <optional>
#include <string_view>

#include "com/byte_block.h"

namespace bv {

/// What ties an index to its source: the size of a file, as its high or its low half; for a folder the sum of
/// its entries; 0 when there is nothing there. None: no memory to find out.
std::optional<ULONGLONG> Fingerprint(std::wstring_view source);

/// The file that an IDX value names. A name with a separator, a colon or ".." names none.
class IndexFile {
public:
    /// A name that can't lead out of the folder of the indexes.
    static bool IsSafeName(std::wstring_view name);

    explicit IndexFile(std::wstring_view name);
    explicit operator bool() const { return path_[0] != 0; }

    /// False: it couldn't be written, and isn't there.
    bool Write(ULONGLONG fingerprint, int kind, const ByteBlock& index) const;
    enum class Reading { kMissing, kGood, kStale };
    /// kMissing: there is none, or no memory for it. kStale: of another source, or damaged. The block is
    /// empty unless kGood.
    Reading Read(ULONGLONG fingerprint, int& kind, ByteBlock& index) const;
    void Delete() const;

private:
    wchar_t path_[MAX_PATH] = {};
};

}  // namespace bv
