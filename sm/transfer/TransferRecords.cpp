#include "transfer/TransferRecords.h"

#include <cstdarg>
#include <cstring>

#include "capabilities/Containers.h"
#include "capabilities/Negotiation.h"
#include "capabilities/Units.h"

namespace {

int16_t recordResolution(TW_FIX32 resolution, uint16_t unit) {
    // Kept: the factor that turns a length into inches is applied to the resolution as it stands.
    const auto scaled =
        static_cast<int16_t>(truncated(fix32ToNumber(resolution) * factorsOf(unit).recordFactor));
    return scaled < 0 ? -1 : scaled;
}

}  // namespace

void describeImage(TXferImageInfo& record, const TW_IMAGEINFO& info, uint16_t unit) {
    record.XResolution = recordResolution(info.XResolution, unit);
    record.YResolution = recordResolution(info.YResolution, unit);
    record.ImageWidth = info.ImageWidth;
    record.ImageLength = info.ImageLength;
    record.SamplesPerPixel = info.SamplesPerPixel;
    std::memcpy(record.BitsPerSample, info.BitsPerSample, sizeof record.BitsPerSample);
    record.BitsPerPixel = info.BitsPerPixel;
    record.Planar = info.Planar;
    if (info.PixelType >= 0 && info.PixelType <= lastCodedValue) {
        record.PixelTypeFlag = static_cast<unsigned short>(1 << info.PixelType);
    }
    record.Compression = info.Compression;
}

TW_SETUPFILEXFER makeFileSetup(const char* path) {
    TW_SETUPFILEXFER setup = {};
    setup.Format = TWFF_BMP;
    // A path of 255 characters holds at most 127 directives, each of two words at most. On this platform
    // va_list points at the arguments.
    DWORD zeros[256] = {};
    char format[SM_FILE_NAME_SIZE];
    lstrcpynA(format, path, sizeof format);
    constexpr int longestResult = 1024;
    char text[longestResult + 1] = "";
    wvsprintfA(text, format, reinterpret_cast<va_list>(zeros));
    lstrcpynA(setup.FileName, text, sizeof setup.FileName);
    return setup;
}
