// host MODULE: registers the module, creates a job and prints the names of the root's children.
#include <bvschema/bvschema.h>

#include <cstdio>

template <class Object, class... Args>
static HRESULT CallModule(Object module, const char* name, Args... args) {
    auto operation = reinterpret_cast<HRESULT(STDAPICALLTYPE*)(Args...)>(GetProcAddress(module, name));
    return operation ? operation(args...) : E_FAIL;
}

int main(int, char** argv) {
    CoInitialize(nullptr);
    HMODULE module = LoadLibraryA(argv[1]);
    if (!module || FAILED(CallModule(module, "DllRegisterServer"))) return 1;

    IProperty* root = nullptr;
    IEnumProperties* children = nullptr;
    if (FAILED(CoCreateInstance(bv::clsid::PropertyMain, nullptr, CLSCTX_INPROC_SERVER, bv::kIid<IProperty>,
                                reinterpret_cast<void**>(&root))))
        return 2;
    if (FAILED(root->QueryInterface(bv::kIid<IEnumProperties>, reinterpret_cast<void**>(&children))))
        return 3;
    LONG count = 0;
    children->get_Count(&count);
    for (LONG i = 0; i < count; ++i) {
        IUnknown* item = nullptr;
        IProperty* child = nullptr;
        BSTR name = nullptr;
        children->get_Item(i, &item);
        item->QueryInterface(bv::kIid<IProperty>, reinterpret_cast<void**>(&child));
        child->get_Name(&name);
        std::printf("%ls\n", name);
        SysFreeString(name);
        child->Release();
        item->Release();
    }
    children->Release();
    root->Release();
    const HRESULT status = CallModule(module, "DllUnregisterServer");
    FreeLibrary(module);
    CoUninitialize();
    return count > 0 && SUCCEEDED(status) ? 0 : 4;
}
