// Compiled into every module, and into a program with resources or a DllMain:
// tells the layer of its start and end.
//
// DllMain runs among the constructors of the module's static objects, in no order with them:
// what it uses is constant-initialised.
#include <bvschema/platform.h>

#include <bvschema/native/module_attach.h>

extern "C" __attribute__((visibility("hidden"))) BOOL WINAPI DllMain(HINSTANCE, DWORD, LPVOID);
#pragma weak DllMain
#pragma weak bv_native_resources
#pragma weak bv_native_resource_count
#pragma weak bv_native_strings
#pragma weak bv_native_string_count

namespace {

HMODULE self = nullptr;

// A weak symbol that nobody defines has the address null.
unsigned long CountAt(const unsigned long* count) { return count ? *count : 0; }

__attribute__((constructor)) void Attach() {
    const BvModuleEntry entry = {&self,
                                 DllMain,
                                 bv_native_resources,
                                 CountAt(&bv_native_resource_count),
                                 bv_native_strings,
                                 CountAt(&bv_native_string_count)};
    self = BvAttachModule(&entry);
}

__attribute__((destructor)) void Detach() { BvDetachModule(self); }

}  // namespace
