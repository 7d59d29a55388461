// The negotiation that all capabilities go through, and the tone ranges that are read when a source opens.
#include <doctest.h>

#include <cstring>

#include "Stage.h"

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
int setMechanism(Stage& stage, const ContainerImage& image, TW_UINT16 capability = ICAP_XFERMECH) {
    TW_CAPABILITY request = {capability, image.conType, image.allocate()};
    const int result = stage.module.CapNegotiate(MSG_SET, &request);
    GlobalFree(request.hContainer);
    return result;
}

}  // namespace

TEST_CASE("a host's negotiation goes to the source as it is, its return code comes back, in every state") {
    TW_CAPABILITY capability = {ICAP_UNITS, TWON_DONTCARE16, nullptr};
    Stage stage;
    stage.forget();
    CHECK(stage.module.CapNegotiate(MSG_GET, &capability) == TWRC_FAILURE);
    CHECK(stage.takeRecord() == Lines{"GET ICAP_UNITS"});
    stage.open();
    for (TW_UINT16 code : {TWRC_SUCCESS, TWRC_FAILURE, TWRC_CHECKSTATUS}) {
        for (TW_UINT16 message : {MSG_GET, MSG_GETDEFAULT, MSG_RESET}) {
            stage.manager.answer(operation::capability(message, ICAP_UNITS), returnCode(code));
            CHECK(stage.module.CapNegotiate(message, &capability) == code);
            CHECK(stage.takeRecord().size() == 1);
        }
    }
}

TEST_CASE("a host's negotiation needs a manager") {
    const ManagerFile missing(ManagerFile::Kind::Missing);
    TW_CAPABILITY capability = {ICAP_UNITS, TWON_DONTCARE16, nullptr};
    Stage stage;
    stage.forget();
    CHECK(stage.module.CapNegotiate(MSG_GET, &capability) == TWRC_FAILURE);
    CHECK(stage.takeRecord() == withoutManager("CapNegotiate"));
}

TEST_CASE("the mechanism is recorded from the container of a successful set") {
    const ContainerImage native = oneValue(TWTY_UINT16, TWSX_NATIVE);
    struct Row {
        ContainerImage image;
        const char* mechanism;
        TW_UINT16 code = TWRC_SUCCESS;
        TW_UINT16 capability = ICAP_XFERMECH;
    };
    const Row rows[] = {
        {native, "Native"},
        {oneValue(TWTY_UINT16, TWSX_MEMORY), "Mem"},
        {oneValue(TWTY_UINT16, 77), "Mem"},
        {enumeration(TWTY_UINT16, {2, 0, 1}, 1), "Native"},
        {range(TWTY_UINT16, {0, 0, 0, 0, 0}), "Mem"},
        // Nothing is recorded; the mechanism is the one of before.
        {native, "File", TWRC_FAILURE},
        {native, "File", TWRC_CHECKSTATUS},
        {native, "File", TWRC_SUCCESS, ICAP_PIXELTYPE},
    };
    for (const Row& row : rows) {
        CAPTURE(row.mechanism);
        Stage stage;
        REQUIRE(stage.module.PrestoScan(stage.host.window(), nullptr, nullptr) == 1);
        setMechanism(stage, oneValue(TWTY_UINT16, TWSX_FILE));
        stage.forget();
        stage.manager.answer(operation::set(row.capability), returnCode(row.code));
        CHECK(setMechanism(stage, row.image, row.capability) == row.code);
        const std::string line = "Especially processing MSG_SET/ICAP_XFERMECH in TScanModule::CapNegotiate";
        CHECK(stage.viewer.traces().with(line).size() == (row.mechanism == std::string("File") ? 0 : 1));
        CHECK(recordedMechanism(stage) == row.mechanism);
    }
}

