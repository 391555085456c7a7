// A job from its document, and back.
#include <bvschema/host/components.h>

#include "core.h"

namespace bv::inline host {
namespace {

/// A stream that keeps what it gets.
class TextStream final : public ISequentialStream {
public:
    std::string text;

    STDMETHODIMP QueryInterface(REFIID iid, void** out) override {
        if (!out) return E_POINTER;
        const bool known = iid == kIid<IUnknown> || iid == kIid<ISequentialStream>;
        *out = known ? this : nullptr;
        return known ? S_OK : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return 2; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }
    STDMETHODIMP Read(void*, ULONG, ULONG*) override { return E_NOTIMPL; }
    STDMETHODIMP Write(const void* bytes, ULONG count, ULONG* written) override try {
        text.append(static_cast<const char*>(bytes), count);
        if (written) *written = count;
        return S_OK;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
};

/// The child, held or further node below a node that an element of this name is about.
Ref<IProperty> NodeFor(IProperty* parent, const std::string& name) {
    const Node node(parent);
    if (const Node held = node.held(); held && SameName(held.name(), name)) return Ref<IProperty>(held.get());
    for (const Node& child : node.children())
        if (SameName(child.name(), name)) return Ref<IProperty>(child.get());
    Ref<IProperty> found;
    if (parent->FindProperty(Text(std::string_view(name)), found.Put()) != S_OK) return {};
    return found;
}

std::optional<CLSID> ClassOf(IUnknown* object) {
    CLSID cls = {};
    if (const auto format = Ask<IOutputFormatInfo>(object); format && format->GetClassID(&cls) == S_OK)
        return cls;
    if (const auto filter = Ask<IBaseFilter>(object); filter && filter->GetClassID(&cls) == S_OK) return cls;
    return {};
}

}  // namespace

std::string XmlOf(IUnknown* object) {
    const auto writer = Ask<ISettingsWriter>(object);
    TextStream stream;
    if (!writer || FAILED(writer->WriteXml(&stream))) return {};
    return std::move(stream.text);
}

std::string JobCore::Xml() const {
    std::string xml = XmlOf(root_.get());
    if (xml.empty()) throw Error("the job can't be written");
    return xml;
}

void JobCore::Note(LoadNote::Kind kind, const Element& element, const std::string& text) {
    report.notes.push_back({kind, element.line, element.name, text});
}

void JobCore::Restore(const Element& document) {
    if (!SameName(document.name, std::string_view("Main")))
        throw Error("these are settings of " + Quoted(document.name) + ", not of a job");
    for (const Element& part : document.children) {
        if (!SameName(part.name, std::string_view("FILES"))) continue;
        for (const Element& file : part.children) RestoreInput(file);
    }
    for (const InputEntry& input : inputs_)
        if (Node(input.node.get()).value().text() == "?") input.node->put_Value(Value::Of(L"").get());
    SelectIndex(inputs_.empty() ? -1 : 0);
    RestoreNode(document, root_.get());
}

void JobCore::RestoreInput(const Element& element) {
    if (!element.value) return;
    InputEntry& input = NewInput(ToWide(element.value->text));
    ++report.set;
    if (!element.value->text.empty()) {
        Open(input);
        if (const std::string problem = InputOf(inputs_.size() - 1).problem(); !problem.empty())
            Note(LoadNote::kInput, element, OneLine(element.value->text) + ": " + problem);
    }
    RestoreBelow(element, input.node.get());
    if (const auto writer = input.node.As<ISettingsWriter>()) writer->ReadExtraData(nullptr);
}

// By the rule of the document: the text in the kind that was stored, then the unit's;
// flags follow from the values.
void JobCore::RestoreNode(const Element& element, IProperty* node) {
    if (element.value && element.value->kind == kObjectKind) {
        RestoreObject(element, node);
    } else if (element.value) {
        const auto value = element.value->Restored();
        ForgetErrors();
        const HRESULT status = value ? node->put_Value(value->get()) : E_INVALIDARG;
        if (!value)
            Note(LoadNote::kRefused, element,
                 "the value doesn't fit its type " + std::to_string(element.value->kind));
        else if (FAILED(status))
            Note(LoadNote::kRefused, element, Reason(status));
        else
            ++report.set;
    }
    if (element.unit) {
        Ref<IProperty> unit;
        const auto value = element.unit->Restored();
        if (!value || node->get_Extension(unit.Put()) != S_OK || FAILED(unit->put_Value(value->get())))
            Note(LoadNote::kRefused, element, "the unit isn't restored");
        else
            ++report.set;
    }
    RestoreBelow(element, node);
    if (const auto writer = Ask<ISettingsWriter>(node)) writer->ReadExtraData(nullptr);
}

void JobCore::RestoreBelow(const Element& element, IProperty* node) {
    for (const Element& child : element.children) {
        if (SameName(child.name, std::string_view("FILES")) && node == root_.get()) continue;
        if (SameName(child.name, std::string_view("EnumFilters"))) {
            if (const auto list = Ask<IEnumObject>(node)) {
                RestoreFilters(child, list.get());
                continue;
            }
        }
        const auto cuts =
            SameName(child.name, std::string_view("timeline")) ? Ask<ITimelines>(node) : Ref<ITimelines>();
        Ref<IProperty> below;
        if (cuts)
            std::ignore = cuts->AddTimeline(0, 0, below.Put());
        else
            below = NodeFor(node, child.name);
        if (below)
            RestoreNode(child, below.get());
        else
            Note(LoadNote::kUnknown, child,
                 "there is no setting " + Quoted(child.name) + " here; it is skipped with all inside");
    }
}

// The file has the settings of each filter of the list under the name of its node, and not its class.
void JobCore::RestoreFilters(const Element& part, IEnumObject* list) {
    for (const Element& element : part.children) {
        IUnknown* added = nullptr;
        const auto offered = OfferedFilters();
        for (const OfferedFilter& filter : offered)
            if (SameName(filter.name, element.name)) added = filter.filter.get();
        if (added && SUCCEEDED(list->Add(&added)))
            RestoreNode(element, Ask<IProperty>(added).get());
        else
            Note(LoadNote::kUnknown, element,
                 "the filter " + Quoted(element.name) +
                     " isn't restored: no component offers one of this name");
    }
}

// An object was written as its class id or as the label of its choice.
void JobCore::RestoreObject(const Element& element, IProperty* node) {
    const std::string& text = element.value->text;
    CLSID cls = {};
    const bool by_class = SUCCEEDED(CLSIDFromString(ToWide(text).c_str(), &cls));
    for (const Choice& choice : Node(node).choices()) {
        if (!choice.value.object()) continue;
        const auto choice_class = ClassOf(choice.value.object());
        if (by_class ? choice_class != cls : choice.label != text) continue;
        if (FAILED(node->put_Value(choice.value.get()))) continue;
        ++report.set;
        return;
    }
    Note(LoadNote::kRefused, element, "the object " + Quoted(text) + " isn't restored");
}

}  // namespace bv::inline host
