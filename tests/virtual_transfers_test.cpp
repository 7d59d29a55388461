// The virtual scanner's transfers seen by a host: how strips lie and lie about themselves, buffers, sizes,
// files. (Whole pages of every kind are compared end to end.)
#include <doctest.h>

#include <cstring>
#include <string>

#include "support/GuardedBuffer.h"
#include "virtual_host.h"

namespace {

// An area at an odd place, with a width that is no multiple of anything: 153 x 63 pixels.
void enableSmallArea(VirtualHost& host, TW_UINT32 mechanism, TW_UINT32 flavor = TWPF_CHOCOLATE) {
    TW_IMAGELAYOUT layout{};
    layout.Frame = {{0, 0x8000}, {0, 0xC000}, {3, 0x8000}, {2, 0}};
    REQUIRE(host.image(DAT_IMAGELAYOUT, MSG_SET, &layout) == "success");
    REQUIRE(host.setNumber(ICAP_XRESOLUTION, 51) == "success");
    REQUIRE(host.setNumber(ICAP_YRESOLUTION, 50) == "success");
    REQUIRE(host.setCode(ICAP_XFERMECH, mechanism) == "success");
    REQUIRE(host.setCode(ICAP_PIXELFLAVOR, flavor) == "success");
    REQUIRE(host.enable() == "success");
}

// "BytesWritten: BytesPerRow, Columns x Rows at XOffset,YOffset".
std::string textOf(const TW_IMAGEMEMXFER& strip) {
    const auto text = [](TW_UINT32 number) { return std::to_string(number); };
    return text(strip.BytesWritten) + ": " + text(strip.BytesPerRow) + ", " + text(strip.Columns) + " x " +
           text(strip.Rows) + " at " + text(strip.XOffset) + "," + text(strip.YOffset);
}

// Sample `index` of a row of the page as the host shall get it: of a plane, or of chunky pixels.
const std::uint8_t* sampleAt(const vscan::Picture& page, TW_UINT32 y, std::size_t index, int bytes,
                             int plane) {
    const std::size_t sample = plane < 0 ? index : index * 3 + static_cast<std::size_t>(plane);
    return page.row(static_cast<int>(y)) + sample * static_cast<std::size_t>(bytes);
}

// All strips as texts. Whatever they say of themselves, their bytes must be the page's.
std::vector<std::string> strips(VirtualHost& host, TW_UINT32 length) {
    const vscan::Picture page = host.scanner.expectedPage();
    const TW_IMAGEINFO info = host.info();
    const TW_UINT32 width = static_cast<TW_UINT32>(page.width);
    const std::size_t perPixel = info.Planar ? 1 : static_cast<std::size_t>(info.SamplesPerPixel);
    const int bytes = info.BitsPerSample[0] / 8;
    std::vector<std::string> texts;
    std::string result = "success";
    int plane = -1;
    while (result == "success" && texts.size() < 100) {
        const GuardedBuffer buffer(length);
        TW_IMAGEMEMXFER strip{};
        strip.Memory = {TWMF_APPOWNS | TWMF_POINTER, length, buffer.data()};
        result = host.image(DAT_IMAGEMEMXFER, MSG_GET, &strip);
        texts.push_back(textOf(strip));
        if (info.Planar && strip.XOffset == 0 && strip.YOffset == 0) ++plane;
        const TW_UINT32 stride = strip.BytesPerRow;
        TW_UINT32 rows = stride == 0 ? 1 : std::min(strip.Rows, length / stride);
        rows = std::min(rows, static_cast<TW_UINT32>(page.height) - strip.YOffset);
        const std::size_t columns = std::min(strip.Columns, width - strip.XOffset);
        int wrong = 0;
        for (TW_UINT32 y = 0; y < rows; ++y)
            for (std::size_t i = 0; i < columns * perPixel; ++i) {
                const std::uint8_t* seen = buffer.data() + y * stride + i * static_cast<std::size_t>(bytes);
                const std::uint8_t* expected =
                    sampleAt(page, strip.YOffset + y, strip.XOffset * perPixel + i, bytes, plane);
                const bool exchanged = host.scanner.settings().lowByteFirst;
                for (int byte = 0; byte < bytes; ++byte)
                    wrong += seen[byte] != expected[exchanged ? bytes - 1 - byte : byte];
            }
        CHECK(wrong == 0);
    }
    CHECK(result == "xferdone");
    CHECK(host.strip(3000) == "failure 11");
    return texts;
}

std::string temporaryFile() {
    char folder[MAX_PATH], path[MAX_PATH];
    GetTempPathA(sizeof folder, folder);
    GetTempFileNameA(folder, "vsc", 0, path);
    return path;
}

std::string transferTo(VirtualHost& host, const std::string& path) {
    TW_SETUPFILEXFER setup{};
    std::memcpy(setup.FileName, path.c_str(), path.size() + 1);
    setup.Format = TWFF_BMP;
    REQUIRE(host.control(DAT_SETUPFILEXFER, MSG_SET, &setup) == "success");
    return host.image(DAT_IMAGEFILEXFER, MSG_GET, nullptr);
}

}  // namespace

