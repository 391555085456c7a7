// Stands for any interface that the type library describes: each call writes down its id, its name and what it
// got.
#pragma once

#include <bvschema/bvschema.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "support/node.h"

namespace bv::test {

/// What a recorder's operations saw, and what they give.
class Record {
public:
    std::string last;  // "0x7D1 get_Name(out)"
    std::set<std::string> called;
    HRESULT status = S_OK;
    std::wstring raise;           // not empty: the text that a failure leaves in the error object
    IDispatch* object = nullptr;  // what object results get, with a reference; null: they stay as they are

    template <class... Args>
    HRESULT Take(DISPID id, const char* name, [[maybe_unused]] bool counts, Args... args) {
        std::ostringstream text;
        text << "0x" << std::hex << std::uppercase << id << std::dec << ' ' << name << '(';
        [[maybe_unused]] const char* comma = "";
        ((text << std::exchange(comma, ", "), Show(text, args, counts)), ...);
        last = text.str() + ')';
        called.insert(name);
        if (FAILED(status) && !raise.empty()) Raise();
        return status;
    }

private:
    void Show(std::ostream& out, BSTR text, bool) {
        out << '\'' << (text ? Narrow(std::wstring(text, SysStringLen(text))) : "") << '\'';
    }
    void Show(std::ostream& out, HWND window, bool) { out << (window ? "window" : "null"); }
    void Show(std::ostream& out, const VARIANT& value, bool) {
        out << "vt" << value.vt;
        if (value.vt == VT_BSTR) Show(out << ' ', value.bstrVal, false);
        if (value.vt == VT_I4) out << ' ' << value.lVal;
        if (value.vt == VT_I2) out << ' ' << value.iVal;
        if (value.vt == VT_ERROR) out << " 0x" << std::hex << ULONG(value.scode) << std::dec;
    }
    template <class T>
    void Show(std::ostream& out, T argument, bool counts) {
        if constexpr (!std::is_pointer_v<T>)
            out << argument;
        else if constexpr (std::is_convertible_v<T, IUnknown*>)
            out << (argument ? "object" : "null");
        else if (!argument)
            out << "null";
        else if constexpr (std::is_arithmetic_v<std::remove_pointer_t<T>>)
            counts ? void(out << (*argument)++) : Give(out, argument);
        else
            Give(out, argument);
    }
    template <class T>
    void Give(std::ostream& out, T* place) {
        out << "out";
        if (status != S_OK) return;
        if constexpr (std::is_same_v<T, LONGLONG>)
            *place = 1LL << 40;
        else if constexpr (std::is_arithmetic_v<T> && sizeof(T) > 1)
            *place = 77;
        else if constexpr (std::is_same_v<T, BSTR>)
            *place = SysAllocString(L"given");
        else if constexpr (std::is_same_v<T, VARIANT>)
            place->vt = VT_BSTR, place->bstrVal = SysAllocString(L"given");
        else if constexpr (std::is_same_v<T, HWND>)
            *place = reinterpret_cast<HWND>(ULONG_PTR(77));
        else if constexpr (std::is_convertible_v<T, IUnknown*>)
            if (object) object->AddRef(), *place = static_cast<T>(object);
    }
    void Raise() {
        Ref<ICreateErrorInfo> made;
        if (FAILED(CreateErrorInfo(made.Put()))) return;
        made->SetDescription(raise.data());
        made->SetSource(const_cast<LPOLESTR>(L"a.double"));
        SetErrorInfo(0, made.As<IErrorInfo>().get());
    }
};

template <class Function>
const void* AsPointer(Function function) {
    return reinterpret_cast<const void*>(function);
}

/// An operation: where it stands in its interface's table, and a function that stands in for it.
struct Operation {
    size_t place;
    const void* function;
};
using Operations = std::vector<Operation>;
/// The operations of an interface, by the headers.
template <class I>
Operations OperationsOf();

/// An object of the interface on the test's stack.
template <class I>
class Recorder {
public:
    Recorder() {
        table_.fill(AsPointer(&Unknown));
        table_[0] = AsPointer(&QueryInterface);
        table_[1] = AsPointer(&AddRef);
        table_[2] = AsPointer(&Release);
        for (const Operation& operation : OperationsOf<I>()) table_.at(operation.place) = operation.function;
    }
    Recorder(const Recorder&) = delete;

    I* get() { return reinterpret_cast<I*>(this); }
    ULONG references() const { return references_; }

private:
    static HRESULT STDMETHODCALLTYPE QueryInterface(Recorder* self, REFIID iid, void** out) {
        const bool ours = iid == kIid<IUnknown> || iid == kIid<IDispatch> || iid == kIid<I>;
        *out = ours ? self : nullptr;
        self->references_ += ours;
        return ours ? S_OK : E_NOINTERFACE;
    }
    static ULONG STDMETHODCALLTYPE AddRef(Recorder* self) { return ++self->references_; }
    static ULONG STDMETHODCALLTYPE Release(Recorder* self) { return --self->references_; }
    static HRESULT STDMETHODCALLTYPE Unknown(Recorder*) { return E_NOTIMPL; }

