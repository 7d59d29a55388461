// The virtual scanner's capabilities: containers, units, limits, what follows from what.
#include "virtual_host.h"

TEST_CASE("each capability answers in the container that goes with it, or in an odd one") {
    const std::string unit = "Resolution=300 Units=", odd = "OddContainers=";
    const std::string depths16 = "enum UINT16 [4 8 16] current 2 default 2";
    const Story stories[] = {
        {"", "ICAP_BITDEPTH?: enum UINT16 [24 48] current 0 default 0; ICAP_BITDEPTH: one UINT16 24"},
        {"PixelType=Gray BitDepth=16", "ICAP_BITDEPTH?: " + depths16},
        {"", "ICAP_BRIGHTNESS?: range FIX32 -1000 1000 1 0 0; ICAP_GAMMA?: one FIX32 1"},
        {"Resolution=99", "ICAP_XRESOLUTION?: range FIX32 50 1200 1 99 99"},
        {unit + "Centimeters", "ICAP_XRESOLUTION: one FIX32 118+7224/65536; frame: 21 x 29"},
        {unit + "Twips", "ICAP_YRESOLUTION: one FIX32 0+13653/65536"},
        {unit + "Pixels", "ICAP_XRESOLUTION: one FIX32 300"},
        {unit + "Centimeters InverseResolution=1", "ICAP_XRESOLUTION: one FIX32 762"},
        {"FirmwareVersion=7", "KV_VERSION?: one UINT16 7; 0x1234?: failure 13"},
        {"OpenFault=brightness", "CAP_DEVICEONLINE: one BOOL 0; ICAP_BRIGHTNESS: failure 5"},
        {odd + "array", "ICAP_PIXELTYPE?: array UINT16 [0 1]"},
        {odd + "index", "ICAP_PIXELTYPE?: enum UINT16 [0 1 2 3] current 1000 default 1000"},
        {odd + "count", "ICAP_PIXELTYPE?: enum UINT16 [0 1 2 3 ... beyond the block current 2 default 2"},
        {odd + "itemtype", "CAP_XFERCOUNT: one type 255 65535"},
        {odd + "truncated", "ICAP_PIXELTYPE?: bad container"},
        {odd + "nohandle", "ICAP_PIXELTYPE?: no container"}};
    checkStories(stories);
}

TEST_CASE("CAP_SUPPORTEDCAPS lists exactly what can be asked for") {
    VirtualHost host("RefusedCapabilities=ICAP_GAMMA Feeder=none");
    std::string answered;
    for (const TW_UINT16 block : {0x0000, 0x0100, 0x1000, 0x1100, 0x8000})
        for (TW_UINT16 id = block; id < block + 0x40; ++id)
            if (host.ask(id, MSG_GET) != "failure 13") answered += " " + std::to_string(id);
    host.check("CAP_SUPPORTEDCAPS?: array UINT16 [" + answered.substr(1) + "]");
    host.check("ICAP_GAMMA: failure 13; CAP_FEEDERENABLED: failure 13");
}

TEST_CASE("only what is offered can be set, and follows from the units") {
    VirtualHost("ReadOnlyCapabilities=ICAP_LIGHTPATH")
        .check(
            "ICAP_PIXELTYPE 1: success; ICAP_PIXELTYPE 7: failure 10; ICAP_PIXELTYPE: one UINT16 1; "
            "CAP_FEEDERENABLED 2: success; CAP_FEEDERENABLED: one BOOL 1; CAP_FEEDERLOADED 0: failure 14; "
            "CAP_XFERCOUNT -2: failure 10; CAP_XFERCOUNT: one INT16 -1; ICAP_LIGHTPATH 1: failure 14; "
            "ICAP_BRIGHTNESS 10.4: check; ICAP_BRIGHTNESS 1001: failure 10; ICAP_BRIGHTNESS: one FIX32 10; "
            "ICAP_XRESOLUTION 49: failure 10; ICAP_XRESOLUTION: one FIX32 150; ICAP_UNITS 2: success; "
            "ICAP_YRESOLUTION 50: success; ICAP_YRESOLUTION: one FIX32 50; "  // per pica
            "ICAP_UNITS 0: success; ICAP_YRESOLUTION: one FIX32 300");
}

TEST_CASE("a container needs the right item type and a current item within it; it may restrict the choice") {
    VirtualHost host;
    CHECK(host.set(ICAP_PIXELTYPE, enumeration(TWTY_UINT16, {0, 2}, 1)) == "success");
    const ContainerImage refused[] = {
        oneValue(TWTY_UINT16, 1),  // no longer offered
        oneValue(TWTY_INT16, 0),
        enumeration(TWTY_INT16, {0, 2}, 0),
        enumeration(TWTY_UINT16, {0, 2}, 2),
        withoutHandle(TWON_ONEVALUE),
        rawContainer(TWON_ONEVALUE, {4, 0, 0}),
        rawContainer(TWON_ENUMERATION, {4, 0, 255, 255, 255, 127, 0, 0, 0, 0, 0, 0, 0, 0})};
    for (const ContainerImage& container : refused)
        CHECK(host.set(ICAP_PIXELTYPE, container) + ", " + host.ask(ICAP_PIXELTYPE) ==
              "failure 10, one UINT16 2");
    host.check("ICAP_PIXELTYPE 0: success; ICAP_PIXELTYPE?: enum UINT16 [0 2] current 0 default 1");
    CHECK(host.ask(ICAP_PIXELTYPE, MSG_RESET) == "one UINT16 2");
    host.check("ICAP_PIXELTYPE?: enum UINT16 [0 1 2 3] current 2 default 2");
}

TEST_CASE("the bit depth follows the pixel type, the frame the paper, and the paper the frame") {
    VirtualHost("PixelType=Gray BitDepth=16")
        .check(
            "ICAP_PIXELTYPE 0: success; ICAP_BITDEPTH?: enum UINT16 [1] current 0 default 0; "
            "ICAP_SUPPORTEDSIZES 0: success; frame: 11 x 17; ICAP_SUPPORTEDSIZES 4: success; frame: 8 x 14; "
            "area 1 2 3 4: success; ICAP_SUPPORTEDSIZES: one UINT16 0; frame: 3 x 4; "
            "area 0 0 8.5 11: success; ICAP_SUPPORTEDSIZES: one UINT16 3; frame: 8 x 11; "
            "area 0 0 8 40: check; ICAP_SUPPORTEDSIZES: one UINT16 0; frame: 8 x 17; "  // beyond the glass
            "area 3 0 3 4: failure 10; frame: 8 x 17; "                                 // empty
            // A source that is opened again has forgotten all that.
            "close: success; open: success; ICAP_BITDEPTH: one UINT16 16; frame: 8 x 11");
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
        fine.check("KV_DESCREENING 1: success");
        CHECK(fine.scanner.request().descreen == (resolution == 300));
    }
}
