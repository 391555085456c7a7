// The component server as a host meets it: creating objects, reading why something failed, registering
// modules.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "com.h"
#include "text.h"

namespace host {

/// What a failed call has to say: the text of the thread's error object, else of the status. Takes the error
/// object.
std::string Reason(HRESULT status);
/// Drops what an earlier call left in the thread's error object.
void ForgetErrors();

/// A new object. what: its name for the message of the Problem that is thrown when it can't be made.
template <class I>
Ref<I> Create(REFCLSID cls, const char* what, IUnknown* outer = nullptr);
[[noreturn]] void CantCreate(const char* what, HRESULT status);

/// The folder of the module that has the class; empty when it isn't registered.
std::filesystem::path ModuleFolderOf(REFCLSID cls);

/// This program's own modules: beside it, or where an installation puts them.
std::vector<std::filesystem::path> DefaultModules();

/// Throws a Problem when the registry can't be read.
void NeedRegistry();
/// Calls "DllRegisterServer" or "DllUnregisterServer" of a module.
void CallModule(const std::filesystem::path& module, const char* operation);

template <class I>
Ref<I> Create(REFCLSID cls, const char* what, IUnknown* outer) {
    Ref<I> object;
    ForgetErrors();
    const HRESULT status = CoCreateInstance(cls, outer, CLSCTX_INPROC_SERVER, bv::kIid<I>, object.PutVoid());
    if (FAILED(status)) CantCreate(what, status);
    return object;
}

}  // namespace host
