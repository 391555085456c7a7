// A saved job from anywhere: it is refused or read, and what was read is written so that it is read again
// as the same.
#include <bvschema/host/job.h>

#include <cstdint>
#include <string>

#include "host.h"

namespace {

bv::host::Job Read(std::string_view document) {
    bv::host::JobOptions options;
    options.undo_depth = 0;
    return bv::host::Job::Parse(document, std::move(options));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::StartServer();
    if (size > 65536) return 0;
    std::string first;
    try {
        first = Read({reinterpret_cast<const char*>(data), size}).Xml();
    } catch (const bv::host::Error&) {
        return 0;
    }
    // A text that the file can't hold is left out once, a number takes its shortest form.
    const std::string second = Read(first).Xml();
    if (Read(second).Xml() != second) std::abort();
    return 0;
}
