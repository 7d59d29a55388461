// The parts of smview that need neither a window nor a source.
#include <doctest.h>

#include "common/Failure.h"
#include "smview/AreaSelection.h"
#include "smview/CapabilityFacts.h"
#include "smview/PagePicture.h"
#include "smview/PageSaver.h"
#include "support/ContainerImage.h"
#include "support/WindowsFiles.h"
#include "windows/WideText.h"

using namespace smview;

namespace {

// What the source answers, and what it was last asked to set.
ContainerImage answer;
std::vector<uint8_t> sent;

int WINAPI negotiate(unsigned short message, void* capability) {
    auto& request = *static_cast<TW_CAPABILITY*>(capability);
    if (message == MSG_SET) {
        const auto* const bytes = static_cast<const uint8_t*>(GlobalLock(request.hContainer));
        sent.assign(bytes, bytes + GlobalSize(request.hContainer));
        GlobalUnlock(request.hContainer);
        return TWRC_CHECKSTATUS;
    }
    if (message == MSG_QUERYSUPPORT) return TWRC_FAILURE;
    request.ConType = answer.conType;
    request.hContainer = answer.allocate();
    return TWRC_SUCCESS;
}

std::string told() {
    const CapabilityFacts facts = describeCapability(negotiate, ICAP_XRESOLUTION);
    return facts.type + "|" + facts.container + "|" + facts.current + "|" + facts.offered + "|" +
           facts.problem;
}

}  // namespace

TEST_CASE(
    "a picture is the mean of the page's pixels, from strips of any layout and order, also without a "
    "height") {
    PagePicture picture;
    picture.begin(2 * PagePicture::largestWidth, 4, 8, {}, host::PixelLayout::Packed);
    CHECK(picture.factor() == 2);
    CHECK(picture.width() == PagePicture::largestWidth);
    CHECK(picture.height() == 2);
    CHECK(picture.pixels()[0] == 0xE0E0E0);

    // Colours in planes: red, green, blue.
    picture.begin(2, 1, 24, {}, host::PixelLayout::Planar24);
    const uint8_t planes[] = {10, 20, 30, 40, 50, 60};
    for (int plane = 0; plane < 3; ++plane)
        picture.add({planes + 2 * plane, 2, 2, 2, 1, 0, 0}, plane);
    CHECK(picture.pixels() == std::vector<uint32_t>{0x0A1E32, 0x14283C});

    // Two tiles of one bit a pixel, the right one first.
    picture.begin(16, 1, 1, {0x000000, 0xFFFFFF}, host::PixelLayout::Packed);
    const uint8_t tiles[] = {0xF0, 0x0F};
    picture.add({tiles + 1, 1, 1, 8, 1, 8, 0}, 0);
    picture.add({tiles, 1, 1, 8, 1, 0, 0}, 0);
    CHECK(picture.pixels()[0] == 0xFFFFFF);
    CHECK(picture.pixels()[7] == 0);
    CHECK(picture.pixels()[12] == 0xFFFFFF);

    picture.begin(1, -1, 8, std::vector<uint32_t>(256, 0x808080), host::PixelLayout::Packed);
    CHECK(picture.empty());
    const uint8_t rows[] = {1, 2, 3};
    picture.add({rows, 3, 1, 1, 3, 0, 5}, 0);
    CHECK(picture.height() == 8);
    CHECK(picture.pixels()[7] == 0x808080);
}

TEST_CASE("an area is the part of the glass that is dragged over, and is shown where it lies") {
    const RECT shown = fitted({100, 200}, {300, 100});
    CHECK(shown.left == 125);
    CHECK(shown.right == 175);
    CHECK(shown.bottom == 100);
    const host::Area glass = {1, 0, 9, 12};
    const auto area = dragged({400, 50}, {150, 0}, shown, glass);
    REQUIRE(area);
    CHECK(area->left == 5);
    CHECK(area->right == 9);
    CHECK(area->bottom == 6);
    CHECK_FALSE(dragged({150, 50}, {152, 90}, shown, glass));
    const RECT back = placed(*area, shown, glass);
    CHECK(back.left == 150);
    CHECK(back.bottom == 50);
}

