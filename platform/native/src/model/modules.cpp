// Loaded modules and their resources.
#include <dlfcn.h>
#include <elf.h>
#include <fcntl.h>
#include <link.h>
#include <sys/stat.h>
#include <unistd.h>
#include <windows.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cwchar>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "boundary.h"
#include "module_attach.h"
#include "text/text.h"

using namespace bv::platform;

/// One loaded module. The system's own record of it, which is unique, says which module it is.
struct HMODULE__ {
    /// A block of 16 texts in the form of the resource: each a 16-bit length and its UTF-16 units.
    struct StringBlock {
        std::vector<unsigned char> bytes;
        BvNativeResource resource;
    };

    const link_map* identity = nullptr;
    std::string path;
    void* handle = nullptr;  // for dlsym and dlclose while loads > 0
    long loads = 0;          // LoadLibrary without FreeLibrary
    bool attached = false;   // has an entry object, which tells when the module goes
    bool refused = false;    // DllMain said no
    BvModuleEntry entry = {};
    std::vector<const BvNativeString*> strings;  // by id
    std::map<UINT, StringBlock> blocks;          // those asked for
};

namespace {

// Never held while the system's loader is called: it has a lock of its own, and runs a module's constructors,
// which come back here, under it.
std::mutex modules_mutex;

std::vector<std::unique_ptr<HMODULE__>>& Modules() {
    static auto& modules = *new std::vector<std::unique_ptr<HMODULE__>>;  // outlives every module's end
    return modules;
}

const link_map* IdentityOf(void* handle) {
    link_map* map = nullptr;
    return dlinfo(handle, RTLD_DI_LINKMAP, &map) == 0 ? map : nullptr;
}

const link_map* IdentityOfAddress(const void* address) {
    Dl_info info = {};
    void* map = nullptr;
    return dladdr1(address, &info, &map, RTLD_DL_LINKMAP) ? static_cast<const link_map*>(map) : nullptr;
}

const link_map* ProgramIdentity() {
    static const link_map* const program = IdentityOf(dlopen(nullptr, RTLD_LAZY));
    return program;
}

/// The module's record, with the mutex held. Null: none yet.
HMODULE Find(const link_map* map) {
    for (const auto& module : Modules())
        if (module->identity == map) return module.get();
    return nullptr;
}

/// The record comes first: the loader's own may have been written by another thread, under a lock
/// that isn't ours.
std::string PathOf(const link_map* map) {
    {
        std::lock_guard lock(modules_mutex);
        if (const HMODULE known = Find(map)) return known->path;
    }
    char path[PATH_MAX];
    if (map == ProgramIdentity()) {
        const ssize_t length = readlink("/proc/self/exe", path, sizeof path);
        return {path, length > 0 ? static_cast<size_t>(length) : 0};
    }
    return realpath(map->l_name, path) ? path : map->l_name;
}

/// The same, made when there is none. path is looked up before, since that asks the loader.
HMODULE FindOrAdd(const link_map* map, const std::string& path) {
    if (HMODULE known = Find(map)) return known;
    auto added = std::make_unique<HMODULE__>();
    added->identity = map;
    added->path = path;
    return Modules().emplace_back(std::move(added)).get();
}

void Remove(HMODULE module) {
    std::erase_if(Modules(), [module](const auto& known) { return known.get() == module; });
}

/// Whether the handle is a module's, with the mutex held.
bool IsKnown(HMODULE module) {
    return std::any_of(Modules().begin(), Modules().end(),
                       [module](const auto& known) { return known.get() == module; });
}

/// The record behind a handle that a caller gives, null standing for the program; null: no such module.
HMODULE Checked(HMODULE module) {
    if (!module) {
        const link_map* program = ProgramIdentity();
        const std::string path = PathOf(program);
        std::lock_guard lock(modules_mutex);
        return FindOrAdd(program, path);
    }
    std::lock_guard lock(modules_mutex);
    return IsKnown(module) ? module : nullptr;
}

template <class T>
T Failed(DWORD error, T result) {
    SetLastError(error);
    return result;
}

// --- Loading ------------------------------------------------------------------------------------------

bool EndsWithoutCase(std::string_view text, std::string_view end) {
    return text.size() >= end.size() && Fold(text.substr(text.size() - end.size())) == Fold(end);
}

/// Names of system libraries whose calls are this layer's.
bool IsSystemLibrary(std::string_view name) {
    for (const char* known : {"OLEAUT32", "OLE32", "KERNEL32", "ADVAPI32", "USER32", "SHLWAPI"})
        if (Fold(name) == known || Fold(name) == std::string(known) + ".DLL") return true;
    return false;
}

const link_map* OwnIdentity() { return IdentityOfAddress(reinterpret_cast<const void*>(&IsSystemLibrary)); }
std::string OwnPath() { return PathOf(OwnIdentity()); }

std::string FolderOf(const std::string& path) { return path.substr(0, path.rfind('/') + 1); }

/// Why the file at the path can't be a module; ERROR_MOD_NOT_FOUND also for a good one that lacks another.
DWORD WhyNoModule(const std::string& path) {
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (file < 0) return errno == EACCES ? ERROR_ACCESS_DENIED : ERROR_MOD_NOT_FOUND;
    ElfW(Ehdr) found = {};
    ElfW(Ehdr) own = {};
    const bool whole = read(file, &found, sizeof found) == sizeof found;
    close(file);
    const int program = open("/proc/self/exe", O_RDONLY | O_CLOEXEC);
    const bool known = program >= 0 && read(program, &own, sizeof own) == sizeof own;
    if (program >= 0) close(program);
    const bool same_kind = whole && known &&
                           std::equal(found.e_ident, found.e_ident + EI_VERSION, own.e_ident) &&
                           found.e_type == ET_DYN && found.e_machine == own.e_machine;
    return same_kind ? ERROR_MOD_NOT_FOUND : ERROR_BAD_EXE_FORMAT;
}

struct Opened {
    void* handle = nullptr;
    DWORD error = ERROR_MOD_NOT_FOUND;
};

Opened OpenPath(const std::string& path) {
    struct stat file = {};
    if (stat(path.c_str(), &file) != 0)
        return {nullptr, errno == EACCES ? DWORD(ERROR_ACCESS_DENIED) : ERROR_MOD_NOT_FOUND};
    if (!S_ISREG(file.st_mode)) return {nullptr, ERROR_BAD_EXE_FORMAT};  // a pipe would make the loader wait
    if (void* handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL)) return {handle, ERROR_SUCCESS};
    return {nullptr, WhyNoModule(path)};
}

