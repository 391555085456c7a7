// The module's string table.
#pragma once

#include <bvschema/platform.h>

#include "com/narrow.h"

namespace bv {

/// What the server itself raises or formats, by string-table id.
namespace msg {
inline constexpr int kAllFormats = 16;
inline constexpr int kNoProperty = 27;
inline constexpr int kNoInterface = 30;
inline constexpr int kNoFile = 31;
inline constexpr int kNoDocument = 32;
inline constexpr int kBadConfig = 33;
inline constexpr int kNegativeValue = 40;
inline constexpr int kBadType = 41;
inline constexpr int kStartAfterEnd = 42;
inline constexpr int kBadFrameRate = 43;
inline constexpr int kNoParser = 44;
inline constexpr int kBadTime = 46;
inline constexpr int kNoTimelines = 48;
inline constexpr int kNoMap = 49;
inline constexpr int kNoEditors = 67;
inline constexpr int kNoEditor = 68;
inline constexpr int kBadDepth = 1223;
inline constexpr int kBadAngle = 1224;
}  // namespace msg

/// The module, or in a test program the program, whose string table is read.
HINSTANCE ModuleInstance();
void SetModuleInstance(HINSTANCE instance);

/// The table's text of an id; empty, with length 0, when it has none.
int LoadMessage(HINSTANCE instance, int id, char (&buffer)[kTextLimit]);
int LoadMessageW(HINSTANCE instance, int id, wchar_t (&buffer)[kTextLimit]);

}  // namespace bv
