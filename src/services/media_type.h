// Copies of the media framework's media type.
#pragma once

#include <bvschema/platform.h>

namespace bv {

/// A deep copy over what target holds, which is not freed: the format block is copied, pUnk gets a reference. Without
/// memory for the block the copy has none.
void CopyMediaType(AM_MEDIA_TYPE& target, const AM_MEDIA_TYPE& source);
/// Frees what a copy owns, and leaves it empty.
void ClearMediaType(AM_MEDIA_TYPE& type);

}  // namespace bv
