// The sample of a source that a host leaves with an input.
#pragma once

#include <bvschema/platform.h>

#include "com/byte_block.h"

namespace bv {

/// A block of bytes and its media type. Only so many of a process hold one at a time.
class MediaSample {
public:
    MediaSample() = default;
    MediaSample(const MediaSample&) = delete;
    ~MediaSample() { Drop(); }

    explicit operator bool() const { return bool(type_); }
    /// Deep copies. type_size: the room that the host wants behind the type. S_FALSE: there is one already,
    /// or too many nodes hold one.
    HRESULT Put(const BYTE* data, LONG size, const AM_MEDIA_TYPE& type, LONG type_size);
    void Drop();

    const ByteBlock& Data() const { return data_; }
    AM_MEDIA_TYPE* Type() const { return reinterpret_cast<AM_MEDIA_TYPE*>(type_.data()); }
    size_t TypeSize() const { return type_.size(); }

private:
    ByteBlock data_;
    ByteBlock type_;  // an AM_MEDIA_TYPE, with the room behind it
};

}  // namespace bv
