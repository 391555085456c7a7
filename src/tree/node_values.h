// The value of another node, for a hook that depends on it.
#pragma once

#include <bvschema/bvschema.h>

#include <optional>

#include "com/variant.h"

namespace bv {

/// Where what is encoded goes: the job's Mode, and a cut's own.
namespace output_mode {
inline constexpr LONG kGlobal = 0;  // of a cut: as the job's
inline constexpr LONG kSingle = 1;
inline constexpr LONG kMultiply = 2;
}  // namespace output_mode

/// The value, changed to a kind by Automation's rules. S_FALSE: there is no node, or it has no value. It is
/// empty then, and after a failure.
HRESULT ReadValue(IProperty* node, VARTYPE kind, Variant& value);

/// The value as a number of 16 bits, as choices and switches are read, or of 32 (VT_I4). None without a node
/// or a value, and for what can't be changed to that kind.
std::optional<LONG> NumberOf(IProperty* node, VARTYPE kind = VT_I2);

/// The value as a text; none likewise.
std::optional<Bstr> TextOf(IProperty* node);

}  // namespace bv
