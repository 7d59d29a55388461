// The negotiation that all capabilities go through, and the tone ranges that are read when a source opens.
#include <doctest.h>

#include <algorithm>
#include <cstring>

#include "Stage.h"

namespace {

const std::string recording = "Especially processing MSG_SET/ICAP_XFERMECH in TScanModule::CapNegotiate";

bool wasRecorded(const Stage& stage) {
    const Lines traces = stage.viewer.traces();
    return std::count(traces.begin(), traces.end(), recording) == 1;
}

// Which one-shot routine runs tells the mechanism that the module has recorded.
std::string recordedMechanism(Stage& stage) {
    stage.viewer.forget();
    stage.host.onGetFileName = [](char* path) { std::strcpy(path, "C:\\windows\\temp\\no-page.bmp"); };
    stage.deliver(MSG_XFERREADY);
    for (const std::string& text : stage.viewer.traces()) {
        for (const char* route : {"Native", "File", "Mem"}) {
            if (text == std::string("Coming TScanModule::PrestoScanDo") + route + "Xfer") return route;
        }
    }
    return "none";
}

// A host negotiates with a container of its own.
int setMechanism(Stage& stage, const ContainerImage& image) {
    TW_CAPABILITY capability = {ICAP_XFERMECH, image.conType, image.allocate()};
    const int result = stage.module.CapNegotiate(MSG_SET, &capability);
    GlobalFree(capability.hContainer);
    return result;
}

}  // namespace

TEST_CASE("a host's negotiation goes to the source as it is, and its return code comes back") {
    Stage stage;
    stage.open();
    TW_CAPABILITY capability = {ICAP_UNITS, TWON_DONTCARE16, nullptr};
    for (TW_UINT16 code : {TWRC_SUCCESS, TWRC_FAILURE, TWRC_CHECKSTATUS}) {
        for (TW_UINT16 message : {MSG_GET, MSG_GETCURRENT, MSG_GETDEFAULT, MSG_RESET}) {
            stage.forget();
            stage.manager.answer(operation::capability(message, ICAP_UNITS), returnCode(code));
            CHECK(stage.module.CapNegotiate(message, &capability) == code);
            CHECK(stage.manager.calls().size() == 1);
            CHECK(stage.viewer.warnings() == Lines{});
        }
    }
}

TEST_CASE("a host's negotiation needs no open source, only a manager") {
    TW_CAPABILITY capability = {ICAP_UNITS, TWON_DONTCARE16, nullptr};
    SUBCASE("state 2") {
        Stage stage;
        CHECK(stage.module.CapNegotiate(MSG_GET, &capability) == TWRC_FAILURE);
        CHECK(stage.manager.calls() == Lines{"GET ICAP_UNITS"});
    }
    SUBCASE("no manager") {
        const ManagerFile missing(ManagerFile::Kind::Missing);
        Stage stage;
        stage.forget();
        CHECK(stage.module.CapNegotiate(MSG_GET, &capability) == TWRC_FAILURE);
        CHECK(stage.viewer.warnings() == Lines{"LoadLibrary fails in TScanModule::LoadTWAIN",
                                               "TWAIN is not available in TScanModule::CapNegotiate"});
    }
}

TEST_CASE("the mechanism is recorded from the container of a successful set") {
    struct Row {
        std::string name;
        ContainerImage image;
        const char* mechanism;
    };
    const Row rows[] = {
        {"one value native", oneValue(TWTY_UINT16, TWSX_NATIVE), "Native"},
        {"one value file", oneValue(TWTY_UINT16, TWSX_FILE), "File"},
        {"one value memory", oneValue(TWTY_UINT16, TWSX_MEMORY), "Mem"},
        {"an unknown value", oneValue(TWTY_UINT16, 77), "Mem"},
        {"the current item of a list", enumeration(TWTY_UINT16, {2, 0, 1}, 1), "Native"},
        {"the last item of a list", enumeration(TWTY_UINT16, {2, 0, 1}, 2), "File"},
        {"any other container", range(TWTY_UINT16, {0, 0, 0, 0, 0}), "Mem"},
    };
    for (const Row& row : rows) {
        CAPTURE(row.name);
        Stage stage;
        REQUIRE(stage.module.PrestoScan(stage.host.window(), nullptr, nullptr) == 1);
        // Starts from something else than what is expected.
        const bool expectsFile = std::string(row.mechanism) == "File";
        setMechanism(stage, oneValue(TWTY_UINT16, expectsFile ? TWSX_NATIVE : TWSX_FILE));
        stage.forget();
        CHECK(setMechanism(stage, row.image) == TWRC_SUCCESS);
        CHECK(wasRecorded(stage));
        CHECK(recordedMechanism(stage) == row.mechanism);
    }
}

