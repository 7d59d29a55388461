#include "support/BenchModule.h"

namespace bench {

namespace {

constexpr DWORD timeLimit = 60000;

}  // namespace

Host::Host() {
    WNDCLASSA definition = {};
    definition.lpfnWndProc = windowProcedure;
    definition.lpszClassName = "scan module benchmark";
    RegisterClassA(&definition);
    window_ = CreateWindowA(definition.lpszClassName, "", WS_OVERLAPPEDWINDOW, 0, 0, 0, 0, nullptr, nullptr,
                            nullptr, this);
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
    if (message == WM_NCCREATE) {
        const auto* creation = reinterpret_cast<const CREATESTRUCTA*>(lParam);
        SetWindowLongPtrA(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(creation->lpCreateParams));
    } else if (auto* host = reinterpret_cast<Host*>(GetWindowLongPtrA(window, GWLP_USERDATA))) {
        const auto found = host->handlers_.find(message);
        if (found != host->handlers_.end()) {
            found->second(wParam, lParam);
            return 0;
        }
    }
    return DefWindowProcA(window, message, wParam, lParam);
}

}  // namespace bench
