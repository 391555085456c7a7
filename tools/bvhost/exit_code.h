// How the program ends.
#pragma once

namespace host {

enum ExitCode {
    kDone = 0,
    kFailed = 1,    // refused, not found, not written
    kBadUsage = 2,  // the words of the command line aren't understood
};

}  // namespace host
