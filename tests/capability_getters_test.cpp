// Every getter of a capability over what a source may answer: each container, refusals, nonsense. One row per
// getter.
#include <doctest.h>

#include <algorithm>
#include <cstring>
#include <functional>

#include "Stage.h"

namespace {

constexpr int untouched = 777;

using Reader = std::function<int(Module&, int& output)>;

template <class Type>
Reader reader(int (WINAPI* Module::*function)(Type*)) {
    return [function](Module& module, int& output) {
        auto value = static_cast<Type>(untouched);
        const int result = (module.*function)(&value);
        output = value;
        return result;
    };
}

struct Sample {
    TW_UINT32 source;
    int host;
};

enum class Kinds { OneValue, OneValueAndList };
enum class StateCheck { SourceOpen, None };

struct GetterRow {
    std::string method;
    Reader read;
    TW_UINT16 capability;
    TW_UINT16 itemType;
    Kinds kinds;
    std::vector<Sample> samples;
    std::optional<int> afterFailure = {};  // when the getter promises one
    StateCheck stateCheck = StateCheck::SourceOpen;
};

const std::vector<GetterRow> getters = {
    {"IsADFPaperLoaded",
     reader(&Module::IsADFPaperLoaded),
     CAP_FEEDERLOADED,
     TWTY_BOOL,
     Kinds::OneValue,
     {{0, 0}, {1, 1}}},
    {"IsADFPaperLoaded",
     reader(&Module::IsPaperLoaded),
     CAP_FEEDERLOADED,
     TWTY_BOOL,
     Kinds::OneValue,
     {{0, 0}, {1, 1}}},
    {"GetADFEnable",
     reader(&Module::GetADFEnable),
     CAP_FEEDERENABLED,
     TWTY_BOOL,
     Kinds::OneValue,
     {{0, 0}, {1, 1}}},
    {"GetUnit",
     reader(&Module::GetUnit),
     ICAP_UNITS,
     TWTY_UINT16,
     Kinds::OneValueAndList,
     {{0, 1}, {1, 2}, {2, 4}, {3, 8}, {4, 16}, {5, 32}, {6, 1}, {0x100, 1}},
     1},
    {"GetPixelFlavor",
     reader(&Module::GetPixelFlavor),
     ICAP_PIXELFLAVOR,
     TWTY_UINT16,
     Kinds::OneValueAndList,
     {{0, 0}, {1, 1}}},
    {"GetPixelType",
     reader(&Module::GetPixelType),
     ICAP_PIXELTYPE,
     TWTY_UINT16,
     Kinds::OneValueAndList,
     {{0, 1}, {1, 2}, {2, 4}, {3, 8}, {4, 16}, {5, 32}, {6, 64}, {7, 128}, {8, 256}, {9, 2}, {100, 2}}},
    {"GetPaperSize",
     reader(&Module::GetPaperSize),
     ICAP_SUPPORTEDSIZES,
     TWTY_UINT16,
     Kinds::OneValueAndList,
     {{0, 1}, {1, 2}, {2, 4}, {3, 8}, {4, 16}, {5, 32}, {6, 64}, {7, 128}, {8, 256}, {9, 1}, {100, 1}}},
    {"GetXferMech",
     reader(&Module::GetXferMech),
     ICAP_XFERMECH,
     TWTY_UINT16,
     Kinds::OneValueAndList,
     {{0, 1}, {1, 2}, {2, 4}, {3, 4}}},
    {"GetXferCount",
     reader(&Module::GetXferCount),
     CAP_XFERCOUNT,
     TWTY_INT16,
     Kinds::OneValueAndList,
     {{0xffff, -1}, {1, 1}, {250, 250}}},
    {"GetKvUnSharpMask",
     reader(&Module::GetKvUnSharpMask),
     0x800e,
     TWTY_BOOL,
     Kinds::OneValueAndList,
     {{0, 0}, {1, 1}}},
    {"GetClearPage",
     reader(&Module::GetClearPage),
     CAP_CLEARPAGE,
     TWTY_BOOL,
     Kinds::OneValueAndList,
     {{0, 0}, {1, 1}}},
    {"GetPIMFlag", reader(&Module::GetPIMFlag), 0x8010, TWTY_BOOL, Kinds::OneValueAndList, {{0, 0}, {1, 1}}},
    {"GetKvUIMode",
     reader(&Module::GetKvUIMode),
     0x800f,
     TWTY_UINT16,
     Kinds::OneValueAndList,
     {{0, 0}, {1, 1}, {2, 0}, {3, 2}, {4, 0}},
     0},
    {"GetKvLUT1",
     reader(&Module::GetKvLUT1),
     0x8007,
     TWTY_UINT16,
     Kinds::OneValueAndList,
     {{0, 0}, {1, 1}, {2, 2}, {9, 9}}},
    {"GetKvLUT2",
     reader(&Module::GetKvLUT2),
     0x8008,
     TWTY_UINT16,
     Kinds::OneValueAndList,
     {{0, 0}, {2, 2}, {9, 9}},
     {},
     StateCheck::None},
    {"GetKvCC",
     reader(&Module::GetKvCC),
     0x8009,
     TWTY_UINT16,
     Kinds::OneValueAndList,
     {{0, 0}, {2, 2}, {9, 9}}},
};

std::string asking(const char* message, TW_UINT16 capability) {
    return std::string(message) + " " + operation::capabilityName(capability);
}

std::string in(const std::string& method) {
    return std::string(" in TScanModule::") + method;
}

// Opens, reads, and checks what every call has in common.
struct Reading {
    int result = 0;
    int output = 0;
    Lines calls;
    Lines warnings;
};

Reading readFrom(const GetterRow& row, const Answer& current, const Answer& get, int state = 4) {
    Stage stage;
    stage.bringTo(state);
    stage.manager.answer(operation::getCurrent(row.capability), current);
    stage.manager.answer(operation::get(row.capability), get);
    Reading reading;
    reading.result = row.read(stage.module, reading.output);
    reading.calls = stage.manager.calls();
    reading.warnings = stage.viewer.warnings();
    CHECK(stage.windows.memoryComplaints() == Lines{});
    return reading;
}

ContainerImage currentOfThree(TW_UINT16 type, TW_UINT32 item) {
    return enumeration(type, {90, 91, item}, 2, 1);
}

}  // namespace