TEST_CASE("strips are cut and laid out as asked, and lie as asked, but their bytes are true") {
    using Texts = std::vector<std::string>;
    const struct {
        const char* settings;
        TW_UINT32 length;
        Texts strips;  // the first ones
        size_t count;
    } rows[] = {
        {"", 460 * 60 + 459, {"27600: 460, 153 x 60 at 0,0", "1380: 460, 153 x 3 at 0,60"}, 2},
        {"StripRows=40 RowPadding=0",
         50000,
         {"18360: 459, 153 x 40 at 0,0", "10557: 459, 153 x 23 at 0,40"},
         2},
        {"StripColumns=100", 50000, {"19656: 312, 104 x 63 at 0,0", "9324: 148, 49 x 63 at 104,0"}, 2},
        {"Planar=1", 156 * 50, {"7800: 156, 153 x 50 at 0,0", "2028: 156, 153 x 13 at 0,50"}, 6},
        {"BitDepth=48", 60000, {"57960: 920, 153 x 63 at 0,0"}, 1},
        {"BitDepth=48 LowByteFirst=1 Planar=1 RowPadding=0", 60000, {"19278: 306, 153 x 63 at 0,0"}, 3},
        {"PixelType=Gray StripFaults=ZeroBytesPerRow", 1560, {"1560: 0, 153 x 10 at 0,0"}, 7},
        {"PixelType=Gray StripFaults=ExtraRows", 1560, {"1560: 156, 153 x 110 at 0,0"}, 7},
        {"PixelType=Gray StripFaults=ExtraBytes", 1560, {"17160: 156, 153 x 10 at 0,0"}, 7},
        {"PixelType=Gray StripFaults=WideColumns", 1560, {"1560: 156, 100153 x 10 at 0,0"}, 7},
        {"PixelType=Gray StripFaults=Oversized", 1560, {"17160: 156, 153 x 110 at 0,0"}, 7},
        {"PixelType=Gray StripFaults=ShortLast",
         156 * 40,
         {"6240: 156, 153 x 40 at 0,0", "1716: 156, 153 x 23 at 0,40"},
         2},
        {"PixelType=Gray UnknownLength=1", 10000, {"9828: 156, 153 x 63 at 0,0"}, 1},
    };
    for (const auto& row : rows) {
        CAPTURE(row.settings);
        VirtualHost host(std::string("Resolution=50 ") + row.settings);
        enableSmallArea(host, TWSX_MEMORY);
        Texts seen = strips(host, row.length);
        CHECK(seen.size() == row.count);
        seen.resize(row.strips.size());
        CHECK(seen == row.strips);
    }
}

TEST_CASE("buffers come by pointer or by handle, and bad ones are refused") {
    VirtualHost host("PixelType=Gray");
    enableSmallArea(host, TWSX_MEMORY);
    char small[200];
    const TW_MEMORY bad[] = {{TWMF_POINTER, 1000, nullptr},
                             {TWMF_POINTER, 0, small},
                             {TWMF_POINTER, 155, small},  // not even one row
                             {0, 200, small},
                             {TWMF_HANDLE, 1000, reinterpret_cast<HGLOBAL>(0x30)}};
    TW_IMAGEMEMXFER strip{};
    for (const TW_MEMORY& memory : bad) {
        strip.Memory = memory;
        CHECK(host.image(DAT_IMAGEMEMXFER, MSG_GET, &strip) == "failure 10");
    }
    HGLOBAL handle = GlobalAlloc(GMEM_MOVEABLE, 2000);
    strip.Memory = {TWMF_APPOWNS | TWMF_HANDLE, 100000, handle};
    CHECK(host.image(DAT_IMAGEMEMXFER, MSG_GET, &strip) == "success");
    CHECK(strip.BytesWritten == 156 * 12);  // the block counts, not what the host says of it
    CHECK((GlobalFlags(handle) & GMEM_LOCKCOUNT) == 0);
    CHECK(std::memcmp(GlobalLock(handle), host.scanner.expectedPage().row(0), 153) == 0);
    GlobalFree(handle);
}

