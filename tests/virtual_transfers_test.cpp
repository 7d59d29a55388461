// The virtual scanner's transfers: by every mechanism and in every layout the pixels are those of the page.
#include <doctest.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>

#include "support/GuardedBuffer.h"
#include "virtual_host.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

const struct {
    const char* type;
    const char* depth;
    int samples;
    bool colorTable;
} kinds[] = {{"BW", "1", 1, true},     {"Gray", "4", 1, true},    {"Gray", "8", 1, true},
             {"Gray", "16", 1, false}, {"Palette", "4", 1, true}, {"Palette", "8", 1, true},
             {"RGB", "24", 3, false},  {"RGB", "48", 3, false}};

Keys keysFor(const char* type, const char* depth, const Keys& more) {
    Keys keys{{"PixelType", type}, {"BitDepth", depth}, {"Resolution", "50"}};
    keys.insert(keys.end(), more.begin(), more.end());
    return keys;
}

void prepare(VirtualHost& host, TW_UINT32 mechanism, TW_UINT32 flavor = TWPF_CHOCOLATE) {
    REQUIRE(host.open() == TWRC_SUCCESS);
    // A small area at an odd place, with a width that is no multiple of anything.
    TW_IMAGELAYOUT layout{};
    layout.Frame = {{0, 0x8000}, {0, 0xC000}, {3, 0x8000}, {2, 0}};
    REQUIRE(host.image(DAT_IMAGELAYOUT, MSG_SET, &layout) == TWRC_SUCCESS);
    REQUIRE(host.setNumber(ICAP_XRESOLUTION, 51) == TWRC_SUCCESS);
    REQUIRE(host.setCode(ICAP_XFERMECH, mechanism) == TWRC_SUCCESS);
    REQUIRE(host.setCode(ICAP_PIXELFLAVOR, flavor) == TWRC_SUCCESS);
    REQUIRE(host.enable() == TWRC_SUCCESS);
}

// Everything that a memory transfer brought, put together as the strips say.
struct Assembled {
    Bytes planes[3];  // chunky: the first only
    int strips = 0;
    std::vector<TW_IMAGEMEMXFER> descriptions;
};

Assembled assemble(VirtualHost& host, TW_UINT32 length, const TW_IMAGEINFO& info) {
    Assembled result;
    const TW_UINT32 bits = static_cast<TW_UINT32>(info.BitsPerPixel / (info.Planar ? 3 : 1));
    const std::size_t stride = (static_cast<std::size_t>(info.ImageWidth) * bits + 7) / 8;
    for (Bytes& plane : result.planes)
        plane.resize(stride * static_cast<std::size_t>(info.ImageLength));
    int plane = -1;
    TW_UINT16 code = TWRC_SUCCESS;
    while (code == TWRC_SUCCESS && result.strips < 10000) {
        const GuardedBuffer buffer(length);
        TW_IMAGEMEMXFER strip;
        code = host.strip(strip, buffer.data(), length);
        REQUIRE((code == TWRC_SUCCESS || code == TWRC_XFERDONE));
        ++result.strips;
        result.descriptions.push_back(strip);
        CHECK(strip.BytesWritten == strip.BytesPerRow * strip.Rows);
        CHECK(strip.BytesWritten <= length);
        CHECK(strip.Compression == TWCP_NONE);
        if (strip.YOffset == 0 && strip.XOffset == 0) ++plane;
        REQUIRE(plane < (info.Planar ? 3 : 1));
        for (TW_UINT32 row = 0; row < strip.Rows; ++row)
            std::memcpy(&result.planes[plane][(strip.YOffset + row) * stride + strip.XOffset * bits / 8],
                        buffer.data() + row * strip.BytesPerRow, (strip.Columns * bits + 7) / 8);
    }
    return result;
}

// The planes of a picture of 24 or 48 bits.
Bytes planeOf(const vscan::Picture& page, int plane) {
    const std::size_t size = page.kind == vscan::PixelKind::Rgb48 ? 2 : 1;
    Bytes bytes;
    for (std::size_t i = static_cast<std::size_t>(plane) * size; i < page.pixels.size(); i += 3 * size)
        bytes.insert(bytes.end(), page.pixels.begin() + static_cast<long>(i),
                     page.pixels.begin() + static_cast<long>(i + size));
    return bytes;
}

