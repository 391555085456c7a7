#include "server.h"

#include <bvschema/host/runtime.h>

#include "paths.h"

namespace host {
namespace fs = std::filesystem;

fs::path ModuleFolderOf(REFCLSID cls) { return bv::Runtime::ModuleOf(cls).parent_path(); }

std::vector<fs::path> DefaultModules() {
    wchar_t self[1024] = {};
    GetModuleFileNameW(nullptr, self, 1023);
    const fs::path bin = ToPath(self).parent_path();
    std::vector<fs::path> folders = {bin};
    std::error_code error;
    for (const char* lib : {"lib", "lib64"}) {
        folders.push_back(bin.parent_path() / lib / "bvschema");
        for (const auto& entry : fs::directory_iterator(bin.parent_path() / lib, error))
            if (entry.is_directory(error))
                folders.push_back(entry.path() / "bvschema");  // lib/<architecture>/
    }
    for (const fs::path& folder : folders) {
        std::vector<fs::path> modules;
        for (const char* stem : {"BVSchema", "BVSamples"}) {
            for (const char* suffix : {".so", ".dll"}) {
                const fs::path module = folder / (std::string(stem) + suffix);
                if (fs::is_regular_file(module, error)) modules.push_back(module);
            }
        }
        if (!modules.empty()) return modules;
    }
    throw Problem("there is no BVSchema module beside bvhost; name the modules");
}

void NeedRegistry() {
    HKEY key = nullptr;
    const LSTATUS status = RegOpenKeyExW(HKEY_CLASSES_ROOT, L"", 0, KEY_READ, &key);
    if (status != ERROR_SUCCESS)
        throw Problem("the registry can't be read: " + Reason(HRESULT_FROM_WIN32(DWORD(status))));
    RegCloseKey(key);
}

void CallModule(const fs::path& module, const char* operation) {
    NeedRegistry();
    bv::CallModule(module, operation).Must();
}

}  // namespace host
