// Reading a type library. The bytes come from a file that a path in the registry names:
// nothing in them is believed.
#include <algorithm>
#include <initializer_list>

#include "automation/typelib_data.h"
#include "text/text.h"

namespace bv::platform {
namespace {

using namespace typelib;

constexpr int kMaxDepth = 6;            // of a shape: pointers and arrays
constexpr unsigned kMaxSlots = 4000;    // of an interface: offsets in its table are 16 bits
constexpr ULONG kMaxRecord = 1u << 20;  // bytes

struct Damaged {};

class LibraryReader {
public:
    LibraryReader(std::string_view bytes, const TypeLibraryData* standard)
        : bytes_(bytes), standard_(standard) {}

    std::unique_ptr<TypeLibraryData> Read() {
        auto library = std::make_unique<TypeLibraryData>();
        library_ = library.get();
        if (Bytes(sizeof kMagic) != std::string_view(kMagic, sizeof kMagic) || U16() != kFormat)
            throw Damaged{};
        library->id = Id();
        library->major = U16();
        library->minor = U16();
        library->name = Text();
        library->help = Text();
        count_ = U16();
        for (unsigned i = 0; i < count_; ++i) ReadType();
        if (!bytes_.empty()) throw Damaged{};
        CheckUses();
        return library;
    }

private:
    std::string_view Bytes(std::size_t size) {
        if (size > bytes_.size()) throw Damaged{};
        const std::string_view taken = bytes_.substr(0, size);
        bytes_.remove_prefix(size);
        return taken;
    }
    std::uint32_t Number(int size) {
        std::uint32_t number = 0;
        const std::string_view taken = Bytes(static_cast<std::size_t>(size));
        for (int i = size; i-- > 0;)
            number = number << 8 | static_cast<unsigned char>(taken[static_cast<std::size_t>(i)]);
        return number;
    }
    std::uint8_t U8() { return static_cast<std::uint8_t>(Number(1)); }
    std::uint16_t U16() { return static_cast<std::uint16_t>(Number(2)); }
    std::uint32_t U32() { return Number(4); }
    /// A byte that is one of these.
    template <class Kind>
    Kind OneOf(std::initializer_list<Kind> kinds) {
        const std::uint8_t number = U8();
        for (const Kind kind : kinds)
            if (number == kind) return kind;
        throw Damaged{};
    }
    std::wstring Text() {
        const std::size_t size = U16();
        return ToWide(Bytes(size));
    }
    GUID Id() {
        GUID id = {};
        id.Data1 = U32();
        id.Data2 = U16();
        id.Data3 = U16();
        const std::string_view rest = Bytes(sizeof id.Data4);
        std::copy(rest.begin(), rest.end(), id.Data4);
        return id;
    }

    void ReadType() {
        TypeData type;
        type.kind = OneOf({TKIND_RECORD, TKIND_INTERFACE, TKIND_COCLASS});
        type.flags = U16();
        type.id = Id();
        type.name = Text();
        type.help = Text();
        switch (type.kind) {
            case TKIND_RECORD:
                ReadRecord(type);
                break;
            case TKIND_INTERFACE:
                ReadInterface(type);
                break;
            default:  // a class
                for (unsigned left = U16(); left > 0; --left) {
                    const std::uint16_t reference = U16();
                    type.implementations.push_back({reference, U16()});
                }
                break;
        }
        library_->types.push_back(std::move(type));
    }

    void ReadRecord(TypeData& type) {
        type.alignment = 1;
        for (unsigned left = U16(); left > 0; --left) {
            TypeField field;
            field.name = Text();
            field.shape = Shape(0);
            const Extent extent = ExtentOf(field.shape);
            field.offset = (type.size + extent.alignment - 1) / extent.alignment * extent.alignment;
            type.size = field.offset + extent.size;
            type.alignment = std::max(type.alignment, extent.alignment);
            if (type.size > kMaxRecord) throw Damaged{};
            type.fields.push_back(std::move(field));
        }
        type.size = (type.size + type.alignment - 1) / type.alignment * type.alignment;
    }

    void ReadInterface(TypeData& type) {
        type.base = U16();
        if (type.base != kNoType) {
            const TypeData& base = Known(type.base);
            if (base.kind != TKIND_INTERFACE) throw Damaged{};
            type.slots = base.slots;
        }
        for (unsigned left = U16(); left > 0; --left) {
            TypeOperation operation;
            operation.id = static_cast<MEMBERID>(U32());
            operation.kind =
                OneOf({INVOKE_FUNC, INVOKE_PROPERTYGET, INVOKE_PROPERTYPUT, INVOKE_PROPERTYPUTREF});
            operation.flags = U16();
            operation.name = Text();
            operation.help = Text();
            operation.result = Shape(0);
            for (unsigned parameters = U8(); parameters > 0; --parameters) {
                TypeParameter parameter;
                parameter.name = Text();
                parameter.flags = U16();
                parameter.shape = Shape(0);
                operation.parameters.push_back(std::move(parameter));
            }
            CheckOperation(operation);
            operation.slot = type.slots++;
            if (type.slots > kMaxSlots) throw Damaged{};
            type.operations.push_back(std::move(operation));
        }
    }

