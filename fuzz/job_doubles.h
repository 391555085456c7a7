// Components of somebody else, as a job meets them: each of their operations may call back into the job.
#pragma once

#include <bvschema/bvschema.h>

#include <functional>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>

#include "com/com_ptr.h"
#include "com/variant.h"
#include "support/media.h"

namespace fuzz {

using bv::ComPtr;
using bv::kIid;

/// What every operation of a double does first.
inline std::function<void()> on_call;
inline void Called() {
    if (on_call) on_call();
}

template <class I>
using Part = std::conditional_t<std::is_base_of_v<IDispatch, I>, bv::test::NoDispatch<I>, I>;
/// A counted object that calls back at its end, too. Interfaces: those that it answers.
template <class... Interfaces>
class Double : public Part<Interfaces>... {
public:
    Double() = default;
    Double(const Double&) = delete;
    virtual ~Double() = default;
    using First = std::tuple_element_t<0, std::tuple<Interfaces...>>;
    IUnknown* unknown() { return static_cast<First*>(this); }

    STDMETHODIMP QueryInterface(REFIID iid, void** out) override {
        Called();
        *out = nullptr;
        if (iid == kIid<IUnknown>) *out = unknown();
        if (iid == kIid<IDispatch>) TakeDispatch(out);
        std::ignore = (Take<Interfaces>(iid, out) || ...);
        if (!*out) return Otherwise(iid, out);
        ++references_;
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }
    STDMETHODIMP_(ULONG) Release() override {
        const ULONG left = --references_;
        if (left == 0) {
            references_ = 1;  // what it does at its end may count on it
            Called();
            Drop();
            delete this;
        }
        return left;
    }
    /// Releases what it holds.
    virtual void Drop() {}

protected:
    virtual HRESULT Otherwise(REFIID, void**) { return E_NOINTERFACE; }

private:
    template <class I>
    bool Take(REFIID iid, void** out) {
        if (iid != kIid<I>) return false;
        *out = static_cast<I*>(this);
        return true;
    }
    void TakeDispatch(void** out) {
        if constexpr (std::is_base_of_v<IDispatch, First>)
            *out = static_cast<IDispatch*>(static_cast<First*>(this));
    }
    ULONG references_ = 1;
};

template <class T>
HRESULT Give(T* out, T value) {
    Called();
    *out = value;
    return S_OK;
}
inline std::wstring Words(BSTR text) {
    return text ? std::wstring(text, SysStringLen(text)) : std::wstring();
}

/// A node of somebody else that is whatever it is asked for: a setting, a format, an action, a filter
/// and its wrapper.
class NodeDouble final
    : public Double<IProperty, ISettingsWriter, ISimpleInit, IValueFormat, IOutputFormatInfo, IFilterItem,
                    IActionObject, IFilterEntry, IBaseFilter> {
public:
    std::wstring name = L"foreign";
    bv::Variant value;
    LONG hidden = 0, disabled = 0, active = 1, type = 0;
    IDispatch* media = nullptr;
    ComPtr<IUnknown> children;  // what answers IEnumProperties and IListOfValues
    ComPtr<IUnknown> values;
    ComPtr<IProperty> extension;
    ComPtr<IDispatch> ex_data;

    void Drop() override {
        value.Clear();
        children.Reset();
        values.Reset();
        extension.Reset();
        ex_data.Reset();
    }
    STDMETHODIMP get_Name(BSTR* out) override { return Give(out, SysAllocString(name.c_str())); }
    STDMETHODIMP get_Type(LONG* out) override { return Give(out, type); }
    STDMETHODIMP get_IsHide(LONG* out) override { return Give(out, hidden); }
    STDMETHODIMP put_IsHide(LONG flag) override { return Give(&hidden, flag); }
    STDMETHODIMP get_IsDisabled(LONG* out) override { return Give(out, disabled); }
    STDMETHODIMP put_IsDisabled(LONG flag) override { return Give(&disabled, flag); }
    STDMETHODIMP get_Description(BSTR*) override { return Called(), E_FAIL; }
    STDMETHODIMP put_Description(BSTR) override { return Called(), S_OK; }
    STDMETHODIMP get_Title(BSTR* out) override { return get_Name(out); }
    STDMETHODIMP get_Value(VARIANT* out) override {
        Called();
        VariantInit(out);
        return VariantCopy(out, &value);
    }
    STDMETHODIMP put_Value(VARIANT given) override {
        Called();
        bv::Variant copy;
        const HRESULT status = VariantCopy(copy.Put(), &given);
        std::swap(static_cast<VARIANT&>(value), static_cast<VARIANT&>(copy));
        return status;
    }
    STDMETHODIMP ShowDialog() override { return Called(), E_NOTIMPL; }
    STDMETHODIMP FindProperty(BSTR, IProperty**) override { return Called(), S_FALSE; }
    STDMETHODIMP get_MediaObject(IDispatch**) override { return Called(), S_OK; }
    STDMETHODIMP put_MediaObject(IDispatch* given) override { return Give(&media, given); }
    STDMETHODIMP get_Parent(IDispatch**) override { return Called(), S_FALSE; }
    STDMETHODIMP put_Parent(IDispatch*) override { return Called(), S_OK; }
    STDMETHODIMP get_Extension(IProperty** out) override {
        Called();
        return extension ? extension.CopyTo(out) : E_NOTIMPL;
    }
    STDMETHODIMP InitDefault() override { return Called(), S_OK; }
    STDMETHODIMP get_Active(LONG* out) override { return Give(out, active); }
    STDMETHODIMP put_Active(LONG flag) override { return Give(&active, flag); }
    STDMETHODIMP Hide(LONG flag) override { return Give(&hidden, flag); }
    STDMETHODIMP Disabled(LONG flag) override { return Give(&disabled, flag); }
    STDMETHODIMP get_Format(VARIANT* out) override { return get_Value(out); }
    STDMETHODIMP put_Format(VARIANT given) override { return put_Value(given); }
    STDMETHODIMP GetData(int*, LONG*, BYTE**) override { return Called(), E_NOTIMPL; }
    STDMETHODIMP PutData(int, LONG, BYTE*) override { return Called(), E_NOTIMPL; }
    STDMETHODIMP SetInfo(BSTR given, VARIANT) override {
        Called();
        name = Words(given);
        return S_OK;
    }
    STDMETHODIMP BeforeCombo() override { return Called(), S_OK; }
    STDMETHODIMP get_ClassID(GUID* out) override { return Give(out, GUID{}); }
    STDMETHODIMP SetMediaObject(IDispatch* given) override { return Give(&media, given); }
    STDMETHODIMP get_ValueType(int* out) override { return Give(out, int(value.vt)); }
    STDMETHODIMP put_DescriptionID(int) override { return Called(), S_OK; }
    STDMETHODIMP PutExData(IDispatch* given) override {
        Called();
        ex_data = given;
        return S_OK;
    }
    STDMETHODIMP GetExData(IDispatch** out) override {
        Called();
        return ex_data ? ex_data.CopyTo(out) : E_FAIL;
    }
    // ISettingsWriter
    STDMETHODIMP WriteXml(ISequentialStream* stream) override {
        Called();
        stream->Write("<foreign/>\n", 11, nullptr);
        Called();
        return S_OK;
    }
    STDMETHODIMP ReadExtraData(IUnknown*) override { return Called(), S_OK; }
    // ISimpleInit
    STDMETHODIMP SetType(LONG given) override { return Give(&type, given); }
    STDMETHODIMP SetTitle(BSTR) override { return Called(), S_OK; }
    STDMETHODIMP SetPathExtension(BSTR) override { return Called(), E_NOTIMPL; }
    STDMETHODIMP AddItem(BSTR label, VARIANT given) override {
        Called();
        const auto list = bv::Query<IListOfValues>(values.get());
        return list ? list->AddItem(label, given) : E_NOTIMPL;
    }
    STDMETHODIMP AddObject(CLSID*) override { return Called(), E_NOTIMPL; }
    STDMETHODIMP AddObject2(BSTR, CLSID*) override { return Called(), E_NOTIMPL; }
    STDMETHODIMP SelectItem(LONG) override { return Called(), E_NOTIMPL; }
    STDMETHODIMP SetExtensionClass(CLSID* cls) override {
        Called();
        ComPtr<IProperty> made;
        const HRESULT status =
            CoCreateInstance(*cls, nullptr, CLSCTX_INPROC_SERVER, kIid<IProperty>, made.PutVoid());
        extension = std::move(made);
        return status;
    }
    // IValueFormat
    STDMETHODIMP ParseValue(VARIANT shown, VARIANT* stored) override {
        Called();
        return VariantCopy(stored, &shown);
    }
    STDMETHODIMP FormatValue(VARIANT*) override { return Called(), S_OK; }
    // IOutputFormatInfo, IBaseFilter
    STDMETHODIMP GetFormatInfo(BSTR* label, BSTR* extension_text) override {
        *label = SysAllocString(L"A format");
        return Give(extension_text, SysAllocString(L".ext"));
    }
    STDMETHODIMP GetClassID(GUID* out) override { return Give(out, GUID{1, 2, 3, {}}); }
    STDMETHODIMP SetOwner(IProperty*) override { return Called(), S_OK; }
    // IFilterItem
    STDMETHODIMP Init(BSTR, IUnknown* filter) override {
        Called();
        ex_data = bv::Query<IDispatch>(filter);
        return S_OK;
    }
    STDMETHODIMP get_Text(BSTR* out) override { return get_Name(out); }
    // IBaseFilter
    STDMETHODIMP Stop() override { return E_NOTIMPL; }
    STDMETHODIMP Pause() override { return E_NOTIMPL; }
    STDMETHODIMP Run(REFERENCE_TIME) override { return E_NOTIMPL; }
    STDMETHODIMP GetState(DWORD, FILTER_STATE*) override { return E_NOTIMPL; }
    STDMETHODIMP SetSyncSource(IReferenceClock*) override { return E_NOTIMPL; }
    STDMETHODIMP GetSyncSource(IReferenceClock**) override { return E_NOTIMPL; }
    STDMETHODIMP EnumPins(IEnumPins**) override { return E_NOTIMPL; }
    STDMETHODIMP FindPin(LPCWSTR, IPin**) override { return E_NOTIMPL; }
    STDMETHODIMP QueryFilterInfo(FILTER_INFO*) override { return E_NOTIMPL; }
    STDMETHODIMP JoinFilterGraph(IFilterGraph*, LPCWSTR) override { return E_NOTIMPL; }
    STDMETHODIMP QueryVendorInfo(LPWSTR*) override { return E_NOTIMPL; }

private:
    HRESULT Otherwise(REFIID iid, void** out) override {
        if (iid == kIid<IBaseObj>) return unknown()->QueryInterface(kIid<IProperty>, out);
        if (iid == kIid<IEnumProperties> && children) return children->QueryInterface(iid, out);
        if (iid == kIid<IListOfValues> && values) return values->QueryInterface(iid, out);
        return E_NOINTERFACE;
    }
};

/// A collection of somebody else, round one of ours.
class ListDouble final : public Double<IEnumProperties> {
public:
    explicit ListDouble(ComPtr<IEnumProperties> inner) : inner_(std::move(inner)) {}
    void Drop() override { inner_.Reset(); }
    STDMETHODIMP get_Name(BSTR* out) override { return Called(), Mine()->get_Name(out); }
    STDMETHODIMP get_Count(LONG* out) override { return Called(), Mine()->get_Count(out); }
    STDMETHODIMP get_Item(LONG index, IUnknown** out) override {
        const HRESULT status = Mine()->get_Item(index, out);
        Called();
        return status;
    }
    STDMETHODIMP InsertProperty(BSTR name, GUID* cls, IProperty** out) override {
        return Called(), Mine()->InsertProperty(name, cls, out);
    }
    STDMETHODIMP AddProperty(BSTR name, GUID* cls, IDispatch* parent, IProperty** out) override {
        return Called(), Mine()->AddProperty(name, cls, parent, out);
    }
    STDMETHODIMP FindProperty(BSTR name, IProperty* below, IProperty** out) override {
        return Called(), Mine()->FindProperty(name, below, out);
    }
    STDMETHODIMP FindPropertyExactly(BSTR, IProperty**) override { return Called(), S_FALSE; }
    STDMETHODIMP InitProperty(IDispatch* media) override { return Called(), Mine()->InitProperty(media); }
    STDMETHODIMP RemoveByName(BSTR name, IProperty* below) override {
        return Called(), Mine()->RemoveByName(name, below);
    }
    STDMETHODIMP PutParent(IProperty* above) override { return Called(), Mine()->PutParent(above); }
    STDMETHODIMP AddObject(BSTR name, IUnknown* above, IUnknown* object) override {
        return Called(), Mine()->AddObject(name, above, object);
    }

private:
    HRESULT Otherwise(REFIID iid, void** out) override {
        return iid == kIid<IBaseObj> || iid == kIid<ICollection>
                   ? unknown()->QueryInterface(kIid<IEnumProperties>, out)
                   : E_NOINTERFACE;
    }
    /// Held for the call, as anything may happen in it.
    ComPtr<IEnumProperties> Mine() const { return inner_; }
    ComPtr<IEnumProperties> inner_;
};

/// A value list of somebody else, round one of ours.
class ValuesDouble final : public Double<IListOfValues> {
public:
    explicit ValuesDouble(ComPtr<IListOfValues> inner) : inner_(std::move(inner)) {}
    void Drop() override { inner_.Reset(); }
    STDMETHODIMP get_Name(BSTR* out) override { return Called(), Mine()->get_Name(out); }
    STDMETHODIMP get_Count(LONG* out) override { return Called(), Mine()->get_Count(out); }
    STDMETHODIMP get_Item(LONG index, IUnknown** out) override {
        const HRESULT status = Mine()->get_Item(index, out);
        Called();
        return status;
    }
    STDMETHODIMP get_Text(VARIANT value, BSTR* out) override {
        return Called(), Mine()->get_Text(value, out);
    }
    STDMETHODIMP AddNew(BSTR name, VARIANT value) override { return Called(), Mine()->AddNew(name, value); }
    STDMETHODIMP AddObject2(BSTR name, GUID* cls) override { return Called(), Mine()->AddObject2(name, cls); }
    STDMETHODIMP AddObject(GUID* cls) override { return Called(), Mine()->AddObject(cls); }
    STDMETHODIMP AddItem(BSTR name, VARIANT value) override { return Called(), Mine()->AddItem(name, value); }
    STDMETHODIMP RemoveByID(int index) override { return Called(), Mine()->RemoveByID(index); }
    STDMETHODIMP Clear() override { return Called(), Mine()->Clear(); }

private:
    HRESULT Otherwise(REFIID iid, void** out) override {
        return iid == kIid<IBaseObj> || iid == kIid<ICollection>
                   ? unknown()->QueryInterface(kIid<IListOfValues>, out)
                   : E_NOINTERFACE;
    }
    ComPtr<IListOfValues> Mine() const { return inner_; }
    ComPtr<IListOfValues> inner_;
};

/// An entry of a value list, of somebody else.
class EntryDouble final : public Double<IListItem> {
public:
    void Drop() override { value_.Clear(); }
    STDMETHODIMP get_Name(BSTR* out) override { return Give(out, SysAllocString(name_.c_str())); }
    STDMETHODIMP get_Title(BSTR* out) override { return get_Name(out); }
    STDMETHODIMP get_Value(VARIANT* out) override {
        Called();
        VariantInit(out);
        return VariantCopy(out, &value_);
    }
    STDMETHODIMP SetInfo(BSTR name, VARIANT value) override {
        Called();
        name_ = Words(name);
        return VariantCopy(&value_, &value);
    }

private:
    std::wstring name_;
    bv::Variant value_;
};

/// A stream whose taking is seen.
class StreamDouble final : public Double<ISequentialStream> {
public:
    STDMETHODIMP Read(void*, ULONG, ULONG*) override { return E_NOTIMPL; }
    STDMETHODIMP Write(const void*, ULONG count, ULONG* written) override {
        Called();
        if (written) *written = count;
        return S_OK;
    }
};

/// An object of somebody else that aggregates one of ours, and may write itself.
class Around final : public Double<ISettingsWriter> {
public:
    explicit Around(bool writes) : writes_(writes) {}
    HRESULT Make(IClassFactory* factory) {
        return factory->CreateInstance(unknown(), kIid<IUnknown>, inner_.PutVoid());
    }
    void Drop() override { inner_.Reset(); }
    STDMETHODIMP QueryInterface(REFIID iid, void** out) override {
        if (iid == kIid<IUnknown> || (iid == kIid<ISettingsWriter> && writes_))
            return Double::QueryInterface(iid, out);
        Called();
        *out = nullptr;
        return inner_ ? inner_->QueryInterface(iid, out) : E_NOINTERFACE;
    }
    STDMETHODIMP WriteXml(ISequentialStream* stream) override {
        Called();
        return stream->Write("<around/>\n", 10, nullptr);
    }
    STDMETHODIMP ReadExtraData(IUnknown*) override { return Called(), S_OK; }

private:
    ComPtr<IUnknown> inner_;
    const bool writes_;
};

/// The media object of a host that does something whenever it is asked.
class Media final : public bv::test::MediaDouble {
public:
    STDMETHODIMP QueryInterface(REFIID iid, void** out) override {
        Called();
        return MediaDouble::QueryInterface(iid, out);
    }
    STDMETHODIMP get_Duration(LONGLONG* out) override { return Called(), MediaDouble::get_Duration(out); }
    STDMETHODIMP get_TimePerFrame(LONGLONG* out) override {
        return Called(), MediaDouble::get_TimePerFrame(out);
    }
    STDMETHODIMP get_StreamFlagA(int* out) override { return Called(), MediaDouble::get_StreamFlagA(out); }
    STDMETHODIMP get_IsStill(int* out) override { return Called(), MediaDouble::get_IsStill(out); }
    STDMETHODIMP GetOuputFileName(BSTR* out) override { return Called(), MediaDouble::GetOuputFileName(out); }
    STDMETHODIMP GetCurIndex(int* out) override { return Called(), MediaDouble::GetCurIndex(out); }
};

}  // namespace fuzz