TEST_CASE("a refused set, a get or another capability records nothing") {
    Stage stage;
    REQUIRE(stage.module.PrestoScan(stage.host.window(), nullptr, nullptr) == 1);
    setMechanism(stage, oneValue(TWTY_UINT16, TWSX_FILE));
    stage.forget();
    SUBCASE("refused") {
        stage.manager.answer(operation::set(ICAP_XFERMECH), failWith(TWCC_BADVALUE));
        CHECK(setMechanism(stage, oneValue(TWTY_UINT16, TWSX_NATIVE)) == TWRC_FAILURE);
    }
    SUBCASE("a return code that is neither") {
        stage.manager.answer(operation::set(ICAP_XFERMECH), returnCode(TWRC_CHECKSTATUS));
        CHECK(setMechanism(stage, oneValue(TWTY_UINT16, TWSX_NATIVE)) == TWRC_CHECKSTATUS);
    }
    SUBCASE("a get") {
        stage.manager.answer(operation::getCurrent(ICAP_XFERMECH), give(oneValue(TWTY_UINT16, TWSX_NATIVE)));
        unsigned short mechanism = 0;
        CHECK(stage.module.GetXferMech(&mechanism) == 0);
    }
    SUBCASE("another capability") {
        CHECK(stage.module.SetPixelType(SM_PIXEL_BW) == 0);
    }
    CHECK_FALSE(wasRecorded(stage));
    CHECK(recordedMechanism(stage) == "File");
}

namespace {

struct Tone {
    TW_UINT16 capability;
    std::string words;
    int (*set)(Module&, short value, short min, short max);
};

const Tone tones[] = {
    {ICAP_BRIGHTNESS, "Brightness",
     [](Module& m, short value, short min, short max) { return m.SetBrightness(value, min, max); }},
    {ICAP_CONTRAST, "Contrast",
     [](Module& m, short value, short min, short max) { return m.SetContrast(value, min, max); }},
    {ICAP_HIGHLIGHT, "Highlight",
     [](Module& m, short value, short min, short max) { return m.SetHighlight(value, min, max); }},
    {ICAP_SHADOW, "Shadow",
     [](Module& m, short value, short min, short max) { return m.SetShadow(value, min, max); }},
    {ICAP_THRESHOLD, "Threshold",
     [](Module& m, short value, short min, short max) { return m.SetThreshold(value, min, max); }},
};

// Negative numbers go with one 65536th too much. What the ends and the third of the host's scale 0 to 3 are
// sent as: shows minimum, maximum and step of the range that the module has stored.
Lines sentFor(Stage& stage, const Tone& tone) {
    stage.forget();
    for (short value : {0, 1, 3})
        CHECK(tone.set(stage.module, value, 0, 3) == 0);
    return stage.manager.calls();
}

Lines sent(const Tone& tone, const char* low, const char* third, const char* high) {
    const std::string start = "SET " + operation::capabilityName(tone.capability) + " one FIX32 ";
    return {start + low, start + third, start + high};
}

}  // namespace

