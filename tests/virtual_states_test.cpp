// The virtual scanner's states: what is allowed when, the feeder, faults on demand, the window.
#include <doctest.h>

#include "source/SourceWindow.h"
#include "virtual_host.h"

namespace {

using Notes = std::vector<TW_UINT16>;

struct Operation {
    const char* name;
    TW_UINT32 group;
    TW_UINT16 argumentType;
    TW_UINT16 message;
    const char* states;  // in which it is no sequence error
};

constexpr TW_UINT32 C = DG_CONTROL, I = DG_IMAGE;
constexpr Operation operations[] = {
    {"close", C, DAT_IDENTITY, MSG_CLOSEDS, "4"},
    {"get capability", C, DAT_CAPABILITY, MSG_GET, "4567"},
    {"set capability", C, DAT_CAPABILITY, MSG_SET, "4"},
    {"event", C, DAT_EVENT, MSG_PROCESSEVENT, "567"},
    {"enable", C, DAT_USERINTERFACE, MSG_ENABLEDS, "4"},
    {"disable", C, DAT_USERINTERFACE, MSG_DISABLEDS, "5"},
    {"pending", C, DAT_PENDINGXFERS, MSG_GET, "4567"},
    {"end transfer", C, DAT_PENDINGXFERS, MSG_ENDXFER, "67"},
    {"end all", C, DAT_PENDINGXFERS, MSG_RESET, "67"},
    {"set file", C, DAT_SETUPFILEXFER, MSG_SET, "456"},
    {"memory sizes", C, DAT_SETUPMEMXFER, MSG_GET, "456"},
    {"palette", I, DAT_PALETTE8, MSG_GET, "456"},
    {"get layout", I, DAT_IMAGELAYOUT, MSG_GET, "456"},
    {"image info", I, DAT_IMAGEINFO, MSG_GET, "67"},
    {"set layout", I, DAT_IMAGELAYOUT, MSG_SET, "4"},
    {"strip", I, DAT_IMAGEMEMXFER, MSG_GET, "67"},
    {"native", I, DAT_IMAGENATIVEXFER, MSG_GET, "6"},
    {"unknown type", C, 0x0042, MSG_GET, ""},
    {"unknown message", I, DAT_IMAGEINFO, MSG_SET, ""},
    {"another group", I, DAT_STATUS, MSG_GET, ""},
};

}  // namespace

TEST_CASE("what is out of sequence, unknown or no data is refused, in every state") {
    for (const Operation& operation : operations) {
        for (int state = 3; state <= 7; ++state) {
            CAPTURE(operation.name);
            CAPTURE(state);
            VirtualHost host("Pages=2 Resolution=50", state);
            const auto call = [&](void* data) {
                return host.call(operation.group, operation.argumentType, operation.message, data);
            };
            for (const std::uintptr_t bad : {0, 16})
                if (operation.message != MSG_CLOSEDS && operation.message != MSG_DISABLEDS)
                    CHECK(call(reinterpret_cast<void*>(bad)).substr(0, 7) == "failure");
            CHECK(host.scanner.state() == state);
            alignas(8) unsigned char data[4096] = {};  // enough for each, and sensible for most
            const std::string states = operation.states;
            const std::string result = call(data);
            const bool allowed = states.find(static_cast<char>('0' + state)) != std::string::npos;
            const std::string refusal = states.empty() ? "failure 9" : "failure 11";
            CHECK((result == refusal) == !allowed);
            CHECK(host.condition() == 0);  // it is given once
            CHECK((allowed || host.scanner.state() == state));
            if (result == "done") GlobalFree(*reinterpret_cast<HGLOBAL*>(data));
        }
    }
}

TEST_CASE("opening fails as asked, and answers are slow as asked") {
    CHECK(VirtualHost("OpenFault=offline", 3).open() == "failure 23");
    CHECK(VirtualHost("Page=missing.bmp", 3).open() == "failure 5");
    VirtualHost host("OpenFault=brightness Delay=40 Protocol=1.6");
    CHECK(host.open() == "failure 4");  // it takes one host only
    CHECK(host.ask(CAP_DEVICEONLINE) == "one BOOL 0");
    const DWORD start = GetTickCount();
    CHECK(host.ask(ICAP_UNITS) == "one UINT16 0");
    CHECK(GetTickCount() - start >= 30);
    TW_IDENTITY identity{};
    identity.Id = 77;
    CHECK(host.control(DAT_IDENTITY, MSG_GET, &identity) == "success");
    CHECK(identity.Id == 77);  // the manager's number
    CHECK(identity.ProtocolMinor == 6);
}

