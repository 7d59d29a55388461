// The codec of capability containers: layouts, widths, selections, failures, and what a source may not make
// it do, tried directly and through the getters.
#include "capabilities/Containers.h"

#include <doctest.h>

#include <cstring>

#include "Stage.h"
#include "base/Trace.h"

namespace {

enum Extractor { one, count, item, field };
constexpr const char* names[] = {"ExtractOneValue", "ExtractEnumerationNumItems", "ExtractEnumerationValue",
                                 "ExtractRangeValue"};

// The codec, with its trace read.
struct Codec {
    Codec() { trace::setUp(); }
    ~Codec() { trace::shutDown(); }

    // The value as text; of a failure its code and what was warned, "fails 10 Invalid memory".
    std::string read(Extractor extractor, const ContainerImage& image, int32_t selector = 0) {
        viewer.forget();
        TW_CAPABILITY capability = {ICAP_UNITS, image.conType, image.allocate()};
        TW_UINT32 value = 0xdeadbeef;
        const TW_UINT16 failure = extractor == one     ? ExtractOneValue(&capability, &value)
                                  : extractor == count ? ExtractEnumerationNumItems(&capability, &value)
                                  : extractor == item ? ExtractEnumerationValue(&capability, &value, selector)
                                                      : ExtractRangeValue(&capability, &value, selector);
        CHECK((GlobalFlags(capability.hContainer) & GMEM_LOCKCOUNT) == 0);
        GlobalFree(capability.hContainer);
        const std::string name = names[extractor], ending = " in " + name;
        CHECK(viewer.traces() == Lines{"Coming " + name, "Leaving " + name});
        CHECK((failure == 0 || value == 0));
        std::string text = failure == 0 ? std::to_string(value) : "fails " + std::to_string(failure);
        for (const std::string& warning : viewer.warnings())
            text += " " + warning.substr(0, warning.rfind(ending));
        CHECK(viewer.warnings().with(ending).size() == viewer.warnings().size());
        return text;
    }

    TraceSwitches switches;
    RecordingViewer viewer;
};

std::vector<uint8_t> blockOf(HGLOBAL handle) {
    const auto* const bytes = static_cast<const uint8_t*>(GlobalLock(handle));
    std::vector<uint8_t> copy(bytes, bytes + GlobalSize(handle));
    GlobalUnlock(handle);
    GlobalFree(handle);
    return copy;
}

// A list of three items with its numbers as given.
ContainerImage lyingList(TW_UINT32 numItems, TW_UINT32 currentIndex, TW_UINT16 type = TWTY_UINT16) {
    ContainerImage image = enumeration(type, {1, 2, 3}, currentIndex);
    std::memcpy(&image.bytes[2], &numItems, sizeof numItems);
    return image;
}

ContainerImage cut(ContainerImage image, size_t size) {
    image.bytes.resize(size);
    return image;
}

const ContainerImage badOneValues[] = {cut(oneValue(TWTY_UINT16, 1), 1), cut(oneValue(TWTY_UINT16, 1), 3),
                                       cut(oneValue(TWTY_UINT32, 1), 5), withoutHandle(TWON_ONEVALUE)};
const ContainerImage badLists[] = {
    lyingList(4, 0),
    lyingList(0x40000001, 0, TWTY_FIX32),
    lyingList(0xffffffff, 0xffffffff, TWTY_UINT8),
    cut(enumeration(TWTY_UINT16, {1, 2, 3}), 13),
    cut(enumeration(TWTY_UINT16, {1, 2, 3}), 1),
    withoutHandle(TWON_ENUMERATION),
};
const ContainerImage badCurrentItems[] = {
    lyingList(3, 3), lyingList(3, 0x7fffffff), lyingList(3, 0xffffffff), lyingList(0, 0), lyingList(2, 2),
};
const ContainerImage badRanges[] = {cut(fix32Range(1, 2, 1, 2), 21), cut(fix32Range(1, 2, 1, 2), 1),
                                    withoutHandle(TWON_RANGE)};

}  // namespace

