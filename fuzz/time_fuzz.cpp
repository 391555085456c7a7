// A typed time, a frame and a source of any timing: 8 bytes time of a frame, 4 bytes frame, 1 byte unit,
// then the text.
#include <cstdint>
#include <cstring>

#include "com/object.h"
#include "com/variant.h"
#include "cuts/frame_time.h"
#include "host.h"
#include "support/media.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::StartServer();
    if (size < 13) return 0;
    static bv::test::MediaDouble media;
    static const auto cut = [] {
        bv::ComPtr<IProperty> timeline;
        if (FAILED(bv::Create(bv::clsid::PropertyTimeline, timeline))) std::abort();
        timeline->SetMediaObject(media.dispatch());
        return timeline;
    }();
    LONG frame = 0;
    std::memcpy(&media.time_per_frame, data, 8);
    std::memcpy(&frame, data + 8, 4);
    // A refusal for want of a rate is looked up in the registry, which takes its time and is
    // another target's affair.
    if (media.time_per_frame == 0) media.time_per_frame = 1;
    const std::string_view text(reinterpret_cast<const char*>(data + 13), size - 13);

    const double rate = 10000000 / double(media.time_per_frame);
    std::ignore = bv::TimeText(frame, rate);
    std::ignore = bv::LengthText(frame, LONG(text.size()) - frame / 2, rate);
    const LONGLONG time = bv::TimeOf(frame, media.time_per_frame);
    std::ignore = bv::AddSpan(time, media.time_per_frame, bv::TimeOf(-1, media.time_per_frame));
    const auto typed = bv::ParseTime(text);

    bv::ComPtr<IProperty> start, unit;
    cut->FindProperty(bv::ConstBstr(L"StartFrm").get(), start.Put());
    start->get_Extension(unit.Put());
    bv::Variant shown, kind;
    kind.vt = VT_I4;
    kind.lVal = data[12];
    unit->put_Value(kind);
    bv::Variant value;
    value.vt = VT_I4;
    value.lVal = frame;
    if (start->put_Value(value) != S_OK || start->get_Format(shown.Put()) != S_OK) std::abort();
    if (typed && bv::FrameAt(*typed, rate) >= 0) std::ignore = start->put_Format(shown);
    return 0;
}
