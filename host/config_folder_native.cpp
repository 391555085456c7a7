#include <bvschema/host/text.h>

#include <cstdlib>

#include "config_folder.h"

namespace bv::inline host {

std::filesystem::path ConfigFolder() {
    const auto variable = [](const char* name) {
        const char* const text = std::getenv(name);
        return ToPath(std::string_view(text ? text : ""));
    };
    const std::filesystem::path folder = variable("XDG_CONFIG_HOME");
    return folder.empty() ? variable("HOME") / ".config" : folder;
}

}  // namespace bv::inline host
