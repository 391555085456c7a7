#include "input/media_type.h"

#include <cstring>
#include <utility>

namespace bv {

bool CopyMediaType(AM_MEDIA_TYPE& target, const AM_MEDIA_TYPE& source) {
    AM_MEDIA_TYPE copy = source;
    copy.pbFormat = nullptr;
    if (source.cbFormat && source.pbFormat) {
        copy.pbFormat = static_cast<BYTE*>(CoTaskMemAlloc(source.cbFormat));
        if (!copy.pbFormat) return false;
        std::memcpy(copy.pbFormat, source.pbFormat, source.cbFormat);
    } else {
        copy.cbFormat = 0;
    }
    if (copy.pUnk) copy.pUnk->AddRef();
    target = copy;
    return true;
}

void ClearMediaType(AM_MEDIA_TYPE& type) {
    const AM_MEDIA_TYPE gone = std::exchange(type, {});  // the object's end may come back here
    CoTaskMemFree(gone.pbFormat);
    if (gone.pUnk) gone.pUnk->Release();
}

}  // namespace bv
