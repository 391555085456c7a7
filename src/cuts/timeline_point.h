// What the list of cuts asks of a point that is one of ours.
#pragma once

#include "com/object.h"

namespace bv {

/// The private question "are you a point of ours?".
struct ITimelinePoint : IUnknown {
    /// Stores a frame number, and nothing else happens.
    virtual void SetFrame(LONG frame) = 0;
    /// Brings the length text up to date. quietly: nothing is raised when there is no source to
    /// tell seconds by.
    virtual void TellLength(bool quietly) = 0;
};
template <>
inline constexpr IID kIid<ITimelinePoint> = GuidOf("B1B84B3C-3B0D-4C57-8F0B-6B1C55C0F2A7");

/// The frame number that a point holds; 0 for a point that isn't there or holds no number.
LONG FrameOf(IProperty* point);

}  // namespace bv
