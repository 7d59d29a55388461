// The virtual scanner's capabilities: containers, units, limits, what follows from what.
#include <doctest.h>

#include "virtual_host.h"

namespace {

std::string frameText(VirtualHost& host) {
    TW_IMAGELAYOUT layout{};
    CHECK(host.image(DAT_IMAGELAYOUT, MSG_GET, &layout) == "success");
    return std::to_string(layout.Frame.Right.Whole) + " x " + std::to_string(layout.Frame.Bottom.Whole);
}

}  // namespace

TEST_CASE("each capability answers in the container that goes with it") {
    VirtualHost host("FirmwareVersion=7");
    const struct {
        TW_UINT16 capability;
        const char* get;
        const char* current;
    } rows[] = {{ICAP_BITDEPTH, "enum UINT16 [24 48] current 0 default 0", "one UINT16 24"},
                {ICAP_BRIGHTNESS, "range FIX32 -1000 1000 1 0 0", "one FIX32 0"},
                {ICAP_XRESOLUTION, "range FIX32 50 1200 1 150 150", "one FIX32 150"},
                {ICAP_GAMMA, "one FIX32 1", "one FIX32 1"},
                {0x8001, "one UINT16 7", "one UINT16 7"},
                {0x1234, "failure 6", "failure 6"}};
    for (const auto& row : rows) {
        CHECK(host.ask(row.capability, MSG_GET) == row.get);
        CHECK(host.ask(row.capability, MSG_GETCURRENT) == row.current);
    }
}

TEST_CASE("CAP_SUPPORTEDCAPS lists exactly what can be asked for") {
    VirtualHost host("RefusedCapabilities=ICAP_GAMMA");
    std::string answered;
    for (const TW_UINT16 block : {0x0000, 0x0100, 0x1000, 0x1100, 0x8000})
        for (TW_UINT16 id = block; id < block + 0x40; ++id)
            if (host.ask(id, MSG_GET) != "failure 6") answered += " " + std::to_string(id);
    CHECK(host.ask(CAP_SUPPORTEDCAPS, MSG_GET) == "array UINT16 [" + answered.substr(1) + "]");
    CHECK(host.ask(ICAP_GAMMA) == "failure 6");
}

TEST_CASE("setting takes the right item type and value only, and resetting goes back") {
    VirtualHost host("ReadOnlyCapabilities=ICAP_LIGHTPATH");
    const TW_UINT16 type = ICAP_PIXELTYPE;
    const auto tooMany = rawContainer(TWON_ENUMERATION, {4, 0, 255, 255, 255, 127, 0, 0, 0, 0, 0, 0, 0, 0});
    const struct {
        TW_UINT16 capability;
        ContainerImage container;
        const char* result;
        const char* after;
    } rows[] = {
        {type, oneValue(TWTY_UINT16, 1), "success", "one UINT16 1"},
        {type, oneValue(TWTY_UINT16, 7), "failure 10", "one UINT16 1"},
        {type, oneValue(TWTY_INT16, 0), "failure 10", "one UINT16 1"},
        {type, enumeration(TWTY_UINT16, {0, 2}, 1), "success", "one UINT16 2"},
        {type, oneValue(TWTY_UINT16, 1), "failure 10", "one UINT16 2"},  // no longer offered
        {type, enumeration(TWTY_UINT16, {0, 2}, 2), "failure 10", "one UINT16 2"},
        {type, withoutHandle(TWON_ONEVALUE), "failure 10", "one UINT16 2"},
        {type, rawContainer(TWON_ONEVALUE, {4, 0, 1}), "failure 10", "one UINT16 2"},
        {type, tooMany, "failure 10", "one UINT16 2"},
        {CAP_FEEDERENABLED, oneValue(TWTY_BOOL, 2), "success", "one BOOL 1"},
        {CAP_FEEDERLOADED, oneValue(TWTY_BOOL, 0), "failure 6", "one BOOL 1"},
        {CAP_XFERCOUNT, oneValue(TWTY_INT16, 0xFFFE), "failure 10", "one INT16 -1"},
        {ICAP_LIGHTPATH, oneValue(TWTY_UINT16, 1), "failure 6", "one UINT16 0"},
        {ICAP_BRIGHTNESS, oneValue(TWTY_FIX32, fix32(10.4)), "check", "one FIX32 10"},
        {ICAP_BRIGHTNESS, oneValue(TWTY_FIX32, fix32(1001)), "failure 10", "one FIX32 10"},
        {ICAP_XRESOLUTION, oneValue(TWTY_FIX32, fix32(49)), "failure 10", "one FIX32 150"},
    };
    for (const auto& row : rows) {
        CAPTURE(&row - rows);
        CHECK(host.set(row.capability, row.container) == row.result);
        CHECK(host.ask(row.capability) == row.after);
    }
    CHECK(host.ask(type, MSG_RESET) == "one UINT16 2");
    CHECK(host.ask(type, MSG_GET) == "enum UINT16 [0 1 2 3] current 2 default 2");
}

