#include "Watch.h"

#include <windows.h>

#include <cstdarg>
#include <cstdio>

Progress progress;

namespace {

constexpr DWORD longestCall = 60000;  // milliseconds; the machine may be a busy one
constexpr DWORD lookInterval = 500;

[[noreturn]] void end(const char* what) {
    std::fprintf(stderr,
                 "hostile: seed %llu, call %u, %s: %s\n"
                 "hostile: this seed alone: hostile.exe --seed %llu (--tell shows its calls)\n",
                 progress.seed, progress.callsOfSeed, progress.call, what, progress.seed);
    std::fflush(nullptr);
    TerminateProcess(GetCurrentProcess(), 1);
    for (;;)
        Sleep(INFINITE);
}

// Also shows where in the DLL it was: an offset that addr2line takes together with its preferred base.
LONG WINAPI endCrashed(EXCEPTION_POINTERS* crash) {
    const EXCEPTION_RECORD& record = *crash->ExceptionRecord;
    if (record.ExceptionCode != EXCEPTION_ACCESS_VIOLATION) return EXCEPTION_CONTINUE_SEARCH;
    char text[200];
    std::snprintf(text, sizeof text, "crashed at %p (ScanModule.dll is at %p), %s address %p",
                  record.ExceptionAddress, static_cast<void*>(GetModuleHandleA("ScanModule.dll")),
                  record.ExceptionInformation[0] != 0 ? "writing" : "reading",
                  reinterpret_cast<void*>(record.ExceptionInformation[1]));
    end(text);
}

DWORD WINAPI watch(void*) {
    uint64_t last = ~uint64_t{0};
    for (DWORD since = 0;; since += lookInterval, Sleep(lookInterval)) {
        if (progress.calls + progress.seed != last) since = 0;
        last = progress.calls + progress.seed;
        if (since > longestCall) end("hangs");
    }
}

}  // namespace

void startWatch() {
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
    // First of all handlers: Windows itself swallows crashes inside its string functions and window
    // procedures.
    AddVectoredExceptionHandler(TRUE, endCrashed);
    CloseHandle(CreateThread(nullptr, 0, watch, nullptr, 0, nullptr));
}

void fault(const char* format, ...) {
    char text[500];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    end(text);
}
