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
        if (const char* block = text.Block()) {
            std::memcpy(here_, block, sizeof here_);
            size_ = text.size();
        } else {
            std::ignore = text.CopyTo(other_.Put());
        }
    }
    template <size_t N, size_t M>
    void AppendTo(XmlSink& sink, const char (&before)[N], const char (&behind)[M]) const {
        if (!other_.get()) return sink.AppendTag(before, here_, size_, behind);
        sink.Append(before);
        sink.AppendName(other_.View());
        sink.Append(behind);
    }

    bool IsShort() const { return !other_.get(); }
    void AppendWith(XmlSink& sink, LONG number) const { sink.AppendNumberTag(here_, size_, number); }

private:
    size_t size_ = 0;
    char here_[NodeText::kBlock];
    Bstr other_;  // a long name, or one that isn't ASCII
};

void WriteChild(XmlSink& sink, IUnknown* object) {
    if (auto writer = Query<ISettingsWriter>(object)) std::ignore = writer->WriteXml(&sink);
}

}  // namespace

STDMETHODIMP PropertyBase::WriteXml(ISequentialStream* stream) {
    if (!stream) return E_POINTER;
    const XmlSink::Scope scope(stream);
    XmlSink* const sink = scope.sink();
    if (!sink) return E_OUTOFMEMORY;
    WriteElement(*sink, Walk{.kind = Walk::kWrite, .object = sink});
    return S_OK;
}

void PropertyBase::WriteElement(XmlSink& sink, const Walk& walk) {
    const Visit visit(*this, walk);
    if (!visit) return;
    WriteExtra();

    const XmlName name(name_);
    const VARTYPE kind = value_.kind();
    if (kind == VT_I4 && !extension_ && name.IsShort()) {  // most values
        name.AppendWith(sink, Stored().lVal);
    } else if (kind == VT_EMPTY) {
        name.AppendTo(sink, "<", ">\n");
    } else {
        name.AppendTo(sink, "<", "");
        if (HeldObject()) {
            WriteHeldText(sink);
        } else if (kind != VT_DISPATCH && kind != VT_UNKNOWN) {
            sink.AppendTyped(" value='", Stored(), "' type='");
            if (extension_) WriteExtension(sink);
        }
        sink.Append(">\n");
    }

    WriteChildrenExtra(sink);
    if (HeldObject())
        if (const NodeRef held = NodeRef(ComPtr<IUnknown>(HeldObject()).get())) {
            if (PropertyBase* own = held.own())
                own->WriteElement(sink, walk);
            else if (const auto node = held.node())
                WriteChild(sink, node.get());
        }
    EachChild([&](const NodeRef& child) {
        if (PropertyBase* own = child.own())
            own->WriteElement(sink, walk);
        else
            WriteChild(sink, child.object());
    });
    if (rare_)
        if (const auto extra = rare_->ex_data) WriteChild(sink, extra.get());

    name.AppendTo(sink, "</", ">\n");
}

void PropertyBase::WriteHeldText(XmlSink& sink) {
    const ComPtr<IUnknown> object = HeldObject();
    Bstr text;
    if (!ObjectText(this, Values(), object.get(), text)) return;
    sink.Append(" value='");
    sink.AppendName(text.View());
    sink.Append("' type='");
    sink.AppendNumber(kObjectType);
    sink.Append("'");
}

void PropertyBase::WriteExtension(XmlSink& sink) {
    const auto extension = extension_;
    if (Variant unit; SUCCEEDED(extension->get_Value(unit.Put())) && unit.vt != VT_EMPTY)
        sink.AppendTyped(" ext='", unit, "' extType='");
}

}  // namespace bv
