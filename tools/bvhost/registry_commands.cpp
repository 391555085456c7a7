#include <optional>

#include "commands.h"
#include "exit_code.h"
#include "paths.h"
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

int CallEach(const std::vector<std::wstring>& named, const char* operation, const char* done) {
    int result = kDone;
    for (const fs::path& module : ModulesFor(named)) {
        try {
            CallModule(module, operation);
            Print(std::string(done) + "  " + PathText(module) + '\n');
        } catch (const Problem& problem) {
            PrintError(problem.what());
            result = kFailed;
        }
    }
    return result;
}

// --- Reading keys

class Key {
public:
    Key(HKEY parent, const std::wstring& path) {
        error_ = RegOpenKeyExW(parent, path.c_str(), 0, KEY_READ, &key_);
    }
    Key(const Key&) = delete;
    Key& operator=(const Key&) = delete;
    ~Key() {
        if (error_ == ERROR_SUCCESS) RegCloseKey(key_);
    }
    explicit operator bool() const { return error_ == ERROR_SUCCESS; }
    HKEY get() const { return key_; }

    std::vector<std::wstring> Subkeys() const {
        std::vector<std::wstring> names;
        wchar_t name[256];
        DWORD length = 256;
        for (DWORD i = 0;
             RegEnumKeyExW(key_, i, name, &length, nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS;
             ++i, length = 256)
            names.emplace_back(name, length);
        return names;
    }
    /// The text or number of a value; null is the default value. Nothing when there is none.
    std::optional<std::wstring> Value(const wchar_t* name) const {
        wchar_t text[1024] = {};
        DWORD type = 0, size = sizeof text - sizeof *text;
        if (RegQueryValueExW(key_, name, nullptr, &type, reinterpret_cast<BYTE*>(text), &size) !=
            ERROR_SUCCESS)
            return {};
        if (type == REG_SZ || type == REG_EXPAND_SZ) return std::wstring(text);
        DWORD number = 0;
        if (type != REG_DWORD) return L"(" + std::to_wstring(size) + L" bytes)";
        size = sizeof number;
        RegQueryValueExW(key_, name, nullptr, nullptr, reinterpret_cast<BYTE*>(&number), &size);
        return std::to_wstring(number);
    }
    std::vector<std::wstring> ValueNames() const {
        std::vector<std::wstring> names;
        wchar_t name[256];
        DWORD length = 256;
        for (DWORD i = 0;
             RegEnumValueW(key_, i, name, &length, nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS;
             ++i, length = 256)
            if (length > 0) names.emplace_back(name, length);
        return names;
    }

private:
    HKEY key_ = nullptr;
    LONG error_;
};

std::wstring DefaultOf(HKEY parent, const std::wstring& path) {
    const Key key(parent, path);
    return key ? key.Value(nullptr).value_or(L"") : std::wstring();
}

std::wstring GuidText(REFGUID id) {
    wchar_t text[40];
    StringFromGUID2(id, text, 40);
    return text;
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
    // A class is ours when its module bears our name; a component of another maker is ours by its category
    // alone.
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
    const auto add = [&](const char* name, const char* help, const char* operation, const char* done) {
        const Command command = line.Add(name, help);
        command.Words("MODULE", "Module files; by default BVSchema and BVSamples of this installation",
                      modules.get(), false);
        command.Does([=] { return CallEach(*modules, operation, done); });
    };
    add("register", "Registers component modules", "DllRegisterServer", "registered  ");
    add("unregister", "Takes component modules out of the registry", "DllUnregisterServer", "unregistered");
    line.Add("registry", "Shows what the modules wrote to the registry").Does(ShowRegistry);
}

}  // namespace host