/// A plain name, in the form in which modules are called here if it is written in the other.
Opened OpenName(const std::string& name, const std::string& caller_folder) {
    std::vector<std::string> names = {name};
    if (EndsWithoutCase(name, ".dll")) names.push_back(name.substr(0, name.size() - 4) + ".so");
    for (const std::string& folder : {FolderOf(PathOf(ProgramIdentity())), caller_folder}) {
        for (const std::string& candidate : names) {
            const Opened opened = OpenPath(folder + candidate);
            if (opened.error != ERROR_MOD_NOT_FOUND || opened.handle) return opened;
        }
    }
    for (const std::string& candidate : names)
        if (void* handle = dlopen(candidate.c_str(), RTLD_NOW | RTLD_LOCAL)) return {handle, ERROR_SUCCESS};
    return {};
}

HMODULE Load(const std::string& name, const void* caller) {
    if (name.empty()) return Failed(ERROR_MOD_NOT_FOUND, HMODULE());
    Opened opened;
    if (name.find('/') != std::string::npos) {
        opened = OpenPath(name);
    } else if (IsSystemLibrary(name)) {
        opened = OpenPath(OwnPath());
    } else {
        const link_map* asking = IdentityOfAddress(caller);
        opened = OpenName(name, asking ? FolderOf(PathOf(asking)) : std::string());
    }
    if (!opened.handle) return Failed(opened.error, HMODULE());

    // Without memory for its record the module goes again.
    struct Closing {
        void operator()(void* handle) const { dlclose(handle); }
    };
    std::unique_ptr<void, Closing> handle(opened.handle);
    const link_map* identity = IdentityOf(handle.get());
    const std::string path = PathOf(identity);
    {
        std::lock_guard lock(modules_mutex);
        HMODULE module = FindOrAdd(identity, path);
        if (!module->refused) {
            module->handle = handle.release();
            ++module->loads;
            return module;
        }
    }
    handle.reset();
    return Failed(ERROR_DLL_INIT_FAILED, HMODULE());
}

