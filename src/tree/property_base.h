// The node: what all property classes share.
#pragma once

#include <initializer_list>
#include <optional>

#include "com/byte_block.h"
#include "com/object.h"
#include "tree/names.h"
#include "tree/node_decl.h"
#include "tree/node_ref.h"
#include "tree/walk.h"

namespace bv {

class ChildList;
class PropertyBase;
class XmlSink;

/// The private question "are you a node of ours?", which an aggregated one doesn't answer. Ours are searched and
/// written without copies.
struct INode : IUnknown {
    virtual PropertyBase& Node() = 0;
};
template <>
inline constexpr IID kIid<INode> = GuidOf("0C5E1C66-5D34-4F5C-8A59-2C4C1B5F6D02");

class PropertyBase : public Dispatch<IProperty>,
                     public SupportsErrors<IProperty>,
                     public ISettingsWriter,
                     public INode,
                     public BackRefTarget,
                     public ObjectRoot {
public:
    explicit PropertyBase(const NodeDecl& decl);

    // IBaseObj
    STDMETHODIMP get_Name(BSTR* pVal) override;
    // IProperty
    STDMETHODIMP get_Type(LONG* pVal) override;
    STDMETHODIMP get_IsHide(LONG* pVal) override;
    STDMETHODIMP put_IsHide(LONG newVal) override;
    STDMETHODIMP get_IsDisabled(LONG* pVal) override;
    STDMETHODIMP put_IsDisabled(LONG newVal) override;
    STDMETHODIMP get_Description(BSTR* pVal) override;
    STDMETHODIMP put_Description(BSTR newVal) override;
    STDMETHODIMP get_Title(BSTR* pVal) override;
    STDMETHODIMP get_Value(VARIANT* pVal) override;
    STDMETHODIMP put_Value(VARIANT newVal) override;
    STDMETHODIMP ShowDialog() override;
    STDMETHODIMP FindProperty(BSTR Name, IProperty** pRet) override;
    STDMETHODIMP get_MediaObject(IDispatch** pVal) override;
    STDMETHODIMP put_MediaObject(IDispatch* newVal) override;
    STDMETHODIMP get_Parent(IDispatch** pVal) override;
    STDMETHODIMP put_Parent(IDispatch* newVal) override;
    STDMETHODIMP get_Extension(IProperty** pVal) override;
    STDMETHODIMP InitDefault() override;
    STDMETHODIMP get_Active(LONG* pVal) override;
    STDMETHODIMP put_Active(LONG newVal) override;
    STDMETHODIMP Hide(LONG newVal) override;
    STDMETHODIMP Disabled(LONG newVal) override;
    STDMETHODIMP get_Format(VARIANT* pVal) override;
    STDMETHODIMP put_Format(VARIANT newVal) override;
    STDMETHODIMP GetData(int* nDataType, LONG* pLength, BYTE** pData) override;
    STDMETHODIMP PutData(int nDataType, LONG nLength, BYTE* pData) override;
    STDMETHODIMP SetInfo(BSTR Name, VARIANT pVal) override;
    STDMETHODIMP BeforeCombo() override;
    STDMETHODIMP get_ClassID(GUID* pVal) override;
    STDMETHODIMP SetMediaObject(IDispatch* pVal) override;
    STDMETHODIMP get_ValueType(int* pVal) override;
    STDMETHODIMP put_DescriptionID(int newVal) override;
    STDMETHODIMP PutExData(IDispatch* pVal) override;
    STDMETHODIMP GetExData(IDispatch** pVal) override;
    // ISettingsWriter
    STDMETHODIMP WriteXml(ISequentialStream* stream) override;
    STDMETHODIMP ReadExtraData(IUnknown* source) override;
    // INode
    PropertyBase& Node() override { return *this; }

    HRESULT FinalConstruct();
    void FinalRelease();

    // What our own nodes and collections ask each other.
    std::wstring_view NameView() const { return name_.View(); }
    bool IsActive() const { return active_ != 0; }
    bool HasMedia() const { return bool(media_); }
    bv::Children Children() const;
    /// The object that the stored value holds, null for any other kind. No reference is added.
    IUnknown* HeldObject() const { return value_ ? ObjectOf(*value_) : nullptr; }
    /// Whether a walk goes on below this node.
    bool HasBelow() const { return HasChildren() || HeldObject(); }
    /// SetInfo with a node of ours as parent. literal: the name is a constant that needn't be copied.
    void Rename(std::wstring_view name, bool literal, PropertyBase& parent);
    /// Gives a node what a declaration sets: a parent's say in what its child looks like.
    static void Adopt(const NodeRef& node, const NodeDecl& decl);
    void WriteElement(XmlSink& sink);

protected:
    // The hooks of a class.
    virtual void ReadExtra() {}
    virtual void WriteExtra() {}
    virtual void BuildChildren();
    virtual HRESULT OnShowDialog() { return E_NOTIMPL; }
    virtual void OnFinalRelease() {}
    virtual void OnMediaObjectChanged(IDispatch*) {}
    virtual void WriteChildrenExtra(XmlSink&) {}
    virtual HRESULT OnFormatChanged(const VARIANT&) { return S_OK; }
    virtual void OnValueChanged();
    virtual void OnValueChanging();
    /// SetMediaObject. referrers: those who point back at the media object, null for a foreign one.
    virtual void GiveMedia(IDispatch* media, BackRefLink** referrers);

    // Building.
    /// Value, value list, extension and children of the declaration.
    void Build(const NodeDecl& decl);
    /// A child by its name and class; null when it can't be created. What the declaration sets beside them is
    /// adopted.
    ComPtr<IProperty> AddChild(const NodeDecl& decl);
    template <class I>
    ComPtr<I> AddChild(const NodeDecl& decl) {
        return AddChild(decl).template As<I>();
    }
    void SetTitle(std::wstring_view title) { title_.SetCopy(title); }
    void SetDescriptionText(std::wstring_view text) { description_.SetCopy(text); }
    void SetType(LONG type) { type_ = type; }
    /// Takes over the reference; an extension that is there already goes.
    void SetExtension(ComPtr<IProperty> extension) { extension_ = std::move(extension); }
    IListOfValues* Values() const { return values_.get(); }
    IProperty* Extension() const { return extension_.get(); }
    IDispatch* Media() const { return media_.get(); }
    /// The media object for this node alone.
    void KeepMedia(IDispatch* media) { media_.Set(media); }
    IDispatch* Parent() const { return parent_.get(); }

    // Values.
    const CLSID& ClassId() const { return decl_->cls; }
    bool HasStore() const { return value_.has_value(); }
    /// The stored value; an empty one when there is no store.
    const VARIANT& Stored() const;
    /// Equal to a constant, by kind and value.
    bool Is(const Literal& literal) const { return value_ && SameValue(*value_, literal); }
    /// The value changed to VT_I2 is there and isn't 0.
    bool IsOn() const;
    /// Stores a copy as it was given, making the store when there is none; no hook runs.
    HRESULT StoreQuietly(const VARIANT& value);
    HRESULT StoreQuietly(std::wstring_view text);
    /// Stores a number of any kind as it was given, when its value is within both ends; no hook runs.
    /// E_NOTIMPL for a node without a store, the conversion's status for what is no number, the message of
    /// that id outside the range.
    HRESULT StoreInRange(const VARIANT& value, SHORT lowest, SHORT highest, int refusal);
    /// put_Value: the check of the non-negative bit, the hooks round the store.
    HRESULT StoreChecked(const VARIANT& value);

    // Other nodes of the job.
    ComPtr<IProperty> Find(Name name) { return Find(static_cast<IProperty*>(this), name); }
    static ComPtr<IProperty> Find(IProperty* from, Name name);
    void Show(bool shown, std::initializer_list<Name> nodes);
    void Enable(bool enabled, std::initializer_list<Name> nodes);
    IEnumProperties* Collection() const { return children_.get(); }

    const ByteBlock& Data() const { return data_; }
    int DataKind() const { return data_kind_; }
    void SwapData(ByteBlock& other, int kind) {
        data_.Swap(other);
        data_kind_ = kind;
    }
    void DropExData() { ex_data_.Reset(); }
    void DropData() { data_.Free(); }

private:
    NodeText name_;
    ComPtr<IEnumProperties> children_;
    ChildList* list_ = nullptr;  // children_, when it is one of ours
    ComPtr<IListOfValues> values_;
    BackRef<IDispatch> media_;
    ComPtr<IProperty> extension_;
    BackRef<IDispatch> parent_;
    ComPtr<IDispatch> ex_data_;
    std::optional<Variant> value_;  // no store differs from an empty one
    LONG type_;
    NodeText title_;
    NodeText description_;
    LONG hidden_ = 0;
    LONG disabled_ = 0;
    LONG active_ = 1;
    unsigned char walks_ = 0;  // those that are below this node
    ByteBlock data_;
    int data_kind_ = 0;
    int description_id_;
    const NodeDecl* decl_;

    friend class Visit;
    bool HasChildren() const;
    /// Calls a put of a flag on the held node and on the children.
    void PassOn(HRESULT (STDMETHODCALLTYPE IProperty::*put)(LONG), LONG flag, Walk::Kind kind);
    ComPtr<IProperty> AddDeclared(const NodeDecl& decl, bool literal_name);
    static ComPtr<IProperty> AddDeclaredTo(IEnumProperties* collection, IProperty* parent,
                                           const NodeDecl& decl);
    static void Finish(const NodeRef& child, const NodeDecl& decl);
    static void AddChoice(IListOfValues* values, const Choice& choice);
    void AdoptOwn(const NodeDecl& decl);
    static void AdoptForeign(IProperty* node, const NodeDecl& decl);

public:
    // A node passes two queries on to objects that it holds.
    using Answers = InterfaceMap<IProperty, IBaseObj, ISupportErrorInfo, ISettingsWriter, IBackRefTarget,
                                 Held<&PropertyBase::children_>, Held<&PropertyBase::values_>>;
    using AnswersAlone = InterfaceMap<INode>;
};

inline NodeRef::NodeRef(PropertyBase& node)
    : bits_(reinterpret_cast<std::uintptr_t>(static_cast<IUnknown*>(static_cast<IProperty*>(&node))) | kOwn) {
    static_cast<IProperty&>(node).AddRef();
}
inline PropertyBase* NodeRef::own() const {
    return bits_ & kOwn ? static_cast<PropertyBase*>(static_cast<IProperty*>(object())) : nullptr;
}

}  // namespace bv