// A bottom-up bitmap read by the rules of the format alone; compares every pixel with the page.
void checkBitmap(const Bytes& dib, std::size_t pixelOffset, const vscan::Picture& page) {
    BITMAPINFOHEADER header;
    std::memcpy(&header, dib.data(), sizeof header);
    REQUIRE(header.biSize == sizeof header);
    REQUIRE(header.biWidth == page.width);
    REQUIRE(header.biHeight == page.height);
    CHECK(header.biPlanes == 1);
    CHECK(header.biCompression == BI_RGB);
    CHECK(header.biXPelsPerMeter == 2008);  // 51 pixels per inch
    CHECK(header.biYPelsPerMeter == 1969);  // 50
    CHECK(header.biClrUsed == (header.biBitCount <= 8 ? 1u << header.biBitCount : 0));
    const std::size_t stride = (static_cast<std::size_t>(header.biWidth) * header.biBitCount + 31) / 32 * 4;
    REQUIRE(pixelOffset == sizeof header + header.biClrUsed * 4);
    REQUIRE(dib.size() == pixelOffset + stride * static_cast<std::size_t>(header.biHeight));
    int wrong = 0;
    for (int y = 0; y < page.height; ++y) {
        const std::uint8_t* row = &dib[pixelOffset + stride * static_cast<std::size_t>(page.height - 1 - y)];
        for (int x = 0; x < page.width; ++x) {
            const std::uint8_t* bgr = row + x * 3;
            if (header.biBitCount <= 8) {
                const int bit = x * header.biBitCount;
                const int index =
                    row[bit / 8] >> (8 - header.biBitCount - bit % 8) & ((1 << header.biBitCount) - 1);
                bgr = &dib[sizeof header + static_cast<std::size_t>(index) * 4];
            }
            wrong += page.colorAt(x, y) != vscan::Color{bgr[2], bgr[1], bgr[0]};
        }
    }
    CHECK(wrong == 0);
}

Bytes contentsOf(HGLOBAL handle) {
    const auto* data = static_cast<const std::uint8_t*>(GlobalLock(handle));
    const Bytes bytes(data, data + GlobalSize(handle));
    GlobalUnlock(handle);
    return bytes;
}

std::string temporaryFile() {
    char folder[MAX_PATH], path[MAX_PATH];
    GetTempPathA(sizeof folder, folder);
    GetTempFileNameA(folder, "vsc", 0, path);
    return path;
}

TW_UINT16 transferTo(VirtualHost& host, const std::string& path) {
    TW_SETUPFILEXFER setup{};
    std::memcpy(setup.FileName, path.c_str(), path.size() + 1);
    setup.Format = TWFF_BMP;
    REQUIRE(host.control(DAT_SETUPFILEXFER, MSG_SET, &setup) == TWRC_SUCCESS);
    return host.image(DAT_IMAGEFILEXFER, MSG_GET, nullptr);
}

}  // namespace

TEST_CASE("strips of every kind and layout put together are the page") {
    const Keys layouts[] = {{},
                            {{"RowPadding", "0"}},
                            {{"StripRows", "1"}},
                            {{"StripRows", "7"}, {"RowPadding", "0"}},
                            {{"StripColumns", "40"}, {"StripRows", "11"}},
                            {{"StripColumns", "9"}, {"RowPadding", "0"}}};
    for (const auto& kind : kinds) {
        for (const bool planar : {false, true}) {
            for (Keys layout : layouts) {
                CAPTURE(kind.type);
                CAPTURE(kind.depth);
                CAPTURE(planar);
                CAPTURE((layout.empty() ? "" : layout[0].name));
                layout.push_back({"Planar", planar ? "1" : "0"});
                VirtualHost host(keysFor(kind.type, kind.depth, layout));
                prepare(host, TWSX_MEMORY);
                const TW_IMAGEINFO info = host.info();
                CHECK(info.ImageWidth == 153);
                CHECK(info.BitsPerPixel == std::stoi(kind.depth));
                CHECK(info.SamplesPerPixel == kind.samples);
                CHECK(info.BitsPerSample[0] * kind.samples == info.BitsPerPixel);
                CHECK(info.Planar == (planar && kind.samples == 3));
                CHECK(info.XResolution.Whole == 51);
                const vscan::Picture page = host.scanner.expectedPage();
                const Assembled seen = assemble(host, 3000, info);
                if (info.Planar)
                    for (int plane = 0; plane < 3; ++plane)
                        CHECK(seen.planes[plane] == planeOf(page, plane));
                else
                    CHECK(seen.planes[0] == page.pixels);
                TW_IMAGEMEMXFER beyond;
                char buffer[3000];
                CHECK(host.strip(beyond, buffer, sizeof buffer) == TWRC_FAILURE);
                CHECK(host.condition() == TWCC_SEQERROR);
                CHECK(host.endTransfer() == 0);
            }
        }
    }
}

