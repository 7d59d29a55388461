// A text value of HKEY_CURRENT_USER; empty when it isn't there.
#pragma once

#include <windows.h>

struct RegistryText {
    static constexpr DWORD size = 260;
    char text[size + 1] = "";

    RegistryText(const char* keyName, const char* valueName, REGSAM access) {
        HKEY key;
        if (RegOpenKeyExA(HKEY_CURRENT_USER, keyName, 0, access, &key) != ERROR_SUCCESS) return;
        DWORD length = size;
        const LSTATUS status =
            RegQueryValueExA(key, valueName, nullptr, nullptr, reinterpret_cast<BYTE*>(text), &length);
        // The value need not be terminated; after a failure the buffer may hold anything.
        text[status == ERROR_SUCCESS ? length : 0] = '\0';
        RegCloseKey(key);
    }
};
