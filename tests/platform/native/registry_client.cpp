// registry_client NAME COUNT: makes COUNT keys with a value each below HKEY_CURRENT_USER,
// Software\Client\NAME, reads them back and ends with the first status that isn't 0, or 255 for one too
// large. With -COUNT it does all that in one change, and is killed before that is kept.
#include <bvschema/registry_change.h>
#include <windows.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <string>

int main(int, char** arguments) {
    const std::string folder = std::string("Software\\Client\\") + arguments[1];
    const auto end_with = [](LONG status) { return int(std::min<LONG>(status, 255)); };
    const int count = std::atoi(arguments[2]);
    if (count < 0 && BvBeginRegistryChange() != ERROR_SUCCESS) return 1;
    for (int i = 0; i < std::abs(count); ++i) {
        HKEY key = nullptr;
        const std::string path = folder + "\\" + std::to_string(i);
        LONG status = RegCreateKeyExA(HKEY_CURRENT_USER, path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                                      &key, nullptr);
        if (status != ERROR_SUCCESS) return end_with(status);
        status = RegSetValueExA(key, nullptr, 0, REG_SZ, reinterpret_cast<const BYTE*>(path.c_str()),
                                DWORD(path.size() + 1));
        if (status != ERROR_SUCCESS) return end_with(status);
        char text[256];
        DWORD size = sizeof text;
        status = RegQueryValueExA(key, "", nullptr, nullptr, reinterpret_cast<BYTE*>(text), &size);
        if (status != ERROR_SUCCESS || text != path) return end_with(status ? status : ERROR_INVALID_DATA);
        RegCloseKey(key);
    }
    if (count < 0) std::raise(SIGKILL);
    return 0;
}
