// The test module.
#pragma once

#include <filesystem>

#include "support/environment.h"
#include "support/names.h"
#include "support/registry.h"

namespace bv::test {

inline constexpr CLSID kProbe = {
    0x5A1E0001, 0x21B4, 0x4C0B, {0x9A, 0x55, 0x10, 0x6E, 0x3B, 0x7C, 0x44, 0x01}};
inline constexpr CLSID kSecondProbe = {
    0x5A1E0002, 0x21B4, 0x4C0B, {0x9A, 0x55, 0x10, 0x6E, 0x3B, 0x7C, 0x44, 0x01}};
/// The probe's answer to a creation with an outer object.
inline constexpr HRESULT kOuterSeen = HRESULT(0x80040250);

inline std::filesystem::path ProbePath() {
    return BinFolder() / std::filesystem::path("BVProbe").replace_extension(PathOf(kModuleFile).extension());
}

}  // namespace bv::test
