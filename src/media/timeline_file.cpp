#include "media/timeline_file.h"

#include "com/variant.h"
#include "core/names.h"

namespace bv {
namespace {

constexpr int kMaxDepth = 256;  // of elements in elements; a cut needs four
constexpr VARTYPE kNoKind = 0xFFFF;
constexpr VARTYPE kObjectKind = 72;  // what "type" says of an object value, which isn't restored

/// What an element says of its node.
struct Fields {
    Bstr value, type, ext, ext_type;
    bool has_value = false, has_type = false, has_ext = false, has_ext_type = false;

    void Take(std::wstring_view name, Bstr text) {
        if (SameName(name, L"value"))
            value = std::move(text), has_value = true;
        else if (SameName(name, L"type"))
            type = std::move(text), has_type = true;
        else if (SameName(name, L"ext"))
            ext = std::move(text), has_ext = true;
        else if (SameName(name, L"extType"))
            ext_type = std::move(text), has_ext_type = true;
    }
};

Fields FieldsOf(IXMLDOMNode* node) {
    Fields fields;
    ComPtr<IXMLDOMNamedNodeMap> attributes;
    if (node->get_attributes(attributes.Put()) != S_OK || !attributes) return fields;
    ComPtr<IXMLDOMNode> attribute;
    while (attributes->nextNode(attribute.Put()) == S_OK && attribute) {
        Bstr name, text;
        if (FAILED(attribute->get_nodeName(name.Put())) || FAILED(attribute->get_text(text.Put()))) continue;
        fields.Take(name.View(), std::move(text));
    }
    return fields;
}

/// A plain decimal number; false for any other text.
bool ToNumber(std::wstring_view text, LONG& number) {
    if (text.empty() || text.size() > 9) return false;
    number = 0;
    for (const wchar_t c : text) {
        if (c < L'0' || c > L'9') return false;
        number = number * 10 + (c - L'0');
    }
    return true;
}

VARTYPE KindIn(const Bstr& text) {
    LONG number = 0;
    return ToNumber(text.View(), number) && number < kNoKind ? VARTYPE(number) : kNoKind;
}

/// The kinds that a text can become. Objects, arrays and references are none of them.
bool IsPlainKind(VARTYPE kind) {
    switch (kind) {
        case VT_I1: case VT_I2: case VT_I4: case VT_I8: case VT_UI1: case VT_UI2: case VT_UI4: case VT_UI8: case VT_INT:
        case VT_UINT: case VT_R4: case VT_R8: case VT_CY: case VT_DATE: case VT_BOOL: case VT_DECIMAL:
            return true;
        default:
            return false;
    }
}

/// The value of a kind that a text stands for; an empty one when it stands for none.
Variant ValueOf(Bstr text, VARTYPE kind) {
    Variant value;
    if (kind == VT_I4 && ToNumber(text.View(), value.lVal)) {
        value.vt = VT_I4;
    } else if (kind == VT_BSTR) {
        value.bstrVal = text.Detach();
        value.vt = VT_BSTR;
    } else if (IsPlainKind(kind)) {
        std::ignore = value.ChangeFrom(Lend(text.get()), kind);
    }
    return value;
}

}  // namespace

// --- Writing ---

TextFile::TextFile(const char* name) {
    // Opened twice: here all that is no file is refused, and a pipe doesn't wait for its reader; the C library knows the
    // line ends.
    HANDLE const made = CreateFileA(name, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (made == INVALID_HANDLE_VALUE) return;
    CloseHandle(made);
    file_ = std::fopen(name, "w");
}

bool TextFile::Close() {
    if (file_ && std::fclose(file_) != 0) good_ = false;
    file_ = nullptr;
    return good_;
}

STDMETHODIMP TextFile::QueryInterface(REFIID iid, void** out) {
    if (!out) return E_POINTER;
    const bool answered = iid == kIid<IUnknown> || iid == kIid<ISequentialStream>;
    *out = answered ? this : nullptr;
    return answered ? S_OK : E_NOINTERFACE;
}

STDMETHODIMP TextFile::Write(const void* bytes, ULONG count, ULONG* written) {
    const size_t done = file_ ? std::fwrite(bytes, 1, count, file_) : 0;
    if (done != count) good_ = false;
    if (written) *written = ULONG(done);
    return done == count ? S_OK : STG_E_MEDIUMFULL;
}

// --- Reading ---

void TimelineReader::ReadChildren(IXMLDOMNode* node, IProperty* parent, int depth) {
    if (depth > kMaxDepth) return;
    ComPtr<IXMLDOMNode> child;
    if (node->get_firstChild(child.Put()) != S_OK) return;
    while (child) {
        Read(child.get(), parent, depth);
        ComPtr<IXMLDOMNode> next;
        if (child->get_nextSibling(next.Put()) != S_OK) return;
        child = std::move(next);
    }
}

void TimelineReader::Read(IXMLDOMNode* node, IProperty* parent, int depth) {
    DOMNodeType type = NODE_INVALID;
    Bstr name;
    if (FAILED(node->get_nodeType(&type)) || type != NODE_ELEMENT || FAILED(node->get_nodeName(name.Put()))) return;
    if (SameName(name.View(), names::kTimeline.View())) {
        if (const auto timeline = list_.AddLoaded()) ReadChildren(node, timeline.get(), depth + 1);
        return;
    }
    if (!parent) return ReadChildren(node, nullptr, depth + 1);

    Fields fields = FieldsOf(node);
    ComPtr<IProperty> found;
    if (parent->FindProperty(name.get(), found.Put()) != S_OK) found.Reset();
    if (!fields.has_value || !fields.has_type) {
        if (found) ReadChildren(node, found.get(), depth + 1);
        return;
    }
    if (const VARTYPE kind = KindIn(fields.type); found && kind != kObjectKind) {
        std::ignore = found->put_Value(ValueOf(std::move(fields.value), kind));
        ComPtr<IProperty> extension;
        if (fields.has_ext && fields.has_ext_type && found->get_Extension(extension.Put()) == S_OK && extension)
            std::ignore = extension->put_Value(ValueOf(std::move(fields.ext), KindIn(fields.ext_type)));
    }
    ReadChildren(node, parent, depth + 1);  // names are unique within a cut: a child is found from here as well
}

}  // namespace bv