namespace {

struct Tone {
    TW_UINT16 capability;
    std::string words;
    decltype(Module::SetBrightness) Module::*set;
};

const Tone tones[] = {
    {ICAP_BRIGHTNESS, "Brightness", &Module::SetBrightness},
    {ICAP_CONTRAST, "Contrast", &Module::SetContrast},
    {ICAP_HIGHLIGHT, "Highlight", &Module::SetHighlight},
    {ICAP_SHADOW, "Shadow", &Module::SetShadow},
    {ICAP_THRESHOLD, "Threshold", &Module::SetThreshold},
};

// What the ends and the third of the host's scale 0 to 3 are sent as: shows minimum, maximum and step of the
// range that the module has stored. Negative numbers go with one 65536th too much.
std::string sentFor(Stage& stage, const Tone& tone) {
    std::string sent;
    stage.forget();
    for (short value : {0, 1, 3})
        CHECK((stage.module.*tone.set)(value, 0, 3) == 0);
    const std::string start = "SET " + operation::capabilityName(tone.capability) + " one FIX32 ";
    for (const std::string& call : stage.manager.calls())
        sent += " " + call.substr(call.find(start) == 0 ? start.size() : 0);
    return sent;
}

}  // namespace

TEST_CASE("the source's tone ranges, asked anew for each source") {
    const Answer no = failWith(TWCC_BADCAP);
    const Answer bad = give(array(TWTY_FIX32, {1}));
    const char* const standIn = " -1000+1/65536 -333+1/65536 1000";
    // Warnings: r of a refusal, b of a bad container, e of an empty range, s of a missing step.
    struct Row {
        Answer first, second;  // MSG_GET, MSG_GETCURRENT
        const char* sent;
        const char* warnings;
    };
    const Row rows[] = {
        {give(fix32Range(-100, 200, 1, 0)), no, " -100+1/65536 0 200", ""},
        {give(fix32Range(0, 100, 20, 0)), no, " 0 40 100", ""},
        {give(range(TWTY_INT32, {fix32(0), fix32(30), fix32(1), 0, 0})), no, " 0 10 30", ""},
        {give(enumeration(TWTY_FIX32, {fix32(50), fix32(-50), fix32(100)})), no, " -50+1/65536 0 100", ""},
        {give(oneValue(TWTY_FIX32, fix32(7))), no, standIn, ""},
        {no, give(fix32Range(-3, 3, 1, 0)), " -3+1/65536 -1+1/65536 3", "r"},
        {bad, give(fix32Range(0, 3, 1, 0)), " 0 1 3", "b"},
        {bad, bad, standIn, "bb"},
        {no, no, standIn, "rr"},
        {give(fix32Range(0, 3, 0, 0)), no, " 0 1 3", "s"},
        {give(fix32Range(5, 5, 1, 5)), no, standIn, "e"},
        {give(fix32Range(5, 5, 0, 5)), no, standIn, "es"},
        {give(enumeration(TWTY_FIX32, {fix32(4)})), no, standIn, "e"},
    };
    for (const Tone& tone : tones) {
        CAPTURE(tone.words);
        const std::string in = " in TScanModule::GetDS" + tone.words + "Range";
        const std::map<char, std::string> words = {
            {'r', "CapNegotiate returns failure"},
            {'b', "Invalid container type"},
            {'e', "MinDS" + tone.words + "Range == MaxDS" + tone.words + "Range"},
            {'s', tone.words + "StepSize == 0"},
        };
        Stage stage;
        for (const Row& row : rows) {
            stage.manager.answer(operation::get(tone.capability), row.first);
            stage.manager.answer(operation::getCurrent(tone.capability), row.second);
            stage.viewer.forget();
            CHECK(stage.module.OpenDS(stage.host.window(), nullptr) == 0);
            Lines warnings;
            for (const char* letter = row.warnings; *letter != '\0'; ++letter)
                warnings.push_back(words.at(*letter) + in);
            CHECK(stage.viewer.warnings().with(in) == warnings);
            CHECK(stage.windows.memoryComplaints() == Lines{});
            CHECK(sentFor(stage, tone) == row.sent);
            CHECK(stage.module.CloseDS() == 0);
        }
    }
}
