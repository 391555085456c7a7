// Without a library that reads media files: options say what a file is.
#include "media_source.h"
#include "text.h"

namespace host {

bool CanReadMedia() { return false; }

MediaInfo ReadMedia(const std::wstring&) {
    throw Problem(
        "this bvhost reads no media files; --duration, --frame-time, --streams and --still describe it");
}

std::optional<MediaIndex> ReadIndex(const std::wstring&) { return {}; }

}  // namespace host
