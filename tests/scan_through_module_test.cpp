// Whole scans: the module drives the virtual scanner in this process, and what arrives is compared with the
// page pixel by pixel.
#include <VirtualScanner.h>
#include <doctest.h>

#include <cstring>
#include <fstream>

#include "Stage.h"

namespace {

struct Settings {
    unsigned short pixelType;
    unsigned short bitDepth;
    unsigned short dpi;
};

// A module with the virtual scanner behind its manager.
class Scan : public Stage {
public:
    explicit Scan(vscan::VirtualScannerSettings settings = {})
        : scanner(settings, [this](TW_UINT16 message) { manager.notify(message); }) {
        manager.useSource([this](TW_UINT32 group, TW_UINT16 argumentType, TW_UINT16 message, TW_MEMREF data) {
            return scanner.call(group, argumentType, message, data);
        });
    }

    void set(unsigned short mechanism, const Settings& settings) {
        REQUIRE(module.OpenDS(host.window(), "Test Host") == 0);
        REQUIRE(module.SetXferMech(mechanism) == 0);
        REQUIRE(module.SetPixelType(settings.pixelType) == 0);
        REQUIRE(module.SetBitDepth(settings.bitDepth) == 0);
        REQUIRE(module.SetXResolution(settings.dpi) == 0);
        REQUIRE(module.SetYResolution(settings.dpi) == 0);
        REQUIRE(module.SetXferCount(-1) == 0);
        forget();
    }

    // Enables the source, lets the filter transfer the batch and closes.
    void run() {
        REQUIRE(module.EnableDS(FALSE, FALSE) == 0);
        MSG message = {};
        CHECK(module.IsDSEvent(&message) != FALSE);
        CHECK(module.DisableDS() == 0);
        CHECK(module.CloseDS() == 0);
        CHECK(windows.memoryComplaints() == Lines{});
    }

    vscan::Picture page(int number) const {
        vscan::PageRequest request = scanner.request();
        request.pageNumber = number;
        return vscan::renderPage(request, scanner.content());
    }

