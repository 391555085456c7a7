// The application's components, read from its own registry tree.
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "com/byte_block.h"
#include "com/narrow.h"
#include "com/object.h"

namespace bv {
namespace {

constexpr DWORD kMaxText = 255;     // bytes of a default value
constexpr DWORD kMaxKeyName = 255;  // characters, the registry's own limit
constexpr LONG kMaxExtra = LONG(std::size(tagGUIDREG{}.pExtrData));

class RegistryKey {
public:
    RegistryKey() = default;
    RegistryKey(const RegistryKey&) = delete;
    RegistryKey& operator=(const RegistryKey&) = delete;
    ~RegistryKey() {
        if (key_) RegCloseKey(key_);
    }
    LSTATUS Open(HKEY parent, const char* name) { return RegOpenKeyExA(parent, name, 0, KEY_READ, &key_); }
    HKEY get() const { return key_; }

    /// The default value; empty when it is missing, no text, or longer than it may be.
    Bstr Text() const {
        char text[kMaxText + 2];
        DWORD kind = 0, size = kMaxText + 1;  // with the zero that is stored with it
        const LSTATUS status =
            RegQueryValueExA(key_, nullptr, nullptr, &kind, reinterpret_cast<BYTE*>(text), &size);
        if (status != ERROR_SUCCESS || (kind != REG_SZ && kind != REG_EXPAND_SZ)) size = 0;
        text[size] = 0;  // what is stored need not end in one
        return std::strlen(text) <= kMaxText ? ToBstr(text) : Bstr();
    }
    /// Calls each(name) for the subkeys in the registry's order.
    template <class Each>
    void ForEachSubkey(Each each) const {
        char name[kMaxKeyName + 1];
        for (DWORD i = 0;; ++i) {
            DWORD length = sizeof name;
            const LSTATUS status = RegEnumKeyExA(key_, i, name, &length, nullptr, nullptr, nullptr, nullptr);
            if (status == ERROR_MORE_DATA) continue;
            if (status != ERROR_SUCCESS) return;
            each(name);
        }
    }

private:
    HKEY key_ = nullptr;
};

struct FreeRecord {
    void operator()(tagGUIDREG* record) const {
        SysFreeString(record->bstrName);
        for (BSTR extra : record->pExtrData) SysFreeString(extra);
        CoTaskMemFree(record);
    }
};
using Record = std::unique_ptr<tagGUIDREG, FreeRecord>;

Record NewRecord() {
    auto* record = static_cast<tagGUIDREG*>(CoTaskMemAlloc(sizeof(tagGUIDREG)));
    if (record) *record = {};
    return Record(record);
}

/// The record of one component; null for a key that is no class id or can't be read.
Record ReadComponent(HKEY category, const char* name) {
    RegistryKey key;
    auto record = NewRecord();
    if (!record || FAILED(CLSIDFromString(ToBstr(name).get(), &record->clsGUID)) ||
        key.Open(category, name) != ERROR_SUCCESS)
        return nullptr;
    record->bstrName = key.Text().Detach();
    key.ForEachSubkey([&](const char* subkey_name) {
        RegistryKey subkey;
        if (record->cbCount < kMaxExtra && subkey.Open(key.get(), subkey_name) == ERROR_SUCCESS)
            record->pExtrData[record->cbCount++] = subkey.Text().Detach();
    });
    return record;
}

class BVMapper : public Dispatch<IBVMapper>, public ObjectRoot {
public:
    using Answers = InterfaceMap<IBVMapper, IDispatch>;

    STDMETHODIMP Init(GUID* pCategory) override try {
        if (!pCategory) return E_POINTER;
        RegistryKey key;
        const LSTATUS error = key.Open(HKEY_CLASSES_ROOT, CategoryPath(*pCategory).c_str());
        if (error != ERROR_SUCCESS) return HRESULT(DWORD(error) | 0x80070000u);
        key.ForEachSubkey([&](const char* name) {
            if (auto record = ReadComponent(key.get(), name))
                std::ignore = TryAppend(records_, std::move(record));
        });
        return S_OK;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
    STDMETHODIMP get_Count(LONG* pVal) override {
        if (!pVal) return E_POINTER;
        *pVal = LONG(records_.size());
        return S_OK;
    }
    STDMETHODIMP get_Item(LONG nID, tagGUIDREG** pRet) override {
        if (!pRet) return E_POINTER;
        if (nID < 0 || size_t(nID) >= records_.size()) return E_INVALIDARG;
        *pRet = records_[size_t(nID)].get();
        return S_OK;
    }

private:
    static std::string CategoryPath(const GUID& category) {
        std::string path = "CLSID";
        for (const GUID* id : {&category::Root, &category}) {
            wchar_t text[40];
            StringFromGUID2(*id, text, 40);
            char narrow[40];
            ToNarrow(narrow, text, 40);
            path += '\\';  // of the registry, not of a file system
            path += narrow;
        }
        return path;
    }

    std::vector<Record> records_;
};

}  // namespace
BV_CREATOR(BVMapper)
}  // namespace bv
