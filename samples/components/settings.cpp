#include "settings.h"

namespace sample {
namespace {

VARIANT Number(LONG number) {
    VARIANT value;
    VariantInit(&value);
    value.vt = VT_I4;
    value.lVal = number;
    return value;
}

void SetUnit(IProperty* node, ISimpleInit* init, const wchar_t* unit) {
    CLSID simple = bv::clsid::PropertySimple;
    if (FAILED(init->SetExtensionClass(&simple))) return;
    Ref<IProperty> extension;
    Ref<ISimpleInit> extension_init;
    if (FAILED(node->get_Extension(extension.Put())) || !extension_init.AskedOf(extension.operator->()))
        return;
    const Text text(unit);
    VARIANT value;
    VariantInit(&value);
    value.vt = VT_BSTR;
    value.bstrVal = text;
    extension_init->SetType(bv::style::kLabel);
    extension_init->put_Value(value);
}

HRESULT SetUpSimple(IUnknown* object, const Setting& setting) {
    Ref<IProperty> node;
    Ref<ISimpleInit> init;
    if (!node.AskedOf(object) || !init.AskedOf(object)) return E_NOINTERFACE;
    init->SetTitle(Text(setting.title));
    init->SetType(setting.style);
    if (setting.description) init->put_Description(Text(setting.description));
    if (setting.description_id) init->put_DescriptionID(setting.description_id);
    for (const Choice& choice : setting.choices) init->AddItem(Text(choice.label), Number(choice.value));
    if (setting.unit) SetUnit(node.operator->(), init.operator->(), setting.unit);
    if (setting.style != kSection) init->put_Value(Number(setting.value));
    return S_OK;
}

}  // namespace

HRESULT SetUp(IUnknown* object, const Setting& setting) {
    Ref<IProperty> node;
    Ref<IEnumProperties> children;
    if (!node.AskedOf(object) || !children.AskedOf(object)) return E_NOINTERFACE;
    VARIANT no_parent;
    VariantInit(&no_parent);
    node->SetInfo(Text(setting.name), no_parent);
    if (setting.cls == bv::clsid::PropertySimple) {
        const HRESULT status = SetUpSimple(object, setting);
        if (FAILED(status)) return status;
    }
    for (const Setting& below : setting.children) {
        CLSID cls = below.cls;
        Ref<IProperty> child;
        HRESULT status = children->InsertProperty(Text(below.name), &cls, child.Put());
        if (SUCCEEDED(status)) status = SetUp(child.operator->(), below);
        if (FAILED(status)) return status;
    }
    return S_OK;
}

}  // namespace sample
