#pragma once

#include <windows.h>

#include <map>
#include <string>

#include "windows/CriticalSection.h"

namespace smtrace {

// Finds out which process a line comes from. The protocol doesn't say; but each message carries the address
// at which its sender sees the shared memory, and only a process that has the module loaded can see it there.
class Senders {
public:
    // 0 if none, or more than one, comes into question. `anew`: a module has just been loaded, so an address
    // may have got another owner.
    DWORD processAt(LPARAM address, bool anew);

    // "smscan.exe"; empty if it isn't known. May be called from any thread.
    std::wstring nameOf(DWORD process) const;

private:
    void search(LPARAM address);

    std::map<LPARAM, DWORD> owners_;
    mutable gui::CriticalSection namesSection_;
    std::map<DWORD, std::wstring> names_;
};

}  // namespace smtrace
