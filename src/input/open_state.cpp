#include "input/open_state.h"

#include "com/com_ptr.h"

namespace bv {

HRESULT OpenState::Get(LONG* state, BSTR* text) {
    if (!state) return E_POINTER;
    if (state_ != kGood) {
        // What went wrong lies in the thread's error object, where the parser that failed left it.
        ComPtr<IErrorInfo> error;
        if (GetErrorInfo(0, error.Put()) == S_OK && error) {
            Bstr description;
            std::ignore = error->GetDescription(description.Put());
            text_ = std::move(description);
            state_ = kFailed;
            *state = state_;
            return text ? text_.CopyTo(text) : S_OK;
        }
    }
    RETURN_IF_FAILED(text_.CopyTo(text));
    *state = state_;
    return S_OK;
}

}  // namespace bv
