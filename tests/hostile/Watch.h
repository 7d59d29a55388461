// What a run has come to, and its end when something is wrong: a fault, a crash or a hang is printed with the
// seed that shows it again, and the process ends there.
#pragma once

#include <cstdint>

struct Progress {
    uint64_t seed = 0;
    const char* call = "loading";  // the outermost export that runs
    uint32_t callsOfSeed = 0;
    uint64_t calls = 0;
    uint64_t operations = 0;                                 // of the manager
    uint64_t images = 0, strips = 0, blocks = 0, files = 0;  // how far runs get
    bool tells = false;                                      // every call, as it begins
};
extern Progress progress;

// Crashes are faults from here on, and so is a call that lasts longer than a minute.
void startWatch();
[[noreturn]] void fault(const char* format, ...) __attribute__((format(printf, 1, 2)));
