// What the tests of the tree share: a host's view of a node, a media object, a stream, doubles.
#pragma once

#include <gmock/gmock.h>

#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include <bvschema/bvschema.h>

#include "support/media.h"
#include "support/memory_stream.h"
#include "support/ref.h"

namespace bv::test {

/// A VARIANT of a test, freed at its end. Literals say their kind:
/// I4(1), I2(1), Str(L"x"), R8(1.5), Obj(node).
class Value {
public:
    Value() { VariantInit(&variant_); }
    Value(const Value& other) : Value() { VariantCopy(&variant_, const_cast<VARIANT*>(&other.variant_)); }
    ~Value() { VariantClear(&variant_); }
    Value& operator=(Value other) {
        std::swap(variant_, other.variant_);
        return *this;
    }
    VARIANT* Put() {
        VariantClear(&variant_);
        return &variant_;
    }
    const VARIANT& get() const { return variant_; }
    VARIANT& get() { return variant_; }
    VARTYPE kind() const { return variant_.vt; }
    std::wstring text() const {
        return kind() == VT_BSTR ? std::wstring(variant_.bstrVal, SysStringLen(variant_.bstrVal)) : L"";
    }
    IUnknown* object() const {
        return kind() == VT_DISPATCH || kind() == VT_UNKNOWN ? variant_.punkVal : nullptr;
    }
    /// By kind and value; objects by pointer.
    friend bool operator==(const Value& a, const Value& b);
    friend void PrintTo(const Value& value, std::ostream* out);

private:
    VARIANT variant_;
};
Value Nothing();
Value I4(LONG number);
Value I2(SHORT number);
Value UI1(BYTE number);
Value R8(double number);
Value Bool(bool flag);
Value Str(const std::wstring& text);
Value Obj(IDispatch* object);
Value Unk(IUnknown* object);

/// A BSTR argument.
class Text {
public:
    Text(const wchar_t* text) : bstr_(SysAllocString(text)) {}                                    // NOLINT
    Text(const std::wstring& text) : bstr_(SysAllocStringLen(text.data(), UINT(text.size()))) {}  // NOLINT
    Text(const Text&) = delete;
    ~Text() { SysFreeString(bstr_); }
    operator BSTR() const { return bstr_; }  // NOLINT

private:
    BSTR bstr_;
};
/// Takes a BSTR result.
std::wstring Take(BSTR text);
std::string Narrow(const std::wstring& text);
/// A text that an operation gives: TextFrom(files.get(), &IMediaFiles::get_Name).
template <class I, class Base>
std::wstring TextFrom(I* object, HRESULT (STDMETHODCALLTYPE Base::*get)(BSTR*)) {
    BSTR text = nullptr;
    EXPECT_EQ((object->*get)(&text), S_OK);
    return Take(text);
}

/// What a collection holds.
template <class Collection>
LONG CountOf(const Ref<Collection>& list) {
    LONG count = -1;
    EXPECT_EQ(list->get_Count(&count), S_OK);
    return count;
}
template <class Collection>
Ref<IUnknown> ItemOf(const Ref<Collection>& list, LONG index) {
    Ref<IUnknown> item;
    EXPECT_EQ(list->get_Item(index, item.Put()), S_OK);
    return item;
}

/// A node as its host sees it.
class Node {
public:
    Node() = default;
    explicit Node(Ref<IProperty> node) : node_(std::move(node)) {}

    IProperty* get() const { return node_.get(); }
    IProperty* operator->() const { return node_.get(); }
    explicit operator bool() const { return bool(node_); }
    template <class I>
    Ref<I> As() const {
        return node_.As<I>();
    }

