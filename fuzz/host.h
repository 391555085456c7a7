// What the fuzz targets share: the server's classes in the program itself, and a media object.
#pragma once

#include <bvschema/bvschema.h>

#include <climits>
#include <cstdlib>
#include <string>
#include <tuple>

#include "com/com_ptr.h"
#include "server/class_table.h"

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

/// A job's media object with a source of any timing.
class Media final : public IMediaParser, public IMediaObject {
public:
    LONGLONG duration = 100000000, time_per_frame = 400000;

    Media() {
        std::ignore = CoCreateInstance(bv::clsid::Map, static_cast<IMediaParser*>(this), CLSCTX_INPROC_SERVER,
                                       bv::kIid<IUnknown>, map_.PutVoid());
    }
    STDMETHODIMP QueryInterface(REFIID iid, void** out) override {
        *out = nullptr;
        if (iid == bv::kIid<IMap>) return map_->QueryInterface(iid, out);
        if (iid == bv::kIid<IMediaParser> || iid == bv::kIid<IUnknown> || iid == bv::kIid<IDispatch>)
            *out = static_cast<IMediaParser*>(this);
        else if (iid == bv::kIid<IMediaObject>)
            *out = static_cast<IMediaObject*>(this);
        return *out ? S_OK : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return 2; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }
    STDMETHODIMP GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
    STDMETHODIMP Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP get_Duration(LONGLONG* value) override { return *value = duration, S_OK; }
    STDMETHODIMP get_TimePerFrame(LONGLONG* value) override { return *value = time_per_frame, S_OK; }
    STDMETHODIMP get_StreamFlagA(int* value) override { return *value = 1, S_OK; }
    STDMETHODIMP get_StreamFlagB(int* value) override { return *value = 1, S_OK; }
    STDMETHODIMP get_IsStill(int* value) override { return *value = 0, S_OK; }
    STDMETHODIMP PreOpen(IUnknown*) override { return E_NOTIMPL; }
    STDMETHODIMP get_TitleInfo(BSTR*) override { return E_NOTIMPL; }
    STDMETHODIMP get_CurrentFormat(IDispatch**) override { return E_NOTIMPL; }
    STDMETHODIMP InitDefault() override { return S_OK; }
    STDMETHODIMP Encoding(ICriticalSection*, LONG*) override { return E_NOTIMPL; }
    STDMETHODIMP Stop() override { return S_OK; }
    STDMETHODIMP GetOuputFileName(BSTR*) override { return E_NOTIMPL; }
    STDMETHODIMP GetCurIndex(int*) override { return E_NOTIMPL; }

private:
    bv::ComPtr<IUnknown> map_;
};

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

}  // namespace fuzz
