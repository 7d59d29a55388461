#include "common/ModuleActivity.h"

#include <atomic>

namespace host {

namespace {

std::atomic<const char*> running{nullptr};
std::atomic<DWORD> lastTick{0};

}  // namespace

ModuleActivity moduleActivity() {
    // The tick first: one that is newer than the clock's reading would look like weeks.
    const DWORD last = lastTick;
    return {running, GetTickCount() - last};
}

void noteActivity() {
    lastTick = GetTickCount();
}

WatchedCall::WatchedCall(const char* function) : outer_(running.exchange(function)) {
    noteActivity();
}

WatchedCall::~WatchedCall() {
    noteActivity();
    running = outer_;
}

}  // namespace host
