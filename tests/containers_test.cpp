// The codec of capability containers, tried directly: layouts, widths, selections, failures, and what a
// source may not make it do.
#include "Containers.h"

#include <doctest.h>

#include <cstring>

#include "ContainerImage.h"
#include "RecordingViewer.h"
#include "Trace.h"
#include "WindowsFiles.h"

namespace {

// A capability around a container, freed at the end.
class Holder {
public:
    explicit Holder(const ContainerImage& image)
        : capability{ICAP_UNITS, image.conType, image.allocate()}, handle_(capability.hContainer) {}
    ~Holder() { GlobalFree(handle_); }
    Holder(const Holder&) = delete;
    Holder& operator=(const Holder&) = delete;

    // Nothing stayed locked.
    bool isUnlocked() const { return (GlobalFlags(handle_) & GMEM_LOCKCOUNT) == 0; }

    TW_CAPABILITY capability;

private:
    HGLOBAL handle_;
};

struct Read {
    TW_UINT16 result;
    TW_UINT32 value;

    friend bool operator==(const Read& a, const Read& b) {
        return a.result == b.result && a.value == b.value;
    }
    friend std::ostream& operator<<(std::ostream& out, const Read& read) {
        return out << "result " << read.result << ", value 0x" << std::hex << read.value << std::dec;
    }
};

// The output starts as something else than 0, so that clearing it is seen.
template <class Extract>
Read readWith(const ContainerImage& image, Extract extract) {
    const Holder holder(image);
    Read read{0, 0xdeadbeef};
    read.result = extract(&holder.capability, &read.value);
    CHECK(holder.isUnlocked());
    return read;
}

Read readOne(const ContainerImage& image) {
    return readWith(image, ExtractOneValue);
}
Read readCount(const ContainerImage& image) {
    return readWith(image, ExtractEnumerationNumItems);
}
Read readItem(const ContainerImage& image, int32_t index) {
    return readWith(image, [index](const TW_CAPABILITY* capability, TW_UINT32* out) {
        return ExtractEnumerationValue(capability, out, index);
    });
}
Read readRange(const ContainerImage& image, int32_t selector) {
    return readWith(image, [selector](const TW_CAPABILITY* capability, TW_UINT32* out) {
        return ExtractRangeValue(capability, out, selector);
    });
}

// The trace of what runs while it lives.
class Traced {
public:
    Traced() { trace::setUp(); }
    ~Traced() { trace::shutDown(); }
    Traced(const Traced&) = delete;
    Traced& operator=(const Traced&) = delete;

    Lines lines() const { return viewer_.lines(); }
    Lines warnings() const { return viewer_.warnings(); }

private:
    TraceSwitches switches_;
    RecordingViewer viewer_;
};

std::vector<uint8_t> blockOf(HGLOBAL handle, size_t size) {
    const auto* const bytes = static_cast<const uint8_t*>(GlobalLock(handle));
    std::vector<uint8_t> copy(bytes, bytes + size);
    GlobalUnlock(handle);
    return copy;
}

}  // namespace

TEST_CASE("an item is read at its width and without its sign") {
    struct Row {
        TW_UINT16 type;
        TW_UINT32 read;
    };
    const Row rows[] = {
        {TWTY_INT8, 0x84},   {TWTY_UINT8, 0x84},       {TWTY_INT16, 0x8384},      {TWTY_UINT16, 0x8384},
        {TWTY_BOOL, 0x8384}, {TWTY_INT32, 0x81828384}, {TWTY_UINT32, 0x81828384}, {TWTY_FIX32, 0x81828384},
    };
    const TW_UINT32 item = 0x81828384;
    for (const Row& row : rows) {
        CAPTURE(row.type);
        CHECK(readOne(oneValue(row.type, item)) == Read{0, row.read});
        CHECK(readItem(enumeration(row.type, {1, item, 3}), 1) == Read{0, row.read});
        CHECK(readRange(range(row.type, {1, 2, 3, 4, item}), rangeCurrent) == Read{0, row.read});
    }
    CHECK(readOne(oneValue(TWTY_INT16, static_cast<TW_UINT32>(-1))) == Read{0, 65535});
}

