// The description of an image that a host gets with each transfer.
#include <doctest.h>

#include <cstring>

#include "TransferBatch.h"

TEST_CASE("the record of an image") {
    TW_IMAGEINFO info = colourImage();
    info.XResolution = {150, 32768};
    info.ImageLength = -1;
    info.BitsPerSample[7] = 99;
    info.Planar = 1;
    info.Compression = TWCP_PACKBITS;
    for (Mechanism mechanism : bothMechanisms) {
        Batch batch(mechanism);
        batch.manager.answer(operation::imageInfo, copy(info));
        batch.run();
        REQUIRE(batch.host.images().size() == 2);
        for (const TXferImageInfo& image : batch.host.images()) {
            CHECK(image.XResolution == 150);
            CHECK(image.YResolution == 300);
            CHECK(image.ImageWidth == 20);
            CHECK(image.ImageLength == -1);
            CHECK(image.SamplesPerPixel == 3);
            CHECK(std::memcmp(image.BitsPerSample, info.BitsPerSample, sizeof image.BitsPerSample) == 0);
            CHECK(image.BitsPerPixel == 24);
            CHECK(image.Planar == 1);
            CHECK(image.PixelTypeFlag == SM_PIXEL_RGB);
            CHECK(image.Compression == TWCP_PACKBITS);
            CHECK(image.XferMech == (mechanism == Mechanism::Native ? SM_MECH_NATIVE : SM_MECH_FILE));
            CHECK((image.Target.Dib == nullptr) == (mechanism == Mechanism::Native));
        }
    }
}

TEST_CASE("the pixel type of a record, which an unknown type leaves as it was") {
    for (Mechanism mechanism : bothMechanisms) {
        Batch batch(mechanism, 12);
        int number = 0;
        const TW_INT16 types[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, -1, 0};
        batch.manager.answer(operation::imageInfo, fill<TW_IMAGEINFO>([&](TW_IMAGEINFO& image) {
                                 image = colourImage();
                                 image.PixelType = number < 2 ? 0 : types[number - 2];
                                 ++number;
                             }));
        batch.run();
        std::vector<int> flags;
        for (size_t i = 0; i < batch.host.images().size(); i += 2)
            flags.push_back(batch.host.images()[i].PixelTypeFlag);
        CHECK(flags == std::vector<int>{1, 2, 4, 8, 16, 32, 64, 128, 256, 256, 256, 1});
    }
}

TEST_CASE("a record's resolution by the factor of a length in the source's unit") {
    struct Row {
        TW_UINT16 unit;
        TW_FIX32 source;
        int record;
    };
    const Row rows[] = {
        {TWUN_INCHES, {300, 0}, 300},      {TWUN_INCHES, {299, 65535}, 299}, {TWUN_CENTIMETERS, {118, 0}, 46},
        {TWUN_CENTIMETERS, {762, 0}, 299}, {TWUN_PICAS, {1800, 0}, 300},     {TWUN_POINTS, {21600, 0}, 300},
        {TWUN_TWIPS, {28800, 0}, 20},      {TWUN_PIXELS, {200, 0}, 200},     {77, {75, 0}, 75},
        {TWUN_INCHES, {-5, 0}, -1},        {TWUN_POINTS, {-720, 0}, -1},     {TWUN_CENTIMETERS, {0, 0}, 0},
    };
    for (const Row& row : rows) {
        CAPTURE(row.unit);
        CAPTURE(row.source.Whole);
        Batch batch(Mechanism::Native);
        batch.manager.answer(operation::getCurrent(ICAP_UNITS), give(oneValue(TWTY_UINT16, row.unit)));
        TW_IMAGEINFO info = colourImage();
        info.YResolution = row.source;
        batch.manager.answer(operation::imageInfo, copy(info));
        batch.run();
        CHECK(batch.host.images().front().YResolution == row.record);
    }
}
