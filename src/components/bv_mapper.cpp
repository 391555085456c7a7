// The application's components, read from its own registry tree.
#include <memory>
#include <string>
#include <vector>

#include "com/byte_block.h"
#include "com/narrow.h"
#include "com/object.h"
#include "com/registry_key.h"

namespace bv {
namespace {

constexpr LONG kMaxExtra = LONG(std::size(tagGUIDREG{}.pExtrData));

/// The key's own value; empty when it has no short text.
BSTR TextIn(const RegistryKey& key) {
    const auto text = key.Text(nullptr);
    return text ? ToBstr(*text).Detach() : nullptr;
}

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
    auto record = NewRecord();
    if (!record || FAILED(CLSIDFromString(ToBstr(name).get(), &record->clsGUID))) return nullptr;
    const RegistryKey key = RegistryKey::Open(category, name);
    if (!key) return nullptr;
    record->bstrName = TextIn(key);
    key.ForEachSubkey([&](const char* subkey_name) {
        const RegistryKey subkey = RegistryKey::Open(key.get(), subkey_name);
        if (record->cbCount < kMaxExtra && subkey) record->pExtrData[record->cbCount++] = TextIn(subkey);
    });
    return record;
}

class BVMapper : public Dispatch<IBVMapper>, public ObjectRoot {
public:
    using Answers = InterfaceMap<IBVMapper, IDispatch>;

    STDMETHODIMP Init(GUID* pCategory) override try {
        if (!pCategory) return E_POINTER;
        LSTATUS error = ERROR_SUCCESS;
        const RegistryKey key =
            RegistryKey::Open(HKEY_CLASSES_ROOT, CategoryPath(*pCategory).c_str(), &error);
        if (!key) return HRESULT(DWORD(error) | 0x80070000u);
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
            path += '\\';  // of the registry, not of a file system
            path += NarrowText(GuidText(*id).View()).View();
        }
        return path;
    }

    std::vector<Record> records_;
};

}  // namespace
BV_CREATOR(BVMapper)
}  // namespace bv
