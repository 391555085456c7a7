#include <string>

#include "com/registry_key.h"
#include "dialogs/dialogs.h"
#include "tree/simple_node.h"
#include "watermark/colour.h"

namespace bv {
namespace {

constexpr NodeDecl kColor = {.cls = clsid::PropertyWatermarkBackgroundColor,
                             .title = L"Color",
                             .type = style::kEdit | style::kDialog,
                             .description = help::kWatermarkTextColor,
                             .value = Text(L"0x000000")};

constexpr char kCustomKey[] = "Software\\Brenvaltide Software\\Brenvaltide\\Color";
constexpr DWORD kWhite = 0xFFFFFF;

/// The colours that a person mixed in the dialog, shared by all colours of a job and kept per user. The key
/// is opened anew to save them: while a dialog is shown anything may have become of it.
struct CustomColors {
    CustomColors() {
        const auto key = RegistryKey::Create(HKEY_CURRENT_USER, kCustomKey);
        for (size_t i = 0; i < kCustomColors; ++i)
            colors[i] = key.Number(std::to_string(i).c_str()).value_or(kWhite);
    }
    void Save() const {
        const auto key = RegistryKey::Create(HKEY_CURRENT_USER, kCustomKey);
        for (size_t i = 0; i < kCustomColors; ++i) key.PutNumber(std::to_string(i).c_str(), colors[i]);
    }
    DWORD colors[kCustomColors];
};

/// A colour of any use. Any text may be put here; what can't be read as a colour counts as black.
class PropertyWatermarkBackgroundColor : public SimpleNode {
public:
    PropertyWatermarkBackgroundColor() : SimpleNode(kColor) {}

protected:
    const CLSID& PathClass() const override { return ClassId(); }
    HRESULT OnShowDialog() override try {
        CustomColors custom;
        DWORD color = ReadColour(TextOf(Stored()));
        if (!Dialogs().choose_color(color, custom.colors)) return S_FALSE;
        RETURN_IF_FAILED(StoreQuietly(ColourToText(color)));
        OnValueChanged();
        custom.Save();
        return S_OK;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
};

}  // namespace
BV_CREATOR(PropertyWatermarkBackgroundColor)
}  // namespace bv
