// Why a setting isn't shown or can't be edited.
#pragma once

#include <bvschema/host/job.h>

#include <string>
#include <string_view>
#include <vector>

namespace bv::inline host {

/// A setting that decides, and what would change that.
struct Cause {
    std::string node;                  // its path: "Main/Common/Output/Mode"
    std::string label;                 // as a person knows it
    std::string now;                   // what is chosen: a choice's label, "off"
    std::vector<std::string> instead;  // each of these would show or enable; Node::Set takes them
};

/// Why a setting isn't shown or can't be edited.
struct Explanation {
    enum State {
        kNothing,   // it is shown and can be edited
        kHidden,    // it isn't shown
        kDisabled,  // it is shown, and can't be edited
        kAbsent,    // it belongs to a choice that isn't selected
    };
    State state = kNothing;
    /// What decides, in the order in which it is to be changed, one of each one's choices. Empty: no choice
    /// of the job shows or enables it.
    std::vector<Cause> causes;

    /// "hidden while Mode is Single; shown by Mode = Multiply".
    std::string text() const;
};

/// Why a setting of a job isn't shown or can't be edited, found by trying on a copy of the job; the job
/// itself isn't touched. name: a name or path, as Node::Find takes it. Refused when no choice of the job has
/// such a setting. Throws Error when the copy can't be made.
Result<Explanation> Why(const Job& job, std::string_view name);

}  // namespace bv::inline host
