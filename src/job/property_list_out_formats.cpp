#include "components/mapper.h"
#include "tree/property_base.h"

namespace bv {
namespace {

constexpr NodeDecl kFormats = {.name = L"OutFormats", .cls = clsid::PropertyListOutFormats};

/// The choice of the output format: format objects found on the machine when the tree is built. A format's
/// tree is switched by the active flag alone.
class PropertyListOutFormats : public PropertyBase {
public:
    PropertyListOutFormats() : PropertyBase(kFormats) {}

protected:
    HRESULT BuildChildren() override {
        bool any = false;
        ForEachRegistered(category::OutputFormats, [&](tagGUIDREG& found) {
            std::ignore = Values()->AddObject(&found.clsGUID);
            any = true;
        });
        ComPtr<IUnknown> entry;
        if (!any || FAILED(Values()->get_Item(0, entry.Put()))) return S_OK;
        Variant first;
        if (auto item = entry.As<IListItem>(); !item || FAILED(item->get_Value(first.Put()))) return S_OK;
        std::ignore = StoreQuietly(first);
        if (auto format = Query<IOutputFormatInfo>(ObjectOf(first));
            format && format->SetOwner(nullptr) == S_OK)
            Activate(first, 1);
        return S_OK;
    }

    void OnValueChanging() override { Activate(Stored(), 0); }

    void OnValueChanged() override {
        const auto format = Query<IOutputFormatInfo>(ObjectOf(Stored()));
        if (format && SUCCEEDED(format->SetOwner(this))) Activate(Stored(), 1);
    }

private:
    static void Activate(const VARIANT& format, LONG active) {
        if (auto node = Query<IProperty>(ObjectOf(format))) std::ignore = node->put_Active(active);
    }
};

}  // namespace
BV_CREATOR(PropertyListOutFormats)
}  // namespace bv
