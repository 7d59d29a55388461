#include "pages/PdfImage.h"

#include <algorithm>
#include <utility>

#include "pages/Deflater.h"
#include "pages/FaxEncoder.h"
#include "pages/JpegEncoder.h"

namespace pages {

namespace {

class FaxImage : public PdfImage {
public:
    FaxImage(const PageFormat& format, Output output)
        : width_(format.width), encoder_(format.width, std::move(output)) {}

    std::string filter() const override {
        return "/Filter /CCITTFaxDecode /DecodeParms << /K -1 /Columns " + std::to_string(width_) + " >>";
    }
    void row(const std::uint8_t* pixels) override { encoder_.row(pixels); }
    void finish() override { encoder_.finish(); }

private:
    int width_;
    FaxEncoder encoder_;
};

class JpegImage : public PdfImage {
public:
    JpegImage(const PageFormat& format, int quality, Output output)
        : encoder_(format, quality, std::move(output)) {}

    std::string filter() const override { return "/Filter /DCTDecode"; }
    void row(const std::uint8_t* pixels) override { encoder_.row(pixels); }
    void finish() override { encoder_.finish(); }

private:
    JpegEncoder encoder_;
};

class DeflatedImage : public PdfImage {
public:
    DeflatedImage(const PageFormat& format, Output output)
        : format_(format),
          deflater_(std::move(output)),
          rows_(format.rowBytes(), format.bits >= 8 && format.color != ColorKind::Palette) {}

    std::string filter() const override {
        const bool rgb = format_.color == ColorKind::Rgb;
        return "/Filter /FlateDecode /DecodeParms << /Predictor 15 /Colors " + std::to_string(rgb ? 3 : 1) +
               " /BitsPerComponent " + std::to_string(rgb ? 8 : format_.bits) + " /Columns " +
               std::to_string(format_.width) + " >>";
    }
    void row(const std::uint8_t* pixels) override { rows_.add(deflater_, pixels); }
    void finish() override { deflater_.finish(); }

private:
    PageFormat format_;
    Deflater deflater_;
    FilteredRows rows_;
};

}  // namespace

std::unique_ptr<PdfImage> makePdfImage(const PageFormat& format, const WriterSettings& settings,
                                       PdfImage::Output output) {
    if (format.color == ColorKind::Gray && format.bits == 1)
        return std::make_unique<FaxImage>(format, std::move(output));
    const bool manyTones =
        format.color == ColorKind::Rgb || (format.color == ColorKind::Gray && format.bits == 8);
    const bool fitsJpeg = std::max(format.width, format.height) <= JpegEncoder::largestSide;
    if (manyTones && fitsJpeg && !settings.lossless)
        return std::make_unique<JpegImage>(format, settings.quality, std::move(output));
    return std::make_unique<DeflatedImage>(format, std::move(output));
}

}  // namespace pages
