// What the fuzz targets share: the server's classes in the program itself.
#pragma once

#include <bvschema/bvschema.h>

#include <cstdlib>

#include "com/com_ptr.h"
#include "com/creation.h"
#include "module/class_table.h"

namespace fuzz {

/// Makes the classes of this program known to the component model, once.
inline void StartServer() {
    static const bool started = [] {
        if (FAILED(CoInitialize(nullptr))) std::abort();
        bv::StartClassTable();
        for (const bv::ClassEntry& entry : bv::ClassTable()) {
            bv::ComPtr<IUnknown> object;
            DWORD cookie = 0;
            if (FAILED(bv::GetClassObject(entry.cls, bv::kIid<IUnknown>, object.PutVoid())) ||
                FAILED(CoRegisterClassObject(entry.cls, object.get(), CLSCTX_INPROC_SERVER,
                                             REGCLS_MULTIPLEUSE, &cookie)))
                std::abort();
        }
        return true;
    }();
    (void)started;
}

/// A stream that takes everything and keeps its size.
class Sink final : public ISequentialStream {
public:
    size_t size = 0;
    STDMETHODIMP QueryInterface(REFIID, void** out) override { return *out = nullptr, E_NOINTERFACE; }
    STDMETHODIMP_(ULONG) AddRef() override { return 2; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }
    STDMETHODIMP Read(void*, ULONG, ULONG*) override { return E_NOTIMPL; }
    STDMETHODIMP Write(const void*, ULONG count, ULONG*) override { return size += count, S_OK; }
};

/// An object by class id; null when it can't be made.
template <class I>
bv::ComPtr<I> Make(REFCLSID cls) {
    bv::ComPtr<I> made;
    std::ignore = bv::Create(cls, made);
    return made;
}

}  // namespace fuzz
