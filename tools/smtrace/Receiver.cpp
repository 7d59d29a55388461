#include "smtrace/Receiver.h"

#include <cstring>
#include <new>

namespace smtrace {

namespace {

constexpr wchar_t viewerClass[] = L"KTWDiagXprt32";
constexpr wchar_t mappingName[] = L"KTWDiagXprt32File";
constexpr wchar_t mutexName[] = L"VORN Scan Module trace viewer";
constexpr UINT lineMessage = WM_USER + 0x1234;
constexpr size_t longestLine = 1024;
constexpr DWORD mappingSize = 4096;

Time now() {
    static const int64_t frequency = [] {
        LARGE_INTEGER perSecond;
        QueryPerformanceFrequency(&perSecond);
        return perSecond.QuadPart;
    }();
    LARGE_INTEGER ticks;
    QueryPerformanceCounter(&ticks);
    // The whole seconds apart: ticks by a million would overflow within days at some frequencies.
    return ticks.QuadPart / frequency * 1'000'000 + ticks.QuadPart % frequency * 1'000'000 / frequency;
}

[[noreturn]] void refuseSecond() {
    std::wstring text = L"A trace viewer is running already";
    if (const HWND other = FindWindowW(viewerClass, nullptr)) {
        DWORD process = 0;
        GetWindowThreadProcessId(other, &process);
        text += L" (process " + std::to_wstring(process) + L")";
    }
    throw StartFailure{text + L": the module would not know which to send to."};
}

}  // namespace

Receiver::Receiver(LineStore& store, Senders& senders) : store_(store), senders_(senders) {
    onlyOne_ = gui::owned(CreateMutexW(nullptr, FALSE, mutexName));
    if (GetLastError() == ERROR_ALREADY_EXISTS || FindWindowW(viewerClass, nullptr) != nullptr)
        refuseSecond();
    // It may be there still, kept by a host that a former viewer left behind: the same memory then.
    mapping_ = gui::owned(
        CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, mappingSize, mappingName));
    if (mapping_)
        view_.reset(static_cast<const char*>(MapViewOfFile(mapping_.get(), FILE_MAP_READ, 0, 0, 0)));
    ready_ = gui::owned(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    if (view_ && ready_) thread_ = gui::owned(CreateThread(nullptr, 0, run, this, 0, nullptr));
    if (thread_) WaitForSingleObject(ready_.get(), INFINITE);
    if (window_ == nullptr)
        throw StartFailure{L"Cannot make the window or the memory that modules look for."};
}

Receiver::~Receiver() {
    SendMessageW(window_, WM_CLOSE, 0, 0);
    WaitForSingleObject(thread_.get(), INFINITE);
}

DWORD WINAPI Receiver::run(void* self) {
    auto& receiver = *static_cast<Receiver*>(self);
    WNDCLASSW windowClass = {};
    windowClass.lpfnWndProc = onMessage;
    windowClass.hInstance = GetModuleHandleW(nullptr);
    windowClass.lpszClassName = viewerClass;
    RegisterClassW(&windowClass);
    // Never shown, yet no message-only window: those can't be found by their class.
    const HWND window = CreateWindowW(viewerClass, L"", WS_POPUP, 0, 0, 0, 0, nullptr, nullptr,
                                      windowClass.hInstance, &receiver);
    receiver.window_ = window;
    SetEvent(receiver.ready_.get());
    // From here on a receiver without a window may be gone.
    MSG message;
    while (window != nullptr && GetMessageW(&message, nullptr, 0, 0) > 0)
        DispatchMessageW(&message);
    return 0;
}

LRESULT CALLBACK Receiver::onMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_NCCREATE)
        SetWindowLongPtrW(
            window, GWLP_USERDATA,
            reinterpret_cast<LONG_PTR>(reinterpret_cast<CREATESTRUCTW*>(lParam)->lpCreateParams));
    if (message == WM_DESTROY) PostQuitMessage(0);
    if (message == lineMessage) {
        reinterpret_cast<Receiver*>(GetWindowLongPtrW(window, GWLP_USERDATA))->receive(lParam);
        return 0;
    }
    return DefWindowProcW(window, message, wParam, lParam);
}

// An exception must not cross the window procedure; without memory the line is lost, but not the host.
void Receiver::receive(LPARAM address) try {
    const Time time = now();
    std::string raw(view_.get(), strnlen(view_.get(), longestLine));
    const bool starts = parseLine(raw).kind == Kind::Start;
    store_.add(std::move(raw), senders_.processAt(address, starts), time);
} catch (const std::bad_alloc&) {
    store_.countLost();
}

}  // namespace smtrace
