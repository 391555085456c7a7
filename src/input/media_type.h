// Copies of the media framework's media type.
#pragma once

#include <bvschema/platform.h>

namespace bv {

/// A deep copy over what target holds, which is not freed: the format block is copied, pUnk gets a reference.
/// False: there is no memory for the block, and target is as before.
bool CopyMediaType(AM_MEDIA_TYPE& target, const AM_MEDIA_TYPE& source);
/// Frees what a copy owns, and leaves it empty.
void ClearMediaType(AM_MEDIA_TYPE& type);

}  // namespace bv
