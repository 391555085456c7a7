// Type libraries and their types as objects.
#include <deque>
#include <new>

#include "automation/typelib_data.h"
#include "model/object.h"
#include "objbase.h"
#include "oleauto.h"
#include "text/text.h"

namespace bv::platform {
namespace {

using namespace typelib;

HRESULT CopyText(const std::wstring& text, BSTR* result, bool empty_too = false) {
    if (!result) return S_OK;
    *result =
        text.empty() && !empty_too ? nullptr : SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
    return *result || (text.empty() && !empty_too) ? S_OK : E_OUTOFMEMORY;
}

/// Both texts, or none.
HRESULT CopyTexts(const std::wstring& name, BSTR* name_out, const std::wstring& help, BSTR* help_out) {
    HRESULT status = CopyText(name, name_out, true);
    if (FAILED(status)) return status;
    status = CopyText(help, help_out);
    if (FAILED(status) && name_out) {
        SysFreeString(*name_out);
        *name_out = nullptr;
    }
    return status;
}

/// A reference as a type hands it out: its place, and the side of a dual interface.
constexpr HREFTYPE kTableSide = 0x10000;

/// A description with all that it points to. The caller gets it as the description alone.
template <class Description>
struct Block : Description {
    explicit Block(const TypeLibraryData& library)
        : Description(), standard(&library == &StandardTypeLibrary() ? kStandard : 0) {}

    const HREFTYPE standard;  // what turns a place in the operation's own library into a reference
    std::deque<TYPEDESC> types;
    std::deque<ARRAYDESC> arrays;
    std::vector<ELEMDESC> elements;

    void Describe(TYPEDESC& target, const TypeShape& shape) {
        target.vt = shape.vt;
        if (shape.vt == VT_PTR) {
            target.lptdesc = &types.emplace_back();
            Describe(*target.lptdesc, shape.inner.front());
        } else if (shape.vt == VT_CARRAY) {
            target.lpadesc = &arrays.emplace_back();
            target.lpadesc->cDims = 1;
            target.lpadesc->rgbounds[0] = {shape.count, 0};
            Describe(target.lpadesc->tdescElem, shape.inner.front());
        } else if (shape.vt == VT_USERDEFINED) {
            target.hreftype = shape.type | standard;
        }
    }
};
template <class Description>
void Free(Description* description) {
    delete static_cast<Block<Description>*>(description);
}

class TypeInfo final : public Object<ITypeInfo, IID_ITypeInfo> {
public:
    using Data = std::shared_ptr<const TypeLibraryData>;

    TypeInfo(Data library, unsigned index, bool dispatch)
        : library_(std::move(library)), type_(library_->types[index]), index_(index), dispatch_(dispatch) {
        AddOperations(dispatch_);
    }

    /// The type as the library gives it: of a dual interface the dispatch side.
    static ITypeInfo* New(const Data& library, unsigned index) {
        return new TypeInfo(library, index, library->types[index].IsDual());
    }

    STDMETHODIMP GetTypeAttr(TYPEATTR** result) override try {
        if (!result) return E_INVALIDARG;
        TYPEATTR& attributes = *new Block<TYPEATTR>(*library_);
        attributes.guid = type_.id;
        attributes.memidConstructor = attributes.memidDestructor = MEMBERID_NIL;
        attributes.typekind = dispatch_ ? TKIND_DISPATCH : type_.kind;
        attributes.wTypeFlags = type_.flags;
        if (dispatch_) attributes.wTypeFlags &= static_cast<WORD>(~TYPEFLAG_FOLEAUTOMATION);
        attributes.cFuncs = static_cast<WORD>(operations_.size());
        attributes.cVars = static_cast<WORD>(type_.fields.size());
        attributes.cImplTypes = static_cast<WORD>(Implementations());
        attributes.cbSizeInstance = type_.kind == TKIND_RECORD ? type_.size : sizeof(void*);
        attributes.cbAlignment =
            static_cast<WORD>(type_.kind == TKIND_RECORD ? type_.alignment : alignof(void*));
        const unsigned slots = dispatch_ ? StandardTypeLibrary().types[kIDispatch].slots : type_.slots;
        attributes.cbSizeVft = static_cast<WORD>(slots * sizeof(void*));
        *result = &attributes;
        return S_OK;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }

