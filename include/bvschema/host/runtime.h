// The component model of a thread, and the modules in it.
#pragma once

#include <bvschema/host/result.h>

#include <filesystem>

namespace bv::inline host {

/// The component model of this thread: begins with the object and ends with it. Everything of the layer that
/// the thread made must be gone before. Throws Error when the thread has it in another form already.
class Runtime {
public:
    Runtime();
    Runtime(const Runtime&) = delete;
    Runtime& operator=(const Runtime&) = delete;
    ~Runtime();

    /// Announces a module's classes in the user's registry, or takes them back.
    Result<> Register(const std::filesystem::path& module);
    Result<> Unregister(const std::filesystem::path& module);
    /// The module that has the job's classes; empty when none is registered.
    std::filesystem::path Module() const { return ModuleOf(clsid::PropertyMain); }
    /// The module that has a class; empty when it isn't registered.
    static std::filesystem::path ModuleOf(REFCLSID cls);
};

/// Calls an operation that takes nothing in a module, which is loaded for the call: "DllRegisterServer".
Result<> CallModule(const std::filesystem::path& module, const char* operation);

}  // namespace bv::inline host
