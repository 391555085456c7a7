// A stream in memory, which settings are written to.
#pragma once

#include <bvschema/bvschema.h>

#include <algorithm>
#include <string>

namespace bv::test {

/// A sequential stream that keeps what it gets. fail_after: bytes that it takes.
class MemoryStream final : public ISequentialStream {
public:
    std::string text;
    size_t fail_after = size_t(-1);

    STDMETHODIMP QueryInterface(REFIID iid, void** out) override {
        const bool known = iid == kIid<IUnknown> || iid == kIid<ISequentialStream>;
        *out = known ? this : nullptr;
        return known ? S_OK : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return 2; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }
    STDMETHODIMP Read(void*, ULONG, ULONG*) override { return E_NOTIMPL; }
    STDMETHODIMP Write(const void* bytes, ULONG count, ULONG* written) override {
        const size_t room = fail_after - std::min(fail_after, text.size());
        const ULONG taken = ULONG(std::min<size_t>(room, count));
        text.append(static_cast<const char*>(bytes), taken);
        if (written) *written = taken;
        return taken == count ? S_OK : STG_E_MEDIUMFULL;
    }
};

}  // namespace bv::test
