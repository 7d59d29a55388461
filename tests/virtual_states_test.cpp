// The virtual scanner's states: what is allowed when, the feeder, faults on demand, the window.
#include <doctest.h>

#include <string>

#include "SourceWindow.h"
#include "virtual_host.h"

namespace {

using Notes = std::vector<TW_UINT16>;

// Takes a host to a state from 3 to 7.
void bringTo(VirtualHost& host, int state) {
    if (state >= 4) REQUIRE(host.open() == TWRC_SUCCESS);
    if (state == 5) {
        TW_USERINTERFACE request{TRUE, FALSE, nullptr};
        REQUIRE(host.control(DAT_USERINTERFACE, MSG_ENABLEDS, &request) == TWRC_SUCCESS);
    }
    if (state >= 6) REQUIRE(host.enable() == TWRC_SUCCESS);
    if (state >= 6) host.info();  // the host has seen that the image is ready
    if (state == 7) {
        char buffer[8192];
        TW_IMAGEMEMXFER strip;
        REQUIRE(host.strip(strip, buffer, sizeof buffer) == TWRC_SUCCESS);
    }
    REQUIRE(host.scanner.state() == state);
}

struct Operation {
    const char* name;
    TW_UINT32 group;
    TW_UINT16 argumentType;
    TW_UINT16 message;
    const char* states;  // in which it is no sequence error
};

// Every operation with data that is large enough and, where it matters, sensible.
TW_UINT16 run(VirtualHost& host, const Operation& operation) {
    alignas(8) unsigned char data[4096] = {};
    HGLOBAL container = nullptr;
    if (operation.argumentType == DAT_CAPABILITY) {
        container = oneValue(TWTY_UINT16, TWUN_INCHES).allocate();
        *reinterpret_cast<TW_CAPABILITY*>(data) = {ICAP_UNITS, TWON_ONEVALUE, container};
    } else if (operation.argumentType == DAT_IMAGELAYOUT) {
        reinterpret_cast<TW_IMAGELAYOUT*>(data)->Frame = {{0, 0}, {0, 0}, {1, 0}, {1, 0}};
    } else if (operation.argumentType == DAT_SETUPFILEXFER) {
        *reinterpret_cast<TW_SETUPFILEXFER*>(data) = {"x.bmp", TWFF_BMP, 0};
    } else if (operation.argumentType == DAT_IMAGEMEMXFER) {
        static unsigned char buffer[8192];
        reinterpret_cast<TW_IMAGEMEMXFER*>(data)->Memory = {TWMF_POINTER, sizeof buffer, buffer};
    }
    const TW_UINT16 result =
        host.scanner.call(operation.group, operation.argumentType, operation.message, data);
    GlobalFree(container);
    if (operation.argumentType == DAT_IMAGENATIVEXFER)
        GlobalFree(reinterpret_cast<HGLOBAL>(*reinterpret_cast<TW_UINT32*>(data)));
    return result;
}

constexpr TW_UINT32 C = DG_CONTROL, I = DG_IMAGE;
constexpr Operation operations[] = {
    {"identity", C, DAT_IDENTITY, MSG_GET, "34567"},
    {"close", C, DAT_IDENTITY, MSG_CLOSEDS, "4"},
    {"status", C, DAT_STATUS, MSG_GET, "34567"},
    {"get capability", C, DAT_CAPABILITY, MSG_GET, "4567"},
    {"get current", C, DAT_CAPABILITY, MSG_GETCURRENT, "4567"},
    {"set capability", C, DAT_CAPABILITY, MSG_SET, "4"},
    {"reset capability", C, DAT_CAPABILITY, MSG_RESET, "4"},
    {"event", C, DAT_EVENT, MSG_PROCESSEVENT, "567"},
    {"enable", C, DAT_USERINTERFACE, MSG_ENABLEDS, "4"},
    {"disable", C, DAT_USERINTERFACE, MSG_DISABLEDS, "5"},
    {"pending", C, DAT_PENDINGXFERS, MSG_GET, "4567"},
    {"end transfer", C, DAT_PENDINGXFERS, MSG_ENDXFER, "67"},
    {"end all", C, DAT_PENDINGXFERS, MSG_RESET, "67"},
    {"buffer sizes", C, DAT_SETUPMEMXFER, MSG_GET, "4567"},
    {"get file", C, DAT_SETUPFILEXFER, MSG_GET, "4567"},
    {"set file", C, DAT_SETUPFILEXFER, MSG_SET, "456"},
    {"image info", I, DAT_IMAGEINFO, MSG_GET, "67"},
    {"get layout", I, DAT_IMAGELAYOUT, MSG_GET, "4567"},
    {"set layout", I, DAT_IMAGELAYOUT, MSG_SET, "4"},
    {"strip", I, DAT_IMAGEMEMXFER, MSG_GET, "67"},
    {"native", I, DAT_IMAGENATIVEXFER, MSG_GET, "6"},
    {"get response", I, DAT_RGBRESPONSE, MSG_GET, "4567"},
    {"set response", I, DAT_RGBRESPONSE, MSG_SET, "4"},
    {"default matrix", I, DAT_CUSTOMBASE + 2, MSG_GETDEFAULT, "4567"},
};

}  // namespace

