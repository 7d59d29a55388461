// Compares BMP files, as an independent decoder reads them, with the pages that the virtual scanner had to
// deliver.
#pragma once

#include <page/PageRenderer.h>

#include <string>

#include "ScanFolder.h"

// What is to be on a page, from the settings of the scan.
inline vscan::PageRequest pageOf(vscan::PixelKind kind, double dpi, int number = 1) {
    vscan::PageRequest request;
    request.kind = kind;
    request.xResolution = request.yResolution = dpi;
    request.pageNumber = number;
    return request;
}

// Of each file in the folder a line with its name, what its header says and what it holds: "the page", "the
// page, 35 rows" (as far as both go), or where the first different pixel is. The next file is compared with
// the next page. "\np1.bmp: 8 bit, 75 dpi: the page"
std::string pagesIn(const ScanFolder& folder, vscan::PageRequest page);

// What smscan prints in a folder of its own, and then what pagesIn shows of it.
std::string scanned(const std::string& options, const std::string& settings,
                    const vscan::PageRequest& page = {}, const ScanFolder::Watcher& watcher = nullptr);
