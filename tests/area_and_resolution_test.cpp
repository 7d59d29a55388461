// Resolutions, scaling and the largest area, in the host's units and in the source's.
#include <doctest.h>

#include "Stage.h"

namespace {

void useUnit(Stage& stage, TW_UINT16 unit) {
    stage.manager.answer(operation::getCurrent(ICAP_UNITS), give(oneValue(TWTY_UINT16, unit)));
}

ContainerImage number(double value) {
    return oneValue(TWTY_FIX32, fix32(value));
}

struct Axis {
    std::string letter;
    TW_UINT16 resolution;
    TW_UINT16 scaling;
    decltype(Module::GetXResolution) Module::*getResolution;
    decltype(Module::SetXResolution) Module::*setResolution;
    decltype(Module::GetXScale) Module::*getScale;
};

const Axis axes[] = {
    {"X", ICAP_XRESOLUTION, ICAP_XSCALING, &Module::GetXResolution, &Module::SetXResolution,
     &Module::GetXScale},
    {"Y", ICAP_YRESOLUTION, ICAP_YSCALING, &Module::GetYResolution, &Module::SetYResolution,
     &Module::GetYScale},
};

// "result: current minimum maximum", then the record of the call.
Lines outcome(const std::string& numbers, const Lines& record) {
    return Lines{numbers} + record;
}

template <class Number, class Getter>
Lines read(Stage& stage, Getter getter) {
    Number current = 7, min = 8, max = 9;
    const int result = (stage.module.*getter)(&current, &min, &max);
    char text[100];
    std::snprintf(text, sizeof text, "%d: %g %g %g", result, static_cast<double>(current),
                  static_cast<double>(min), static_cast<double>(max));
    return outcome(text, stage.takeRecord());
}

Lines readResolution(Stage& stage, const Axis& axis) {
    return read<unsigned short>(stage, axis.getResolution);
}
Lines readScale(Stage& stage, const Axis& axis) {
    return read<double>(stage, axis.getScale);
}

const Lines unitAsked = {"GETCURRENT ICAP_UNITS"};

}  // namespace

TEST_CASE("resolutions and scales from every container") {
    const Answer no = failWith(TWCC_BADCAP);
    const Answer bad = give(array(TWTY_FIX32, {1}));
    const Answer list = give(enumeration(TWTY_FIX32, {fix32(300), fix32(75), fix32(600), fix32(150)}, 3));
    // g: GET asked, c: GETCURRENT asked, G and C: and refused; r: warned of a refusal, b: of a bad container.
    struct Row {
        Answer first, second;
        const char *resolution, *scale;
        const char* record;
    };
    const Row rows[] = {
        {give(fix32Range(50, 1200, 1, 300.75)), no, "0: 300 50 1200", "0: 300.75 50 1200", "g"},
        {give(number(299.5)), no, "0: 299 299 299", "0: 299.5 299.5 299.5", "g"},
        {list, no, "0: 150 75 600", "0: 150 150 150", "g"},
        {no, give(number(90)), "0: 90 90 90", "0: 90 90 90", "Gcr"},
        {bad, no, "6: 100 100 100", "6: 0 0 0", "gCbr"},
        {bad, bad, "10: 100 100 100", "10: 0 0 0", "gcbb"},
        {failWith(TWCC_BUMMER), no, "6: 100 100 100", "6: 0 0 0", "GCrr"},
    };
    for (const Axis& axis : axes) {
        for (const bool isScale : {false, true}) {
            const TW_UINT16 capability = isScale ? axis.scaling : axis.resolution;
            const std::string name = operation::capabilityName(capability);
            const std::string in = " in TScanModule::Get" + axis.letter + (isScale ? "Scale" : "Resolution");
            const auto spelled = [&](const char* record) {
                Lines calls, warnings;
                for (; *record != '\0'; ++record) {
                    if (*record == 'r') warnings.push_back("! CapNegotiate returns failure" + in);
                    if (*record == 'b') warnings.push_back("! Invalid container type" + in);
                    if (*record == 'g' || *record == 'G') calls.push_back("GET " + name);
                    if (*record == 'c' || *record == 'C') calls.push_back("GETCURRENT " + name);
                    if (*record == 'G' || *record == 'C') calls.push_back("STATUS");
                }
                return calls + (isScale ? Lines{} : unitAsked) + warnings;
            };
            const auto readFrom = [&](Stage& stage) {
                return isScale ? readScale(stage, axis) : readResolution(stage, axis);
            };
            Stage stage;
            stage.forget();
            CHECK(readFrom(stage) == outcome("11: 7 8 9", {"! Sequence error" + in}));
            stage.open();
            useUnit(stage, TWUN_INCHES);
            for (const Row& row : rows) {
                stage.manager.answer(operation::get(capability), row.first);
                stage.manager.answer(operation::getCurrent(capability), row.second);
                CHECK(readFrom(stage) == outcome(isScale ? row.scale : row.resolution, spelled(row.record)));
            }
        }
    }
}

