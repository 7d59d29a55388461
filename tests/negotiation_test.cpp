// The negotiation that all capabilities go through, as a host may use it itself, and the mechanism that the
// module records on the way.
#include <cstring>

#include "CallRecord.h"

namespace {

// The one-shot routine that runs tells the mechanism that the module has recorded.
std::string recordedMechanism(Stage& stage) {
    stage.viewer.forget();
    stage.host.onGetFileName = [](char* path) { std::strcpy(path, "C:\\windows\\temp\\no-page.bmp"); };
    stage.deliver(MSG_XFERREADY);
    for (const char* route : {"Native", "File", "Mem"})
        if (!stage.viewer.traces().with("Coming TScanModule::PrestoScanDo" + std::string(route)).empty())
            return route;
    return "none";
}

// A host negotiates with a container of its own.
int negotiate(Stage& stage, TW_UINT16 message, TW_UINT16 capability, const ContainerImage& image) {
    TW_CAPABILITY request = {capability, image.conType, image.allocate()};
    const int result = stage.module.CapNegotiate(message, &request);
    GlobalFree(request.hContainer);
    return result;
}

}  // namespace

TEST_CASE("a host's negotiation goes to the source as it is, its return code comes back, in every state") {
    Stages stages;
    for (const int state : {2, 4, 5, 1}) {
        for (const TW_UINT16 message : {MSG_GET, MSG_GETDEFAULT, MSG_SET, MSG_RESET}) {
            for (const TW_UINT16 code : {TWRC_SUCCESS, TWRC_FAILURE, TWRC_CHECKSTATUS}) {
                Stage& stage = stages.in(state);
                const Operation operation = operation::capability(message, ICAP_UNITS);
                stage.manager.answer(operation, returnCode(code));
                TW_CAPABILITY capability = {ICAP_UNITS, TWON_DONTCARE16, nullptr};
                const auto call = [&] { return resultText(stage.module.CapNegotiate(message, &capability)); };
                const std::string record =
                    operation::text(operation, &capability) + "; result " + std::to_string(code);
                const char* const missing =
                    "! LoadLibrary fails in TScanModule::LoadTWAIN; ! TWAIN is not available in @; result 1";
                checkCall(stage, state == 1 ? missing : record, "CapNegotiate", call);
            }
        }
    }
}

TEST_CASE("the mechanism is recorded from the container of a successful set") {
    const ContainerImage native = oneValue(TWTY_UINT16, TWSX_NATIVE);
    const struct {
        ContainerImage image;
        std::string mechanism;
        TW_UINT16 code = TWRC_SUCCESS;
        TW_UINT16 capability = ICAP_XFERMECH;
        TW_UINT16 message = MSG_SET;
    } rows[] = {
        {native, "Native"},
        {oneValue(TWTY_UINT16, TWSX_MEMORY), "Mem"},
        {oneValue(TWTY_UINT16, 77), "Mem"},
        {enumeration(TWTY_UINT16, {2, 0, 1}, 1), "Native"},
        {range(TWTY_UINT16, {0, 0, 0, 0, 0}), "Mem"},
        // Nothing is recorded; the mechanism is the one of before.
        {native, "File", TWRC_FAILURE},
        {native, "File", TWRC_CHECKSTATUS},
        {native, "File", TWRC_SUCCESS, ICAP_PIXELTYPE},
        {native, "File", TWRC_SUCCESS, ICAP_XFERMECH, MSG_GETCURRENT},
        {native, "File", TWRC_SUCCESS, ICAP_XFERMECH, MSG_RESET},
    };
    for (const auto& row : rows) {
        CAPTURE(row.mechanism);
        Stage stage;
        REQUIRE(stage.module.PrestoScan(stage.host.window(), nullptr, nullptr) == 1);
        negotiate(stage, MSG_SET, ICAP_XFERMECH, oneValue(TWTY_UINT16, TWSX_FILE));
        stage.forget();
        stage.manager.answer(operation::capability(row.message, row.capability), returnCode(row.code));
        CHECK(negotiate(stage, row.message, row.capability, row.image) == row.code);
        const std::string line = "Especially processing MSG_SET/ICAP_XFERMECH in TScanModule::CapNegotiate";
        CHECK(stage.viewer.traces().with(line).size() == (row.mechanism == "File" ? 0 : 1));
        CHECK(recordedMechanism(stage) == row.mechanism);
    }
}