TEST_CASE("item types that aren't scalar can't be read") {
    for (TW_UINT16 type : {+TWTY_FRAME, +TWTY_STR32, 0x7fff, 0xffff}) {
        CAPTURE(type);
        CHECK(readOne(oneValue(type, 5)) == Read{10, 0});
        CHECK(readCount(enumeration(type, {5})) == Read{10, 0});
        CHECK(readItem(enumeration(type, {5}), 0) == Read{10, 0});
        CHECK(readRange(range(type, {1, 2, 3, 4, 5}), rangeMin) == Read{10, 0});
    }
}

TEST_CASE("list items by index, current and default") {
    const ContainerImage list = enumeration(TWTY_UINT16, {70, 71, 72, 73}, 3, 2);
    CHECK(readItem(list, 0) == Read{0, 70});
    CHECK(readItem(list, 1) == Read{0, 71});
    CHECK(readItem(list, enumerationCurrent) == Read{0, 73});
    CHECK(readItem(list, enumerationDefault) == Read{0, 72});
    CHECK(readItem(enumeration(TWTY_UINT8, {7, 8, 9}, 1), enumerationCurrent) == Read{0, 8});
    CHECK(readItem(enumeration(TWTY_FIX32, {fix32(75), fix32(150.5)}, 1), enumerationCurrent) ==
          Read{0, fix32(150.5)});
}

TEST_CASE("the count of a list is read at the width of its items") {
    CHECK(readCount(enumeration(TWTY_UINT16, {1, 2, 3})) == Read{0, 3});
    CHECK(readCount(enumeration(TWTY_UINT8, std::vector<TW_UINT32>(255, 1))) == Read{0, 255});
    CHECK(readCount(enumeration(TWTY_UINT8, std::vector<TW_UINT32>(258, 1))) == Read{0, 2});
    CHECK(readCount(enumeration(TWTY_UINT16, std::vector<TW_UINT32>(65537, 1))) == Read{0, 1});
    CHECK(readCount(enumeration(TWTY_UINT32, std::vector<TW_UINT32>(65537, 1))) == Read{0, 65537});
}

TEST_CASE("range fields by selector, the current value for every other") {
    const ContainerImage fields = range(TWTY_UINT32, {10, 20, 30, 40, 50});
    CHECK(readRange(fields, rangeMin) == Read{0, 10});
    CHECK(readRange(fields, rangeMax) == Read{0, 20});
    CHECK(readRange(fields, rangeStep) == Read{0, 30});
    CHECK(readRange(fields, rangeDefault) == Read{0, 40});
    CHECK(readRange(fields, rangeCurrent) == Read{0, 50});
    for (int32_t selector : {0, 7, -6, 0x7fffffff}) {
        CAPTURE(selector);
        CHECK(readRange(fields, selector) == Read{0, 50});
    }
}

TEST_CASE("without a handle nothing is read") {
    const Traced traced;
    CHECK(readOne(withoutHandle(TWON_ONEVALUE)) == Read{10, 0});
    CHECK(readCount(withoutHandle(TWON_ENUMERATION)) == Read{10, 0});
    CHECK(readItem(withoutHandle(TWON_ENUMERATION), 0) == Read{10, 0});
    CHECK(readRange(withoutHandle(TWON_RANGE), rangeMax) == Read{10, 0});
    CHECK(traced.warnings() ==
          Lines{"Invalid memory in ExtractOneValue", "Invalid memory in ExtractEnumerationNumItems",
                "Invalid memory in ExtractEnumerationValue", "Invalid memory in ExtractRangeValue"});
}

TEST_CASE("a block that can't be locked") {
    const Traced traced;
    // Windows hands out a discarded block for a size of 0: it has a handle and can't be locked.
    CHECK(readOne(rawContainer(TWON_ONEVALUE, {})) == Read{10, 0});
    CHECK(readCount(rawContainer(TWON_ENUMERATION, {})) == Read{2, 0});
    CHECK(readItem(rawContainer(TWON_ENUMERATION, {}), 0) == Read{2, 0});
    CHECK(readRange(rawContainer(TWON_RANGE, {}), rangeMax) == Read{2, 0});
    CHECK(traced.warnings() ==
          Lines{"Lock memory error in ExtractOneValue", "Lock memory error in ExtractEnumerationNumItems",
                "Lock memory error in ExtractEnumerationValue", "Lock memory error in ExtractRangeValue"});
}

