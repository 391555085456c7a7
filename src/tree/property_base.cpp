#include "tree/property_base.h"

#include "com/bounded_release.h"
#include "com/refusal.h"
#include "tree/child_list.h"
#include "tree/tree_search.h"

namespace bv {

HRESULT CreateListOfValues(IUnknown* outer, REFIID iid, void** out);
HRESULT CreateEnumProperties(IUnknown* outer, REFIID iid, void** out);

namespace {

ComPtr<IProperty> NodeOfValue(const KeptValue& value) {
    if (!value.object()) return nullptr;
    const ComPtr<IUnknown> object = value.object();  // it may be replaced while it is asked
    return object.As<IProperty>();
}

/// The parent in a SetInfo value. An IUnknown is asked what it is; a node has no IDispatch of its own to be
/// asked for.
ComPtr<IDispatch> ParentOf(const VARIANT& value) {
    if (value.vt == VT_DISPATCH) return value.pdispVal;
    if (auto node = Query<IProperty>(value.punkVal)) return node.get();
    if (auto object = Query<IBaseObj>(value.punkVal)) return object.get();
    return Query<IDispatch>(value.punkVal);
}

}  // namespace

PropertyBase::PropertyBase(const NodeDecl& decl)
    : name_(decl.name),
      title_(decl.title),
      decl_(&decl),
      type_(decl.type),
      description_id_(decl.description) {
    if (decl.help)
        if (Rare* rare = NeedRare()) rare->description.SetLiteral(decl.help);
}

HRESULT PropertyBase::FinalConstruct() {
    static OwnWhile both;
    const ULONGLONG now = OwnWhile::Now();
    if (!both.Holds(now)) {
        RETURN_IF_FAILED(TakeForeignParts());
        if (!HasForeignValues() && !HasForeignCollection()) both.Remember(now);
    }
    if (decl_->help && !rare_) return E_OUTOFMEMORY;
    return BuildChildren();
}

/// The list, then the collection, as if each were created; nobody is asked between two look-ups that lead to us.
HRESULT PropertyBase::TakeForeignParts() {
    Route list(clsid::ListOfValues, CLSCTX_INPROC_SERVER);
    if (list.own() != CreateListOfValues) {
        ComPtr<IListOfValues> values;
        RETURN_IF_FAILED(list.Make(kIid<IListOfValues>, values.PutVoid()));
        if (!values) return E_FAIL;
        if (!NeedRare()) return E_OUTOFMEMORY;
        rare_->values = std::move(values);
    }
    Route collection(clsid::EnumProperties, CLSCTX_INPROC_SERVER);
    if (collection.own() != CreateEnumProperties) {
        ComPtr<IEnumProperties> children;
        RETURN_IF_FAILED(collection.Make(kIid<IEnumProperties>, children.PutVoid()));
        if (!children) return E_FAIL;
        if (!NeedRare()) return E_OUTOFMEMORY;
        rare_->collection = std::move(children);
        std::ignore = rare_->collection->PutParent(this);
    }
    return S_OK;
}

void PropertyBase::FinalRelease() {
    if (HeldObject()) {
        auto object = value_.TakeObject();
        ReleaseBounded(object);
    }
    OnFinalRelease();
    ReleaseBounded(extension_);
    if (rare_) {
        rare_->data.Free();
        ReleaseBounded(rare_->ex_data);
        ReleaseBounded(rare_->values);
    }
    if (parts_ || rare_ || !children_.empty() || values_.size()) EndParts();
}

/// A part that is still held takes over what it shows; all else goes, the list before the children.
void PropertyBase::EndParts() {
    if (auto* list = FindPart<ListOfValues>(); list && list->IsHeld()) {
        list->own_ = std::move(values_);
        list->entries_ = &list->own_;
        list->owner_ = nullptr;
    }
    values_.Clear();
    if (auto* collection = FindPart<ChildList>(); collection && collection->IsHeld()) {
        collection->own_ = std::move(children_);
        collection->items_ = &collection->own_;
        collection->owner_ = nullptr;
        collection->has_parent_ = true;  // this node is no parent any more
    }
    children_.Clear();
    if (rare_) ReleaseBounded(rare_->collection);
    // What the end of all these has asked for again, or what stayed for its referrers.
    while (NodePart* part = parts_) {
        parts_ = part->next_;
        part->EndWithOwner();
    }
}

// --- Name, title, description, flags ---

STDMETHODIMP PropertyBase::get_Name(BSTR* pVal) { return name_.CopyTo(pVal); }

STDMETHODIMP PropertyBase::get_Title(BSTR* pVal) { return title_.CopyTo(pVal); }

STDMETHODIMP PropertyBase::get_Description(BSTR* pVal) {
    if (description_id_ <= 0) return rare_ ? rare_->description.CopyTo(pVal) : Bstr::CopyTo({}, pVal);
    wchar_t text[kTextLimit];
    const int length = LoadMessageW(ModuleInstance(), description_id_, text);
    return Bstr::CopyTo({text, size_t(length)}, pVal);
}

STDMETHODIMP PropertyBase::put_Description(BSTR newVal) {
    RETURN_IF_FAILED(SetDescriptionText(View(newVal)));
    description_id_ = 0;
    return S_OK;
}

STDMETHODIMP PropertyBase::put_DescriptionID(int newVal) {
    description_id_ = newVal;
    return S_OK;
}

STDMETHODIMP PropertyBase::get_Type(LONG* pVal) {
    if (!pVal) return E_POINTER;
    *pVal = type_;
    return S_OK;
}

STDMETHODIMP PropertyBase::get_IsHide(LONG* pVal) {
    if (!pVal) return E_POINTER;
    *pVal = FlagValue(kHidden);
    return S_OK;
}

STDMETHODIMP PropertyBase::put_IsHide(LONG newVal) { return Hide(newVal); }

STDMETHODIMP PropertyBase::get_IsDisabled(LONG* pVal) {
    if (!pVal) return E_POINTER;
    *pVal = FlagValue(kDisabled);
    return S_OK;
}

STDMETHODIMP PropertyBase::put_IsDisabled(LONG newVal) { return Disabled(newVal); }

STDMETHODIMP PropertyBase::get_Active(LONG* pVal) {
    if (!pVal) return E_POINTER;
    *pVal = FlagValue(kActive);
    return S_OK;
}

PropertyBase::Rare* PropertyBase::NeedRare() {
    if (!rare_) rare_.reset(new (std::nothrow) Rare);
    return rare_.get();
}

void PropertyBase::SetFlag(Flag flag, LONG value) {
    flags_[flag] = static_cast<signed char>(value);
    if (flags_[flag] == value && value != kInRare) return;
    Rare* const rare = NeedRare();
    flags_[flag] = rare ? kInRare : 1;
    if (rare) rare->flags[flag] = value;
}

void PropertyBase::PassOn(HRESULT (STDMETHODCALLTYPE IProperty::*put)(LONG), LONG flag, Walk::Kind kind) {
    if (!HasBelow()) return;
    const Walk walk{.kind = kind, .flag = flag};
    const Visit visit(*this, walk);
    if (!visit) return;
    if (auto held = NodeOfValue(value_)) std::ignore = (held.get()->*put)(flag);
    EachChild([&](const NodeRef& child) {
        if (PropertyBase* own = child.own())
            std::ignore = (static_cast<IProperty*>(own)->*put)(flag);
        else if (auto node = child.node())
            std::ignore = (node.get()->*put)(flag);
    });
}

STDMETHODIMP PropertyBase::Hide(LONG newVal) {
    SetFlag(kHidden, newVal);
    PassOn(&IProperty::Hide, newVal, Walk::kHide);
    return S_OK;
}

STDMETHODIMP PropertyBase::Disabled(LONG newVal) {
    SetFlag(kDisabled, newVal);
    PassOn(&IProperty::Disabled, newVal, Walk::kDisable);
    return S_OK;
}

STDMETHODIMP PropertyBase::put_Active(LONG newVal) {
    SetFlag(kActive, newVal);
    PassOn(&IProperty::put_Active, newVal, Walk::kActivate);
    return S_OK;
}

STDMETHODIMP PropertyBase::InitDefault() { return S_OK; }
STDMETHODIMP PropertyBase::ShowDialog() { return OnShowDialog(); }
STDMETHODIMP PropertyBase::BeforeCombo() { return S_OK; }

STDMETHODIMP PropertyBase::get_ClassID(GUID* pVal) {
    if (!pVal) return E_POINTER;
    *pVal = ClassId();
    return S_OK;
}

// --- Value ---

bool PropertyBase::IsOn() const {
    Variant flag;
    return HasStore() && SUCCEEDED(flag.ChangeFrom(Stored(), VT_I2)) && flag.iVal != 0;
}

STDMETHODIMP PropertyBase::get_Value(VARIANT* pVal) {
    if (!pVal) return E_POINTER;
    if (!HasStore()) return S_FALSE;
    return value_.CopyTo(pVal);
}

STDMETHODIMP PropertyBase::get_ValueType(int* pVal) {
    if (!pVal) return E_POINTER;
    *pVal = value_.kind();
    return S_OK;
}

STDMETHODIMP PropertyBase::put_Value(VARIANT newVal) { return HasStore() ? StoreChecked(newVal) : E_NOTIMPL; }

HRESULT PropertyBase::StoreChecked(const VARIANT& value) {
    if (type_ & style::kNotNegative) {
        Variant number;
        if (SUCCEEDED(number.ChangeFrom(value, VT_I4)) && number.lVal < 0)
            return RaiseMessage(ClassId(), msg::kNegativeValue);
    }
    KeptValue copy;
    const bool is_number = value.vt <= VT_R8;  // which always can be copied
    if (!is_number) RETURN_IF_FAILED(copy.SetCopy(value));
    OnValueChanging();
    if (is_number)
        std::ignore = value_.SetCopy(value);
    else
        value_.TakeFrom(copy);
    OnValueChanged();
    return S_OK;
}

HRESULT PropertyBase::StoreQuietly(const VARIANT& value) { return value_.SetCopy(value); }

HRESULT PropertyBase::StoreQuietly(std::wstring_view text) {
    return value_.SetText(text.data() ? text.data() : L"", text.size() * sizeof(wchar_t));
}

HRESULT PropertyBase::StoreInRange(const VARIANT& value, SHORT lowest, SHORT highest, int refusal) {
    if (!HasStore()) return E_NOTIMPL;
    Variant number;
    RETURN_IF_FAILED(number.ChangeFrom(value, VT_I2));
    if (number.iVal < lowest || number.iVal > highest) return RaiseMessage(ClassId(), refusal);
    return StoreQuietly(value);
}

void PropertyBase::OnValueChanging() {
    if (!HeldObject()) return;
    if (auto held = NodeOfValue(value_)) {
        std::ignore = held->put_Active(0);
        std::ignore = held->Hide(1);
    }
}

void PropertyBase::OnValueChanged() {
    if (!HeldObject()) return;
    if (auto held = NodeOfValue(value_)) {
        std::ignore = held->put_Active(1);
        std::ignore = held->Hide(0);
    }
}

STDMETHODIMP PropertyBase::get_Format(VARIANT* pVal) {
    if (!pVal) return E_POINTER;
    std::ignore = get_Value(pVal);
    const auto converter = Query<IValueFormat>(extension_.get());
    return converter ? converter->FormatValue(pVal) : S_OK;
}

STDMETHODIMP PropertyBase::put_Format(VARIANT newVal) {
    const auto converter = Query<IValueFormat>(extension_.get());
    if (!converter) {
        RETURN_IF_FAILED(OnFormatChanged(newVal));
        return put_Value(newVal);
    }
    Variant stored;
    RETURN_IF_FAILED(converter->ParseValue(newVal, stored.Put()));
    RETURN_IF_FAILED(OnFormatChanged(stored));
    return put_Value(stored);
}

// --- What is kept for the host ---

const ByteBlock& PropertyBase::Data() const {
    static const ByteBlock kNone;
    return rare_ ? rare_->data : kNone;
}

bool PropertyBase::SwapData(ByteBlock& other, int kind) {
    if (!NeedRare()) return false;
    rare_->data.Swap(other);
    rare_->data_kind = kind;
    return true;
}

STDMETHODIMP PropertyBase::GetData(int* nDataType, LONG* pLength, BYTE** pData) {
    if (!nDataType || !pLength || !pData) return E_POINTER;
    *nDataType = DataKind();
    *pLength = LONG(Data().size());
    *pData = Data().data();
    return S_OK;
}

STDMETHODIMP PropertyBase::PutData(int nDataType, LONG nLength, BYTE* pData) {
    if (nLength < 0) return E_INVALIDARG;
    if (nLength > 0 && !pData) return E_POINTER;
    ByteBlock bytes;
    const bool whole = bytes.Assign(pData, size_t(nLength));  // they may be a part of the old ones
    DropExData();
    if (whole && SwapData(bytes, nDataType)) return S_OK;
    if (rare_) rare_->data.Lose();
    return E_OUTOFMEMORY;
}

STDMETHODIMP PropertyBase::PutExData(IDispatch* pVal) {
    DropData();
    if (!pVal && !rare_) return S_OK;
    if (!NeedRare()) return E_OUTOFMEMORY;
    rare_->ex_data = pVal;
    return S_OK;
}

STDMETHODIMP PropertyBase::GetExData(IDispatch** pVal) {
    if (!pVal) return E_POINTER;
    return rare_ && rare_->ex_data ? rare_->ex_data.CopyTo(pVal) : E_FAIL;
}

STDMETHODIMP PropertyBase::ReadExtraData(IUnknown*) {
    ReadExtra();
    return S_OK;
}

// --- Other nodes ---

STDMETHODIMP PropertyBase::get_Parent(IDispatch** pVal) {
    if (!pVal) return E_POINTER;
    if (!parent_) return S_FALSE;
    return ComPtr<IDispatch>(parent_.get()).CopyTo(pVal);
}

STDMETHODIMP PropertyBase::put_Parent(IDispatch* newVal) {
    parent_.Set(newVal);
    return S_OK;
}

STDMETHODIMP PropertyBase::SetInfo(BSTR Name, VARIANT pVal) {
    if (!name_.SetCopy(View(Name))) return E_OUTOFMEMORY;
    if (pVal.vt == VT_DISPATCH || pVal.vt == VT_UNKNOWN) parent_.Set(ParentOf(pVal).get());
    return S_OK;
}

bool PropertyBase::SetNameAndParent(const LiteralText& name, bool literal, PropertyBase& parent) {
    if (literal || name.IsPacked())
        name_.SetLiteral(name);
    else if (!name_.SetCopy(name.View()))
        return false;
    parent_.Set(&parent, parent);
    return true;
}

bool PropertyBase::SetNameAndParent(std::wstring_view name, PropertyBase& parent) {
    if (!name_.SetCopy(name)) return false;
    parent_.Set(&parent, parent);
    return true;
}

STDMETHODIMP PropertyBase::get_Extension(IProperty** pVal) {
    if (!pVal) return E_POINTER;
    return extension_ ? extension_.CopyTo(pVal) : E_NOTIMPL;
}

STDMETHODIMP PropertyBase::get_MediaObject(IDispatch** pVal) {
    if (!pVal) return E_POINTER;
    return media_ ? ComPtr<IDispatch>(media_.get()).CopyTo(pVal) : S_OK;
}

STDMETHODIMP PropertyBase::put_MediaObject(IDispatch* newVal) {
    media_.Set(newVal);
    const Walk walk{.kind = Walk::kInit, .object = newVal};
    const Visit visit(*this, walk);
    if (!visit) return S_OK;
    if (HasForeignCollection())
        std::ignore = ComPtr<IEnumProperties>(rare_->collection)->InitProperty(newVal);
    else
        std::ignore = ChildList::Init(children_, newVal);
    OnMediaObjectChanged(newVal);
    const ValuesRef values = Values();
    for (size_t i = 0; i < values.size(); ++i) {
        Variant value;
        if (FAILED(values.ValueAt(i, value))) continue;
        if (auto node = Query<IProperty>(ObjectOf(value))) std::ignore = node->put_MediaObject(newVal);
        if (auto format = Query<IOutputFormatInfo>(ObjectOf(value)))
            std::ignore = format->SetMediaObject(newVal);
    }
    return S_OK;
}

STDMETHODIMP PropertyBase::SetMediaObject(IDispatch* pVal) {
    PropagateMediaObject(pVal, media_.ReferrersOf(pVal));
    return S_OK;
}

void PropertyBase::PropagateMediaObject(IDispatch* media, BackRefLink** referrers) {
    media_.Set(media, referrers);
    if (!HasChildren() && !extension_) return;
    const Walk walk{.kind = Walk::kGiveMedia, .object = media};
    const Visit visit(*this, walk);
    if (!visit) return;
    for (const NodeRef& child : Children()) {
        if (PropertyBase* own = child.own())
            own->PropagateMediaObject(media, referrers);
        else if (auto node = child.node())
            std::ignore = node->SetMediaObject(media);
    }
    if (const auto extension = extension_) std::ignore = extension->SetMediaObject(media);
}

STDMETHODIMP PropertyBase::FindProperty(BSTR Name, IProperty** pRet) {
    if (!pRet) return E_POINTER;
    if (media_) {
        const auto map = Query<IMap>(media_.get());
        return map ? map->get_Property(Name, this, pRet) : E_FAIL;
    }
    return TreeSearch(View(Name), Name, Walk::kSearchBelow, pRet).Below(*this) ? S_OK : S_FALSE;
}

ComPtr<IProperty> PropertyBase::Find(IProperty* from, Name name) {
    ComPtr<IProperty> node;
    return from->FindProperty(name.bstr(), node.Put()) == S_OK ? node : nullptr;
}

void PropertyBase::Show(bool shown, std::initializer_list<Name> nodes) {
    for (const Name& name : nodes)
        if (auto node = Find(name)) std::ignore = node->Hide(shown ? 0 : 1);
}

void PropertyBase::Enable(bool enabled, std::initializer_list<Name> nodes) {
    for (const Name& name : nodes)
        if (auto node = Find(name)) std::ignore = node->Disabled(enabled ? 0 : 1);
}

// --- Child collection and value list as objects ---

template <class Part>
Part* PropertyBase::FindPart() const {
    for (NodePart* part = parts_; part; part = part->next_)
        if (part->kind_ == Part::kPart) return static_cast<Part*>(part);
    return nullptr;
}

HRESULT PropertyBase::QueryCollection(void** out) {
    if (HasForeignCollection()) return rare_->collection->QueryInterface(kIid<IEnumProperties>, out);
    ComPtr<IEnumProperties> object = FindPart<ChildList>();
    if (!object) {
        RETURN_IF_FAILED(CreateObject<ChildList>(nullptr, kIid<IEnumProperties>, object.PutVoid()));
        auto* part = static_cast<ChildList*>(object.get());
        part->items_ = &children_;
        Attach(*part);
    }
    *out = object.Detach();
    return S_OK;
}

HRESULT PropertyBase::QueryValues(void** out) {
    if (HasForeignValues()) return rare_->values->QueryInterface(kIid<IListOfValues>, out);
    ComPtr<IListOfValues> object = FindPart<ListOfValues>();
    if (!object) {
        RETURN_IF_FAILED(CreateObject<ListOfValues>(nullptr, kIid<IListOfValues>, object.PutVoid()));
        auto* part = static_cast<ListOfValues*>(object.get());
        part->entries_ = &values_;
        Attach(*part);
    }
    *out = object.Detach();
    return S_OK;
}

void PropertyBase::Attach(NodePart& part) {
    part.owner_ = this;
    part.next_ = parts_;
    parts_ = &part;
}

void PropertyBase::Forget(NodePart& part) {
    NodePart** place = &parts_;
    while (*place != &part) place = &(*place)->next_;
    *place = part.next_;
    part.owner_ = nullptr;
}

// --- Building ---

/// Of what a declaration asks for, a lack of memory alone is a failure.
#define RETURN_IF_OUT_OF_MEMORY(expression)                      \
    do {                                                         \
        if ((expression) == E_OUTOFMEMORY) return E_OUTOFMEMORY; \
    } while (false)

HRESULT PropertyBase::BuildChildren() { return Build(*decl_); }

HRESULT PropertyBase::AddChoice(const ValuesRef& values, const Choice& choice) {
    CallBstr label(choice.label.View());
    if (!choice.value.node) return values->AddItem(label.get(), Variant(choice.value));
    CLSID cls = *choice.value.node;
    return values->AddObject2(label.get(), &cls);
}

HRESULT PropertyBase::Build(const NodeDecl& decl) {
    if (!decl.value.IsNone()) RETURN_IF_OUT_OF_MEMORY(value_.SetLiteral(decl.value));
    return decl.choices.count || decl.extension || decl.children.count ? BuildParts(decl) : S_OK;
}

HRESULT PropertyBase::BuildParts(const NodeDecl& decl) {
    for (const Choice& choice : decl.choices)
        RETURN_IF_OUT_OF_MEMORY(choice.value.node || HasForeignValues()
                                    ? AddChoice(Values(), choice)
                                    : values_.AddLiteral(choice.label, choice.value));
    HRESULT status = S_OK;
    if (decl.extension) {
        const NodeDecl& unit = *decl.extension;
        ComPtr<IProperty> extension;
        status = Create(unit.cls, extension);
        RETURN_IF_OUT_OF_MEMORY(status);
        if (SUCCEEDED(status)) {
            if (unit.name)
                RETURN_IF_OUT_OF_MEMORY(extension->SetInfo(CallBstr(unit.name.View()).get(), Variant()));
            RETURN_IF_OUT_OF_MEMORY(Adopt(NodeRef(extension.get()), unit));
            extension_ = std::move(extension);
        }
    }
    for (const NodeDecl& child : decl.children) {
        AddDeclared(child, true, status);
        RETURN_IF_OUT_OF_MEMORY(status);
    }
    return S_OK;
}

HRESULT PropertyBase::Adopt(const NodeRef& node, const NodeDecl& decl) {
    if (PropertyBase* own = node.own()) return own->AdoptOwn(decl);
    const auto foreign = node.node();
    return foreign ? AdoptForeign(foreign.get(), decl) : S_OK;
}

HRESULT PropertyBase::AdoptOwn(const NodeDecl& decl) {
    if (decl.title) title_.SetLiteral(decl.title);
    if (decl.type) type_ = decl.type;
    if (decl.help) {
        Rare* const rare = NeedRare();
        if (!rare) return E_OUTOFMEMORY;
        rare->description.SetLiteral(decl.help);
    }
    if (decl.description) description_id_ = decl.description;
    return Build(decl);
}

HRESULT PropertyBase::AdoptForeign(IProperty* node, const NodeDecl& decl) {
    // Each of these it may refuse; it then stands without.
    const auto init = Query<ISimpleInit>(node);
    if (init && decl.title) std::ignore = init->SetTitle(CallBstr(decl.title.View()).get());
    if (init && decl.type) std::ignore = init->SetType(decl.type);
    if (decl.help) std::ignore = node->put_Description(CallBstr(decl.help.View()).get());
    if (decl.description) std::ignore = node->put_DescriptionID(decl.description);
    if (!decl.value.IsNone())
        std::ignore = init ? init->put_Value(Variant(decl.value)) : node->put_Value(Variant(decl.value));
    if (const auto values = decl.choices.count ? Query<IListOfValues>(node) : nullptr)
        for (const Choice& choice : decl.choices) std::ignore = AddChoice(ValuesRef(values), choice);
    if (init && decl.extension) {
        const NodeDecl& unit = *decl.extension;
        CLSID cls = unit.cls;
        ComPtr<IProperty> extension;
        if (SUCCEEDED(init->SetExtensionClass(&cls)) && node->get_Extension(extension.Put()) == S_OK &&
            extension) {
            if (unit.name) std::ignore = extension->SetInfo(CallBstr(unit.name.View()).get(), Variant());
            RETURN_IF_OUT_OF_MEMORY(Adopt(NodeRef(extension.get()), unit));
        }
    }
    if (const auto children = decl.children.count ? Query<IEnumProperties>(node) : nullptr)
        for (const NodeDecl& child : decl.children) {
            HRESULT status = S_OK;
            AddDeclaredTo(children.get(), node, child, status);
            RETURN_IF_OUT_OF_MEMORY(status);
        }
    return S_OK;
}

NodeRef PropertyBase::AddDeclaredTo(IEnumProperties* collection, IProperty* parent, const NodeDecl& decl,
                                    HRESULT& status) {
    CLSID cls = decl.cls;
    ComPtr<IProperty> node;
    status = collection->AddProperty(CallBstr(decl.name.View()).get(), &cls, parent, node.Put());
    if (FAILED(status) || !node) return {};
    NodeRef child(node.get());
    status = Finish(child, decl);
    return child;
}

NodeRef PropertyBase::AddDeclared(const NodeDecl& decl, bool literal_name, HRESULT& status) {
    if (HasForeignCollection()) return AddDeclaredTo(rare_->collection.get(), this, decl, status);
    NodeRef child;
    status = NodeRef::Create(decl.cls, child);
    if (FAILED(status)) return {};
    if (PropertyBase* own = child.own()) {
        if (!own->SetNameAndParent(decl.name, literal_name, *this)) status = E_OUTOFMEMORY;
    } else {
        status = child.node()->SetInfo(CallBstr(decl.name.View()).get(), Lend(static_cast<IProperty*>(this)));
    }
    if (SUCCEEDED(status) && !children_.Append(child)) status = E_OUTOFMEMORY;
    if (FAILED(status)) return {};
    status = Finish(child, decl);
    return child;
}

HRESULT PropertyBase::AddChildObject(BSTR name, IUnknown* object) {
    const auto parent = static_cast<IProperty*>(this);
    return HasForeignCollection() ? rare_->collection->AddObject(name, parent, object)
                                  : ChildList::AddObjectTo(children_, name, parent, object);
}

HRESULT PropertyBase::Finish(const NodeRef& child, const NodeDecl& decl) {
    RETURN_IF_FAILED(Adopt(child, decl));
    if (!decl.filter && !decl.hidden && !decl.disabled) return S_OK;
    const auto node = child.node();
    if (!node) return S_OK;
    if (decl.filter) {
        CLSID cls = decl.filter->cls;
        // Without its filter the node stands as it was declared.
        if (auto init = node.As<IFilterImplInit>())
            std::ignore = init->Init(CallBstr(decl.filter->name).get(), &cls);
    }
    if (decl.hidden) std::ignore = node->put_IsHide(1);
    if (decl.disabled) std::ignore = node->put_IsDisabled(1);
    return S_OK;
}

ComPtr<IProperty> PropertyBase::AddChild(const NodeDecl& decl) {
    HRESULT status = S_OK;
    return AddDeclared(decl, false, status).node();
}

}  // namespace bv
