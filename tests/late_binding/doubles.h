// Doubles of all interfaces that the type library describes: each operation says its id, its name and what it
// got.
#pragma once

#include <bvschema/bvschema.h>

#include <set>
#include <sstream>
#include <string>

#include "support/doubles.h"

namespace bv::test {

/// What the operations of a double saw, and what they give.
struct Record {
    std::string last;  // "0x7D1 get_Name(out)"
    std::set<std::string> called;
    HRESULT status = S_OK;
    std::wstring raise;           // not empty: the text that a failure leaves in the error object
    IDispatch* object = nullptr;  // what object results get, with a reference; null: they stay as they are
};

namespace detail {

inline void Show(std::ostream& out, BSTR text) {
    out << '\'' << (text ? Narrow(std::wstring(text, SysStringLen(text))) : "") << '\'';
}
inline void Show(std::ostream& out, LONG number) { out << number; }
template <class T>
requires(std::is_same_v<T, int> && !std::is_same_v<int, LONG>) void Show(std::ostream& out, T number) {
    out << number;
}
inline void Show(std::ostream& out, HWND window) { out << "window " << reinterpret_cast<ULONG_PTR>(window); }
inline void Show(std::ostream& out, const VARIANT& value) {
    out << "vt" << value.vt;
    if (value.vt == VT_BSTR) Show(out << ' ', value.bstrVal);
    if (value.vt == VT_I4) out << ' ' << value.lVal;
    if (value.vt == VT_I2) out << ' ' << value.iVal;
    if (value.vt == VT_ERROR) out << " 0x" << std::hex << ULONG(value.scode) << std::dec;
}
inline void Show(std::ostream& out, IUnknown* object) { out << (object ? "object" : "null"); }
inline void Show(std::ostream& out, BYTE* bytes) { out << (bytes ? "bytes" : "null"); }
inline void Show(std::ostream& out, GUID* id) { out << (id ? "id" : "null"); }
inline void Show(std::ostream& out, _AMMediaType* type) { out << (type ? "type" : "null"); }

template <class T>
struct Out {
    T* place;
};
template <class T>
struct InOut {
    T* place;
};
inline void SetOutput(LONG* place) { *place = 77; }
template <class T>
requires(std::is_same_v<T, int> && !std::is_same_v<int, LONG>) void SetOutput(T* place) { *place = 77; }
inline void SetOutput(LONGLONG* place) { *place = 1LL << 40; }
inline void SetOutput(BSTR* place) { *place = SysAllocString(L"given"); }
inline void SetOutput(VARIANT* place) {
    place->vt = VT_BSTR;
    place->bstrVal = SysAllocString(L"given");
}
inline void SetOutput(HWND* place) { *place = reinterpret_cast<HWND>(ULONG_PTR(77)); }
inline void SetOutput(GUID* place) { *place = clsid::Map; }

}  // namespace detail

/// The part of every double that isn't the interface's own.
template <class I>
class Double : public Fake<I> {
public:
    Record record;

