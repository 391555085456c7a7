#include "core/property_base.h"
#include "server/messages.h"

namespace bv {
namespace {

constexpr LONG kFullTurn = 360;  // degrees, either way
constexpr NodeDecl kUnit = {.type = 0x20000, .value = Text(L"degree")};
constexpr NodeDecl kOrientation = {.cls = clsid::PropertyTextOrientation,
                                   .title = L"Orientation",
                                   .type = 1,
                                   .value = I4(0),
                                   .extension = &kUnit};

class PropertyTextOrientation : public PropertyBase {
public:
    PropertyTextOrientation() : PropertyBase(kOrientation) {}

    STDMETHODIMP put_Value(VARIANT newVal) override {
        if (!HasStore()) return E_NOTIMPL;
        Variant degrees;
        RETURN_IF_FAILED(degrees.ChangeFrom(newVal, VT_I2));
        if (degrees.iVal < -kFullTurn || degrees.iVal > kFullTurn) return RaiseMessage(ClassId(), msg::kBadAngle);
        return StoreQuietly(newVal);  // as given, no hooks
    }
};

}  // namespace
BV_CREATOR(PropertyTextOrientation)
}  // namespace bv
