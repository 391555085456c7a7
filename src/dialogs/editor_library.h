// The editors of some nodes, which live in a library of their own.
#pragma once

#include <bvschema/bvschema.h>

namespace bv {

/// Runs an editor of the library on a node, modal; the library is loaded for this call alone. S_OK when the
/// editor was there, whatever the user did in it; S_FALSE, after an error box, when the library or the
/// editor is missing.
HRESULT RunEditor(const char* editor, IProperty* node, const char* library = "dlgs.dll");

}  // namespace bv