    vscan::VirtualScanner scanner;
};

// Bottom-up rows of a packed DIB, decoded by the rules of the format.
vscan::Color dibColor(const uint8_t* dib, int x, int y) {
    const auto& header = *reinterpret_cast<const BITMAPINFOHEADER*>(dib);
    const DWORD fullPalette = header.biBitCount <= 8 ? 1u << header.biBitCount : 0;
    const DWORD colors = header.biClrUsed != 0 ? header.biClrUsed : fullPalette;
    const auto* const palette = reinterpret_cast<const RGBQUAD*>(dib + header.biSize);
    const size_t stride = (static_cast<size_t>(header.biWidth) * header.biBitCount + 31) / 32 * 4;
    const uint8_t* const row = dib + header.biSize + colors * sizeof(RGBQUAD) +
                               stride * static_cast<size_t>(header.biHeight - 1 - y);
    if (header.biBitCount == 24) return {row[3 * x + 2], row[3 * x + 1], row[3 * x]};
    const int perByte = 8 / header.biBitCount;
    const int shift = 8 - header.biBitCount * (x % perByte + 1);
    const RGBQUAD& color = palette[row[x / perByte] >> shift & ((1 << header.biBitCount) - 1)];
    return {color.rgbRed, color.rgbGreen, color.rgbBlue};
}

// "same", or where the two differ first.
std::string compare(const uint8_t* dib, const vscan::Picture& page) {
    const auto& header = *reinterpret_cast<const BITMAPINFOHEADER*>(dib);
    if (header.biWidth != page.width || header.biHeight != page.height)
        return std::to_string(header.biWidth) + " x " + std::to_string(header.biHeight) + " pixels";
    for (int y = 0; y < page.height; ++y) {
        for (int x = 0; x < page.width; ++x) {
            if (dibColor(dib, x, y) != page.colorAt(x, y))
                return "different at " + std::to_string(x) + "," + std::to_string(y);
        }
    }
    return "same";
}

std::string compareNative(HGLOBAL dib, const vscan::Picture& page) {
    const std::string result = compare(static_cast<const uint8_t*>(GlobalLock(dib)), page);
    GlobalUnlock(dib);
    return result;
}

std::string compareFile(const std::string& path, const vscan::Picture& page) {
    const std::string content = readFile(path);
    if (content.size() < sizeof(BITMAPFILEHEADER) + sizeof(BITMAPINFOHEADER)) return "no picture";
    return compare(reinterpret_cast<const uint8_t*>(content.data()) + sizeof(BITMAPFILEHEADER), page);
}

std::string temporaryPath(int number) {
    char folder[MAX_PATH] = "";
    GetTempPathA(sizeof folder, folder);
    return std::string(folder) + "scanmodule-page-" + std::to_string(number) + ".bmp";
}

// Takes every DIB and compares it with the page of its number.
Lines runNative(
    Scan& scan, const std::function<void(int page)>& onStart = [](int) {}) {
    Lines results;
    HGLOBAL dib = nullptr;
    int number = 0;
    scan.host.onXferStart = [&](TXferImageInfo& image) {
        image.Target.Dib = &dib;
        onStart(++number);
    };
    scan.host.onXferEnd = [&](int result, const TXferImageInfo& image) {
        if (result != 0) return;
        const vscan::Picture page = scan.page(number);
        CHECK(image.ImageWidth == page.width);
        CHECK(image.ImageLength == page.height);
        results.push_back(compareNative(dib, page));
        scan.windows.release(dib);
        GlobalFree(dib);
    };
    scan.run();
    return results;
}

Lines runFile(Scan& scan) {
    Lines results;
    int number = 0;
    scan.host.onXferStart = [&](TXferImageInfo& image) {
        std::strcpy(image.Target.FileName, temporaryPath(++number).c_str());
    };
    scan.host.onXferEnd = [&](int result, const TXferImageInfo&) {
        if (result == 0) results.push_back(compareFile(temporaryPath(number), scan.page(number)));
        DeleteFileA(temporaryPath(number).c_str());
    };
    scan.run();
    return results;
}

const Settings kinds[] = {
    {SM_PIXEL_BW, 1, 100},  {SM_PIXEL_GRAY, 4, 75},    {SM_PIXEL_GRAY, 8, 100},
    {SM_PIXEL_RGB, 24, 75}, {SM_PIXEL_PALETTE, 8, 75}, {SM_PIXEL_PALETTE, 4, 50},
};

vscan::VirtualScannerSettings feeder(int pages) {
    vscan::VirtualScannerSettings settings;
    settings.pages = pages;
    return settings;
}

const Settings quick = {SM_PIXEL_GRAY, 8, 50};

}  // namespace

TEST_CASE("a native transfer brings the page's pixels, whatever their kind") {
    for (const Settings& kind : kinds) {
        CAPTURE(kind.pixelType);
        CAPTURE(kind.bitDepth);
        Scan scan;
        scan.set(SM_MECH_NATIVE, kind);
        CHECK(runNative(scan) == Lines{"same"});
        CHECK(scan.host.messages() == Lines{"XferStart", "XferEnd 0", "CloseDSReq"});
    }
}

TEST_CASE("a file transfer brings the page's pixels, whatever their kind") {
    for (const Settings& kind : kinds) {
        CAPTURE(kind.pixelType);
        CAPTURE(kind.bitDepth);
        Scan scan;
        scan.set(SM_MECH_FILE, kind);
        CHECK(runFile(scan) == Lines{"same"});
        CHECK(scan.host.messages() == Lines{"XferStart", "XferEnd 0", "CloseDSReq"});
    }
}

TEST_CASE("three pages from the feeder") {
    Scan native(feeder(3));
    native.set(SM_MECH_NATIVE, quick);
    CHECK(runNative(native) == Lines{"same", "same", "same"});
    Scan file(feeder(3));
    file.set(SM_MECH_FILE, quick);
    CHECK(runFile(file) == Lines{"same", "same", "same"});
}