/// Null means the program, but not to a component module that was built without its entry: nobody has called
/// its DllMain, so it asks for its own path without a handle. The program's path would be registered
/// in its place.
HMODULE CheckedFor(HMODULE module, const void* caller) {
    if (module) {
        module = Checked(module);
        return module ? module : Failed(ERROR_MOD_NOT_FOUND, HMODULE());
    }
    const link_map* const asking = IdentityOfAddress(caller);
    const HMODULE program = Checked(nullptr);
    if (!asking || asking == program->identity || asking == OwnIdentity()) return program;
    {
        std::lock_guard lock(modules_mutex);
        const HMODULE known = Find(asking);
        if (known && known->attached) return program;
    }
    const std::string path = PathOf(asking);
    void* const handle = dlopen(path.c_str(), RTLD_LAZY | RTLD_NOLOAD);
    void* const creator = handle ? dlsym(handle, "DllGetClassObject") : nullptr;
    if (handle) dlclose(handle);
    if (!creator || IdentityOfAddress(creator) != asking) return program;
    std::fprintf(
        stderr,
        "%s: this component module was built without its module entry, so its DllMain is never called "
        "and it doesn't know its own path. Build it with bvschema_add_module, or compile "
        "module_entry.cpp into it.\n",
        path.c_str());
    return Failed(ERROR_DLL_INIT_FAILED, HMODULE());
}

/// Copies as much of a path as there is room for.
template <class Char>
DWORD CopyPath(const std::basic_string<Char>& path, Char* buffer, DWORD size) {
    if (!buffer || size == 0) return Failed(ERROR_INSUFFICIENT_BUFFER, DWORD(0));
    const size_t length = std::min<size_t>(path.size(), size - 1);
    std::copy_n(path.data(), length, buffer);
    buffer[length] = 0;
    return length < path.size() ? Failed(ERROR_INSUFFICIENT_BUFFER, size) : static_cast<DWORD>(length);
}

}  // namespace

namespace {

HMODULE Attach(const BvModuleEntry& entry) {
    std::vector<const BvNativeString*> strings;
    strings.reserve(entry.string_count);
    for (unsigned long i = 0; i < entry.string_count; ++i) strings.push_back(&entry.strings[i]);
    std::stable_sort(strings.begin(), strings.end(),
                     [](const BvNativeString* a, const BvNativeString* b) { return a->id < b->id; });
    const link_map* identity = IdentityOfAddress(entry.anchor);
    const std::string path = PathOf(identity);
    std::lock_guard lock(modules_mutex);
    HMODULE const module = FindOrAdd(identity, path);
    module->attached = true;
    module->entry = entry;
    module->strings = std::move(strings);
    return module;
}

/// A loaded module by its path or file name.
HMODULE FindByName(LPCSTR name) {
    if (!name) return Checked(nullptr);
    char path[PATH_MAX];
    const std::string wanted = IsSystemLibrary(name)                            ? OwnPath()
                               : std::strchr(name, '/') && realpath(name, path) ? path
                                                                                : name;
    std::lock_guard lock(modules_mutex);
    for (const auto& module : Modules())
        if (module->path == wanted || module->path.substr(FolderOf(module->path).size()) == wanted)
            return module.get();
    return Failed(ERROR_MOD_NOT_FOUND, HMODULE());
}

/// As Load, for the calls.
HMODULE LoadBounded(LPCSTR name, const void* caller) {
    if (!name) return Failed(ERROR_INVALID_PARAMETER, HMODULE());
    return Bounded(HMODULE(), [&] { return Load(name, caller); });
}
HMODULE LoadBounded(LPCWSTR name, const void* caller) {
    if (!name) return Failed(ERROR_INVALID_PARAMETER, HMODULE());
    return Bounded(HMODULE(), [&] { return Load(ToUtf8(name), caller); });
}

}  // namespace

