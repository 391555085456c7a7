// Creation by class id: registered class objects, modules from the registry, and the cache of where each
// class is.
#include <bv_class_epoch.h>
#include <msxml.h>
#include <objbase.h>
#include <strmif.h>
#include <windows.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <list>
#include <memory>
#include <mutex>
#include <shared_mutex>
#include <string>
#include <tuple>
#include <type_traits>
#include <unordered_map>

#include "model/builtin.h"
#include "model/object.h"

using namespace bv::platform;

namespace {

// --- Which thread may create --------------------------------------------------------------------------

struct ThreadState {
    LONG initialised = 0;  // CoInitialize without CoUninitialize
    bool free_threaded = false;
};
// Asked by every creation. The layer is there from the start and stays, so its place in a thread is fixed.
thread_local ThreadState this_thread __attribute__((tls_model("initial-exec")));
std::atomic<LONG> initialised_count = 0;    // all threads
std::atomic<LONG> free_threaded_count = 0;  // those that serve the other threads too

bool MayCreate() {
    return this_thread.initialised > 0 || free_threaded_count.load(std::memory_order_relaxed) > 0;
}

/// Whether no other thread can be in a component: it is the only one that initialised, and not for the others.
bool IsAlone() {
    return !this_thread.free_threaded && this_thread.initialised > 0 &&
           initialised_count == this_thread.initialised;
}

// Where several threads may be in a module, in ms.
constexpr DWORD kDefaultDelay = 10 * 60 * 1000;

// --- Where classes are --------------------------------------------------------------------------------

using GetClassObjectCall = HRESULT (*)(REFCLSID, REFIID, LPVOID*);
using CanUnloadCall = HRESULT (*)();

using Ticks = std::chrono::steady_clock::rep;
constexpr Ticks kNever = -1;

Ticks Now() { return std::chrono::steady_clock::now().time_since_epoch().count(); }

/// A module that serves classes, held by one load.
struct Server {
    HMODULE module = nullptr;  // null: the layer's own classes
    std::string path;          // as the registry has named it
    GetClassObjectCall get_class_object = nullptr;
    CanUnloadCall can_unload = nullptr;  // null: it never says that it can
    std::atomic<LONG> calls = 0;         // creations that are under way: it stays
    // When it was first asked whether it can go, and could; kNever: it was used since.
    std::atomic<Ticks> idle_since = kNever;
};

struct Registration {
    CLSID class_id;
    IUnknown* class_object;
    DWORD context;
    bool single_use;
};

struct HashId {
    size_t operator()(const GUID& id) const {
        std::uint64_t halves[2];
        std::memcpy(halves, &id, sizeof halves);
        const std::uint64_t mixed = (halves[0] ^ halves[1] * 0x9E3779B97F4A7C15u) * 0xD6E8FEB86659FD93u;
        return mixed ^ mixed >> 32;
    }
};

std::atomic<ULONGLONG> class_epoch = 1;  // see BvClassEpoch; moved with the mutex of Classes held

struct Classes {
    // Taken for reading by every creation, for a look-up only: no code of a component runs under it but
    // DllCanUnloadNow.
    std::shared_mutex mutex;
    std::unordered_map<CLSID, Server*, HashId> cache;
    std::list<std::unique_ptr<Server>> servers;
    std::unordered_multimap<CLSID, DWORD, HashId> registered;  // to the cookie
    std::unordered_map<DWORD, Registration> registrations;     // by cookie
    DWORD last_cookie = 0;
    static Classes& Get() {
        static auto& classes = *new Classes;  // serves modules to their end
        return classes;
    }

private:
    Classes();
};

/// Keeps a server loaded while it is being called.
class Use {
public:
    Use() = default;
    Use(const Use&) = delete;
    Use& operator=(const Use&) = delete;
    ~Use() {
        if (server_) --server_->calls;
    }

