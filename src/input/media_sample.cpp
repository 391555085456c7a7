#include "input/media_sample.h"

#include <atomic>
#include <cstring>

#include "input/media_type.h"

namespace bv {
namespace {

constexpr LONG kMaxSamples = 201;  // nodes of the process that hold one

std::atomic<LONG> sample_count{0};

bool TakePlace() {
    if (sample_count.fetch_add(1) < kMaxSamples) return true;
    --sample_count;
    return false;
}

}  // namespace

HRESULT MediaSample::Put(const BYTE* data, LONG size, const AM_MEDIA_TYPE& type, LONG type_size) {
    if (type_ || !TakePlace()) return S_FALSE;
    ByteBlock data_copy, type_copy;
    bool made = data_copy.Assign(data, size_t(size)) && type_copy.Allocate(size_t(type_size));
    if (made) {
        std::memset(type_copy.data(), 0, type_copy.size());
        made = CopyMediaType(*reinterpret_cast<AM_MEDIA_TYPE*>(type_copy.data()), type);
    }
    if (!made) {
        --sample_count;
        return E_OUTOFMEMORY;
    }
    // Copying has counted on an object of the host's, which may have put a sample of its own.
    const bool first = !type_;
    if (first) {
        data_.Swap(data_copy);
        type_.Swap(type_copy);
        return S_OK;
    }
    ClearMediaType(*reinterpret_cast<AM_MEDIA_TYPE*>(type_copy.data()));
    --sample_count;
    return S_FALSE;
}

void MediaSample::Drop() {
    if (!type_) return;
    ByteBlock data,
        type;  // out of the node before the host's object goes, whose end may come back to the node
    data_.Swap(data);
    type_.Swap(type);
    --sample_count;
    ClearMediaType(*reinterpret_cast<AM_MEDIA_TYPE*>(type.data()));
}

}  // namespace bv
