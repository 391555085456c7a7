// The one list of what the server can create.
#pragma once

#include <bvschema/bvschema.h>

#include <span>

namespace bv {

struct ClassEntry {
    CLSID cls;
    HRESULT (*create)(IUnknown* outer, REFIID iid, void** out);
    int script;  // number of its registry script
};

/// All classes, in table order.
std::span<const ClassEntry> ClassTable();

/// The class object of a class, which the table keeps until the module stops. CLASS_E_CLASSNOTAVAILABLE for a
/// class that isn't in the table.
HRESULT GetClassObject(REFCLSID cls, REFIID iid, void** out);

void StartClassTable();
/// Releases all class objects.
void StopClassTable();

}  // namespace bv
