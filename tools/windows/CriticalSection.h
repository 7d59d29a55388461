#pragma once

#include <windows.h>

namespace gui {

class CriticalSection {
public:
    CriticalSection() { InitializeCriticalSection(&section_); }
    ~CriticalSection() { DeleteCriticalSection(&section_); }
    CriticalSection(const CriticalSection&) = delete;
    CriticalSection& operator=(const CriticalSection&) = delete;

    // Holds it as long as it lives.
    class Hold {
    public:
        explicit Hold(CriticalSection& held) : held_(held) { EnterCriticalSection(&held_.section_); }
        ~Hold() { LeaveCriticalSection(&held_.section_); }
        Hold(const Hold&) = delete;
        Hold& operator=(const Hold&) = delete;

    private:
        CriticalSection& held_;
    };

private:
    CRITICAL_SECTION section_;
};

}  // namespace gui
