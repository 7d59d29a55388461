// The virtual scanner's capabilities: containers, units, limits, what follows from what.
#include <doctest.h>

#include <algorithm>
#include <string>

#include "virtual_host.h"

TEST_CASE("each capability answers in the container that goes with it") {
    VirtualHost host(Keys{{"Feeder", "on"}, {"FirmwareVersion", "7"}});
    host.open();
    const struct {
        TW_UINT16 capability;
        std::string get;
        std::string current;
    } rows[] = {
        {ICAP_PIXELTYPE, "enum UINT16 [0 1 2 3] current 2 default 2", "one UINT16 2"},
        {ICAP_BITDEPTH, "enum UINT16 [24 48] current 0 default 0", "one UINT16 24"},
        {ICAP_UNITS, "enum UINT16 [0 1 2 3 4 5] current 0 default 0", "one UINT16 0"},
        {ICAP_XFERMECH, "enum UINT16 [0 1 2] current 0 default 0", "one UINT16 0"},
        {ICAP_PIXELFLAVOR, "enum UINT16 [0 1] current 0 default 0", "one UINT16 0"},
        {ICAP_COMPRESSION, "enum UINT16 [0] current 0 default 0", "one UINT16 0"},
        {ICAP_SUPPORTEDSIZES, "enum UINT16 [0 1 2 3 4 5 6 7 9 11 13] current 1 default 1", "one UINT16 1"},
        {CAP_XFERCOUNT, "one INT16 -1", "one INT16 -1"},
        {CAP_FEEDERENABLED, "one BOOL 1", "one BOOL 1"},
        {CAP_FEEDERLOADED, "one BOOL 1", "one BOOL 1"},
        {0x8001, "one UINT16 7", "one UINT16 7"},
        {0x800F, "enum UINT16 [0 1 2 3] current 0 default 0", "one UINT16 0"},
        {0x1234, "failed 6", "failed 6"},
    };
    for (const auto& row : rows) {
        CAPTURE(row.capability);
        CHECK(host.ask(row.capability, MSG_GET) == row.get);
        CHECK(host.ask(row.capability, MSG_GETCURRENT) == row.current);
        CHECK(host.ask(row.capability, MSG_GETDEFAULT) == row.current);
    }
    CHECK(host.ask(ICAP_BRIGHTNESS, MSG_GET).substr(0, 11) == "range FIX32");
    CHECK(host.ask(ICAP_XRESOLUTION, MSG_GET).substr(0, 11) == "range FIX32");
    CHECK(host.ask(ICAP_GAMMA, MSG_GET).substr(0, 9) == "one FIX32");
}

TEST_CASE("CAP_SUPPORTEDCAPS lists exactly what can be asked for") {
    VirtualHost host(Keys{{"RefusedCapabilities", "ICAP_GAMMA"}});
    host.open();
    TW_CAPABILITY request{CAP_SUPPORTEDCAPS, TWON_DONTCARE16, nullptr};
    REQUIRE(host.control(DAT_CAPABILITY, MSG_GET, &request) == TWRC_SUCCESS);
    REQUIRE(request.ConType == TWON_ARRAY);
    const auto* list = static_cast<const TW_ARRAY*>(GlobalLock(request.hContainer));
    std::vector<TW_UINT16> listed(reinterpret_cast<const TW_UINT16*>(list->ItemList),
                                  reinterpret_cast<const TW_UINT16*>(list->ItemList) + list->NumItems);
    GlobalUnlock(request.hContainer);
    GlobalFree(request.hContainer);
    CHECK(listed.size() == 43);
    for (TW_UINT16 block : {0x0000, 0x0100, 0x1000, 0x1100, 0x8000})
        for (TW_UINT16 id = block; id < block + 0x40; ++id) {
            CAPTURE(id);
            const bool answered = host.ask(id, MSG_GET) != "failed 6";
            CHECK(answered == (std::find(listed.begin(), listed.end(), id) != listed.end()));
        }
    CHECK(host.setNumber(ICAP_GAMMA, 2) == TWRC_FAILURE);
    CHECK(host.condition() == TWCC_BADCAP);
}

