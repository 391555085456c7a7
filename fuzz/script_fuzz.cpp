// The interpreter of registration scripts, in a private registry: registers, then unregisters.
#include <cstdlib>
#include <string>
#include <tuple>

#include "module/script.h"

namespace {

void ClearUserKeys() {
    char name[256];
    for (;;) {
        DWORD length = sizeof name;
        if (RegEnumKeyExA(HKEY_CURRENT_USER, 0, name, &length, nullptr, nullptr, nullptr, nullptr) !=
            ERROR_SUCCESS)
            return;
        if (RegDeleteTreeA(HKEY_CURRENT_USER, name) != ERROR_SUCCESS) return;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size > 2048 || !std::getenv("BV_PRIVATE_RUN")) return 0;
    // Nearly all scripts go below one root, where the traces can be cleared.
    std::string script(reinterpret_cast<const char*>(data), size);
    if (size && data[0] & 1) script = "HKCU { " + script + " }";
    const bv::Replacement replacements[] = {{"Module", "C:\\it''s.dll"}, {"Empty", ""}};

    std::string substituted;
    const HRESULT status = bv::Substitute(script, replacements, substituted);
    if (status != S_OK && status != E_FAIL && status != DISP_E_EXCEPTION) std::abort();

    const HRESULT registered = bv::RunScript(script, replacements, true);
    if (FAILED(status) && registered != status && script.find('\0') == std::string::npos) std::abort();
    std::ignore = bv::RunScript(script, replacements, false);
    static int runs = 0;
    if (++runs % 256 == 0) ClearUserKeys();
    return 0;
}
