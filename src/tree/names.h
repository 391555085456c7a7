// Names that one place gives a node and another looks for. They can be passed as BSTR without a copy.
#pragma once

#include "com/bstr.h"

namespace bv {

class Name {
public:
    template <size_t N>
    constexpr Name(const ConstBstr<N>& text) : text_(text.text) {}  // NOLINT: a constant text is a name
    BSTR bstr() const { return const_cast<BSTR>(text_); }
    constexpr operator const wchar_t*() const { return text_; }  // NOLINT: and a name is a text

private:
    const wchar_t* text_;
};

namespace names {
inline constexpr ConstBstr kAction = L"Action";
inline constexpr ConstBstr kAudio = L"Audio";
inline constexpr ConstBstr kCommon = L"Common";
inline constexpr ConstBstr kDestinationPath = L"DestinationPath";
inline constexpr ConstBstr kEndFrm = L"EndFrm";
inline constexpr ConstBstr kExactly = L"Exactly";
inline constexpr ConstBstr kFileNamePattern = L"FileNamePattern";
inline constexpr ConstBstr kFormatDate = L"FORMAT_d";
inline constexpr ConstBstr kFormatIndex = L"FORMAT_i";
inline constexpr ConstBstr kFormatTime = L"FORMAT_t";
inline constexpr ConstBstr kIdx = L"IDX";
inline constexpr ConstBstr kInterleave = L"Interleave";
inline constexpr ConstBstr kIsInterleave = L"IsInterleave";
inline constexpr ConstBstr kIsSplit = L"IsSplit";
inline constexpr ConstBstr kMode = L"Mode";
inline constexpr ConstBstr kOutput = L"Output";
inline constexpr ConstBstr kOutputFileFormat = L"OutputFileFormat";
inline constexpr ConstBstr kOutputMediaName = L"OutputMediaName";
inline constexpr ConstBstr kPathToMediaFile = L"PathToMediaFile";
inline constexpr ConstBstr kSplitLength = L"SplitLength";
inline constexpr ConstBstr kStartFrm = L"StartFrm";
inline constexpr ConstBstr kTimelines = L"Timelines";
inline constexpr ConstBstr kTimeline = L"Timeline";
inline constexpr ConstBstr kTimelineDestinationPath = L"TimelineDestinationPath";
inline constexpr ConstBstr kTimelineFileNamePattern = L"TimelineFileNamePattern";
inline constexpr ConstBstr kTimelineOutputMediaName = L"TimelineOutputMediaName";
inline constexpr ConstBstr kWaterMarkSrcImage = L"WaterMarkSrcImage";
inline constexpr ConstBstr kWaterMarkSrcText = L"WaterMarkSrcText";
}  // namespace names
}  // namespace bv
