#pragma once

#include "com/narrow.h"
#include "dialogs/dialogs.h"
#include "tree/property_base.h"

namespace bv {

/// A node that holds the path of a file, with the open dialog of the registered input formats as its editor.
class PathNode : public PropertyBase {
public:
    using PropertyBase::PropertyBase;

protected:
    /// restriction: the kind of the formats that are offered; null: all.
    HRESULT PickFile(const wchar_t* restriction) {
        try {
            std::string name(ToNarrow(Stored()).value_or(NarrowText()).View());
            if (!OpenOne(name, InputFilter(restriction))) return S_FALSE;
            std::ignore = StoreQuietly(ToBstr(name).View());
        } catch (const std::bad_alloc&) {
            return E_OUTOFMEMORY;
        }
        OnValueChanged();
        return S_OK;
    }
};

}  // namespace bv
