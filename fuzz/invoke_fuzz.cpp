// Late-bound calls on the server's own objects, with any operation and any arguments that a
// script could make.
#include <bvschema/bvschema.h>

#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <span>
#include <string>
#include <vector>

namespace {

/// The input as a source of choices; zeros when it is used up.
class Source {
public:
    Source(const std::uint8_t* data, std::size_t size) : at_(data), end_(data + size) {}
    bool Empty() const { return at_ == end_; }
    std::uint8_t Byte() { return Empty() ? std::uint8_t(0) : *at_++; }
    std::uint32_t Word() {
        std::uint32_t word = 0;
        for (int i = 0; i < 4; ++i) word = word << 8 | Byte();
        return word;
    }

private:
    const std::uint8_t* at_;
    const std::uint8_t* end_;
};

const CLSID* const kClasses[] = {&bv::clsid::Map,
                                 &bv::clsid::EnumProperties,
                                 &bv::clsid::ListOfValues,
                                 &bv::clsid::ListItem,
                                 &bv::clsid::PropertySimple,
                                 &bv::clsid::PropertyOutput,
                                 &bv::clsid::PropertyTextOrientation};

IDispatch* New(REFCLSID cls) {
    void* object = nullptr;
    IID ids[] = {bv::kIid<IProperty>, bv::kIid<IMap>, bv::kIid<IEnumProperties>, bv::kIid<IListOfValues>,
                 bv::kIid<IListItem>};
    for (const IID& iid : ids)
        if (SUCCEEDED(CoCreateInstance(cls, nullptr, CLSCTX_INPROC_SERVER, iid, &object)))
            return static_cast<IDispatch*>(object);
    return nullptr;
}

/// What references of arguments point to.
struct Places {
    LONG number = 7;
    SHORT small = 7;
    BSTR text = SysAllocString(L"referred");
    VARIANT inner = {};
    ~Places() {
        SysFreeString(text);
        VariantClear(&inner);
    }
};

/// objects: those that may be passed.
void SetRandom(Source& source, VARIANT& value, Places& places, std::span<IDispatch* const> objects) {
    VariantInit(&value);
    switch (source.Byte() % 14) {
        case 0:
            value.vt = VT_I4;
            value.lVal = LONG(source.Word());
            break;
        case 1:
            value.vt = VT_I4;
            value.lVal = source.Byte();
            break;
        case 2: {
            value.vt = VT_BSTR;
            std::wstring text(source.Byte() % 32, L'x');
            for (wchar_t& c : text) c = wchar_t(source.Byte());
            // Also one whose count of bytes isn't a multiple of a character.
            const UINT bytes = UINT(text.size() * sizeof(wchar_t)), cut = source.Byte() % 16;
            value.bstrVal = SysAllocStringByteLen(reinterpret_cast<const char*>(text.data()),
                                                  cut < 4 && cut < bytes ? bytes - cut : bytes);
            break;
        }
        case 3:
            value.vt = VT_R8;
            value.dblVal = double(source.Word()) * (source.Byte() & 1 ? 1e30 : -0.01);
            break;
        case 4:
            value.vt = VT_BOOL;
            value.boolVal = source.Byte() & 1 ? VARIANT_TRUE : VARIANT_FALSE;
            break;
        case 5:
        case 6: {
            IDispatch* const object = objects.empty() ? nullptr : objects[source.Byte() % objects.size()];
            value.vt = source.Byte() & 1 ? VT_DISPATCH : VT_UNKNOWN;
            value.pdispVal = object;
            if (object) object->AddRef();
            break;
        }
        case 7:
            value.vt = VT_DISPATCH;
            value.pdispVal = nullptr;
            break;
        case 8:
            value.vt = VT_ERROR;
            value.scode = DISP_E_PARAMNOTFOUND;
            break;
        case 9:
            value.vt = VT_BYREF | VT_I4;
            value.plVal = &places.number;
            break;
        case 10:
            value.vt = VT_BYREF | VT_BSTR;
            value.pbstrVal = &places.text;
            break;
        case 11:
            value.vt = VT_BYREF | VT_VARIANT;
            value.pvarVal = &places.inner;
            break;
        case 12:
            value.vt = VT_UI1;
            value.bVal = source.Byte();
            break;
        default:
            value.vt = VT_NULL;
            break;
    }
}

void Call(Source& source, std::vector<IDispatch*>& objects) {
    const std::size_t place = source.Byte() % objects.size();
    IDispatch* const object = objects[place];
    ITypeInfo* type = nullptr;
    DISPID id = DISPID(source.Byte());
    WORD flags = source.Byte() % 16;
    bool put = false;
    if (SUCCEEDED(object->GetTypeInfo(0, 0, &type))) {
        TYPEATTR* attributes = nullptr;
        FUNCDESC* function = nullptr;
        type->GetTypeAttr(&attributes);
        const UINT index = source.Byte() % attributes->cFuncs;
        type->ReleaseTypeAttr(attributes);
        if (SUCCEEDED(type->GetFuncDesc(index, &function))) {  // mostly one that is there
            id = function->memid;
            if (flags < 12) flags = WORD(function->invkind);
            put = function->invkind == INVOKE_PROPERTYPUT;
            type->ReleaseFuncDesc(function);
        }
        type->Release();
    }
    Places places;
    // Rarely more than any operation has.
    const unsigned count = source.Byte();
    std::vector<VARIANT> arguments(count < 248 ? count % 5 : 30 + count % 16);
    // An object gets only those before it: what is held in a circle is never released.
    for (VARIANT& argument : arguments) SetRandom(source, argument, places, std::span(objects).first(place));
    std::vector<DISPID> named(arguments.empty()        ? 0
                              : source.Byte() % 4 == 0 ? 1 + source.Byte() % arguments.size()
                                                       : 0);
    for (DISPID& name : named) name = DISPID(source.Byte() % 6) - 1;
    if (put && !arguments.empty()) {
        if (named.empty()) named.resize(1);
        named[0] = DISPID_PROPERTYPUT;
    }
    DISPPARAMS parameters = {arguments.data(), named.data(), UINT(arguments.size()), UINT(named.size())};
    VARIANT result;
    VariantInit(&result);
    EXCEPINFO exception = {};
    UINT bad = 0;
    object->Invoke(id, IID_NULL, 0, flags, &parameters, &result, &exception, &bad);
    SysFreeString(exception.bstrSource);
    SysFreeString(exception.bstrDescription);
    SysFreeString(exception.bstrHelpFile);
    for (VARIANT& argument : arguments) VariantClear(&argument);
    VariantClear(&result);
}

/// The built module, in a registry of this run's own.
struct Server {
    Server() {
        wchar_t path[4096];
        const DWORD length = GetModuleFileNameW(nullptr, path, DWORD(std::size(path)));
        const std::wstring folder(path, std::wstring(path, length).rfind(L'/') + 1);
        const HMODULE module = LoadLibraryW((folder + L"BVSchema.so").c_str());
        using Operation = HRESULT(STDAPICALLTYPE*)();
        const auto call = module ? reinterpret_cast<Operation>(
                                       reinterpret_cast<void*>(GetProcAddress(module, "DllRegisterServer")))
                                 : nullptr;
        if (!call || FAILED(call()) || FAILED(CoInitialize(nullptr))) std::abort();
    }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const Server server;
    Source source(data, size);
    std::vector<IDispatch*> objects;
    for (const CLSID* cls : kClasses)
        if (IDispatch* object = New(*cls)) objects.push_back(object);
    if (objects.empty()) std::abort();
    for (int calls = 0; calls < 16 && !source.Empty(); ++calls) Call(source, objects);
    // The media object, which nobody holds, is one that came before.
    for (; !objects.empty(); objects.pop_back()) objects.back()->Release();
    return 0;
}
