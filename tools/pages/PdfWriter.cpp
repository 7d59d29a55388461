#include "pages/PdfWriter.h"

#include <cstdio>

#include "pages/PdfImage.h"

namespace pages {

namespace {

constexpr double pointsPerInch = 72;
constexpr double largestSide = 14400;                   // points
constexpr std::uint64_t largestOffset = 9'999'999'999;  // ten digits

// With a point and two digits, whatever the locale.
std::string decimal(double value) {
    const long long hundredths = static_cast<long long>(value * 100 + 0.5);
    const std::string digits = std::to_string(100 + hundredths % 100);
    return std::to_string(hundredths / 100) + "." + digits.substr(1);
}

std::string reference(int object) {
    return std::to_string(object) + " 0 R";
}

std::string colorSpace(const PageFormat& format) {
    if (format.color == ColorKind::Rgb) return "/DeviceRGB";
    if (format.color == ColorKind::Gray) return "/DeviceGray";
    std::string text = "[/Indexed /DeviceRGB " + std::to_string(format.palette.size() - 1) + " <";
    for (const shared::BmpColor& color : format.palette)
        for (const int value : {color.red, color.green, color.blue}) {
            char digits[3];
            std::snprintf(digits, sizeof digits, "%02x", static_cast<unsigned>(value));
            text += digits;
        }
    return text + ">]";
}

}  // namespace

PdfWriter::PdfWriter(const std::wstring& path, const WriterSettings& settings)
    : sink_(path), settings_(settings), objects_(pagesObject + 1) {
    // The second line's bytes beyond ASCII tell programs that the file isn't text.
    sink_.write("%PDF-1.4\n%\xe2\xe3\xcf\xd3\n");
    endOfPages_ = sink_.offset();
}

PdfWriter::~PdfWriter() = default;

void PdfWriter::startObject(int number) {
    if (sink_.offset() > largestOffset)
        throw WriteError{0, "it would be larger than a PDF file can be (10 GB)."};
    objects_[static_cast<std::size_t>(number)] = sink_.offset();
    sink_.write(std::to_string(number) + " 0 obj\n");
}

void PdfWriter::begin(const PageFormat& format) {
    const bool known = format.resolutionKnown();
    format_ = format;
    // Without a resolution a pixel is a point.
    if (!known) format_.xDotsPerInch = format_.yDotsPerInch = pointsPerInch;
    if (format.width * pointsPerInch / format_.xDotsPerInch > largestSide ||
        format.height * pointsPerInch / format_.yDotsPerInch > largestSide)
        throw WriteError{0, "the page is longer or wider than one of a PDF file can be (200 inches)."};
    sink_.cutTo(endOfPages_);
    objects_.resize(static_cast<std::size_t>(pageObject(pages_ + 1)));
    image_ = makePdfImage(format_, settings_, [this](const std::uint8_t* bytes, std::size_t count) {
        sink_.write(bytes, count);
    });
    const int image = pageObject(pages_) + 2;
    startObject(image);
    sink_.write("<< /Type /XObject /Subtype /Image /Width " + std::to_string(format.width) + " /Height " +
                std::to_string(format.height) + " /ColorSpace " + colorSpace(format) + " /BitsPerComponent " +
                std::to_string(format.color == ColorKind::Rgb ? 8 : format.bits) + "\n" + image_->filter() +
                "\n/Length " + reference(image + 1) + " >>\nstream\n");
    imageStart_ = sink_.offset();
}

void PdfWriter::row(const std::uint8_t* pixels) {
    image_->row(pixels);
}

void PdfWriter::end() {
    image_->finish();
    image_.reset();
    writePageObjects();
    const std::uint64_t end = sink_.offset();
    writeTrailer(pages_ + 1);
    sink_.flush();
    // Only now does the page belong to the file: the disk may have been full.
    endOfPages_ = end;
    ++pages_;
}

void PdfWriter::drop() {
    image_.reset();
    sink_.cutTo(endOfPages_);
    if (pages_ > 0) writeTrailer(pages_);
    sink_.flush();
}

void PdfWriter::writePageObjects() {
    const int page = pageObject(pages_), content = page + 1, image = page + 2, length = page + 3;
    const std::uint64_t imageBytes = sink_.offset() - imageStart_;
    sink_.write("\nendstream\nendobj\n");
    startObject(length);
    sink_.write(std::to_string(imageBytes) + "\nendobj\n");
    const std::string width = decimal(format_.width * pointsPerInch / format_.xDotsPerInch);
    const std::string height = decimal(format_.height * pointsPerInch / format_.yDotsPerInch);
    const std::string drawing = "q " + width + " 0 0 " + height + " 0 0 cm /Scan Do Q";
    startObject(content);
    sink_.write("<< /Length " + std::to_string(drawing.size()) + " >>\nstream\n" + drawing +
                "\nendstream\nendobj\n");
    startObject(page);
    sink_.write("<< /Type /Page /Parent " + reference(pagesObject) + " /MediaBox [0 0 " + width + " " +
                height + "] /Resources << /XObject << /Scan " + reference(image) + " >> >> /Contents " +
                reference(content) + " >>\nendobj\n");
}

void PdfWriter::writeTrailer(int pages) {
    startObject(catalogObject);
    sink_.write("<< /Type /Catalog /Pages " + reference(pagesObject) + " >>\nendobj\n");
    startObject(pagesObject);
    sink_.write("<< /Type /Pages /Count " + std::to_string(pages) + " /Kids [");
    for (int page = 0; page < pages; ++page)
        sink_.write("\n" + reference(pageObject(page)));
    sink_.write("] >>\nendobj\n");

    const int objectCount = pageObject(pages);
    const std::uint64_t table = sink_.offset();
    sink_.write("xref\n0 " + std::to_string(objectCount) + "\n0000000000 65535 f \n");
    for (int object = 1; object < objectCount; ++object) {
        const std::string offset = std::to_string(objects_[static_cast<std::size_t>(object)]);
        sink_.write(std::string(10 - offset.size(), '0') + offset + " 00000 n \n");
    }
    sink_.write("trailer\n<< /Size " + std::to_string(objectCount) + " /Root " + reference(catalogObject) +
                " >>\nstartxref\n" + std::to_string(table) + "\n%%EOF\n");
}

}  // namespace pages
