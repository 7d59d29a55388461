// Sources that lie about their containers: no getter reads outside the block it was given, each reports a bad
// value, frees the block and goes on to the next message.
#include <doctest.h>

#include <functional>

#include "Stage.h"

namespace {

struct Question {
    std::string name;
    TW_UINT16 capability;
    std::function<int(Module&)> ask;
    int messages = 2;
};

template <class Type>
std::function<int(Module&)> asker(int (WINAPI* Module::*function)(Type*)) {
    return [function](Module& module) {
        Type value{};
        return (module.*function)(&value);
    };
}
template <class Type>
std::function<int(Module&)> asker(int (WINAPI* Module::*function)(Type*, Type*, Type*)) {
    return [function](Module& module) {
        Type current{}, min{}, max{};
        return (module.*function)(&current, &min, &max);
    };
}
std::function<int(Module&)> asker(int (WINAPI* Module::*function)(short*, short, short)) {
    return [function](Module& module) {
        short value = 0;
        return (module.*function)(&value, 0, 100);
    };
}

const Question readingOneValue[] = {
    {"paper loaded", CAP_FEEDERLOADED, asker(&Module::IsADFPaperLoaded)},
    {"feeder enabled", CAP_FEEDERENABLED, asker(&Module::GetADFEnable)},
    {"gamma", ICAP_GAMMA, asker(&Module::GetGamma)},
    {"firmware", 0x8001, asker(&Module::GetKvVersion), 1},
    {"unit", ICAP_UNITS, asker(&Module::GetUnit)},
    {"resolution", ICAP_XRESOLUTION, asker(&Module::GetXResolution)},
    {"brightness", ICAP_BRIGHTNESS, asker(&Module::GetBrightness)},
};

const Question readingLists[] = {
    {"unit", ICAP_UNITS, asker(&Module::GetUnit)},
    {"flavor", ICAP_PIXELFLAVOR, asker(&Module::GetPixelFlavor)},
    {"pixel type", ICAP_PIXELTYPE, asker(&Module::GetPixelType)},
    {"paper size", ICAP_SUPPORTEDSIZES, asker(&Module::GetPaperSize)},
    {"mechanism", ICAP_XFERMECH, asker(&Module::GetXferMech)},
    {"count", CAP_XFERCOUNT, asker(&Module::GetXferCount)},
    {"X resolution", ICAP_XRESOLUTION, asker(&Module::GetXResolution)},
    {"Y resolution", ICAP_YRESOLUTION, asker(&Module::GetYResolution)},
    {"X scale", ICAP_XSCALING, asker(&Module::GetXScale)},
    {"Y scale", ICAP_YSCALING, asker(&Module::GetYScale)},
    {"contrast", ICAP_CONTRAST, asker(&Module::GetContrast)},
    {"firmware", 0x8001, asker(&Module::GetKvVersion), 1},
    {"interface mode", 0x800f, asker(&Module::GetKvUIMode)},
    {"pixel types", ICAP_PIXELTYPE, asker(&Module::GetSupportedPixelType), 1},
    {"paper sizes", ICAP_SUPPORTEDSIZES, asker(&Module::GetSupportedPaperSize), 1},
};

const Question readingRanges[] = {
    {"X resolution", ICAP_XRESOLUTION, asker(&Module::GetXResolution)},
    {"Y scale", ICAP_YSCALING, asker(&Module::GetYScale)},
    {"shadow", ICAP_SHADOW, asker(&Module::GetShadow)},
};

std::vector<uint8_t> bytes(std::initializer_list<int> values) {
    return {values.begin(), values.end()};
}

// A list of three items with its numbers as given.
ContainerImage lyingList(TW_UINT32 numItems, TW_UINT32 currentIndex, TW_UINT16 type = TWTY_UINT16) {
    ContainerImage image = enumeration(type, {1, 2, 3}, currentIndex);
    for (int i = 0; i < 4; ++i)
        image.bytes[2 + i] = static_cast<uint8_t>(numItems >> (8 * i));
    return image;
}

ContainerImage cut(ContainerImage image, size_t size) {
    image.bytes.resize(size);
    return image;
}

const ContainerImage badOneValues[] = {
    rawContainer(TWON_ONEVALUE, bytes({4})),
    rawContainer(TWON_ONEVALUE, bytes({4, 0})),
    rawContainer(TWON_ONEVALUE, bytes({4, 0, 1})),
    rawContainer(TWON_ONEVALUE, bytes({5, 0, 1, 2, 3})),
    oneValue(TWTY_FRAME, 1),
    oneValue(TWTY_STR32, 1),
    oneValue(0xffff, 1),
    withoutHandle(TWON_ONEVALUE),
};

const ContainerImage badLists[] = {
    lyingList(4, 0),
    lyingList(65535, 0),
    lyingList(0x40000001, 0),
    lyingList(0x80000000, 0),
    lyingList(0xffffffff, 0),
    lyingList(0x40000001, 0, TWTY_FIX32),
    lyingList(0xffffffff, 0xffffffff, TWTY_UINT8),
    cut(enumeration(TWTY_UINT16, {1, 2, 3}), 17),
    cut(enumeration(TWTY_UINT16, {1, 2, 3}), 13),
    cut(enumeration(TWTY_UINT16, {1, 2, 3}), 6),
    cut(enumeration(TWTY_UINT16, {1, 2, 3}), 3),
    cut(enumeration(TWTY_UINT16, {1, 2, 3}), 1),
    enumeration(TWTY_FRAME, {1, 2, 3}),
    enumeration(0x7fff, {1, 2, 3}),
    withoutHandle(TWON_ENUMERATION),
};

const ContainerImage badCurrentItems[] = {
    lyingList(2, 2),
    lyingList(3, 3),
    lyingList(3, 1000),
    lyingList(3, 0x7fffffff),
    lyingList(3, 0x80000000),
    lyingList(3, 0xffffffff),
    enumeration(TWTY_UINT16, {}, 0),
};

const ContainerImage badRanges[] = {
    cut(fix32Range(1, 2, 1, 2), 21),    cut(fix32Range(1, 2, 1, 2), 9), cut(fix32Range(1, 2, 1, 2), 1),
    range(TWTY_FRAME, {1, 2, 3, 4, 5}), withoutHandle(TWON_RANGE),
};

std::string textOf(const ContainerImage& image) {
    std::string text = "kind " + std::to_string(image.conType) + ":";
    for (uint8_t byte : image.bytes)
        text += " " + std::to_string(byte);
    return text;
}

template <class Questions, class Images>
void checkRefused(const Questions& questions, const Images& images) {
    Stage stage;
    stage.open();
    stage.windows.guardBlocks = true;
    for (const Question& question : questions) {
        CAPTURE(question.name);
        for (const ContainerImage& image : images) {
            CAPTURE(textOf(image));
            stage.manager.answer(operation::get(question.capability), give(image));
            stage.manager.answer(operation::getCurrent(question.capability), give(image));
            stage.forget();
            CHECK(question.ask(stage.module) == 10);
            int asked = 0;
            for (const std::string& call : stage.manager.calls())
                asked += call.find(operation::capabilityName(question.capability)) != std::string::npos;
            CHECK(asked == question.messages);
            CHECK(stage.windows.memoryComplaints() == Lines{});
        }
        stage.manager.answer(operation::get(question.capability), failWith(TWCC_BADCAP));
        stage.manager.answer(operation::getCurrent(question.capability), failWith(TWCC_BADCAP));
    }
}

}  // namespace

