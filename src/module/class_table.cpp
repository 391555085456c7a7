#include "module/class_table.h"

#include <array>
#include <atomic>
#include <new>

#include "com/com_ptr.h"
#include "com/module_lock.h"

namespace bv {

#define BV_CLASS(Name, text) HRESULT Create##Name(IUnknown* outer, REFIID iid, void** out);
#include <bvschema/classes.def>
#undef BV_CLASS

namespace {

constexpr ClassEntry kClasses[] = {
#define BV_CLASS(Name, text) {clsid::Name, Create##Name},
#include <bvschema/classes.def>
#undef BV_CLASS
};
constexpr size_t kCount = std::size(kClasses);

// Where each class stands, by a hash of its id: a creation asks once or twice for each node of a tree.
constexpr size_t kSlots = 256;
constexpr size_t Slot(const CLSID& cls) {
    return (cls.Data1 ^ (cls.Data1 >> 16) ^ (cls.Data4[7] * 31u)) % kSlots;
}

constexpr auto kIndex = [] {
    std::array<unsigned char, kSlots> index{};  // entry + 1; 0: free
    for (size_t i = 0; i < kCount; ++i) {
        size_t slot = Slot(kClasses[i].cls);
        while (index[slot]) slot = (slot + 1) % kSlots;
        index[slot] = static_cast<unsigned char>(i + 1);
    }
    return index;
}();

/// A class object. The table's own reference doesn't count for the module's lock; each other one does, before
/// anybody can have it.
class ClassObject final : public IClassFactory {
public:
    explicit ClassObject(const ClassEntry& entry) : entry_(entry) {}

    STDMETHODIMP QueryInterface(REFIID iid, void** out) override {
        if (!out) return E_POINTER;
        *out = nullptr;
        if (iid != kIid<IClassFactory> && iid != kIid<IUnknown>) return E_NOINTERFACE;
        AddRef();
        *out = static_cast<IClassFactory*>(this);
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override {
        LockModule();
        return references_.fetch_add(1, std::memory_order_relaxed) + 1;
    }
    STDMETHODIMP_(ULONG) Release() override {
        const ULONG count = ReleaseBounded();
        UnlockModule();
        return count;
    }
    STDMETHODIMP CreateInstance(IUnknown* outer, REFIID iid, void** out) override {
        if (!out) return E_POINTER;
        *out = nullptr;
        if (outer && iid != kIid<IUnknown>) return CLASS_E_NOAGGREGATION;
        const CreationScope scope;
        return entry_.create(outer, iid, out);
    }
    STDMETHODIMP LockServer(BOOL lock) override {
        lock ? LockModule() : UnlockModule();
        return S_OK;
    }

    /// The table's own reference goes.
    ULONG ReleaseBounded() {
        const ULONG count = references_.fetch_sub(1, std::memory_order_acq_rel) - 1;
        if (count == 0) delete this;
        return count;
    }

private:
    ~ClassObject() = default;

    const ClassEntry& entry_;
    std::atomic<ULONG> references_{1};  // the table's own
};

CRITICAL_SECTION table_lock;
std::atomic<ClassObject*> class_objects[kCount];

}  // namespace

std::span<const ClassEntry> ClassTable() { return kClasses; }

int ScriptOf(const ClassEntry& entry) { return 101 + int(&entry - kClasses); }

const ClassEntry* FindClass(REFCLSID cls) {
    for (size_t slot = Slot(cls); kIndex[slot]; slot = (slot + 1) % kSlots)
        if (const ClassEntry& entry = kClasses[kIndex[slot] - 1]; entry.cls == cls) return &entry;
    return nullptr;
}

bool IsOwnClassObject(const ClassEntry& entry, IClassFactory* object) {
    return object && object == class_objects[&entry - kClasses].load(std::memory_order_acquire);
}

HRESULT GetClassObject(REFCLSID cls, REFIID iid, void** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    const ClassEntry* entry = FindClass(cls);
    if (!entry) return CLASS_E_CLASSNOTAVAILABLE;
    auto& place = class_objects[entry - kClasses];
    ClassObject* object = place.load(std::memory_order_acquire);
    if (!object) {
        EnterCriticalSection(&table_lock);
        object = place.load(std::memory_order_relaxed);
        if (!object) {
            object = new (std::nothrow) ClassObject(*entry);
            if (object) place.store(object, std::memory_order_release);
        }
        LeaveCriticalSection(&table_lock);
        if (!object) return E_OUTOFMEMORY;
    }
    return object->QueryInterface(iid, out);
}

void StartClassTable() { InitializeCriticalSection(&table_lock); }

void StopClassTable() {
    for (auto& place : class_objects)
        if (ClassObject* object = place.exchange(nullptr)) object->ReleaseBounded();
    DeleteCriticalSection(&table_lock);
}

}  // namespace bv
