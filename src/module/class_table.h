// The one list of what the server can create.
#pragma once

#include <bvschema/bvschema.h>

#include <span>

#include "com/creation.h"

namespace bv {

struct ClassEntry {
    CLSID cls;
    Creator create;
};

/// All classes, in table order.
std::span<const ClassEntry> ClassTable();
/// The one of that id; null when it isn't in the table.
const ClassEntry* FindClass(REFCLSID cls);
/// The number of an entry's registry script: its place in the list, from 101 on.
int ScriptOf(const ClassEntry& entry);
/// Whether that is the table's class object of the class.
bool IsOwnClassObject(const ClassEntry& entry, IClassFactory* object);

/// The class object of a class, which the table keeps until the module stops. CLASS_E_CLASSNOTAVAILABLE for a
/// class that isn't in the table.
HRESULT GetClassObject(REFCLSID cls, REFIID iid, void** out);

void StartClassTable();
/// Releases all class objects.
void StopClassTable();

}  // namespace bv
