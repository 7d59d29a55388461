// Every getter of a capability over what a source may answer: each container, refusals, nonsense. One row per
// getter.
#include <doctest.h>

#include <cstring>
#include <functional>

#include "Stage.h"

namespace {

constexpr int untouched = 777;

using Reader = std::function<int(Module&, int& output)>;

template <class Type>
Reader reader(int (WINAPI* Module::*function)(Type*)) {
    return [function](Module& module, int& output) {
        auto value = static_cast<Type>(untouched);
        const int result = (module.*function)(&value);
        output = value;
        return result;
    };
}

struct Sample {
    TW_UINT32 source;
    int host;
};

enum Kinds { single, listed };

struct Getter {
    std::string method;
    Reader read;
    TW_UINT16 capability;
    TW_UINT16 itemType;
    Kinds kinds;
    std::vector<Sample> samples;
    int afterFailure = untouched;
    bool checksState = true;

    std::string current() const { return "GETCURRENT " + operation::capabilityName(capability); }
    std::string get() const { return "GET " + operation::capabilityName(capability); }
    Lines warning(const char* words) const {
        return {std::string("! ") + words + " in TScanModule::" + method};
    }
    Lines refusal() const { return warning("CapNegotiate returns failure"); }
};

constexpr TW_UINT16 flag = TWTY_BOOL;
constexpr TW_UINT16 word = TWTY_UINT16;

const std::vector<Getter> getters = {
    {"IsADFPaperLoaded", reader(&Module::IsADFPaperLoaded), CAP_FEEDERLOADED, flag, single, {{0, 0}, {1, 1}}},
    {"IsADFPaperLoaded", reader(&Module::IsPaperLoaded), CAP_FEEDERLOADED, flag, single, {{1, 1}}},
    {"GetADFEnable", reader(&Module::GetADFEnable), CAP_FEEDERENABLED, flag, single, {{1, 1}}},
    {"GetUnit", reader(&Module::GetUnit), ICAP_UNITS, word, listed, {{0, 1}, {4, 16}, {6, 1}, {5, 32}}, 1},
    {"GetPixelFlavor", reader(&Module::GetPixelFlavor), ICAP_PIXELFLAVOR, word, listed, {{0, 0}, {1, 1}}},
    {"GetPixelType", reader(&Module::GetPixelType), ICAP_PIXELTYPE, word, listed, {{0, 1}, {8, 256}, {9, 2}}},
    {"GetPaperSize", reader(&Module::GetPaperSize), ICAP_SUPPORTEDSIZES, word, listed, {{8, 256}, {9, 1}}},
    {"GetXferMech",
     reader(&Module::GetXferMech),
     ICAP_XFERMECH,
     word,
     listed,
     {{0, 1}, {1, 2}, {2, 4}, {3, 4}}},
    {"GetXferCount",
     reader(&Module::GetXferCount),
     CAP_XFERCOUNT,
     TWTY_INT16,
     listed,
     {{0xffff, -1}, {9, 9}}},
    {"GetKvUnSharpMask", reader(&Module::GetKvUnSharpMask), 0x800e, flag, listed, {{1, 1}}},
    {"GetClearPage", reader(&Module::GetClearPage), CAP_CLEARPAGE, flag, listed, {{1, 1}}},
    {"GetPIMFlag", reader(&Module::GetPIMFlag), 0x8010, flag, listed, {{1, 1}}},
    {"GetKvUIMode", reader(&Module::GetKvUIMode), 0x800f, word, listed, {{1, 1}, {2, 0}, {3, 2}, {4, 0}}, 0},
    {"GetKvLUT1", reader(&Module::GetKvLUT1), 0x8007, word, listed, {{2, 2}, {9, 9}}},
    {"GetKvLUT2", reader(&Module::GetKvLUT2), 0x8008, word, listed, {{2, 2}, {9, 9}}, untouched, false},
    {"GetKvCC", reader(&Module::GetKvCC), 0x8009, word, listed, {{2, 2}, {9, 9}}},
};

// "result, output", then the record of the call.
Lines outcome(int result, int output, const Lines& record) {
    return Lines{std::to_string(result) + ", " + std::to_string(output)} + record;
}

Lines readFrom(const Getter& getter, const Answer& current, const Answer& get, int state = 4) {
    Stage stage;
    stage.bringTo(state);
    stage.manager.answer(operation::getCurrent(getter.capability), current);
    stage.manager.answer(operation::get(getter.capability), get);
    int output = 0;
    const int result = getter.read(stage.module, output);
    return outcome(result, output, stage.takeRecord());
}

ContainerImage currentOfThree(TW_UINT16 type, TW_UINT32 item) {
    return enumeration(type, {90, 91, item}, 2, 1);
}

}  // namespace

