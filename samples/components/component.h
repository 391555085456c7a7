// How a component joins a host's process: a class that the component model creates, which adds one interface
// of its own to a node that the server implements.
//
// The node is aggregated: it keeps its children, values and flags, and both objects look like one. Whoever
// asks either of them for an interface asks the component, which answers its own and passes all others on.
#pragma once

#include <atomic>
#include <new>

#include <bvschema/bvschema.h>

namespace sample {

/// What keeps the module in memory: living objects, class objects, locks.
inline constinit std::atomic<LONG> locks = 0;

/// A BSTR argument from a literal.
class Text {
public:
    explicit Text(const wchar_t* text) : bstr_(SysAllocString(text)) {}
    Text(const Text&) = delete;
    ~Text() { SysFreeString(bstr_); }
    operator BSTR() const { return bstr_; }

private:
    BSTR bstr_;
};

/// An interface of another object, counted.
template <class I>
class Ref {
public:
    Ref() = default;
    Ref(const Ref&) = delete;
    ~Ref() {
        if (pointer_) pointer_->Release();
    }
    I* operator->() const { return pointer_; }
    explicit operator bool() const { return pointer_ != nullptr; }
    /// Where a call puts its result; to be used on an empty one.
    I** Put() { return &pointer_; }
    template <class J>
    bool AskedOf(J* object) {
        return object && SUCCEEDED(object->QueryInterface(bv::kIid<I>, reinterpret_cast<void**>(&pointer_)));
    }

private:
    I* pointer_ = nullptr;
};

/// An object with the interface I, and with all that the aggregated node answers.
template <class I>
class Component : public I {
public:
    Component() { ++locks; }
    Component(const Component&) = delete;
    virtual ~Component() { --locks; }

    STDMETHODIMP QueryInterface(REFIID iid, void** out) override {
        if (!out) return E_POINTER;
        *out = nullptr;
        if (!Answers(iid)) return node_ ? node_->QueryInterface(iid, out) : E_NOINTERFACE;
        *out = static_cast<I*>(this);
        AddRef();
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }
    STDMETHODIMP_(ULONG) Release() override {
        const ULONG left = --references_;
        if (left == 0) {
            // The node asks and releases its outer object while it goes; that must not end us a second time.
            references_ = kEnding;
            if (node_) node_->Release();
            delete this;
        }
        return left;
    }

    /// Creates the node, sets it up, and gives the interface that was asked for.
    template <class T>
    static HRESULT Create(REFIID iid, void** out) {
        T* object = new (std::nothrow) T;
        if (!object) return E_OUTOFMEMORY;
        // Our own reference: the node counts up and down on its outer object while it is made.
        object->AddRef();
        HRESULT status = object->Build();
        if (SUCCEEDED(status)) status = object->QueryInterface(iid, out);
        object->Release();
        return status;
    }

protected:
    /// To be called once, by Build.
    HRESULT AggregateNode(REFCLSID cls) {
        return CoCreateInstance(cls, static_cast<I*>(this), CLSCTX_INPROC_SERVER, bv::kIid<IUnknown>,
                                reinterpret_cast<void**>(&node_));
    }
    /// The interfaces of our own; the first is IUnknown, the identity of the whole.
    virtual bool Answers(REFIID iid) const { return iid == bv::kIid<IUnknown> || iid == bv::kIid<I>; }

private:
    static constexpr ULONG kEnding = 0x10000;

    ULONG references_ = 0;
    IUnknown* node_ = nullptr;  // the node's own IUnknown, the one that doesn't ask us back
};

}  // namespace sample