extern "C" {

HMODULE BvAttachModule(const BvModuleEntry* entry) {
    HMODULE const module = Bounded(HMODULE(), [&] { return Attach(*entry); });
    if (!module) return nullptr;
    const bool refused = entry->main && !entry->main(module, DLL_PROCESS_ATTACH, nullptr);
    std::lock_guard lock(modules_mutex);
    module->refused = refused;
    return module;
}

void BvDetachModule(HMODULE module) {
    if (module->entry.main) module->entry.main(module, DLL_PROCESS_DETACH, nullptr);
    std::lock_guard lock(modules_mutex);
    Remove(module);
}

HMODULE LoadLibraryA(LPCSTR name) { return LoadBounded(name, __builtin_return_address(0)); }
HMODULE LoadLibraryW(LPCWSTR name) { return LoadBounded(name, __builtin_return_address(0)); }
HMODULE LoadLibraryExW(LPCWSTR name, HANDLE, DWORD) { return LoadBounded(name, __builtin_return_address(0)); }

BOOL FreeLibrary(HMODULE module) {
    void* handle = nullptr;
    {
        std::lock_guard lock(modules_mutex);
        if (IsKnown(module) && module->loads > 0) {
            handle = module->handle;
            if (--module->loads == 0 && !module->attached) Remove(module);
        }
    }
    if (!handle) return Failed(ERROR_MOD_NOT_FOUND, FALSE);
    dlclose(handle);
    return TRUE;
}

FARPROC GetProcAddress(HMODULE module, LPCSTR name) {
    module = Bounded(HMODULE(), [&] { return Checked(module); });
    if (!module) return Failed(ERROR_MOD_NOT_FOUND, FARPROC());
    if (IS_INTRESOURCE(name)) return Failed(ERROR_PROC_NOT_FOUND, FARPROC());
    const bool is_program = module->identity == ProgramIdentity();
    void* handle = dlopen(is_program ? nullptr : module->path.c_str(), RTLD_LAZY | RTLD_NOLOAD);
    void* found = handle ? dlsym(handle, name) : nullptr;
    // The search goes on to the libraries that the module needs; what it finds there isn't the module's.
    if (found && IdentityOfAddress(found) != module->identity) found = nullptr;
    if (handle) dlclose(handle);
    return found ? reinterpret_cast<FARPROC>(found) : Failed(ERROR_PROC_NOT_FOUND, FARPROC());
}

HMODULE GetModuleHandleW(LPCWSTR name) {
    return Bounded(HMODULE(), [&] { return FindByName(name ? ToUtf8(name).c_str() : nullptr); });
}

DWORD GetModuleFileNameW(HMODULE module, LPWSTR buffer, DWORD size) {
    const void* const caller = __builtin_return_address(0);
    return Bounded(DWORD(0), [&] {
        HMODULE const known = CheckedFor(module, caller);
        return known ? CopyPath(ToWide(known->path), buffer, size) : DWORD(0);
    });
}

BOOL DisableThreadLibraryCalls(HMODULE module) {
    return module && Checked(module) ? TRUE : Failed(ERROR_MOD_NOT_FOUND, FALSE);
}

DWORD GetShortPathNameW(LPCWSTR path, LPWSTR buffer, DWORD size) {
    if (!path) return Failed(ERROR_INVALID_PARAMETER, DWORD(0));
    const int found = Bounded(-2, [&] { return access(ToUtf8(path).c_str(), F_OK); });
    if (found == -2) return 0;
    if (found != 0) return Failed(ERROR_FILE_NOT_FOUND, DWORD(0));
    const size_t length = std::wcslen(path);
    if (!buffer || size <= length) return static_cast<DWORD>(length + 1);
    std::wmemmove(buffer, path, length + 1);
    return static_cast<DWORD>(length);
}

// --- Resources ----------------------------------------------------------------------------------------

}  // extern "C"