TEST_CASE("strips are as large as the settings and the buffer say") {
    const auto stripsOf = [](const Keys& keys, TW_UINT32 length) {
        VirtualHost host(keysFor("RGB", "24", keys));
        prepare(host, TWSX_MEMORY);
        return assemble(host, length, host.info()).descriptions;
    };
    auto strips = stripsOf({}, 460 * 20 + 459);  // rows of 459 bytes, padded to 460
    REQUIRE(strips.size() == 4);
    CHECK(strips[0].Rows == 20);
    CHECK(strips[0].BytesPerRow == 460);
    CHECK(strips[3].YOffset == 60);
    CHECK(strips[3].Rows == 3);
    strips = stripsOf({{"StripRows", "25"}, {"RowPadding", "0"}}, 100000);
    REQUIRE(strips.size() == 3);
    CHECK(strips[1].BytesPerRow == 459);
    CHECK(strips[2].Rows == 13);
    strips = stripsOf({{"StripColumns", "60"}}, 100000);  // rounded up to 64
    REQUIRE(strips.size() == 3);
    CHECK(strips[1].XOffset == 64);
    CHECK(strips[2].Columns == 25);
    CHECK(strips[2].Rows == 63);

    VirtualHost host(keysFor("RGB", "24", {}));
    prepare(host, TWSX_MEMORY);
    char buffer[460];
    TW_IMAGEMEMXFER strip;
    CHECK(host.strip(strip, buffer, 459) == TWRC_FAILURE);  // not even one row
    CHECK(host.condition() == TWCC_BADVALUE);
    CHECK(host.strip(strip, buffer, 460) == TWRC_SUCCESS);
}

TEST_CASE("buffers come by pointer or by handle, and bad ones are refused") {
    VirtualHost host(keysFor("Gray", "8", {}));
    prepare(host, TWSX_MEMORY);
    HGLOBAL handle = GlobalAlloc(GMEM_MOVEABLE, 2000);
    TW_IMAGEMEMXFER strip{};
    strip.Memory = {TWMF_APPOWNS | TWMF_HANDLE, 100000, handle};
    REQUIRE(host.image(DAT_IMAGEMEMXFER, MSG_GET, &strip) == TWRC_SUCCESS);
    CHECK(strip.BytesWritten <= 2000);  // the block counts, not what the host says of it
    CHECK(std::memcmp(contentsOf(handle).data(), host.scanner.expectedPage().row(0), 153) == 0);
    CHECK((GlobalFlags(handle) & GMEM_LOCKCOUNT) == 0);
    GlobalFree(handle);
    char small[100];
    const TW_MEMORY bad[] = {{TWMF_POINTER, 1000, nullptr},
                             {TWMF_POINTER, 0, small},
                             {0, 100, small},
                             {TWMF_HANDLE, 1000, reinterpret_cast<HGLOBAL>(0x30)}};
    for (const TW_MEMORY& memory : bad) {
        strip.Memory = memory;
        CHECK(host.image(DAT_IMAGEMEMXFER, MSG_GET, &strip) == TWRC_FAILURE);
        CHECK(host.condition() == TWCC_BADVALUE);
    }
}

TEST_CASE("16-bit samples come with the high byte first unless asked otherwise") {
    for (const char* order : {"0", "1"}) {
        VirtualHost host(keysFor("Gray", "16", {{"LowByteFirst", order}}));
        prepare(host, TWSX_MEMORY);
        const Assembled seen = assemble(host, 5000, host.info());
        Bytes expected = host.scanner.expectedPage().pixels;
        if (order[0] == '1')
            for (std::size_t i = 0; i < expected.size(); i += 2)
                std::swap(expected[i], expected[i + 1]);
        CHECK(seen.planes[0] == expected);
    }
}