TEST_CASE("a getter gives what the first message says") {
    for (const GetterRow& row : getters) {
        CAPTURE(row.method);
        for (const Sample& sample : row.samples) {
            CAPTURE(sample.source);
            std::vector<ContainerImage> images = {oneValue(row.itemType, sample.source)};
            if (row.kinds == Kinds::OneValueAndList)
                images.push_back(currentOfThree(row.itemType, sample.source));
            for (const ContainerImage& image : images) {
                CAPTURE(image.conType);
                const Reading reading = readFrom(row, give(image), failWith(TWCC_BUMMER));
                CHECK(reading.result == 0);
                CHECK(reading.output == sample.host);
                CHECK(reading.calls == Lines{asking("GETCURRENT", row.capability)});
                CHECK(reading.warnings == Lines{});
            }
        }
    }
}

TEST_CASE("a getter asks a second time when the first message fails, also while the source is enabled") {
    for (const GetterRow& row : getters) {
        CAPTURE(row.method);
        const Sample& sample = row.samples.back();
        for (int state : {4, 5}) {
            const Reading reading =
                readFrom(row, failWith(TWCC_BADPROTOCOL), give(oneValue(row.itemType, sample.source)), state);
            CHECK(reading.result == 0);
            CHECK(reading.output == sample.host);
            CHECK(reading.calls ==
                  refused(asking("GETCURRENT", row.capability)) + Lines{asking("GET", row.capability)});
            CHECK(reading.warnings == Lines{"CapNegotiate returns failure" + in(row.method)});
        }
    }
}

TEST_CASE("a getter that both messages refuse gives the last condition code") {
    for (const GetterRow& row : getters) {
        CAPTURE(row.method);
        const Reading reading = readFrom(row, failWith(TWCC_BADPROTOCOL), failWith(TWCC_CAPUNSUPPORTED));
        CHECK(reading.result == TWCC_CAPUNSUPPORTED);
        if (row.afterFailure) CHECK(reading.output == *row.afterFailure);
        CHECK(reading.calls ==
              refused(asking("GETCURRENT", row.capability)) + refused(asking("GET", row.capability)));
        CHECK(reading.warnings == 2 * Lines{"CapNegotiate returns failure" + in(row.method)});
    }
}

TEST_CASE("containers that a getter can't read are freed, and the next message is tried") {
    for (const GetterRow& row : getters) {
        CAPTURE(row.method);
        const Sample& sample = row.samples.back();
        std::vector<ContainerImage> images = {
            array(row.itemType, {sample.source}),
            range(row.itemType, {0, 9, 1, 1, sample.source}),
            rawContainer(77, {1, 2, 3, 4, 5, 6}),
            withoutHandle(TWON_DONTCARE16),
        };
        if (row.kinds == Kinds::OneValue) images.push_back(currentOfThree(row.itemType, sample.source));
        for (const ContainerImage& image : images) {
            CAPTURE(image.conType);
            const Lines warning = {"Invalid container type" + in(row.method)};
            const Reading both = readFrom(row, give(image), give(image));
            CHECK(both.result == 10);
            if (row.afterFailure) CHECK(both.output == *row.afterFailure);
            CHECK(both.calls == Lines{asking("GETCURRENT", row.capability), asking("GET", row.capability)});
            CHECK(both.warnings == 2 * warning);

            const Reading second = readFrom(row, give(image), give(oneValue(row.itemType, sample.source)));
            CHECK(second.result == 0);
            CHECK(second.output == sample.host);
            CHECK(second.warnings == warning);

            const Reading refusedThen = readFrom(row, give(image), failWith(TWCC_DENIED));
            CHECK(refusedThen.result == TWCC_DENIED);
        }
    }
}

