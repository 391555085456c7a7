// The device enumerator: what is announced in the registry for a category of the media framework.
#include <objbase.h>
#include <oleauto.h>
#include <strmif.h>
#include <windows.h>

#include <string>
#include <vector>

#include "model/builtin.h"
#include "model/object.h"

namespace bv::platform {
namespace {

/// A registry key, closed at the end.
class Key {
public:
    explicit Key(const std::wstring& path) {
        status_ = RegOpenKeyExW(HKEY_CLASSES_ROOT, path.c_str(), 0, KEY_READ, &key_);
    }
    ~Key() {
        if (key_) RegCloseKey(key_);
    }
    Key(const Key&) = delete;
    Key& operator=(const Key&) = delete;

    LONG Status() const { return status_; }
    HKEY Get() const { return key_; }

private:
    HKEY key_ = nullptr;
    LONG status_ = ERROR_SUCCESS;
};

/// The values of one device's key: texts as VT_BSTR, numbers as VT_I4.
class DeviceProperties final : public Object<IPropertyBag, IID_IPropertyBag> {
public:
    explicit DeviceProperties(const std::wstring& path) : path_(path) {}

    STDMETHODIMP Read(LPCOLESTR name, VARIANT* result, IErrorLog*) override try {
        if (!name || !result) return E_POINTER;
        VARIANT found;
        VariantInit(&found);
        const HRESULT read = ReadAsStored(name, found);
        if (FAILED(read)) return read;
        const VARTYPE wanted = result->vt;  // the caller may ask for a kind
        const HRESULT changed = wanted == VT_EMPTY ? S_OK : VariantChangeType(&found, &found, 0, wanted);
        if (FAILED(changed)) {
            VariantClear(&found);
            return changed;
        }
        *result = found;
        return S_OK;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
    STDMETHODIMP Write(LPCOLESTR, VARIANT*) override { return E_NOTIMPL; }

private:
    HRESULT ReadAsStored(LPCOLESTR name, VARIANT& result) {
        const Key key(path_);
        if (key.Status() != ERROR_SUCCESS) return HRESULT_FROM_WIN32(key.Status());
        DWORD type = 0;
        DWORD size = 0;
        LONG status = RegQueryValueExW(key.Get(), name, nullptr, &type, nullptr, &size);
        if (status != ERROR_SUCCESS) return HRESULT_FROM_WIN32(status);
        std::vector<BYTE> data(size);
        status = RegQueryValueExW(key.Get(), name, nullptr, nullptr, data.data(), &size);
        if (status != ERROR_SUCCESS) return HRESULT_FROM_WIN32(status);
        if (type == REG_SZ) {
            std::wstring text(data.size() / sizeof(wchar_t), L'\0');
            if (!text.empty()) std::memcpy(text.data(), data.data(), text.size() * sizeof(wchar_t));
            result.bstrVal = SysAllocString(text.c_str());
            if (!result.bstrVal) return E_OUTOFMEMORY;
            result.vt = VT_BSTR;
            return S_OK;
        }
        if (type == REG_DWORD && data.size() == sizeof(LONG)) {
            std::memcpy(&result.lVal, data.data(), sizeof(LONG));
            result.vt = VT_I4;
            return S_OK;
        }
        return E_NOTIMPL;
    }

    std::wstring path_;
};

/// One device.
class DeviceMoniker final : public Object<IMoniker, IID_IMoniker> {
public:
    explicit DeviceMoniker(const std::wstring& path) : path_(path) {}

    STDMETHODIMP BindToObject(IBindCtx*, IMoniker*, REFIID iid, void** result) override {
        if (!result) return E_POINTER;
        *result = nullptr;
        void* storage = nullptr;
        const HRESULT bound = BindToStorage(nullptr, nullptr, IID_IPropertyBag, &storage);
        if (FAILED(bound)) return bound;
        auto* const properties = static_cast<IPropertyBag*>(storage);
        VARIANT id;
        VariantInit(&id);
        id.vt = VT_BSTR;
        id.bstrVal = nullptr;
        CLSID class_id = CLSID_NULL;
        HRESULT status = properties->Read(L"CLSID", &id, nullptr);
        properties->Release();
        if (SUCCEEDED(status)) status = CLSIDFromString(id.bstrVal, &class_id);
        VariantClear(&id);
        return FAILED(status) ? status
                              : CoCreateInstance(class_id, nullptr, CLSCTX_INPROC_SERVER, iid, result);
    }
    STDMETHODIMP BindToStorage(IBindCtx*, IMoniker*, REFIID iid, void** result) override try {
        if (!result) return E_POINTER;
        *result = nullptr;
        return HandOut(new DeviceProperties(path_), iid, result);
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }

private:
    std::wstring path_;
};

/// The devices as they were announced when the enumerator was made.
class DeviceMonikers final : public Object<IEnumMoniker, IID_IEnumMoniker> {
public:
    explicit DeviceMonikers(std::vector<std::wstring> paths) : paths_(std::move(paths)) {}

    STDMETHODIMP Next(ULONG count, IMoniker** result, ULONG* fetched) override {
        if (fetched) *fetched = 0;
        if (!result || (count != 1 && !fetched)) return E_POINTER;
        ULONG given = 0;
        try {
            for (; given < count && next_ < paths_.size(); ++given) {
                result[given] = new DeviceMoniker(paths_[next_]);
                ++next_;
            }
        } catch (const std::bad_alloc&) {
            while (given > 0) result[--given]->Release();
            return E_OUTOFMEMORY;
        }
        if (fetched) *fetched = given;
        return given == count ? S_OK : S_FALSE;
    }

private:
    const std::vector<std::wstring> paths_;
    size_t next_ = 0;
};

class DeviceEnumerator final : public Object<ICreateDevEnum, IID_ICreateDevEnum> {
public:
    STDMETHODIMP CreateClassEnumerator(REFCLSID category, IEnumMoniker** result, DWORD) override try {
        if (!result) return E_POINTER;
        *result = nullptr;
        wchar_t id[39];
        StringFromGUID2(category, id, 39);
        const std::wstring folder = std::wstring(L"CLSID\\") + id + L"\\Instance";
        std::vector<std::wstring> paths;
        const Key instances(folder);
        wchar_t name[256];
        for (DWORD index = 0;; ++index) {
            DWORD length = 256;
            if (instances.Status() != ERROR_SUCCESS ||
                RegEnumKeyExW(instances.Get(), index, name, &length, nullptr, nullptr, nullptr, nullptr) !=
                    ERROR_SUCCESS)
                break;
            paths.push_back(folder + L"\\" + name);
        }
        if (paths.empty()) return S_FALSE;
        *result = new DeviceMonikers(std::move(paths));
        return S_OK;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
};

}  // namespace

HRESULT CreateDeviceEnumerator(IUnknown* outer, REFIID iid, void** result) {
    return outer ? CLASS_E_NOAGGREGATION : HandOut(new (std::nothrow) DeviceEnumerator, iid, result);
}

}  // namespace bv::platform
