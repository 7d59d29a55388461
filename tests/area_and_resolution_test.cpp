// Resolutions, scaling and the largest area, in the host's units and in the source's.
#include "CallRecord.h"

namespace {

const std::string inches = "unit -> one UINT16 0";

// Across and down: '$' stands for X and Y, '#' for the capability.
void checkBoth(Stages& stages, const std::string& call, const std::string& record,
               const std::string& capability = "ICAP_$RESOLUTION") {
    for (const std::string axis : {"X", "Y"})
        checkCall(stages.forRow(record), filled(call, '$', axis),
                  filled(filled(record, '#', capability), '$', axis));
}

}  // namespace

TEST_CASE("resolutions and scales from every container") {
    const std::string none = "100 100 100", noScale = "0 0 0";
    const std::string refused = "GET # -> fail 13; !refused; GETCURRENT # -> ";
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
    for (const auto& row : rows) {
        const std::string result = "; result " + row.result + "; value ";
        checkBoth(stages, "Get$Resolution", row.asked + "; " + inches + result + row.resolution);
        checkBoth(stages, "Get$Scale", row.asked + result + row.scale, "ICAP_$SCALING");
    }
    checkBoth(stages, "Get$Resolution 7 8 9", "state 2; !sequence; value 7 8 9");
    checkBoth(stages, "Get$Scale 7 8 9", "state 2; !sequence; value 7 8 9");
}

TEST_CASE("resolutions in the source's unit, both ways") {
    const struct {
        std::string unit, set, sent, said, got;
    } rows[] = {
        {"0", "300", "300", "300", "300"},
        {"1", "300", "762", "762", "300"},
        // The factor loses a dot now and then.
        {"1", "150", "381", "254", "99"},
        {"2", "300", "1800", "1800", "300"},
        {"3", "300", "21600", "21600", "300"},
        // 432000 doesn't fit into a TW_FIX32; its low 16 bits are what goes.
        {"4", "300", "-26752", "14400", "10"},
        {"5", "300", "300", "300", "300"},
        {"77", "300", "300", "300", "300"},
    };
    Stages stages;
    for (const auto& row : rows) {
        const std::string unit = "unit -> one UINT16 " + row.unit,
                          got = row.got + " " + row.got + " " + row.got;
        checkBoth(stages, "Set$Resolution " + row.set, unit + "; SET # one FIX32 " + row.sent + "; result 0");
        checkBoth(stages, "Get$Resolution",
                  "GET # -> one FIX32 " + row.said + "; " + unit + "; result 0; value " + got);
    }
    // A source that doesn't say its resolution has 100, in its own unit.
    const std::string refused = "GET #; !refused; GETCURRENT #; !refused; ";
    checkBoth(stages, "Get$Resolution", refused + "unit -> one UINT16 1; result 6; value 39 39 39");
    const std::string sent = "state 5; " + inches + "; SET # one FIX32 10 -> ";
    checkBoth(stages, "Set$Resolution 10", sent + "fail 10; !refused; result 10");
    checkBoth(stages, "Set$Resolution 10", sent + "check; !refused; result 0");
    checkBoth(stages, "Set$Resolution 300", "state 2; !sequence");
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
    const std::string present =
        filled(asked, '$', "X") + "150; " + inches + "; " + filled(asked, '$', "Y") + "200; unit; ";
    Stages stages;
    for (const std::string& row : rows)
        checkCall(stages.in(4), "IsThisDPIAvailable 300 400", present + row);
}

TEST_CASE("the largest area in inches, whatever the source's unit") {
    const struct {
        std::string unit, width, height, area, resolution = "150";
    } rows[] = {
        {"0", "8.5", "14", "8.5 14"},
        {"1", "127", "254", "50 100"},
        {"4", "12240", "20160", "8.5 14"},
        // The height too is divided by the X resolution, and without one there is a usual area.
        {"5", "1275", "2100", "8.5 14"},
        {"5", "1275", "2100", "8 11", "0.5"},
        {"77", "5", "6", "5 6"},
    };
    const std::string width = "GETCURRENT ICAP_PHYSICALWIDTH", height = "GETCURRENT ICAP_PHYSICALHEIGHT";
    const std::string aRange = " -> range FIX32 1 9 1 1 9; !container; GET ICAP_PHYSICAL";
    const std::string widthOnly = "state 5; " + width + " -> one FIX32 9; " + height;
    std::vector<std::string> records = {
        width + "; !refused; GET ICAP_PHYSICALWIDTH; !refused; result 6; value 5 6",
        width + aRange + "WIDTH; !refused; result 6; value 5 6",
        widthOnly + " -> check; !refused; GET ICAP_PHYSICALHEIGHT; !refused; result 6; value 5 6",
        widthOnly + aRange + "HEIGHT; !refused; result 6; value 5 6",
        "state 2; !sequence; value 5 6",
    };
    for (const auto& row : rows)
        records.push_back(width + " -> one FIX32 " + row.width + "; " + height + " -> one FIX32 " +
                          row.height + "; unit -> one UINT16 " + row.unit +
                          "; GET ICAP_XRESOLUTION -> one FIX32 " + row.resolution +
                          "; unit; result 0; value " + row.area);
    checkCalls(records, "GetMaxArea 5 6");
}
