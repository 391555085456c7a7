// What the last attempt to open an input came to.
#pragma once

#include <bvschema/bvschema.h>

#include "com/bstr.h"

namespace bv {

class OpenState {
public:
    bool IsSet() const { return set_; }
    bool IsGood() const { return set_ && state_ == kGood; }
    void Set(LONG state, std::wstring_view text) {
        text_ = Bstr(text);
        state_ = state;
        set_ = true;
    }
    /// The input is another one: there was no attempt yet.
    void Clear() {
        text_ = Bstr();
        set_ = false;
    }
    /// The state and its text. After a failure that left an error object on the thread it is that: the object
    /// is taken, its text stays. text may be null then.
    HRESULT Get(LONG* state, BSTR* text);

private:
    static constexpr LONG kGood = 1, kFailed = 2;  // all others are the host's

    Bstr text_;
    LONG state_ = 0;
    bool set_ = false;
};

}  // namespace bv
