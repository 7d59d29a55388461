#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "pages/PageWriter.h"

namespace pages {

// How the rows of a page become the bytes of a PDF image.
class PdfImage {
public:
    using Output = std::function<void(const std::uint8_t* bytes, std::size_t count)>;

    virtual ~PdfImage() = default;

    // The entries of the image's dictionary that tell how the bytes are to be read.
    virtual std::string filter() const = 0;
    virtual void row(const std::uint8_t* pixels) = 0;
    virtual void finish() = 0;
};

std::unique_ptr<PdfImage> makePdfImage(const PageFormat& format, const WriterSettings& settings,
                                       PdfImage::Output output);

}  // namespace pages
