// What keeps a walk through a tree from going round in it for ever.
#pragma once

#include <string_view>

namespace bv {

class PropertyBase;
class Visit;
/// Where this thread keeps its innermost visit.
Visit*& InnermostVisit();

/// A walk: what it does, and with what. A call that a foreign node makes in the middle of one begins another walk
/// if it does something else, or the same with something else.
struct Walk {
    enum Kind : unsigned char {
        kHide = 1,
        kDisable = 2,
        kActivate = 4,
        kSearchJob = 8,
        kSearchBelow = 16,
        kWrite = 32,
        kInit = 64,
        kGiveMedia = 128
    };
    bool operator==(const Walk&) const = default;

    Kind kind;
    long flag = 0;
    const void* object = nullptr;  // the media object, the stream
    std::wstring_view name = {};   // what is searched
    Visit** innermost = &InnermostVisit();
};

/// Marks a node as being visited. False if this walk is already inside it or the recursion is too deep: scripts
/// can make a node its own value or descendant, or a chain of any length, and nothing refuses that.
class Visit {
public:
    Visit(PropertyBase& node, const Walk& walk);
    Visit(const Visit&) = delete;
    ~Visit();
    explicit operator bool() const { return entered_; }

    static constexpr int kDeepest = 1000;  // nodes that hang or are held below each other

private:
    /// Whether this walk is inside of the node already.
    bool IsInside() const;

    PropertyBase& node_;
    const Walk& walk_;
    Visit* const outer_;
    const int depth_;
    bool entered_ = false;
    bool marked_ = false;  // by this visit, not by one of another walk of the kind
};

}  // namespace bv