TEST_CASE("every operation is bracketed by its bare name") {
    const Traced traced;
    readOne(oneValue(TWTY_UINT16, 1));
    const auto bracket = [](const std::string& name) {
        return Lines{"    ", "    ", "    ", "Trace: Coming " + name, "Trace: Leaving " + name};
    };
    CHECK(traced.lines() == bracket("ExtractOneValue"));
    readItem(enumeration(TWTY_UINT16, {1}), enumerationCurrent);
    readCount(enumeration(TWTY_UINT16, {1}));
    readRange(fix32Range(0, 1, 1, 1), rangeMin);
    TW_CAPABILITY one = {}, list = {};
    BuildupOneValue(&one, TWTY_UINT16, 1);
    const TW_UINT16 item = 1;
    BuildupEnumeration(&list, TWTY_UINT16, 1, 0, 0, &item);
    GlobalFree(one.hContainer);
    GlobalFree(list.hContainer);
    CHECK(traced.lines() == bracket("ExtractOneValue") + bracket("ExtractEnumerationValue") +
                                bracket("ExtractEnumerationNumItems") + bracket("ExtractRangeValue") +
                                bracket("BuildupOneValue") + bracket("BuildupEnumeration"));
}

TEST_CASE("nothing outside the source's block is ever read") {
    const Traced traced;
    SUBCASE("an index past the list") {
        const ContainerImage list = enumeration(TWTY_UINT16, {70, 71, 72}, 0, 0);
        CHECK(readItem(list, 1000000) == Read{10, 0});
        CHECK(readItem(list, 0x7fffffff) == Read{10, 0});
        CHECK(readItem(list, -3) == Read{10, 0});
        CHECK(readItem(list, static_cast<int32_t>(0x80000000)) == Read{10, 0});
        CHECK(traced.warnings() == 4 * Lines{"Invalid memory in ExtractEnumerationValue"});
    }
    SUBCASE("a current index past the list") {
        CHECK(readItem(enumeration(TWTY_FIX32, {1, 2}, 5000), enumerationCurrent) == Read{10, 0});
        CHECK(readItem(enumeration(TWTY_FIX32, {1, 2}, 0xffffffff), enumerationCurrent) == Read{10, 0});
        CHECK(readItem(enumeration(TWTY_FIX32, {1, 2}, 0, 0x40000000), enumerationDefault) == Read{10, 0});
        CHECK(traced.warnings() == 3 * Lines{"Invalid memory in ExtractEnumerationValue"});
    }
    SUBCASE("a list longer than its block") {
        ContainerImage list = enumeration(TWTY_UINT16, {70, 71, 72});
        list.bytes[4] = 1;  // NumItems 65539
        CHECK(readCount(list) == Read{10, 0});
        CHECK(readItem(list, 0) == Read{10, 0});
        CHECK(readItem(list, enumerationCurrent) == Read{10, 0});
        CHECK(traced.warnings() == Lines{"Invalid memory in ExtractEnumerationNumItems",
                                         "Invalid memory in ExtractEnumerationValue",
                                         "Invalid memory in ExtractEnumerationValue"});
    }
    SUBCASE("blocks too short for their kind") {
        CHECK(readOne(rawContainer(TWON_ONEVALUE, {TWTY_UINT32, 0, 1})) == Read{10, 0});
        CHECK(readOne(rawContainer(TWON_ONEVALUE, {TWTY_UINT32})) == Read{10, 0});
        CHECK(readItem(rawContainer(TWON_ENUMERATION, {TWTY_UINT16, 0, 1, 0, 0, 0}), enumerationCurrent) ==
              Read{10, 0});
        CHECK(readRange(rawContainer(TWON_RANGE, {TWTY_UINT16, 0, 1, 0, 0, 0}), rangeCurrent) == Read{10, 0});
        CHECK(traced.warnings() ==
              Lines{"Invalid memory in ExtractOneValue", "Invalid memory in ExtractOneValue",
                    "Invalid memory in ExtractEnumerationValue", "Invalid memory in ExtractRangeValue"});
    }
}

