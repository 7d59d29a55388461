// The virtual scanner's transfers seen by a host: how strips lie and lie about themselves, buffers, sizes,
// files. (Whole pages of every kind are compared end to end.)
#include <filesystem>

#include "support/GuardedBuffer.h"
#include "virtual_host.h"

namespace {

// A host that has enabled the scanner for 3 x 2 pixels around the upper left corner of a green bar: red and
// twice green above the softer ones. In gray 4c, 95, 95 and 66, 8a, 8a.
struct CornerHost : VirtualHost {
    CornerHost(const std::string& mechanism, const std::string& settings, const std::string& flavor = "0")
        : VirtualHost("PixelType=Gray Resolution=50 TransferMechanism=" + mechanism + " " + settings) {
        check("area 1.58 1.48 1.64 1.52: success; ICAP_XRESOLUTION 52: success; ICAP_PIXELFLAVOR " + flavor +
              ": success; enable: success");
    }
    // Of each strip "BytesWritten: BytesPerRow, Columns x Rows at XOffset,YOffset" and the whole buffer.
    std::string stripsText(TW_UINT32 length) {
        std::ostringstream text;
        for (std::string result = "success"; result == "success"; text << "; ") {
            const GuardedBuffer buffer(length);
            std::memset(buffer.data(), 0xEE, length);
            TW_IMAGEMEMXFER strip{};
            strip.Memory = {TWMF_APPOWNS | TWMF_POINTER, length, buffer.data()};
            result = image(DAT_IMAGEMEMXFER, MSG_GET, &strip);
            text << strip.BytesWritten << ": " << strip.BytesPerRow << ", " << strip.Columns << " x "
                 << strip.Rows << " at " << strip.XOffset << "," << strip.YOffset << " "
                 << hex(buffer.data(), length);
        }
        return text.str() + answer("strip");
    }
    std::string transferTo(const std::string& path) {
        TW_SETUPFILEXFER setup{};
        std::memcpy(setup.FileName, path.c_str(), path.size() + 1);
        setup.Format = TWFF_BMP;
        REQUIRE(control(DAT_SETUPFILEXFER, MSG_SET, &setup) == "success");
        return answer("write");
    }
};

}  // namespace

TEST_CASE("strips are cut and laid out as asked, and lie as asked, but their bytes are true") {
    const struct {
        const char* settings;
        TW_UINT32 length;
        const char* strips;
    } rows[] = {
        {"PixelType=RGB", 26, "24: 12, 3 x 2 at 0,0 ff000000ff0000ff00000000bf404040bf4040bf40000000eeee"},
        {"PixelType=RGB BitDepth=48 Planar=1 LowByteFirst=1", 16,
         "16: 8, 3 x 2 at 0,0 11ff5a00a3000000a8bff1403a400000; 16: 8, 3 x 2 at 0,0 "
         "2e0077ffc0ff0000c5400ebf57bf0000; 16: 8, 3 x 2 at 0,0 4b009400dd000000e2402b4074400000"},
        {"StripRows=1 RowPadding=0", 7,
         "3: 3, 3 x 1 at 0,0 4c9595eeeeeeee; 3: 3, 3 x 1 at 0,1 668a8aeeeeeeee"},
        // Other lies show in the pages that hosts make of them.
        {"StripFaults=ExtraRows", 8, "8: 4, 3 x 102 at 0,0 4c959500668a8a00"},
        {"StripFaults=ExtraBytes", 8, "408: 4, 3 x 2 at 0,0 4c959500668a8a00"},
        {"StripFaults=WideColumns", 8, "8: 4, 100003 x 2 at 0,0 4c959500668a8a00"}};
    for (const auto& row : rows) {
        CAPTURE(row.settings);
        CHECK(CornerHost("Memory", row.settings).stripsText(row.length) ==
              std::string(row.strips) + "; failure 11");
    }
}

