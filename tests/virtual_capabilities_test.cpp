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

TEST_CASE("each capability answers in the container that goes with it, or in an odd one") {
    const struct {
        const char* settings;
        TW_UINT16 capability, message;
        std::string answer;  // or how it begins
    } rows[] = {
        {"", ICAP_BITDEPTH, MSG_GET, "enum UINT16 [24 48] current 0 default 0"},
        {"PixelType=Gray BitDepth=16", ICAP_BITDEPTH, MSG_GET, "enum UINT16 [4 8 16] current 2 default 2"},
        {"", ICAP_BITDEPTH, MSG_GETCURRENT, "one UINT16 24"},
        {"", ICAP_BRIGHTNESS, MSG_GET, "range FIX32 -1000 1000 1 0 0"},
        {"Resolution=99", ICAP_XRESOLUTION, MSG_GET, "range FIX32 50 1200 1 99 99"},
        {"Units=Centimeters Resolution=300", ICAP_XRESOLUTION, MSG_GETCURRENT, "one FIX32 118+7224/65536"},
        {"Units=Twips Resolution=300", ICAP_YRESOLUTION, MSG_GETCURRENT, "one FIX32 0+13653/65536"},
        {"Units=Picas Resolution=300", ICAP_YRESOLUTION, MSG_GETCURRENT, "one FIX32 50"},
        {"Units=Pixels Resolution=300", ICAP_XRESOLUTION, MSG_GETCURRENT, "one FIX32 300"},
        {"Units=Centimeters Resolution=300 InverseResolution=1", ICAP_XRESOLUTION, MSG_GETCURRENT,
         "one FIX32 762"},
        {"", ICAP_GAMMA, MSG_GET, "one FIX32 1"},
        {"FirmwareVersion=7", 0x8001, MSG_GET, "one UINT16 7"},
        {"OpenFault=brightness", CAP_DEVICEONLINE, MSG_GETCURRENT, "one BOOL 0"},
        {"OpenFault=brightness", ICAP_BRIGHTNESS, MSG_GETCURRENT, "failure 5"},
        {"", 0x1234, MSG_GET, "failure 6"},
        {"Feeder=none", CAP_FEEDERENABLED, MSG_GET, "failure 6"},
        {"OddContainers=array", ICAP_PIXELTYPE, MSG_GET, "array UINT16 [0 1]"},
        {"OddContainers=index", ICAP_PIXELTYPE, MSG_GET, "enum UINT16 [0 1 2 3] current 1000 default 1000"},
        {"OddContainers=count", ICAP_PIXELTYPE, MSG_GET,
         "enum UINT16 [0 1 2 3 ... beyond the block current 2"},
        {"OddContainers=itemtype", ICAP_PIXELTYPE, MSG_GET, "enum type 255 ["},
        {"OddContainers=truncated", ICAP_PIXELTYPE, MSG_GET, "bad container"},
        {"OddContainers=nohandle", ICAP_PIXELTYPE, MSG_GET, "no container"}};
    for (const auto& row : rows)
        CHECK(VirtualHost(row.settings).ask(row.capability, row.message).substr(0, row.answer.size()) ==
              row.answer);
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
        const char *result, *after;
    } rows[] = {{type, oneValue(TWTY_UINT16, 1), "success", "one UINT16 1"},
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
                {ICAP_UNITS, oneValue(TWTY_UINT16, TWUN_PICAS), "success", "one UINT16 2"},
                {ICAP_YRESOLUTION, oneValue(TWTY_FIX32, fix32(50)), "success", "one FIX32 50"},
                {ICAP_UNITS, oneValue(TWTY_UINT16, TWUN_INCHES), "success", "one UINT16 0"}};
    for (const auto& row : rows) {
        CAPTURE(&row - rows);
        CHECK(host.set(row.capability, row.container) == row.result);
        CHECK(host.ask(row.capability) == row.after);
    }
    CHECK(host.ask(ICAP_YRESOLUTION) == "one FIX32 300");  // 50 per pica
    CHECK(host.setCode(type, 0) == "success");
    CHECK(host.ask(type, MSG_GET) == "enum UINT16 [0 2] current 0 default 1");
    CHECK(host.ask(type, MSG_RESET) == "one UINT16 2");
    CHECK(host.ask(type, MSG_GET) == "enum UINT16 [0 1 2 3] current 2 default 2");
}

TEST_CASE("the bit depth follows the pixel type, the frame the paper, and the paper the frame") {
    VirtualHost host("PixelType=Gray BitDepth=16");
    CHECK(host.setCode(ICAP_PIXELTYPE, TWPT_BW) == "success");
    CHECK(host.ask(ICAP_BITDEPTH, MSG_GET) == "enum UINT16 [1] current 0 default 0");
    CHECK(host.setCode(ICAP_SUPPORTEDSIZES, TWSS_USLEGAL) == "success");
    CHECK(frameText(host) == "8 x 14");
    const struct {
        TW_FRAME frame;
        const char *result, *paper, *after;
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
    CHECK(host.control(DAT_IDENTITY, MSG_CLOSEDS) == "success");
    CHECK(host.open() == "success");
    CHECK(host.ask(ICAP_BITDEPTH) == "one UINT16 16");
    CHECK(host.setCode(ICAP_UNITS, TWUN_CENTIMETERS) == "success");
    CHECK(frameText(host) == "21 x 29");
}

TEST_CASE("palette, response curves, default matrix, exposure, descreening up to its limit") {
    VirtualHost host("PixelType=Palette BitDepth=4");
    TW_PALETTE8 palette;
    CHECK(host.image(DAT_PALETTE8, MSG_GET, &palette) == "success");
    CHECK(palette.NumColors == 16);
    CHECK(hex(&palette.Colors[9].Index, 4) == "09ff0000");
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
    for (const int resolution : {300, 301}) {
        VirtualHost fine("Resolution=" + std::to_string(resolution));
        CHECK(fine.set(KV_DESCREENING, oneValue(TWTY_BOOL, 1)) == "success");
        CHECK(fine.scanner.request().descreen == (resolution == 300));
    }
}
