#include "tree/property_base.h"

namespace bv {
namespace {

constexpr NodeDecl kChildren[] = {
    {.name = names::kMode, .cls = clsid::PropertyOutputMode},
    {.name = names::kOutputMediaName, .cls = clsid::PropertyOutputMediaName},
    {.name = names::kDestinationPath, .cls = clsid::PropertyFolder, .hidden = true},
    {.name = names::kFileNamePattern,
     .title = L"File Name Pattern",
     .type = style::kEdit,
     .description = help::kFileNamePattern,
     .value = Text(L"{SOURCE_FILE_NAME}"),
     .hidden = true},
    {.name = names::kIsSplit, .cls = clsid::PropertySplit, .hidden = true},
    {.name = L"Overwrite",
     .title = L"Owerwrite" /* sic */,
     .type = style::kCheckBox,
     .description = help::kOverwrite,
     .value = I4(1)},
};
constexpr NodeDecl kOutput = {.name = L"Output",
                              .cls = clsid::PropertyOutput,
                              .title = L"Output",
                              .type = style::kGroup | style::kHeading,
                              .description = help::kOutput,
                              .children = kChildren};

class PropertyOutput : public PropertyBase {
public:
    PropertyOutput() : PropertyBase(kOutput) {}

protected:
    HRESULT BuildChildren() override {
        RETURN_IF_FAILED(Build(kOutput));
        return put_Active(1);
    }
};

}  // namespace
BV_CREATOR(PropertyOutput)
}  // namespace bv
