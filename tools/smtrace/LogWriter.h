#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "smtrace/LineStore.h"
#include "windows/Handle.h"

namespace smtrace {

// Writes lines as they come, on a thread of its own: neither a host nor the window waits for a disk.
class LogWriter {
public:
    struct Output {
        std::wstring name;  // as a message tells of it
        HANDLE handle;      // the caller's
        bool failed = false;
    };

    // forgetful: what is written is dropped from the store, as nobody will show it.
    LogWriter(LineStore& store, std::vector<Output> outputs, bool forgetful);
    // Writes the rest.
    ~LogWriter();
    LogWriter(const LogWriter&) = delete;
    LogWriter& operator=(const LogWriter&) = delete;

    // Writes the rest, and ends. Empty, or what went wrong.
    std::wstring finish();

private:
    static DWORD WINAPI run(void* self);
    void writeNew();

    LineStore& store_;
    std::vector<Output> outputs_;
    const bool forgetful_;
    size_t next_ = 0;
    std::wstring failure_;  // read when the thread has ended
    gui::Handle stop_;
    gui::Handle thread_;
};

// All of it; false if it can't, the reason in GetLastError.
bool writeAll(HANDLE file, std::string_view bytes);

}  // namespace smtrace
