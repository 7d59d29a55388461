// Resolutions, scaling and the largest area, in the host's units and in the source's.
#include <doctest.h>

#include "Stage.h"

namespace {

struct Unit {
    TW_UINT16 twain;
    std::string name;
    double perInch;
};

const Unit units[] = {
    {TWUN_INCHES, "inches", 1}, {TWUN_CENTIMETERS, "centimetres", 2.54},
    {TWUN_PICAS, "picas", 6},   {TWUN_POINTS, "points", 72},
    {TWUN_PIXELS, "pixels", 1}, {77, "unknown", 1},
};

void useUnit(Stage& stage, TW_UINT16 unit) {
    stage.manager.answer(operation::getCurrent(ICAP_UNITS), give(oneValue(TWTY_UINT16, unit)));
}

struct Axis {
    std::string letter;
    TW_UINT16 resolution;
    TW_UINT16 scaling;
    decltype(Module::GetXResolution) Module::*getResolution;
    decltype(Module::SetXResolution) Module::*setResolution;
    decltype(Module::GetXScale) Module::*getScale;
    decltype(Module::SetXScale) Module::*setScale;
};

const Axis axes[] = {
    {"X", ICAP_XRESOLUTION, ICAP_XSCALING, &Module::GetXResolution, &Module::SetXResolution,
     &Module::GetXScale, &Module::SetXScale},
    {"Y", ICAP_YRESOLUTION, ICAP_YSCALING, &Module::GetYResolution, &Module::SetYResolution,
     &Module::GetYScale, &Module::SetYScale},
};

std::string in(const char* words, const char* start, const Axis& axis, const char* end) {
    return std::string(words) + " in TScanModule::" + start + axis.letter + end;
}

struct Resolution {
    int result;
    Lines numbers;  // one line: current, minimum, maximum
};

std::string threeNumbers(double current, double min, double max) {
    char text[100];
    std::snprintf(text, sizeof text, "%g %g %g", current, min, max);
    return text;
}

std::string readResolution(Stage& stage, const Axis& axis, int& result) {
    unsigned short current = 7, min = 8, max = 9;
    result = (stage.module.*axis.getResolution)(&current, &min, &max);
    return threeNumbers(current, min, max);
}

std::string readScale(Stage& stage, const Axis& axis, int& result) {
    double current = 7, min = 8, max = 9;
    result = (stage.module.*axis.getScale)(&current, &min, &max);
    return threeNumbers(current, min, max);
}

}  // namespace

TEST_CASE("a resolution from every container") {
    for (const Axis& axis : axes) {
        CAPTURE(axis.letter);
        const std::string get = "GET " + operation::capabilityName(axis.resolution);
        const std::string getCurrent = "GETCURRENT " + operation::capabilityName(axis.resolution);
        const std::string refusal = in("CapNegotiate returns failure", "Get", axis, "Resolution");
        const std::string badContainer = in("Invalid container type", "Get", axis, "Resolution");
        const Lines unit = {"GETCURRENT ICAP_UNITS"};
        struct Row {
            std::string name;
            Answer first, second;
            int result;
            const char* numbers;
            Lines calls;
            Lines warnings;
        };
        const Answer no = failWith(TWCC_BADCAP);
        const Row rows[] = {
            {"range", give(fix32Range(50, 1200, 1, 300)), no, 0, "300 50 1200", {get}, {}},
            {"one value", give(oneValue(TWTY_FIX32, fix32(240))), no, 0, "240 240 240", {get}, {}},
            {"list",
             give(enumeration(TWTY_FIX32, {fix32(300), fix32(75), fix32(600), fix32(150)}, 3)),
             no,
             0,
             "150 75 600",
             {get},
             {}},
            {"fractions are cut", give(oneValue(TWTY_FIX32, fix32(299.99))), no, 0, "299 299 299", {get}, {}},
            {"second message",
             no,
             give(oneValue(TWTY_FIX32, fix32(90))),
             0,
             "90 90 90",
             refused(get) + Lines{getCurrent},
             {refusal}},
            {"array, then refused",
             give(array(TWTY_FIX32, {1})),
             no,
             TWCC_BADCAP,
             "100 100 100",
             Lines{get} + refused(getCurrent),
             {badContainer, refusal}},
            {"array twice",
             give(array(TWTY_FIX32, {1})),
             give(array(TWTY_FIX32, {1})),
             10,
             "100 100 100",
             {get, getCurrent},
             {badContainer, badContainer}},
            {"refused twice",
             failWith(TWCC_BUMMER),
             no,
             TWCC_BADCAP,
             "100 100 100",
             refused(get) + refused(getCurrent),
             {refusal, refusal}},
        };
        for (const Row& row : rows) {
            CAPTURE(row.name);
            Stage stage;
            stage.open();
            useUnit(stage, TWUN_INCHES);
            stage.manager.answer(operation::get(axis.resolution), row.first);
            stage.manager.answer(operation::getCurrent(axis.resolution), row.second);
            int result = 0;
            CHECK(readResolution(stage, axis, result) == row.numbers);
            CHECK(result == row.result);
            CHECK(stage.manager.calls() == row.calls + unit);
            CHECK(stage.viewer.warnings() == row.warnings);
            CHECK(stage.windows.memoryComplaints() == Lines{});
        }
    }
}

