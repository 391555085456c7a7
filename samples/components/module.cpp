// The module: what it offers, its class objects, its registration.
#include <bvschema/registry_change.h>

#include <string>

#include "classes.h"
#include "component.h"
#include "registration.h"

namespace sample {
namespace {

HINSTANCE instance = nullptr;

struct OfferedClass {
    CLSID id;
    const wchar_t* name;
    HRESULT (*create)(REFIID iid, void** out);
};
constexpr OfferedClass kClasses[] = {
    {kAviFormat, L"AVI output format", CreateAviFormat},
    {kMp4Format, L"MP4 output format", CreateMp4Format},
    {kPngFormat, L"PNG output format", CreatePngFormat},
    {kThumbnailAction, L"Thumbnail action", CreateThumbnailAction},
    {bv::clsid::FrameSizeFilter, L"Frame size filter", CreateFrameSizeFilter},
    {bv::clsid::CropFilter, L"Crop filter", CreateCropFilter},
    {kGrainFilter, L"Film grain filter", CreateGrainFilter},
};

// An input format needs no class: who looks for one reads its mask, its name and its kind.
constexpr Announcement kAnnounced[] = {
    {bv::category::OutputFormats, kAviFormat, L"AVI", {}},
    {bv::category::OutputFormats, kMp4Format, L"MP4", {}},
    {bv::category::OutputFormats, kPngFormat, L"PNG", {}},
    {bv::category::InputFormats,
     bv::GuidOf("85D38282-1E3D-4F3B-90C2-61C2382CCB12"),
     L"AVI input",
     {L"*.avi", L"AVI video", L"Video"}},
    {bv::category::InputFormats,
     bv::GuidOf("93EABF7B-7A45-4A80-B1F4-4DF265C819B9"),
     L"MP4 input",
     {L"*.mp4;*.m4v;*.mov", L"MP4 video", L"Video"}},
    {bv::category::InputFormats,
     bv::GuidOf("C997AC4F-F407-4E4F-9E44-D96C7F18C486"),
     L"Image input",
     {L"*.bmp;*.png;*.jpg", L"Images", L"Image"}},
    {bv::category::Actions,
     kThumbnailAction,
     L"Thumbnail",
     {L"Make thumbnails", L"Makes a small picture of each output file."}},
};

// What a user can choose for the list of filters. Frame size and crop have their places in every job.
struct OfferedFilter {
    CLSID cls;
    const wchar_t* name;
};
constexpr OfferedFilter kFilters[] = {{kGrainFilter, L"Film grain"}};

class ClassObject final : public IClassFactory {
public:
    explicit ClassObject(const OfferedClass& offered) : offered_(offered) { ++locks; }
    ClassObject(const ClassObject&) = delete;
    virtual ~ClassObject() { --locks; }

    STDMETHODIMP QueryInterface(REFIID iid, void** out) override {
        if (!out) return E_POINTER;
        *out = nullptr;
        if (iid != bv::kIid<IUnknown> && iid != bv::kIid<IClassFactory>) return E_NOINTERFACE;
        *out = static_cast<IClassFactory*>(this);
        AddRef();
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }
    STDMETHODIMP_(ULONG) Release() override {
        const ULONG left = --references_;
        if (left == 0) delete this;
        return left;
    }
    STDMETHODIMP CreateInstance(IUnknown* outer, REFIID iid, void** out) override {
        if (!out) return E_POINTER;
        *out = nullptr;
        return outer ? CLASS_E_NOAGGREGATION : offered_.create(iid, out);
    }
    STDMETHODIMP LockServer(BOOL lock) override {
        locks += lock ? 1 : -1;
        return S_OK;
    }

private:
    const OfferedClass& offered_;
    std::atomic<ULONG> references_ = 0;
};

HRESULT ModulePath(std::wstring* path) {
    path->resize(1024);
    const DWORD length = GetModuleFileNameW(instance, path->data(), DWORD(path->size()));
    if (length == 0 || length >= path->size()) return E_FAIL;
    path->resize(length);
    return S_OK;
}

HRESULT Register() {
    std::wstring module;
    bv::RegistryChange change;
    HRESULT status = ModulePath(&module);
    if (SUCCEEDED(status)) status = change.Begin();
    for (const OfferedClass& offered : kClasses)
        if (SUCCEEDED(status)) status = RegisterClass(offered.id, offered.name, module.c_str());
    for (const Announcement& component : kAnnounced)
        if (SUCCEEDED(status)) status = Announce(component);
    for (const OfferedFilter& filter : kFilters)
        if (SUCCEEDED(status)) status = AnnounceFilter(filter.cls, filter.name);
    return SUCCEEDED(status) ? change.Keep() : status;
}

HRESULT Unregister() {
    bv::RegistryChange change;
    const HRESULT status = change.Begin();
    if (FAILED(status)) return status;
    for (const Announcement& component : kAnnounced) Withdraw(component);
    for (const OfferedFilter& filter : kFilters) WithdrawFilter(filter.cls);
    for (const OfferedClass& offered : kClasses) UnregisterClass(offered.id);
    return change.Keep();
}

}  // namespace
}  // namespace sample

STDAPI DllGetClassObject(REFCLSID cls, REFIID iid, void** out) {
    using namespace sample;
    if (!out) return E_POINTER;
    *out = nullptr;
    for (const OfferedClass& offered : kClasses) {
        if (offered.id != cls) continue;
        auto* object = new (std::nothrow) ClassObject(offered);
        if (!object) return E_OUTOFMEMORY;
        object->AddRef();
        const HRESULT status = object->QueryInterface(iid, out);
        object->Release();
        return status;
    }
    return CLASS_E_CLASSNOTAVAILABLE;
}

STDAPI DllCanUnloadNow() { return sample::locks == 0 ? S_OK : S_FALSE; }

STDAPI DllRegisterServer() try { return sample::Register(); } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

STDAPI DllUnregisterServer() try { return sample::Unregister(); } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID) {
    if (reason == DLL_PROCESS_ATTACH) {
        sample::instance = module;
        DisableThreadLibraryCalls(module);
    }
    return TRUE;
}
