// Every setter of a capability: what it sends, with which item types, and what becomes of refusals. One row
// per setter.
#include <doctest.h>

#include <functional>

#include "Stage.h"

namespace {

using Writer = std::function<int(Module&, int value)>;

template <class Type>
Writer writer(int (WINAPI* Module::*function)(Type)) {
    return [function](Module& module, int value) { return (module.*function)(static_cast<Type>(value)); };
}

struct Sample {
    int host;
    const char* sent;
};

enum class StateCheck { SourceOpen, None };

struct SetterRow {
    std::string method;
    Writer write;
    TW_UINT16 capability;
    std::vector<const char*> types;  // in the order in which they are tried
    std::vector<Sample> samples;
    const char* buildWords = "BuildupOneValue returns failure";  // null: has none of its own
    const char* warningMethod = nullptr;                         // when warnings name another
    StateCheck stateCheck = StateCheck::SourceOpen;

    std::string inWarnings() const {
        return std::string(" in TScanModule::") + (warningMethod != nullptr ? warningMethod : method);
    }
    Lines sending(size_t type, const char* item) const {
        return {"SET " + operation::capabilityName(capability) + " one " + types[type] + " " + item};
    }
};

const std::vector<const char*> booleans = {"BOOL", "UINT16", "INT16"};
const std::vector<const char*> values = {"UINT16", "INT16", "BOOL"};
const std::vector<const char*> counts = {"INT16", "UINT16", "BOOL"};
const std::vector<Sample> onOff = {{0, "0"}, {1, "1"}};
const char* const returnFailure = "BuildupOneValue return failure";

const std::vector<SetterRow> setters = {
    {"SetADFEnable", writer(&Module::SetADFEnable), CAP_FEEDERENABLED, booleans, onOff},
    {"SetIndicatorEnable", writer(&Module::SetIndicatorEnable), CAP_INDICATORS, booleans, onOff},
    {"SetAutoFeedEnable", writer(&Module::SetAutoFeedEnable), CAP_AUTOFEED, booleans, onOff},
    {"SetPixelType",
     writer(&Module::SetPixelType),
     ICAP_PIXELTYPE,
     values,
     {{1, "0"},
      {2, "1"},
      {4, "2"},
      {8, "3"},
      {16, "4"},
      {32, "5"},
      {64, "6"},
      {128, "7"},
      {256, "8"},
      {0, "0"},
      {3, "3"},
      {512, "512"}},
     returnFailure},
    {"SetBitDepth",
     writer(&Module::SetBitDepth),
     ICAP_BITDEPTH,
     values,
     {{1, "1"}, {8, "8"}, {24, "24"}, {48, "48"}},
     returnFailure,
     "SetBitDepath"},
    {"SetPaperSize",
     writer(&Module::SetPaperSize),
     ICAP_SUPPORTEDSIZES,
     values,
     {{1, "0"}, {2, "1"}, {4, "2"}, {8, "3"}, {256, "8"}, {0, "0"}, {11, "11"}, {512, "512"}}},
    {"SetXferMech",
     writer(&Module::SetXferMech),
     ICAP_XFERMECH,
     values,
     {{1, "0"}, {2, "1"}, {4, "2"}, {0, "0"}, {3, "3"}, {8, "8"}}},
    {"SetXferCount",
     writer(&Module::SetXferCount),
     CAP_XFERCOUNT,
     counts,
     {{1, "1"}, {30, "30"}, {-1, "-1"}}},
    {"SetLightpath", writer(&Module::SetLightpath), ICAP_LIGHTPATH, {"UINT16"}, onOff},
    {"SetKvExposureMode",
     writer(&Module::SetKvExposureMode),
     0x8005,
     {"UINT16"},
     {{0, "0"}, {3, "3"}},
     returnFailure},
    {"SetKvUIMode",
     writer(&Module::SetKvUIMode),
     0x800f,
     {"UINT16"},
     {{0, "0"}, {1, "1"}, {3, "3"}},
     returnFailure},
    {"SetKvUnSharpMask",
     writer(&Module::SetKvUnSharpMask),
     0x800e,
     {"BOOL"},
     {{0, "0"}, {1, "1"}, {2, "2"}},
     nullptr},
    {"SetKvDraftScan",
     writer(&Module::SetKvDraftScan),
     0x8004,
     {"BOOL"},
     {{0, "0"}, {1, "1"}, {2, "2"}},
     nullptr},
    {"SetKvDescreeing",
     writer(&Module::SetKvDescreeing),
     0x800a,
     {"BOOL"},
     {{0, "0"}, {1, "1"}, {2, "2"}},
     nullptr},
    {"SetClearPage",
     writer(&Module::SetClearPage),
     CAP_CLEARPAGE,
     {"BOOL"},
     {{0, "0"}, {1, "1"}},
     nullptr,
     nullptr,
     StateCheck::None},
    {"SetPIMFlag",
     writer(&Module::SetPIMFlag),
     0x8010,
     {"BOOL"},
     {{0, "0"}, {1, "1"}},
     nullptr,
     nullptr,
     StateCheck::None},
};

}  // namespace

