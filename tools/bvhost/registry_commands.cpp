#include "announced.h"
#include "commands.h"
#include "exit_code.h"
#include "paths.h"
#include "registry_key.h"
#include "server.h"
#include "terminal.h"
#include "text.h"

namespace host {
namespace {

namespace fs = std::filesystem;

std::vector<fs::path> ModulesFor(const std::vector<std::wstring>& named) {
    if (named.empty()) return DefaultModules();
    std::vector<fs::path> modules;
    for (const std::wstring& name : named) modules.push_back(Absolute(name));
    return modules;
}

int Register(const std::vector<std::wstring>& modules) {
    int result = kDone;
    std::vector<Registration> done;
    for (const fs::path& module : ModulesFor(modules)) {
        try {
            const ClassList before = RegisteredClasses();
            CallModule(module, "DllRegisterServer");
            done.push_back({module, NewClasses(before, module)});
        } catch (const Problem& problem) {
            PrintError(problem.what());
            result = kFailed;
        }
    }
    // A class may need those of a module that comes later.
    for (const Registration& registration : done) {
        const std::string name = PathText(registration.module);
        const std::vector<std::string> missing = WhatCannotBeMade(registration.classes);
        if (missing.empty()) Print("registered    " + name + '\n');
        for (const std::string& problem : missing) PrintError(name + ": " + problem);
        if (!missing.empty()) result = kFailed;
    }
    return result;
}

/// A module's operation says that it is done whatever has happened; this looks.
void NeedUnregistered(const fs::path& module) {
    const Key classes(HKEY_CLASSES_ROOT, L"CLSID");
    if (!classes && classes.error() != ERROR_FILE_NOT_FOUND)
        throw Problem("the registry can't be read: " + Reason(HRESULT_FROM_WIN32(DWORD(classes.error()))));
    if (!classes) return;
    for (const std::wstring& id : classes.Subkeys()) {
        const fs::path server = ToPath(DefaultOf(classes.get(), id + L"\\InprocServer32"));
        std::error_code ignored;
        if (!server.empty() && fs::equivalent(server, module, ignored))
            throw Problem("still registered: " + PathText(module));
    }
}

int Unregister(const std::vector<std::wstring>& modules) {
    int result = kDone;
    for (const fs::path& module : ModulesFor(modules)) {
        try {
            CallModule(module, "DllUnregisterServer");
            NeedUnregistered(module);
            Print("unregistered  " + PathText(module) + '\n');
        } catch (const Problem& problem) {
            PrintError(problem.what());
            result = kFailed;
        }
    }
    return result;
}

void PrintKey(HKEY parent, const std::wstring& path, const std::wstring& shown, size_t depth) {
    const Key key(parent, path);
    if (!key) return;
    const std::string indent(depth * 2, ' ');
    std::string line = indent + OneLine(Utf8(shown));
    if (const auto value = key.Value(nullptr); value && !value->empty())
        line = Padded(line, 46) + "  " + OneLine(Utf8(*value));
    Print(line + '\n');
    for (const std::wstring& name : key.ValueNames())
        Print(Padded(indent + "  " + OneLine(Utf8(name)) + " =", 46) + "  " +
              OneLine(Utf8(key.Value(name.c_str()).value_or(L""))) + '\n');
    if (depth < 8)
        for (const std::wstring& name : key.Subkeys()) PrintKey(key.get(), name, name, depth + 1);
}

/// Prints what is below a key as far as it is ours; says what kind it is before the first.
template <class IsOurs>
size_t PrintOurs(const char* heading, HKEY root, const std::wstring& path, IsOurs is_ours) {
    const Key key(root, path);
    size_t count = 0;
    if (!key) return 0;
    for (const std::wstring& name : key.Subkeys()) {
        if (!is_ours(key.get(), name)) continue;
        if (count++ == 0) Print(std::string(heading) + '\n');
        PrintKey(key.get(), name, name, 1);
    }
    return count;
}

/// What the modules wrote to the registry.
int ShowRegistry() {
    NeedRegistry();
    // A class is ours when its module bears our name; a component of another maker is ours by
    // its category alone.
    const std::wstring announced = GuidText(bv::category::Root);
    size_t count = PrintOurs("HKEY_CLASSES_ROOT", HKEY_CLASSES_ROOT, L"",
                             [](HKEY, const std::wstring& name) { return name.starts_with(L"BVSchema."); });
    count += PrintOurs("HKEY_CLASSES_ROOT\\CLSID", HKEY_CLASSES_ROOT, L"CLSID",
                       [&](HKEY parent, const std::wstring& name) {
                           if (SameName(name, announced)) return true;
                           const std::wstring module =
                               FromPath(ToPath(DefaultOf(parent, name + L"\\InprocServer32")).stem());
                           return SameName(module, L"BVSchema") || SameName(module, L"BVSamples");
                       });
    const std::wstring library = GuidText(bv::kTypeLibrary);
    count += PrintOurs("HKEY_CLASSES_ROOT\\TypeLib", HKEY_CLASSES_ROOT, L"TypeLib",
                       [&](HKEY, const std::wstring& name) { return SameName(name, library); });
    count += PrintOurs("HKEY_CLASSES_ROOT\\Interface", HKEY_CLASSES_ROOT, L"Interface",
                       [&](HKEY parent, const std::wstring& name) {
                           return SameName(DefaultOf(parent, name + L"\\TypeLib"), library);
                       });
    count += PrintOurs("HKEY_CURRENT_USER\\Software", HKEY_CURRENT_USER, L"Software",
                       [](HKEY, const std::wstring& name) {
                           return SameName(name, L"Brenvaltide") || SameName(name, L"Brenvaltide Software");
                       });
    if (count == 0) Print("Nothing is registered; \"bvhost register\" registers the modules.\n");
    return kDone;
}

}  // namespace

void AddRegistryCommands(CommandLine& line) {
    const auto modules = std::make_shared<std::vector<std::wstring>>();
    const auto add = [&](const char* name, const char* help, int (*run)(const std::vector<std::wstring>&)) {
        const Command command = line.Add(name, help);
        command.Words("MODULE", "Module files; by default BVSchema and BVSamples of this installation",
                      modules.get(), false);
        command.Does([=] { return run(*modules); });
    };
    add("register", "Registers component modules", Register);
    add("unregister", "Takes component modules out of the registry", Unregister);
    line.Add("registry", "Shows what the modules wrote to the registry").Does(ShowRegistry);
}

}  // namespace host
