#pragma once

#include "com/com_ptr.h"
#include "com/object.h"
#include "components/building.h"

namespace bv {

/// Calls found(tagGUIDREG&) for each component registered in a category of the application, in the registry's
/// order. A category that can't be read is empty, and so is one inside of a call for the same category: found
/// may create a component that makes the same list. The record is the mapper's, and is gone after the call.
template <class Found>
void ForEachRegistered(GUID category, Found found) {
    const Building building(category);
    if (!building) return;
    ComPtr<IBVMapper> mapper;
    if (FAILED(Create(clsid::BVMapper, mapper)) || mapper->Init(&category) != S_OK) return;
    LONG count = 0;
    std::ignore = mapper->get_Count(&count);
    for (LONG i = 0; i < count; ++i)
        if (tagGUIDREG* record = nullptr; SUCCEEDED(mapper->get_Item(i, &record)) && record) found(*record);
}

}  // namespace bv
