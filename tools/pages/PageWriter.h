#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "bmp/BmpHeader.h"

namespace pages {

enum class ColorKind {
    Gray,     // 1, 4 or 8 bits; 0 is black
    Palette,  // 1, 4 or 8 bits
    Rgb,      // 24 bits: red, green, blue
};

// What a page is, before its rows come.
struct PageFormat {
    int width = 0;
    int height = 0;
    ColorKind color = ColorKind::Gray;
    int bits = 8;  // a pixel
    std::vector<shared::BmpColor> palette;
    double xDotsPerInch = 0;  // 0: not known
    double yDotsPerInch = 0;

    std::size_t rowBytes() const { return (static_cast<std::size_t>(width) * bits + 7) / 8; }
    bool resolutionKnown() const { return xDotsPerInch > 0 && yDotsPerInch > 0; }
};

struct WriterSettings {
    int quality = 85;       // of JPEG, 1 to 100
    bool lossless = false;  // no JPEG within a PDF
};

// Thrown by all that writes.
struct WriteError {
    unsigned long windowsError;  // 0: `text` tells what is wrong
    std::string text;
};

// Writes pages to a file, row by row from the top, without holding one. Everything throws WriteError.
class PageWriter {
public:
    virtual ~PageWriter() = default;

    virtual void begin(const PageFormat& format) = 0;
    // rowBytes() bytes, the first pixel in the highest bits. There are as many rows as begin() was told.
    virtual void row(const std::uint8_t* pixels) = 0;
    // From here on the file is complete, also for another program, with all pages so far.
    virtual void end() = 0;

    // Takes a page back that was begun and not ended. The file is as it was before.
    virtual void drop() = 0;

    virtual void close() = 0;
};

enum class FileFormat { Bmp, Png, Tiff, Jpeg, Pdf };

struct FormatTraits {
    FileFormat format;
    const char* name;        // for the user
    const char* extensions;  // each with a dot, blanks between; the first is the usual one
    bool manyPages;          // one file can hold them
};

// Those that this build writes.
const std::vector<FormatTraits>& fileFormats();

const FormatTraits* findFormatByExtension(const std::string& extension);  // ".Tif"
const FormatTraits* findFormatByName(const std::string& name);            // "tiff"

// The writer of a format other than BMP.
std::unique_ptr<PageWriter> makePageWriter(FileFormat format, const std::wstring& path,
                                           const WriterSettings& settings);

}  // namespace pages