TEST_CASE("a cancelled page is left out, the others come") {
    Scan scan(feeder(3));
    scan.set(SM_MECH_NATIVE, quick);
    const Lines pages = runNative(scan, [&](int page) {
        if (page == 2) scan.module.CancelThisXfer();
    });
    CHECK(pages == Lines{"same", "same"});
    CHECK(scan.host.messages() ==
          Lines{"XferStart", "XferEnd 0", "XferStart", "XferEnd -5", "XferStart", "XferEnd 0", "CloseDSReq"});
}

TEST_CASE("cancelling all leaves the session usable") {
    Scan scan(feeder(3));
    scan.set(SM_MECH_NATIVE, quick);
    CHECK(runNative(scan, [&](int page) {
              if (page == 2) scan.module.CancelAllXfer();
          }) == Lines{"same"});
    CHECK(scan.host.takeMessages() ==
          Lines{"XferStart", "XferEnd 0", "XferStart", "XferEnd -5", "CloseDSReq"});
    scan.set(SM_MECH_FILE, quick);
    CHECK(runFile(scan).size() >= 1);
}

TEST_CASE("a jam on the second page is reported with its condition code") {
    vscan::VirtualScannerSettings settings = feeder(3);
    settings.jamAtPage = 2;
    Scan scan(settings);
    scan.set(SM_MECH_NATIVE, quick);
    CHECK(runNative(scan).front() == "same");
    const Lines messages = scan.host.messages();
    REQUIRE(messages.size() >= 4);
    CHECK(Lines(messages.begin(), messages.begin() + 4) ==
          Lines{"XferStart", "XferEnd 0", "XferStart", "XferEnd 20"});
}

TEST_CASE("a source that cancels reports it as its own") {
    vscan::VirtualScannerSettings settings;
    settings.cancelAtPage = 1;
    Scan scan(settings);
    scan.set(SM_MECH_NATIVE, quick);
    CHECK(runNative(scan) == Lines{});
    CHECK(scan.host.messages() == Lines{"XferStart", "XferEnd -4", "CloseDSReq"});
}

TEST_CASE("a scanner that is switched off, or in use, doesn't open") {
    vscan::VirtualScannerSettings settings;
    settings.openFault = vscan::OpenFault::Brightness;
    Scan off(settings);
    CHECK(off.module.OpenDS(off.host.window(), nullptr) == TWCC_OPERATIONERROR);
    CHECK(off.manager.state() == 2);
    settings.openFault = vscan::OpenFault::Busy;
    Scan busy(settings);
    CHECK(busy.module.OpenDS(busy.host.window(), nullptr) == TWCC_MAXCONNECTIONS);
    CHECK(busy.manager.state() == 2);
}

TEST_CASE("what is set is what the scanner then says") {
    Scan scan;
    scan.set(SM_MECH_NATIVE, {SM_PIXEL_RGB, 24, 200});
    unsigned short current = 0, min = 0, max = 0, code = 0;
    CHECK(scan.module.GetXResolution(&current, &min, &max) == 0);
    CHECK(current == 200);
    CHECK(min <= 75);
    CHECK(max >= 600);
    CHECK(scan.module.GetPixelType(&code) == 0);
    CHECK(code == SM_PIXEL_RGB);
    CHECK(scan.module.GetSupportedPixelType(&code) == 0);
    CHECK(code == (SM_PIXEL_BW | SM_PIXEL_GRAY | SM_PIXEL_RGB | SM_PIXEL_PALETTE));
    double width = 0, height = 0;
    CHECK(scan.module.GetMaxArea(&width, &height) == 0);
    CHECK(width == doctest::Approx(scan.scanner.settings().bedWidth).epsilon(0.001));
    CHECK(scan.module.SetPaperSize(SM_PAPER_USLETTER) == 0);
    CHECK(scan.module.GetPaperSize(&code) == 0);
    CHECK(code == SM_PAPER_USLETTER);
    CHECK(scan.module.IsThisDPIAvailable(300, 300) == 0);
    CHECK(scan.module.GetXResolution(&current, &min, &max) == 0);
    CHECK(current == 200);
    CHECK(scan.windows.memoryComplaints() == Lines{});
}
