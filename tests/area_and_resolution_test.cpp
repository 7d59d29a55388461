// Resolutions, scaling and the largest area, in the host's units and in the source's.
#include "CallRecord.h"

namespace {

Answer number(double value) {
    return give(oneValue(TWTY_FIX32, fix32(value)));
}
void useUnit(Stage& stage, TW_UINT16 unit) {
    stage.manager.answer(operation::getCurrent(ICAP_UNITS), give(oneValue(TWTY_UINT16, unit)));
}

struct Axis {
    std::string letter;
    TW_UINT16 resolution, scaling;
    std::function<std::string(Module&)> getResolution, getScale;
    decltype(Module::SetXResolution) Module::*setResolution;
};

const Axis axes[] = {
    {"X", ICAP_XRESOLUTION, ICAP_XSCALING, reader(&Module::GetXResolution), reader(&Module::GetXScale),
     &Module::SetXResolution},
    {"Y", ICAP_YRESOLUTION, ICAP_YSCALING, reader(&Module::GetYResolution), reader(&Module::GetYScale),
     &Module::SetYResolution},
};

const Answer no = failWith(TWCC_BADCAP), check = returnCode(TWRC_CHECKSTATUS);

}  // namespace

TEST_CASE("resolutions and scales from every container") {
    const Answer bad = give(array(TWTY_FIX32, {1}));
    const Answer list = give(enumeration(TWTY_FIX32, {fix32(300), fix32(75), fix32(600), fix32(150)}, 3));
    const struct {
        int state;
        Answer get, getCurrent;
        std::string asked;
        int result;
        std::string resolution = "100 100 100", scale = "0 0 0";
    } rows[] = {
        {4, give(fix32Range(50, 1200, 1, 300.75)), no, "GET #", 0, "300 50 1200", "300.75 50 1200"},
        {4, number(299.5), no, "GET #", 0, "299 299 299", "299.5 299.5 299.5"},
        {4, list, no, "GET #", 0, "150 75 600", "150 150 150"},
        {4, no, number(90), "GET #; !refused; GETCURRENT #", 0, "90 90 90", "90 90 90"},
        {4, bad, no, "GET #; !container; GETCURRENT #; !refused", 6},
        {4, bad, bad, "GET #; !container; GETCURRENT #; !container", 10},
        {5, failWith(TWCC_BUMMER), no, "GET #; !refused; GETCURRENT #; !refused", 6},
        {5, check, check, "GET #; !refused; GETCURRENT #; !refused", 0},
        {2, no, no, "", 11},
    };
    Stages stages;
    for (const auto& row : rows) {
        for (const Axis& axis : axes) {
            Stage& stage = stages.in(row.state);
            useUnit(stage, TWUN_INCHES);
            const auto checkRow = [&](const auto& read, const char* name, TW_UINT16 capability,
                                      const std::string& values) {
                const std::string record = row.asked + values;
                checkReading(stage,
                             {row.state, row.getCurrent, row.get,
                              row.result == 11 ? "!sequence; value 7 8 9" : record},
                             read, "Get" + axis.letter + name, capability);
            };
            const std::string result = "; result " + std::to_string(row.result) + "; value ";
            checkRow(axis.getResolution, "Resolution", axis.resolution, "; unit" + result + row.resolution);
            checkRow(axis.getScale, "Scale", axis.scaling, result + row.scale);
        }
    }
}

TEST_CASE("resolutions in the source's unit, both ways") {
    const struct {
        TW_UINT16 unit;
        unsigned short dpi;
        std::string sent;
        Answer answer;
        std::string read;
    } rows[] = {
        {TWUN_INCHES, 300, "300", number(300), "0; value 300 300 300"},
        {TWUN_CENTIMETERS, 300, "762", number(762), "0; value 300 300 300"},
        // The factor loses a dot now and then.
        {TWUN_CENTIMETERS, 150, "381", number(254), "0; value 99 99 99"},
        {TWUN_PICAS, 300, "1800", number(1800), "0; value 300 300 300"},
        {TWUN_POINTS, 300, "21600", number(21600), "0; value 300 300 300"},
        // 432000 doesn't fit into a TW_FIX32; its low 16 bits are what goes.
        {TWUN_TWIPS, 300, "-26752", number(14400), "0; value 10 10 10"},
        {TWUN_PIXELS, 300, "300", number(300), "0; value 300 300 300"},
        {77, 300, "300", number(300), "0; value 300 300 300"},
        // A source that doesn't say its resolution has 100, in its own unit.
        {TWUN_CENTIMETERS, 50, "127", no, "6; value 39 39 39"},
    };
    Stages stages;
    for (const Axis& axis : axes) {
        const auto checkSet = [&](Stage& stage, unsigned short dpi, const std::string& record) {
            const auto set = [&] { return resultText((stage.module.*axis.setResolution)(dpi)); };
            checkCall(stage, record, "Set" + axis.letter + "Resolution", set, axis.resolution);
        };
        checkSet(stages.in(2), 300, "!sequence");
        for (const auto& row : rows) {
            Stage& stage = stages.in(4);
            useUnit(stage, row.unit);
            checkSet(stage, row.dpi, "unit; SET # one FIX32 " + row.sent + "; result 0");
            const bool isSaid = row.answer.returnCode == TWRC_SUCCESS;
            const std::string asked = isSaid ? "GET #" : "GET #; !refused; GETCURRENT #; !refused";
            checkReading(stage, {4, no, row.answer, asked + "; unit; result " + row.read}, axis.getResolution,
                         "Get" + axis.letter + "Resolution", axis.resolution);
        }
        for (const Answer& answer : {failWith(TWCC_BADVALUE), check}) {
            Stage& stage = stages.in(5);
            useUnit(stage, TWUN_INCHES);
            stage.manager.answer(operation::set(axis.resolution), answer);
            checkSet(stage, 10,
                     "unit; SET # one FIX32 10; !refused; result " + std::to_string(answer.conditionCode));
        }
    }
}