TEST_CASE("a getter gives what the first message says") {
    for (const Getter& getter : getters) {
        CAPTURE(getter.method);
        for (const auto& [source, host] : getter.samples) {
            std::vector<ContainerImage> images = {oneValue(getter.itemType, source)};
            if (getter.kinds == listed) images.push_back(currentOfThree(getter.itemType, source));
            for (const ContainerImage& image : images)
                CHECK(readFrom(getter, give(image), failWith(TWCC_BUMMER)) ==
                      outcome(0, host, {getter.current()}));
        }
    }
}

TEST_CASE("a getter asks a second time when the first message fails, also while the source is enabled") {
    for (const Getter& getter : getters) {
        const auto& [source, host] = getter.samples.back();
        const Lines refusedOnce = refused(getter.current()) + Lines{getter.get()};
        const Answer second = give(oneValue(getter.itemType, source));
        CHECK(readFrom(getter, failWith(TWCC_BADPROTOCOL), second, 5) ==
              outcome(0, host, refusedOnce + getter.refusal()));
        CHECK(readFrom(getter, failWith(TWCC_BADPROTOCOL), failWith(TWCC_CAPUNSUPPORTED)) ==
              outcome(TWCC_CAPUNSUPPORTED, getter.afterFailure,
                      refusedOnce + Lines{"STATUS"} + 2 * getter.refusal()));
    }
}

TEST_CASE("containers that a getter can't read are freed, and the next message is tried") {
    for (const Getter& getter : getters) {
        const auto& [source, host] = getter.samples.back();
        std::vector<ContainerImage> images = {
            array(getter.itemType, {source}),
            range(getter.itemType, {0, 9, 1, 1, source}),
            withoutHandle(TWON_DONTCARE16),
        };
        if (getter.kinds == single) images.push_back(currentOfThree(getter.itemType, source));
        const Lines asked = {getter.current(), getter.get()};
        const Lines warning = getter.warning("Invalid container type");
        for (const ContainerImage& image : images) {
            CAPTURE(image.conType);
            CHECK(readFrom(getter, give(image), give(image)) ==
                  outcome(10, getter.afterFailure, asked + 2 * warning));
            CHECK(readFrom(getter, give(image), give(oneValue(getter.itemType, source))) ==
                  outcome(0, host, asked + warning));
        }
    }
}

TEST_CASE("a getter without an open source asks nothing, without a manager it says so") {
    const Answer no = failWith(TWCC_SEQERROR);
    for (const Getter& getter : getters) {
        const Lines asked = refused(getter.current()) + refused(getter.get()) + 2 * getter.refusal();
        CHECK(readFrom(getter, no, no, 2) ==
              outcome(11, untouched, getter.checksState ? getter.warning("Sequence error") : asked));
    }
    const ManagerFile missing(ManagerFile::Kind::Missing);
    for (const Getter& getter : getters)
        CHECK(readFrom(getter, no, no, 2) == outcome(-1, untouched, withoutManager(getter.method)));
}

