// What surrounds the code under test, for one run.
#pragma once

#include <windows.h>

#include "Script.h"

// The surroundings' peculiarities, as bits.
enum Oddity : uint8_t {
    HasViewer = 1,
    TraceIsOff = 2,
    TransferSuppressed = 4,
    SearchesFolders = 8,
    LongTexts = 16,
    LittleMemory = 32,
    NoWindowsFolder = 64,
    NoEntry = 128,
};

struct World {
    Script script;
    uint8_t oddities = 0;
    bool windowIsGone = false;
    FARPROC entry = nullptr;
    void (*tell)(UINT message, WPARAM wParam, LPARAM lParam) = nullptr;
};
extern World world;

// Ends the process with a text, as a sanitizer does.
[[noreturn]] void fail(const char* what);

// Fails when not all of these bytes may be touched.
void checkBytes(const void* bytes, size_t size);

// A block of somebody else's: nobody under test has to free it until it is handed over.
HGLOBAL foreignBlock(const void* bytes, size_t size);
void handOver(HGLOBAL handle);
// Ends the run: fails when a block that was allocated or handed over was not freed, and forgets everything.
void endWorld();
