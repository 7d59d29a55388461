#include <windows.h>

#include <exception>

#include "common/Failure.h"
#include "common/ModuleLibrary.h"
#include "smview/MainWindow.h"
#include "windows/WideText.h"

namespace {

int refuse(const host::Failure& failure) {
    MessageBoxW(nullptr, gui::fromUtf8(failure.text).c_str(), L"smview", MB_OK | MB_ICONERROR);
    return static_cast<int>(failure.code);
}

}  // namespace

int WINAPI WinMain(HINSTANCE, HINSTANCE, char*, int) {
    try {
        const host::ModuleLibrary module;
        smview::MainWindow(module).run();
        return 0;
    } catch (const host::Failure& failure) {
        return refuse(failure);
    } catch (const std::exception&) {
        return refuse(host::outOfMemory());
    }
}
