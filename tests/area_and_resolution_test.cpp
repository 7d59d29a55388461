// Resolutions, scaling and the largest area, in the host's units and in the source's.
#include "CallRecord.h"

namespace {

struct Axis {
    std::string letter;
    TW_UINT16 resolution, scaling;
    Call getResolution, getScale;
    decltype(Module::SetXResolution) Module::*setResolution;

    void checkResolution(Stage& stage, const std::string& row) const {
        checkCall(stage, row, "Get" + letter + "Resolution", getResolution, resolution);
    }
    void checkScale(Stage& stage, const std::string& row) const {
        checkCall(stage, row, "Get" + letter + "Scale", getScale, scaling);
    }
    void checkSet(Stage& stage, unsigned short dpi, const std::string& row) const {
        const Call set = [&](Module& module) { return resultText((module.*setResolution)(dpi)); };
        checkCall(stage, row, "Set" + letter + "Resolution", set, resolution);
    }
};

const Axis axes[] = {
    {"X", ICAP_XRESOLUTION, ICAP_XSCALING, reader(&Module::GetXResolution), reader(&Module::GetXScale),
     &Module::SetXResolution},
    {"Y", ICAP_YRESOLUTION, ICAP_YSCALING, reader(&Module::GetYResolution), reader(&Module::GetYScale),
     &Module::SetYResolution},
};

const std::string inches = "unit -> one UINT16 0";

}  // namespace

TEST_CASE("resolutions and scales from every container") {
    const std::string none = "100 100 100", noScale = "0 0 0",
                      refused = "GET # -> fail 13; !refused; GETCURRENT # -> ";
    const struct {
        std::string asked, resolution, scale, result = "0";
    } rows[] = {
        {"GET # -> range FIX32 50 1200 1 50 300.75", "300 50 1200", "300.75 50 1200"},
        {"GET # -> one FIX32 299.5", "299 299 299", "299.5 299.5 299.5"},
        {"GET # -> enum FIX32 [300 75 600 150] current 3", "150 75 600", "150 150 150"},
        {refused + "one FIX32 90", "90 90 90", "90 90 90"},
        {"GET # -> array FIX32 [1]; !container; GETCURRENT # -> fail 6; !refused", none, noScale, "6"},
        {refused + "array FIX32 [1]; !container", none, noScale, "10"},
        {"state 5; " + refused + "fail 1; !refused", none, noScale, "1"},
        {"state 5; " + refused + "check; !refused", none, noScale},
    };
    Stages stages;
    for (const Axis& axis : axes) {
        for (const auto& row : rows) {
            const std::string result = "; result " + row.result + "; value ";
            axis.checkResolution(stages.forRow(row.asked),
                                 row.asked + "; " + inches + result + row.resolution);
            axis.checkScale(stages.forRow(row.asked), row.asked + result + row.scale);
        }
        axis.checkResolution(stages.in(2), "!sequence; value 7 8 9");
        axis.checkScale(stages.in(2), "!sequence; value 7 8 9");
    }
}

TEST_CASE("resolutions in the source's unit, both ways") {
    const struct {
        int unit;
        unsigned short dpi;
        std::string sent, said, read;
    } rows[] = {
        {TWUN_INCHES, 300, "300", "300", "300 300 300"},
        {TWUN_CENTIMETERS, 300, "762", "762", "300 300 300"},
        // The factor loses a dot now and then.
        {TWUN_CENTIMETERS, 150, "381", "254", "99 99 99"},
        {TWUN_PICAS, 300, "1800", "1800", "300 300 300"},
        {TWUN_POINTS, 300, "21600", "21600", "300 300 300"},
        // 432000 doesn't fit into a TW_FIX32; its low 16 bits are what goes.
        {TWUN_TWIPS, 300, "-26752", "14400", "10 10 10"},
        {TWUN_PIXELS, 300, "300", "300", "300 300 300"},
        {77, 300, "300", "300", "300 300 300"},
    };
    Stages stages;
    for (const Axis& axis : axes) {
        for (const auto& row : rows) {
            const std::string unit = "unit -> one UINT16 " + std::to_string(row.unit);
            axis.checkSet(stages.in(4), row.dpi, unit + "; SET # one FIX32 " + row.sent + "; result 0");
            axis.checkResolution(stages.in(4), "GET # -> one FIX32 " + row.said + "; " + unit +
                                                   "; result 0; value " + row.read);
        }
        // A source that doesn't say its resolution has 100, in its own unit.
        axis.checkResolution(
            stages.in(4),
            "GET #; !refused; GETCURRENT #; !refused; unit -> one UINT16 1; result 6; value 39 39 39");
        const std::string refused = inches + "; SET # one FIX32 10 -> ";
        axis.checkSet(stages.in(5), 10, refused + "fail 10; !refused; result 10");
        axis.checkSet(stages.in(5), 10, refused + "check; !refused; result 0");
        axis.checkSet(stages.in(2), 300, "!sequence");
    }
}

