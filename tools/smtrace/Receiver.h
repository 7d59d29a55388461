#pragma once

#include <windows.h>

#include <atomic>
#include <memory>
#include <string>

#include "smtrace/LineStore.h"
#include "smtrace/Senders.h"
#include "windows/Handle.h"

namespace smtrace {

struct StartFailure {
    std::wstring text;
};

// What a module looks for when it is loaded: a window of a class that it knows, and shared memory. The window
// lives on a thread of its own that does nothing but store, as the host waits while it does.
class Receiver {
public:
    // Throws StartFailure.
    Receiver(LineStore& store, Senders& senders);
    ~Receiver();
    Receiver(const Receiver&) = delete;
    Receiver& operator=(const Receiver&) = delete;

private:
    struct Unmapper {
        void operator()(const char* view) const { UnmapViewOfFile(view); }
    };

    static DWORD WINAPI run(void* self);
    static LRESULT CALLBACK onMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    void receive(LPARAM address);

    LineStore& store_;
    Senders& senders_;
    gui::Handle onlyOne_;  // a mutex: of two viewers, a module would find either
    gui::Handle mapping_;
    std::unique_ptr<const char, Unmapper> view_;
    gui::Handle ready_;
    gui::Handle thread_;
    std::atomic<HWND> window_{nullptr};
};

}  // namespace smtrace
