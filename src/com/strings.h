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

/// Help texts of nodes, by string-table id.
namespace help {
inline constexpr int kFrameRate = 93;
inline constexpr int kOutput = 94;
inline constexpr int kOutputMediaName = 95;
inline constexpr int kOutputMode = 96;
inline constexpr int kFrameSize = 97;
inline constexpr int kSplitLength = 98;
inline constexpr int kSplitExactly = 99;
inline constexpr int kFolder = 1115;
inline constexpr int kFileNamePattern = 1116;
inline constexpr int kSplit = 1117;
inline constexpr int kAction = 1118;
inline constexpr int kHasAudio = 1123;
inline constexpr int kCrop = 1133;
inline constexpr int kFrameFilters = 1156;
inline constexpr int kPicture = 1160;
inline constexpr int kTimelineOutput = 1162;
inline constexpr int kTimelineOutputMode = 1163;
inline constexpr int kTimelineOutputMediaName = 1164;
inline constexpr int kTimelineStart = 1166;
inline constexpr int kTimelineEnd = 1167;
inline constexpr int kOverwrite = 1201;
inline constexpr int kWatermark = 1225;
inline constexpr int kFilters = 1226;
inline constexpr int kWatermarkSource = 1228;
inline constexpr int kWatermarkImage = 1230;
inline constexpr int kWatermarkTransparentColor = 1231;
inline constexpr int kWatermarkImageLeft = 1232;
inline constexpr int kWatermarkImageTop = 1233;
inline constexpr int kWatermarkTextAcross = 1234;
inline constexpr int kWatermarkTextDown = 1235;
inline constexpr int kWatermarkText = 1236;
inline constexpr int kWatermarkTextColor = 1237;
inline constexpr int kWatermarkFont = 1238;
inline constexpr int kWatermarkBackgroundColor = 1239;
inline constexpr int kWatermarkBackgroundMode = 1240;
inline constexpr int kWatermarkLeft = 1241;
inline constexpr int kWatermarkRight = 1242;
inline constexpr int kWatermarkTop = 1243;
inline constexpr int kWatermarkBottom = 1244;
inline constexpr int kWatermarkTransparency = 1245;
inline constexpr int kWatermarkOrientation = 1246;
}  // namespace help

/// The module, or in a test program the program, whose string table is read.
HINSTANCE ModuleInstance();
void SetModuleInstance(HINSTANCE instance);

/// The table's text of an id; empty, with length 0, when it has none.
int LoadMessage(HINSTANCE instance, int id, char (&buffer)[kTextLimit]);
int LoadMessageW(HINSTANCE instance, int id, wchar_t (&buffer)[kTextLimit]);

}  // namespace bv
