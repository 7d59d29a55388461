// The negotiation that all capabilities go through, as a host may use it itself, and the mechanism that the
// module records on the way.
#include <cstring>

#include "CallRecord.h"

namespace {

// A host negotiates with a container of its own.
int negotiate(Stage& stage, TW_UINT16 message, TW_UINT16 capability, const std::string& container) {
    const ContainerImage image = containerOf(container);
    TW_CAPABILITY request = {capability, image.conType, image.allocate()};
    const int result = stage.module.CapNegotiate(message, &request);
    GlobalFree(request.hContainer);
    return result;
}

}  // namespace

TEST_CASE("a host's negotiation goes to the source as it is, its return code comes back, in every state") {
    const std::pair<TW_UINT16, std::string> requests[] = {
        {MSG_GET, "GET ICAP_UNITS"},
        {MSG_GETDEFAULT, "GETDEFAULT ICAP_UNITS"},
        {MSG_SET, "SET ICAP_UNITS no container"},
        {MSG_RESET, "RESET ICAP_UNITS"},
    };
    Stages stages;
    for (const int state : {2, 4, 5}) {
        for (const auto& [message, asked] : requests) {
            const auto call = [message = message](Module& module) {
                TW_CAPABILITY request = {ICAP_UNITS, TWON_DONTCARE16, nullptr};
                return resultText(module.CapNegotiate(message, &request));
            };
            for (const std::string outcome : {"nothing; result 0", "fail 6; result 1", "check; result 2"})
                checkCall(stages.in(state), "CapNegotiate", call, asked + " -> " + outcome);
        }
    }
    const std::string missing =
        "! LoadLibrary fails in TScanModule::LoadTWAIN; ! TWAIN is not available in @; ";
    checkCall(stages.in(1), "CapNegotiate 1", missing + "result 1; value before");
}

TEST_CASE("the mechanism is recorded from the container of a successful set") {
    const struct {
        std::string container, mechanism;
        TW_UINT16 code = TWRC_SUCCESS;
        TW_UINT16 capability = ICAP_XFERMECH;
        TW_UINT16 message = MSG_SET;
    } rows[] = {
        {"one UINT16 0", "Native"},
        {"one UINT16 2", "Mem"},
        {"one UINT16 77", "Mem"},
        {"enum UINT16 [2 0 1] current 1", "Native"},
        {"range UINT16 0 0 0 0 0", "Mem"},
        // Nothing is recorded; the mechanism is the one of before.
        {"one UINT16 0", "File", TWRC_FAILURE},
        {"one UINT16 0", "File", TWRC_CHECKSTATUS},
        {"one UINT16 0", "File", TWRC_SUCCESS, ICAP_PIXELTYPE},
        {"one UINT16 0", "File", TWRC_SUCCESS, ICAP_XFERMECH, MSG_GETCURRENT},
        {"one UINT16 0", "File", TWRC_SUCCESS, ICAP_XFERMECH, MSG_RESET},
    };
    for (const auto& row : rows) {
        CAPTURE(row.mechanism);
        Stage stage;
        REQUIRE(stage.module.PrestoScan(stage.host.window(), nullptr, nullptr) == 1);
        negotiate(stage, MSG_SET, ICAP_XFERMECH, "one UINT16 1");
        stage.forget();
        stage.manager.answer(operation::capability(row.message, row.capability), returnCode(row.code));
        CHECK(negotiate(stage, row.message, row.capability, row.container) == row.code);
        const std::string line = "Especially processing MSG_SET/ICAP_XFERMECH in TScanModule::CapNegotiate";
        CHECK(stage.viewer.traces().with(line).size() == (row.mechanism == "File" ? 0 : 1));
        // The one-shot routine that runs tells the mechanism that the module has recorded.
        stage.host.onGetFileName = [](char* path) { std::strcpy(path, "C:\\windows\\temp\\no-page.bmp"); };
        stage.deliver(MSG_XFERREADY);
        const std::string routine = "Coming TScanModule::PrestoScanDo";
        CHECK(stage.viewer.traces().with(routine) == Lines{routine + row.mechanism + "Xfer"});
    }
}
