// What this module writes to the registry, and takes out again.
#pragma once

#include <bvschema/bvschema.h>

namespace sample {

/// Where a class's code lies: HKEY_CLASSES_ROOT, "CLSID\{class}\InprocServer32".
HRESULT RegisterClass(REFCLSID cls, const wchar_t* name, const wchar_t* module);
void UnregisterClass(REFCLSID cls);

/// A component of a category, with its extra texts in their order; null texts are left out.
struct Announcement {
    GUID category;
    CLSID cls;
    const wchar_t* name;
    const wchar_t* extra[3];
};
HRESULT Announce(const Announcement& component);
/// The keys of the category and of all categories go with the last component below them.
void Withdraw(const Announcement& component);

/// A filter stands among the devices of the media framework, in a category of the application's own, where
/// IBVFilterMapper finds it: "CLSID\{category}\Instance\{class}".
HRESULT AnnounceFilter(REFCLSID cls, const wchar_t* name);
void WithdrawFilter(REFCLSID cls);

}  // namespace sample
