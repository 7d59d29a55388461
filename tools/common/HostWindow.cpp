#include "common/HostWindow.h"

#include <exception>
#include <string>

#include "common/Wording.h"

namespace host {

namespace {

constexpr UINT_PTR watchdogTimer = 1;
constexpr UINT watchdogMilliseconds = 200;

BOOL CALLBACK findOwnWindow(HWND window, LPARAM found) {
    DWORD process = 0;
    GetWindowThreadProcessId(window, &process);
    const bool own = process == GetCurrentProcessId() && IsWindowVisible(window);
    if (own && window != GetConsoleWindow()) *reinterpret_cast<bool*>(found) = true;
    return TRUE;
}

}  // namespace

bool sourceWindowIsOpen() {
    bool found = false;
    EnumWindows(findOwnWindow, reinterpret_cast<LPARAM>(&found));
    return found;
}

HostWindow::HostWindow() {
    const std::string windowClass = std::string(wording.program) + " host";
    WNDCLASSA definition{};
    definition.lpfnWndProc = windowProcedure;
    definition.hInstance = GetModuleHandleA(nullptr);
    definition.lpszClassName = windowClass.c_str();
    RegisterClassA(&definition);
    window_ = CreateWindowA(windowClass.c_str(), wording.program, WS_OVERLAPPEDWINDOW, 0, 0, 0, 0, nullptr,
                            nullptr, definition.hInstance, this);
    if (!window_)
        throw Failure{FailureCode::SourceError, "Windows gives no window to receive the pages with."};
    SetTimer(window_, watchdogTimer, watchdogMilliseconds, nullptr);
}

HostWindow::~HostWindow() {
    DestroyWindow(window_);
}

void HostWindow::on(const char* message, Handler handler) {
    handlers_[RegisterWindowMessageA(message)] = std::move(handler);
}

void HostWindow::keepFailure(const Failure& failure) {
    if (!failure_) failure_ = failure;
}

bool HostWindow::cancel() {
    const bool before = cancelled_.exchange(true);
    PostThreadMessageA(thread_, WM_NULL, 0, 0);
    return before;
}

HostWindow::End HostWindow::run(const ModuleLibrary& module, int timeoutSeconds, bool userAtWork) {
    touch();
    while (!finished_) {
        if (cancelRequested()) return End::Cancelled;
        const DWORD idle = GetTickCount() - lastActivity_;
        if (timeoutSeconds > 0 && idle > static_cast<DWORD>(timeoutSeconds) * 1000) {
            if (!userAtWork || !sourceWindowIsOpen()) return End::TimedOut;
            touch();
        }
        MSG message;
        if (GetMessageA(&message, nullptr, 0, 0) <= 0) break;
        if (module.smIsDSEvent(&message)) continue;
        TranslateMessage(&message);
        DispatchMessageA(&message);
    }
    return End::Finished;
}

void HostWindow::dispatch(const Handler& handler, WPARAM wParam, LPARAM lParam) {
    touch();
    try {
        handler(wParam, lParam);
    } catch (const Failure& failure) {
        keepFailure(failure);
    } catch (const std::exception&) {
        keepFailure(outOfMemory());
    }
}

LRESULT CALLBACK HostWindow::windowProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_NCCREATE) {
        const auto* const create = reinterpret_cast<const CREATESTRUCTA*>(lParam);
        SetWindowLongA(window, GWL_USERDATA, reinterpret_cast<LONG>(create->lpCreateParams));
    }
    auto* const host = reinterpret_cast<HostWindow*>(GetWindowLongA(window, GWL_USERDATA));
    if (host) {
        const auto found = host->handlers_.find(message);
        if (found != host->handlers_.end()) {
            host->dispatch(found->second, wParam, lParam);
            return 0;
        }
    }
    return DefWindowProcA(window, message, wParam, lParam);
}

}  // namespace host
