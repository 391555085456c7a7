// What a host knows of an input file before it encodes it.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <bvschema/host/media.h>

namespace host {

using bv::MediaInfo;

/// The key frames of a file, as a host keeps them with the input.
struct MediaIndex {
    struct Entry {
        LONGLONG time;
        LONGLONG offset;  // in bytes, from the file's beginning
    };
    static constexpr int kKind = 0x4B46;   // how we mark our index among those of other hosts
    static constexpr size_t kMost = 4096;  // longer files keep every second, fourth ... key frame
    std::vector<Entry> entries;
    std::string damage;  // why it isn't whole; empty: the file was read to its end

    std::vector<BYTE> Pack() const;
    /// No value when the bytes are no index of ours.
    static std::optional<MediaIndex> Unpack(const BYTE* bytes, size_t size);
};

/// Reads a real file. Throws Problem when it can't.
MediaInfo ReadMedia(const std::wstring& path);
/// The index of a real file; no value where this program has no means to make one.
std::optional<MediaIndex> ReadIndex(const std::wstring& path);
/// Whether ReadMedia can read at all.
bool CanReadMedia();

}  // namespace host
