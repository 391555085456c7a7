#include <bvschema/host/text.h>

#include <cstdlib>

#include "config_folder.h"

namespace bv::inline host {

std::filesystem::path ConfigFolder() {
    const wchar_t* const folder = _wgetenv(L"APPDATA");
    return ToPath(std::wstring_view(folder ? folder : L""));
}

}  // namespace bv::inline host
