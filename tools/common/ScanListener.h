#pragma once

#include <string>

#include "common/BmpFacts.h"

namespace host {

struct PageImage;
struct Strip;

// A page that is complete. It has its final name, or will have it with the last page of its file.
struct ScannedPage {
    std::string path;
    BmpFacts facts;
    DotsPerInch dots;
    int pageInFile;  // 0: it has the file for itself
};

// Is told what goes on while something is set and scanned.
class ScanListener {
public:
    virtual ~ScanListener() = default;

    // Something is otherwise than it was asked for.
    virtual void note(const std::string& text) = 0;

    // The source has announced a page; a height below 0 isn't known.
    virtual void pageStarts(int /*page*/, int /*width*/, int /*height*/) {}

    // A page comes strip by strip, for whoever shows it meanwhile. The strip is cut to the page's width; its
    // first row is yOffset, of the plane (0 to 2, for planar layouts).
    virtual void pageBegins(const PageImage&, int /*height*/) {}
    virtual void stripComes(const Strip&, int /*plane*/) {}

    // How far a page is. A total below 0 isn't known.
    virtual void progress(int page, int done, int total) = 0;
    // No more of it, however the page ended.
    virtual void progressOver() = 0;

    virtual void pageDone(const ScannedPage& page) = 0;
};

}  // namespace host
