// What can't be done, as a value.
//
// The layer's policy: what is refused is a Result with a Refusal in it, and everything is then as it was.
// What can't be made at all (no memory, a class that isn't registered, a file of a job that can't be read)
// throws Error, as the object that was asked for doesn't exist.
#pragma once

#include <bvschema/host/com.h>

#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

namespace bv::inline host {

/// Why something was refused.
struct Refusal {
    HRESULT status = E_FAIL;
    std::string text;   // for the user, one line: the system's own, or what the status means
    std::string node;   // the name of the node; empty where none is concerned
    std::string value;  // what was refused, as it was given
};

class Error : public std::runtime_error {
public:
    Error(HRESULT status, const std::string& text) : std::runtime_error(text), status_(status) {}
    explicit Error(const std::string& text) : Error(E_FAIL, text) {}
    explicit Error(const Refusal& refusal) : Error(refusal.status, refusal.text) {}
    HRESULT status() const { return status_; }

private:
    HRESULT status_;
};

/// A value, or why there is none. Reading the value of a refused one throws Error.
template <class T = void>
class Result {
public:
    Result(T value) : value_(std::move(value)) {}              // NOLINT: return value;
    Result(Refusal refusal) : refusal_(std::move(refusal)) {}  // NOLINT: return refusal;
    explicit operator bool() const { return value_.has_value(); }
    T& operator*() & { return Checked(); }
    T&& operator*() && { return std::move(Checked()); }
    T* operator->() { return &Checked(); }
    /// To be asked when there is no value.
    const Refusal& error() const { return refusal_; }

private:
    T& Checked() {
        if (!value_) throw Error(refusal_);
        return *value_;
    }
    std::optional<T> value_;
    Refusal refusal_;
};

template <>
class Result<void> {
public:
    Result() = default;
    Result(Refusal refusal) : refusal_(std::move(refusal)) {}  // NOLINT
    explicit operator bool() const { return !refusal_; }
    const Refusal& error() const { return *refusal_; }
    /// Throws Error for a refusal.
    void Must() const {
        if (refusal_) throw Error(*refusal_);
    }

private:
    std::optional<Refusal> refusal_;
};

/// What a failed call has to say: the text of the thread's error object, which is taken, else what
/// the status means.
std::string Reason(HRESULT status);
/// Drops what an earlier call left in the thread's error object.
void ForgetErrors();

/// A new object of a class. Throws Error; what: its name for the message.
template <class I>
Ref<I> Create(REFCLSID cls, const char* what, IUnknown* outer = nullptr);
[[noreturn]] void ThrowCantCreate(const char* what, HRESULT status);

template <class I>
Ref<I> Create(REFCLSID cls, const char* what, IUnknown* outer) {
    Ref<I> object;
    ForgetErrors();
    const HRESULT status = CoCreateInstance(cls, outer, CLSCTX_INPROC_SERVER, kIid<I>, object.PutVoid());
    if (FAILED(status)) ThrowCantCreate(what, status);
    return object;
}

}  // namespace bv::inline host