TEST_CASE("a capability is told in words, whatever it is made of; nothing is read beyond its end") {
    const std::pair<std::string, std::string> rows[] = {
        {"one UINT16 7", "UINT16|one value|7||"},
        {"one BOOL 1", "BOOL|one value|on||"},
        {"one INT16 65535", "INT16|one value|-1||"},
        {"enum UINT16 [1 2 4] current 1 default 0", "UINT16|enumeration|2|1, 2, 4|"},
        {"enum UINT16 [1 2] current 2 default 0",
         "UINT16|enumeration|||answers with enumeration of UINT16 that can't be read"},
        {"enum UINT16 [1 2] current 1 default 0 count 3",
         "UINT16|enumeration|||answers with enumeration of UINT16 that can't be read"},
        {"range FIX32 50 600 1 200 75", "FIX32|range|75|50 to 600 step 1 (200)|"},
        {"range FIX32 50 600 1 200 75 cut 21",
         "FIX32|range|||answers with range of FIX32 that can't be read"},
        {"array UINT16 [3 1]", "UINT16|array|3, 1||"},
        {"one UINT16 7 cut 1",
         "type 65535|one value|||answers with one value of type 65535 that can't be read"},
    };
    for (const auto& [container, expected] : rows) {
        answer = containerOf(container);
        CHECK(told() == expected);
    }
    std::vector<uint8_t> name(2 + 34, 'x');
    name[0] = TWTY_STR32;
    name[1] = 0;
    answer = rawContainer(TWON_ONEVALUE, name);
    CHECK(told() == "STR32|one value|" + std::string(34, 'x') + "||");
    answer = rawContainer(9, {});
    CHECK(told() == "||||answers with a container of kind 9, which the standard doesn't know");
}

TEST_CASE("a value is sent in the type that the source answers with; a text that is none is not") {
    const auto set = [&](const std::string& container, const std::string& text) {
        answer = containerOf(container);
        sent.clear();
        const ChangeResult result =
            setCapability(negotiate, describeCapability(negotiate, ICAP_XRESOLUTION), text);
        if (!result.taken) return result.words;
        TW_CAPABILITY request = {ICAP_XRESOLUTION, TWON_ONEVALUE,
                                 rawContainer(TWON_ONEVALUE, sent).allocate()};
        const std::string told = containerText(request);
        GlobalFree(request.hContainer);
        return told;
    };
    CHECK(set("one UINT16 7", "300") == "one UINT16 300");
    CHECK(set("one INT16 7", "-2") == "one INT16 -2");
    CHECK(set("one BOOL 0", "on") == "one BOOL 1");
    CHECK(set("one FIX32 7", "-0.25") == "one FIX32 -1+49152/65536");
    CHECK(set("one FIX32 7", "1.5") == "one FIX32 1+32768/65536");
    for (const char* const wrong : {"", "x", "1x", "nan", "1e300", "65536", "-1"})
        CHECK(set("one UINT16 7", wrong) == "\"" + std::string(wrong) + "\" is no value of type UINT16.");
}

TEST_CASE("pages are saved as the name's extension says; a file with a number replaces none that is there") {
    const std::string base = temporaryFolder() + "smview-save";
    SavedFile page(base + ".bmp"), first(base + "-001.png"), second(base + "-002.png"), all(base + ".pdf");
    const shared::BmpFormat format = {8, 1, 300, 300, {{0, 0, 0, 0}, {255, 255, 255, 0}}};
    std::vector<uint8_t> bmp = shared::bmpHeader(format, 1, false);
    bmp.insert(bmp.end(), {0xF0, 0, 0, 0});
    page.set(std::string(bmp.begin(), bmp.end()));
    const auto save = [&, two = std::vector<PageList::Page>(2, {gui::fromAnsi(page.path()), {300, 300}})](
                          const char* extension) { return savePages(two, gui::fromAnsi(base + extension)); };

    CHECK(save(".pdf") == "Saved as " + all.path());
    CHECK(readFile(all.path()).find("/Count 2") != std::string::npos);
    second.set("older");
    CHECK_THROWS_AS(save(".png"), host::Failure);
    CHECK(readFile(second.path()) == "older");
    CHECK_FALSE(fileExists(first.path()));
    second.set(std::nullopt);
    CHECK(save(".png") == "2 files saved, the first as " + first.path());
    CHECK(readFile(second.path()).substr(1, 3) == "PNG");
    CHECK_THROWS_AS(save(".gif"), host::Failure);
}