    std::wstring Name() const;
    std::wstring Title() const;
    std::wstring Description() const;
    LONG Type() const;
    bool Shown() const;
    bool Enabled() const;
    bool Active() const;
    int ValueType() const;
    /// The value; VT_EMPTY for a node that has none.
    bv::test::Value Value() const;
    bv::test::Value Format() const;
    HRESULT Put(const bv::test::Value& value) const { return node_->put_Value(value.get()); }
    HRESULT PutFormat(const bv::test::Value& value) const { return node_->put_Format(value.get()); }
    Node Find(const std::wstring& name) const;
    Node Extension() const;
    Node Parent() const;
    std::vector<Node> Children() const;
    Node Child(size_t index) const { return Children().at(index); }
    std::vector<std::pair<std::wstring, bv::test::Value>> Choices() const;
    std::string Xml() const;
    void Give(IDispatch* media) const { node_->put_MediaObject(media); }
    void Release() { node_ = {}; }

private:
    Ref<IProperty> node_;
};
/// A new object of a class; fails the test when it can't be created.
template <class I>
Ref<I> New(REFCLSID cls) {
    Ref<I> object;
    EXPECT_EQ(CoCreateInstance(cls, nullptr, CLSCTX_INPROC_SERVER, kIid<I>, object.PutVoid()), S_OK);
    return object;
}
inline Node CreateNode(REFCLSID cls) { return Node(New<IProperty>(cls)); }
/// Hangs a new node of a class below another; the status, or the node where it has to work.
HRESULT InsertChild(const Node& above, CLSID cls, const wchar_t* name = L"child", IProperty** out = nullptr);
Node AddChild(const Node& above, const wchar_t* name, CLSID cls = clsid::PropertySimple);

/// Name, class, title, type, value, choices, description, extension and flags of a node and all below it, a
/// line each, as tests/golden has them.
std::string Dump(const Node& node, bool hidden_too = true);
/// The text of tests/golden/<name>. A line "@<other> <node>" stands for the whole of another one, at the same
/// place and with its first name changed to <node>, if one is given.
std::string Golden(const std::string& name);

/// The thread's error object, taken.
struct Refusal {
    std::wstring text;
    std::wstring source;
    GUID iid = {};
};
Refusal TakeRefusal();

/// Checks what a failing call tells: status, text and source of the error object.
template <class Call>
void ExpectRaised(Call call, const std::wstring& text, const std::wstring& source, HRESULT status = E_FAIL) {
    SetErrorInfo(0, nullptr);
    EXPECT_EQ(call(), status);
    const Refusal refusal = TakeRefusal();
    EXPECT_EQ(refusal.text, text);
    EXPECT_EQ(refusal.source, source);
    EXPECT_EQ(refusal.iid, GUID{});
}
/// Checks that putting a value is refused whole: what is told, and that the value stays.
void ExpectRefused(const Node& node, const Value& value, const std::wstring& text, HRESULT status = E_FAIL,
                   const std::wstring& source = L"BVSchema.Property.1");

/// How many locks the loaded module has is its own affair; whether it could go is told.
bool ModuleCanGo();
bool ModuleCanGo(const wchar_t* file);

/// Fails the test at its end if an object of the module is alive that wasn't at its begin.
class NothingLeft {
public:
    ~NothingLeft() { EXPECT_TRUE(ModuleCanGo()) << "an object outlives the test"; }
};

/// The media object of a test, which nobody may hold at its end.
class FakeMedia final : public MediaDouble {
public:
    ~FakeMedia() { EXPECT_EQ(references(), 1u) << "references on the media object"; }
};

/// A job as a host makes it: root created by class id, media object given.
/// Fails if an object outlives the test.
class JobTest : public testing::Test {
protected:
    JobTest() : root(CreateNode(clsid::PropertyMain)) {
        media.root = root.get();
        root.Give(media.dispatch());
    }
    Node operator[](const wchar_t* name) const { return root.Find(name); }

    NothingLeft no_leaks;  // first, so that it is checked last
    FakeMedia media;
    Node root;
};

/// A class object registered for a class id while it lives: for doubles, and for classes that refuse.
class ClassDouble final : public IClassFactory {
public:
    using Maker = std::function<HRESULT(IUnknown* outer, REFIID iid, void** out)>;
    ClassDouble(REFCLSID cls, Maker maker, DWORD context = CLSCTX_INPROC_SERVER);
    ~ClassDouble();
    ClassDouble(const ClassDouble&) = delete;
    STDMETHODIMP QueryInterface(REFIID iid, void** out) override;
    STDMETHODIMP_(ULONG) AddRef() override { return 2; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }
    STDMETHODIMP CreateInstance(IUnknown* outer, REFIID iid, void** out) override {
        return maker_(outer, iid, out);
    }
    STDMETHODIMP LockServer(BOOL) override { return S_OK; }

private:
    Maker maker_;
    DWORD cookie_ = 0;
};

}  // namespace bv::test
