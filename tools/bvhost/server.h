// The component server as a host meets it: creating objects, reading why something
// failed, registering modules.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "com.h"
#include "text.h"

namespace host {

using bv::Create;
using bv::ForgetErrors;
using bv::Reason;

/// The folder of the module that has the class; empty when it isn't registered.
std::filesystem::path ModuleFolderOf(REFCLSID cls);

/// This program's own modules: beside it, or where an installation puts them.
std::vector<std::filesystem::path> DefaultModules();

/// Throws a Problem when the registry can't be read.
void NeedRegistry();
/// Calls "DllRegisterServer" or "DllUnregisterServer" of a module.
void CallModule(const std::filesystem::path& module, const char* operation);

}  // namespace host