TEST_CASE("the feeder gives its pages, and is empty then") {
    const struct {
        const char* settings;
        TW_UINT16 capability;  // to set first, or 0
        ContainerImage container;
        const char* counts;  // after each page
        const char* loaded;
    } rows[] = {
        {"Pages=3", 0, {}, " 2 1 0", "one BOOL 0"},
        {"Pages=3", CAP_XFERCOUNT, oneValue(TWTY_INT16, 2), " 1 0", "one BOOL 1"},
        {"Pages=3", CAP_FEEDERENABLED, oneValue(TWTY_BOOL, 0), " 0", "one BOOL 1"},
        {"Pages=3", CAP_CLEARPAGE, oneValue(TWTY_BOOL, 1), " 1 0", "one BOOL 0"},
        {"Pages=3 UnknownPendingCount=1", 0, {}, " 65535 65535 0", "one BOOL 0"},
    };
    for (const auto& row : rows) {
        CAPTURE(row.counts);
        VirtualHost host(row.settings);
        if (row.capability != 0) CHECK(host.set(row.capability, row.container) == "success");
        CHECK(host.enable() == "success");
        std::string counts;
        while (host.scanner.state() == 6)
            counts += " " + std::to_string(host.endTransfer());
        CHECK(counts == row.counts);
        CHECK(host.ask(CAP_FEEDERLOADED) == row.loaded);
        CHECK(host.disable() == "success");
        CHECK(host.ask(CAP_FEEDERLOADED) == "one BOOL 1");  // filled again
    }
    CHECK(VirtualHost("Feeder=none").ask(CAP_FEEDERENABLED, MSG_GET) == "failure 6");
}

TEST_CASE("giving up a batch leaves the rest in the feeder; the image too many is none") {
    VirtualHost host("Pages=2 Resolution=50 PendingCountError=1", 7);
    for (int again = 0; again < 2; ++again) {  // in the middle of page 1, then before page 2
        CHECK(host.endTransfer(MSG_RESET) == 0);
        CHECK(host.scanner.state() == 5);
        CHECK(host.disable() == "success");
        CHECK(host.enable() == "success");
        CHECK(host.scanner.request().pageNumber == 2);
    }
    CHECK(host.endTransfer() == 1);
    TW_IMAGEINFO info;
    CHECK(host.image(DAT_IMAGEINFO, MSG_GET, &info) == "failure 5");
    CHECK(host.endTransfer() == 0);
}

TEST_CASE("an empty feeder is told in three ways") {
    CHECK(VirtualHost("Pages=0").enable() == "failure 5");
    VirtualHost close("Pages=0 EmptyFeeder=close");
    CHECK(close.enable() == "success");
    CHECK(close.notes == Notes{MSG_CLOSEDSREQ});
    VirtualHost cancel("Pages=0 EmptyFeeder=cancel");
    CHECK(cancel.enable() == "success");
    CHECK(cancel.disable() == "success");  // the host has not seen the image yet
    CHECK(cancel.enable() == "success");
    CHECK(cancel.strip(8192) == "cancel");
}

TEST_CASE("a cancelled page ends the batch, a jam doesn't") {
    for (const bool cancelled : {false, true}) {
        VirtualHost host(cancelled ? "Pages=2 CancelAtPage=1" : "Pages=2 JamAtPage=1", 6);
        CHECK(host.strip(8192) == (cancelled ? "cancel" : "failure 20"));
        CHECK(host.endTransfer() == (cancelled ? 0 : 1));
    }
}

TEST_CASE("the window scans and asks to be closed through the host's message loop") {
    VirtualHost host("ProductName=WindowTest Pages=2", 5);
    const HWND window = host.scanner.window();
    CHECK(FindWindowA(nullptr, "WindowTest") == window);
    // Hands every message that waits to the source first, as hosts must.
    const auto pump = [&] {
        MSG message;
        int taken = 0;
        while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) {
            TW_EVENT event{&message, 0xEEEE};
            const bool forSource = host.control(DAT_EVENT, MSG_PROCESSEVENT, &event) == "event";
            CHECK(event.TWMessage == MSG_NULL);
            if (!forSource) DispatchMessageA(&message);
            taken += forSource;
        }
        return taken;
    };
    PostMessageA(GetDlgItem(window, vscan::SourceWindow::scanButton), BM_CLICK, 0, 0);
    CHECK(pump() > 0);
    CHECK(host.scanner.state() == 6);
    PostMessageA(window, WM_KEYDOWN, VK_ESCAPE, 0);  // it rests while images are transferred
    pump();
    CHECK(host.notes == Notes{MSG_XFERREADY});
    CHECK(host.endTransfer() == 1);
    CHECK(host.endTransfer() == 0);
    CHECK(IsWindow(window));
    PostMessageA(window, WM_KEYDOWN, VK_ESCAPE, 0);
    pump();
    CHECK(host.notes == Notes{MSG_XFERREADY, MSG_CLOSEDSREQ});
    CHECK(host.disable() == "success");
    CHECK(!IsWindow(window));
}

TEST_CASE("a window that can't be shown or left away is told") {
    VirtualHost without("Window=0");
    CHECK(without.enable(true) == "check");
    CHECK(without.scanner.state() == 6);
    VirtualHost always("UIControllable=0");
    CHECK(always.enable(false) == "check");
    CHECK(always.scanner.window() != nullptr);
}
