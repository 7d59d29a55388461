#include "Stage.h"

#include <stdexcept>

// A module that is detached with a source open leaves the manager loaded, for ever.
Stage::~Stage() {
    module.unload();
    while (const HMODULE manager = GetModuleHandleA("twain_32.dll"))
        FreeLibrary(manager);
}

void Stage::open() {
    windows.switchesOff = true;
    if (module.OpenDS(host.window(), "Test Host") != 0) throw std::runtime_error("the source doesn't open");
    windows.switchesOff = false;
    forget();
}

void Stage::enable(bool showUI, bool modalUI) {
    open();
    if (module.EnableDS(showUI, modalUI) != 0) throw std::runtime_error("the source can't be enabled");
    forget();
}

void Stage::bringTo(int state) {
    if (state == 4) open();
    if (state == 5) enable();
    forget();
}

void Stage::forget() {
    journal.clear();
    manager.forgetCalls();
    viewer.forget();
    host.takeMessages();
    windows.profileCalls.clear();
    windows.libraryCalls.clear();
    windows.allocations.clear();
}

bool Stage::deliver(TW_UINT16 notification) {
    const auto say = [notification](TW_EVENT& event) { event.TWMessage = notification; };
    manager.answerNext(operation::processEvent, fill<TW_EVENT>(say, TWRC_DSEVENT));
    MSG message = {};
    message.hwnd = host.window();
    return module.IsDSEvent(&message) != FALSE;
}
