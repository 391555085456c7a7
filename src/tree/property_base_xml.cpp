// The element form of the settings: how a node writes itself.
#include "tree/child_list.h"
#include "xml/xml_sink.h"

namespace bv {
namespace {

constexpr int kObjectType = 72;  // what "type" says of every object value

Bstr ClassText(const GUID& cls) { return Bstr(GuidText(cls).View()); }

/// The text of an object value: what the object says of itself, else its label in the node's value list.
/// False: none.
bool ObjectText(IProperty* node, const ValuesRef& values, IUnknown* object, Bstr& text) {
    if (auto item = Query<IFilterItem>(object); item && item->get_Text(text.Put()) == S_OK) return true;
    CLSID cls;
    if (auto filter = Query<IBaseFilter>(object); filter && filter->GetClassID(&cls) == S_OK) {
        text = ClassText(cls);
        return true;
    }
    if (auto format = Query<IOutputFormatInfo>(object); format && format->GetClassID(&cls) == S_OK) {
        text = ClassText(cls);
        return true;
    }
    if (auto media_type = Query<IAMMediaType>(object);
        media_type && SUCCEEDED(media_type->get_Description(text.Put())) && !text.empty())
        return true;
    Variant value;
    return SUCCEEDED(node->get_Value(value.Put())) && SUCCEEDED(values->get_Text(value, text.Put())) &&
           !text.empty();
}

/// A node's name for both ends of its element: what is written between them may change it.
class XmlName {
public:
    explicit XmlName(const NodeText& text) {
        const std::string_view ascii = text.Ascii();
        if (!ascii.data() || ascii.size() > sizeof here_) {
            std::ignore = text.CopyTo(other_.Put());
            return;
        }
        std::memcpy(here_, ascii.data(), ascii.size());
        size_ = ascii.size();
    }
    void AppendTo(XmlSink& sink) const {
        if (size_)
            sink.Append({here_, size_});
        else
            sink.AppendName(other_.View());
    }

private:
    size_t size_ = 0;
    char here_[32];  // the first of them are set
    Bstr other_;     // a long name, or one that isn't ASCII
};

void WriteChild(XmlSink& sink, IUnknown* object) {
    if (auto writer = Query<ISettingsWriter>(object)) std::ignore = writer->WriteXml(&sink);
}

}  // namespace

STDMETHODIMP PropertyBase::WriteXml(ISequentialStream* stream) {
    if (!stream) return E_POINTER;
    const auto sink = XmlSink::For(stream);
    if (!sink) return E_OUTOFMEMORY;
    WriteElement(*sink);
    if (static_cast<ISequentialStream*>(sink.get()) != stream) sink->Close();
    return S_OK;
}

void PropertyBase::WriteElement(XmlSink& sink) {
    const Walk walk{.kind = Walk::kWrite, .object = &sink};
    const Visit visit(*this, walk);
    if (!visit) return;
    WriteExtra();

    const XmlName name(name_);
    sink.Append("<");
    name.AppendTo(sink);
    const VARIANT value = Stored();
    const ComPtr<IUnknown> object = ObjectOf(value);
    if (value.vt == VT_DISPATCH || value.vt == VT_UNKNOWN) {
        if (Bstr text; ObjectText(this, Values(), object.get(), text)) {
            sink.Append(" value='");
            sink.AppendName(text.View());
            sink.Append("' type='");
            sink.AppendNumber(kObjectType);
            sink.Append("'");
        }
    } else if (value.vt != VT_EMPTY) {
        sink.AppendTyped(" value='", value, "' type='");
        const auto extension = extension_;
        if (Variant unit; extension && SUCCEEDED(extension->get_Value(unit.Put())) && unit.vt != VT_EMPTY)
            sink.AppendTyped(" ext='", unit, "' extType='");
    }
    sink.Append(">\n");

    WriteChildrenExtra(sink);
    if (object)
        if (auto held = object.As<IProperty>()) WriteChild(sink, held.get());
    for (const NodeRef& child : Children()) {
        if (PropertyBase* own = child.own())
            own->WriteElement(sink);
        else
            WriteChild(sink, child.object());
    }
    if (const auto extra = rare_ ? rare_->ex_data : nullptr) WriteChild(sink, extra.get());

    sink.Append("</");
    name.AppendTo(sink);
    sink.Append(">\n");
}

}  // namespace bv
