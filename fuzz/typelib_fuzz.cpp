// The reader of type libraries, and everything that its result can be asked.
#include <oleauto.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include <unistd.h>

namespace {

void Ask(ITypeInfo* type, int depth);

void AskKind(ITypeInfo* type, const TYPEDESC& kind, int depth) {
    if (kind.vt == VT_PTR) AskKind(type, *kind.lptdesc, depth);
    if (kind.vt == VT_CARRAY) AskKind(type, kind.lpadesc->tdescElem, depth);
    if (kind.vt != VT_USERDEFINED) return;
    ITypeInfo* referred = nullptr;
    if (FAILED(type->GetRefTypeInfo(kind.hreftype, &referred))) std::abort();  // the reader has checked it
    if (depth < 1) Ask(referred, depth + 1);
    referred->Release();
}

void AskName(ITypeInfo* type, MEMBERID id) {
    BSTR names[8] = {};
    UINT count = 0;
    if (FAILED(type->GetNames(id, names, 8, &count))) return;
    MEMBERID ids[8];
    type->GetIDsOfNames(names, count, ids);
    for (UINT i = 0; i < count; ++i) SysFreeString(names[i]);
}

void Ask(ITypeInfo* type, int depth) {
    TYPEATTR* attributes = nullptr;
    if (FAILED(type->GetTypeAttr(&attributes))) std::abort();
    const TYPEATTR known = *attributes;
    type->ReleaseTypeAttr(attributes);
    for (UINT i = 0; i < known.cFuncs && i < 64; ++i) {
        FUNCDESC* function = nullptr;
        if (FAILED(type->GetFuncDesc(i, &function))) std::abort();
        AskName(type, function->memid);
        AskKind(type, function->elemdescFunc.tdesc, depth);
        for (SHORT k = 0; k < function->cParams; ++k)
            AskKind(type, function->lprgelemdescParam[k].tdesc, depth);
        type->ReleaseFuncDesc(function);
    }
    for (UINT i = 0; i < known.cVars && i < 64; ++i) {
        VARDESC* field = nullptr;
        if (FAILED(type->GetVarDesc(i, &field))) std::abort();
        AskName(type, field->memid);
        AskKind(type, field->elemdescVar.tdesc, depth);
        type->ReleaseVarDesc(field);
    }
    for (int i = -1; i < known.cImplTypes && i < 16; ++i) {
        HREFTYPE reference = 0;
        INT flags = 0;
        type->GetImplTypeFlags(UINT(i), &flags);
        if (FAILED(type->GetRefTypeOfImplType(UINT(i), &reference))) continue;
        ITypeInfo* base = nullptr;
        if (FAILED(type->GetRefTypeInfo(reference, &base))) std::abort();
        if (depth < 1) Ask(base, depth + 1);
        base->Release();
    }
    BSTR name = nullptr, help = nullptr;
    if (SUCCEEDED(type->GetDocumentation(MEMBERID_NIL, &name, &help, nullptr, nullptr))) {
        SysFreeString(name);
        SysFreeString(help);
    }
}

/// The file that the library is read from, which goes with the program.
struct Place {
    Place() {
        const char* folder = std::getenv("BV_TEST_TEMP");
        path = std::string(folder ? folder : "/tmp") + "/fuzz" + std::to_string(getpid()) + ".tlb";
        wide.assign(path.begin(), path.end());
    }
    ~Place() { std::remove(path.c_str()); }
    std::string path;
    std::wstring wide;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const Place place;
    if (std::FILE* file = std::fopen(place.path.c_str(), "wb")) {
        std::fwrite(data, 1, size, file);
        std::fclose(file);
    }
    if (size < 4 || std::string(reinterpret_cast<const char*>(data), 4) != "BVTL")
        return 0;  // else it is a module
    ITypeLib* library = nullptr;
    if (FAILED(LoadTypeLib(place.wide.c_str(), &library))) return 0;
    const UINT count = library->GetTypeInfoCount();
    for (UINT i = 0; i < count && i < 64; ++i) {
        ITypeInfo* type = nullptr;
        if (FAILED(library->GetTypeInfo(i, &type))) std::abort();
        Ask(type, 0);
        type->Release();
    }
    library->Release();
    return 0;
}