    STDMETHODIMP GetFuncDesc(UINT index, FUNCDESC** result) override try {
        if (!result) return E_INVALIDARG;
        if (index >= operations_.size()) return TYPE_E_ELEMENTNOTFOUND;
        const TypeOperation& operation = *operations_[index].operation;
        auto block = std::make_unique<Block<FUNCDESC>>(*operations_[index].library);
        FUNCDESC& function = *block;
        function.memid = operation.id;
        function.funckind = dispatch_ ? FUNC_DISPATCH : FUNC_PUREVIRTUAL;
        function.invkind = operation.kind;
        function.callconv = CC_STDCALL;
        function.oVft = static_cast<SHORT>(operation.slot * sizeof(void*));
        function.wFuncFlags = operation.flags;

        // A script sees the last parameter as the result where it is one, and no status.
        const bool shows_result = dispatch_ && operation.HasResult();
        const std::size_t count = operation.parameters.size() - (shows_result ? 1 : 0);
        block->elements.resize(count);
        for (std::size_t i = 0; i < count; ++i) {
            block->Describe(block->elements[i].tdesc, operation.parameters[i].shape);
            block->elements[i].paramdesc.wParamFlags = operation.parameters[i].flags;
        }
        function.cParams = static_cast<SHORT>(count);
        function.lprgelemdescParam = count ? block->elements.data() : nullptr;
        if (shows_result) {
            const TypeShape& pointer = operation.parameters.back().shape;
            block->Describe(function.elemdescFunc.tdesc, pointer.inner.front());
        } else if (dispatch_ && operation.result.vt == VT_HRESULT) {
            function.elemdescFunc.tdesc.vt = VT_VOID;
        } else {
            block->Describe(function.elemdescFunc.tdesc, operation.result);
        }
        *result = block.release();
        return S_OK;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }

    STDMETHODIMP GetVarDesc(UINT index, VARDESC** result) override try {
        if (!result) return E_INVALIDARG;
        if (index >= type_.fields.size()) return TYPE_E_ELEMENTNOTFOUND;
        auto block = std::make_unique<Block<VARDESC>>(*library_);
        VARDESC& field = *block;
        field.memid = kFirstField + static_cast<MEMBERID>(index);
        field.oInst = type_.fields[index].offset;
        field.varkind = VAR_PERINSTANCE;
        block->Describe(field.elemdescVar.tdesc, type_.fields[index].shape);
        *result = block.release();
        return S_OK;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }

    STDMETHODIMP GetNames(MEMBERID id, BSTR* names, UINT capacity, UINT* count) override {
        if (!names || !count) return E_INVALIDARG;
        *count = 0;
        std::vector<const std::wstring*> found;
        if (const TypeOperation* operation = FindById(id)) {
            found.push_back(&operation->name);
            for (const TypeParameter& parameter : operation->parameters) {
                const bool unnamed = (operation->IsPut() && &parameter == &operation->parameters.back()) ||
                                     (dispatch_ && parameter.Is(PARAMFLAG_FRETVAL));
                if (!unnamed) found.push_back(&parameter.name);
            }
        } else if (const TypeField* field = FieldById(id)) {
            found.push_back(&field->name);
        } else {
            return TYPE_E_ELEMENTNOTFOUND;
        }
        for (const std::wstring* name : found) {
            if (*count >= capacity) break;
            const HRESULT status = CopyText(*name, &names[*count], true);
            if (FAILED(status)) return status;
            ++*count;
        }
        return S_OK;
    }

    STDMETHODIMP GetRefTypeOfImplType(UINT index, HREFTYPE* result) override {
        if (!result) return E_INVALIDARG;
        if (index == static_cast<UINT>(-1)) {
            if (!type_.IsDual()) return TYPE_E_ELEMENTNOTFOUND;
            *result = index_ | (dispatch_ ? kTableSide : 0);
            return S_OK;
        }
        if (index >= Implementations()) return TYPE_E_ELEMENTNOTFOUND;
        if (type_.kind == TKIND_COCLASS) {
            *result = type_.implementations[index].type;
        } else if (dispatch_) {
            *result = kStandard | kIDispatch;
        } else {
            *result = type_.base | kTableSide;
        }
        return S_OK;
    }
    STDMETHODIMP GetImplTypeFlags(UINT index, INT* result) override {
        if (!result) return E_INVALIDARG;
        if (index >= Implementations()) return TYPE_E_ELEMENTNOTFOUND;
        *result = type_.kind == TKIND_COCLASS ? type_.implementations[index].flags : 0;
        return S_OK;
    }