TEST_CASE("a pair of resolutions is tried by setting it, and taken back") {
    const std::string asked = "GET ICAP_$RESOLUTION -> range FIX32 50 600 1 50 ";
    const std::string set = "unit; SET ICAP_$RESOLUTION one FIX32 ";
    const std::string setX = filled(set, '$', "X"), setY = filled(set, '$', "Y");
    const std::string back = setX + "150; " + setY + "200; ";
    // One of the two is refused: its setter warns, and so does the method.
    const std::string refused = "! CapNegotiate returns failure in TScanModule::Set$Resolution; STATUS; ";
    const std::string refusedX = filled(refused, '$', "X"), refusedY = filled(refused, '$', "Y");
    const std::string rows[] = {
        setX + "300; " + setY + "400; " + back + "result 0",
        setX + "300 -> fail 16; " + refusedX + "! SetXResolution returns failure in @; " + back + "result 16",
        // A refusal without a condition code isn't noticed here.
        setX + "300 -> check; " + refusedX + setY + "400; " + back + "result 0",
        setX + "300; " + setY + "400 -> fail 16; " + refusedY + "! SetYResolution returns failure in @; " +
            back + "result 16",
        // Taking back may fail as it likes.
        setX + "300; " + setY + "400; " + setX + "150 -> fail 16; " + refusedX + setY + "200 -> fail 16; " +
            refusedY + "result 0",
    };
    const Call call = [](Module& module) { return resultText(module.IsThisDPIAvailable(300, 400)); };
    Stages stages;
    for (const std::string& row : rows) {
        const std::string present =
            filled(asked, '$', "X") + "150; " + inches + "; " + filled(asked, '$', "Y") + "200; unit; ";
        checkCall(stages.in(4), present + row, "IsThisDPIAvailable", call);
    }
}

TEST_CASE("the largest area in inches, whatever the source's unit") {
    const std::string width = "GETCURRENT ICAP_PHYSICALWIDTH", height = "GETCURRENT ICAP_PHYSICALHEIGHT";
    const struct {
        int unit;
        std::string width, height, area, resolution = "150";
    } rows[] = {
        {TWUN_INCHES, "8.5", "14", "8.5 14"},
        {TWUN_CENTIMETERS, "127", "254", "50 100"},
        {TWUN_PICAS, "51", "84", "8.5 14"},
        {TWUN_POINTS, "612", "1008", "8.5 14"},
        {TWUN_TWIPS, "12240", "20160", "8.5 14"},
        // The height too is divided by the X resolution, and without one there is a usual area.
        {TWUN_PIXELS, "1275", "2100", "8.5 14"},
        {TWUN_PIXELS, "1275", "2100", "8 11", "0.5"},
        {77, "5", "6", "5 6"},
    };
    const std::string aRange = " -> range FIX32 1 9 1 1 9; !container; GET ICAP_PHYSICAL";
    const std::string widthOnly = "state 5; " + width + " -> one FIX32 9; " + height;
    std::vector<std::string> records = {
        width + "; !refused; GET ICAP_PHYSICALWIDTH; !refused; result 6; value 5 6",
        width + aRange + "WIDTH; !refused; result 6; value 5 6",
        widthOnly + " -> check; !refused; GET ICAP_PHYSICALHEIGHT; !refused; result 6; value 5 6",
        widthOnly + aRange + "HEIGHT; !refused; result 6; value 5 6",
        "state 2; !sequence; value 5 6",
    };
    for (const auto& row : rows) {
        const std::string one = " -> one FIX32 ",
                          sides = width + one + row.width + "; " + height + one + row.height;
        const std::string asked =
            "; unit -> one UINT16 " + std::to_string(row.unit) + "; GET ICAP_XRESOLUTION";
        records.push_back(sides + asked + one + row.resolution + "; unit; result 0; value " + row.area);
    }
    const Call call = [](Module& module) {
        double across = 5, down = 6;
        const int result = module.GetMaxArea(&across, &down);
        return resultText(result, across, down);
    };
    checkCalls(records, "GetMaxArea", call);
}
