#pragma once

#include "com/com_ptr.h"
#include "com/object.h"

namespace bv {

/// Calls found(tagGUIDREG&) for each component registered in a category of the application, in the registry's
/// order. A category that can't be read is empty. The record is the mapper's, and is gone after the call.
template <class Found>
void ForEachRegistered(GUID category, Found found) {
    const auto mapper = Create<IBVMapper>(clsid::BVMapper);
    if (!mapper || mapper->Init(&category) != S_OK) return;
    LONG count = 0;
    std::ignore = mapper->get_Count(&count);
    for (LONG i = 0; i < count; ++i)
        if (tagGUIDREG* record = nullptr; SUCCEEDED(mapper->get_Item(i, &record)) && record) found(*record);
}

}  // namespace bv