TEST_CASE("operations out of sequence are refused, those in sequence are not") {
    for (const Operation& operation : operations) {
        for (int state = 3; state <= 7; ++state) {
            CAPTURE(operation.name);
            CAPTURE(state);
            VirtualHost host(Keys{{"Pages", "2"}, {"Resolution", "50"}});
            bringTo(host, state);
            const bool allowed =
                std::string(operation.states).find(static_cast<char>('0' + state)) != std::string::npos;
            const TW_UINT16 result = run(host, operation);
            CHECK((result != TWRC_FAILURE) == allowed);
            if (!allowed) CHECK(host.condition() == TWCC_SEQERROR);
            if (!allowed) CHECK(host.scanner.state() == state);
        }
    }
}

TEST_CASE("what is unknown or no data is refused in every state") {
    const Operation unknown[] = {{"", C, 0x0042, MSG_GET, ""},
                                 {"", I, DAT_STATUS, MSG_GET, ""},
                                 {"", C, DAT_CAPABILITY, 0x0999, ""},
                                 {"", I, DAT_IMAGEINFO, MSG_SET, ""},
                                 {"", 4, DAT_IMAGEINFO, MSG_GET, ""}};
    for (int state = 3; state <= 7; ++state) {
        VirtualHost host(Keys{{"Pages", "2"}, {"Resolution", "50"}});
        bringTo(host, state);
        for (const Operation& operation : unknown) {
            CHECK(run(host, operation) == TWRC_FAILURE);
            CHECK(host.condition() == TWCC_BADPROTOCOL);
        }
        for (const Operation& operation : operations) {
            if (operation.message == MSG_CLOSEDS || operation.message == MSG_DISABLEDS) continue;
            CAPTURE(operation.name);
            for (void* bad : {static_cast<void*>(nullptr), reinterpret_cast<void*>(16)})
                CHECK(host.scanner.call(operation.group, operation.argumentType, operation.message, bad) ==
                      TWRC_FAILURE);
            CHECK(host.scanner.state() == state);
        }
    }
}

TEST_CASE("the condition code is given once") {
    VirtualHost host;
    CHECK(host.enable() == TWRC_FAILURE);
    CHECK(host.condition() == TWCC_SEQERROR);
    CHECK(host.condition() == TWCC_SUCCESS);
}