TEST_CASE("setting takes the right item type and value only, and resetting goes back") {
    VirtualHost host(Keys{{"ReadOnlyCapabilities", "ICAP_LIGHTPATH"}});
    host.open();
    const struct {
        TW_UINT16 capability;
        ContainerImage container;
        TW_UINT16 result;
        int condition;
        std::string after;
    } rows[] = {
        {ICAP_PIXELTYPE, oneValue(TWTY_UINT16, 1), TWRC_SUCCESS, 0, "one UINT16 1"},
        {ICAP_PIXELTYPE, oneValue(TWTY_UINT16, 7), TWRC_FAILURE, TWCC_BADVALUE, "one UINT16 1"},
        {ICAP_PIXELTYPE, oneValue(TWTY_INT16, 0), TWRC_FAILURE, TWCC_BADVALUE, "one UINT16 1"},
        {ICAP_PIXELTYPE, enumeration(TWTY_UINT16, {0, 2}, 1), TWRC_SUCCESS, 0, "one UINT16 2"},
        {ICAP_PIXELTYPE, oneValue(TWTY_UINT16, 1), TWRC_FAILURE, TWCC_BADVALUE, "one UINT16 2"},
        {ICAP_PIXELTYPE, enumeration(TWTY_UINT16, {0, 2}, 2), TWRC_FAILURE, TWCC_BADVALUE, "one UINT16 2"},
        {ICAP_PIXELTYPE, enumeration(TWTY_UINT16, {0, 9}, 0), TWRC_FAILURE, TWCC_BADVALUE, "one UINT16 2"},
        {ICAP_PIXELTYPE, array(TWTY_UINT16, {0, 2}), TWRC_FAILURE, TWCC_BADVALUE, "one UINT16 2"},
        {ICAP_PIXELTYPE, withoutHandle(TWON_ONEVALUE), TWRC_FAILURE, TWCC_BADVALUE, "one UINT16 2"},
        {ICAP_PIXELTYPE, rawContainer(TWON_ONEVALUE, {4, 0, 1}), TWRC_FAILURE, TWCC_BADVALUE, "one UINT16 2"},
        {ICAP_PIXELTYPE,
         rawContainer(TWON_ENUMERATION, {4, 0, 0xFF, 0xFF, 0xFF, 0x7F, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0}),
         TWRC_FAILURE, TWCC_BADVALUE, "one UINT16 2"},
        {CAP_FEEDERENABLED, oneValue(TWTY_BOOL, 0), TWRC_SUCCESS, 0, "one BOOL 0"},
        {CAP_FEEDERENABLED, oneValue(TWTY_BOOL, 2), TWRC_SUCCESS, 0, "one BOOL 1"},
        {CAP_FEEDERENABLED, oneValue(TWTY_UINT16, 0), TWRC_FAILURE, TWCC_BADVALUE, "one BOOL 1"},
        {CAP_FEEDERLOADED, oneValue(TWTY_BOOL, 0), TWRC_FAILURE, TWCC_BADCAP, "one BOOL 1"},
        {CAP_XFERCOUNT, oneValue(TWTY_INT16, 5), TWRC_SUCCESS, 0, "one INT16 5"},
        {CAP_XFERCOUNT, oneValue(TWTY_INT16, 0), TWRC_FAILURE, TWCC_BADVALUE, "one INT16 5"},
        {CAP_XFERCOUNT, oneValue(TWTY_INT16, 0xFFFE), TWRC_FAILURE, TWCC_BADVALUE, "one INT16 5"},
        {ICAP_LIGHTPATH, oneValue(TWTY_UINT16, 1), TWRC_FAILURE, TWCC_BADCAP, "one UINT16 0"},
        {0x8004, oneValue(TWTY_BOOL, 1), TWRC_SUCCESS, 0, "one BOOL 1"},
        {0x8001, oneValue(TWTY_UINT16, 1), TWRC_FAILURE, TWCC_BADCAP, "one UINT16 261"},
    };
    for (const auto& row : rows) {
        CAPTURE(&row - rows);
        CHECK(host.setContainer(row.capability, row.container) == row.result);
        CHECK(host.condition() == row.condition);
        CHECK(host.ask(row.capability) == row.after);
    }
    CHECK(host.ask(ICAP_PIXELTYPE, MSG_GET) == "enum UINT16 [0 2] current 1 default 1");
    CHECK(host.ask(ICAP_PIXELTYPE, MSG_RESET) == "one UINT16 2");
    CHECK(host.ask(ICAP_PIXELTYPE, MSG_GET) == "enum UINT16 [0 1 2 3] current 2 default 2");
}

