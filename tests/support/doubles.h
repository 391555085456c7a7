// Objects of a host or of somebody else's component, as a test needs them:
// nodes that aren't ours, formats, filters.
#pragma once

#include "support/node.h"

namespace bv::test {

/// A class id that nobody serves, but a ClassDouble of the test.
inline constexpr CLSID kNoClass = GuidOf("D0B1E000-0000-4000-8000-000000000001");

/// An object of a test, on its stack, that answers the interfaces of the list. The first is its identity.
/// Fails the test if somebody holds it at its end.
template <class First, class... Rest>
class Fake : public First, public Rest... {
public:
    Fake() = default;
    Fake(const Fake&) = delete;
    virtual ~Fake() { EXPECT_EQ(references_, 1u) << "somebody holds a double that ends"; }

    IUnknown* unknown() { return static_cast<First*>(this); }
    ULONG references() const { return references_; }
    /// A class double that gives this object at each creation.
    auto Maker() {
        return [this](IUnknown*, REFIID iid, void** out) { return QueryInterface(iid, out); };
    }

    STDMETHODIMP QueryInterface(REFIID iid, void** out) override {
        *out = nullptr;
        if (iid == kIid<IUnknown> || iid == kIid<First>)
            *out = static_cast<First*>(this);
        else if (!(Take<Rest>(iid, out) || ...) && !TakeDispatch(iid, out) && !TakeMore(iid, out))
            return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }
    STDMETHODIMP_(ULONG) Release() override { return --references_; }
    STDMETHODIMP GetTypeInfoCount(UINT*) { return E_NOTIMPL; }
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) { return E_NOTIMPL; }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) { return E_NOTIMPL; }
    STDMETHODIMP Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) {
        return E_NOTIMPL;
    }

protected:
    /// An interface beyond the list, without a reference.
    virtual bool TakeMore(REFIID, void**) { return false; }

private:
    template <class I>
    bool Take(REFIID iid, void** out) {
        if (iid != kIid<I>) return false;
        *out = static_cast<I*>(this);
        return true;
    }
    bool TakeDispatch(REFIID iid, void** out) {
        if constexpr (std::is_base_of_v<IDispatch, First>)
            if (iid == kIid<IDispatch>) {
                *out = static_cast<IDispatch*>(static_cast<First*>(this));
                return true;
            }
        return false;
    }
    ULONG references_ = 1;
};

/// A node that isn't ours. Its children hang in a collection of the module;
/// it keeps what it is told and finds nothing.
template <class... More>
class ForeignNodeOf : public Fake<IProperty, More...> {
public:
    explicit ForeignNodeOf(const std::wstring& given) : name(given) {}

    std::wstring name, title;
    Value value;
    LONG hidden = 0, disabled = 0, active = 1;
    IDispatch* parent = nullptr;
    IDispatch* media = nullptr;
    int media_calls = 0, init_calls = 0;
    HRESULT dialog = E_NOTIMPL;
    Ref<IEnumProperties> children;  // null: it answers no collection

    STDMETHODIMP QueryInterface(REFIID iid, void** out) override {
        if (iid == kIid<IEnumProperties> && children) return children->QueryInterface(iid, out);
        return Fake<IProperty, More...>::QueryInterface(iid, out);
    }
    STDMETHODIMP get_Name(BSTR* out) override { return Give(out, SysAllocString(name.c_str())); }
    STDMETHODIMP get_Type(LONG* out) override { return Give(out, LONG(0)); }
    STDMETHODIMP get_IsHide(LONG* out) override { return Give(out, hidden); }
    STDMETHODIMP put_IsHide(LONG flag) override { return Hide(flag); }
    STDMETHODIMP get_IsDisabled(LONG* out) override { return Give(out, disabled); }
    STDMETHODIMP put_IsDisabled(LONG flag) override { return Disabled(flag); }
    STDMETHODIMP get_Description(BSTR*) override { return E_FAIL; }
    STDMETHODIMP put_Description(BSTR) override { return E_FAIL; }
    STDMETHODIMP get_Title(BSTR* out) override { return Give(out, SysAllocString(title.c_str())); }
    STDMETHODIMP get_Value(VARIANT* out) override {
        VariantInit(out);
        return VariantCopy(out, &value.get());
    }
    STDMETHODIMP put_Value(VARIANT given) override { return VariantCopy(value.Put(), &given); }
    STDMETHODIMP ShowDialog() override { return dialog; }
    STDMETHODIMP FindProperty(BSTR, IProperty**) override { return S_FALSE; }
    STDMETHODIMP get_MediaObject(IDispatch**) override { return S_OK; }
    STDMETHODIMP put_MediaObject(IDispatch* given) override {
        media = given;
        ++media_calls;
        return S_OK;
    }
    STDMETHODIMP get_Parent(IDispatch**) override { return S_FALSE; }
    STDMETHODIMP put_Parent(IDispatch* given) override { return Give(&parent, given); }
    STDMETHODIMP get_Extension(IProperty**) override { return E_NOTIMPL; }
    STDMETHODIMP InitDefault() override {
        ++init_calls;
        return S_OK;
    }
    STDMETHODIMP get_Active(LONG* out) override { return Give(out, active); }
    STDMETHODIMP put_Active(LONG flag) override { return Give(&active, flag); }
    STDMETHODIMP Hide(LONG flag) override { return Give(&hidden, flag); }
    STDMETHODIMP Disabled(LONG flag) override {
        Give(&disabled, flag);
        return E_FAIL;  // nobody cares
    }
    STDMETHODIMP get_Format(VARIANT*) override { return E_NOTIMPL; }
    STDMETHODIMP put_Format(VARIANT) override { return E_NOTIMPL; }
    STDMETHODIMP GetData(int*, LONG*, BYTE**) override { return E_NOTIMPL; }
    STDMETHODIMP PutData(int, LONG, BYTE*) override { return E_NOTIMPL; }
    STDMETHODIMP SetInfo(BSTR given, VARIANT above) override {
        name = std::wstring(given, SysStringLen(given));
        if (above.vt == VT_DISPATCH) parent = above.pdispVal;
        return S_OK;
    }
    STDMETHODIMP BeforeCombo() override { return E_NOTIMPL; }
    STDMETHODIMP get_ClassID(GUID* out) override { return Give(out, GUID{}); }
    STDMETHODIMP SetMediaObject(IDispatch* given) override { return Give(&media, given); }
    STDMETHODIMP get_ValueType(int* out) override { return Give(out, int(value.kind())); }
    STDMETHODIMP put_DescriptionID(int) override { return E_NOTIMPL; }
    STDMETHODIMP PutExData(IDispatch*) override { return E_NOTIMPL; }
    STDMETHODIMP GetExData(IDispatch**) override { return E_NOTIMPL; }

private:
    template <class T>
    static HRESULT Give(T* out, T given) {
        *out = given;
        return S_OK;
    }
};
using ForeignNode = ForeignNodeOf<>;