TEST_CASE("building a one value") {
    TW_CAPABILITY capability = {ICAP_UNITS, 0, nullptr};
    CHECK(BuildupOneValue(&capability, TWTY_INT16, 0x12345678) == 0);
    CHECK(capability.Cap == ICAP_UNITS);
    CHECK(capability.ConType == TWON_ONEVALUE);
    REQUIRE(GlobalSize(capability.hContainer) >= 6);
    CHECK(blockOf(capability.hContainer, 6) == std::vector<uint8_t>{1, 0, 0x78, 0x56, 0x34, 0x12});
    CHECK(GlobalFree(capability.hContainer) == nullptr);
}

TEST_CASE("building a list") {
    TW_CAPABILITY capability = {ICAP_PIXELTYPE, 0, nullptr};
    const TW_UINT16 items[] = {0x0102, 0x0304, 0x0506};
    CHECK(BuildupEnumeration(&capability, TWTY_UINT16, 3, 2, 1, items) == 0);
    CHECK(capability.Cap == ICAP_PIXELTYPE);
    CHECK(capability.ConType == TWON_ENUMERATION);
    CHECK(GlobalSize(capability.hContainer) == 22);
    CHECK(blockOf(capability.hContainer, 22) ==
          std::vector<uint8_t>{4, 0, 3, 0, 0, 0, 2, 0, 0, 0, 1, 0, 0, 0, 2, 1, 4, 3, 6, 5, 0, 0});
    GlobalFree(capability.hContainer);

    const uint8_t bytes[] = {9, 8, 7, 6, 5};
    CHECK(BuildupEnumeration(&capability, TWTY_UINT8, 5, 0, 4, bytes) == 0);
    CHECK(GlobalSize(capability.hContainer) == 21);
    CHECK(blockOf(capability.hContainer, 21) ==
          std::vector<uint8_t>{3, 0, 5, 0, 0, 0, 0, 0, 0, 0, 4, 0, 0, 0, 9, 8, 7, 6, 5, 0, 0});
    GlobalFree(capability.hContainer);
}

TEST_CASE("a list too large for memory isn't built") {
    const Traced traced;
    TW_CAPABILITY capability = {ICAP_PIXELTYPE, 0, reinterpret_cast<HGLOBAL>(1)};
    const TW_UINT32 item = 0;
    CHECK(BuildupEnumeration(&capability, TWTY_UINT32, 0x3ffffff0 / 4 * 3, 0, 0, &item) == 2);
    CHECK(capability.hContainer == nullptr);
    CHECK(traced.warnings() == Lines{"Memory alloc error in BuildupEnumeration"});
}

TEST_CASE("item sizes") {
    const uint32_t sizes[] = {1, 2, 4, 1, 2, 4, 2, 4};
    for (TW_UINT16 type = 0; type < 8; ++type)
        CHECK(ItemSize(type) == sizes[type]);
    for (TW_UINT16 type : {+TWTY_FRAME, +TWTY_STR32, 0xffff})
        CHECK(ItemSize(type) == 4);
}

TEST_CASE("numbers and TW_FIX32") {
    struct Row {
        float number;
        TW_INT16 whole;
        TW_UINT16 fraction;
    };
    const Row rows[] = {
        {0.0f, 0, 0},           {1.5f, 1, 32768},    {0.25f, 0, 16384},    {300.0f, 300, 0},
        {762.0f, 762, 0},       {2.999999f, 2, 0},   {2.99f, 2, 64881},    {-2.0f, -2, 1},
        {-1.5f, -1, 0x8001},    {-0.25f, 0, 0xc001}, {32767.0f, 32767, 0}, {70000.0f, 4464, 0},
        {432000.0f, -26752, 0},
    };
    for (const Row& row : rows) {
        CAPTURE(row.number);
        const TW_FIX32 made = numberToFix32(row.number);
        CHECK(made.Whole == row.whole);
        CHECK(made.Frac == row.fraction);
    }
    CHECK(fix32ToNumber({-2, 16384}) == -1.75);
    CHECK(fix32ToNumber({1, 32768}) == 1.5);
    CHECK(fix32ToNumber({-1, 65535}) == -1.0 / 65536);
    CHECK(fix32ToNumber({32767, 65535}) == 32768 - 1.0 / 65536);
    CHECK(fix32ToNumber(fix32FromBits(fix32ToBits({-3, 5}))) == -3 + 5.0 / 65536);
}
