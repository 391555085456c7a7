// Frames of a source against times: what a person types and reads beside a cut's points.
#pragma once

#include <bvschema/bvschema.h>

#include <optional>
#include <string_view>

#include "com/bstr.h"

namespace bv {

/// Frames per second of the source that a media object has open; negative if the source says so, never 0.
/// Without one, or with one that says 0, a message that names the class `raiser`, and E_FAIL.
HRESULT GetFrameRate(IDispatch* media, REFCLSID raiser, double& rate);

/// The time of a frame, "hours:minutes:seconds.ms", cut to whole milliseconds.
Bstr TimeText(LONG frame, double rate);

/// A typed time, "hours:minutes:seconds.ms", in seconds. What follows the point is whole milliseconds, three
/// digits at most, so "0:0:1.5" is 1.005 s. Numbers of any size and sign are taken. No value when one of the
/// four is missing.
std::optional<double> ParseTime(std::string_view text);

/// The frame at a typed time; what is beyond a frame number's range becomes its end.
LONG FrameAt(double seconds, double rate);

/// The length of a cut, "Length: 10 c (250 frm)", or "Length: 20 frm" when there is no whole second or
/// no rate (0).
CallBstr LengthText(LONG start, LONG end, double rate);

/// The product of a frame number and the time of a frame, or the end of the range that it would leave.
LONGLONG TimeOf(LONG frame, LONGLONG time_per_frame);

/// sum + (end - start), or the end of the range that it would leave.
LONGLONG AddSpan(LONGLONG sum, LONGLONG start, LONGLONG end);

}  // namespace bv