    ~Double() override {
        while (this->references() > 1) this->Release();  // some systems keep an argument that they refuse
    }

protected:
    template <class... Args>
    HRESULT Call(DISPID id, const char* name, Args... args) {
        std::ostringstream text;
        text << "0x" << std::hex << std::uppercase << id << std::dec << ' ' << name << '(';
        [[maybe_unused]] const char* comma = "";
        ((text << std::exchange(comma, ", "), Take(text, args)), ...);
        text << ')';
        record.last = text.str();
        record.called.insert(name);
        if (FAILED(record.status) && !record.raise.empty()) Raise();
        return record.status;
    }
    template <class T>
    static detail::Out<T> Out(T* place) {
        return {place};
    }
    template <class T>
    static detail::InOut<T> InOut(T* place) {
        return {place};
    }

private:
    template <class T>
    void Take(std::ostream& text, T argument) {
        detail::Show(text, argument);
    }
    template <class T>
    void Take(std::ostream& text, detail::Out<T> out) {
        text << (out.place ? "out" : "null");
        if (out.place && SUCCEEDED(record.status) && record.status != S_FALSE) detail::SetOutput(out.place);
    }
    template <class T>
    void Take(std::ostream& text, detail::Out<T*> out) {
        text << (out.place ? "out" : "null");
        if constexpr (std::is_same_v<T*, BSTR> || std::is_same_v<T*, HWND>) {
            if (out.place && record.status == S_OK) detail::SetOutput(out.place);
        } else if constexpr (std::is_base_of_v<IUnknown, T>) {
            if (out.place && record.object && record.status == S_OK) {
                record.object->AddRef();
                *out.place = static_cast<T*>(record.object);
            }
        }
    }
    template <class T>
    void Take(std::ostream& text, detail::InOut<T> argument) {
        if (!argument.place) {
            text << "null";
            return;
        }
        detail::Show(text, *argument.place);
        if constexpr (std::is_arithmetic_v<T>) *argument.place += 1;
    }
    void Raise() {
        ICreateErrorInfo* made = nullptr;
        if (FAILED(CreateErrorInfo(&made))) return;
        made->SetDescription(record.raise.data());
        made->SetSource(const_cast<LPOLESTR>(L"a.double"));
        made->SetHelpContext(5);
        IErrorInfo* info = nullptr;
        made->QueryInterface(kIid<IErrorInfo>, reinterpret_cast<void**>(&info));
        SetErrorInfo(0, info);
        info->Release();
        made->Release();
    }
};

/// Name of IBaseObj, and Count and Item of ICollection, for all that are based on them.
template <class I>
class BaseDouble : public Double<I> {
public:
    STDMETHODIMP get_Name(BSTR* pVal) override { return this->Call(0x7D1, "get_Name", this->Out(pVal)); }
};
template <class I>
class CollectionDouble : public BaseDouble<I> {
public:
    STDMETHODIMP get_Count(LONG* pVal) override { return this->Call(1, "get_Count", this->Out(pVal)); }
    STDMETHODIMP get_Item(LONG Index, IUnknown** pVal) override {
        return this->Call(2, "get_Item", Index, this->Out(pVal));
    }
};

class BaseObjDouble final : public BaseDouble<IBaseObj> {};
class PlainCollectionDouble final : public CollectionDouble<ICollection> {};

class PropertyDouble final : public BaseDouble<IProperty> {
public:
    STDMETHODIMP get_Type(LONG* pVal) override { return Call(1, "get_Type", Out(pVal)); }
    STDMETHODIMP get_IsHide(LONG* pVal) override { return Call(2, "get_IsHide", Out(pVal)); }
    STDMETHODIMP put_IsHide(LONG newVal) override { return Call(2, "put_IsHide", newVal); }
    STDMETHODIMP get_IsDisabled(LONG* pVal) override { return Call(3, "get_IsDisabled", Out(pVal)); }
    STDMETHODIMP put_IsDisabled(LONG newVal) override { return Call(3, "put_IsDisabled", newVal); }
    STDMETHODIMP get_Description(BSTR* pVal) override { return Call(6, "get_Description", Out(pVal)); }
    STDMETHODIMP put_Description(BSTR newVal) override { return Call(6, "put_Description", newVal); }
    STDMETHODIMP get_Title(BSTR* pVal) override { return Call(0xB, "get_Title", Out(pVal)); }
    STDMETHODIMP get_Value(VARIANT* pVal) override { return Call(0x7D2, "get_Value", Out(pVal)); }
    STDMETHODIMP put_Value(VARIANT newVal) override { return Call(0x7D2, "put_Value", newVal); }
    STDMETHODIMP ShowDialog() override { return Call(7, "ShowDialog"); }
    STDMETHODIMP FindProperty(BSTR Name, IProperty** pRet) override {
        return Call(8, "FindProperty", Name, Out(pRet));
    }
    STDMETHODIMP get_MediaObject(IDispatch** pVal) override { return Call(9, "get_MediaObject", Out(pVal)); }
    STDMETHODIMP put_MediaObject(IDispatch* newVal) override { return Call(9, "put_MediaObject", newVal); }
    STDMETHODIMP get_Parent(IDispatch** pVal) override { return Call(0xA, "get_Parent", Out(pVal)); }
    STDMETHODIMP put_Parent(IDispatch* newVal) override { return Call(0xA, "put_Parent", newVal); }
    STDMETHODIMP get_Extension(IProperty** pVal) override { return Call(0xC, "get_Extension", Out(pVal)); }
    STDMETHODIMP InitDefault() override { return Call(0x70, "InitDefault"); }
    STDMETHODIMP get_Active(LONG* pVal) override { return Call(0xD, "get_Active", Out(pVal)); }
    STDMETHODIMP put_Active(LONG newVal) override { return Call(0xD, "put_Active", newVal); }
    STDMETHODIMP Hide(LONG newVal) override { return Call(0xE, "Hide", newVal); }
    STDMETHODIMP Disabled(LONG newVal) override { return Call(0xF, "Disabled", newVal); }
    STDMETHODIMP get_Format(VARIANT* pVal) override { return Call(0x7D3, "get_Format", Out(pVal)); }
    STDMETHODIMP put_Format(VARIANT newVal) override { return Call(0x7D3, "put_Format", newVal); }
    STDMETHODIMP GetData(int* nDataType, LONG* pLength, BYTE** pData) override {
        return Call(0x7D4, "GetData", Out(nDataType), Out(pLength), Out(pData));
    }
    STDMETHODIMP PutData(int nDataType, LONG nLength, BYTE* pData) override {
        return Call(0x7D5, "PutData", nDataType, nLength, pData);
    }
    STDMETHODIMP SetInfo(BSTR Name, VARIANT pVal) override { return Call(0x16, "SetInfo", Name, pVal); }
    STDMETHODIMP BeforeCombo() override { return Call(0x17, "BeforeCombo"); }
    STDMETHODIMP get_ClassID(GUID* pVal) override { return Call(0x18, "get_ClassID", Out(pVal)); }
    STDMETHODIMP SetMediaObject(IDispatch* pVal) override { return Call(0x19, "SetMediaObject", pVal); }
    STDMETHODIMP get_ValueType(int* pVal) override { return Call(0x1A, "get_ValueType", Out(pVal)); }
    STDMETHODIMP put_DescriptionID(int newVal) override { return Call(0x1B, "put_DescriptionID", newVal); }
    STDMETHODIMP PutExData(IDispatch* pVal) override { return Call(0x1E, "PutExData", pVal); }
    STDMETHODIMP GetExData(IDispatch** pVal) override { return Call(0x1F, "GetExData", Out(pVal)); }
};

class EnumPropertiesDouble final : public CollectionDouble<IEnumProperties> {
public:
    STDMETHODIMP InsertProperty(BSTR Name, GUID* pClsID, IProperty** pRet) override {
        return Call(0xDE, "InsertProperty", Name, pClsID, Out(pRet));
    }
    STDMETHODIMP AddProperty(BSTR Name, GUID* refclsid, IDispatch* pParent, IProperty** pRet) override {
        return Call(0xDF, "AddProperty", Name, refclsid, pParent, Out(pRet));
    }
    STDMETHODIMP FindProperty(BSTR Name, IProperty* pParent, IProperty** pRet) override {
        return Call(0xE0, "FindProperty", Name, pParent, Out(pRet));
    }
    STDMETHODIMP FindPropertyExactly(BSTR Name, IProperty** pRet) override {
        return Call(0xE1, "FindPropertyExactly", Name, Out(pRet));
    }
    STDMETHODIMP InitProperty(IDispatch* pVal) override { return Call(0xE2, "InitProperty", pVal); }
    STDMETHODIMP RemoveByName(BSTR Name, IProperty* pParent) override {
        return Call(0xE3, "RemoveByName", Name, pParent);
    }
    STDMETHODIMP PutParent(IProperty* pParent) override { return Call(0xE4, "PutParent", pParent); }
    STDMETHODIMP AddObject(BSTR Name, IUnknown* pParent, IUnknown* pUnk) override {
        return Call(0xE5, "AddObject", Name, pParent, pUnk);
    }
};

class ListOfValuesDouble final : public CollectionDouble<IListOfValues> {
public:
    STDMETHODIMP get_Text(VARIANT varValue, BSTR* pVal) override {
        return Call(0x11, "get_Text", varValue, Out(pVal));
    }
    STDMETHODIMP AddNew(BSTR Name, VARIANT var) override { return Call(0x12, "AddNew", Name, var); }
    STDMETHODIMP AddObject2(BSTR Name, GUID* pClsID) override {
        return Call(0x13, "AddObject2", Name, pClsID);
    }
    STDMETHODIMP AddObject(GUID* pClsID) override { return Call(0x14, "AddObject", pClsID); }
    STDMETHODIMP AddItem(BSTR Name, VARIANT var) override { return Call(0x15, "AddItem", Name, var); }
    STDMETHODIMP Clear() override { return Call(0x16, "Clear"); }
    STDMETHODIMP RemoveByID(int nID) override { return Call(0x17, "RemoveByID", nID); }
};

class ListItemDouble final : public BaseDouble<IListItem> {
public:
    STDMETHODIMP get_Title(BSTR* pVal) override { return Call(1, "get_Title", Out(pVal)); }
    STDMETHODIMP get_Value(VARIANT* pVal) override { return Call(2, "get_Value", Out(pVal)); }
    STDMETHODIMP SetInfo(BSTR Name, VARIANT pVal) override { return Call(0x16, "SetInfo", Name, pVal); }
};

class MapDouble final : public Double<IMap> {
public:
    STDMETHODIMP get_Property(BSTR Name, IProperty* pParent, IProperty** pVal) override {
        return Call(1, "get_Property", Name, pParent, Out(pVal));
    }
    STDMETHODIMP get_PropertyVal(BSTR Name, IProperty* pParent, VARIANT* pVal) override {
        return Call(3, "get_PropertyVal", Name, pParent, Out(pVal));
    }
    STDMETHODIMP put_PropertyVal(BSTR Name, IProperty* pParent, VARIANT newVal) override {
        return Call(3, "put_PropertyVal", Name, pParent, newVal);
    }
    STDMETHODIMP RemoveProperties(BSTR Name, IProperty* pParent) override {
        return Call(5, "RemoveProperties", Name, pParent);
    }
    STDMETHODIMP InitDefault() override { return Call(2, "InitDefault"); }
    STDMETHODIMP InsertProperty(IUnknown* pVal) override { return Call(4, "InsertProperty", pVal); }
};

class EnumObjectDouble final : public Double<IEnumObject> {
public:
    STDMETHODIMP Count(LONG* pnCount) override { return Call(1, "Count", Out(pnCount)); }
    STDMETHODIMP Item(LONG nID, IUnknown** ppUnk) override { return Call(2, "Item", nID, Out(ppUnk)); }
    STDMETHODIMP Remove(IUnknown* ppUnk) override { return Call(3, "Remove", ppUnk); }
    STDMETHODIMP Add(IUnknown** ppUnk) override { return Call(4, "Add", InOut(ppUnk)); }
    STDMETHODIMP SetMediaObject(IDispatch* ppUnk) override { return Call(5, "SetMediaObject", ppUnk); }
    STDMETHODIMP AddByCLSID(CLSID* pClsID, IUnknown** ppUnk) override {
        return Call(6, "AddByCLSID", pClsID, Out(ppUnk));
    }
};

class CriticalSectionDouble final : public Double<ICriticalSection> {
public:
    STDMETHODIMP Enter(LONG bWork) override { return Call(1, "Enter", bWork); }
    STDMETHODIMP Leave(LONG bWork) override { return Call(2, "Leave", bWork); }
    STDMETHODIMP get_IsLock(LONG bWork, LONG* pVal) override {
        return Call(3, "get_IsLock", bWork, Out(pVal));
    }
    STDMETHODIMP get_NotifyWnd(HWND* pVal) override { return Call(4, "get_NotifyWnd", Out(pVal)); }
    STDMETHODIMP put_NotifyWnd(HWND newVal) override { return Call(4, "put_NotifyWnd", newVal); }
    STDMETHODIMP Initialize(LONG bWork) override { return Call(5, "Initialize", bWork); }
    STDMETHODIMP Delete(LONG bWork) override { return Call(6, "Delete", bWork); }
    STDMETHODIMP Stop() override { return Call(7, "Stop"); }
    STDMETHODIMP get_IsStop(LONG* pRet) override { return Call(8, "get_IsStop", Out(pRet)); }
};

class MediaObjectDouble final : public Double<IMediaObject> {
public:
    STDMETHODIMP PreOpen(IUnknown* source) override { return Call(1, "PreOpen", source); }
    STDMETHODIMP get_TitleInfo(BSTR* pVal) override { return Call(2, "get_TitleInfo", Out(pVal)); }
    STDMETHODIMP get_CurrentFormat(IDispatch** pVal) override {
        return Call(3, "get_CurrentFormat", Out(pVal));
    }
    STDMETHODIMP InitDefault() override { return Call(5, "InitDefault"); }
    STDMETHODIMP Encoding(ICriticalSection* pCritical, LONG* pnIndexStart) override {
        return Call(6, "Encoding", static_cast<IUnknown*>(pCritical), InOut(pnIndexStart));
    }
    STDMETHODIMP Stop() override { return Call(0xE, "Stop"); }
    STDMETHODIMP GetOuputFileName(BSTR* pVal) override { return Call(0xF, "GetOuputFileName", Out(pVal)); }
    STDMETHODIMP GetCurIndex(int* pVal) override { return Call(0x10, "GetCurIndex", Out(pVal)); }
};

class MediaFilesDouble final : public CollectionDouble<IMediaFiles> {
public:
    STDMETHODIMP AddNew() override { return Call(3, "AddNew"); }
    STDMETHODIMP Insert(BSTR Path) override { return Call(4, "Insert", Path); }
    STDMETHODIMP RemoveItem(IProperty* pIt) override { return Call(5, "RemoveItem", pIt); }
    STDMETHODIMP Move(IProperty* ptrProp, int nDir) override { return Call(6, "Move", ptrProp, nDir); }
    STDMETHODIMP GetTopMedia(IProperty** pProp) override { return Call(7, "GetTopMedia", Out(pProp)); }
};

class TimelinesDouble final : public CollectionDouble<ITimelines> {
public:
    STDMETHODIMP AddTimeline(LONG nStartFrm, LONG nEndFrm, IProperty** ptrRet) override {
        return Call(0x13, "AddTimeline", nStartFrm, nEndFrm, Out(ptrRet));
    }
    STDMETHODIMP RemoveTimeline(IProperty* ptrProp) override { return Call(0x14, "RemoveTimeline", ptrProp); }
    STDMETHODIMP Save(BSTR bstrFileName) override { return Call(0x15, "Save", bstrFileName); }
    STDMETHODIMP Load(BSTR bstrFileName) override { return Call(0x16, "Load", bstrFileName); }
    STDMETHODIMP SetMediaObject(IMediaObject* ptrMediaObj) override {
        return Call(0x17, "SetMediaObject", ptrMediaObj);
    }
    STDMETHODIMP get_ActiveDuration(LONGLONG* pVal) override {
        return Call(0x18, "get_ActiveDuration", Out(pVal));
    }
};

class DVDIndexDataDouble final : public Double<IDVDIndexData> {
public:
    STDMETHODIMP SetDVDInfo(BYTE* pData, int nLen) override { return Call(1, "SetDVDInfo", pData, nLen); }
    STDMETHODIMP SetDVDIndex(BYTE* pData, int nLen) override { return Call(2, "SetDVDIndex", pData, nLen); }
    STDMETHODIMP Equal(BYTE* pData, int nLen) override { return Call(3, "Equal", pData, nLen); }
    STDMETHODIMP GetDVDInfo(BYTE** pData, int* nLen) override {
        return Call(4, "GetDVDInfo", Out(pData), Out(nLen));
    }
    STDMETHODIMP GetDVDIndex(BYTE** pData, int* nLen) override {
        return Call(5, "GetDVDIndex", Out(pData), Out(nLen));
    }
};

class BVMapperDouble final : public Double<IBVMapper> {
public:
    STDMETHODIMP Init(GUID* pCategory) override { return Call(1, "Init", pCategory); }
    STDMETHODIMP get_Count(LONG* pVal) override { return Call(2, "get_Count", Out(pVal)); }
    STDMETHODIMP get_Item(LONG nID, tagGUIDREG** pRet) override {
        return Call(3, "get_Item", nID, Out(pRet));
    }
};

class BVFilterMapperDouble final : public Double<IBVFilterMapper> {
public:
    STDMETHODIMP Init(GUID* pCategory, GUID* pItem, IListOfValues* pDest) override {
        return Call(1, "Init", pCategory, pItem, pDest);
    }
};

class AMMediaTypeDouble final : public Double<IAMMediaType> {
public:
    STDMETHODIMP SetMedia(_AMMediaType* pValue) override { return Call(1, "SetMedia", pValue); }
    STDMETHODIMP get_Description(BSTR* pVal) override { return Call(2, "get_Description", Out(pVal)); }
    STDMETHODIMP GetMedia(_AMMediaType** pRetMedia) override { return Call(3, "GetMedia", Out(pRetMedia)); }
};

class MediaSelecterDouble final : public Double<IMediaSelecter> {
public:
    STDMETHODIMP Simple() override { return Call(1, "Simple"); }
    STDMETHODIMP get_Count(LONG* pVal) override { return Call(2, "get_Count", Out(pVal)); }
    STDMETHODIMP get_Path(LONG nID, BSTR* pVal) override { return Call(3, "get_Path", nID, Out(pVal)); }
    STDMETHODIMP SelectFolder(BSTR CurFolder, BSTR* pRet) override {
        return Call(4, "SelectFolder", CurFolder, Out(pRet));
    }
    STDMETHODIMP LoadTimelines(BSTR* pRet) override { return Call(5, "LoadTimelines", Out(pRet)); }
    STDMETHODIMP SaveTimelines(BSTR* pRet) override { return Call(6, "SaveTimelines", Out(pRet)); }
};

}  // namespace bv::test
