#include "tree/property_base.h"
#include "xml/xml_sink.h"

namespace bv {
namespace {

constexpr int kMaxDepth = 32;  // of the input node's subtree
constexpr int kMaxVisits = 10000;

constexpr NodeDecl kChildren[] = {
    {.name = names::kOutputFileFormat, .cls = clsid::PropertyListOutFormats},
    {.name = names::kCommon, .cls = clsid::PropertyCommon},
};
constexpr NodeDecl kMain = {.name = L"Main", .cls = clsid::PropertyMain, .children = kChildren};

/// Takes a node and all below it out of the index, leaves first, by name. visits: how many nodes are still
/// walked into, as a host's nodes may hang below each other more than once.
void RemoveFromMap(IMap& map, BSTR name, IProperty* root, int depth, int& visits) {
    ComPtr<IProperty> node;
    if (depth < kMaxDepth && visits-- > 0 && map.get_Property(name, root, node.Put()) == S_OK) {
        const auto children = node.As<IEnumProperties>();
        LONG count = 0;
        if (children) std::ignore = children->get_Count(&count);
        for (LONG i = 0; i < count; ++i) {
            ComPtr<IUnknown> item;
            if (FAILED(children->get_Item(i, item.Put()))) break;
            Bstr child_name;
            if (auto child = item.As<IProperty>(); child && SUCCEEDED(child->get_Name(child_name.Put())))
                RemoveFromMap(map, child_name.get(), root, depth + 1, visits);
        }
    }
    std::ignore = map.RemoveProperties(name, root);
}

class PropertyMain : public PropertyBase, public IMainMediaPath {
public:
    using Answers = PropertyBase::Answers::With<IMainMediaPath>;
    PropertyMain() : PropertyBase(kMain) {}

    STDMETHODIMP SetMediaPath(IProperty* path) override {
        if (!path) return E_POINTER;
        const auto map = Query<IMap>(Media());
        if (!map) return E_FAIL;
        const BSTR name = names::kPathToMediaFile.get();
        int visits = kMaxVisits;
        RemoveFromMap(*map, name, this, 0, visits);
        RETURN_IF_FAILED(path->SetInfo(name, Lend(static_cast<IDispatch*>(static_cast<IProperty*>(this)))));
        RETURN_IF_FAILED(map->InsertProperty(path));
        std::ignore = path->put_MediaObject(Media());
        return S_OK;
    }

protected:
    /// The job's input list, which hangs at the media object.
    void WriteChildrenExtra(XmlSink& sink) override {
        const auto host = Query<IMediaFilesHost>(Media());
        const auto files = Query<IMediaFiles>(host.get());
        if (!files) return;
        sink.Append("<FILES>\n");
        LONG count = 0;
        std::ignore = files->get_Count(&count);
        for (LONG i = 0; i < count; ++i) {
            ComPtr<IUnknown> item;
            if (FAILED(files->get_Item(i, item.Put()))) continue;
            const auto writer = item.As<ISettingsWriter>();
            if (writer && item.As<IProperty>()) std::ignore = writer->WriteXml(&sink);
        }
        sink.Append("</FILES>\n");
    }
};

}  // namespace
BV_CREATOR(PropertyMain)
}  // namespace bv