TEST_CASE("resolutions in the source's unit, both ways") {
    for (const Axis& axis : axes) {
        for (const Unit& unit : units) {
            CAPTURE(unit.name);
            Stage stage;
            stage.open();
            useUnit(stage, unit.twain);
            TW_UINT32 sent = 0;
            stage.manager.answer(operation::set(axis.resolution),
                                 Answer{TWRC_SUCCESS, 0, {}, [&](TW_MEMREF data) {
                                            const auto& capability = *static_cast<TW_CAPABILITY*>(data);
                                            const auto* const item =
                                                static_cast<TW_ONEVALUE*>(GlobalLock(capability.hContainer));
                                            sent = item->Item;
                                            GlobalUnlock(capability.hContainer);
                                        }});
            for (int dpi : {150, 300}) {
                CAPTURE(dpi);
                CHECK((stage.module.*axis.setResolution)(static_cast<unsigned short>(dpi)) == 0);
                CHECK(fix32Value(sent) == doctest::Approx(dpi * unit.perInch).epsilon(0.0001));
                stage.manager.answer(operation::get(axis.resolution), give(oneValue(TWTY_FIX32, sent)));
                int result = 0;
                CHECK(readResolution(stage, axis, result) == threeNumbers(dpi, dpi, dpi));
            }
        }
    }
}

TEST_CASE("setting a resolution") {
    for (const Axis& axis : axes) {
        CAPTURE(axis.letter);
        const std::string set = "SET " + operation::capabilityName(axis.resolution);
        Stage stage;
        stage.open();
        useUnit(stage, TWUN_CENTIMETERS);
        CHECK((stage.module.*axis.setResolution)(300) == 0);
        CHECK(stage.manager.takeCalls() == Lines{"GETCURRENT ICAP_UNITS", set + " one FIX32 762"});

        useUnit(stage, TWUN_TWIPS);
        // 432000 doesn't fit into a TW_FIX32; its low 16 bits are what goes.
        CHECK((stage.module.*axis.setResolution)(300) == 0);
        CHECK(stage.manager.takeCalls() == Lines{"GETCURRENT ICAP_UNITS", set + " one FIX32 -26752"});

        stage.manager.answer(operation::set(axis.resolution), failWith(TWCC_BADVALUE));
        CHECK((stage.module.*axis.setResolution)(10) == TWCC_BADVALUE);
        CHECK(stage.manager.takeCalls() ==
              Lines{"GETCURRENT ICAP_UNITS"} + refused(set + " one FIX32 14400"));
        CHECK(stage.viewer.warnings() ==
              Lines{in("CapNegotiate returns failure", "Set", axis, "Resolution")});
        CHECK(stage.windows.memoryComplaints() == Lines{});
    }
}