TEST_CASE("a pair of resolutions is tried by setting it, and taken back") {
    const Answer denied = failWith(TWCC_DENIED);
    const std::string present = "GET ICAP_XRESOLUTION; unit; GET ICAP_YRESOLUTION; unit; ";
    const std::string set = "unit; SET ICAP_$RESOLUTION one FIX32 ";
    const std::string setX = filled(set, '$', "X"), setY = filled(set, '$', "Y");
    const std::string back = setX + "150; " + setY + "200; ";
    // One of the two is refused: its setter warns, and so does the method.
    const std::string refused = "! CapNegotiate returns failure in TScanModule::Set$Resolution; STATUS; ";
    const std::string refusedX = filled(refused, '$', "X"), refusedY = filled(refused, '$', "Y");
    const std::string backRefused = setX + "150; " + refusedX + setY + "200; " + refusedY;
    const std::string failedX = refusedX + "! SetXResolution returns failure in @; ";
    const std::string failedY = refusedY + "! SetYResolution returns failure in @; ";
    const struct {
        std::vector<Answer> toX, toY;  // what the source says to each setting in turn
        std::string record;
    } rows[] = {
        {{}, {}, setX + "300; " + setY + "400; " + back + "result 0"},
        {{denied}, {}, setX + "300; " + failedX + back + "result 16"},
        // A refusal without a condition code isn't noticed here.
        {{check}, {}, setX + "300; " + refusedX + setY + "400; " + back + "result 0"},
        {{}, {denied}, setX + "300; " + setY + "400; " + failedY + back + "result 16"},
        // Taking back may fail as it likes.
        {{{}, denied}, {{}, denied}, setX + "300; " + setY + "400; " + backRefused + "result 0"},
    };
    Stages stages;
    for (const auto& row : rows) {
        Stage& stage = stages.in(4);
        useUnit(stage, TWUN_INCHES);
        stage.manager.answer(operation::get(ICAP_XRESOLUTION), give(fix32Range(50, 600, 1, 150)));
        stage.manager.answer(operation::get(ICAP_YRESOLUTION), give(fix32Range(50, 600, 1, 200)));
        for (const Answer& answer : row.toX)
            stage.manager.answerNext(operation::set(ICAP_XRESOLUTION), answer);
        for (const Answer& answer : row.toY)
            stage.manager.answerNext(operation::set(ICAP_YRESOLUTION), answer);
        const auto call = [&] { return resultText(stage.module.IsThisDPIAvailable(300, 400)); };
        checkCall(stage, present + row.record, "IsThisDPIAvailable", call);
    }
}

TEST_CASE("the largest area in inches, whatever the source's unit") {
    const std::string width = "GETCURRENT ICAP_PHYSICALWIDTH; ", height = "GETCURRENT ICAP_PHYSICALHEIGHT; ";
    const std::string asked = width + height + "unit; GET ICAP_XRESOLUTION; unit; result 0; value ";
    const std::string again = "!refused; GET ICAP_PHYSICALWIDTH; ";
    const Answer bad = give(fix32Range(1, 9, 1, 9));
    const struct {
        int state;
        TW_UINT16 unit;
        Answer width, height;
        std::string record;
        double resolution = 150;
    } rows[] = {
        {4, TWUN_INCHES, number(8.5), number(14), asked + "8.5 14"},
        {4, TWUN_CENTIMETERS, number(127), number(254), asked + "50 100"},
        {4, TWUN_PICAS, number(51), number(84), asked + "8.5 14"},
        {4, TWUN_POINTS, number(612), number(1008), asked + "8.5 14"},
        {4, TWUN_TWIPS, number(12240), number(20160), asked + "8.5 14"},
        // The height too is divided by the X resolution, and without one there is a usual area.
        {4, TWUN_PIXELS, number(1275), number(2100), asked + "8.5 14"},
        {4, TWUN_PIXELS, number(1275), number(2100), asked + "8 11", 0.5},
        {4, 77, number(5), number(6), asked + "5 6"},
        {4, 0, no, number(6), width + again + "!refused; result 6; value 5 6"},
        {4, 0, bad, bad, width + "!container; GET ICAP_PHYSICALWIDTH; !refused; result 6; value 5 6"},
        {5, 0, number(9), check,
         width + height + "!refused; GET ICAP_PHYSICALHEIGHT; !refused; result 6; value 5 6"},
        {5, 0, number(9), bad,
         width + height + "!container; GET ICAP_PHYSICALHEIGHT; !refused; result 6; value 5 6"},
        {2, 0, no, no, "!sequence; value 5 6"},
    };
    Stages stages;
    for (const auto& row : rows) {
        Stage& stage = stages.in(row.state);
        useUnit(stage, row.unit);
        stage.manager.answer(operation::getCurrent(ICAP_PHYSICALWIDTH), row.width);
        stage.manager.answer(operation::getCurrent(ICAP_PHYSICALHEIGHT), row.height);
        stage.manager.answer(operation::get(ICAP_XRESOLUTION), number(row.resolution));
        stage.manager.answer(operation::get(ICAP_YRESOLUTION), number(300));
        double across = 5, down = 6;
        checkCall(stage, row.record, "GetMaxArea", [&] {
            const int result = stage.module.GetMaxArea(&across, &down);
            return resultText(result, across, down);
        });
    }
}