TEST_CASE("a getter without an open source asks nothing and leaves its output alone") {
    for (const GetterRow& row : getters) {
        CAPTURE(row.method);
        const Reading reading = readFrom(row, failWith(TWCC_SEQERROR), failWith(TWCC_SEQERROR), 2);
        CHECK(reading.result == 11);
        if (row.stateCheck == StateCheck::SourceOpen) {
            CHECK(reading.output == untouched);
            CHECK(reading.calls == Lines{});
            CHECK(reading.warnings == Lines{"Sequence error" + in(row.method)});
        } else {
            CHECK(reading.calls.size() == 4);
            CHECK(reading.warnings == 2 * Lines{"CapNegotiate returns failure" + in(row.method)});
        }
    }
}

TEST_CASE("a getter without a manager says so and leaves its output alone") {
    const ManagerFile missing(ManagerFile::Kind::Missing);
    for (const GetterRow& row : getters) {
        CAPTURE(row.method);
        Stage stage;
        stage.forget();
        int output = 0;
        CHECK(row.read(stage.module, output) == -1);
        CHECK(output == untouched);
        CHECK(stage.viewer.warnings() == Lines{"LoadLibrary fails in TScanModule::LoadTWAIN",
                                               "TWAIN is not available" + in(row.method)});
    }
}

namespace {

struct ListRow {
    std::string method;
    Reader read;
    TW_UINT16 capability;
};

const ListRow lists[] = {
    {"GetSupportedPixelType", reader(&Module::GetSupportedPixelType), ICAP_PIXELTYPE},
    {"GetSupportedPaperSize", reader(&Module::GetSupportedPaperSize), ICAP_SUPPORTEDSIZES},
};

}  // namespace

TEST_CASE("the supported values are the bits of a list") {
    struct Row {
        std::string name;
        Answer answer;
        int result;
        int output;
        Lines words;
        Lines afterwards;
    };
    const Lines badContainer = {"Invalid container type"};
    const Row rows[] = {
        {"some", give(enumeration(TWTY_UINT16, {2, 0, 1}, 1)), 0, 7, {}, {}},
        {"all", give(enumeration(TWTY_UINT16, {0, 1, 2, 3, 4, 5, 6, 7, 8})), 0, 0x1ff, {}, {}},
        {"values without a bit are left out",
         give(enumeration(TWTY_UINT16, {1, 9, 16, 32, 40000})),
         0,
         2,
         {},
         {}},
        {"narrow items", give(enumeration(TWTY_UINT8, {3, 8})), 0, 0x108, {}, {}},
        {"wide items", give(enumeration(TWTY_UINT32, {3, 0x10000})), 0, 8, {}, {}},
        {"an empty list", give(enumeration(TWTY_UINT16, {})), 0, 0, {}, {}},
        {"one value", give(oneValue(TWTY_UINT16, 1)), 10, 0, badContainer, {}},
        {"a range", give(range(TWTY_UINT16, {0, 3, 1, 0, 1})), 10, 0, badContainer, {}},
        {"an array", give(array(TWTY_UINT16, {0, 1})), 10, 0, badContainer, {}},
        {"refused", failWith(TWCC_BADCAP), TWCC_BADCAP, 0, {"CapNegotiate returns failure"}, {"STATUS"}},
    };
    for (const ListRow& list : lists) {
        CAPTURE(list.method);
        for (const Row& row : rows) {
            CAPTURE(row.name);
            Stage stage;
            stage.open();
            stage.manager.answer(operation::get(list.capability), row.answer);
            int output = 0;
            CHECK(list.read(stage.module, output) == row.result);
            CHECK(output == row.output);
            CHECK(stage.manager.calls() == Lines{asking("GET", list.capability)} + row.afterwards);
            Lines warnings;
            for (const std::string& words : row.words)
                warnings.push_back(words + in(list.method));
            CHECK(stage.viewer.warnings() == warnings);
            CHECK(stage.windows.memoryComplaints() == Lines{});
        }
        Stage closed;
        int output = 0;
        CHECK(list.read(closed.module, output) == 11);
        CHECK(output == untouched);
        CHECK(closed.manager.calls() == Lines{});
    }
}