TEST_CASE("an item is read at its width and without its sign") {
    Codec codec;
    struct Row {
        TW_UINT16 type;
        const char* read;
    };
    const Row rows[] = {
        {TWTY_INT8, "132"},          {TWTY_UINT8, "132"},        {TWTY_INT16, "33668"},
        {TWTY_UINT16, "33668"},      {TWTY_BOOL, "33668"},       {TWTY_INT32, "2172814212"},
        {TWTY_UINT32, "2172814212"}, {TWTY_FIX32, "2172814212"}, {TWTY_FRAME, "fails 10"},
        {0xffff, "fails 10"},
    };
    const TW_UINT32 bits = 0x81828384;
    for (const Row& row : rows) {
        CAPTURE(row.type);
        CHECK(codec.read(one, oneValue(row.type, bits)) == row.read);
        CHECK(codec.read(item, enumeration(row.type, {1, bits, 3}), 1) == row.read);
        CHECK(codec.read(field, range(row.type, {1, 2, 3, 4, bits}), rangeCurrent) == row.read);
        if (row.read[0] == 'f') CHECK(codec.read(count, enumeration(row.type, {5})) == row.read);
    }
}

TEST_CASE("list items by index, their count at the width of an item, range fields by selector") {
    Codec codec;
    const ContainerImage list = enumeration(TWTY_UINT16, {70, 71, 72, 73}, 3, 2);
    CHECK(codec.read(item, list, 1) == "71");
    CHECK(codec.read(item, list, enumerationCurrent) == "73");
    CHECK(codec.read(item, list, enumerationDefault) == "72");
    CHECK(codec.read(item, enumeration(TWTY_UINT8, {7, 8, 9}, 1), enumerationCurrent) == "8");
    CHECK(codec.read(count, list) == "4");
    CHECK(codec.read(count, enumeration(TWTY_UINT8, std::vector<TW_UINT32>(258, 1))) == "2");
    CHECK(codec.read(count, enumeration(TWTY_UINT16, std::vector<TW_UINT32>(65537, 1))) == "1");
    CHECK(codec.read(count, enumeration(TWTY_UINT32, std::vector<TW_UINT32>(65537, 1))) == "65537");
    const ContainerImage fields = range(TWTY_UINT32, {10, 20, 30, 40, 50});
    CHECK(codec.read(field, fields, rangeMin) == "10");
    CHECK(codec.read(field, fields, rangeMax) == "20");
    CHECK(codec.read(field, fields, rangeStep) == "30");
    CHECK(codec.read(field, fields, rangeDefault) == "40");
    for (int32_t selector : {+rangeCurrent, 0, 7, 0x7fffffff})
        CHECK(codec.read(field, fields, selector) == "50");
}

TEST_CASE("nothing outside the source's block is ever read") {
    Codec codec;
    const std::string bad = "fails 10 Invalid memory";
    for (const ContainerImage& image : badOneValues)
        CHECK(codec.read(one, image) == bad);
    for (const ContainerImage& image : badRanges)
        CHECK(codec.read(field, image, rangeCurrent) == bad);
    for (const ContainerImage& image : badLists) {
        CHECK(codec.read(count, image) == bad);
        CHECK(codec.read(item, image, 0) == bad);
    }
    for (const ContainerImage& image : badCurrentItems)
        CHECK(codec.read(item, image, enumerationCurrent) == bad);
    const ContainerImage list = enumeration(TWTY_UINT16, {70, 71, 72}, 0, 0x40000000);
    for (int32_t index : {3, 0x7fffffff, -3, +enumerationDefault})
        CHECK(codec.read(item, list, index) == bad);
}

TEST_CASE("a block that can't be locked") {
    Codec codec;
    // Windows hands out a discarded block for a size of 0: it has a handle and can't be locked.
    CHECK(codec.read(one, rawContainer(TWON_ONEVALUE, {})) == "fails 10 Lock memory error");
    for (Extractor extractor : {count, item, field})
        CHECK(codec.read(extractor, rawContainer(TWON_RANGE, {})) == "fails 2 Lock memory error");
}

TEST_CASE("building one values and lists") {
    using Bytes = std::vector<uint8_t>;
    Codec codec;
    TW_CAPABILITY capability = {ICAP_PIXELTYPE, 0, nullptr};
    CHECK(BuildupOneValue(&capability, TWTY_INT16, 0x12345678) == 0);
    CHECK(capability.ConType == TWON_ONEVALUE);
    CHECK(blockOf(capability.hContainer) == Bytes{1, 0, 0x78, 0x56, 0x34, 0x12});

    const TW_UINT16 items[] = {0x0102, 0x0304, 0x0506};
    CHECK(BuildupEnumeration(&capability, TWTY_UINT16, 3, 2, 1, items) == 0);
    CHECK(capability.Cap == ICAP_PIXELTYPE);
    CHECK(capability.ConType == TWON_ENUMERATION);
    // Two bytes more than header and items need.
    CHECK(blockOf(capability.hContainer) ==
          Bytes{4, 0, 3, 0, 0, 0, 2, 0, 0, 0, 1, 0, 0, 0, 2, 1, 4, 3, 6, 5, 0, 0});
    CHECK(codec.viewer.traces() == Lines{"Coming BuildupOneValue", "Leaving BuildupOneValue",
                                         "Coming BuildupEnumeration", "Leaving BuildupEnumeration"});

    CHECK(BuildupEnumeration(&capability, TWTY_UINT32, 0x3ffffff0 / 4 * 3, 0, 0, items) == 2);
    CHECK(capability.hContainer == nullptr);
    CHECK(codec.viewer.warnings() == Lines{"Memory alloc error in BuildupEnumeration"});
}