TEST_CASE("the identity is as configured, and leaves the manager's number alone") {
    VirtualHost host(Keys{{"ProductName", "Another"}, {"Protocol", "1.6"}});
    TW_IDENTITY identity{};
    identity.Id = 77;
    REQUIRE(host.control(DAT_IDENTITY, MSG_GET, &identity) == TWRC_SUCCESS);
    CHECK(identity.Id == 77);
    CHECK(std::string(identity.Manufacturer) == "KAVRO");
    CHECK(std::string(identity.ProductName) == "Another");
    CHECK(identity.ProtocolMajor == 1);
    CHECK(identity.ProtocolMinor == 6);
    CHECK(identity.SupportedGroups == (DG_CONTROL | DG_IMAGE));
}

TEST_CASE("opening fails as asked") {
    const struct {
        Keys keys;
        int condition;
    } rows[] = {{{{"OpenFault", "offline"}}, TWCC_CHECKDEVICEONLINE},
                {{{"OpenFault", "busy"}}, TWCC_MAXCONNECTIONS},
                {{{"Page", "no such file.bmp"}}, TWCC_OPERATIONERROR}};
    for (const auto& row : rows) {
        VirtualHost host(row.keys);
        CHECK(host.open() == TWRC_FAILURE);
        CHECK(host.condition() == row.condition);
        CHECK(host.scanner.state() == 3);
    }
    VirtualHost host(Keys{{"OpenFault", "brightness"}});
    CHECK(host.open() == TWRC_SUCCESS);
    CHECK(host.ask(ICAP_BRIGHTNESS, MSG_GET) == "failed 5");
    CHECK(host.ask(CAP_DEVICEONLINE) == "one BOOL 0");
    CHECK(host.ask(ICAP_CONTRAST) != "failed 5");
    CHECK(host.open() == TWRC_FAILURE);  // it takes one host only
    CHECK(host.condition() == TWCC_MAXCONNECTIONS);
}

TEST_CASE("the feeder gives its pages, and is empty then") {
    const struct {
        const char* name;
        Keys keys;
        TW_UINT16 setting;  // a capability to set first, or 0
        TW_UINT32 value;
        std::vector<int> counts;  // after each page
        const char* loaded;
    } rows[] = {
        {"three pages", {{"Pages", "3"}}, 0, 0, {2, 1, 0}, "one BOOL 0"},
        {"a limited batch", {{"Pages", "3"}}, CAP_XFERCOUNT, 2, {1, 0}, "one BOOL 1"},
        {"no automatic feeding", {{"Pages", "3"}}, CAP_AUTOFEED, 0, {0}, "one BOOL 1"},
        {"the glass", {{"Pages", "3"}}, CAP_FEEDERENABLED, 0, {0}, "one BOOL 1"},
        {"a page ejected before", {{"Pages", "3"}}, CAP_CLEARPAGE, 1, {1, 0}, "one BOOL 0"},
        {"an unknown count",
         {{"Pages", "3"}, {"UnknownPendingCount", "1"}},
         0,
         0,
         {0xFFFF, 0xFFFF, 0},
         "one BOOL 0"},
        {"one too many", {{"Pages", "2"}, {"PendingCountError", "1"}}, 0, 0, {2, 1, 0}, "one BOOL 0"},
        {"one too few", {{"Pages", "3"}, {"PendingCountError", "-1"}}, 0, 0, {1, 0}, "one BOOL 1"},
    };
    for (const auto& row : rows) {
        CAPTURE(row.name);
        VirtualHost host(row.keys);
        host.open();
        if (row.setting != 0)
            REQUIRE(host.set(row.setting, row.setting == CAP_XFERCOUNT ? TWTY_INT16 : TWTY_BOOL, row.value) ==
                    TWRC_SUCCESS);
        REQUIRE(host.enable() == TWRC_SUCCESS);
        CHECK(host.notes == Notes{MSG_XFERREADY});
        for (const int count : row.counts) {
            CHECK(host.scanner.state() == 6);
            CHECK(host.endTransfer() == count);
        }
        CHECK(host.scanner.state() == 5);
        CHECK(host.ask(CAP_FEEDERLOADED) == row.loaded);
        CHECK(host.disable() == TWRC_SUCCESS);
        CHECK(host.ask(CAP_FEEDERLOADED) == "one BOOL 1");  // filled again
    }
    VirtualHost none(Keys{{"Feeder", "none"}});
    none.open();
    CHECK(none.ask(CAP_FEEDERENABLED, MSG_GET) == "failed 6");
}