TEST_CASE("ranges snap to their steps and refuse what lies outside") {
    VirtualHost host;
    host.open();
    const struct {
        TW_UINT16 capability;
        double value;
        TW_UINT16 result;
        double after;
    } rows[] = {{ICAP_BRIGHTNESS, -1000, TWRC_SUCCESS, -1000}, {ICAP_BRIGHTNESS, 1001, TWRC_FAILURE, -1000},
                {ICAP_BRIGHTNESS, 10.4, TWRC_CHECKSTATUS, 10}, {ICAP_XRESOLUTION, 50, TWRC_SUCCESS, 50},
                {ICAP_XRESOLUTION, 49, TWRC_FAILURE, 50},      {ICAP_XRESOLUTION, 1200, TWRC_SUCCESS, 1200},
                {ICAP_XRESOLUTION, 1201, TWRC_FAILURE, 1200},  {ICAP_XSCALING, 0.5, TWRC_SUCCESS, 0.5},
                {ICAP_GAMMA, 2.2, TWRC_SUCCESS, 2.2},          {ICAP_GAMMA, 0, TWRC_FAILURE, 2.2},
                {ICAP_THRESHOLD, 255, TWRC_SUCCESS, 255}};
    for (const auto& row : rows) {
        CAPTURE(&row - rows);
        CHECK(host.setNumber(row.capability, row.value) == row.result);
        CHECK(host.number(row.capability) == doctest::Approx(row.after).epsilon(0.0001));
    }
}

TEST_CASE("resolutions, sizes and the layout are told in the current unit") {
    const struct {
        TW_UINT16 unit;
        double perInch;
        double resolution;  // 300 dots per inch in that unit
        double inverse;     // the same as some drivers have it
    } rows[] = {{TWUN_INCHES, 1, 300, 300},
                {TWUN_CENTIMETERS, 2.54, 118.110, 762},
                {TWUN_PICAS, 6, 50, 1800},
                {TWUN_POINTS, 72, 4.16667, 21600},
                {TWUN_TWIPS, 1440, 0.208333, 32767.99},
                {TWUN_PIXELS, 300, 300, 300}};
    for (const bool inverse : {false, true})
        for (const auto& row : rows) {
            CAPTURE(row.unit);
            VirtualHost host(Keys{{"Resolution", "300"}, {"InverseResolution", inverse ? "1" : "0"}});
            host.open();
            REQUIRE(host.setCode(ICAP_UNITS, row.unit) == TWRC_SUCCESS);
            const double told = inverse ? row.inverse : row.resolution;
            CHECK(host.number(ICAP_XRESOLUTION) == doctest::Approx(told).epsilon(0.0005));
            CHECK(host.number(ICAP_PHYSICALWIDTH) == doctest::Approx(11.7 * row.perInch).epsilon(0.0001));
            CHECK(host.number(ICAP_PHYSICALHEIGHT) == doctest::Approx(17 * row.perInch).epsilon(0.0001));
            TW_IMAGELAYOUT layout{};
            host.image(DAT_IMAGELAYOUT, MSG_GET, &layout);
            CHECK(layout.Frame.Right.Whole == static_cast<int>(210 / 25.4 * row.perInch));
            if (inverse && row.unit == TWUN_TWIPS) continue;  // more than a FIX32 holds
            host.setNumber(ICAP_XRESOLUTION, 100);
            CHECK(host.setNumber(ICAP_XRESOLUTION, told) == TWRC_SUCCESS);
            host.setCode(ICAP_UNITS, TWUN_INCHES);
            CHECK(host.number(ICAP_XRESOLUTION) == 300);
        }
}

