#pragma once

#include <deque>
#include <string>

#include "windows/CriticalSection.h"
#include "windows/Handle.h"

namespace smworker {

// What is said to the client, written by a thread of its own: whoever says something never waits for a client
// that doesn't read.
class Outbox {
public:
    // `broken` is called once, from any thread, when the client is gone or has let too much pile up. It
    // mustn't wait.
    Outbox(gui::Handle pipe, void (*broken)());
    Outbox(const Outbox&) = delete;
    Outbox& operator=(const Outbox&) = delete;

    // From any thread. The line without its end.
    void send(std::string line);
    // The same for a line that may be left out where the client doesn't keep up.
    void sendIfRead(std::string line);

    // Waits until all is written, or no more can be.
    void flush() { WaitForSingleObject(empty_.get(), INFINITE); }

private:
    static DWORD WINAPI run(void* self);
    std::string take();
    bool write(const std::string& line) const;
    void giveUp();

    gui::Handle pipe_;
    void (*broken_)();
    gui::CriticalSection lock_;
    std::deque<std::string> lines_;
    size_t bytes_ = 0;
    bool idle_ = true;
    bool givenUp_ = false;
    gui::Handle filled_;
    gui::Handle empty_;
};

}  // namespace smworker