TEST_CASE("pages are numbered through the pile, and the image too many is none") {
    VirtualHost host(Keys{{"Pages", "2"}, {"PendingCountError", "1"}});
    host.open();
    host.enable();
    CHECK(host.scanner.request().pageNumber == 1);
    host.endTransfer();
    CHECK(host.scanner.request().pageNumber == 2);
    CHECK(host.info().ImageWidth > 0);
    CHECK(host.endTransfer() == 1);
    TW_IMAGEINFO info;
    CHECK(host.image(DAT_IMAGEINFO, MSG_GET, &info) == TWRC_FAILURE);
    CHECK(host.condition() == TWCC_OPERATIONERROR);
    CHECK(host.endTransfer() == 0);
}

TEST_CASE("giving up a batch leaves the rest in the feeder") {
    VirtualHost host(Keys{{"Pages", "3"}, {"Resolution", "50"}});
    bringTo(host, 7);
    CHECK(host.endTransfer(MSG_RESET) == 0);  // in the middle of page 1
    CHECK(host.scanner.state() == 5);
    host.disable();
    host.enable();
    CHECK(host.scanner.request().pageNumber == 2);
    CHECK(host.endTransfer(MSG_RESET) == 0);  // before page 2
    host.disable();
    host.enable();
    CHECK(host.scanner.request().pageNumber == 2);
}

TEST_CASE("a host that has not seen the image yet may disable the source") {
    VirtualHost host;
    host.open();
    host.enable();
    CHECK(host.disable() == TWRC_SUCCESS);
    CHECK(host.scanner.state() == 4);
    host.enable();
    host.info();
    CHECK(host.disable() == TWRC_FAILURE);
    CHECK(host.condition() == TWCC_SEQERROR);
}

TEST_CASE("an empty feeder is told in three ways") {
    VirtualHost refuse(Keys{{"Pages", "0"}});
    refuse.open();
    CHECK(refuse.enable() == TWRC_FAILURE);
    CHECK(refuse.condition() == TWCC_OPERATIONERROR);
    CHECK(refuse.scanner.state() == 4);

    VirtualHost close(Keys{{"Pages", "0"}, {"EmptyFeeder", "close"}});
    close.open();
    CHECK(close.enable() == TWRC_SUCCESS);
    CHECK(close.notes == Notes{MSG_CLOSEDSREQ});
    CHECK(close.scanner.state() == 5);

    VirtualHost cancel(Keys{{"Pages", "0"}, {"EmptyFeeder", "cancel"}});
    cancel.open();
    CHECK(cancel.enable() == TWRC_SUCCESS);
    CHECK(cancel.notes == Notes{MSG_XFERREADY});
    CHECK(cancel.info().ImageWidth > 0);
    TW_UINT32 handle = 0;
    CHECK(cancel.image(DAT_IMAGENATIVEXFER, MSG_GET, &handle) == TWRC_CANCEL);
    CHECK(cancel.endTransfer() == 0);
}