TEST_CASE("native and file transfer deliver a bitmap of the page") {
    for (const auto& kind : kinds) {
        for (const TW_UINT32 flavor : {TWPF_CHOCOLATE, TWPF_VANILLA}) {
            CAPTURE(kind.type);
            CAPTURE(kind.depth);
            const int depth = std::stoi(kind.depth);
            VirtualHost host(keysFor(kind.type, kind.depth, {{"Pages", "2"}}));
            prepare(host, TWSX_NATIVE, flavor);
            // A bitmap has no 16-bit samples, and the description says so.
            const TW_IMAGEINFO info = host.info();
            CHECK(info.BitsPerPixel == (depth == 16 ? 8 : depth == 48 ? 24 : depth));
            CHECK(!info.Planar);
            const vscan::Picture first = host.scanner.expectedPage();
            TW_UINT32 handle = 0;
            REQUIRE(host.image(DAT_IMAGENATIVEXFER, MSG_GET, &handle) == TWRC_XFERDONE);
            const HGLOBAL block = reinterpret_cast<HGLOBAL>(handle);
            Bytes dib = contentsOf(block);
            CHECK((GlobalFlags(block) & GMEM_LOCKCOUNT) == 0);
            GlobalFree(block);
            const std::size_t table = kind.colorTable || depth == 16 ? 4u << info.BitsPerPixel : 0;
            checkBitmap(dib, sizeof(BITMAPINFOHEADER) + table, first);

            CHECK(host.endTransfer() == 1);
            const std::string path = temporaryFile();
            REQUIRE(transferTo(host, path) == TWRC_XFERDONE);
            std::FILE* file = std::fopen(path.c_str(), "rb");
            Bytes bytes(200000);
            bytes.resize(std::fread(bytes.data(), 1, bytes.size(), file));
            std::fclose(file);
            DeleteFileA(path.c_str());
            BITMAPFILEHEADER header;
            std::memcpy(&header, bytes.data(), sizeof header);
            CHECK(header.bfType == 0x4D42);
            CHECK(header.bfSize == bytes.size());
            checkBitmap(Bytes(bytes.begin() + sizeof header, bytes.end()), header.bfOffBits - sizeof header,
                        host.scanner.expectedPage());
            CHECK(host.endTransfer() == 0);
        }
    }
}

TEST_CASE("the flavour turns the values round, in strips as in bitmaps") {
    VirtualHost host(keysFor("BW", "1", {}));
    host.open();
    const Bytes chocolate = host.scanner.expectedPage().pixels;
    host.setCode(ICAP_PIXELFLAVOR, TWPF_VANILLA);
    host.setCode(ICAP_XFERMECH, TWSX_MEMORY);
    const vscan::Picture vanilla = host.scanner.expectedPage();
    CHECK(static_cast<std::uint8_t>(~chocolate[1000]) == vanilla.pixels[1000]);
    host.enable();
    CHECK(assemble(host, 3000, host.info()).planes[0] == vanilla.pixels);
}

TEST_CASE("a file that can't be written is reported, and none stays behind") {
    VirtualHost host(keysFor("RGB", "24", {{"Pages", "2"}, {"JamAtPage", "2"}}));
    prepare(host, TWSX_FILE);
    CHECK(transferTo(host, "C:\\no such folder\\page.bmp") == TWRC_FAILURE);
    CHECK(host.condition() == TWCC_FILEWRITEERROR);
    CHECK(host.scanner.state() == 6);
    const std::string path = temporaryFile();
    CHECK(transferTo(host, path) == TWRC_XFERDONE);  // the host may try again elsewhere
    DeleteFileA(path.c_str());
    CHECK(host.endTransfer() == 1);
    CHECK(transferTo(host, path) == TWRC_FAILURE);
    CHECK(host.condition() == TWCC_PAPERJAM);
    CHECK(GetFileAttributesA(path.c_str()) == INVALID_FILE_ATTRIBUTES);
    TW_SETUPFILEXFER setup{"page.tif", 0, 0};
    CHECK(host.control(DAT_SETUPFILEXFER, MSG_SET, &setup) == TWRC_FAILURE);
    CHECK(host.control(DAT_SETUPFILEXFER, MSG_GET, &setup) == TWRC_SUCCESS);
    CHECK(setup.FileName == path);
    CHECK(host.control(DAT_SETUPFILEXFER, MSG_RESET, &setup) == TWRC_SUCCESS);
    CHECK(std::string(setup.FileName) == "TWAIN.BMP");
}

TEST_CASE("a mechanism that is refused is neither offered nor served") {
    VirtualHost host(keysFor("RGB", "24", {{"RefusedMechanisms", "Native,File"}}));
    host.open();
    CHECK(host.ask(ICAP_XFERMECH, MSG_GET) == "enum UINT16 [2] current 0 default 0");
    CHECK(host.setCode(ICAP_XFERMECH, TWSX_FILE) == TWRC_FAILURE);
    host.enable();
    TW_UINT32 handle = 0;
    CHECK(host.image(DAT_IMAGENATIVEXFER, MSG_GET, &handle) == TWRC_FAILURE);
    CHECK(host.condition() == TWCC_BADPROTOCOL);
    CHECK(host.image(DAT_IMAGEFILEXFER, MSG_GET, nullptr) == TWRC_FAILURE);
    char buffer[2000];
    TW_IMAGEMEMXFER strip;
    CHECK(host.strip(strip, buffer, sizeof buffer) == TWRC_SUCCESS);
}