TEST_CASE("the source's tone ranges") {
    for (const Tone& tone : tones) {
        CAPTURE(tone.words);
        const std::string method = std::string(" in TScanModule::GetDS") + tone.words + "Range";
        struct Row {
            std::string name;
            Answer first, second;  // MSG_GET, MSG_GETCURRENT
            Lines warnings;
            const char *low, *third, *high;
        };
        const std::string refusal = "CapNegotiate returns failure" + method;
        const std::string badContainer = "Invalid container type" + method;
        const std::string words = tone.words;
        const std::string empty = "MinDS" + words + "Range == MaxDS" + words + "Range" + method;
        const std::string noStep = words + "StepSize == 0" + method;
        const Answer no = failWith(TWCC_BADCAP);
        const Row rows[] = {
            {"a range", give(fix32Range(-100, 200, 1, 0)), no, {}, "-100+1/65536", "0", "200"},
            {"coarse steps", give(fix32Range(0, 100, 20, 0)), no, {}, "0", "40", "100"},
            {"fractions", give(fix32Range(0, 1.5, 0.25, 0)), no, {}, "0", "0+32768/65536", "1+32768/65536"},
            {"whatever the items are called",
             give(range(TWTY_INT32, {fix32(0), fix32(30), fix32(1), 0, 0})),
             no,
             {},
             "0",
             "10",
             "30"},
            {"a list",
             give(enumeration(TWTY_FIX32, {fix32(50), fix32(-50), fix32(100), fix32(0)})),
             no,
             {},
             "-50+1/65536",
             "0",
             "100"},
            {"one value",
             give(oneValue(TWTY_FIX32, fix32(7))),
             no,
             {},
             "-1000+1/65536",
             "-333+1/65536",
             "1000"},
            {"the second message",
             no,
             give(fix32Range(-3, 3, 1, 0)),
             {refusal},
             "-3+1/65536",
             "-1+1/65536",
             "3"},
            {"an array, then a range",
             give(array(TWTY_FIX32, {1})),
             give(fix32Range(0, 3, 1, 0)),
             {badContainer},
             "0",
             "1",
             "3"},
            {"an array twice",
             give(array(TWTY_FIX32, {1})),
             give(array(TWTY_FIX32, {1})),
             {badContainer, badContainer},
             "-1000+1/65536",
             "-333+1/65536",
             "1000"},
            {"no answer", no, no, {refusal, refusal}, "-1000+1/65536", "-333+1/65536", "1000"},
            {"no step", give(fix32Range(0, 3, 0, 0)), no, {noStep}, "0", "1", "3"},
            {"an empty range",
             give(fix32Range(5, 5, 1, 5)),
             no,
             {empty},
             "-1000+1/65536",
             "-333+1/65536",
             "1000"},
            {"an empty range without a step",
             give(fix32Range(5, 5, 0, 5)),
             no,
             {empty, noStep},
             "-1000+1/65536",
             "-333+1/65536",
             "1000"},
            {"a list of one",
             give(enumeration(TWTY_FIX32, {fix32(4)})),
             no,
             {empty},
             "-1000+1/65536",
             "-333+1/65536",
             "1000"},
        };
        for (const Row& row : rows) {
            CAPTURE(row.name);
            Stage stage;
            stage.manager.answer(operation::get(tone.capability), row.first);
            stage.manager.answer(operation::getCurrent(tone.capability), row.second);
            stage.viewer.forget();
            CHECK(stage.module.OpenDS(stage.host.window(), nullptr) == 0);
            Lines warnings;
            for (const std::string& text : stage.viewer.warnings()) {
                if (text.size() > method.size() && text.substr(text.size() - method.size()) == method)
                    warnings.push_back(text);
            }
            CHECK(warnings == row.warnings);
            CHECK(stage.windows.memoryComplaints() == Lines{});
            CHECK(sentFor(stage, tone) == sent(tone, row.low, row.third, row.high));
        }
    }
}

TEST_CASE("an empty brightness range is no reason to refuse the source, whatever the code") {
    Stage stage;
    stage.manager.answer(operation::get(ICAP_BRIGHTNESS), give(fix32Range(5, 5, 1, 5)));
    CHECK(stage.module.OpenDS(stage.host.window(), nullptr) == 0);
}

TEST_CASE("the ranges are asked anew for each source") {
    Stage stage;
    stage.manager.answer(operation::get(ICAP_CONTRAST), give(fix32Range(0, 30, 1, 0)));
    stage.open();
    CHECK(sentFor(stage, tones[1]) == sent(tones[1], "0", "10", "30"));
    CHECK(stage.module.CloseDS() == 0);
    stage.manager.answer(operation::get(ICAP_CONTRAST), failWith(TWCC_BADCAP));
    stage.open();
    CHECK(sentFor(stage, tones[1]) == sent(tones[1], "-1000+1/65536", "-333+1/65536", "1000"));
}
