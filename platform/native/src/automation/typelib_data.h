// A type library in memory, as its reader makes it: checked, so that those who use it need not.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "automation/typelib_format.h"
#include "oaidl.h"

namespace bv::platform {

struct TypeShape {
    VARTYPE vt = VT_EMPTY;
    ULONG count = 0;               // VT_CARRAY
    std::uint16_t type = 0;        // VT_USERDEFINED
    std::vector<TypeShape> inner;  // VT_PTR, VT_CARRAY: one
};
struct TypeParameter {
    std::wstring name;
    USHORT flags = 0;
    TypeShape shape;

    bool Is(USHORT flag) const { return (flags & flag) != 0; }
};
struct TypeField {
    std::wstring name;
    TypeShape shape;
    ULONG offset = 0;
};
struct TypeOperation {
    MEMBERID id = 0;
    INVOKEKIND kind = INVOKE_FUNC;
    WORD flags = 0;
    std::wstring name, help;
    TypeShape result;
    std::vector<TypeParameter> parameters;
    unsigned slot = 0;  // in the interface's table

    bool IsPut() const { return kind == INVOKE_PROPERTYPUT || kind == INVOKE_PROPERTYPUTREF; }
    /// The last parameter is the result of the operation, as a script sees it.
    bool HasResult() const { return !parameters.empty() && parameters.back().Is(PARAMFLAG_FRETVAL); }
};
struct TypeImplementation {
    std::uint16_t type = 0;
    WORD flags = 0;
};
struct TypeData {
    TYPEKIND kind = TKIND_RECORD;
    WORD flags = 0;
    GUID id = {};
    std::wstring name, help;
    std::uint16_t base = typelib::kNoType;
    std::vector<TypeOperation> operations;
    std::vector<TypeField> fields;
    std::vector<TypeImplementation> implementations;
    unsigned slots = 0;  // of the whole table, with the bases'
    ULONG size = 0, alignment = 0;

    bool IsDual() const { return (flags & TYPEFLAG_FDUAL) != 0; }
};

struct TypeLibraryData {
    GUID id = {};
    WORD major = 0, minor = 0;
    std::wstring name, help;
    std::vector<TypeData> types;

    /// The type behind a reference of this library's, which the reader has checked.
    const TypeData& Type(std::uint16_t reference) const;
    /// The base of an interface, null for none.
    const TypeData* Base(const TypeData& type) const {
        return type.base == typelib::kNoType ? nullptr : &Type(type.base);
    }
    /// The type that an interface's base refers to belongs to the library that the result names.
    const TypeLibraryData& LibraryOf(std::uint16_t reference) const;
    bool IsStandard(const TypeData& type, typelib::StandardType standard) const;
};

/// Reads a library. Null when the bytes are none: cut, with an index out of range, with a base that isn't an
/// interface or comes later, too deep or too large. Throws std::bad_alloc.
std::unique_ptr<TypeLibraryData> ReadTypeLibrary(std::string_view bytes);

/// What all others refer to: GUID, IUnknown, IDispatch.
const TypeLibraryData& StandardTypeLibrary();

/// A new object for a library that was read. Throws std::bad_alloc.
ITypeLib* NewTypeLib(std::shared_ptr<const TypeLibraryData> data);

// --- Calls of operations by their description (invoke.cpp)

struct InvokeTarget {
    const TypeLibraryData& library;  // of the operation's shapes
    const TypeOperation& operation;
};
/// ITypeInfo::Invoke, once the operation is found.
HRESULT InvokeOperation(const InvokeTarget& target, void* object, const DISPPARAMS& arguments,
                        VARIANT* result, EXCEPINFO* exception, UINT* bad_argument);

}  // namespace bv::platform
