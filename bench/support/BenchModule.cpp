#include "support/BenchModule.h"

namespace bench {

namespace {

constexpr DWORD timeLimit = 60000;

}  // namespace

Host* Host::current = nullptr;

Host::Host() {
    WNDCLASSA definition = {};
    definition.lpfnWndProc = windowProcedure;
    definition.lpszClassName = "scan module benchmark";
    RegisterClassA(&definition);
    window_ = CreateWindowA(definition.lpszClassName, "", WS_OVERLAPPEDWINDOW, 0, 0, 0, 0, nullptr, nullptr,
                            nullptr, nullptr);
    current = this;
    require(window_ != nullptr, "CreateWindow");
    // Wakes the loop when no messages come, so that the time limit is seen.
    SetTimer(window_, 1, 500, nullptr);
}

void Host::run(const ScanModule& module) {
    const DWORD start = GetTickCount();
    MSG message;
    for (finished_ = false; !finished_ && GetMessageA(&message, nullptr, 0, 0) > 0;) {
        require(GetTickCount() - start < timeLimit, "finishing in time");
        if (!module.smIsDSEvent(&message)) DispatchMessageA(&message);
    }
}

LRESULT CALLBACK Host::windowProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (current != nullptr) {
        const auto found = current->handlers_.find(message);
        if (found != current->handlers_.end()) {
            found->second(wParam, lParam);
            return 0;
        }
    }
    return DefWindowProcA(window, message, wParam, lParam);
}

}  // namespace bench
