#include "services/media_type.h"

#include <cstring>

namespace bv {

void CopyMediaType(AM_MEDIA_TYPE& target, const AM_MEDIA_TYPE& source) {
    target = source;
    target.pbFormat = nullptr;
    if (source.cbFormat && source.pbFormat) {
        target.pbFormat = static_cast<BYTE*>(CoTaskMemAlloc(source.cbFormat));
        if (target.pbFormat) std::memcpy(target.pbFormat, source.pbFormat, source.cbFormat);
    }
    if (!target.pbFormat) target.cbFormat = 0;
    if (target.pUnk) target.pUnk->AddRef();
}

void ClearMediaType(AM_MEDIA_TYPE& type) {
    CoTaskMemFree(type.pbFormat);
    if (type.pUnk) type.pUnk->Release();
    type = {};
}

}  // namespace bv
