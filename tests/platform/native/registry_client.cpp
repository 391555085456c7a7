// registry_client NAME COUNT: makes COUNT keys with a value each below HKEY_CURRENT_USER,
// Software\Client\NAME, reads them back and ends with the first status that isn't 0, or 255 for one too
// large.
#include <windows.h>

#include <algorithm>
#include <cstdlib>
#include <string>

int main(int, char** arguments) {
    const std::string folder = std::string("Software\\Client\\") + arguments[1];
    const auto end_with = [](LONG status) { return int(std::min<LONG>(status, 255)); };
    for (int i = 0; i < std::atoi(arguments[2]); ++i) {
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
    return 0;
}
