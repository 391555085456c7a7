// The registered type library as text: what a script or another language sees of the server.
#include <cstdio>

#include "commands.h"
#include "exit_code.h"
#include "server.h"
#include "terminal.h"
#include "text.h"

namespace host {
namespace {

std::string Hex(unsigned long number) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%lX", number);
    return text;
}

std::string IdText(REFGUID id) {
    wchar_t text[40];
    StringFromGUID2(id, text, 40);
    return Utf8(text);
}

void Check(HRESULT status) {
    if (FAILED(status)) throw Problem("the type library can't be read: " + Reason(status));
}

/// A description that is given back at its end.
template <class Description, auto kGet, auto kRelease, class Owner, class... Index>
class Described {
public:
    explicit Described(Owner* owner, Index... index) : owner_(owner) {
        Check((owner->*kGet)(index..., &description_));
    }
    Described(const Described&) = delete;
    Described& operator=(const Described&) = delete;
    ~Described() { (owner_->*kRelease)(description_); }
    Description* operator->() const { return description_; }

private:
    Owner* owner_;
    Description* description_ = nullptr;
};
using Attributes = Described<TYPEATTR, &ITypeInfo::GetTypeAttr, &ITypeInfo::ReleaseTypeAttr, ITypeInfo>;
using Function = Described<FUNCDESC, &ITypeInfo::GetFuncDesc, &ITypeInfo::ReleaseFuncDesc, ITypeInfo, UINT>;
using Field = Described<VARDESC, &ITypeInfo::GetVarDesc, &ITypeInfo::ReleaseVarDesc, ITypeInfo, UINT>;
using LibraryAttributes = Described<TLIBATTR, &ITypeLib::GetLibAttr, &ITypeLib::ReleaseTLibAttr, ITypeLib>;

std::string NameOf(ITypeInfo* type) {
    TextResult name;
    Check(type->GetDocumentation(MEMBERID_NIL, name.Put(), nullptr, nullptr, nullptr));
    return Utf8(name.Get());
}

/// The names of an operation, or a field, and of its parameters as far as they have one.
std::vector<std::string> NamesOf(ITypeInfo* type, MEMBERID id) {
    BSTR names[32] = {};
    UINT count = 0;
    Check(type->GetNames(id, names, UINT(std::size(names)), &count));
    std::vector<std::string> result;
    for (UINT i = 0; i < count; ++i) {
        result.push_back(Utf8(std::wstring(names[i] ? names[i] : L"", SysStringLen(names[i]))));
        SysFreeString(names[i]);
    }
    return result;
}

Ref<ITypeInfo> Referred(ITypeInfo* type, HREFTYPE reference) {
    Ref<ITypeInfo> referred;
    Check(type->GetRefTypeInfo(reference, referred.Put()));
    return referred;
}

std::string TypeText(ITypeInfo* type, const TYPEDESC& kind) {
    switch (kind.vt) {
        case VT_PTR:
            return TypeText(type, *kind.lptdesc) + "*";
        case VT_USERDEFINED:
            return NameOf(Referred(type, kind.hreftype).get());
        case VT_CARRAY:
            return TypeText(type, kind.lpadesc->tdescElem) + "[" +
                   std::to_string(kind.lpadesc->rgbounds[0].cElements) + "]";
        case VT_I2:
            return "short";
        case VT_I4:
            return "long";
        case VT_UI4:
            return "unsigned long";
        case VT_INT:
            return "int";
        case VT_I8:
            return "int64";
        case VT_UI1:
            return "byte";
        case VT_BSTR:
            return "BSTR";
        case VT_VARIANT:
            return "VARIANT";
        case VT_DISPATCH:
            return "IDispatch*";
        case VT_UNKNOWN:
            return "IUnknown*";
        case VT_HRESULT:
            return "HRESULT";
        case VT_VOID:
            return "void";
        default:
            return "kind " + std::to_string(kind.vt);
    }
}

std::string ParameterText(ITypeInfo* type, const ELEMDESC& parameter, const std::string& name) {
    const USHORT flags = parameter.paramdesc.wParamFlags;
    std::string text = "[";
    if (flags & PARAMFLAG_FIN) text += "in";
    if (flags & PARAMFLAG_FOUT) text += flags & PARAMFLAG_FIN ? ", out" : "out";
    if (flags & PARAMFLAG_FRETVAL) text += ", retval";
    text += "] " + TypeText(type, parameter.tdesc);
    return name.empty() ? text : text + ' ' + name;
}

void PrintInterface(ITypeInfo* given) {
    // A dual interface is shown as it is called: by its table.
    HREFTYPE table = 0;
    const bool dual = Attributes(given)->wTypeFlags & TYPEFLAG_FDUAL;
    Ref<ITypeInfo> type(given);
    if (dual) {
        Check(given->GetRefTypeOfImplType(UINT(-1), &table));
        type = Referred(given, table);
    }
    const Attributes attributes(type.get());
    std::string line = "interface " + NameOf(type.get()) + ' ' + IdText(attributes->guid);
    if (attributes->cImplTypes > 0) {
        HREFTYPE base = 0;
        Check(type->GetRefTypeOfImplType(0, &base));
        line += " : " + NameOf(Referred(type.get(), base).get());
    }
    Print(line + (dual ? ", dual\n" : "\n"));
    for (UINT i = 0; i < attributes->cFuncs; ++i) {
        const Function function(type.get(), i);
        const std::vector<std::string> names = NamesOf(type.get(), function->memid);
        const bool put =
            function->invkind == INVOKE_PROPERTYPUT || function->invkind == INVOKE_PROPERTYPUTREF;
        const char* const kind = put ? "put" : function->invkind == INVOKE_PROPERTYGET ? "get" : "   ";
        std::string text = "  " + Padded(std::to_string(function->oVft / SHORT(sizeof(void*))), 4) +
                           Padded(Hex(static_cast<unsigned long>(function->memid)), 7) + kind + ' ' +
                           names.at(0) + '(';
        for (SHORT k = 0; k < function->cParams; ++k) {
            const bool value =
                put && k == function->cParams - 1;  // it has no name, though a read may lend it one
            const size_t place = size_t(k) + 1;
            if (k > 0) text += ", ";
            text += ParameterText(type.get(), function->lprgelemdescParam[k],
                                  value || place >= names.size() ? std::string() : names[place]);
        }
        Print(text + ")\n");
    }
}

void PrintRecord(ITypeInfo* type) {
    const Attributes attributes(type);
    Print("record " + NameOf(type) + ", " + std::to_string(attributes->cbSizeInstance) + " bytes\n");
    for (UINT i = 0; i < attributes->cVars; ++i) {
        const Field field(type, i);
        Print("  " + Padded(std::to_string(field->oInst), 4) + TypeText(type, field->elemdescVar.tdesc) +
              ' ' + NamesOf(type, field->memid).at(0) + '\n');
    }
}

void PrintClass(ITypeInfo* type) {
    const Attributes attributes(type);
    std::string line = "class " + NameOf(type) + ' ' + IdText(attributes->guid);
    for (UINT i = 0; i < attributes->cImplTypes; ++i) {
        HREFTYPE reference = 0;
        Check(type->GetRefTypeOfImplType(i, &reference));
        line += (i == 0 ? " : " : ", ") + NameOf(Referred(type, reference).get());
    }
    Print(line + '\n');
}

/// The registered type library, as text that is the same on every platform.
int ShowTypes() {
    Ref<ITypeLib> library;
    const HRESULT status = LoadRegTypeLib(bv::kTypeLibrary, 1, 0, 0, library.Put());
    if (FAILED(status)) throw Problem("the type library can't be loaded: " + Reason(status));
    {
        const LibraryAttributes attributes(library.get());
        TextResult name, help;
        Check(library->GetDocumentation(-1, name.Put(), help.Put(), nullptr, nullptr));
        Print("library " + Utf8(name.Get()) + ' ' + std::to_string(attributes->wMajorVerNum) + '.' +
              std::to_string(attributes->wMinorVerNum) + ' ' + IdText(attributes->guid) + ", " +
              Utf8(help.Get()) + '\n');
    }
    TYPEKIND last = TKIND_MAX;
    for (UINT i = 0; i < library->GetTypeInfoCount(); ++i) {
        Ref<ITypeInfo> type;
        Check(library->GetTypeInfo(i, type.Put()));
        const TYPEKIND kind = Attributes(type.get())->typekind;
        if (kind != TKIND_COCLASS || last != kind) Print("\n");
        last = kind;
        if (kind == TKIND_COCLASS)
            PrintClass(type.get());
        else if (kind == TKIND_RECORD)
            PrintRecord(type.get());
        else
            PrintInterface(type.get());
    }
    return kDone;
}

}  // namespace

void AddTypesCommand(CommandLine& line) {
    line.Add("types", "Shows the type library: what scripts see of the server").Does(ShowTypes);
}

}  // namespace host
