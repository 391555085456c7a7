// The two points of a cut: frame numbers of the source, the second not before the first.
#include "com/refusal.h"
#include "cuts/frame_time.h"
#include "cuts/timeline_point.h"
#include "tree/node_values.h"
#include "tree/property_base.h"

namespace bv {
namespace {

constexpr NodeDecl kUnit = {.cls = clsid::PropertyTimelinePointType};
constexpr NodeDecl kStart = {.name = names::kStartFrm,
                             .cls = clsid::PropertyTimelineStartPoint,
                             .title = L"Start point",
                             .type = style::kEdit | style::kByFormat,
                             .description = help::kTimelineStart,
                             .value = I4(0),
                             .extension = &kUnit};
constexpr NodeDecl kEnd = {.name = names::kEndFrm,
                           .cls = clsid::PropertyTimelineEndPoint,
                           .title = L"End point",
                           .type = style::kEdit | style::kByFormat,
                           .description = help::kTimelineEnd,
                           .value = I4(0),
                           .extension = &kUnit};

class Point : public PropertyBase, public ITimelinePoint {
public:
    using Answers = PropertyBase::Answers::With<ITimelinePoint>;
    Point(const NodeDecl& decl, Name other, bool is_start)
        : PropertyBase(decl), other_(other), is_start_(is_start) {}
    void SetFrame(LONG frame) override { std::ignore = StoreQuietly(Variant(I4(frame))); }
    /// The text is the description of the node above.
    void TellLength(bool quietly) override {
        const auto points = Query<IProperty>(Parent());
        if (!points) return;
        const auto other = Find(points.get(), other_);
        const LONG own_frame = FrameOf(this), other_frame = FrameOf(other.get());
        double rate = 0;  // stays so without a source: frames can be counted all the same
        if (!quietly || Media()) std::ignore = GetFrameRate(Media(), ClassId(), rate);
        const LONG start = is_start_ ? own_frame : other_frame, end = is_start_ ? other_frame : own_frame;
        std::ignore = points->put_Description(LengthText(start, end, rate).get());
    }

protected:
    HRESULT OnFormatChanged(const VARIANT& value) override {
        const auto points = Query<IProperty>(Parent());
        const auto other = points ? Find(points.get(), other_) : nullptr;
        if (!other) return S_OK;
        Variant stored, limit, frame;
        std::ignore = other->get_Value(stored.Put());
        if (const HRESULT status = limit.ChangeFrom(stored, VT_I4); FAILED(status))
            return Refuse(msg::kBadType, status);
        if (const HRESULT status = frame.ChangeFrom(value, VT_I4); FAILED(status))
            return Refuse(msg::kBadType, status);
        if (frame.lVal < 0) return Refuse(msg::kNegativeValue, E_FAIL);
        const bool crossed = is_start_ ? frame.lVal > limit.lVal : frame.lVal < limit.lVal;
        return crossed ? Refuse(msg::kStartAfterEnd, E_FAIL) : S_OK;
    }
    void OnValueChanged() override { TellLength(false); }

private:
    HRESULT Refuse(int message, HRESULT status) {
        std::ignore = RaiseMessage(ClassId(), message);
        return status;
    }

    const Name other_;
    const bool is_start_;
};

class PropertyTimelineStartPoint : public Point {
public:
    PropertyTimelineStartPoint() : Point(kStart, names::kEndFrm, true) {}
};

class PropertyTimelineEndPoint : public Point {
public:
    PropertyTimelineEndPoint() : Point(kEnd, names::kStartFrm, false) {}
};

}  // namespace

LONG FrameOf(IProperty* point) { return NumberOf(point, VT_I4).value_or(0); }

BV_CREATOR(PropertyTimelineStartPoint)
BV_CREATOR(PropertyTimelineEndPoint)
}  // namespace bv
