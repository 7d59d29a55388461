#include "common/HostWindow.h"

#include <exception>
#include <string>

#include "common/ModuleActivity.h"
#include "common/Wording.h"

namespace host {

namespace {

constexpr UINT_PTR loopTimer = 1;
constexpr UINT loopMilliseconds = 200;

BOOL CALLBACK findOwnWindow(HWND window, LPARAM found) {
    DWORD process = 0;
    GetWindowThreadProcessId(window, &process);
    const bool own = process == GetCurrentProcessId() && IsWindowVisible(window) && IsWindowEnabled(window);
    if (own && window != GetConsoleWindow()) *reinterpret_cast<bool*>(found) = true;
    return TRUE;
}

// Presses the button of a dialog that declines most, if it takes any.
BOOL CALLBACK decline(HWND window, LPARAM) {
    constexpr char dialogClass[] = "#32770";
    char windowClass[sizeof dialogClass] = "";
    GetClassNameA(window, windowClass, sizeof windowClass);
    if (lstrcmpA(windowClass, dialogClass) != 0 || !IsWindowVisible(window) || !IsWindowEnabled(window))
        return TRUE;
    for (const int id : {IDCANCEL, IDNO, IDABORT, IDOK}) {
        const HWND button = GetDlgItem(window, id);
        if (!button) continue;
        PostMessageA(window, WM_COMMAND, static_cast<WPARAM>(id), reinterpret_cast<LPARAM>(button));
        break;
    }
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
        throw Failure{FailureCode::SourceError,
                      "Windows gives no window to receive the pages with. Under Wine, run it on a desktop or "
                      "with xvfb-run."};
    SetTimer(window_, loopTimer, loopMilliseconds, nullptr);
}

HostWindow::~HostWindow() {
    DestroyWindow(window_);
}

void HostWindow::begin() {
    handlers_.clear();
    failure_.reset();
    finished_ = declining_ = cancelled_ = false;
}

void HostWindow::on(const char* message, Handler handler) {
    handlers_[RegisterWindowMessageA(message)] = std::move(handler);
}

void HostWindow::keepFailure(const Failure& failure) {
    if (!failure_) failure_ = failure;
}

void HostWindow::cancel() {
    cancelled_ = true;
    PostThreadMessageA(thread_, WM_NULL, 0, 0);
}

HostWindow::End HostWindow::run(const ModuleLibrary& module, int timeoutSeconds, bool userAtWork) {
    timeoutSeconds_ = timeoutSeconds;
    userAtWork_ = userAtWork;
    touch();
    while (!finished_) {
        if (cancelRequested()) return End::Cancelled;
        if (timeIsUp()) return End::TimedOut;
        MSG message;
        if (GetMessageA(&message, nullptr, 0, 0) <= 0) break;
        if (module.smIsDSEvent(&message) || (filter_ && filter_(message))) continue;
        TranslateMessage(&message);
        DispatchMessageA(&message);
    }
    return End::Finished;
}

void HostWindow::touch() {
    lastActivity_ = GetTickCount();
    noteActivity();
}

bool HostWindow::timeIsUp() {
    const DWORD idle = GetTickCount() - lastActivity_;
    if (timeoutSeconds_ == 0 || idle <= static_cast<DWORD>(timeoutSeconds_) * 1000) return false;
    if (!userAtWork_ || !sourceWindowIsOpen()) return true;
    touch();
    return false;
}

void HostWindow::declineDialogs() {
    // Outside the module's calls run() sees to the end, and there is no dialog to wait for.
    if (moduleActivity().function && (declining_ || cancelRequested() || timeIsUp()))
        EnumThreadWindows(thread_, decline, 0);
}

void HostWindow::endIfCancelled() const {
    if (cancelRequested()) throw Failure{FailureCode::Cancelled, "Cancelled. No page was scanned."};
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
        if (message == WM_TIMER && wParam == loopTimer) host->declineDialogs();
        const auto found = host->handlers_.find(message);
        if (found != host->handlers_.end()) {
            host->dispatch(found->second, wParam, lParam);
            return 0;
        }
    }
    return DefWindowProcA(window, message, wParam, lParam);
}

}  // namespace host
