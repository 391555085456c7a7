#include "support/node.h"

#include <cstdio>
#include <fstream>
#include <sstream>

#include "support/environment.h"

namespace bv::test {

bool operator==(const Value& a, const Value& b) {
    if (a.kind() != b.kind()) return false;
    switch (a.kind()) {
        case VT_EMPTY:
            return true;
        case VT_I2:
        case VT_BOOL:
            return a.get().iVal == b.get().iVal;
        case VT_I4:
            return a.get().lVal == b.get().lVal;
        case VT_UI1:
            return a.get().bVal == b.get().bVal;
        case VT_R8:
            return a.get().dblVal == b.get().dblVal;
        case VT_BSTR:
            return a.text() == b.text();
        case VT_DISPATCH:
        case VT_UNKNOWN:
            return a.object() == b.object();
        default:
            return false;
    }
}

void PrintTo(const Value& value, std::ostream* out) {
    Value text;
    *out << "VT " << value.kind();
    if (SUCCEEDED(VariantChangeType(text.Put(), const_cast<VARIANT*>(&value.get()), 0, VT_BSTR)))
        *out << " \"" << Narrow(text.text()) << '"';
}

Value Nothing() { return {}; }
namespace {
template <class Set>
Value Make(VARTYPE kind, Set set) {
    Value value;
    value.get().vt = kind;
    set(value.get());
    return value;
}
}  // namespace
Value I4(LONG number) {
    return Make(VT_I4, [&](VARIANT& v) { v.lVal = number; });
}
Value I2(SHORT number) {
    return Make(VT_I2, [&](VARIANT& v) { v.iVal = number; });
}
Value UI1(BYTE number) {
    return Make(VT_UI1, [&](VARIANT& v) { v.bVal = number; });
}
Value R8(double number) {
    return Make(VT_R8, [&](VARIANT& v) { v.dblVal = number; });
}
Value Bool(bool flag) {
    return Make(VT_BOOL, [&](VARIANT& v) { v.boolVal = flag ? VARIANT_TRUE : VARIANT_FALSE; });
}
Value Str(const std::wstring& text) {
    return Make(VT_BSTR, [&](VARIANT& v) { v.bstrVal = SysAllocStringLen(text.data(), UINT(text.size())); });
}
Value Obj(IDispatch* object) {
    if (object) object->AddRef();
    return Make(VT_DISPATCH, [&](VARIANT& v) { v.pdispVal = object; });
}
Value Unk(IUnknown* object) {
    if (object) object->AddRef();
    return Make(VT_UNKNOWN, [&](VARIANT& v) { v.punkVal = object; });
}

std::wstring Take(BSTR text) {
    std::wstring result(text ? text : L"", SysStringLen(text));
    SysFreeString(text);
    return result;
}

std::string Narrow(const std::wstring& text) {
    std::string result;
    for (const wchar_t c : text) result += c < 0x80 ? char(c) : '?';
    return result;
}

// --- Node ---

namespace {
template <class T>
T Read(IProperty* node, HRESULT (STDMETHODCALLTYPE IProperty::*get)(T*)) {
    T value = {};
    EXPECT_EQ((node->*get)(&value), S_OK);
    return value;
}
}  // namespace

std::wstring Node::Name() const { return TextFrom(get(), &IProperty::get_Name); }
std::wstring Node::Title() const { return TextFrom(get(), &IProperty::get_Title); }
std::wstring Node::Description() const { return TextFrom(get(), &IProperty::get_Description); }
LONG Node::Type() const { return Read(get(), &IProperty::get_Type); }
bool Node::Shown() const { return Read(get(), &IProperty::get_IsHide) == 0; }
bool Node::Enabled() const { return Read(get(), &IProperty::get_IsDisabled) == 0; }
bool Node::Active() const { return Read(get(), &IProperty::get_Active) != 0; }
int Node::ValueType() const { return Read(get(), &IProperty::get_ValueType); }

bv::test::Value Node::Value() const {
    bv::test::Value value;
    std::ignore = node_->get_Value(value.Put());
    return value;
}
bv::test::Value Node::Format() const {
    bv::test::Value value;
    EXPECT_EQ(node_->get_Format(value.Put()), S_OK);
    return value;
}
Node Node::Find(const std::wstring& name) const {
    Ref<IProperty> found;
    std::ignore = node_->FindProperty(Text(name), found.Put());
    return Node(std::move(found));
}
Node Node::Extension() const {
    Ref<IProperty> found;
    std::ignore = node_->get_Extension(found.Put());
    return Node(std::move(found));
}
Node Node::Parent() const {
    Ref<IDispatch> found;
    std::ignore = node_->get_Parent(found.Put());
    return Node(found.As<IProperty>());
}
std::vector<Node> Node::Children() const {
    std::vector<Node> children;
    const auto list = As<IEnumProperties>();
    for (LONG i = 0; i < CountOf(list); ++i) children.emplace_back(ItemOf(list, i).As<IProperty>());
    return children;
}
std::vector<std::pair<std::wstring, bv::test::Value>> Node::Choices() const {
    std::vector<std::pair<std::wstring, bv::test::Value>> choices;
    const auto list = As<IListOfValues>();
    for (LONG i = 0; i < CountOf(list); ++i) {
        const auto entry = ItemOf(list, i).As<IListItem>();
        bv::test::Value value;
        EXPECT_EQ(entry->get_Value(value.Put()), S_OK);
        choices.emplace_back(TextFrom(entry.get(), &IListItem::get_Name), value);
    }
    return choices;
}
std::string Node::Xml() const {
    MemoryStream stream;
    EXPECT_EQ(As<ISettingsWriter>()->WriteXml(&stream), S_OK);
    return stream.text;
}

HRESULT InsertChild(const Node& above, CLSID cls, const wchar_t* name, IProperty** out) {
    return above.As<IEnumProperties>()->InsertProperty(Text(name), &cls, out);
}
Node AddChild(const Node& above, const wchar_t* name, CLSID cls) {
    Ref<IProperty> added;
    EXPECT_EQ(InsertChild(above, cls, name, added.Put()), S_OK);
    return Node(std::move(added));
}

// --- Dump ---

namespace {

std::string Escaped(const std::wstring& text) {
    std::string result;
    for (const char c : Narrow(text)) {
        if (c == '\n')
            result += "\\n";
        else if (c == '\r')
            result += "\\r";
        else
            result += c;
    }
    return result;
}

std::string Shown(const Value& value) {
    if (value.kind() == VT_BSTR) return "8 \"" + Escaped(value.text()) + '"';
    if (value.object()) return std::to_string(value.kind()) + " object";
    std::ostringstream out;
    Value text;
    VariantChangeType(text.Put(), const_cast<VARIANT*>(&value.get()), 0, VT_BSTR);
    out << value.kind() << ' ' << Escaped(text.text());
    return out.str();
}

void DumpInto(std::string& out, const Node& node, const std::string& indent, bool hidden_too) {
    if (!hidden_too && !node.Shown()) return;
    GUID cls = {};
    node->get_ClassID(&cls);
    wchar_t cls_text[40] = {};
    StringFromGUID2(cls, cls_text, 40);
    char type[16];
    std::snprintf(type, sizeof type, "0x%X", unsigned(node.Type()));
    const std::wstring name = node.Name();
    out += indent + (name.empty() ? "-" : Escaped(name)) + ' ' + Narrow(cls_text) + ' ' + type + " \"" +
           Escaped(node.Title()) + '"';
    Value value;
    if (node->get_Value(value.Put()) == S_OK) out += " = " + Shown(value);
    if (!node.Shown()) out += " hidden";
    if (!node.Enabled()) out += " disabled";
    if (!node.Active()) out += " inactive";
    out += '\n';
    if (const auto help = node.Description(); !help.empty()) out += indent + "    ? " + Escaped(help) + '\n';
    for (const auto& [label, choice] : node.Choices()) {
        out += indent + "    * " + Escaped(label) + " = " + Shown(choice) + '\n';
        if (Node held{choice.object() ? Ref<IUnknown>(choice.object()).As<IProperty>() : Ref<IProperty>()})
            DumpInto(out, held, indent + "      ", hidden_too);
    }
    if (const Node unit = node.Extension()) {
        out += indent + "    + extension\n";
        DumpInto(out, unit, indent + "      ", hidden_too);
    }
    for (const Node& child : node.Children()) DumpInto(out, child, indent + "  ", hidden_too);
}

}  // namespace

std::string Dump(const Node& node, bool hidden_too) {
    std::string out;
    DumpInto(out, node, "", hidden_too);
    return out;
}

std::string Golden(const std::string& name) {
    std::ifstream file(DataFolder() / "golden" / name, std::ios::binary);
    EXPECT_TRUE(file) << "no golden file " << name;
    std::string text;
    for (std::string line; std::getline(file, line);) {
        const size_t at = line.find_first_not_of(' ');
        if (at == line.npos || line[at] != '@') {
            text += file.eof() ? line : line + '\n';
            continue;
        }
        std::istringstream words(line.substr(at + 1));
        std::string part, root;
        words >> part >> root;
        std::istringstream lines(Golden(part));
        for (std::string below; std::getline(lines, below); root.clear())
            text +=
                std::string(at, ' ') + (root.empty() ? below : root + below.substr(below.find(' '))) + '\n';
    }
    return text;
}

// --- Errors ---

Refusal TakeRefusal() {
    Refusal refusal;
    Ref<IErrorInfo> error;
    if (GetErrorInfo(0, error.Put()) != S_OK) return refusal;
    BSTR text = nullptr;
    if (error->GetDescription(&text) == S_OK) refusal.text = Take(text);
    text = nullptr;
    if (error->GetSource(&text) == S_OK) refusal.source = Take(text);
    error->GetGUID(&refusal.iid);
    return refusal;
}

void ExpectRefused(const Node& node, const Value& value, const std::wstring& text, HRESULT status,
                   const std::wstring& source) {
    const Value before = node.Value();
    ExpectRaised([&] { return node.Put(value); }, text, source, status);
    EXPECT_EQ(node.Value(), before);
}

bool ModuleCanGo() { return ModuleCanGo(kModuleFile); }

bool ModuleCanGo(const wchar_t* file) {
    const HMODULE module = GetModuleHandleW(file);
    if (!module) return true;
    using Operation = HRESULT(STDAPICALLTYPE*)();
    const auto ask =
        reinterpret_cast<Operation>(reinterpret_cast<void*>(GetProcAddress(module, "DllCanUnloadNow")));
    return ask && ask() == S_OK;
}

// --- Class objects ---

ClassDouble::ClassDouble(REFCLSID cls, Maker maker, DWORD context) : maker_(std::move(maker)) {
    EXPECT_EQ(CoRegisterClassObject(cls, this, context, REGCLS_MULTIPLEUSE, &cookie_), S_OK);
}

ClassDouble::~ClassDouble() { EXPECT_EQ(CoRevokeClassObject(cookie_), S_OK); }

STDMETHODIMP ClassDouble::QueryInterface(REFIID iid, void** out) {
    *out = nullptr;
    if (iid != kIid<IUnknown> && iid != kIid<IClassFactory>) return E_NOINTERFACE;
    *out = this;
    return S_OK;
}

}  // namespace bv::test