TEST_CASE("the centimetre factor loses a dot now and then") {
    Stage stage;
    stage.open();
    useUnit(stage, TWUN_CENTIMETERS);
    int result = 0;
    stage.manager.answer(operation::get(ICAP_XRESOLUTION), give(fix32Range(127, 1524, 1, 254)));
    CHECK(readResolution(stage, axes[0], result) == "99 49 600");
}

TEST_CASE("a source that doesn't say its resolution has 100, in its own unit") {
    Stage stage;
    stage.open();
    useUnit(stage, TWUN_CENTIMETERS);
    int result = 0;
    CHECK(readResolution(stage, axes[0], result) == "39 39 39");
    CHECK(result == TWCC_BADCAP);
}

TEST_CASE("a pair of resolutions is tried by setting it, and taken back") {
    Stage stage;
    stage.open();
    useUnit(stage, TWUN_INCHES);
    stage.manager.answer(operation::get(ICAP_XRESOLUTION), give(fix32Range(50, 600, 1, 150)));
    stage.manager.answer(operation::get(ICAP_YRESOLUTION), give(fix32Range(50, 600, 1, 200)));
    const Lines present = {"GET ICAP_XRESOLUTION", "GETCURRENT ICAP_UNITS", "GET ICAP_YRESOLUTION",
                           "GETCURRENT ICAP_UNITS"};
    const auto setting = [](const char* axis, int dpi) {
        return Lines{"GETCURRENT ICAP_UNITS",
                     std::string("SET ICAP_") + axis + "RESOLUTION one FIX32 " + std::to_string(dpi)};
    };
    const Lines takenBack = setting("X", 150) + setting("Y", 200);
    SUBCASE("accepted") {
        CHECK(stage.module.IsThisDPIAvailable(300, 400) == 0);
        CHECK(stage.manager.calls() == present + setting("X", 300) + setting("Y", 400) + takenBack);
        CHECK(stage.viewer.warnings() == Lines{});
    }
    SUBCASE("X refused") {
        stage.manager.answerNext(operation::set(ICAP_XRESOLUTION), failWith(TWCC_BADVALUE));
        CHECK(stage.module.IsThisDPIAvailable(300, 400) == TWCC_BADVALUE);
        CHECK(stage.manager.calls() == present + setting("X", 300) + Lines{"STATUS"} + takenBack);
        CHECK(stage.viewer.warnings() ==
              Lines{"CapNegotiate returns failure in TScanModule::SetXResolution",
                    "SetXResolution returns failure in TScanModule::IsThisDPIAvailable"});
    }
    SUBCASE("Y refused") {
        stage.manager.answerNext(operation::set(ICAP_YRESOLUTION), failWith(TWCC_DENIED));
        CHECK(stage.module.IsThisDPIAvailable(300, 400) == TWCC_DENIED);
        CHECK(stage.manager.calls() ==
              present + setting("X", 300) + setting("Y", 400) + Lines{"STATUS"} + takenBack);
        CHECK(stage.viewer.warnings() ==
              Lines{"CapNegotiate returns failure in TScanModule::SetYResolution",
                    "SetYResolution returns failure in TScanModule::IsThisDPIAvailable"});
    }
}

TEST_CASE("without a manager no pair of resolutions is tried") {
    const ManagerFile missing(ManagerFile::Kind::Missing);
    Stage stage;
    stage.forget();
    CHECK(stage.module.IsThisDPIAvailable(300, 300) == -1);
    CHECK(stage.viewer.warnings().back() == "TWAIN is not available in TScanModule::IsThisDPIAvailable");
    CHECK(stage.viewer.warnings().size() == 2);
}