TEST_CASE("buffers come by pointer or by handle, and bad ones are refused") {
    CornerHost host("Memory", "");
    char small[200];
    const TW_MEMORY bad[] = {{TWMF_POINTER, 1000, nullptr},
                             {TWMF_POINTER, 3, small},  // not even one row
                             {0, 200, small},
                             {TWMF_HANDLE, 1000, reinterpret_cast<HGLOBAL>(0x30)}};
    TW_IMAGEMEMXFER strip{};
    for (const TW_MEMORY& memory : bad) {
        strip.Memory = memory;
        CHECK(host.image(DAT_IMAGEMEMXFER, MSG_GET, &strip) == "failure 10");
    }
    const HGLOBAL handle = GlobalAlloc(GMEM_MOVEABLE, 4);
    strip.Memory = {TWMF_APPOWNS | TWMF_HANDLE, 100000, handle};
    CHECK(host.image(DAT_IMAGEMEMXFER, MSG_GET, &strip) == "success");
    CHECK(strip.BytesWritten == 4);  // the block counts, not what the host says of it
    CHECK((GlobalFlags(handle) & GMEM_LOCKCOUNT) == 0);
    GlobalFree(handle);
}

TEST_CASE("sizes are announced as the settings want; no bitmap can hold 4.7 GB") {
    const Story stories[] = {
        {"Resolution=50 UnknownLength=1", "image: 413 x -1, 24 bit; buffers: 4096 65536 1048576", 6},
        {"Resolution=50 LengthError=-9", "image: 413 x 576, 24 bit", 6},
        {"Resolution=2400 MaxResolution=2400 Paper=A3", "buffers: 84192 84192 1048576"},
        {"MinBufferSize=0 PreferredBufferSize=1 MaxBufferSize=100", "buffers: 0 1 100"},
        {"Resolution=100", "ICAP_XSCALING 0.5: success; enable: success; image: 413 x 1169, 24 bit"},
        {"Paper=33x33 BedWidth=33 BedHeight=33 Resolution=1200", "native: failure 2; write: failure 22", 6}};
    checkStories(stories);
}

TEST_CASE("a native transfer is a bottom-up bitmap without 16-bit samples") {
    CornerHost host("Native", "BitDepth=16", "1");
    host.check("image: 3 x 2, 8 bit");
    TW_UINT32 handle = 0;
    REQUIRE(host.image(DAT_IMAGENATIVEXFER, MSG_GET, &handle) == "done");
    const HGLOBAL block = reinterpret_cast<HGLOBAL>(handle);
    CHECK((GlobalFlags(block) & GMEM_LOCKCOUNT) == 0);
    REQUIRE(GlobalSize(block) == 40 + 256 * 4 + 2 * 4);
    const auto* dib = static_cast<const std::uint8_t*>(GlobalLock(block));
    // 52 and 50 pixels per inch are 2047 and 1969 per metre; zero is white.
    CHECK(hex(dib, 44) ==
          "28000000030000000200000001000800"
          "0000000008000000ff070000b10700000001000000000000ffffff00");
    CHECK(hex(dib + 40 + 1024, 8) == "99757500b36a6a00");
    GlobalFree(block);
}

TEST_CASE("a file that can't be written is reported, and none stays behind") {
    CornerHost host("File", "Pages=2 JamAtPage=2");
    const std::string path = (std::filesystem::temp_directory_path() / "vscan.bmp").string();
    CHECK(host.transferTo("C:\\no such folder\\page.bmp") == "failure 22");
    CHECK(host.transferTo(path) == "done");  // the host may try again elsewhere
    CHECK(DeleteFileA(path.c_str()));
    host.check("end: 1");
    CHECK(host.transferTo(path) == "failure 20");
    CHECK(GetFileAttributesA(path.c_str()) == INVALID_FILE_ATTRIBUTES);
    TW_SETUPFILEXFER setup{"page.tif", 0, 0};  // no format that it has
    CHECK(host.control(DAT_SETUPFILEXFER, MSG_SET, &setup) == "failure 10");
}
