// What else reads bytes of others: the user's page and the bitmaps and strips that a host gets from a source.
#include <algorithm>
#include <cstdio>
#include <memory>
#include <stdexcept>

#include "ScriptedSource.h"
#include "World.h"
#include "common/BmpFacts.h"
#include "common/DibWriter.h"
#include "common/Failure.h"
#include "common/PageFiles.h"
#include "common/RawCapability.h"
#include "common/Strips.h"
#include "common/TextEncoding.h"
#include "page/BmpPage.h"

namespace host {

// Windows' own conversions; here the letters of paths are ASCII, and those of texts don't count.
std::wstring wide(const std::string& text) { return std::wstring(text.begin(), text.end()); }
std::string utf8(const std::wstring& text) { return std::string(text.begin(), text.end()); }

// The rest of PageFiles is about the folders of Windows.
void failWrite(const std::string& path, const std::string& reason) {
    throw Failure{FailureCode::CannotWrite, path + reason};
}

}  // namespace host

namespace {

constexpr char pageFile[] = "page.bmp";

// The file as it came, or one whose headers make sense as far as the script wants it.
void writePage(Script& script) {
    BITMAPFILEHEADER file = {0x4D42, 0, 0, 0, 54};
    BITMAPINFOHEADER info = {40, 9, 5, 1, 24, 0, 0, 0, 0, 0, 0};
    const uint8_t how = script.byte();
    constexpr WORD depths[] = {1, 4, 8, 24};
    info.biBitCount = depths[how & 3];
    if (how & 4)
        info.biWidth = static_cast<LONG>(script.number()), info.biHeight = static_cast<LONG>(script.number());
    if (how & 8) info.biClrUsed = script.number(), info.biSize = script.number();
    if (how & 16) info.biXPelsPerMeter = static_cast<LONG>(script.number());
    if (how & 32) script.fill(&info, sizeof info);
    if (how & 64) file.bfOffBits = script.number();
    const size_t most = script.number() & 0xFFF;
    const std::string pixels = script.text(most);
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> target(std::fopen(pageFile, "wb"), std::fclose);
    std::fwrite(&file, sizeof file, 1, target.get());
    std::fwrite(&info, 1, how & 128 ? most % sizeof info : sizeof info, target.get());
    std::fwrite(pixels.data(), 1, pixels.size(), target.get());
}

void readPage(Script& script) {
    writePage(script);
    try {
        host::readBmpFacts(pageFile);
    } catch (const host::Failure&) {}
    try {
        const vscan::BmpPage page(pageFile);
        const vscan::Grid grid = {script.byte(), 0, script.byte() - 128, 0, 1.0 * script.byte() + 1, 100, 1};
        const auto painter = page.painter(grid);
        const std::unique_ptr<vscan::Color[]> row(new vscan::Color[grid.width]);
        for (int y = 0; y < 8; ++y)
            painter->paint(y * (1 + script.byte()), row.get());
    } catch (const std::runtime_error&) {}
}

void writeDib(Script& script) {
    BITMAPINFOHEADER header = {40, 9, 5, 1, 24, 0, 0, 0, 0, 0, 0};
    const uint8_t how = script.byte();
    if (how & 1) header.biWidth = static_cast<LONG>(script.number());
    if (how & 2) header.biHeight = static_cast<LONG>(script.number());
    if (how & 4) header.biBitCount = static_cast<WORD>(script.number());
    if (how & 8) header.biClrUsed = script.number(), header.biSize = script.number();
    if (how & 16) header.biCompression = script.byte(), header.biSizeImage = script.number();
    const size_t size = script.number() & 0xFFFF;
    const std::unique_ptr<uint8_t[]> dib(new uint8_t[size]());
    std::memcpy(dib.get(), &header, std::min(size, sizeof header));
    host::writeDib("/dev/null", dib.get(), size, script.byte(), script.byte());
}

void writeStrips(Script& script) {
    using host::PixelLayout;
    const auto layout = static_cast<PixelLayout>(script.byte() % 5);
    constexpr int packed[] = {1, 4, 8, 24};
    const int bits = layout == PixelLayout::Packed   ? packed[script.byte() % 4]
                     : layout == PixelLayout::Gray16 ? 8
                                                     : 24;
    const host::BmpFormat format = {1 + script.byte(), bits, 0, 0, {}};
    host::StripWriter writer(pageFile, format, script.byte() - 1, layout);
    while (!script.isOver()) {
        const size_t size = script.number() & 0x3FFF;
        const std::unique_ptr<uint8_t[]> bytes(new uint8_t[size]());
        const uint32_t rows = script.number() & 0xFFFF;
        writer.add({bytes.get(), size, script.number(), script.number(), rows, script.number(),
                    script.number() & 0xFFFF});
    }
    writer.finish();
}

void readContainer() {
    const auto answer = host::askCapability(
        [](unsigned short, void* cap) {
            putContainer(*static_cast<TW_CAPABILITY*>(cap), 1);
            return 0;
        },
        ICAP_PIXELTYPE);
    if (answer) host::valueOnScale(*answer, 0, 255);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    world.script = Script{bytes, size};
    Script& script = world.script;
    try {
        switch (script.byte() % 4) {
            case 0: readPage(script); break;
            case 1: writeDib(script); break;
            case 2: writeStrips(script); break;
            case 3: readContainer(); break;
        }
    } catch (const host::Failure&) {}
    endWorld();
    return 0;
}