TEST_CASE("the bit depth follows the pixel type, the frame the paper, and the paper the frame") {
    VirtualHost host(Keys{{"PixelType", "Gray"}, {"BitDepth", "16"}});
    host.open();
    CHECK(host.ask(ICAP_BITDEPTH, MSG_GET) == "enum UINT16 [4 8 16] current 2 default 2");
    host.setCode(ICAP_PIXELTYPE, TWPT_BW);
    CHECK(host.ask(ICAP_BITDEPTH, MSG_GET) == "enum UINT16 [1] current 0 default 0");
    host.setCode(ICAP_PIXELTYPE, TWPT_GRAY);
    CHECK(host.ask(ICAP_BITDEPTH, MSG_GET) == "enum UINT16 [4 8 16] current 1 default 1");

    host.setCode(ICAP_SUPPORTEDSIZES, TWSS_USLEGAL);
    TW_IMAGELAYOUT layout{};
    host.image(DAT_IMAGELAYOUT, MSG_GET, &layout);
    CHECK(layout.Frame.Right.Whole == 8);
    CHECK(layout.Frame.Bottom.Whole == 14);
    layout.Frame = {{1, 0}, {2, 0}, {3, 0}, {4, 0}};
    CHECK(host.image(DAT_IMAGELAYOUT, MSG_SET, &layout) == TWRC_SUCCESS);
    CHECK(host.ask(ICAP_SUPPORTEDSIZES) == "one UINT16 0");
    layout.Frame = {{0, 0}, {0, 0}, {8, 0x8000}, {11, 0}};
    CHECK(host.image(DAT_IMAGELAYOUT, MSG_SET, &layout) == TWRC_SUCCESS);
    CHECK(host.ask(ICAP_SUPPORTEDSIZES) == "one UINT16 3");
    layout.Frame = {{0, 0}, {0, 0}, {8, 0}, {40, 0}};  // beyond the glass
    CHECK(host.image(DAT_IMAGELAYOUT, MSG_SET, &layout) == TWRC_CHECKSTATUS);
    host.image(DAT_IMAGELAYOUT, MSG_GET, &layout);
    CHECK(layout.Frame.Bottom.Whole == 17);
    layout.Frame = {{3, 0}, {0, 0}, {3, 0}, {4, 0}};  // empty
    CHECK(host.image(DAT_IMAGELAYOUT, MSG_SET, &layout) == TWRC_FAILURE);
    CHECK(host.condition() == TWCC_BADVALUE);
    CHECK(host.image(DAT_IMAGELAYOUT, MSG_RESET, &layout) == TWRC_SUCCESS);
    CHECK(host.ask(ICAP_SUPPORTEDSIZES) == "one UINT16 1");

    // A source that is opened again has forgotten all that.
    host.setNumber(ICAP_BRIGHTNESS, 100);
    host.close();
    host.open();
    CHECK(host.number(ICAP_BRIGHTNESS) == 0);
    CHECK(host.ask(ICAP_BITDEPTH) == "one UINT16 16");
}

TEST_CASE("odd containers are odd") {
    const struct {
        const char* fault;
        std::string answer;
    } rows[] = {{"array", "array UINT16 [0 1]"},
                {"index", "enum UINT16 [0 1 2 3] current 1000 default 1000"}};
    for (const auto& row : rows) {
        VirtualHost host(Keys{{"OddContainers", row.fault}});
        host.open();
        CHECK(host.ask(ICAP_PIXELTYPE, MSG_GET) == row.answer);
    }
    const auto raw = [](const char* fault) {
        VirtualHost host(Keys{{"OddContainers", fault}});
        host.open();
        TW_CAPABILITY request{ICAP_PIXELTYPE, TWON_DONTCARE16, nullptr};
        REQUIRE(host.control(DAT_CAPABILITY, MSG_GET, &request) == TWRC_SUCCESS);
        return request;
    };
    CHECK(raw("nohandle").hContainer == nullptr);
    TW_CAPABILITY request = raw("truncated");
    CHECK(GlobalSize(request.hContainer) < sizeof(TW_ONEVALUE));
    GlobalFree(request.hContainer);
    request = raw("count");
    const auto* list = static_cast<const TW_ENUMERATION*>(GlobalLock(request.hContainer));
    CHECK(list->NumItems == 1004);
    CHECK(GlobalSize(request.hContainer) < 14 + 2 * list->NumItems);
    GlobalUnlock(request.hContainer);
    GlobalFree(request.hContainer);
    request = raw("itemtype");
    list = static_cast<const TW_ENUMERATION*>(GlobalLock(request.hContainer));
    CHECK(list->ItemType > TWTY_STR32);
    GlobalUnlock(request.hContainer);
    GlobalFree(request.hContainer);
}

