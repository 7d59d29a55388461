// What the worst drivers do to their host.
#pragma once

#include <windows.h>

namespace vscan {

[[noreturn]] inline void hang() {
    for (;;)
        Sleep(INFINITE);
}

inline void crash() {
    volatile int* volatile nothing = nullptr;
    *nothing = 0;
}

}  // namespace vscan
