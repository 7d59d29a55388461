// The library as a host loads it, and a window for its messages.
#pragma once

#include <scanmodule/scanmodule.h>
#include <windows.h>

#include <functional>
#include <map>
#include <stdexcept>
#include <string>

namespace bench {

// Not for handlers of the module's messages: no exception may cross the module.
inline void require(bool met, const std::string& what) {
    if (!met) throw std::runtime_error(what + " failed");
}

// ScanModule.dll beside the program.
struct ScanModule {
    HMODULE library = LoadLibraryA("ScanModule.dll");
    template <class Function>
    Function* find(const char* name, Function*) const {
        const auto address = library != nullptr ? GetProcAddress(library, name) : nullptr;
        require(address != nullptr, name);
        return reinterpret_cast<Function*>(reinterpret_cast<void*>(address));
    }

#define MODULE_FUNCTION(name) decltype(&::name) name = find(#name, static_cast<decltype(&::name)>(nullptr))
    MODULE_FUNCTION(smOpenDS);
    MODULE_FUNCTION(smCloseDS);
    MODULE_FUNCTION(smEnableDS);
    MODULE_FUNCTION(smDisableDS);
    MODULE_FUNCTION(smIsDSEvent);
    MODULE_FUNCTION(smSetPixelType);
    MODULE_FUNCTION(smGetPixelFlavor);
    MODULE_FUNCTION(smGetSupportedPaperSize);
    MODULE_FUNCTION(smGetXResolution);
    MODULE_FUNCTION(smSetXResolution);
    MODULE_FUNCTION(smSetYResolution);
    MODULE_FUNCTION(smSetXferCount);
    MODULE_FUNCTION(smSetXferMech);
    MODULE_FUNCTION(smReadBlock);
    MODULE_FUNCTION(smCancelAllXfer);
    MODULE_FUNCTION(smPrestoScan);
#undef MODULE_FUNCTION
};

// The window that the module's messages go to.
class Host {
public:
    using Handler = std::function<void(WPARAM, LPARAM)>;

    Host();
    ~Host() {
        DestroyWindow(window_);
        current = nullptr;
    }
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    HWND window() const { return window_; }
    void on(const char* message, Handler handler) {
        handlers_[RegisterWindowMessageA(message)] = std::move(handler);
    }
    void finish() { finished_ = true; }
    // The message loop, until somebody calls finish().
    void run(const ScanModule& module);

private:
    static LRESULT CALLBACK windowProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

    // One at a time. Not kept with the window: to look it up there would count as the module's time.
    static Host* current;

    HWND window_ = nullptr;
    std::map<UINT, Handler> handlers_;
    bool finished_ = false;
};

}  // namespace bench