TEST_CASE("a setter sends one value and frees its container") {
    for (const SetterRow& row : setters) {
        CAPTURE(row.method);
        for (const Sample& sample : row.samples) {
            CAPTURE(sample.host);
            Stage stage;
            stage.open();
            CHECK(row.write(stage.module, sample.host) == 0);
            CHECK(stage.manager.calls() == row.sending(0, sample.sent));
            CHECK(stage.viewer.warnings() == Lines{});
            CHECK(stage.windows.memoryComplaints() == Lines{});
        }
    }
}

TEST_CASE("a setter tries its item types in order until one is taken, in every state with an open source") {
    for (const SetterRow& row : setters) {
        CAPTURE(row.method);
        const Sample& sample = row.samples[1];
        for (size_t refusals = 1; refusals < row.types.size(); ++refusals) {
            CAPTURE(refusals);
            Stage stage;
            stage.bringTo(refusals == 1 ? 4 : 5);
            Lines calls;
            for (size_t i = 0; i < refusals; ++i) {
                stage.manager.answerNext(operation::set(row.capability), failWith(TWCC_BADVALUE));
                calls += row.sending(i, sample.sent) + Lines{"STATUS"};
            }
            CHECK(row.write(stage.module, sample.host) == 0);
            calls += row.sending(refusals, sample.sent);
            CHECK(stage.manager.calls() == calls);
            CHECK(stage.viewer.warnings() ==
                  static_cast<int>(refusals) * Lines{"CapNegotiate returns failure" + row.inWarnings()});
            CHECK(stage.windows.memoryComplaints() == Lines{});
        }
    }
}

TEST_CASE("a setter that the source refuses gives the last condition code") {
    for (const SetterRow& row : setters) {
        CAPTURE(row.method);
        const Sample& sample = row.samples[1];
        Stage stage;
        stage.open();
        Lines calls;
        for (size_t i = 0; i < row.types.size(); ++i) {
            const bool isLast = i + 1 == row.types.size();
            stage.manager.answerNext(operation::set(row.capability),
                                     failWith(isLast ? TWCC_DENIED : TWCC_BADVALUE));
            calls += row.sending(i, sample.sent) + Lines{"STATUS"};
        }
        CHECK(row.write(stage.module, sample.host) == TWCC_DENIED);
        CHECK(stage.manager.calls() == calls);
        CHECK(stage.viewer.warnings() ==
              static_cast<int>(row.types.size()) * Lines{"CapNegotiate returns failure" + row.inWarnings()});
        CHECK(stage.windows.memoryComplaints() == Lines{});
    }
}

TEST_CASE("a setter without an open source sends nothing") {
    for (const SetterRow& row : setters) {
        CAPTURE(row.method);
        Stage stage;
        stage.forget();
        if (row.stateCheck == StateCheck::SourceOpen) {
            CHECK(row.write(stage.module, 1) == 11);
            CHECK(stage.manager.calls() == Lines{});
            CHECK(stage.viewer.warnings() ==
                  Lines{std::string("Sequence error in TScanModule::") + row.method});
            CHECK(stage.windows.allocations.empty());
        } else {
            CHECK(row.write(stage.module, 1) == 0);
            CHECK(stage.manager.calls() == row.sending(0, "1"));
            CHECK(stage.viewer.warnings() == Lines{});
        }
    }
}

TEST_CASE("a setter without a manager says so") {
    const ManagerFile missing(ManagerFile::Kind::Missing);
    for (const SetterRow& row : setters) {
        CAPTURE(row.method);
        Stage stage;
        stage.forget();
        CHECK(row.write(stage.module, 1) == -1);
        CHECK(stage.viewer.warnings() ==
              Lines{"LoadLibrary fails in TScanModule::LoadTWAIN",
                    std::string("TWAIN is not available in TScanModule::") + row.method});
    }
}

TEST_CASE("a container that can't be built is not sent") {
    for (const SetterRow& row : setters) {
        if (row.buildWords == nullptr) continue;
        CAPTURE(row.method);
        const std::string words = row.buildWords + row.inWarnings();
        {
            Stage stage;
            stage.open();
            stage.windows.largestAllocation = 0;
            CHECK(row.write(stage.module, 1) == 2);
            CHECK(stage.manager.calls() == Lines{});
            const Lines warnings = stage.viewer.warnings();
            REQUIRE(warnings.size() >= 2);
            CHECK(Lines(warnings.begin(), warnings.begin() + 2) ==
                  Lines{"Memory alloc error in BuildupOneValue", words});
        }
        {
            Stage stage;
            stage.open();
            stage.windows.locksThatSucceed = 0;
            CHECK(row.write(stage.module, 1) == 2);
            CHECK(stage.manager.calls() == Lines{});
            const Lines warnings = stage.viewer.warnings();
            REQUIRE(warnings.size() >= 2);
            CHECK(Lines(warnings.begin(), warnings.begin() + 2) ==
                  Lines{"Lock memory error in BuildupOneValue", words});
            // The block is freed once, by the builder.
            CHECK(stage.windows.memoryComplaints() == Lines{});
        }
    }
}