TEST_CASE("sizes are announced as the settings want, and delivered as they are") {
    const struct {
        Keys keys;
        TW_INT32 length;
    } rows[] = {{{}, 63},
                {{{"UnknownLength", "1"}}, -1},
                {{{"LengthError", "10"}}, 73},
                {{{"LengthError", "-10"}}, 53}};
    for (const auto& row : rows) {
        VirtualHost host(keysFor("Gray", "8", row.keys));
        prepare(host, TWSX_MEMORY);
        TW_IMAGEINFO info = host.info();
        CHECK(info.ImageLength == row.length);
        info.ImageLength = 63;
        CHECK(assemble(host, 4000, info).planes[0] == host.scanner.expectedPage().pixels);
    }
    const struct {
        Keys keys;
        TW_UINT32 min, preferred, max;
    } sizes[] = {
        {{}, 4096, 65536, 1048576},
        {{{"Resolution", "1200"}, {"Paper", "A3"}}, 42096, 65536, 1048576},
        {{{"Resolution", "2400"}, {"MaxResolution", "2400"}, {"Paper", "A3"}}, 84192, 84192, 1048576},
        {{{"MinBufferSize", "0"}, {"PreferredBufferSize", "1"}, {"MaxBufferSize", "100"}}, 0, 1, 100}};
    for (const auto& row : sizes) {
        VirtualHost host(row.keys);
        host.open();
        TW_SETUPMEMXFER setup{};
        REQUIRE(host.control(DAT_SETUPMEMXFER, MSG_GET, &setup) == TWRC_SUCCESS);
        CHECK(setup.MinBufSize == row.min);
        CHECK(setup.Preferred == row.preferred);
        CHECK(setup.MaxBufSize == row.max);
    }
}

TEST_CASE("strips lie as asked, and never write outside the buffer") {
    const TW_UINT32 length = 156 * 10;
    const auto first = [&](const char* fault) {
        VirtualHost host(keysFor("Gray", "8", {{"StripFaults", fault}}));
        prepare(host, TWSX_MEMORY);
        const GuardedBuffer buffer(length);
        TW_IMAGEMEMXFER strip;
        CHECK(host.strip(strip, buffer.data(), length) == TWRC_SUCCESS);
        CHECK(std::memcmp(buffer.data(), host.scanner.expectedPage().row(0), 153) == 0);  // the data is true
        return strip;
    };
    CHECK(first("").BytesWritten == length);
    CHECK(first("ZeroBytesPerRow").BytesPerRow == 0);
    CHECK(first("ExtraRows").Rows > 10);
    CHECK(first("ExtraRows").BytesWritten == length);
    CHECK(first("ExtraBytes").BytesWritten > length);
    CHECK(first("ExtraBytes").Rows == 10);
    CHECK(first("WideColumns").Columns > first("WideColumns").BytesPerRow);
    const TW_IMAGEMEMXFER oversized = first("Oversized");
    CHECK(oversized.BytesWritten > length);
    CHECK(oversized.BytesWritten == oversized.Rows * oversized.BytesPerRow);

    VirtualHost host(keysFor("Gray", "8", {{"StripFaults", "ShortLast"}}));
    prepare(host, TWSX_MEMORY);
    const GuardedBuffer buffer(156 * 40);
    TW_IMAGEMEMXFER strip;
    CHECK(host.strip(strip, buffer.data(), 156 * 40) == TWRC_SUCCESS);
    CHECK(strip.BytesWritten == 40 * 156);
    CHECK(host.strip(strip, buffer.data(), 156 * 40) == TWRC_XFERDONE);
    CHECK(strip.Rows == 23);
    CHECK(strip.BytesWritten == 11 * 156);
}

TEST_CASE("scaling changes the size, not the resolution") {
    VirtualHost host(Keys{{"Resolution", "100"}});
    host.open();
    const TW_INT32 width = vscan::pixelWidth(host.scanner.request());
    host.setNumber(ICAP_XSCALING, 0.5);
    host.setNumber(ICAP_YSCALING, 2);
    host.enable();
    const TW_IMAGEINFO info = host.info();
    CHECK(std::abs(info.ImageWidth * 2 - width) <= 1);
    CHECK(info.ImageLength == static_cast<int>(297 / 25.4 * 200 + 0.5));
    CHECK(info.XResolution.Whole == 100);
}
