// The filter objects that stand among the settings of a frame.
#pragma once

#include "tree/node_decl.h"

namespace bv {

inline constexpr FilterDecl kSizeFilter = {L"Size", clsid::FrameSizeFilter};
inline constexpr FilterDecl kCropFilter = {L"Crop", clsid::CropFilter};

}  // namespace bv
