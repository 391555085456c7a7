// Where a test program runs: the module under test and the folders it may use.
#pragma once

#include <bvschema/bvschema.h>

#include <filesystem>

namespace bv::test {

/// The file names of the modules of this build; they lie beside the test programs.
extern const wchar_t* const kModuleFile;
extern const wchar_t* const kSamplesFile;

/// The folder of the test program, of the modules and of bvhost.
std::filesystem::path BinFolder();
/// The repository's tests/, with golden/. Read only.
std::filesystem::path DataFolder();
/// An empty folder of this run alone, removed after it.
std::filesystem::path TempFolder();

/// Whether long series run in full. Wine takes minutes for what is a second elsewhere.
inline constexpr bool kInFull = std::filesystem::path::preferred_separator == '/';

/// Calls an operation that takes nothing in the module, which is loaded for the call: "DllRegisterServer".
HRESULT CallModule(const wchar_t* module_file, const char* operation);

}  // namespace bv::test
