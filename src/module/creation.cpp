#include "com/creation.h"

#include <algorithm>
#include <atomic>
#include <iterator>
#include <utility>

#include "module/class_table.h"

namespace bv {
namespace {

// A class object may be registered for some contexts alone, so that what one leads to says nothing of another.
constexpr DWORD kContexts[] = {CLSCTX_INPROC_SERVER, kAnyServer};
constexpr size_t kPlaces = 64 * std::size(kContexts);

/// What is remembered of a class in a context; kPlaces: nothing is.
size_t PlaceOf(const ClassEntry& entry, DWORD context) {
    if (context != kContexts[0] && context != kContexts[1]) return kPlaces;
    const size_t place = size_t(&entry - ClassTable().data()) * std::size(kContexts);
    return std::min(place + (context == kContexts[1]), kPlaces);
}

/// With an epoch: the one in which the class object was last seen to be our own.
std::atomic<ULONGLONG> seen[kPlaces];

/// Without one: our own class objects, as the outermost creation on this thread has got them.
struct Kept {
    int depth;
    size_t count;
    unsigned char places[kPlaces];
    IClassFactory* objects[kPlaces];

    void Add(size_t place, IClassFactory* object) {
        object->AddRef();
        objects[place] = object;
        places[count++] = static_cast<unsigned char>(place);
    }
    void Drop() {
        while (count > 0) std::exchange(objects[places[--count]], nullptr)->Release();
    }
};
static_assert(kPlaces <= 256);
thread_local Kept kept;  // all zero at first, and at the end of each outermost creation

bool IsKnown(size_t place, ULONGLONG epoch) {
    if (place == kPlaces) return false;
    if constexpr (kHasClassEpoch) return epoch != 0 && seen[place].load(std::memory_order_relaxed) == epoch;
    return kept.objects[place] != nullptr;
}

void Remember(size_t place, ULONGLONG epoch, IClassFactory* object) {
    if (place == kPlaces) return;
    if constexpr (kHasClassEpoch)
        seen[place].store(epoch, std::memory_order_relaxed);
    else if (kept.depth > 0)
        kept.Add(place, object);
}

void ForeignCodeHasRun() {
    if constexpr (!kHasClassEpoch) kept.Drop();
}

}  // namespace

void CreationScope::Enter() { ++kept.depth; }
void CreationScope::Leave() {
    if (--kept.depth == 0) kept.Drop();
}

Creator KnownCreator(REFCLSID cls, DWORD context) {
    const ClassEntry* const entry = FindClass(cls);
    return entry && IsKnown(PlaceOf(*entry, context), BvClassEpoch()) ? entry->create : nullptr;
}

void Route::Ask(REFCLSID cls, DWORD context) {
    const ClassEntry* const entry = FindClass(cls);
    const ULONGLONG epoch = BvClassEpoch();  // before the look-up: what changes meanwhile is looked up again
    status_ = CoGetClassObject(cls, context, nullptr, kIid<IClassFactory>, foreign_.PutVoid());
    if (SUCCEEDED(status_) && !foreign_) status_ = E_UNEXPECTED;
    if (FAILED(status_) || !entry || !IsOwnClassObject(*entry, foreign_.get())) return;
    own_ = entry->create;
    Remember(PlaceOf(*entry, context), epoch, foreign_.get());
    foreign_.Reset();
}

HRESULT Route::MakeForeign(REFIID iid, void** out) {
    *out = nullptr;
    if (FAILED(status_)) return status_;
    const HRESULT status = foreign_->CreateInstance(nullptr, iid, out);
    if (FAILED(status)) *out = nullptr;
    ForeignCodeHasRun();
    return status;
}

HRESULT CreateByClass(REFCLSID cls, DWORD context, REFIID iid, void** out) {
    if (FindClass(cls)) return Route(cls, context).Make(iid, out);
    const HRESULT status = CoCreateInstance(cls, nullptr, context, iid, out);
    ForeignCodeHasRun();
    return status;
}

}  // namespace bv