TEST_CASE("a feeder is there when its capability can be asked, before the source is enabled") {
    const auto read = reader(&Module::IsADFAvailable);
    int output = 0;
    SUBCASE("there") {
        for (const ContainerImage& image :
             {oneValue(TWTY_BOOL, 0), array(TWTY_BOOL, {1}), withoutHandle(3)}) {
            Stage stage;
            stage.open();
            stage.manager.answer(operation::get(CAP_FEEDERENABLED), give(image));
            CHECK(read(stage.module, output) == 0);
            CHECK(output == 1);
            CHECK(stage.manager.calls() == Lines{"GET CAP_FEEDERENABLED"});
            CHECK(stage.viewer.warnings() == Lines{});
            CHECK(stage.windows.memoryComplaints() == Lines{});
        }
    }
    SUBCASE("not there") {
        Stage stage;
        stage.open();
        stage.manager.answer(operation::get(CAP_FEEDERENABLED), failWith(TWCC_CAPUNSUPPORTED));
        CHECK(read(stage.module, output) == TWCC_CAPUNSUPPORTED);
        CHECK(output == 0);
        CHECK(stage.manager.calls() == refused("GET CAP_FEEDERENABLED"));
        CHECK(stage.viewer.warnings() ==
              Lines{"CapNegotiate returns failure in TScanModule::IsADFAvailable"});
    }
    SUBCASE("asked without an open source") {
        Stage stage;
        CHECK(read(stage.module, output) == TWCC_BADCAP);
        CHECK(output == 0);
        CHECK(stage.manager.calls() == refused("GET CAP_FEEDERENABLED"));
    }
    SUBCASE("asked too late") {
        Stage stage;
        stage.enable();
        CHECK(read(stage.module, output) == 11);
        CHECK(output == untouched);
        CHECK(stage.manager.calls() == Lines{});
        CHECK(stage.viewer.warnings() == Lines{"Sequence error in TScanModule::IsADFAvailable"});
    }
}

TEST_CASE("the pending count needs an enabled source and asks nothing") {
    const auto read = reader(&Module::GetPendingCount);
    for (int state : {2, 4, 5}) {
        CAPTURE(state);
        Stage stage;
        stage.bringTo(state);
        int output = 0;
        CHECK(read(stage.module, output) == (state == 5 ? 0 : 11));
        CHECK((output == untouched) == (state != 5));
        CHECK(stage.manager.calls() == Lines{});
        CHECK(stage.viewer.warnings() ==
              (state == 5 ? Lines{} : Lines{"Sequence error in TScanModule::GetPendingCount"}));
    }
}

TEST_CASE("the names of the source, in every state") {
    char text[34] = "before";
    SUBCASE("open") {
        Stage stage;
        stage.open();
        CHECK(stage.module.GetDSProductName(text) == 0);
        CHECK(std::string(text) == "Plain Source");
        CHECK(stage.module.GetDSProductFamily(text) == 0);
        CHECK(std::string(text) == "Plain Family");
        CHECK(stage.manager.calls() == Lines{});
        const Lines traces = stage.viewer.traces();
        CHECK(std::count(traces.begin(), traces.end(), "Coming TScanModule::GetDSProductName") == 2);
        CHECK(std::count(traces.begin(), traces.end(), "Leaving TScanModule::GetDSProductName") == 2);
    }
    SUBCASE("not open") {
        Stage stage;
        CHECK(stage.module.GetDSProductName(text) == 0);
        CHECK(std::string(text) == "");
    }
    SUBCASE("no manager") {
        const ManagerFile missing(ManagerFile::Kind::Missing);
        Stage stage;
        stage.forget();
        CHECK(stage.module.GetDSProductName(text) == -1);
        CHECK(stage.module.GetDSProductFamily(text) == -1);
        CHECK(std::string(text) == "before");
        CHECK(stage.viewer.warnings() ==
              2 * Lines{"LoadLibrary fails in TScanModule::LoadTWAIN",
                        "TWAIN is not available in TScanModule::GetDSProductName"});
    }
    SUBCASE("a source whose texts have no end") {
        Stage stage;
        std::memset(stage.manager.defaultSource().ProductName, 'x', 34);
        std::memset(stage.manager.defaultSource().ProductFamily, 'y', 34);
        stage.open();
        CHECK(stage.module.GetDSProductName(text) == 0);
        CHECK(std::string(text) == std::string(33, 'x'));
        CHECK(stage.module.GetDSProductFamily(text) == 0);
        CHECK(std::string(text) == std::string(33, 'y'));
    }
}
