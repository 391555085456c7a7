#include "tree/property_base.h"

#include "com/let_go.h"
#include "com/refusal.h"
#include "tree/child_list.h"
#include "tree/tree_search.h"

namespace bv {
namespace {

ComPtr<IProperty> NodeOfValue(const std::optional<Variant>& value) {
    return value ? Query<IProperty>(ObjectOf(*value)) : nullptr;
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
      type_(decl.type),
      title_(decl.title),
      description_(decl.help),
      description_id_(decl.description),
      decl_(&decl) {}

HRESULT PropertyBase::FinalConstruct() {
    HRESULT status = S_OK;
    values_ = Create<IListOfValues>(clsid::ListOfValues, &status, CLSCTX_INPROC_SERVER);
    if (!values_) return FAILED(status) ? status : E_FAIL;
    children_ = Create<IEnumProperties>(clsid::EnumProperties, &status, CLSCTX_INPROC_SERVER);
    if (!children_) return FAILED(status) ? status : E_FAIL;
    if (auto own = children_.As<IChildList>()) {
        list_ = &own->List();
        list_->SetOwner(*this);
    } else {
        std::ignore = children_->PutParent(this);
    }
    BuildChildren();
    return S_OK;
}

void PropertyBase::FinalRelease() {
    if (value_) {
        Variant value = std::move(*value_);
        value_.reset();
        LetGo(value);
    }
    OnFinalRelease();
    LetGo(extension_);
    data_.Free();
    LetGo(ex_data_);
    LetGo(values_);
    list_ = nullptr;
    LetGo(children_);
}

// --- Name, title, description, flags ---

STDMETHODIMP PropertyBase::get_Name(BSTR* pVal) { return name_.CopyTo(pVal); }

STDMETHODIMP PropertyBase::get_Title(BSTR* pVal) { return title_.CopyTo(pVal); }

STDMETHODIMP PropertyBase::get_Description(BSTR* pVal) {
    if (description_id_ <= 0) return description_.CopyTo(pVal);
    wchar_t text[kTextLimit];
    const int length = LoadMessageW(ModuleInstance(), description_id_, text);
    return Bstr::CopyTo({text, size_t(length)}, pVal);
}

STDMETHODIMP PropertyBase::put_Description(BSTR newVal) {
    description_id_ = 0;
    description_.SetCopy(View(newVal));
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
    *pVal = hidden_;
    return S_OK;
}

STDMETHODIMP PropertyBase::put_IsHide(LONG newVal) { return Hide(newVal); }

STDMETHODIMP PropertyBase::get_IsDisabled(LONG* pVal) {
    if (!pVal) return E_POINTER;
    *pVal = disabled_;
    return S_OK;
}

STDMETHODIMP PropertyBase::put_IsDisabled(LONG newVal) { return Disabled(newVal); }

STDMETHODIMP PropertyBase::get_Active(LONG* pVal) {
    if (!pVal) return E_POINTER;
    *pVal = active_;
    return S_OK;
}

bool PropertyBase::HasChildren() const { return list_ ? list_->Items().size() > 0 : bool(children_); }

Children PropertyBase::Children() const {
    return list_ ? bv::Children(list_->Items()) : bv::Children(children_.get());
}

void PropertyBase::PassOn(HRESULT (STDMETHODCALLTYPE IProperty::*put)(LONG), LONG flag, Walk::Kind kind) {
    if (!HasBelow()) return;
    const Walk walk{.kind = kind, .flag = flag};
    const Visit visit(*this, walk);
    if (!visit) return;
    if (auto held = NodeOfValue(value_)) std::ignore = (held.get()->*put)(flag);
    for (const NodeRef& child : Children())
        if (auto node = child.node()) std::ignore = (node.get()->*put)(flag);
}

STDMETHODIMP PropertyBase::Hide(LONG newVal) {
    hidden_ = newVal;
    PassOn(&IProperty::Hide, newVal, Walk::kHide);
    return S_OK;
}

STDMETHODIMP PropertyBase::Disabled(LONG newVal) {
    disabled_ = newVal;
    PassOn(&IProperty::Disabled, newVal, Walk::kDisable);
    return S_OK;
}

STDMETHODIMP PropertyBase::put_Active(LONG newVal) {
    active_ = newVal;
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

const VARIANT& PropertyBase::Stored() const {
    static constexpr VARIANT kEmpty = {};
    return value_ ? static_cast<const VARIANT&>(*value_) : kEmpty;
}

bool PropertyBase::IsOn() const {
    Variant flag;
    return value_ && SUCCEEDED(flag.ChangeFrom(*value_, VT_I2)) && flag.iVal != 0;
}

STDMETHODIMP PropertyBase::get_Value(VARIANT* pVal) {
    if (!pVal) return E_POINTER;
    if (!value_) return S_FALSE;
    return value_->CopyTo(pVal);
}

STDMETHODIMP PropertyBase::get_ValueType(int* pVal) {
    if (!pVal) return E_POINTER;
    *pVal = Stored().vt;
    return S_OK;
}

STDMETHODIMP PropertyBase::put_Value(VARIANT newVal) { return value_ ? StoreChecked(newVal) : E_NOTIMPL; }

HRESULT PropertyBase::StoreChecked(const VARIANT& value) {
    if (type_ & kNotNegative) {
        Variant number;
        if (SUCCEEDED(number.ChangeFrom(value, VT_I4)) && number.lVal < 0)
            return RaiseMessage(ClassId(), msg::kNegativeValue);
    }
    OnValueChanging();
    std::ignore = StoreQuietly(value);
    OnValueChanged();
    return S_OK;
}

HRESULT PropertyBase::StoreQuietly(const VARIANT& value) {
    Variant copy;
    copy.CopyFrom(value);
    if (value_)
        *value_ = std::move(copy);  // the old value goes when the new one is in place
    else
        value_.emplace(std::move(copy));
    return S_OK;
}

HRESULT PropertyBase::StoreQuietly(std::wstring_view text) { return StoreQuietly(Variant(text)); }

HRESULT PropertyBase::StoreInRange(const VARIANT& value, SHORT lowest, SHORT highest, int refusal) {
    if (!HasStore()) return E_NOTIMPL;
    Variant number;
    RETURN_IF_FAILED(number.ChangeFrom(value, VT_I2));
    if (number.iVal < lowest || number.iVal > highest) return RaiseMessage(ClassId(), refusal);
    return StoreQuietly(value);
}

void PropertyBase::OnValueChanging() {
    if (auto held = NodeOfValue(value_)) {
        std::ignore = held->put_Active(0);
        std::ignore = held->Hide(1);
    }
}

void PropertyBase::OnValueChanged() {
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

STDMETHODIMP PropertyBase::GetData(int* nDataType, LONG* pLength, BYTE** pData) {
    if (!nDataType || !pLength || !pData) return E_POINTER;
    *nDataType = data_kind_;
    *pLength = LONG(data_.size());
    *pData = data_.data();
    return S_OK;
}

STDMETHODIMP PropertyBase::PutData(int nDataType, LONG nLength, BYTE* pData) {
    if (nLength < 0) return E_INVALIDARG;
    if (nLength > 0 && !pData) return E_POINTER;
    ByteBlock bytes;
    const bool whole = bytes.Assign(pData, size_t(nLength));  // they may be a part of the old ones
    ex_data_.Reset();
    if (!whole) {
        data_.Lose();
        return E_OUTOFMEMORY;
    }
    SwapData(bytes, nDataType);
    return S_OK;
}

STDMETHODIMP PropertyBase::PutExData(IDispatch* pVal) {
    data_.Free();
    ex_data_ = pVal;
    return S_OK;
}

STDMETHODIMP PropertyBase::GetExData(IDispatch** pVal) {
    if (!pVal) return E_POINTER;
    return ex_data_ ? ex_data_.CopyTo(pVal) : E_FAIL;
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
    name_.SetCopy(View(Name));
    if (pVal.vt == VT_DISPATCH || pVal.vt == VT_UNKNOWN) parent_.Set(ParentOf(pVal).get());
    return S_OK;
}

void PropertyBase::Rename(std::wstring_view name, bool literal, PropertyBase& parent) {
    if (literal)
        name_.SetLiteral(name);
    else
        name_.SetCopy(name);
    parent_.Set(&parent, parent);
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
    std::ignore = children_->InitProperty(newVal);
    OnMediaObjectChanged(newVal);
    LONG count = 0;
    std::ignore = values_->get_Count(&count);
    for (LONG i = 0; i < count; ++i) {
        ComPtr<IUnknown> entry;
        if (FAILED(values_->get_Item(i, entry.Put()))) break;
        const auto item = entry.As<IListItem>();
        Variant value;
        if (!item || FAILED(item->get_Value(value.Put()))) continue;
        if (auto node = Query<IProperty>(ObjectOf(value))) std::ignore = node->put_MediaObject(newVal);
        if (auto format = Query<IOutputFormatInfo>(ObjectOf(value)))
            std::ignore = format->SetMediaObject(newVal);
    }
    return S_OK;
}

STDMETHODIMP PropertyBase::SetMediaObject(IDispatch* pVal) {
    GiveMedia(pVal, media_.ReferrersOf(pVal));
    return S_OK;
}

void PropertyBase::GiveMedia(IDispatch* media, BackRefLink** referrers) {
    media_.Set(media, referrers);
    if (!HasChildren() && !extension_) return;
    const Walk walk{.kind = Walk::kGiveMedia, .object = media};
    const Visit visit(*this, walk);
    if (!visit) return;
    for (const NodeRef& child : Children()) {
        if (PropertyBase* own = child.own())
            own->GiveMedia(media, referrers);
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

// --- Building ---

void PropertyBase::BuildChildren() { Build(*decl_); }

void PropertyBase::AddChoice(IListOfValues* values, const Choice& choice) {
    const Bstr label(choice.label);
    if (choice.value.node) {
        CLSID cls = *choice.value.node;
        std::ignore = values->AddObject2(label.get(), &cls);
    } else {
        std::ignore = values->AddItem(label.get(), Variant(choice.value));
    }
}

void PropertyBase::Build(const NodeDecl& decl) {
    if (!decl.value.IsNone()) value_.emplace(decl.value);
    for (const Choice& choice : decl.choices) AddChoice(values_.get(), choice);
    if (decl.extension) {
        const NodeDecl& unit = *decl.extension;
        if (auto extension = Create<IProperty>(unit.cls)) {
            if (unit.name) std::ignore = extension->SetInfo(CallBstr(unit.name.View()).get(), Variant());
            Adopt(NodeRef(extension.get()), unit);
            extension_ = std::move(extension);
        }
    }
    for (const NodeDecl& child : decl.children) AddDeclared(child, true);
}

void PropertyBase::Adopt(const NodeRef& node, const NodeDecl& decl) {
    if (PropertyBase* own = node.own())
        own->AdoptOwn(decl);
    else if (const auto foreign = node.node())
        AdoptForeign(foreign.get(), decl);
}

void PropertyBase::AdoptOwn(const NodeDecl& decl) {
    if (decl.title) title_.SetLiteral(decl.title.View());
    if (decl.type) type_ = decl.type;
    if (decl.help) description_.SetLiteral(decl.help.View());
    if (decl.description) description_id_ = decl.description;
    Build(decl);
}

void PropertyBase::AdoptForeign(IProperty* node, const NodeDecl& decl) {
    // Each of these it may refuse; it then stands without.
    const auto init = Query<ISimpleInit>(node);
    if (init && decl.title) std::ignore = init->SetTitle(CallBstr(decl.title.View()).get());
    if (init && decl.type) std::ignore = init->SetType(decl.type);
    if (decl.help) std::ignore = node->put_Description(CallBstr(decl.help.View()).get());
    if (decl.description) std::ignore = node->put_DescriptionID(decl.description);
    if (!decl.value.IsNone())
        std::ignore = init ? init->put_Value(Variant(decl.value)) : node->put_Value(Variant(decl.value));
    if (const auto values = decl.choices.count ? Query<IListOfValues>(node) : nullptr)
        for (const Choice& choice : decl.choices) AddChoice(values.get(), choice);
    if (init && decl.extension) {
        const NodeDecl& unit = *decl.extension;
        CLSID cls = unit.cls;
        ComPtr<IProperty> extension;
        if (SUCCEEDED(init->SetExtensionClass(&cls)) && node->get_Extension(extension.Put()) == S_OK &&
            extension) {
            if (unit.name) std::ignore = extension->SetInfo(CallBstr(unit.name.View()).get(), Variant());
            Adopt(NodeRef(extension.get()), unit);
        }
    }
    if (const auto children = decl.children.count ? Query<IEnumProperties>(node) : nullptr)
        for (const NodeDecl& child : decl.children) AddDeclaredTo(children.get(), node, child);
}

ComPtr<IProperty> PropertyBase::AddDeclaredTo(IEnumProperties* collection, IProperty* parent,
                                              const NodeDecl& decl) {
    CLSID cls = decl.cls;
    ComPtr<IProperty> child;
    if (FAILED(collection->AddProperty(CallBstr(decl.name.View()).get(), &cls, parent, child.Put())) ||
        !child)
        return nullptr;
    Finish(NodeRef(child.get()), decl);
    return child;
}

ComPtr<IProperty> PropertyBase::AddDeclared(const NodeDecl& decl, bool literal_name) {
    if (!list_) return AddDeclaredTo(children_.get(), this, decl);
    const NodeRef child = list_->AddNode(decl.name.View(), literal_name, decl.cls, *this);
    if (!child) return nullptr;
    Finish(child, decl);
    return child.node();
}

void PropertyBase::Finish(const NodeRef& child, const NodeDecl& decl) {
    Adopt(child, decl);
    const auto node = child.node();
    if (!node) return;
    if (decl.filter) {
        CLSID cls = decl.filter->cls;
        // Without its filter the node stands as it was declared.
        if (auto init = node.As<IFilterImplInit>())
            std::ignore = init->Init(CallBstr(decl.filter->name).get(), &cls);
    }
    if (decl.hidden) std::ignore = node->put_IsHide(1);
    if (decl.disabled) std::ignore = node->put_IsDisabled(1);
}

ComPtr<IProperty> PropertyBase::AddChild(const NodeDecl& decl) { return AddDeclared(decl, false); }

}  // namespace bv