    const void* const* pointer_to_table_ = table_.data();  // first, as in every object of an interface

public:
    Record record;

private:
    ULONG references_ = 1;
    std::array<const void*, 64> table_;
};

template <size_t size>
struct Literal {
    constexpr Literal(const char (&given)[size]) { std::copy_n(given, size, text); }  // NOLINT
    char text[size];
};

template <class I, DISPID id, Literal name, bool counts = false, class Base, class... Args>
Operation Recorded(HRESULT (STDMETHODCALLTYPE Base::*operation)(Args...)) {
    HRESULT(STDMETHODCALLTYPE * function)
    (Recorder<I>*, Args...) = [](Recorder<I>* self, Args... args) {
        return self->record.Take(id, name.text, counts, args...);
    };
    size_t offset = 0;  // of a virtual function: its place in the table in bytes, and 1
    std::memcpy(&offset, &operation, sizeof offset);
    return {(offset - 1) / sizeof(void*), AsPointer(function)};
}

#define OP(id, name) Recorded<I, id, #name>(&I::name)

template <class I>
Operations OwnOperations(Operations own) {
    return own;
}
template <class I>
Operations BaseOperations(Operations own) {
    own.push_back(OP(0x7D1, get_Name));
    return own;
}
template <class I>
Operations CollectionOperations(Operations own) {
    own.insert(own.end(), {OP(1, get_Count), OP(2, get_Item)});
    return BaseOperations<I>(std::move(own));
}

#define OPERATIONS(Interface, Of, ...)            \
    template <>                                   \
    inline Operations OperationsOf<Interface>() { \
        using I = Interface;                      \
        return Of<I>({__VA_ARGS__});              \
    }
OPERATIONS(IBaseObj, BaseOperations)
OPERATIONS(ICollection, CollectionOperations)
OPERATIONS(IProperty, BaseOperations, OP(1, get_Type), OP(2, get_IsHide), OP(2, put_IsHide),
           OP(3, get_IsDisabled), OP(3, put_IsDisabled), OP(6, get_Description), OP(6, put_Description),
           OP(0xB, get_Title), OP(0x7D2, get_Value), OP(0x7D2, put_Value), OP(7, ShowDialog),
           OP(8, FindProperty), OP(9, get_MediaObject), OP(9, put_MediaObject), OP(0xA, get_Parent),
           OP(0xA, put_Parent), OP(0xC, get_Extension), OP(0x70, InitDefault), OP(0xD, get_Active),
           OP(0xD, put_Active), OP(0xE, Hide), OP(0xF, Disabled), OP(0x7D3, get_Format),
           OP(0x7D3, put_Format), OP(0x7D4, GetData), OP(0x7D5, PutData), OP(0x16, SetInfo),
           OP(0x17, BeforeCombo), OP(0x18, get_ClassID), OP(0x19, SetMediaObject), OP(0x1A, get_ValueType),
           OP(0x1B, put_DescriptionID), OP(0x1E, PutExData), OP(0x1F, GetExData))
OPERATIONS(IEnumProperties, CollectionOperations, OP(0xDE, InsertProperty), OP(0xDF, AddProperty),
           OP(0xE0, FindProperty), OP(0xE1, FindPropertyExactly), OP(0xE2, InitProperty),
           OP(0xE3, RemoveByName), OP(0xE4, PutParent), OP(0xE5, AddObject))
OPERATIONS(IListOfValues, CollectionOperations, OP(0x11, get_Text), OP(0x12, AddNew), OP(0x13, AddObject2),
           OP(0x14, AddObject), OP(0x15, AddItem), OP(0x16, Clear), OP(0x17, RemoveByID))
OPERATIONS(IListItem, BaseOperations, OP(1, get_Title), OP(2, get_Value), OP(0x16, SetInfo))
OPERATIONS(IMap, OwnOperations, OP(1, get_Property), OP(3, get_PropertyVal), OP(3, put_PropertyVal),
           OP(5, RemoveProperties), OP(2, InitDefault), OP(4, InsertProperty))
OPERATIONS(IEnumObject, OwnOperations, OP(1, Count), OP(2, Item), OP(3, Remove), OP(4, Add),
           OP(5, SetMediaObject), OP(6, AddByCLSID))
OPERATIONS(ICriticalSection, OwnOperations, OP(1, Enter), OP(2, Leave), OP(3, get_IsLock),
           OP(4, get_NotifyWnd), OP(4, put_NotifyWnd), OP(5, Initialize), OP(6, Delete), OP(7, Stop),
           OP(8, get_IsStop))
OPERATIONS(IMediaObject, OwnOperations, OP(1, PreOpen), OP(2, get_TitleInfo), OP(3, get_CurrentFormat),
           OP(5, InitDefault), Recorded<I, 6, "Encoding", true>(&I::Encoding), OP(0xE, Stop),
           OP(0xF, GetOuputFileName), OP(0x10, GetCurIndex))
OPERATIONS(IMediaFiles, CollectionOperations, OP(3, AddNew), OP(4, Insert), OP(5, RemoveItem), OP(6, Move),
           OP(7, GetTopMedia))
OPERATIONS(ITimelines, CollectionOperations, OP(0x13, AddTimeline), OP(0x14, RemoveTimeline), OP(0x15, Save),
           OP(0x16, Load), OP(0x17, SetMediaObject), OP(0x18, get_ActiveDuration))
OPERATIONS(IDVDIndexData, OwnOperations, OP(1, SetDVDInfo), OP(2, SetDVDIndex), OP(3, Equal),
           OP(4, GetDVDInfo), OP(5, GetDVDIndex))
OPERATIONS(IBVMapper, OwnOperations, OP(1, Init), OP(2, get_Count), OP(3, get_Item))
OPERATIONS(IBVFilterMapper, OwnOperations, OP(1, Init))
OPERATIONS(IAMMediaType, OwnOperations, OP(1, SetMedia), OP(2, get_Description), OP(3, GetMedia))
OPERATIONS(IMediaSelecter, OwnOperations, OP(1, Simple), OP(2, get_Count), OP(3, get_Path),
           OP(4, SelectFolder), OP(5, LoadTimelines), OP(6, SaveTimelines))

#undef OP
#undef OPERATIONS

}  // namespace bv::test