TEST_CASE("scaling from every container") {
    for (const Axis& axis : axes) {
        CAPTURE(axis.letter);
        const std::string get = "GET " + operation::capabilityName(axis.scaling);
        const std::string getCurrent = "GETCURRENT " + operation::capabilityName(axis.scaling);
        const std::string refusal = in("CapNegotiate returns failure", "Get", axis, "Scale");
        const std::string badContainer = in("Invalid container type", "Get", axis, "Scale");
        struct Row {
            std::string name;
            Answer first, second;
            int result;
            const char* numbers;
            Lines calls;
            Lines warnings;
        };
        const Answer no = failWith(TWCC_BADCAP);
        const Row rows[] = {
            {"range", give(fix32Range(0.5, 4, 0.25, 1.25)), no, 0, "1.25 0.5 4", {get}, {}},
            {"one value", give(oneValue(TWTY_FIX32, fix32(0.75))), no, 0, "0.75 0.75 0.75", {get}, {}},
            {"list",
             give(enumeration(TWTY_FIX32, {fix32(1), fix32(2), fix32(4)}, 1)),
             no,
             0,
             "2 2 2",
             {get},
             {}},
            {"second message",
             no,
             give(oneValue(TWTY_FIX32, fix32(2))),
             0,
             "2 2 2",
             refused(get) + Lines{getCurrent},
             {refusal}},
            {"refused twice",
             no,
             failWith(TWCC_DENIED),
             TWCC_DENIED,
             "0 0 0",
             refused(get) + refused(getCurrent),
             {refusal, refusal}},
            {"array twice",
             give(array(TWTY_FIX32, {1})),
             give(array(TWTY_FIX32, {1})),
             10,
             "0 0 0",
             {get, getCurrent},
             {badContainer, badContainer}},
        };
        for (const Row& row : rows) {
            CAPTURE(row.name);
            Stage stage;
            stage.open();
            useUnit(stage, TWUN_CENTIMETERS);
            stage.manager.answer(operation::get(axis.scaling), row.first);
            stage.manager.answer(operation::getCurrent(axis.scaling), row.second);
            int result = 0;
            CHECK(readScale(stage, axis, result) == row.numbers);
            CHECK(result == row.result);
            CHECK(stage.manager.calls() == row.calls);
            CHECK(stage.viewer.warnings() == row.warnings);
            CHECK(stage.windows.memoryComplaints() == Lines{});
        }
    }
}

TEST_CASE("resolution and scaling without an open source") {
    for (const Axis& axis : axes) {
        Stage stage;
        stage.forget();
        int result = 0;
        CHECK(readResolution(stage, axis, result) == "7 8 9");
        CHECK(result == 11);
        CHECK(readScale(stage, axis, result) == "7 8 9");
        CHECK(result == 11);
        CHECK((stage.module.*axis.setResolution)(300) == 11);
        CHECK((stage.module.*axis.setScale)(1.0) == 11);
        CHECK(stage.manager.calls() == Lines{});
        CHECK(stage.viewer.warnings() == Lines{in("Sequence error", "Get", axis, "Resolution"),
                                               in("Sequence error", "Get", axis, "Scale"),
                                               in("Sequence error", "Set", axis, "Resolution"),
                                               in("Sequence error", "Set", axis, "Scale")});
    }
}

TEST_CASE("the largest area in inches, whatever the source's unit") {
    struct Row {
        std::string name;
        TW_UINT16 unit;
        double width, height;  // as the source says
        double inchWidth, inchHeight;
    };
    const Row rows[] = {
        {"inches", TWUN_INCHES, 8.5, 14, 8.5, 14},
        {"centimetres", TWUN_CENTIMETERS, 25.4, 50.8, 10, 20},
        {"picas", TWUN_PICAS, 51, 84, 8.5, 14},
        {"points", TWUN_POINTS, 612, 1008, 8.5, 14},
        {"twips", TWUN_TWIPS, 12240, 20160, 8.5, 14},
        {"pixels", TWUN_PIXELS, 1275, 2100, 8.5, 14},
        {"unknown units count as inches", 77, 5, 6, 5, 6},
    };
    for (const Row& row : rows) {
        CAPTURE(row.name);
        Stage stage;
        stage.open();
        useUnit(stage, row.unit);
        stage.manager.answer(operation::getCurrent(ICAP_PHYSICALWIDTH),
                             give(oneValue(TWTY_FIX32, fix32(row.width))));
        stage.manager.answer(operation::getCurrent(ICAP_PHYSICALHEIGHT),
                             give(oneValue(TWTY_FIX32, fix32(row.height))));
        // The height too is divided by the X resolution.
        stage.manager.answer(operation::get(ICAP_XRESOLUTION), give(oneValue(TWTY_FIX32, fix32(150))));
        stage.manager.answer(operation::get(ICAP_YRESOLUTION), give(oneValue(TWTY_FIX32, fix32(300))));
        double width = 0, height = 0;
        CHECK(stage.module.GetMaxArea(&width, &height) == 0);
        CHECK(width == doctest::Approx(row.inchWidth).epsilon(0.00001));
        CHECK(height == doctest::Approx(row.inchHeight).epsilon(0.00001));
        CHECK(stage.manager.calls() == Lines{"GETCURRENT ICAP_PHYSICALWIDTH",
                                             "GETCURRENT ICAP_PHYSICALHEIGHT", "GETCURRENT ICAP_UNITS",
                                             "GET ICAP_XRESOLUTION", "GETCURRENT ICAP_UNITS"});
        CHECK(stage.viewer.warnings() == Lines{});
        CHECK(stage.windows.memoryComplaints() == Lines{});
    }
}