namespace {

struct ScaleRow {
    std::string method;
    decltype(Module::SetXScale) Module::*set;
    TW_UINT16 capability;
};
const ScaleRow scales[] = {
    {"SetXScale", &Module::SetXScale, ICAP_XSCALING},
    {"SetYScale", &Module::SetYScale, ICAP_YSCALING},
    {"SetGamma", &Module::SetGamma, ICAP_GAMMA},
};

}  // namespace

TEST_CASE("numbers go as TW_FIX32, once") {
    for (const ScaleRow& row : scales) {
        CAPTURE(row.method);
        Stage stage;
        stage.open();
        const std::string start = "SET " + operation::capabilityName(row.capability) + " one FIX32 ";
        CHECK((stage.module.*row.set)(1.0) == 0);
        CHECK((stage.module.*row.set)(0.75) == 0);
        CHECK((stage.module.*row.set)(2.5) == 0);
        CHECK(stage.manager.takeCalls() ==
              Lines{start + "1", start + "0+49152/65536", start + "2+32768/65536"});
        stage.manager.answer(operation::set(row.capability), failWith(TWCC_BADVALUE));
        CHECK((stage.module.*row.set)(4.0) == TWCC_BADVALUE);
        CHECK(stage.manager.calls() == refused(start + "4"));
        CHECK(stage.viewer.warnings() ==
              Lines{std::string("CapNegotiate returns failure in TScanModule::") + row.method});
        CHECK(stage.windows.memoryComplaints() == Lines{});
    }
}

namespace {

struct SupportedRow {
    std::string method;
    Writer write;
    TW_UINT16 capability;
};
const SupportedRow supported[] = {
    {"SetSupportedPixelType", writer(&Module::SetSupportedPixelType), ICAP_PIXELTYPE},
    {"SetSupportedPaperSize", writer(&Module::SetSupportedPaperSize), ICAP_SUPPORTEDSIZES},
};

}  // namespace

TEST_CASE("narrowing the supported values sends the set bits in order, with the present value as current") {
    struct Row {
        int mask;
        TW_UINT32 present;
        const char* sent;
    };
    const Row rows[] = {
        {7, 1, "[0 1 2] current 1"}, {6, 2, "[1 2] current 1"},
        {6, 0, "[1 2] current 0"},   {0x109, 3, "[0 3 8] current 1"},
        {1, 5, "[0] current 0"},     {0x1ff, 8, "[0 1 2 3 4 5 6 7 8] current 8"},
    };
    for (const SupportedRow& which : supported) {
        CAPTURE(which.method);
        const std::string name = operation::capabilityName(which.capability);
        for (const Row& row : rows) {
            CAPTURE(row.mask);
            Stage stage;
            stage.open();
            stage.manager.answer(operation::getCurrent(which.capability),
                                 give(oneValue(TWTY_UINT16, row.present)));
            CHECK(which.write(stage.module, row.mask) == 0);
            const Lines calls = stage.manager.calls();
            REQUIRE(calls.size() == 2);
            CHECK(calls[0] == "GETCURRENT " + name);
            const std::string start = "SET " + name + " enum UINT16 " + row.sent;
            CHECK(calls[1].substr(0, start.size()) == start);
            CHECK(stage.viewer.warnings() == Lines{});
            CHECK(stage.windows.memoryComplaints() == Lines{});
        }
    }
}

TEST_CASE("narrowing the supported values, refused or impossible") {
    for (const SupportedRow& which : supported) {
        CAPTURE(which.method);
        const std::string in = std::string(" in TScanModule::") + which.method;
        {
            Stage stage;
            stage.open();
            stage.manager.answer(operation::getCurrent(which.capability), give(oneValue(TWTY_UINT16, 0)));
            stage.manager.answer(operation::set(which.capability), failWith(TWCC_CAPBADOPERATION));
            CHECK(which.write(stage.module, 3) == TWCC_CAPBADOPERATION);
            CHECK(stage.manager.calls().size() == 3);
            CHECK(stage.manager.calls().back() == "STATUS");
            CHECK(stage.viewer.warnings() == Lines{"CapNegotiate returns failure" + in});
            CHECK(stage.windows.memoryComplaints() == Lines{});
        }
        {
            Stage stage;
            stage.open();
            stage.manager.answer(operation::getCurrent(which.capability), give(oneValue(TWTY_UINT16, 0)));
            stage.windows.largestAllocation = 0;
            CHECK(which.write(stage.module, 3) == 2);
            CHECK(stage.manager.calls().size() == 1);
            CHECK(stage.viewer.warnings() == Lines{"Memory alloc error in BuildupEnumeration",
                                                   "BuildupEnumeration returns failure" + in});
            CHECK(stage.windows.memoryComplaints() == Lines{});
        }
        {
            Stage stage;
            stage.forget();
            CHECK(which.write(stage.module, 3) == 11);
            CHECK(stage.manager.calls() == Lines{});
            CHECK(stage.viewer.warnings() == Lines{"Sequence error" + in});
        }
    }
}
