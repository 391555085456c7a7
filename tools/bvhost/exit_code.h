// How the program ends. docs/bvhost.md has the same as a table.
#pragma once

namespace host {

enum ExitCode {
    kDone = 0,
    kFailed = 1,     // refused, not found, not written
    kBadUsage = 2,   // the words of the command line aren't understood
    kWarned = 3,     // done and written, but a warning says what isn't as it was asked for
    kCancelled = 4,  // a person closed the dialog or left the editor
    kNoScreen = 5,   // there is nothing to show a dialog on
};

}  // namespace host
