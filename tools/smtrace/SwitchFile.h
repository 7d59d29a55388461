#pragma once

#include <windows.h>

namespace smtrace {

// The module's two switches, keys of [Debug] in DEBUGSM.INI in the Windows folder. It reads them at every
// line, so a change counts at once.
struct SwitchFile {
    static bool isOn(const wchar_t* key) {
        return GetPrivateProfileIntW(L"Debug", key, 0, L"DEBUGSM.INI") != 0;
    }
    // False if it can't be written.
    static bool set(const wchar_t* key, bool on) {
        return WritePrivateProfileStringW(L"Debug", key, on ? L"1" : L"0", L"DEBUGSM.INI") != FALSE;
    }
};

constexpr const wchar_t* traceKey = L"Trace";
constexpr const wchar_t* warningKey = L"Warning";

}  // namespace smtrace