    static void CheckOperation(const TypeOperation& operation) {
        if (operation.IsPut() && operation.parameters.empty()) throw Damaged{};
        for (const TypeParameter& parameter : operation.parameters) {
            const bool last = &parameter == &operation.parameters.back();
            // A result leaves through a pointer, and nothing comes after it.
            if (parameter.Is(PARAMFLAG_FRETVAL) && (!last || operation.IsPut())) throw Damaged{};
            if (parameter.Is(PARAMFLAG_FOUT | PARAMFLAG_FRETVAL) && parameter.shape.vt != VT_PTR)
                throw Damaged{};
        }
    }

    TypeShape Shape(int depth) {
        if (depth > kMaxDepth) throw Damaged{};
        TypeShape shape;
        shape.vt = U8();
        if (shape.vt == VT_CARRAY) shape.count = U32();
        if (shape.vt == VT_USERDEFINED) {
            shape.type = U16();
            if (shape.type & kStandard)
                Known(shape.type);
            else if (shape.type >= count_)
                throw Damaged{};
        } else if (shape.vt == VT_PTR || shape.vt == VT_CARRAY) {
            shape.inner.push_back(Shape(depth + 1));
        } else if (!IsSimple(shape.vt)) {
            throw Damaged{};
        }
        return shape;
    }
    static bool IsSimple(VARTYPE vt) {
        return (vt >= VT_I2 && vt <= VT_UNKNOWN) || (vt >= VT_I1 && vt <= VT_HRESULT);
    }

    /// A type that was read before, or a standard one.
    const TypeData& Known(std::uint16_t reference) const {
        const std::uint16_t index = reference & static_cast<std::uint16_t>(~kStandard);
        const TypeLibraryData* const library = reference & kStandard ? standard_ : library_;
        if (!library || index >= library->types.size()) throw Damaged{};
        return library->types[index];
    }

    struct Extent {
        ULONG size;
        ULONG alignment;
    };
    Extent ExtentOf(const TypeShape& shape) const {
        switch (shape.vt) {
            case VT_I1:
            case VT_UI1:
                return {1, 1};
            case VT_I2:
            case VT_UI2:
            case VT_BOOL:
                return {2, 2};
            case VT_I8:
            case VT_UI8:
            case VT_R8:
            case VT_DATE:
            case VT_CY:
                return {8, 8};
            case VT_VARIANT:
                return {sizeof(VARIANT), alignof(VARIANT)};
            case VT_BSTR:
            case VT_DISPATCH:
            case VT_UNKNOWN:
            case VT_PTR:
                return {sizeof(void*), alignof(void*)};
            case VT_CARRAY: {
                const Extent element = ExtentOf(shape.inner.front());
                if (shape.count == 0 || shape.count > kMaxRecord / element.size) throw Damaged{};
                return {shape.count * element.size, element.alignment};
            }
            case VT_USERDEFINED: {
                const TypeData& record = Known(shape.type);
                if (record.kind != TKIND_RECORD || record.size == 0) throw Damaged{};
                return {record.size, record.alignment};
            }
            case VT_VOID:
                throw Damaged{};
            default:
                return {4, 4};
        }
    }

    /// What may refer to a later type: parameters, and a class's interfaces.
    void CheckUses() const {
        for (const TypeData& type : library_->types)
            for (const TypeImplementation& implementation : type.implementations)
                if (Known(implementation.type).kind != TKIND_INTERFACE) throw Damaged{};
    }

    std::string_view bytes_;
    const TypeLibraryData* standard_;
    TypeLibraryData* library_ = nullptr;
    unsigned count_ = 0;
};

std::unique_ptr<TypeLibraryData> Read(std::string_view bytes, const TypeLibraryData* standard) try {
    return LibraryReader(bytes, standard).Read();
} catch (const Damaged&) {
    return nullptr;
}

constexpr unsigned char kStandardLibrary[] = {
#include "stdole.inc"
};

}  // namespace

std::unique_ptr<TypeLibraryData> ReadTypeLibrary(std::string_view bytes) {
    return Read(bytes, &StandardTypeLibrary());
}

const TypeLibraryData& StandardTypeLibrary() {
    static const TypeLibraryData& library =
        *Read({reinterpret_cast<const char*>(kStandardLibrary), sizeof kStandardLibrary}, nullptr).release();
    return library;
}

const TypeLibraryData& TypeLibraryData::LibraryOf(std::uint16_t reference) const {
    return reference & kStandard ? StandardTypeLibrary() : *this;
}
const TypeData& TypeLibraryData::Type(std::uint16_t reference) const {
    return LibraryOf(reference).types[reference & static_cast<std::uint16_t>(~kStandard)];
}
bool TypeLibraryData::IsStandard(const TypeData& type, StandardType standard) const {
    return &type == &StandardTypeLibrary().types[standard];
}

}  // namespace bv::platform