TEST_CASE("one values that are too short or of no scalar type") {
    checkRefused(readingOneValue, badOneValues);
}

TEST_CASE("lists longer than their block") {
    checkRefused(readingLists, badLists);
}

TEST_CASE("a current index past the list") {
    std::vector<Question> questions;
    for (const Question& question : readingLists)
        if (question.messages == 2) questions.push_back(question);
    checkRefused(questions, badCurrentItems);
}

TEST_CASE("ranges that are too short or of no scalar type") {
    checkRefused(readingRanges, badRanges);
}

TEST_CASE("a tone range out of a lying container is the default one") {
    std::vector<ContainerImage> images;
    images.insert(images.end(), std::begin(badLists), std::end(badLists));
    // Without the one that only lacks its current value, which no tone range needs.
    images.insert(images.end(), std::begin(badRanges) + 1, std::end(badRanges));
    for (const ContainerImage& image : images) {
        CAPTURE(textOf(image));
        Stage stage;
        stage.windows.guardBlocks = true;
        stage.manager.answer(operation::get(ICAP_BRIGHTNESS), give(image));
        stage.manager.answer(operation::getCurrent(ICAP_BRIGHTNESS), give(image));
        stage.open();
        CHECK(stage.windows.memoryComplaints() == Lines{});
        CHECK(stage.module.SetBrightness(3, 0, 3) == 0);
        CHECK(stage.manager.calls() == Lines{"SET ICAP_BRIGHTNESS one FIX32 1000"});
    }
}

TEST_CASE("a host's own mechanism container is read within its block") {
    Stage stage;
    stage.open();
    stage.windows.guardBlocks = true;
    for (const ContainerImage& image : {lyingList(3, 1000), lyingList(65535, 0), cut(oneValue(4, 1), 2)}) {
        TW_CAPABILITY capability = {ICAP_XFERMECH, image.conType, image.allocate()};
        ModuleCalls::adopt(capability.hContainer);
        CHECK(stage.module.CapNegotiate(MSG_SET, &capability) == TWRC_SUCCESS);
        stage.windows.release(capability.hContainer);
        GlobalFree(capability.hContainer);
    }
    CHECK(stage.windows.memoryComplaints() == Lines{});
}

TEST_CASE("the mechanisms that a source offers are read within their block") {
    std::vector<ContainerImage> images = {cut(oneValue(TWTY_UINT16, TWSX_FILE), 3),
                                          withoutHandle(TWON_ONEVALUE)};
    images.insert(images.end(), std::begin(badLists), std::end(badLists));
    for (const ContainerImage& image : images) {
        CAPTURE(textOf(image));
        Stage stage;
        stage.enable();
        stage.windows.guardBlocks = true;
        stage.manager.answer(operation::getCurrent(ICAP_XFERMECH), give(oneValue(TWTY_UINT16, TWSX_NATIVE)));
        stage.manager.answer(operation::get(ICAP_XFERMECH), give(image));
        stage.manager.answer(operation::imageInfo, failWith(TWCC_SEQERROR));
        stage.deliver(MSG_XFERREADY);
        CHECK(stage.windows.memoryComplaints() == Lines{});
    }
}