namespace {

constexpr UINT kBlockSize = 16;  // texts in a block of the string table

/// The number that a name or type stands for.
std::optional<unsigned long> NumberOf(LPCSTR name) {
    if (IS_INTRESOURCE(name)) return reinterpret_cast<ULONG_PTR>(name);
    if (*name != '#') return std::nullopt;
    return std::strtoul(name + 1, nullptr, 10);
}

bool SameName(LPCSTR a, LPCSTR b) {
    const auto number = NumberOf(a);
    if (number || NumberOf(b)) return number == NumberOf(b);
    return Fold(a) == Fold(b);
}

const BvNativeString* FindString(HMODULE module, UINT id) {
    const auto before = [](const BvNativeString* entry, UINT wanted) { return entry->id < wanted; };
    const auto found = std::lower_bound(module->strings.begin(), module->strings.end(), id, before);
    return found != module->strings.end() && (*found)->id == id ? *found : nullptr;
}

void AppendUnits(std::vector<unsigned char>& bytes, std::wstring_view text) {
    std::vector<unsigned> units;
    for (const wchar_t c : text) {
        const unsigned value = static_cast<unsigned>(c);
        if (value >= 0x10000) units.push_back(0xD800 + ((value - 0x10000) >> 10));
        units.push_back(value >= 0x10000 ? 0xDC00 + (value & 0x3FF) : value);
    }
    units.insert(units.begin(), static_cast<unsigned>(units.size()));
    for (const unsigned unit : units) {
        bytes.push_back(static_cast<unsigned char>(unit));
        bytes.push_back(static_cast<unsigned char>(unit >> 8));
    }
}

/// Block number `number` of the string table, null when it has no text.
const BvNativeResource* FindBlock(HMODULE module, unsigned long number) {
    if (number == 0 || number > 0x1000) return nullptr;
    std::lock_guard lock(modules_mutex);
    const UINT block = static_cast<UINT>(number);
    if (const auto known = module->blocks.find(block); known != module->blocks.end())
        return &known->second.resource;

    HMODULE__::StringBlock made = {};
    bool any = false;
    for (UINT id = (block - 1) * kBlockSize; id < block * kBlockSize; ++id) {
        const BvNativeString* entry = FindString(module, id);
        any = any || entry;
        AppendUnits(made.bytes, entry ? ToWide(entry->text) : std::wstring());
    }
    if (!any) return nullptr;
    HMODULE__::StringBlock& kept = module->blocks[block] = std::move(made);
    kept.resource = {RT_STRING, MAKEINTRESOURCEA(block), kept.bytes.data(), kept.bytes.size()};
    return &kept.resource;
}

const BvNativeResource* ResourceOf(HRSRC handle) { return reinterpret_cast<const BvNativeResource*>(handle); }

HRSRC HandleOf(const BvNativeResource* resource) {
    return reinterpret_cast<HRSRC>(const_cast<BvNativeResource*>(resource));  // only to come back as it is
}

template <class Char>
int CopyText(std::basic_string_view<Char> text, Char* buffer) {
    std::copy(text.begin(), text.end(), buffer);
    buffer[text.size()] = 0;
    return static_cast<int>(text.size());
}

HRSRC FindNamed(HMODULE module, LPCSTR name, LPCSTR type) {
    module = Checked(module);
    if (!module) return Failed(ERROR_RESOURCE_DATA_NOT_FOUND, HRSRC());
    if (SameName(type, RT_STRING)) {
        if (module->strings.empty()) return Failed(ERROR_RESOURCE_TYPE_NOT_FOUND, HRSRC());
        const BvNativeResource* block = FindBlock(module, NumberOf(name).value_or(0));
        return block ? HandleOf(block) : Failed(ERROR_RESOURCE_NAME_NOT_FOUND, HRSRC());
    }
    DWORD error = ERROR_RESOURCE_TYPE_NOT_FOUND;
    for (unsigned long i = 0; i < module->entry.resource_count; ++i) {
        const BvNativeResource& resource = module->entry.resources[i];
        if (!SameName(resource.type, type)) continue;
        if (SameName(resource.name, name)) return HandleOf(&resource);
        error = ERROR_RESOURCE_NAME_NOT_FOUND;
    }
    return Failed(error, HRSRC());
}

/// The text with that id; null when there is none or nowhere to put it.
const BvNativeString* TextFor(HINSTANCE module, UINT id, const void* buffer, int size) {
    module = Checked(module);
    if (!buffer || size <= 0)
        return Failed(ERROR_INVALID_PARAMETER, static_cast<const BvNativeString*>(nullptr));
    const BvNativeString* found = module ? FindString(module, id & 0xFFFF) : nullptr;
    return found ? found : Failed(ERROR_RESOURCE_NAME_NOT_FOUND, found);
}

}  // namespace

extern "C" {

HRSRC FindResourceA(HMODULE module, LPCSTR name, LPCSTR type) {
    return Bounded(HRSRC(), [&] { return FindNamed(module, name, type); });
}

DWORD SizeofResource(HMODULE, HRSRC resource) {
    return resource ? static_cast<DWORD>(ResourceOf(resource)->size)
                    : Failed(ERROR_RESOURCE_DATA_NOT_FOUND, DWORD(0));
}

HGLOBAL LoadResource(HMODULE, HRSRC resource) {
    if (!resource) return Failed(ERROR_RESOURCE_DATA_NOT_FOUND, HGLOBAL());
    return const_cast<void*>(ResourceOf(resource)->data);  // the handle's type; nobody writes to it
}

LPVOID LockResource(HGLOBAL data) { return data; }

int LoadStringA(HINSTANCE module, UINT id, LPSTR buffer, int size) {
    return Bounded(0, [&] {
        const BvNativeString* found = TextFor(module, id, buffer, size);
        if (!found) return 0;
        const std::string text = Utf8ToNarrow(found->text);
        const size_t room = static_cast<size_t>(size) - 1;
        return CopyText(GetACP() == CP_UTF8 ? CutUtf8(text, room) : std::string_view(text).substr(0, room),
                        buffer);
    });
}

int LoadStringW(HINSTANCE module, UINT id, LPWSTR buffer, int size) {
    return Bounded(0, [&] {
        const BvNativeString* found = TextFor(module, id, buffer, size);
        if (!found) return 0;
        const std::wstring text = ToWide(found->text);
        return CopyText(std::wstring_view(text).substr(0, static_cast<size_t>(size) - 1), buffer);
    });
}
}
