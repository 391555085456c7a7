#include "com/refusal.h"
#include "cuts/frame_time.h"
#include "tree/simple_node.h"

namespace bv {
namespace {

enum Unit : LONG { kFrames = 0, kTime = 2 };
constexpr Choice kUnits[] = {{L"Time", I4(kTime)}, {L"Frm", I4(kFrames)}};
constexpr NodeDecl kPointType = {.cls = clsid::PropertyTimelinePointType,
                                 .type = style::kList | style::kRedraws,
                                 .value = I4(kFrames),
                                 .choices = kUnits};

/// Whether a cut's point is read and typed as a frame number or as a time.
/// The point itself always holds frames.
class PropertyTimelinePointType : public SimpleNode, public IValueFormat {
public:
    using Answers = SimpleNode::Answers::With<IValueFormat>;
    PropertyTimelinePointType() : SimpleNode(kPointType) {}

    STDMETHODIMP put_Value(VARIANT newVal) override {
        OnValueChanging();
        std::ignore = StoreQuietly(newVal);
        OnValueChanged();
        return S_OK;
    }
    STDMETHODIMP put_Description(BSTR) override { return S_OK; }

    STDMETHODIMP ParseValue(VARIANT shown, VARIANT* stored) override {
        if (!stored) return E_POINTER;
        if (!IsTime() || shown.vt != VT_BSTR) {
            Variant copy;
            copy.CopyFrom(shown);
            copy.DetachTo(stored);
            return S_OK;
        }
        const NarrowText text(View(shown.bstrVal));
        // The text is looked at before the source is: what was typed is the person's own to put right.
        const auto time = ParseTime(text.View());
        if (!time) return RaiseMessage(ClassId(), msg::kBadTime);
        double rate = 0;
        RETURN_IF_FAILED(GetFrameRate(Media(), ClassId(), rate));
        Variant(I4(FrameAt(*time, rate))).DetachTo(stored);
        return S_OK;
    }
    STDMETHODIMP FormatValue(VARIANT* value) override {
        if (!value) return E_POINTER;
        if (!IsTime()) return S_OK;
        Variant frame;
        RETURN_IF_FAILED(frame.ChangeFrom(*value, VT_I4));
        double rate = 0;
        RETURN_IF_FAILED(GetFrameRate(Media(), ClassId(), rate));
        Variant text;
        text.bstrVal = TimeText(frame.lVal, rate).Detach();
        if (!text.bstrVal) return E_OUTOFMEMORY;
        text.vt = VT_BSTR;
        VariantClear(value);
        text.DetachTo(value);
        return S_OK;
    }

private:
    bool IsTime() const {
        Variant unit;
        return SUCCEEDED(unit.ChangeFrom(Stored(), VT_I2)) && unit.iVal == kTime;
    }
};

}  // namespace
BV_CREATOR(PropertyTimelinePointType)
}  // namespace bv
