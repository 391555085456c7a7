// What has been read of the registry, kept in memory for as long as the file stays as it was.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "windef.h"

namespace bv::platform {

using KeyId = long long;

struct Value {
    std::string name;
    DWORD type = 0;
    std::string data;
};

class Mirror {
public:
    struct Subkey {
        std::string folded, name;
        KeyId id;
    };
    struct Entry {
        std::string folded;
        Value value;
        long long id;  // in the order of their creation
    };
    /// A list that is read whole or not at all.
    template <class Item>
    struct List {
        enum { kUnread, kRead, kTooLong } state = kUnread;
        std::vector<Item> items;
    };
    struct Key {
        std::optional<bool> exists;
        std::vector<Subkey> asked;  // the first few, before the list is read; id 0: there is none
        List<Subkey> subkeys;       // in the order of their folded names
        List<Entry> entries;        // in the order of their creation
    };
    // What is longer isn't kept: the file is asked for one item, each time.
    static constexpr size_t kMostAsked = 8;  // of many subkeys often one is looked for
    static constexpr size_t kMostItems = 1000;
    static constexpr size_t kLongestItem = 4096;  // bytes

    /// It stays where it is until Clear().
    Key& operator[](KeyId id) { return keys_[id]; }
    void Clear() {
        keys_.clear();
        bytes_ = 0;
    }
    bool IsEmpty() const { return keys_.empty(); }
    /// Tells of bytes that have been put in.
    void Count(size_t bytes) { bytes_ += bytes; }
    /// There is more than should be kept for the next call.
    bool IsFull() const { return bytes_ > kMostBytes || keys_.size() > kMostKeys; }

private:
    static constexpr size_t kMostBytes = 4u << 20;
    static constexpr size_t kMostKeys = 20000;
    std::unordered_map<KeyId, Key> keys_;
    size_t bytes_ = 0;
};

}  // namespace bv::platform
