#include "tree/property_base.h"

namespace bv {
namespace {

constexpr NodeDecl kChildren[] = {{.name = L"AudioSrcPath", .cls = clsid::PropertySimplePath}};
constexpr NodeDecl kAudioSrc = {.cls = clsid::PropertyAudioSrc,
                                .title = L"Audio Source",
                                .type = style::kGroup | style::kHeading,
                                .children = kChildren};

class PropertyAudioSrc : public PropertyBase {
public:
    PropertyAudioSrc() : PropertyBase(kAudioSrc) {}
};

}  // namespace
BV_CREATOR(PropertyAudioSrc)
}  // namespace bv