    STDMETHODIMP GetIDsOfNames(LPOLESTR* names, UINT count, MEMBERID* ids) override {
        if (!names || !ids || count == 0) return E_INVALIDARG;
        std::fill_n(ids, count, MEMBERID_NIL);
        const TypeOperation* operation = nullptr;
        for (UINT i = 0; i < count; ++i)
            if (!names[i]) return E_INVALIDARG;
        ForEachOperation([&](const Listed& listed) {
            if (!SameWithoutCase(listed.operation->name, names[0])) return false;
            operation = listed.operation;
            return true;
        });
        if (!operation) return DISP_E_UNKNOWNNAME;
        ids[0] = operation->id;
        HRESULT status = S_OK;
        for (UINT i = 1; i < count; ++i) {
            const std::vector<TypeParameter>& parameters = operation->parameters;
            for (std::size_t place = 0; place < parameters.size() && ids[i] == MEMBERID_NIL; ++place)
                if (SameWithoutCase(parameters[place].name, names[i])) ids[i] = static_cast<MEMBERID>(place);
            if (ids[i] == MEMBERID_NIL) status = DISP_E_UNKNOWNNAME;
        }
        return status;
    }

    STDMETHODIMP Invoke(PVOID object, MEMBERID id, WORD flags, DISPPARAMS* arguments, VARIANT* result,
                        EXCEPINFO* exception, UINT* bad_argument) override {
        if (!object || !arguments || arguments->cNamedArgs > arguments->cArgs ||
            (arguments->cArgs > 0 && !arguments->rgvarg) ||
            (arguments->cNamedArgs > 0 && !arguments->rgdispidNamedArgs))
            return E_INVALIDARG;
        if (type_.kind != TKIND_INTERFACE) return DISP_E_MEMBERNOTFOUND;
        const Listed* found = nullptr;
        ForEachOperation([&](const Listed& listed) {
            const TypeOperation& operation = *listed.operation;
            if (operation.id != id || !(operation.kind & flags) || (operation.flags & FUNCFLAG_FRESTRICTED))
                return false;
            found = &listed;
            return true;
        });
        if (!found) return DISP_E_MEMBERNOTFOUND;
        AddRef();  // the operation may release whoever holds this type
        const HRESULT status = InvokeOperation({*found->library, *found->operation}, object, *arguments,
                                               result, exception, bad_argument);
        Release();
        return status;
    }

    STDMETHODIMP GetDocumentation(MEMBERID id, BSTR* name, BSTR* help, DWORD* context, BSTR* file) override {
        const std::wstring* texts[2] = {&type_.name, &type_.help};
        static const std::wstring none;
        if (id != MEMBERID_NIL) {
            const TypeOperation* operation = FindById(id);
            const TypeField* field = FieldById(id);
            if (!operation && !field) return TYPE_E_ELEMENTNOTFOUND;
            texts[0] = operation ? &operation->name : &field->name;
            texts[1] = operation ? &operation->help : &none;
        }
        if (context) *context = 0;
        if (file) *file = nullptr;
        return CopyTexts(*texts[0], name, *texts[1], help);
    }

