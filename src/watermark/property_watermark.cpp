#include "dialogs/editor_library.h"
#include "tree/property_base.h"

namespace bv {
namespace {

constexpr NodeDecl kPages[] = {
    {.name = L"WaterMarkSource", .cls = clsid::PropertyWatermarkRoot},
    {.name = L"WaterMarkArea", .cls = clsid::PropertyWatermarkPlacement},
    {.name = L"WaterMarkFilters", .cls = clsid::PropertyWatermarkFilters},
};
constexpr NodeDecl kChildren[] = {
    {.name = L"Watermark_root",
     .title = L"Inputaa" /* sic */,
     .type = style::kCarrier | style::kInEditor,
     .children = kPages},
};
constexpr NodeDecl kWatermark = {.name = L"WaterMark",
                                 .cls = clsid::PropertyWatermark,
                                 .title = L"Watermark",
                                 .type = style::kCheckBox | style::kDialog,
                                 .description = help::kWatermark,
                                 .value = I4(0),
                                 .children = kChildren};

class PropertyWatermark : public PropertyBase {
public:
    PropertyWatermark() : PropertyBase(kWatermark) {}

protected:
    HRESULT OnShowDialog() override { return RunEditor("WaterMarkEditor", this); }
};

}  // namespace
BV_CREATOR(PropertyWatermark)
}  // namespace bv