TEST_CASE("resolutions in the source's unit, both ways") {
    struct Row {
        TW_UINT16 unit;
        int dpi;
        const char* sent;
        TW_UINT32 answered;
        const char* read;
    };
    const Row rows[] = {
        {TWUN_INCHES, 300, "300", fix32(300), "0: 300 300 300"},
        {TWUN_CENTIMETERS, 300, "762", fix32(762), "0: 300 300 300"},
        {TWUN_CENTIMETERS, 150, "381", fix32(254), "0: 99 99 99"},  // the factor loses a dot now and then
        {TWUN_PICAS, 300, "1800", fix32(1800), "0: 300 300 300"},
        {TWUN_POINTS, 300, "21600", fix32(21600), "0: 300 300 300"},
        // 432000 doesn't fit into a TW_FIX32; its low 16 bits are what goes.
        {TWUN_TWIPS, 300, "-26752", fix32(14400), "0: 10 10 10"},
        {TWUN_PIXELS, 300, "300", fix32(300), "0: 300 300 300"},
        {77, 300, "300", fix32(300), "0: 300 300 300"},
    };
    for (const Axis& axis : axes) {
        const std::string set = "SET " + operation::capabilityName(axis.resolution) + " one FIX32 ";
        const std::string get = "GET " + operation::capabilityName(axis.resolution);
        const std::string method = "TScanModule::Set" + axis.letter + "Resolution";
        Stage stage;
        stage.forget();
        CHECK((stage.module.*axis.setResolution)(300) == 11);
        CHECK(stage.takeRecord() == Lines{"! Sequence error in " + method});
        stage.open();
        for (const Row& row : rows) {
            CAPTURE(row.unit);
            useUnit(stage, row.unit);
            CHECK((stage.module.*axis.setResolution)(static_cast<unsigned short>(row.dpi)) == 0);
            CHECK(stage.takeRecord() == unitAsked + Lines{set + row.sent});
            stage.manager.answer(operation::get(axis.resolution), give(oneValue(TWTY_FIX32, row.answered)));
            CHECK(readResolution(stage, axis) == outcome(row.read, Lines{get} + unitAsked));
        }
        stage.manager.answer(operation::set(axis.resolution), failWith(TWCC_BADVALUE));
        CHECK((stage.module.*axis.setResolution)(10) == TWCC_BADVALUE);
        CHECK(stage.takeRecord() ==
              unitAsked + refused(set + "10") + Lines{"! CapNegotiate returns failure in " + method});
        // A source that doesn't say its resolution has 100, in its own unit.
        useUnit(stage, TWUN_CENTIMETERS);
        stage.manager.answer(operation::get(axis.resolution), failWith(TWCC_BADCAP));
        CHECK(readResolution(stage, axis).front() == "6: 39 39 39");
    }
}

