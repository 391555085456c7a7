// The media object of a host, as tests, benchmarks and fuzzers need one.
#pragma once

#include <string>
#include <tuple>

#include "support/ref.h"

namespace bv::test {

/// The part of a dual interface that a double doesn't have.
template <class Interface>
class NoDispatch : public Interface {
public:
    STDMETHODIMP GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
    STDMETHODIMP Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) override {
        return E_NOTIMPL;
    }
};

/// A media object that aggregates a Map, and stands for the job whose root it was given.
class MediaDouble : public NoDispatch<IMediaParser>, public IMediaFilesHost, public NoDispatch<IMediaObject> {
public:
    LONGLONG duration = 100000000;     // 10 s
    LONGLONG time_per_frame = 400000;  // 25 frames a second
    int flag_a = 1, flag_b = 1, still = 0;
    std::wstring output_name = L"out.avi";
    int index = 3;
    IProperty* root = nullptr;  // what it answers IProperty with
    IUnknown* files = nullptr;  // what it answers IMediaFiles with
    bool has_map = true, has_parser = true, has_media_object = true;

    MediaDouble() {
        std::ignore =
            CoCreateInstance(clsid::Map, dispatch(), CLSCTX_INPROC_SERVER, kIid<IUnknown>, map_.PutVoid());
    }
    MediaDouble(const MediaDouble&) = delete;
    virtual ~MediaDouble() = default;

    IDispatch* dispatch() { return static_cast<IMediaParser*>(this); }
    Ref<IMap> map() const { return map_.As<IMap>(); }
    ULONG references() const { return references_; }

    STDMETHODIMP QueryInterface(REFIID iid, void** out) override {
        *out = nullptr;
        if (iid == kIid<IProperty>) return Pass(root, iid, out);
        if (iid == kIid<IMediaFiles>) return Pass(files, iid, out);
        if (iid == kIid<IMap>) return Pass(has_map ? map_.get() : nullptr, iid, out);
        if (iid == kIid<IUnknown> || iid == kIid<IDispatch> || (iid == kIid<IMediaParser> && has_parser))
            *out = static_cast<IMediaParser*>(this);
        else if (iid == kIid<IMediaFilesHost> && files)
            *out = static_cast<IMediaFilesHost*>(this);
        else if (iid == kIid<IMediaObject> && has_media_object)
            *out = static_cast<IMediaObject*>(this);
        else
            return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }
    STDMETHODIMP_(ULONG) Release() override { return --references_; }
    STDMETHODIMP get_Duration(LONGLONG* pVal) override { return Give(pVal, duration); }
    STDMETHODIMP get_TimePerFrame(LONGLONG* pVal) override { return Give(pVal, time_per_frame); }
    STDMETHODIMP get_StreamFlagA(int* pVal) override { return Give(pVal, flag_a); }
    STDMETHODIMP get_StreamFlagB(int* pVal) override { return Give(pVal, flag_b); }
    STDMETHODIMP get_IsStill(int* pVal) override { return Give(pVal, still); }
    STDMETHODIMP PreOpen(IUnknown*) override { return E_NOTIMPL; }
    STDMETHODIMP get_TitleInfo(BSTR*) override { return E_NOTIMPL; }
    STDMETHODIMP get_CurrentFormat(IDispatch**) override { return E_NOTIMPL; }
    STDMETHODIMP InitDefault() override { return S_OK; }
    STDMETHODIMP Encoding(ICriticalSection*, LONG*) override { return E_NOTIMPL; }
    STDMETHODIMP Stop() override { return S_OK; }
    STDMETHODIMP GetOuputFileName(BSTR* pVal) override {
        *pVal = SysAllocString(output_name.c_str());
        return *pVal ? S_OK : E_OUTOFMEMORY;
    }
    STDMETHODIMP GetCurIndex(int* pVal) override { return Give(pVal, index); }

private:
    template <class T>
    static HRESULT Give(T* out, T value) {
        *out = value;
        return S_OK;
    }
    static HRESULT Pass(IUnknown* to, REFIID iid, void** out) {
        return to ? to->QueryInterface(iid, out) : E_NOINTERFACE;
    }

    ULONG references_ = 1;
    Ref<IUnknown> map_;  // the inner object of the aggregated Map
};

}  // namespace bv::test
