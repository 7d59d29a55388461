#include "Stage.h"

#include <stdexcept>

#include "Journal.h"

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
    journal().clear();
    manager.forgetCalls();
    viewer.forget();
    host.takeMessages();
    windows.profileCalls.clear();
    windows.libraryCalls.clear();
    windows.allocations.clear();
}

Lines Stage::takeRecord() {
    Lines record = manager.calls();
    for (const std::string& text : viewer.warnings())
        record.push_back("! " + text);
    record += windows.memoryComplaints();
    forget();
    return record;
}

bool Stage::deliver(TW_UINT16 notification) {
    manager.notify(notification);
    MSG message = {};
    message.hwnd = host.window();
    return module.IsDSEvent(&message) != FALSE;
}

Lines refused(const std::string& call) {
    return {call, "STATUS"};
}

Lines withoutManager(const std::string& method) {
    return {"! LoadLibrary fails in TScanModule::LoadTWAIN",
            "! TWAIN is not available in TScanModule::" + method};
}