/// An output format that has a tree.
class FormatDouble : public ForeignNodeOf<IOutputFormatInfo> {
public:
    explicit FormatDouble(const std::wstring& label) : ForeignNodeOf(L"Format") { title = label; }

    std::vector<IProperty*> owners;  // what SetOwner was told
    HRESULT owner_status = S_OK;
    GUID id = {};
    HRESULT id_status = S_OK;
    IDispatch* format_media = nullptr;

    STDMETHODIMP GetFormatInfo(BSTR*, BSTR*) override { return E_NOTIMPL; }
    STDMETHODIMP GetClassID(GUID* out) override {
        *out = id;
        return id_status;
    }
    STDMETHODIMP SetOwner(IProperty* owner) override {
        owners.push_back(owner);
        return owner_status;
    }
    using ForeignNodeOf::SetMediaObject;
    STDMETHODIMP SetMediaObject(IDispatch* given) override {
        media = format_media = given;
        return S_OK;
    }
};

/// A filter of the media framework. More: what it answers besides.
template <class... More>
class FilterDouble : public Fake<IBaseFilter, More...> {
public:
    CLSID id = {};
    HRESULT id_status = S_OK;

    STDMETHODIMP GetClassID(CLSID* out) override {
        *out = id;
        return id_status;
    }
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
};

/// A double that lives while somebody holds it.
template <class Double>
class Heap final : public Double {
public:
    using Double::Double;
    STDMETHODIMP_(ULONG) Release() override {
        const ULONG left = Double::Release();
        if (left == 0) {
            this->AddRef();
            delete this;
        }
        return left;
    }
};
/// Makes one and gives it, as a class object does.
template <class Double, class... Args>
HRESULT MakeNew(REFIID iid, void** out, Args&&... args) {
    auto* made = new Heap<Double>(std::forward<Args>(args)...);
    const HRESULT status = made->QueryInterface(iid, out);
    made->Release();
    return status;
}

/// A double made of a node of the server's, as component authors do it:
/// what it doesn't answer, the node does.
template <class Double>
class Around : public Double {
public:
    explicit Around(REFCLSID cls) {
        EXPECT_EQ(
            CoCreateInstance(cls, this->unknown(), CLSCTX_INPROC_SERVER, kIid<IUnknown>, inner.PutVoid()),
            S_OK);
    }
    explicit Around(IClassFactory* factory) {
        EXPECT_EQ(factory->CreateInstance(this->unknown(), kIid<IUnknown>, inner.PutVoid()), S_OK);
    }
    ~Around() override { inner = {}; }
    Ref<IUnknown> inner;

private:
    bool TakeMore(REFIID iid, void** out) override {
        if (!inner || FAILED(inner->QueryInterface(iid, out))) return false;  // none yet while it is made
        this->Release();                                                      // the query has counted on us
        return true;
    }
};

/// Creates filters for a class id while it lives. Their settings are a node of the server, as of
/// filters outside it.
class FilterWithSettings {
public:
    FilterWithSettings(REFCLSID filter, REFCLSID settings)
        : class_(filter, [filter, settings](IUnknown*, REFIID iid, void** out) {
              return MakeNew<Filter>(iid, out, filter, settings);
          }) {}

private:
    class Filter : public Around<FilterDouble<IFilterEntry>> {
    public:
        Filter(REFCLSID filter, REFCLSID settings) : Around(settings) { id = filter; }
    };
    ClassDouble class_;
};

/// Does something at its last end, as an object that belongs to a player may.
class ComesBack : public Fake<IUnknown> {
public:
    std::function<void()> last_end;
    STDMETHODIMP_(ULONG) Release() override {
        const ULONG left = Fake::Release();
        if (left == 1 && last_end) std::exchange(last_end, nullptr)();
        return left;
    }
};

}  // namespace bv::test
