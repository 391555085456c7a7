// The classes of this module.
#pragma once

#include <bvschema/bvschema.h>

namespace sample {

inline constexpr CLSID kAviFormat = bv::GuidOf("277745C1-2834-4485-B12A-52CBF127694F");
inline constexpr CLSID kMp4Format = bv::GuidOf("8228FED1-E905-4B78-86B1-AE1DAFBD0EED");
inline constexpr CLSID kPngFormat = bv::GuidOf("B76B1D0C-9A47-4B1E-8F6E-2C0D51B7A3F4");
inline constexpr CLSID kThumbnailAction = bv::GuidOf("8830AE16-25B5-49DF-94E1-1D2EAA8BE6EE");
inline constexpr CLSID kGrainFilter = bv::GuidOf("5E0B64D1-7C3A-4E0C-9B0E-4A5F7D1C2E93");

HRESULT CreateAviFormat(REFIID iid, void** out);
HRESULT CreateMp4Format(REFIID iid, void** out);
HRESULT CreatePngFormat(REFIID iid, void** out);
HRESULT CreateThumbnailAction(REFIID iid, void** out);
HRESULT CreateFrameSizeFilter(REFIID iid, void** out);
HRESULT CreateCropFilter(REFIID iid, void** out);
HRESULT CreateGrainFilter(REFIID iid, void** out);

}  // namespace sample