TEST_CASE("a source that can't say its area") {
    const std::string refusal = "CapNegotiate returns failure in TScanModule::GetMaxArea";
    Stage stage;
    stage.open();
    double width = 5, height = 6;
    SUBCASE("not even its width") {
        stage.manager.answer(operation::getCurrent(ICAP_PHYSICALHEIGHT),
                             give(oneValue(TWTY_FIX32, fix32(9))));
        CHECK(stage.module.GetMaxArea(&width, &height) == TWCC_BADCAP);
        const Lines calls = stage.manager.calls();
        const Lines asked = refused("GETCURRENT ICAP_PHYSICALWIDTH") + refused("GET ICAP_PHYSICALWIDTH");
        REQUIRE(calls.size() >= asked.size());
        CHECK(Lines(calls.begin(), calls.begin() + asked.size()) == asked);
        CHECK(stage.viewer.warnings() == Lines{refusal, refusal});
    }
    SUBCASE("only its width, and that at the second message") {
        stage.manager.answer(operation::get(ICAP_PHYSICALWIDTH), give(oneValue(TWTY_FIX32, fix32(9))));
        stage.manager.answer(operation::get(ICAP_PHYSICALHEIGHT), failWith(TWCC_DENIED));
        CHECK(stage.module.GetMaxArea(&width, &height) == TWCC_DENIED);
        CHECK(stage.manager.calls() ==
              refused("GETCURRENT ICAP_PHYSICALWIDTH") + Lines{"GET ICAP_PHYSICALWIDTH"} +
                  refused("GETCURRENT ICAP_PHYSICALHEIGHT") + refused("GET ICAP_PHYSICALHEIGHT"));
        CHECK(stage.viewer.warnings() == Lines{refusal, refusal, refusal});
    }
    SUBCASE("in a range") {
        stage.manager.answer(operation::getCurrent(ICAP_PHYSICALWIDTH), give(fix32Range(1, 9, 1, 9)));
        stage.manager.answer(operation::get(ICAP_PHYSICALWIDTH), give(enumeration(TWTY_FIX32, {fix32(9)})));
        CHECK(stage.module.GetMaxArea(&width, &height) == 10);
        const Lines warnings = stage.viewer.warnings();
        REQUIRE(warnings.size() >= 2);
        CHECK(warnings[0] == "Invalid container type in TScanModule::GetMaxArea");
        CHECK(warnings[1] == "Invalid container type in TScanModule::GetMaxArea");
    }
    CHECK(stage.windows.memoryComplaints() == Lines{});
}

TEST_CASE("the largest area without an open source") {
    Stage stage;
    stage.forget();
    double width = 5, height = 6;
    CHECK(stage.module.GetMaxArea(&width, &height) == 11);
    CHECK(width == 5);
    CHECK(height == 6);
    CHECK(stage.manager.calls() == Lines{});
    CHECK(stage.viewer.warnings() == Lines{"Sequence error in TScanModule::GetMaxArea"});
}