TEST_CASE("sizes are announced as the settings want") {
    const struct {
        const char* settings;
        TW_INT32 length;
        TW_UINT32 min, preferred, max;
    } rows[] = {{"Resolution=50", 585, 4096, 65536, 1048576},
                {"Resolution=50 UnknownLength=1", -1, 4096, 65536, 1048576},
                {"Resolution=50 LengthError=-10", 575, 4096, 65536, 1048576},
                {"Resolution=2400 MaxResolution=2400 Paper=A3", 39685, 84192, 84192, 1048576},
                {"MinBufferSize=0 PreferredBufferSize=1 MaxBufferSize=100", 1754, 0, 1, 100}};
    for (const auto& row : rows) {
        CAPTURE(row.settings);
        VirtualHost host(row.settings, 6);
        CHECK(host.info().ImageLength == row.length);
        TW_SETUPMEMXFER setup{};
        CHECK(host.control(DAT_SETUPMEMXFER, MSG_GET, &setup) == "success");
        CHECK(setup.MinBufSize == row.min);
        CHECK(setup.Preferred == row.preferred);
        CHECK(setup.MaxBufSize == row.max);
    }
    // Scaling changes the size, not the resolution.
    VirtualHost scaled("Resolution=100");
    scaled.setNumber(ICAP_XSCALING, 0.5);
    scaled.setNumber(ICAP_YSCALING, 2);
    scaled.enable();
    CHECK(scaled.info().ImageWidth == 413);
    CHECK(scaled.info().ImageLength == 2339);
    CHECK(scaled.info().XResolution.Whole == 100);
}

TEST_CASE("a native transfer is a bottom-up bitmap without 16-bit samples, of either flavour") {
    for (const TW_UINT32 flavor : {TWPF_CHOCOLATE, TWPF_VANILLA}) {
        VirtualHost host("PixelType=Gray BitDepth=16 Planar=1");
        enableSmallArea(host, TWSX_NATIVE, flavor);
        CHECK(host.info().BitsPerPixel == 8);
        CHECK(!host.info().Planar);
        TW_UINT32 handle = 0;
        REQUIRE(host.image(DAT_IMAGENATIVEXFER, MSG_GET, &handle) == "xferdone");
        const HGLOBAL block = reinterpret_cast<HGLOBAL>(handle);
        CHECK((GlobalFlags(block) & GMEM_LOCKCOUNT) == 0);
        REQUIRE(GlobalSize(block) == 40 + 1024 + 156 * 63);
        const auto* dib = static_cast<const std::uint8_t*>(GlobalLock(block));
        BITMAPINFOHEADER header;
        std::memcpy(&header, dib, sizeof header);
        CHECK(header.biWidth == 153);
        CHECK(header.biHeight == 63);
        CHECK(header.biBitCount == 8);
        CHECK(header.biXPelsPerMeter == 2008);  // 51 pixels per inch
        CHECK(header.biYPelsPerMeter == 1969);  // 50
        const vscan::Picture page = host.scanner.expectedPage();
        int wrong = 0;
        for (int y = 0; y < 63; ++y)
            for (int x = 0; x < 153; ++x) {
                const int index = dib[40 + 1024 + 156 * (62 - y) + x];
                wrong += index != page.row(y)[x] || dib[40 + index * 4] != page.colorAt(x, y).blue;
            }
        CHECK(wrong == 0);
        CHECK(dib[40] == (flavor == TWPF_VANILLA ? 255 : 0));
        GlobalFree(block);
    }
}

TEST_CASE("a file that can't be written is reported, and none stays behind") {
    VirtualHost host("Pages=2 JamAtPage=2");
    enableSmallArea(host, TWSX_FILE);
    CHECK(transferTo(host, "C:\\no such folder\\page.bmp") == "failure 22");
    CHECK(host.scanner.state() == 6);
    const std::string path = temporaryFile();
    CHECK(transferTo(host, path) == "xferdone");  // the host may try again elsewhere
    DeleteFileA(path.c_str());
    CHECK(host.endTransfer() == 1);
    CHECK(transferTo(host, path) == "failure 20");
    CHECK(GetFileAttributesA(path.c_str()) == INVALID_FILE_ATTRIBUTES);
    TW_SETUPFILEXFER setup{"page.tif", 0, 0};
    CHECK(host.control(DAT_SETUPFILEXFER, MSG_SET, &setup) == "failure 10");
    CHECK(host.control(DAT_SETUPFILEXFER, MSG_GET, &setup) == "success");
    CHECK(setup.FileName == path);
    CHECK(host.control(DAT_SETUPFILEXFER, MSG_RESET, &setup) == "success");
    CHECK(std::string(setup.FileName) == "TWAIN.BMP");
}

TEST_CASE("a mechanism that is refused is neither offered nor served") {
    VirtualHost host("RefusedMechanisms=Native,File");
    CHECK(host.ask(ICAP_XFERMECH, MSG_GET) == "enum UINT16 [2] current 0 default 0");
    CHECK(host.setCode(ICAP_XFERMECH, TWSX_FILE) == "failure 10");
    CHECK(host.enable() == "success");
    TW_UINT32 handle = 0;
    CHECK(host.image(DAT_IMAGENATIVEXFER, MSG_GET, &handle) == "failure 9");
    CHECK(host.image(DAT_IMAGEFILEXFER, MSG_GET, nullptr) == "failure 9");
    CHECK(host.strip(5000) == "success");
}
