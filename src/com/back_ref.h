// Back references: pointers to what owns us, which we don't count. Each one is linked to its target, and a
// target that ends clears them all, so none can be followed or handed out afterwards.
#pragma once

#include <bvschema/bvschema.h>

#include "com/com_ptr.h"

namespace bv {

class BackRefLink {
public:
    BackRefLink() = default;
    BackRefLink(const BackRefLink&) = delete;
    BackRefLink& operator=(const BackRefLink&) = delete;

protected:
    ~BackRefLink() { Unlink(); }
    void Link(BackRefLink** head) {
        Unlink();
        next_ = *head;
        if (next_) next_->link_ = &next_;
        link_ = head;
        *head = this;
    }
    void Unlink() {
        if (!link_) return;
        *link_ = next_;
        if (next_) next_->link_ = link_;
        link_ = nullptr;
        next_ = nullptr;
    }
    void* pointer_ = nullptr;  // to the target, as the interface that the reference is of

private:
    friend class BackRefTarget;
    BackRefLink** link_ = nullptr;  // the pointer that points here
    BackRefLink* next_ = nullptr;
};

/// The private question "can you tell those who point back at you that you end?". All our parents can. It
/// continues ISupportErrorInfo, which most of them have: one table of calls serves both.
struct IBackRefTarget : ISupportErrorInfo {
    virtual BackRefLink** Referrers() = 0;
};

/// The base of an object that others point back to.
class BackRefTarget : public IBackRefTarget {
public:
    BackRefLink** Referrers() final { return &first_; }
    /// To be called when the object's end begins.
    void ForgetReferrers() {
        while (BackRefLink* link = first_) {
            link->Unlink();
            link->pointer_ = nullptr;
        }
    }
    bool HasReferrers() const { return first_ != nullptr; }
    STDMETHODIMP InterfaceSupportsErrorInfo(REFIID) override { return S_FALSE; }

protected:
    ~BackRefTarget() { ForgetReferrers(); }

private:
    BackRefLink* first_ = nullptr;
};

/// A pointer to an object that isn't counted, and that becomes null when an object of ours ends. A foreign
/// object must outlive it.
template <class T>
class BackRef final : public BackRefLink {
public:
    BackRef() = default;
    T* get() const { return static_cast<T*>(pointer_); }
    T* operator->() const { return get(); }
    explicit operator bool() const { return pointer_ != nullptr; }
    void Set(T* pointer) { Set(pointer, ReferrersOf(pointer)); }
    /// The same with what ReferrersOf gives: one question for many back references.
    void Set(T* pointer, BackRefLink** referrers) {
        // Also when it is the same: a foreign object may have gone, and one of ours stand in its place.
        Unlink();
        pointer_ = pointer;
        if (referrers) Link(referrers);
    }
    /// Those who point back at an object of ours; null for a foreign one.
    static BackRefLink** ReferrersOf(T* pointer);
    /// Points at an object of our own, which needn't be asked.
    void Set(T* pointer, BackRefTarget& target) {
        Link(target.Referrers());
        pointer_ = pointer;
    }
};

template <>
inline constexpr IID kIid<IBackRefTarget> = GuidOf("5B0F7C7E-30A5-4D0B-9C64-6E1B7F1D9A11");

template <class T>
BackRefLink** BackRef<T>::ReferrersOf(T* pointer) {
    const auto target = Query<IBackRefTarget>(pointer);
    return target ? target->Referrers() : nullptr;
}

}  // namespace bv
