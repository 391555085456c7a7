#include "dialogs/path_node.h"

namespace bv {
namespace {

constexpr NodeDecl kPlace[] = {
    {.name = L"WaterMarkLogoImageLeft",
     .title = L"Left",
     .type = style::kEdit,
     .description = help::kWatermarkImageLeft,
     .value = I4(0)},
    {.name = L"WaterMarkLogoImageTop",
     .title = L"Top",
     .type = style::kEdit,
     .description = help::kWatermarkImageTop,
     .value = I4(0)},
    {.name = L"WaterMarkLogoImageSize", .cls = clsid::PropertyWatermarkImageSize},
};
constexpr NodeDecl kChildren[] = {
    {.name = L"WatermarkTransparentColor" /* sic: a small m */,
     .cls = clsid::PropertyWatermarkBackgroundColor,
     .title = L"Transparent Color",
     .description = help::kWatermarkTransparentColor,
     .value = Text(L"")},
    {.name = L"WaterMarkImageLogoPlacement",
     .title = L"Image Rect",
     .type = style::kGroup | style::kHeading,
     .children = kPlace},
};
constexpr NodeDecl kSrcImage = {.cls = clsid::PropertyWatermarkSrcImage,
                                .title = L"Image",
                                .type = style::kEdit | style::kDialog,
                                .description = help::kWatermarkImage,
                                .value = Text(L""),
                                .children = kChildren};

class PropertyWatermarkSrcImage : public PathNode {
public:
    PropertyWatermarkSrcImage() : PathNode(kSrcImage) {}

protected:
    HRESULT OnShowDialog() override { return PickFile(L"Image"); }
};

}  // namespace
BV_CREATOR(PropertyWatermarkSrcImage)
}  // namespace bv
