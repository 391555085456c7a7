#include "dialogs/path_node.h"

namespace bv {
namespace {

constexpr NodeDecl kPlace[] = {
    {.name = L"WaterMarkLogoImageLeft", .title = L"Left", .type = 1, .description = 1232, .value = I4(0)},
    {.name = L"WaterMarkLogoImageTop", .title = L"Top", .type = 1, .description = 1233, .value = I4(0)},
    {.name = L"WaterMarkLogoImageSize", .cls = clsid::PropertyWatermarkImageSize},
};
constexpr NodeDecl kChildren[] = {
    {.name = L"WatermarkTransparentColor" /* sic: a small m */,
     .cls = clsid::PropertyWatermarkBackgroundColor,
     .title = L"Transparent Color",
     .description = 1231,
     .value = Text(L"")},
    {.name = L"WaterMarkImageLogoPlacement", .title = L"Image Rect", .type = 0xC0, .children = kPlace},
};
constexpr NodeDecl kSrcImage = {.cls = clsid::PropertyWatermarkSrcImage,
                                .title = L"Image",
                                .type = 9,
                                .description = 1230,
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
