// Between a module's entry object, which is compiled into each module, and the layer.
#pragma once

#include "bv_native_resources.h"
#include "windef.h"

struct BvModuleEntry {
    const void* anchor;                      // an address inside the module
    BOOL (*main)(HINSTANCE, DWORD, LPVOID);  // DllMain, null: none
    const BvNativeResource* resources;
    unsigned long resource_count;
    const BvNativeString* strings;
    unsigned long string_count;
};

extern "C" {
/// The system has loaded the module: makes it known to the layer and calls its DllMain. The tables must stay.
BV_PLATFORM_API HMODULE BvAttachModule(const BvModuleEntry* entry);
/// The system is about to unload the module.
BV_PLATFORM_API void BvDetachModule(HMODULE module);
}
