// A media type as an object.
#include <cstdio>
#include <cstring>

#include "com/narrow.h"
#include "com/object.h"
#include "input/media_type.h"

namespace bv {
namespace {

// What is read of the format block, at its places in a WAVEFORMATEX.
constexpr size_t kChannelsAt = 2, kRateAt = 4, kByteRateAt = 8, kReadTo = 12;

template <class T>
T Field(const BYTE* block, size_t offset) {
    T value;
    std::memcpy(&value, block + offset, sizeof value);
    return value;
}

class AMMediaType : public Dispatch<IAMMediaType>, public ObjectRoot {
public:
    using Answers = InterfaceMap<IAMMediaType, IDispatch>;
    void FinalRelease() { ClearMediaType(type_); }

    STDMETHODIMP SetMedia(_AMMediaType* pValue) override {
        if (!pValue) return E_POINTER;
        AM_MEDIA_TYPE copy;
        if (!CopyMediaType(copy, *pValue)) return E_OUTOFMEMORY;
        std::swap(type_, copy);
        ClearMediaType(copy);
        return S_OK;
    }
    /// Empty for a type whose format block is too short to be one of sound.
    STDMETHODIMP get_Description(BSTR* pVal) override {
        if (!pVal) return E_POINTER;
        if (type_.cbFormat < kReadTo) return Bstr::CopyTo({}, pVal);
        const BYTE* const block = type_.pbFormat;
        char text[64];
        std::snprintf(text, sizeof text, "%d Kbits/s, %d Hz, %s",
                      int(Field<DWORD>(block, kByteRateAt) / 1000), int(Field<DWORD>(block, kRateAt)),
                      Field<WORD>(block, kChannelsAt) == 1 ? "Mono" : "Stereo");
        return ToBstr(text).CopyTo(pVal);
    }
    STDMETHODIMP GetMedia(_AMMediaType** pRetMedia) override {
        if (!pRetMedia) return E_POINTER;
        *pRetMedia = static_cast<AM_MEDIA_TYPE*>(CoTaskMemAlloc(sizeof(AM_MEDIA_TYPE)));
        if (*pRetMedia && !CopyMediaType(**pRetMedia, type_)) {
            CoTaskMemFree(*pRetMedia);
            *pRetMedia = nullptr;
        }
        return S_OK;
    }

private:
    AM_MEDIA_TYPE type_ = {};
};

}  // namespace
BV_CREATOR(AMMediaType)
}  // namespace bv