TEST_CASE("resolutions, sizes and the layout are told in the current unit") {
    const struct {
        const char* inverse;  // as some drivers have it
        TW_UINT16 unit;
        const char* resolution;  // 300 dots per inch in that unit
        const char* frame;
    } rows[] = {{"0", TWUN_CENTIMETERS, "118+7224/65536", "21 x 29"},
                {"0", TWUN_TWIPS, "0+13653/65536", "11905 x 16837"},
                {"1", TWUN_CENTIMETERS, "762", "21 x 29"}};
    for (const auto& row : rows) {
        VirtualHost host(std::string("Resolution=300 InverseResolution=") + row.inverse);
        REQUIRE(host.setCode(ICAP_UNITS, row.unit) == "success");
        CHECK(host.ask(ICAP_XRESOLUTION) == std::string("one FIX32 ") + row.resolution);
        CHECK(frameText(host) == row.frame);
    }
    VirtualHost host;
    CHECK(host.setCode(ICAP_UNITS, TWUN_PICAS) == "success");
    CHECK(host.set(ICAP_YRESOLUTION, oneValue(TWTY_FIX32, fix32(50))) == "success");
    CHECK(host.setCode(ICAP_UNITS, TWUN_INCHES) == "success");
    CHECK(host.ask(ICAP_YRESOLUTION) == "one FIX32 300");
}

TEST_CASE("the bit depth follows the pixel type, the frame the paper, and the paper the frame") {
    VirtualHost host("PixelType=Gray BitDepth=16");
    CHECK(host.ask(ICAP_BITDEPTH, MSG_GET) == "enum UINT16 [4 8 16] current 2 default 2");
    CHECK(host.setCode(ICAP_PIXELTYPE, TWPT_BW) == "success");
    CHECK(host.ask(ICAP_BITDEPTH, MSG_GET) == "enum UINT16 [1] current 0 default 0");
    CHECK(host.setCode(ICAP_SUPPORTEDSIZES, TWSS_USLEGAL) == "success");
    CHECK(frameText(host) == "8 x 14");
    const struct {
        TW_FRAME frame;
        const char* result;
        const char* paper;
        const char* after;
    } rows[] = {{{{1, 0}, {2, 0}, {3, 0}, {4, 0}}, "success", "one UINT16 0", "3 x 4"},
                {{{0, 0}, {0, 0}, {8, 0x8000}, {11, 0}}, "success", "one UINT16 3", "8 x 11"},
                {{{0, 0}, {0, 0}, {8, 0}, {40, 0}}, "check", "one UINT16 0", "8 x 17"},  // beyond the glass
                {{{3, 0}, {0, 0}, {3, 0}, {4, 0}}, "failure 10", "one UINT16 0", "8 x 17"}};  // empty
    for (const auto& row : rows) {
        TW_IMAGELAYOUT layout{};
        layout.Frame = row.frame;
        CHECK(host.image(DAT_IMAGELAYOUT, MSG_SET, &layout) == row.result);
        CHECK(host.ask(ICAP_SUPPORTEDSIZES) == row.paper);
        CHECK(frameText(host) == row.after);
    }
    // A source that is opened again has forgotten all that.
    CHECK(host.control(DAT_IDENTITY, MSG_CLOSEDS, nullptr) == "success");
    CHECK(host.open() == "success");
    CHECK(host.ask(ICAP_BITDEPTH) == "one UINT16 16");
    CHECK(frameText(host) == "8 x 11");
}

TEST_CASE("odd containers are odd") {
    const struct {
        const char* fault;
        std::string answer;
    } rows[] = {{"array", "array UINT16 [0 1]"},
                {"index", "enum UINT16 [0 1 2 3] current 1000 default 1000"},
                {"count", "enum UINT16 [0 1 2 3 ... beyond the block current 2 default 2"},
                {"itemtype", "enum type 255 ["},
                {"truncated", "bad container"},
                {"nohandle", "no container"}};
    for (const auto& row : rows) {
        VirtualHost host(std::string("OddContainers=") + row.fault);
        CHECK(host.ask(ICAP_PIXELTYPE, MSG_GET).substr(0, row.answer.size()) == row.answer);
    }
}

TEST_CASE("response curves, the default matrix and the exposure") {
    VirtualHost host;
    TW_ELEMENT8 curve[256];
    CHECK(host.image(DAT_RGBRESPONSE, MSG_GET, curve) == "success");
    for (TW_ELEMENT8& element : curve)
        element.Channel1 = static_cast<TW_UINT8>(255 - element.Channel1);
    CHECK(host.image(DAT_RGBRESPONSE, MSG_SET, curve) == "success");
    CHECK(host.scanner.expectedPage().colorAt(600, 800) == vscan::Color{0, 255, 255});  // white paper
    TW_FIX32 matrix[9];
    CHECK(host.image(DAT_CUSTOMBASE + 2, MSG_GETDEFAULT, matrix) == "success");
    for (int i = 0; i < 9; ++i)
        CHECK(matrix[i].Whole == (i % 4 == 0 ? 1 : 0));
    CHECK(host.image(DAT_CUSTOMBASE + 1, MSG_SET, matrix) == "success");
}
