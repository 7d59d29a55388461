// The virtual scanner's states: opening and enabling, the feeder, faults on demand.
#include "virtual_host.h"

namespace {

// A whole batch: what enabling answered, then of each page its number, what its strips gave and the count of
// pages left; at last whether paper is loaded, before and after disabling.
std::string batchText(VirtualHost& host) {
    std::string text = host.answer("enable");
    while (host.scanner.state() == 6) {
        text += ", " + host.answer("page");
        std::string result = "success";
        for (; result == "success"; text += " " + result)
            result = host.answer("strip");
        text += " " + host.answer("end");
    }
    text += "; " + host.answer("CAP_FEEDERLOADED").substr(9);
    host.answer("disable");
    return text + host.answer("CAP_FEEDERLOADED").substr(9);
}

}  // namespace

TEST_CASE("opening fails as asked, the window comes as it can, and giving up leaves the rest in the feeder") {
    const Story stories[] = {{"OpenFault=offline", "open: failure 23", 3},
                             {"OpenFault=busy", "open: failure 4", 3},
                             {"Page=missing.bmp", "open: failure 5", 3},
                             {"", "open: failure 4"},  // it takes one host only
                             {"Window=0", "show: check; state: 6"},
                             {"UIControllable=0", "enable: check; state: 5"},
                             {"Pages=0 EmptyFeeder=close", "enable: success; notes: close "},
                             // In the middle of page 1, then before page 2.
                             {"Pages=2 Resolution=50",
                              "reset: 0; state: 5; disable: success; enable: success; page: 2; reset: 0; "
                              "state: 5; disable: success; enable: success; page: 2; disable: success",
                              7}};
    checkStories(stories);
}

TEST_CASE("answers are slow as asked; the identity keeps the manager's number") {
    VirtualHost host("Delay=40 Protocol=1.6");
    const DWORD start = GetTickCount();
    host.check("ICAP_UNITS: one UINT16 0");
    CHECK(GetTickCount() - start >= 30);
    TW_IDENTITY identity{};
    identity.Id = 77;
    CHECK(host.control(DAT_IDENTITY, MSG_GET, &identity) == "success");
    CHECK(identity.Id == 77);
    CHECK(identity.ProtocolMinor == 6);
}

TEST_CASE("the feeder gives its pages, faults come where they were asked for, and what is left is told") {
    const struct {
        const char *settings, *batch, *capability = nullptr;  // to set first
    } rows[] = {{"Pages=3", "success, 1 done 2, 2 done 1, 3 done 0; 01"},
                {"Pages=3 Feeder=off", "success, 1 done 0; 11"},
                {"Pages=1 Refill=0", "success, 1 done 0; 00"},
                {"Pages=3", "success, 1 done 1, 2 done 0; 11", "CAP_XFERCOUNT 2"},
                {"Pages=3", "success, 1 done 0; 11", "CAP_XFERCOUNT 1"},
                {"Pages=3", "success, 1 done 0; 11", "CAP_AUTOFEED 0"},
                {"Pages=2", "success, 2 done 0; 01", "CAP_CLEARPAGE 1"},
                {"Pages=2", "success, 1 done 1, 2 done 0; 01", "CAP_CLEARPAGE 0"},
                {"Pages=2 UnknownPendingCount=1", "success, 1 done 65535, 2 done 0; 01"},
                {"Pages=1 PendingCountError=1", "success, 1 done 1, 2 failure 5 0; 01"},
                {"Pages=2 PendingCountError=-1", "success, 1 done 0; 11"},
                {"Pages=2 JamAtPage=1", "success, 1 failure 20 1, 2 done 0; 01"},
                {"Pages=2 CancelAtPage=1", "success, 1 cancel 0; 11"},
                {"FailAtPage=1 FailConditionCode=0", "success, 1 failure 0 0; 01"},
                {"JamAtPage=1 StripRows=20 FaultAfterStrip=1", "success, 1 success failure 20 0; 01"},
                {"StripRows=20 FaultAfterStrip=2", "success, 1 success success done 0; 01"},
                {"Pages=0", "failure 5; 00"},
                {"Pages=0 EmptyFeeder=cancel", "success, 1 cancel 0; 00"},
                {"Pages=0 EmptyFeeder=close", "success; 00"}};
    for (const auto& row : rows) {
        CAPTURE(row.settings);
        VirtualHost host(std::string("Paper=1x1 Resolution=50 PixelType=Gray ") + row.settings);
        if (row.capability) host.check(std::string(row.capability) + ": success");
        CHECK(batchText(host) == row.batch);
    }
}
