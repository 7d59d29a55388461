#include "common/Display.h"

#include <windows.h>

#include <cstring>

namespace host {

const char* const noDisplay =
    "there is no display, so nobody sees the window that this waits for. With Wine: scripts/wine.sh --prefix "
    "screen, on a desktop or with xvfb-run.";

bool hasDisplay() {
    char driver[16] = {};
    DWORD size = sizeof driver - 1;
    HKEY key = nullptr;
    if (RegOpenKeyExA(HKEY_CURRENT_USER, "Software\\Wine\\Drivers", 0, KEY_READ, &key) == ERROR_SUCCESS) {
        RegQueryValueExA(key, "Graphics", nullptr, nullptr, reinterpret_cast<BYTE*>(driver), &size);
        RegCloseKey(key);
    }
    USEROBJECTFLAGS flags{};
    flags.dwFlags = WSF_VISIBLE;
    GetUserObjectInformationA(GetProcessWindowStation(), UOI_FLAGS, &flags, sizeof flags, nullptr);
    return std::strcmp(driver, "null") != 0 && (flags.dwFlags & WSF_VISIBLE) != 0;
}

}  // namespace host
