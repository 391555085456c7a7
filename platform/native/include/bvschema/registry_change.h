// Several changes of the registry as one step: a component's registration is there whole, or not at all.
#pragma once

#include <bvschema/platform.h>

extern "C" {
/// Begins a change: what this thread does in the registry from here on is one step, which others see whole or
/// not at all, also when the process is killed in the middle. Calls of this thread see it as it grows; those
/// of others see what was before, and who wants to write waits. A change inside a change is a part of it. A
/// system error code; ERROR_SUCCESS is to be answered by BvEndRegistryChange on the same thread.
BV_PLATFORM_API LONG BvBeginRegistryChange();
/// keep: the change is done, unless the registry has failed in it: an error code says so, and the registry is
/// as it was. Otherwise it is taken back, with all of a change that it lies in. A handle that was opened in
/// it goes before.
BV_PLATFORM_API LONG BvEndRegistryChange(BOOL keep);
}

namespace bv {

/// Taken back at its end unless it is kept.
class RegistryChange {
public:
    RegistryChange() = default;
    RegistryChange(const RegistryChange&) = delete;
    RegistryChange& operator=(const RegistryChange&) = delete;
    ~RegistryChange() {
        if (open_) BvEndRegistryChange(FALSE);
    }
    HRESULT Begin() {
        const LONG error = BvBeginRegistryChange();
        open_ = error == ERROR_SUCCESS;
        return HRESULT_FROM_WIN32(error);
    }
    /// S_OK: all that was done stands. Else nothing of it does.
    HRESULT Keep() {
        open_ = false;
        const LONG error = BvEndRegistryChange(TRUE);
        return HRESULT_FROM_WIN32(error);
    }

private:
    bool open_ = false;
};

}  // namespace bv