TEST_CASE("the supported values are the bits of a list") {
    struct Row {
        Answer answer;
        int result, output;
        const char* warning = nullptr;
    };
    const Row rows[] = {
        {give(enumeration(TWTY_UINT16, {2, 0, 1}, 1)), 0, 7},
        {give(enumeration(TWTY_UINT16, {1, 9, 16, 32, 40000})), 0, 2},  // those without a bit are left out
        {give(enumeration(TWTY_UINT8, {3, 8})), 0, 0x108},
        {give(enumeration(TWTY_UINT32, {3, 0x10000})), 0, 8},
        {give(enumeration(TWTY_UINT16, {})), 0, 0},
        {give(oneValue(TWTY_UINT16, 1)), 10, 0, "Invalid container type"},
        {give(array(TWTY_UINT16, {0, 1})), 10, 0, "Invalid container type"},
        {failWith(TWCC_BADCAP), TWCC_BADCAP, 0, "CapNegotiate returns failure"},
    };
    const Getter lists[] = {
        {"GetSupportedPixelType", reader(&Module::GetSupportedPixelType), ICAP_PIXELTYPE, 0, listed, {}},
        {"GetSupportedPaperSize", reader(&Module::GetSupportedPaperSize), ICAP_SUPPORTEDSIZES, 0, listed, {}},
    };
    for (const Getter& list : lists) {
        for (const Row& row : rows) {
            const Lines asked = row.result == TWCC_BADCAP ? refused(list.get()) : Lines{list.get()};
            CHECK(readFrom(list, failWith(TWCC_BUMMER), row.answer) ==
                  outcome(row.result, row.output,
                          asked + (row.warning != nullptr ? list.warning(row.warning) : Lines{})));
        }
        CHECK(readFrom(list, {}, {}, 2) == outcome(11, untouched, list.warning("Sequence error")));
    }
}

TEST_CASE("a feeder is there when its capability can be asked, before the source is enabled") {
    const Getter feeder = {
        "IsADFAvailable", reader(&Module::IsADFAvailable), CAP_FEEDERENABLED, flag, single, {}};
    const Answer no = failWith(TWCC_CAPUNSUPPORTED);
    for (const ContainerImage& image : {oneValue(TWTY_BOOL, 0), array(TWTY_BOOL, {1}), withoutHandle(3)})
        CHECK(readFrom(feeder, no, give(image)) == outcome(0, 1, {feeder.get()}));
    for (int state : {2, 4})
        CHECK(readFrom(feeder, no, no, state) ==
              outcome(TWCC_CAPUNSUPPORTED, 0, refused(feeder.get()) + feeder.refusal()));
    CHECK(readFrom(feeder, no, no, 5) == outcome(11, untouched, feeder.warning("Sequence error")));
}

TEST_CASE("the pending count needs an enabled source and asks nothing") {
    const Getter count = {"GetPendingCount", reader(&Module::GetPendingCount), 0, 0, single, {}};
    CHECK(readFrom(count, {}, {}, 4) == outcome(11, untouched, count.warning("Sequence error")));
    CHECK(readFrom(count, {}, {}, 5) == outcome(0, 0, {}));
}

TEST_CASE("the names of the source, in every state") {
    char text[34] = "before";
    SUBCASE("open, under one name in the trace") {
        Stage stage;
        stage.open();
        CHECK(stage.module.GetDSProductName(text) == 0);
        CHECK(std::string(text) == "Plain Source");
        CHECK(stage.module.GetDSProductFamily(text) == 0);
        CHECK(std::string(text) == "Plain Family");
        CHECK(stage.viewer.traces().with("Coming TScanModule::GetDSProductName").size() == 2);
        CHECK(stage.takeRecord() == Lines{});
    }
    SUBCASE("no manager") {
        const ManagerFile missing(ManagerFile::Kind::Missing);
        Stage stage;
        stage.forget();
        CHECK(stage.module.GetDSProductName(text) == -1);
        CHECK(stage.takeRecord() == withoutManager("GetDSProductName"));
    }
    SUBCASE("a source whose texts have no end") {
        Stage stage;
        std::memset(stage.manager.defaultSource().ProductName, 'x', 34);
        stage.open();
        CHECK(stage.module.GetDSProductName(text) == 0);
        CHECK(std::string(text) == std::string(33, 'x'));
    }
}
