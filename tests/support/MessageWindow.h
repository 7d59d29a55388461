// A window whose messages go to a function first, which says whether it took them.
#pragma once

#include <windows.h>

#include <functional>

class MessageWindow {
public:
    using Handler = std::function<bool(UINT message, WPARAM wParam, LPARAM lParam)>;

    MessageWindow(const char* className, Handler handler) : handler_(std::move(handler)) {
        WNDCLASSA windowClass = {};
        windowClass.lpfnWndProc = procedure;
        windowClass.hInstance = GetModuleHandleA(nullptr);
        windowClass.lpszClassName = className;
        RegisterClassA(&windowClass);  // fails when it is there already, which is as good
        window_ = CreateWindowA(className, "", WS_OVERLAPPEDWINDOW, 0, 0, 100, 100, nullptr, nullptr,
                                windowClass.hInstance, nullptr);
        SetWindowLongPtrA(window_, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
    }
    ~MessageWindow() { DestroyWindow(window_); }
    MessageWindow(const MessageWindow&) = delete;
    MessageWindow& operator=(const MessageWindow&) = delete;

    operator HWND() const { return window_; }

private:
    static LRESULT CALLBACK procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
        const auto* const self = reinterpret_cast<MessageWindow*>(GetWindowLongPtrA(window, GWLP_USERDATA));
        if (self != nullptr && message != WM_NCDESTROY && self->handler_(message, wParam, lParam)) return 0;
        return DefWindowProcA(window, message, wParam, lParam);
    }

    const Handler handler_;
    HWND window_ = nullptr;
};
