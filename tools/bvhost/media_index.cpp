#include <cstring>

#include "media_source.h"

namespace host {
namespace {

// "BVKF", the number of entries (4 bytes), then time and offset of each (8 bytes each), little-endian.
constexpr char kMark[] = {'B', 'V', 'K', 'F'};
constexpr size_t kHeader = 8;
constexpr size_t kEntry = 16;

void Append(std::vector<BYTE>* bytes, ULONGLONG number, int size) {
    for (int i = 0; i < size; ++i) bytes->push_back(BYTE(number >> (8 * i)));
}

ULONGLONG Take(const BYTE* bytes, int size) {
    ULONGLONG number = 0;
    for (int i = 0; i < size; ++i) number |= ULONGLONG(bytes[i]) << (8 * i);
    return number;
}

}  // namespace

std::vector<BYTE> MediaIndex::Pack() const {
    std::vector<BYTE> bytes(kMark, kMark + sizeof kMark);
    Append(&bytes, entries.size(), 4);
    for (const Entry& entry : entries) {
        Append(&bytes, ULONGLONG(entry.time), 8);
        Append(&bytes, ULONGLONG(entry.offset), 8);
    }
    return bytes;
}

std::optional<MediaIndex> MediaIndex::Unpack(const BYTE* bytes, size_t size) {
    if (!bytes || size < kHeader || std::memcmp(bytes, kMark, sizeof kMark) != 0) return {};
    const size_t count = size_t(Take(bytes + 4, 4));
    if (count > kMost || size != kHeader + count * kEntry) return {};
    MediaIndex index;
    for (const BYTE* entry = bytes + kHeader; entry != bytes + size; entry += kEntry)
        index.entries.push_back({LONGLONG(Take(entry, 8)), LONGLONG(Take(entry + 8, 8))});
    return index;
}

}  // namespace host