TEST_CASE("response curves and the default matrix") {
    VirtualHost host;
    host.open();
    TW_ELEMENT8 curve[256];
    REQUIRE(host.image(DAT_RGBRESPONSE, MSG_GET, curve) == TWRC_SUCCESS);
    CHECK(curve[200].Index == 200);
    CHECK(curve[200].Channel2 == 200);
    for (TW_ELEMENT8& element : curve)
        element.Channel1 = static_cast<TW_UINT8>(255 - element.Channel1);
    REQUIRE(host.image(DAT_RGBRESPONSE, MSG_SET, curve) == TWRC_SUCCESS);
    CHECK(host.scanner.expectedPage().colorAt(600, 800) == vscan::Color{0, 255, 255});  // white paper
    TW_ELEMENT8 back[256];
    host.image(DAT_RGBRESPONSE, MSG_GET, back);
    CHECK(back[10].Channel1 == 245);
    REQUIRE(host.image(DAT_RGBRESPONSE, MSG_RESET, nullptr) == TWRC_SUCCESS);
    CHECK(host.scanner.expectedPage().colorAt(600, 800) == vscan::Color{255, 255, 255});

    TW_FIX32 matrix[9];
    REQUIRE(host.image(DAT_CUSTOMBASE + 2, MSG_GETDEFAULT, matrix) == TWRC_SUCCESS);
    for (int i = 0; i < 9; ++i)
        CHECK(matrix[i].Whole == (i % 4 == 0 ? 1 : 0));
    TW_UINT32 block[4]{1, 2, 3, 4};
    CHECK(host.image(DAT_CUSTOMBASE + 1, MSG_SET, block) == TWRC_SUCCESS);
    CHECK(host.image(DAT_CUSTOMBASE + 1, MSG_GET, block) == TWRC_FAILURE);
    CHECK(host.condition() == TWCC_BADPROTOCOL);
}

TEST_CASE("the palette is that of the pixels") {
    const struct {
        const char* type;
        const char* depth;
        int colors;
        int kind;
    } rows[] = {{"Palette", "8", 256, TWPA_RGB},
                {"Palette", "4", 16, TWPA_RGB},
                {"Gray", "8", 256, TWPA_GRAY},
                {"BW", "1", 2, TWPA_GRAY}};
    TW_PALETTE8 palette{};
    for (const auto& row : rows) {
        VirtualHost host(Keys{{"PixelType", row.type}, {"BitDepth", row.depth}});
        host.open();
        REQUIRE(host.image(DAT_PALETTE8, MSG_GET, &palette) == TWRC_SUCCESS);
        CHECK(palette.NumColors == row.colors);
        CHECK(palette.PaletteType == row.kind);
        const vscan::Picture page = host.scanner.expectedPage();
        for (int i = 0; i < row.colors; ++i) {
            const TW_ELEMENT8& element = palette.Colors[i];
            CHECK(page.palette[static_cast<std::size_t>(i)] ==
                  vscan::Color{element.Channel1, element.Channel2, element.Channel3});
        }
    }
    VirtualHost host;
    host.open();
    CHECK(host.image(DAT_PALETTE8, MSG_GET, &palette) == TWRC_FAILURE);
}
