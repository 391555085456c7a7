#include <charconv>

#include "dialogs/dialogs.h"
#include "dialogs/user_key.h"
#include "tree/simple_node.h"
#include "watermark/colour.h"

namespace bv {
namespace {

constexpr NodeDecl kColor = {.cls = clsid::PropertyWatermarkBackgroundColor,
                             .title = L"Color",
                             .type = 9,
                             .description = 1237,
                             .value = Text(L"0x000000")};

constexpr char kCustomKey[] = "Software\\Brenvaltide Software\\Brenvaltide\\Color";
constexpr DWORD kWhite = 0xFFFFFF;

/// The colours that a person mixed in the dialog, shared by all colours of a job and kept per user.
class CustomColors {
public:
    CustomColors() {
        for (size_t i = 0; i < kCustomColors; ++i) colors[i] = key_.Number(Name(i)).value_or(kWhite);
    }
    void Save() {
        for (size_t i = 0; i < kCustomColors; ++i) key_.PutNumber(Name(i), colors[i]);
    }
    DWORD colors[kCustomColors];

private:
    const char* Name(size_t index) {
        *std::to_chars(name_, name_ + 2, index).ptr = 0;
        return name_;
    }
    UserKey key_{kCustomKey};
    char name_[3];  // "0" to "15"
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