    /// To be called under the lock, once.
    void Begin(Server& server) {
        server_ = &server;
        ++server.calls;
        server.idle_since.store(kNever, std::memory_order_relaxed);
    }
    Server* operator->() const { return server_; }
    explicit operator bool() const { return server_ != nullptr; }

private:
    Server* server_ = nullptr;
};

/// A class object on its way to a creation, released with it.
class ClassObject {
public:
    ~ClassObject() {
        if (pointer_) static_cast<IUnknown*>(pointer_)->Release();
    }
    void** Put() { return &pointer_; }
    IClassFactory* Get() const { return static_cast<IClassFactory*>(pointer_); }

private:
    void* pointer_ = nullptr;
};

// --- The layer's own classes --------------------------------------------------------------------------

using CreateCall = HRESULT (*)(IUnknown* outer, REFIID iid, void** result);

struct Builtin {
    CLSID id;
    CreateCall create;
};
constexpr Builtin kBuiltins[] = {
    {CLSID_SystemDeviceEnum, CreateDeviceEnumerator},
    {CLSID_DOMDocument, CreateXmlDocument},
};

class BuiltinFactory final : public Object<IClassFactory, IID_IClassFactory> {
public:
    explicit BuiltinFactory(CreateCall create) : create_(create) {}

    STDMETHODIMP CreateInstance(IUnknown* outer, REFIID iid, void** result) override {
        if (!result) return E_POINTER;
        *result = nullptr;
        return create_(outer, iid, result);
    }
    STDMETHODIMP LockServer(BOOL) override { return S_OK; }

private:
    CreateCall create_;
};

HRESULT GetBuiltinClassObject(REFCLSID class_id, REFIID iid, LPVOID* result) {
    for (const Builtin& builtin : kBuiltins)
        if (builtin.id == class_id)
            return HandOut(new (std::nothrow) BuiltinFactory(builtin.create), iid, result);
    return CLASS_E_CLASSNOTAVAILABLE;
}

Classes::Classes() {
    Server& own = *servers.emplace_back(std::make_unique<Server>());
    own.get_class_object = GetBuiltinClassObject;
    for (const Builtin& builtin : kBuiltins) cache.emplace(builtin.id, &own);
}

// --- Finding a class ----------------------------------------------------------------------------------

/// The path of the class's module as the registry names it; empty when it names none. Fails when the registry
/// can't be read.
HRESULT FindModule(REFCLSID class_id, std::string& module) {
    wchar_t id[39];
    StringFromGUID2(class_id, id, 39);
    HKEY key = nullptr;
    const std::wstring path = std::wstring(L"CLSID\\") + id + L"\\InprocServer32";
    const LSTATUS status = RegOpenKeyExW(HKEY_CLASSES_ROOT, path.c_str(), 0, KEY_READ, &key);
    const auto failure = [](LSTATUS error) {
        return error == ERROR_OUTOFMEMORY ? E_OUTOFMEMORY : REGDB_E_READREGDB;
    };
    if (status == ERROR_FILE_NOT_FOUND || status == ERROR_PATH_NOT_FOUND) return S_OK;
    if (status != ERROR_SUCCESS) return failure(status);
    DWORD type = 0;
    DWORD size = 0;
    LSTATUS read = RegQueryValueExA(key, nullptr, nullptr, &type, nullptr, &size);
    if (read == ERROR_SUCCESS && (type == REG_SZ || type == REG_EXPAND_SZ)) {
        module.resize(size);
        read =
            RegQueryValueExA(key, nullptr, nullptr, nullptr, reinterpret_cast<LPBYTE>(module.data()), &size);
        if (read != ERROR_SUCCESS) module.clear();
    }
    RegCloseKey(key);
    // What has been changed in between, by another process, is asked for again with the next creation.
    if (read != ERROR_SUCCESS && read != ERROR_FILE_NOT_FOUND && read != ERROR_KEY_DELETED &&
        read != ERROR_MORE_DATA)
        return failure(read);
    module.resize(std::min(module.size(), module.find('\0')));
    if (module.size() >= 2 && module.front() == '"' && module.back() == '"')
        module = module.substr(1, module.size() - 2);
    return S_OK;
}

template <class Call>
Call Export(HMODULE module, const char* name) {
    return reinterpret_cast<Call>(reinterpret_cast<void (*)()>(GetProcAddress(module, name)));
}

/// Loads the class's module and puts the class into the cache. The result is in use already.
HRESULT LoadServer(REFCLSID class_id, Use& result) {
    std::string path;
    if (const HRESULT status = FindModule(class_id, path); FAILED(status)) return status;
    if (path.empty()) return REGDB_E_CLASSNOTREG;
    Classes& classes = Classes::Get();
    const auto is_known = [&path](const auto& known) { return known->path == path; };
    {
        // Most classes come with others, and a module that is loaded is what its path leads to.
        std::unique_lock lock(classes.mutex);
        const auto known = std::find_if(classes.servers.begin(), classes.servers.end(), is_known);
        if (known != classes.servers.end()) {
            result.Begin(*classes.cache.emplace(class_id, known->get()).first->second);
            return S_OK;
        }
    }
    const HMODULE module = LoadLibraryA(path.c_str());
    if (!module) return HRESULT_FROM_WIN32(GetLastError());
    struct Unloading {
        void operator()(HMODULE loaded) const { FreeLibrary(loaded); }
    };
    std::unique_ptr<std::remove_pointer_t<HMODULE>, Unloading> load(module);  // until it has an owner

    auto made = std::make_unique<Server>();
    made->module = module;
    made->get_class_object = Export<GetClassObjectCall>(module, "DllGetClassObject");
    made->can_unload = Export<CanUnloadCall>(module, "DllCanUnloadNow");
    if (!made->get_class_object) return CO_E_ERRORINDLL;

    made->path = path;
    {
        std::unique_lock lock(classes.mutex);
        Server* server = nullptr;
        for (const auto& known : classes.servers)
            if (known->module == module) server = known.get();
        // Another class, or another thread, may have brought the module here before.
        if (!server) {
            server = classes.servers.emplace_back(std::move(made)).get();
            std::ignore = load.release();
        }
        result.Begin(*classes.cache.emplace(class_id, server).first->second);
    }
    return S_OK;
}

/// Gives the class object, and keeps the module that it comes from until `use` ends.
HRESULT FindClassObject(REFCLSID class_id, DWORD context, REFIID iid, void** result, Use& use) try {
    Classes& classes = Classes::Get();
    IUnknown* registered = nullptr;
    bool single_use = false;
    DWORD cookie = 0;
    {
        std::shared_lock lock(classes.mutex);
        if (!classes.registered.empty()) {
            const auto [first, last] = classes.registered.equal_range(class_id);
            for (auto entry = first; entry != last && !registered; ++entry) {
                const Registration& candidate = classes.registrations.at(entry->second);
                if (!(candidate.context & context)) continue;
                cookie = entry->second;
                registered = candidate.class_object;
                single_use = candidate.single_use;
                registered->AddRef();
            }
        }
        if (!registered && context & CLSCTX_INPROC_SERVER) {
            const auto found = classes.cache.find(class_id);
            if (found != classes.cache.end()) use.Begin(*found->second);
        }
    }
    if (registered) {
        if (single_use) CoRevokeClassObject(cookie);
        return HandOut(registered, iid, result);
    }
    if (!use) {
        if (!(context & CLSCTX_INPROC_SERVER)) return REGDB_E_CLASSNOTREG;
        const HRESULT loaded = LoadServer(class_id, use);
        if (FAILED(loaded)) return loaded;
    }
    return use->get_class_object(class_id, iid, result);
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

}  // namespace

extern "C" {

HRESULT CoInitialize(LPVOID reserved) { return CoInitializeEx(reserved, COINIT_APARTMENTTHREADED); }

HRESULT CoInitializeEx(LPVOID reserved, DWORD flags) {
    if (reserved) return E_INVALIDARG;
    const bool free_threaded = !(flags & COINIT_APARTMENTTHREADED);
    if (this_thread.initialised > 0 && this_thread.free_threaded != free_threaded) return RPC_E_CHANGED_MODE;
    this_thread.free_threaded = free_threaded;
    ++initialised_count;
    if (free_threaded) ++free_threaded_count;
    return ++this_thread.initialised == 1 ? S_OK : S_FALSE;
}

void CoUninitialize() {
    if (this_thread.initialised == 0) return;
    if (initialised_count == 1) CoFreeUnusedLibrariesEx(0, 0);  // a module's end may still create
    --this_thread.initialised;
    --initialised_count;
    if (this_thread.free_threaded) --free_threaded_count;
}

HRESULT CoGetClassObject(REFCLSID class_id, DWORD context, LPVOID, REFIID iid, LPVOID* result) {
    if (!result) return E_INVALIDARG;
    *result = nullptr;
    if (!MayCreate()) return CO_E_NOTINITIALIZED;
    Use use;
    return FindClassObject(class_id, context, iid, result, use);
}

HRESULT CoCreateInstance(REFCLSID class_id, LPUNKNOWN outer, DWORD context, REFIID iid, LPVOID* result) {
    if (!result) return E_POINTER;
    *result = nullptr;
    if (!MayCreate()) return CO_E_NOTINITIALIZED;
    Use use;  // ends after the class object
    ClassObject factory;
    const HRESULT found = FindClassObject(class_id, context, IID_IClassFactory, factory.Put(), use);
    if (FAILED(found)) return found;
    if (!factory.Get()) return E_UNEXPECTED;
    const HRESULT made = factory.Get()->CreateInstance(outer, iid, result);
    if (FAILED(made)) *result = nullptr;
    return made;
}

HRESULT CoRegisterClassObject(REFCLSID class_id, LPUNKNOWN class_object, DWORD context, DWORD flags,
                              LPDWORD cookie) try {
    if (!class_object || !cookie) return E_INVALIDARG;
    *cookie = 0;
    if (!MayCreate()) return CO_E_NOTINITIALIZED;
    Classes& classes = Classes::Get();
    std::unique_lock lock(classes.mutex);
    const DWORD added = ++classes.last_cookie;
    classes.registrations.emplace(added,
                                  Registration{class_id, class_object, context, flags == REGCLS_SINGLEUSE});
    try {
        classes.registered.emplace(class_id, added);
    } catch (...) {
        classes.registrations.erase(added);
        throw;
    }
    class_object->AddRef();
    ++class_epoch;
    *cookie = added;
    return S_OK;
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

HRESULT CoRevokeClassObject(DWORD cookie) {
    if (!MayCreate()) return CO_E_NOTINITIALIZED;
    Classes& classes = Classes::Get();
    IUnknown* class_object = nullptr;
    {
        std::unique_lock lock(classes.mutex);
        const auto found = classes.registrations.find(cookie);
        if (found == classes.registrations.end()) return CO_E_OBJNOTREG;
        class_object = found->second.class_object;
        auto [entry, last] = classes.registered.equal_range(found->second.class_id);
        while (entry != last && entry->second != cookie) ++entry;
        if (entry != last) classes.registered.erase(entry);
        classes.registrations.erase(found);
        ++class_epoch;
    }
    class_object->Release();
    return S_OK;
}

void CoFreeUnusedLibraries() { CoFreeUnusedLibrariesEx(INFINITE, 0); }

// A module that can go may still be running the last lines of the release that let it go, on another thread. So
// it goes when it is asked again after a time of grace, and nothing was asked of it in between.
void CoFreeUnusedLibrariesEx(DWORD delay, DWORD) {
    if (delay == INFINITE) delay = IsAlone() ? 0 : kDefaultDelay;
    const Ticks grace = std::chrono::steady_clock::duration(std::chrono::milliseconds(delay)).count();
    Classes& classes = Classes::Get();
    std::list<std::unique_ptr<Server>> going;
    {
        std::unique_lock lock(classes.mutex);
        const Ticks now = Now();
        for (auto server = classes.servers.begin(); server != classes.servers.end();) {
            const auto asked = server++;
            Server& candidate = **asked;
            if (!candidate.module || candidate.calls > 0 || !candidate.can_unload) continue;
            if (candidate.can_unload() != S_OK) {
                candidate.idle_since = kNever;
                continue;
            }
            if (candidate.idle_since == kNever) candidate.idle_since = now;
            if (now - candidate.idle_since < grace) continue;
            std::erase_if(classes.cache, [&](const auto& entry) { return entry.second == &candidate; });
            going.splice(going.end(), classes.servers, asked);
            ++class_epoch;
        }
    }
    for (const auto& server : going)
        FreeLibrary(server->module);  // not under the lock: a module's end runs here
}

ULONGLONG BvClassEpoch() { return MayCreate() ? class_epoch.load(std::memory_order_acquire) : 0; }
}
