#pragma once

#include <windows.h>

namespace host {

// What this process does in the module, for a watchdog on another thread.
struct ModuleActivity {
    const char* function;  // the one that runs, or null
    DWORD idle;  // milliseconds since something happened: a call, its end, a message of the module's
};

ModuleActivity moduleActivity();

// Something has happened.
void noteActivity();

// A call into the module. Calls nest, as handlers of its messages call it too.
class WatchedCall {
public:
    explicit WatchedCall(const char* function);
    WatchedCall(const WatchedCall&) = delete;
    WatchedCall& operator=(const WatchedCall&) = delete;
    ~WatchedCall();

private:
    const char* outer_;
};

}  // namespace host
