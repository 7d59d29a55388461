// Compares a BMP file, as an independent decoder reads it, with the page that the virtual scanner had to
// deliver.
#pragma once

#include <PageRenderer.h>

#include <string>

// What is to be on a page, from the settings of the scan.
inline vscan::PageRequest pageOf(vscan::PixelKind kind, double dpi, int number = 1) {
    vscan::PageRequest request;
    request.kind = kind;
    request.xResolution = request.yResolution = dpi;
    request.pageNumber = number;
    return request;
}

// "the page"; "the page's first 35 rows"; "the page and 33 rows more"; or where the first different pixel is.
std::string comparePixels(const std::string& path, const vscan::Picture& page);

// The same behind what the file's header says: "8 bit, 75 dpi: the page".
std::string comparePage(const std::string& path, const vscan::Picture& page);
inline std::string comparePage(const std::string& path, const vscan::PageRequest& page) {
    return comparePage(path, vscan::renderPage(page));
}