TEST_CASE("a pair of resolutions is tried by setting it, and taken back") {
    Stage stage;
    stage.open();
    useUnit(stage, TWUN_INCHES);
    stage.manager.answer(operation::get(ICAP_XRESOLUTION), give(fix32Range(50, 600, 1, 150)));
    stage.manager.answer(operation::get(ICAP_YRESOLUTION), give(fix32Range(50, 600, 1, 200)));
    const Lines present =
        Lines{"GET ICAP_XRESOLUTION"} + unitAsked + Lines{"GET ICAP_YRESOLUTION"} + unitAsked;
    const auto setting = [](const char* axis, const char* dpi) {
        return unitAsked + Lines{std::string("SET ICAP_") + axis + "RESOLUTION one FIX32 " + dpi};
    };
    const auto refusalOf = [](const std::string& method) {
        return Lines{"! CapNegotiate returns failure in TScanModule::" + method,
                     "! " + method + " returns failure in TScanModule::IsThisDPIAvailable"};
    };
    const Lines takenBack = setting("X", "150") + setting("Y", "200");
    const Lines both = present + setting("X", "300") + setting("Y", "400");
    CHECK(stage.module.IsThisDPIAvailable(300, 400) == 0);
    CHECK(stage.takeRecord() == both + takenBack);

    stage.manager.answerNext(operation::set(ICAP_XRESOLUTION), failWith(TWCC_BADVALUE));
    CHECK(stage.module.IsThisDPIAvailable(300, 400) == TWCC_BADVALUE);
    CHECK(stage.takeRecord() ==
          present + setting("X", "300") + Lines{"STATUS"} + takenBack + refusalOf("SetXResolution"));

    stage.manager.answerNext(operation::set(ICAP_YRESOLUTION), failWith(TWCC_DENIED));
    CHECK(stage.module.IsThisDPIAvailable(300, 400) == TWCC_DENIED);
    CHECK(stage.takeRecord() == both + Lines{"STATUS"} + takenBack + refusalOf("SetYResolution"));
}

TEST_CASE("the largest area in inches, whatever the source's unit") {
    struct Row {
        TW_UINT16 unit;
        double width, height;  // as the source says
        double inchWidth, inchHeight;
    };
    const Row rows[] = {
        {TWUN_INCHES, 8.5, 14, 8.5, 14},
        {TWUN_CENTIMETERS, 25.4, 50.8, 10, 20},
        {TWUN_TWIPS, 12240, 20160, 8.5, 14},
        {TWUN_PIXELS, 1275, 2100, 8.5, 14},
        {77, 5, 6, 5, 6},
    };
    for (const Row& row : rows) {
        CAPTURE(row.unit);
        Stage stage;
        stage.open();
        useUnit(stage, row.unit);
        stage.manager.answer(operation::getCurrent(ICAP_PHYSICALWIDTH), give(number(row.width)));
        stage.manager.answer(operation::getCurrent(ICAP_PHYSICALHEIGHT), give(number(row.height)));
        // The height too is divided by the X resolution.
        stage.manager.answer(operation::get(ICAP_XRESOLUTION), give(number(150)));
        stage.manager.answer(operation::get(ICAP_YRESOLUTION), give(number(300)));
        double width = 0, height = 0;
        CHECK(stage.module.GetMaxArea(&width, &height) == 0);
        CHECK(width == doctest::Approx(row.inchWidth).epsilon(0.00001));
        CHECK(height == doctest::Approx(row.inchHeight).epsilon(0.00001));
        CHECK(stage.takeRecord() == Lines{"GETCURRENT ICAP_PHYSICALWIDTH", "GETCURRENT ICAP_PHYSICALHEIGHT"} +
                                        unitAsked + Lines{"GET ICAP_XRESOLUTION"} + unitAsked);
    }
}

TEST_CASE("a source that can't say its area") {
    const std::string in = " in TScanModule::GetMaxArea";
    const Lines refusal = {"! CapNegotiate returns failure" + in};
    const Lines badContainer = {"! Invalid container type" + in};
    Stage stage;
    stage.forget();
    double width = 5, height = 6;
    CHECK(stage.module.GetMaxArea(&width, &height) == 11);
    CHECK(stage.takeRecord() == Lines{"! Sequence error" + in});

    stage.open();
    CHECK(stage.module.GetMaxArea(&width, &height) == TWCC_BADCAP);
    CHECK(stage.takeRecord() ==
          refused("GETCURRENT ICAP_PHYSICALWIDTH") + refused("GET ICAP_PHYSICALWIDTH") + 2 * refusal);

    stage.manager.answer(operation::getCurrent(ICAP_PHYSICALWIDTH), give(fix32Range(1, 9, 1, 9)));
    stage.manager.answer(operation::get(ICAP_PHYSICALWIDTH), give(enumeration(TWTY_FIX32, {fix32(9)})));
    CHECK(stage.module.GetMaxArea(&width, &height) == 10);
    CHECK(stage.takeRecord() ==
          Lines{"GETCURRENT ICAP_PHYSICALWIDTH", "GET ICAP_PHYSICALWIDTH"} + 2 * badContainer);
    CHECK(width == 5);
    CHECK(height == 6);
}
