// The codec of capability containers: layouts, widths, selections, failures, and what a source may not make
// it do, tried directly and through the getters.
#include "capabilities/Containers.h"

#include <doctest.h>

#include <cstring>

#include "CallRecord.h"
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
        const TW_UINT16 failure = extractor == one     ? ExtractOneValue(capability, &value)
                                  : extractor == count ? ExtractEnumerationNumItems(capability, &value)
                                  : extractor == item  ? ExtractEnumerationValue(capability, &value, selector)
                                                       : ExtractRangeValue(capability, &value, selector);
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

    std::string read(Extractor extractor, const std::string& text, int32_t selector = 0) {
        return read(extractor, containerOf(text), selector);
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

// Lists that claim more than their block holds.
const std::string badLists[] = {
    "enum UINT16 [1 2 3] count 4",         "enum FIX32 [1 2 3] count 1073741825",
    "enum UINT8 [1 2 3] count 4294967295", "enum UINT16 [1 2 3] cut 13",
    "enum UINT16 [1 2 3] cut 1",
};

}  // namespace

TEST_CASE("an item is read at its width and without its sign") {
    Codec codec;
    const std::pair<TW_UINT16, std::string> rows[] = {
        {TWTY_INT8, "132"},          {TWTY_UINT8, "132"},        {TWTY_INT16, "33668"},
        {TWTY_UINT16, "33668"},      {TWTY_BOOL, "33668"},       {TWTY_INT32, "2172814212"},
        {TWTY_UINT32, "2172814212"}, {TWTY_FIX32, "2172814212"}, {TWTY_FRAME, "fails 10"},
        {0xffff, "fails 10"},
    };
    const TW_UINT32 bits = 0x81828384;
    for (const auto& [type, value] : rows) {
        CAPTURE(type);
        CHECK(codec.read(one, oneValue(type, bits)) == value);
        CHECK(codec.read(item, enumeration(type, {1, bits, 3}), 1) == value);
        CHECK(codec.read(field, range(type, {1, 2, 3, 4, bits}), rangeCurrent) == value);
        CHECK(codec.read(count, enumeration(type, {5})) == (value[0] == 'f' ? value : "1"));
    }
}

TEST_CASE("list items by index, their count at the width of an item, range fields by selector") {
    Codec codec;
    const std::string list = "enum UINT16 [70 71 72 73] current 3 default 2",
                      fields = "range UINT32 10 20 30 40 50";
    CHECK(codec.read(item, list, 1) == "71");
    CHECK(codec.read(item, list, enumerationCurrent) == "73");
    CHECK(codec.read(item, list, enumerationDefault) == "72");
    CHECK(codec.read(item, "enum UINT8 [7 8 9] current 1", enumerationCurrent) == "8");
    CHECK(codec.read(count, enumeration(TWTY_UINT8, Items(258, 1))) == "2");
    CHECK(codec.read(count, enumeration(TWTY_UINT16, Items(65537, 1))) == "1");
    CHECK(codec.read(count, enumeration(TWTY_UINT32, Items(65537, 1))) == "65537");
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
    for (Extractor extractor : {one, count, item, field})
        CHECK(codec.read(extractor, "nothing") == bad);
    for (const std::string& text : badLists)
        CHECK(codec.read(item, text, 0) == bad);
    for (int32_t index : {3, 0x7fffffff, -3, +enumerationDefault})
        CHECK(codec.read(item, "enum UINT16 [70 71 72] default 1073741824", index) == bad);
}

TEST_CASE("a block that can't be locked") {
    Codec codec;
    // Windows hands out a discarded block for a size of 0: it has a handle and can't be locked.
    CHECK(codec.read(one, "one UINT16 1 cut 0") == "fails 10 Lock memory error");
    for (Extractor extractor : {count, item, field})
        CHECK(codec.read(extractor, "one UINT16 1 cut 0") == "fails 2 Lock memory error");
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
    const struct {
        float number;
        TW_INT16 whole;
        TW_UINT16 fraction;
    } rows[] = {
        {1.5f, 1, 32768},    {2.99f, 2, 64881},   {-2.0f, -2, 1},
        {-1.5f, -1, 0x8001}, {-0.25f, 0, 0xc001}, {432000.0f, -26752, 0},
    };
    for (const auto& [number, whole, fraction] : rows) {
        CAPTURE(number);
        CHECK(numberToFix32(number).Whole == whole);
        CHECK(numberToFix32(number).Frac == fraction);
    }
    CHECK(fix32ToNumber({-2, 16384}) == -1.75);
    CHECK(fix32ToNumber({32767, 65535}) == 32768 - 1.0 / 65536);
    CHECK(fix32ToNumber(fix32FromBits(fix32ToBits({-3, 5}))) == -3 + 5.0 / 65536);
}

TEST_CASE("getters take no lying container, free it and go on to the next message") {
    Stage stage;
    stage.open();
    stage.windows.guardBlocks = true;
    const auto check = [&](const std::string& text, const std::string& extractor) {
        const std::string given = " -> " + text + "; ! Invalid memory in " + extractor + "; ";
        const std::string record =
            "GET #" + given + "GETCURRENT #" + given + "unit -> one UINT16 0; result 10; ";
        checkCall(stage, "GetXResolution", record + "value 100 100 100", ICAP_XRESOLUTION);
    };
    for (const std::string& text : badLists) {
        check(text, "ExtractEnumerationValue");
        const std::string record = "GET # -> " + text + "; ! Invalid memory in ExtractEnumerationNumItems; ";
        checkCall(stage, "GetSupportedPaperSize", record + "result 10; value 0", ICAP_SUPPORTEDSIZES);
    }
    for (const std::string current :
         {"current 3", "current 2147483647", "current 4294967295", "count 0", "count 2 current 2"})
        check("enum UINT16 [1 2 3] " + current, "ExtractEnumerationValue");
    for (const std::string text : {"UINT16 1 cut 1", "UINT16 1 cut 3", "UINT32 1 cut 5"})
        check("one " + text, "ExtractOneValue");
    for (const std::string cut : {"cut 1", "cut 21"})
        check("range FIX32 1 2 1 1 2 " + cut, "ExtractRangeValue");
}

TEST_CASE("tone range, offered and set mechanisms out of a lying list stay within its block") {
    for (const std::string& text : badLists) {
        const ContainerImage image = containerOf(text);
        Stage stage;
        stage.windows.guardBlocks = true;
        for (const std::string asked :
             {"GET ICAP_BRIGHTNESS", "GETCURRENT ICAP_BRIGHTNESS", "GET ICAP_XFERMECH"})
            stage.manager.answerLine(asked, give(image));
        stage.enable();
        CHECK(stage.module.SetBrightness(3, 0, 3) == 0);
        CHECK(stage.happened() == Lines{"SET ICAP_BRIGHTNESS one FIX32 1000"});
        TW_CAPABILITY capability = {ICAP_XFERMECH, image.conType, image.allocate()};
        ModuleCalls::adopt(capability.hContainer);
        CHECK(stage.module.CapNegotiate(MSG_SET, &capability) == TWRC_SUCCESS);
        stage.windows.release(capability.hContainer);
        GlobalFree(capability.hContainer);
        stage.deliver(MSG_XFERREADY);
        CHECK(stage.windows.memoryComplaints() == Lines{});
    }
}