    STDMETHODIMP GetRefTypeInfo(HREFTYPE reference, ITypeInfo** result) override try {
        if (!result) return E_INVALIDARG;
        *result = nullptr;
        const bool table = (reference & kTableSide) != 0;
        const HREFTYPE place = reference & ~kTableSide;
        const bool standard = (place & kStandard) != 0;
        const unsigned index = place & ~unsigned{kStandard};
        const Data library = standard ? Data(Data(), &StandardTypeLibrary()) : library_;
        if (place > 0xFFFF || index >= library->types.size()) return TYPE_E_ELEMENTNOTFOUND;
        *result = new TypeInfo(library, index, library->types[index].IsDual() && !table);
        return S_OK;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
    STDMETHODIMP CreateInstance(IUnknown* outer, REFIID iid, PVOID* result) override {
        if (!result) return E_INVALIDARG;
        *result = nullptr;
        if (type_.kind != TKIND_COCLASS) return TYPE_E_ELEMENTNOTFOUND;
        return CoCreateInstance(type_.id, outer, CLSCTX_SERVER, iid, result);
    }
    STDMETHODIMP GetContainingTypeLib(ITypeLib** result, UINT* index) override try {
        if (index) *index = index_;
        if (result) *result = NewTypeLib(library_);
        return S_OK;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
    STDMETHODIMP_(void) ReleaseTypeAttr(TYPEATTR* attributes) override { Free(attributes); }
    STDMETHODIMP_(void) ReleaseFuncDesc(FUNCDESC* function) override { Free(function); }
    STDMETHODIMP_(void) ReleaseVarDesc(VARDESC* field) override { Free(field); }

private:
    static constexpr MEMBERID kFirstField = 0x40000000;

    struct Listed {
        const TypeLibraryData* library;
        const TypeOperation* operation;
    };

    /// Of the outermost base first.
    void AddOperations(bool bases_too) {
        std::vector<std::pair<const TypeLibraryData*, const TypeData*>> chain = {{library_.get(), &type_}};
        while (bases_too && chain.back().second->base != kNoType) {
            const auto [library, type] = chain.back();
            chain.emplace_back(&library->LibraryOf(type->base), &library->Type(type->base));
        }
        for (auto level = chain.rbegin(); level != chain.rend(); ++level)
            for (const TypeOperation& operation : level->second->operations)
                operations_.push_back({level->first, &operation});
    }

    /// Through the operations of the type, then those of its bases, until the action says that it has
    /// found its own.
    template <class Action>
    void ForEachOperation(Action action) const {
        for (const Listed& listed : operations_)
            if (action(listed)) return;
        if (dispatch_) return;
        const TypeLibraryData* library = library_.get();
        for (const TypeData* type = &type_; type->base != kNoType;) {
            const std::uint16_t base = type->base;
            type = &library->Type(base);
            library = &library->LibraryOf(base);
            for (const TypeOperation& operation : type->operations)
                if (const Listed listed = {library, &operation}; action(listed)) return;
        }
    }

    const TypeOperation* FindById(MEMBERID id) const {
        for (const Listed& listed : operations_)
            if (listed.operation->id == id) return listed.operation;
        return nullptr;
    }
    const TypeField* FieldById(MEMBERID id) const {
        const auto index = static_cast<std::uint32_t>(id) - static_cast<std::uint32_t>(kFirstField);
        return index < type_.fields.size() ? &type_.fields[index] : nullptr;
    }

    std::size_t Implementations() const {
        if (type_.kind == TKIND_COCLASS) return type_.implementations.size();
        return type_.kind == TKIND_INTERFACE && type_.base != kNoType ? 1 : 0;
    }

    const Data library_;
    const TypeData& type_;
    const unsigned index_;
    const bool dispatch_;
    std::vector<Listed> operations_;  // a dispatch side's with those of all bases
};

class TypeLib final : public Object<ITypeLib, IID_ITypeLib> {
public:
    explicit TypeLib(std::shared_ptr<const TypeLibraryData> data) : data_(std::move(data)) {}

    STDMETHODIMP_(UINT) GetTypeInfoCount() override { return static_cast<UINT>(data_->types.size()); }
    STDMETHODIMP GetTypeInfo(UINT index, ITypeInfo** result) override try {
        if (!result) return E_INVALIDARG;
        if (index >= data_->types.size()) return TYPE_E_ELEMENTNOTFOUND;
        *result = TypeInfo::New(data_, index);
        return S_OK;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
    STDMETHODIMP GetTypeInfoType(UINT index, TYPEKIND* result) override {
        if (!result) return E_INVALIDARG;
        if (index >= data_->types.size()) return TYPE_E_ELEMENTNOTFOUND;
        const TypeData& type = data_->types[index];
        *result = type.IsDual() ? TKIND_DISPATCH : type.kind;
        return S_OK;
    }
    STDMETHODIMP GetTypeInfoOfGuid(REFGUID id, ITypeInfo** result) override {
        if (!result) return E_INVALIDARG;
        for (std::size_t i = 0; i < data_->types.size(); ++i)
            if (data_->types[i].id == id && id != GUID_NULL) return GetTypeInfo(static_cast<UINT>(i), result);
        return TYPE_E_ELEMENTNOTFOUND;
    }
    STDMETHODIMP GetLibAttr(TLIBATTR** result) override {
        if (!result) return E_INVALIDARG;
        *result = new (std::nothrow)
            TLIBATTR{data_->id, 0, SYS_WIN64, data_->major, data_->minor, LIBFLAG_FHASDISKIMAGE};
        return *result ? S_OK : E_OUTOFMEMORY;
    }
    STDMETHODIMP GetDocumentation(INT index, BSTR* name, BSTR* help, DWORD* context, BSTR* file) override {
        if (index < -1 || index >= static_cast<INT>(data_->types.size())) return TYPE_E_ELEMENTNOTFOUND;
        const TypeData* const type = index >= 0 ? &data_->types[static_cast<std::size_t>(index)] : nullptr;
        if (context) *context = 0;
        if (file) *file = nullptr;
        return CopyTexts(type ? type->name : data_->name, name, type ? type->help : data_->help, help);
    }
    STDMETHODIMP_(void) ReleaseTLibAttr(TLIBATTR* attributes) override { delete attributes; }

private:
    const std::shared_ptr<const TypeLibraryData> data_;
};

}  // namespace

ITypeLib* NewTypeLib(std::shared_ptr<const TypeLibraryData> data) { return new TypeLib(std::move(data)); }

}  // namespace bv::platform