TEST_CASE("numbers and TW_FIX32") {
    struct Row {
        float number;
        TW_INT16 whole;
        TW_UINT16 fraction;
    };
    const Row rows[] = {
        {1.5f, 1, 32768},    {2.99f, 2, 64881},   {-2.0f, -2, 1},
        {-1.5f, -1, 0x8001}, {-0.25f, 0, 0xc001}, {432000.0f, -26752, 0},
    };
    for (const Row& row : rows) {
        CAPTURE(row.number);
        CHECK(numberToFix32(row.number).Whole == row.whole);
        CHECK(numberToFix32(row.number).Frac == row.fraction);
    }
    CHECK(fix32ToNumber({-2, 16384}) == -1.75);
    CHECK(fix32ToNumber({32767, 65535}) == 32768 - 1.0 / 65536);
    CHECK(fix32ToNumber(fix32FromBits(fix32ToBits({-3, 5}))) == -3 + 5.0 / 65536);
}

TEST_CASE("getters take no lying container, free it and go on to the next message") {
    Stage stage;
    stage.open();
    stage.windows.guardBlocks = true;
    stage.manager.answer(operation::getCurrent(ICAP_UNITS), give(oneValue(TWTY_UINT16, TWUN_INCHES)));
    unsigned short words[3];
    const auto readResolution = [&] { return stage.module.GetXResolution(words, words + 1, words + 2); };
    const auto readSizes = [&] { return stage.module.GetSupportedPaperSize(words); };
    const auto checkRefused = [&](const auto& images, TW_UINT16 capability, size_t messages, auto ask) {
        for (const ContainerImage& image : images) {
            stage.manager.answer(operation::get(capability), give(image));
            stage.manager.answer(operation::getCurrent(capability), give(image));
            stage.forget();
            CHECK(ask() == 10);
            CHECK(stage.manager.calls().with(operation::capabilityName(capability)).size() == messages);
            CHECK(stage.viewer.warnings().size() == messages);
            CHECK(stage.viewer.warnings().with("Invalid memory in Extract").size() == messages);
            CHECK(stage.windows.memoryComplaints() == Lines{});
        }
    };
    checkRefused(badLists, ICAP_SUPPORTEDSIZES, 1, readSizes);
    checkRefused(badLists, ICAP_XRESOLUTION, 2, readResolution);
    checkRefused(badCurrentItems, ICAP_XRESOLUTION, 2, readResolution);
    checkRefused(badOneValues, ICAP_XRESOLUTION, 2, readResolution);
    checkRefused(badRanges, ICAP_XRESOLUTION, 2, readResolution);
}

TEST_CASE("tone range, offered and set mechanisms out of a lying list stay within its block") {
    for (const ContainerImage& image : badLists) {
        Stage stage;
        stage.windows.guardBlocks = true;
        stage.manager.answer(operation::get(ICAP_BRIGHTNESS), give(image));
        stage.manager.answer(operation::getCurrent(ICAP_BRIGHTNESS), give(image));
        stage.manager.answer(operation::get(ICAP_XFERMECH), give(image));
        stage.enable();
        CHECK(stage.module.SetBrightness(3, 0, 3) == 0);
        CHECK(stage.takeRecord() == Lines{"SET ICAP_BRIGHTNESS one FIX32 1000"});
        TW_CAPABILITY capability = {ICAP_XFERMECH, image.conType, image.allocate()};
        ModuleCalls::adopt(capability.hContainer);
        CHECK(stage.module.CapNegotiate(MSG_SET, &capability) == TWRC_SUCCESS);
        stage.windows.release(capability.hContainer);
        GlobalFree(capability.hContainer);
        stage.deliver(MSG_XFERREADY);
        CHECK(stage.windows.memoryComplaints() == Lines{});
    }
}
