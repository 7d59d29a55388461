#pragma once

#include <windows.h>

#include <optional>
#include <string>

namespace host {

// The size of a bitmap.
struct BmpFacts {
    int width;
    int height;
    int bits;
};

// Its resolution; 0 when not known.
struct DotsPerInch {
    int x;
    int y;
};

// Nothing when the header makes no sense.
std::optional<BmpFacts> factsOf(const BITMAPINFOHEADER& header);

// The facts of a BMP file that someone else has written. Throws Failure with FailureCode::SourceError when it
// isn't one.
BmpFacts readBmpFacts(const std::string& path);

}  // namespace host
