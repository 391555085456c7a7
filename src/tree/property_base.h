// The node: what all property classes share.
#pragma once

#include <initializer_list>
#include <memory>

#include "com/block_pool.h"
#include "com/byte_block.h"
#include "com/creation.h"
#include "com/object.h"
#include "tree/kept_value.h"
#include "tree/names.h"
#include "tree/node_decl.h"
#include "tree/node_ref.h"
#include "tree/node_text.h"
#include "tree/value_list.h"
#include "tree/walk.h"

namespace bv {

class NodePart;
class PropertyBase;
class XmlSink;

/// The private question "are you a node of ours?", which an aggregated one doesn't answer. The answer is the node's
/// IProperty. Ours are searched and written without copies.
inline constexpr IID kNodeQuestion = GuidOf("0C5E1C66-5D34-4F5C-8A59-2C4C1B5F6D02");

/// A node. Hundreds stand in a job, thousands in a list of cuts, so it holds little, and few blocks:
/// - Its child collection and value list are lists in the node. As objects they exist while somebody holds them
///   (NodePart). Where a class object of another stands for one of the two, the node keeps that one's object.
/// - Entries of the value list are records until somebody asks for one as an object.
/// - Texts are bytes in the node, as most are short and ASCII. What few nodes have is in a record of its own (Rare).
/// None of this shows: each class id is looked up as if it were created, in the same order, with the same statuses.
class PropertyBase : public Dispatch<IProperty>,
                     public SupportsErrors<IProperty>,
                     public ISettingsWriter,
                     public ObjectRoot,
                     public Pooled {
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

    HRESULT FinalConstruct();
    void FinalRelease();

    // What our own nodes and collections ask each other.
    const NodeText& NameText() const { return name_; }
    bool IsActive() const { return flags_[kActive] != 0; }
    bool HasMedia() const { return bool(media_); }
    bv::Children Children() const {
        return HasForeignCollection() ? bv::Children(rare_->collection.get()) : bv::Children(children_);
    }
    /// The object that the stored value holds, null for any other kind. No reference is added.
    IUnknown* HeldObject() const { return value_.object(); }
    /// Whether a walk goes on below this node.
    bool HasBelow() const { return HasChildren() || HeldObject(); }
    /// SetInfo with a node of ours as parent. literal: the name lives for ever. False when there is no memory for the
    /// name; the node is as it was.
    bool SetNameAndParent(const LiteralText& name, bool literal, PropertyBase& parent);
    bool SetNameAndParent(std::wstring_view name, PropertyBase& parent);
    /// Gives a node what a declaration sets: a parent's say in what its child looks like.
    /// E_OUTOFMEMORY as Build gives it, else S_OK.
    static HRESULT Adopt(const NodeRef& node, const NodeDecl& decl);
    /// A part that nobody holds any more goes.
    void Forget(NodePart& part);
    void AddReference() { references_.Add(); }
    void DropReference() {
        if (!references_.DropOneOfSeveral()) static_cast<IProperty*>(this)->Release();
    }
    void WriteElement(XmlSink& sink, const Walk& walk);

protected:
    // The hooks of a class.
    virtual void ReadExtra() {}
    virtual void WriteExtra() {}
    virtual HRESULT BuildChildren();
    virtual HRESULT OnShowDialog() { return E_NOTIMPL; }
    virtual void OnFinalRelease() {}
    virtual void OnMediaObjectChanged(IDispatch*) {}
    virtual void WriteChildrenExtra(XmlSink&) {}
    virtual HRESULT OnFormatChanged(const VARIANT&) { return S_OK; }
    virtual void OnValueChanged();
    virtual void OnValueChanging();
    /// SetMediaObject. referrers: those who point back at the media object, null for a foreign one.
    virtual void PropagateMediaObject(IDispatch* media, BackRefLink** referrers);

    // Building.
    /// Value, value list, extension and children of the declaration. E_OUTOFMEMORY when one of them found no memory,
    /// which ends a creation. The node stands without what can't be created for any other reason: S_OK.
    HRESULT Build(const NodeDecl& decl);
    /// A child by its name and class; null when it can't be created. What the declaration sets beside them is
    /// adopted.
    ComPtr<IProperty> AddChild(const NodeDecl& decl);
    template <class I>
    ComPtr<I> AddChild(const NodeDecl& decl) {
        return AddChild(decl).template As<I>();
    }
    HRESULT SetTitle(std::wstring_view title) { return title_.SetCopy(title) ? S_OK : E_OUTOFMEMORY; }
    HRESULT SetDescriptionText(std::wstring_view text) {
        Rare* const rare = NeedRare();
        return rare && rare->description.SetCopy(text) ? S_OK : E_OUTOFMEMORY;
    }
    void SetType(LONG type) { type_ = type; }
    /// Takes over the reference; an extension that is there already goes.
    void SetExtension(ComPtr<IProperty> extension) { extension_ = std::move(extension); }
    /// An entry of the value list.
    void AddChoice(BSTR label, const VARIANT& value) {
        std::ignore = HasForeignValues() ? Values()->AddItem(label, value) : values_.AddItem(label, value);
    }
    ValuesRef Values() { return HasForeignValues() ? ValuesRef(rare_->values) : ValuesRef(values_); }
    IProperty* Extension() const { return extension_.get(); }
    IDispatch* Media() const { return media_.get(); }
    /// The media object for this node alone.
    void KeepMedia(IDispatch* media) { media_.Set(media); }
    IDispatch* Parent() const { return parent_.get(); }

    // Values.
    const CLSID& ClassId() const { return decl_->cls; }
    bool HasStore() const { return value_.exists(); }
    /// The stored value, which stays the node's; an empty one when there is no store.
    VARIANT Stored() const { return value_.Lent(); }
    /// Equal to a constant, by kind and value.
    bool Is(const Literal& literal) const { return HasStore() && SameValue(Stored(), literal); }
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

    // Other nodes of the job. Their values: tree/node_values.h.
    ComPtr<IProperty> Find(Name name) { return Find(static_cast<IProperty*>(this), name); }
    static ComPtr<IProperty> Find(IProperty* from, Name name);
    void Show(bool shown, std::initializer_list<Name> nodes);
    void Enable(bool enabled, std::initializer_list<Name> nodes);
    /// Appends an object to the children: AddObject of the collection, with this node as parent.
    HRESULT AddChildObject(BSTR name, IUnknown* object);

    const ByteBlock& Data() const;
    int DataKind() const { return rare_ ? rare_->data_kind : 0; }
    /// False when there is no memory.
    bool SwapData(ByteBlock& other, int kind);
    void DropExData() {
        if (rare_) rare_->ex_data.Reset();
    }
    void DropData() {
        if (rare_) rare_->data.Free();
    }

private:
    friend class Visit;
    friend class TreeSearch;
    enum Flag { kHidden, kDisabled, kActive };

    /// What few nodes have.
    struct Rare {
        NodeText description;
        ByteBlock data;
        int data_kind = 0;
        ComPtr<IDispatch> ex_data;
        ComPtr<IEnumProperties> collection;  // a foreign one, instead of children_
        ComPtr<IListOfValues> values;        // likewise
        LONG flags[3] = {};                  // those that are kInRare
    };
    static constexpr signed char kInRare = -128;  // a flag with a value beyond a byte

    // References and flags share a word.
    signed char flags_[3] = {0, 0, 1};
    unsigned char walks_ = 0;  // those that are below this node
    KeptValue value_;
    NodeText name_;
    NodeText title_;
    BackRef<IDispatch> media_;
    BackRef<IDispatch> parent_;
    NodeList children_;
    ValueEntries values_;
    NodePart* parts_ = nullptr;
    ComPtr<IProperty> extension_;
    std::unique_ptr<Rare> rare_;
    const NodeDecl* decl_;
    LONG type_;
    int description_id_;

    /// Null when there is no memory.
    Rare* NeedRare();
    LONG FlagValue(Flag flag) const { return flags_[flag] == kInRare ? rare_->flags[flag] : flags_[flag]; }
    void SetFlag(Flag flag, LONG value);
    /// Calls with each child, held for the call, as a loop over Children does.
    template <class Call>
    void EachChild(Call call) const {
        if (HasForeignCollection()) {
            for (const NodeRef& child : Children()) call(child);
        } else {
            for (size_t i = 0; i < children_.size(); ++i) {
                const NodeRef child = children_[i];
                call(child);
            }
        }
    }
    bool HasForeignCollection() const { return rare_ && rare_->collection; }
    bool HasForeignValues() const { return rare_ && rare_->values; }
    bool HasChildren() const { return !children_.empty() || HasForeignCollection(); }
    template <class Part>
    Part* FindPart() const;
    // The collection and the value list as objects.
    HRESULT QueryCollection(void** out);
    HRESULT QueryValues(void** out);
    /// Asks what the classes of the value list and the collection lead to, and keeps what isn't ours.
    HRESULT TakeForeignParts();
    void WriteHeldText(XmlSink& sink);
    void WriteExtension(XmlSink& sink);
    void Attach(NodePart& part);
    void EndParts();

    /// Calls a put of a flag on the held node and on the children.
    void PassOn(HRESULT (STDMETHODCALLTYPE IProperty::*put)(LONG), LONG flag, Walk::Kind kind);
    HRESULT BuildParts(const NodeDecl& decl);
    NodeRef AddDeclared(const NodeDecl& decl, bool literal_name, HRESULT& status);
    static NodeRef AddDeclaredTo(IEnumProperties* collection, IProperty* parent, const NodeDecl& decl,
                                 HRESULT& status);
    static HRESULT Finish(const NodeRef& child, const NodeDecl& decl);
    static HRESULT AddChoice(const ValuesRef& values, const Choice& choice);
    HRESULT AdoptOwn(const NodeDecl& decl);
    static HRESULT AdoptForeign(IProperty* node, const NodeDecl& decl);

    struct CollectionRow : MapRow {
        static bool Answer(PropertyBase* node, REFIID iid, void** out, HRESULT& status) {
            if (!SameId(iid, kIid<IEnumProperties>)) return false;
            status = node->QueryCollection(out);
            return true;
        }
    };
    struct ValuesRow : MapRow {
        static bool Answer(PropertyBase* node, REFIID iid, void** out, HRESULT& status) {
            if (!SameId(iid, kIid<IListOfValues>)) return false;
            status = node->QueryValues(out);
            return true;
        }
    };
    struct NodeRow : MapRow {
        static bool Answer(PropertyBase* node, REFIID iid, void** out, HRESULT& status) {
            if (!SameId(iid, kNodeQuestion)) return false;
            node->AddReference();
            *out = static_cast<IProperty*>(node);
            status = S_OK;
            return true;
        }
    };

public:
    using Answers =
        InterfaceMap<IProperty, IBaseObj, ISupportErrorInfo, ISettingsWriter, CollectionRow, ValuesRow>;
    using AnswersAlone = NodeRow;
};

inline Visit::Visit(PropertyBase& node, const Walk& walk)
    : node_(node), walk_(walk), outer_(*walk.innermost), depth_(outer_ ? outer_->depth_ + 1 : 0) {
    if (depth_ >= kDeepest) return;
    marked_ = !(node.walks_ & walk.kind);
    if (!marked_ && IsInside()) return;
    node.walks_ |= walk.kind;
    *walk.innermost = this;
    entered_ = true;
}
inline Visit::~Visit() {
    if (!entered_) return;
    *walk_.innermost = outer_;
    if (marked_) node_.walks_ &= static_cast<unsigned char>(~walk_.kind);
}

inline NodeRef::NodeRef(PropertyBase& node)
    : bits_(reinterpret_cast<std::uintptr_t>(static_cast<IUnknown*>(static_cast<IProperty*>(&node))) | kOwn) {
    node.AddReference();
}
inline PropertyBase* NodeRef::own() const {
    return bits_ & kOwn ? static_cast<PropertyBase*>(static_cast<IProperty*>(object())) : nullptr;
}
inline NodeRef::NodeRef(const NodeRef& other) : bits_(other.bits_) {
    if (PropertyBase* node = own())
        node->AddReference();
    else if (bits_)
        object()->AddRef();
}
inline NodeRef::~NodeRef() {
    if (PropertyBase* node = own())
        node->DropReference();
    else if (bits_)
        object()->Release();
}

}  // namespace bv