TEST_CASE("faults happen at their page and strip, and the batch goes on as it should") {
    const struct {
        Keys keys;
        TW_UINT16 result;
        int condition;
        int left;
    } rows[] = {{{{"JamAtPage", "2"}}, TWRC_FAILURE, TWCC_PAPERJAM, 1},
                {{{"CancelAtPage", "2"}}, TWRC_CANCEL, TWCC_SUCCESS, 0},
                {{{"FailAtPage", "2"}}, TWRC_FAILURE, TWCC_OPERATIONERROR, 1},
                {{{"FailAtPage", "2"}, {"FailConditionCode", "0"}}, TWRC_FAILURE, TWCC_SUCCESS, 1}};
    std::vector<unsigned char> buffer(8192);
    for (const auto& row : rows) {
        for (const int strips : {0, 3}) {
            CAPTURE(row.keys[0].name);
            CAPTURE(strips);
            Keys keys = row.keys;
            keys.push_back({"Pages", "3"});
            keys.push_back({"Resolution", "50"});
            keys.push_back({"FaultAfterStrip", std::to_string(strips)});
            VirtualHost host(keys);
            host.open();
            host.setCode(ICAP_XFERMECH, TWSX_MEMORY);
            host.enable();
            TW_IMAGEMEMXFER strip;
            TW_UINT16 result = TWRC_SUCCESS;
            while (result == TWRC_SUCCESS)
                result = host.strip(strip, buffer.data(), 8192);
            CHECK(result == TWRC_XFERDONE);
            CHECK(host.endTransfer() == 2);
            for (int i = 0; i < strips; ++i)
                CHECK(host.strip(strip, buffer.data(), 8192) == TWRC_SUCCESS);
            CHECK(host.strip(strip, buffer.data(), 8192) == row.result);
            CHECK(host.condition() == row.condition);
            CHECK(host.endTransfer() == row.left);
            CHECK(host.scanner.state() == (row.left ? 6 : 5));
        }
    }
}

TEST_CASE("slow replies are slow") {
    VirtualHost host(Keys{{"Delay", "40"}});
    host.open();
    const DWORD start = GetTickCount();
    host.ask(ICAP_UNITS);
    CHECK(GetTickCount() - start >= 30);
}

TEST_CASE("the window scans and asks to be closed through the host's message loop") {
    VirtualHost host(Keys{{"ProductName", "Window Test"}, {"Pages", "2"}});
    host.open();
    REQUIRE(host.enable(true) == TWRC_SUCCESS);
    const HWND window = host.scanner.window();
    REQUIRE(window);
    CHECK(host.notes.empty());
    CHECK(FindWindowA(nullptr, "Window Test") == window);

    // Hands every message that waits to the source first, as hosts must.
    const auto pump = [&] {
        MSG message;
        int taken = 0;
        while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) {
            TW_EVENT event{&message, 0xEEEE};
            const TW_UINT16 result = host.control(DAT_EVENT, MSG_PROCESSEVENT, &event);
            CHECK(event.TWMessage == MSG_NULL);
            if (result == TWRC_DSEVENT)
                ++taken;
            else
                DispatchMessageA(&message);
        }
        return taken;
    };
    const auto press = [&](int button) { PostMessageA(GetDlgItem(window, button), BM_CLICK, 0, 0); };
    press(vscan::SourceWindow::scanButton);
    CHECK(pump() > 0);
    CHECK(host.notes == Notes{MSG_XFERREADY});
    CHECK(host.scanner.state() == 6);
    press(vscan::SourceWindow::cancelButton);  // it rests while images are transferred
    pump();
    CHECK(host.notes == Notes{MSG_XFERREADY});
    CHECK(host.endTransfer() == 1);
    CHECK(host.endTransfer() == 0);
    CHECK(host.scanner.state() == 5);
    CHECK(IsWindow(window));
    PostMessageA(window, WM_KEYDOWN, VK_ESCAPE, 0);
    pump();
    CHECK(host.notes == Notes{MSG_XFERREADY, MSG_CLOSEDSREQ});
    CHECK(host.disable() == TWRC_SUCCESS);
    CHECK(!IsWindow(window));
}

TEST_CASE("a window that can't be shown or left away is told") {
    VirtualHost without(Keys{{"Window", "0"}});
    without.open();
    CHECK(without.enable(true) == TWRC_CHECKSTATUS);
    CHECK(without.scanner.state() == 6);
    VirtualHost always(Keys{{"UIControllable", "0"}});
    always.open();
    CHECK(always.ask(CAP_UICONTROLLABLE) == "one BOOL 0");
    CHECK(always.enable(false) == TWRC_CHECKSTATUS);
    CHECK(always.scanner.window() != nullptr);
}
