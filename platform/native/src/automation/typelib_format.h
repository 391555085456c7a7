// The form in which a type library lies in a module or in a ".tlb" file, for its compiler and its reader.
// Everything stands one after the other, in the order below; numbers are little endian, a text is a 16-bit
// count of bytes and so many bytes of UTF-8, an id is its 16 bytes in the order of the GUID's fields.
//
//   library:   kMagic, u16 kFormat, id, u16 major, u16 minor, text name, text help, u16 count, types
//   type:      u8 TYPEKIND, u16 flags, id, text name, text help, then by kind:
//     record     u16 count, fields: text name, shape
//     interface  u16 base (kNoType: none), u16 count, operations: u32 id, u8 INVOKEKIND, u16 flags, text
//     name, text help,
//                shape of the result, u8 count, parameters: text name, u16 flags, shape
//     class      u16 count, interfaces: u16 type, u16 flags
//   shape:     u8 VARENUM; VT_PTR: shape; VT_CARRAY: u32 count, shape; VT_USERDEFINED: u16 type
//
// A type is its place in the library, or kStandard and its place in the standard library. A base, and a
// record that is part of another, come before what is made of them.
#pragma once

#include <cstdint>

namespace bv::typelib {

inline constexpr char kMagic[] = {'B', 'V', 'T', 'L'};
inline constexpr std::uint16_t kFormat = 1;
inline constexpr std::uint16_t kStandard = 0x8000;
inline constexpr std::uint16_t kNoType = 0xFFFF;

/// The standard library's types, in its order.
enum StandardType : std::uint16_t { kGuidRecord, kIUnknown, kIDispatch };
inline constexpr const char* kStandardNames[] = {"GUID", "IUnknown", "IDispatch"};

}  // namespace bv::typelib
