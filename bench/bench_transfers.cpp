// What the module takes of a transfer: strips pushed and pulled, beside the bare operations; one-shot files,
// beside a program that only writes the same bytes.
#include <algorithm>
#include <cstdio>
#include <memory>
#include <vector>

#include "support/BenchModule.h"
#include "support/Measure.h"
#include "support/TableSource.h"
#include "transfer/StripConversion.h"

namespace {

using bench::TableSource;

const TableSource::Image colorPage = {bench::a4Page(300, TWPT_RGB, 24), 2480 * 3};

struct Bench {
    bench::Verdicts verdicts{"Transfers of an A4 page, as multiples of what is named"};
    TableSource source;
    bench::ScanModule module;
    bench::Host host;

    std::string path;  // of the one-shot scan's file
    double begin = 0, end = 0;
    int result = 0;

    Bench() {
        const auto ends = [this](WPARAM wParam, LPARAM) {
            end = bench::secondsNow();
            result |= static_cast<int>(wParam);
        };
        host.on(SM_MESSAGE_XFERSTART, [this](WPARAM, LPARAM) { begin = bench::secondsNow(); });
        host.on(SM_MESSAGE_XFERDATA, [](WPARAM, LPARAM) {});
        host.on(SM_MESSAGE_XFEREND, ends);
        host.on(SM_MESSAGE_SCANTOFILEGETNAME, [this](WPARAM, LPARAM lParam) {
            lstrcpynA(reinterpret_cast<char*>(lParam), path.c_str(), SM_FILE_NAME_SIZE);
            begin = bench::secondsNow();
        });
        host.on(SM_MESSAGE_SCANTOFILEXFEREND, ends);
    }
    // Has the image transferred; gives the seconds from its first message to its last. Before and after them
    // are calls of Windows that wait for other processes.
    double deliver() {
        MSG message = {host.window(), WM_NULL, 0, 0, 0, {}};
        source.signalReady();
        module.smIsDSEvent(&message);
        return end - begin;
    }
    // All strips of the page, bare.
    template <class Taker>
    void fetchStrips(uint8_t* buffer, uint32_t size, Taker take) {
        TW_UINT16 code;
        do {
            TW_IMAGEMEMXFER strip = {};
            strip.Memory = {TWMF_APPOWNS | TWMF_POINTER, size, buffer};
            code = source.entry()(nullptr, nullptr, DG_IMAGE, DAT_IMAGEMEMXFER, MSG_GET, &strip);
            take(strip);
        } while (code == TWRC_SUCCESS);
    }
};

void measurePushed(Bench& bench) {
    constexpr uint32_t stripBytes = 64 << 10;
    const ConversionPath path = fastestConversionPath();
    std::vector<uint8_t> buffer(stripBytes);
    bench.source.put(colorPage, stripBytes);
    bench.verdicts.row("pushed, 64 KiB: bare and converted", 1.12, [&] {
        bench::Race race;
        const size_t module = race.addTimed([&] { return bench.deliver(); });
        const size_t bare = race.add([&] {
            bench.fetchStrips(buffer.data(), stripBytes, [&](const TW_IMAGEMEMXFER& strip) {
                swapRedBlue24(
                    {buffer.data(), strip.BytesWritten, strip.BytesPerRow, strip.Rows, strip.Columns}, path);
            });
        });
        race.run(301);
        return race.ratio(module, bare);
    });
}

// A page's strips by the module, and bare, into the host's block.
void pull(Bench& bench, uint8_t* block, uint32_t size) {
    for (unsigned count = 0; count != 0xFFFFFFFF;)
        bench.module.smReadBlock(block, size, &count);
}
void pullBare(Bench& bench, uint8_t* block, uint32_t size) {
    bench.fetchStrips(block, size, [](const TW_IMAGEMEMXFER&) {});
}

// The host's block is allocated for the page, as the module's own buffer is; the remark tells of a block that
// is there already.
void measurePulled(Bench& bench, const char* name, uint32_t stripBytes, double limit) {
    bench.source.put(colorPage, stripBytes);
    std::vector<uint8_t> ready(stripBytes);
    using Puller = void (*)(Bench&, uint8_t*, uint32_t);
    const auto fresh = [&](Puller puller) {
        const std::unique_ptr<uint8_t[]> block{new uint8_t[stripBytes]};
        puller(bench, block.get(), stripBytes);
    };
    bench.verdicts.row(name, limit, [&] {
        bench::Race race;
        const size_t module = race.add([&] { fresh(pull); });
        const size_t bare = race.add([&] { fresh(pullBare); });
        const size_t moduleReady = race.add([&] { pull(bench, ready.data(), stripBytes); });
        const size_t bareReady = race.add([&] { pullBare(bench, ready.data(), stripBytes); });
        race.run(301);
        char remark[60];
        std::snprintf(remark, sizeof remark, "%.2f with the host's block at hand",
                      race.ratio(moduleReady, bareReady).value);
        return race.ratio(module, bare, remark);
    });
}

// How the time of a page grows with its pixels: flat when they are what it takes.
void measureResolutions(Bench& bench) {
    const auto timePerPixel = [&](TW_INT16 dotsPerInch) {
        const TW_IMAGEINFO info = bench::a4Page(dotsPerInch, TWPT_GRAY, 8);
        bench.source.put({info, static_cast<uint32_t>(info.ImageWidth)}, 64 << 10);
        return bench.deliver() / info.ImageWidth / info.ImageLength;
    };
    for (const TW_INT16 dotsPerInch : {150, 300, 600}) {
        const std::string name = "time per pixel at " + std::to_string(dotsPerInch) + " dpi: at 1200 dpi";
        bench.verdicts.row(name, 1.15, [&] {
            bench::Race race;
            const size_t page = race.addTimed([&] { return timePerPixel(dotsPerInch); });
            const size_t largest = race.addTimed([&] { return timePerPixel(1200); });
            race.run(21, 0);
            return race.ratio(page, largest);
        });
    }
}

struct FileKind {
    const char* name;
    TW_INT16 dotsPerInch, pixelType, bits;
    uint32_t bytesPerRow;
    uint32_t bytes;  // of the file
    double limit;
};

// The same bytes out of the same memory.
void writePlainly(Bench& bench, uint32_t size) {
    static std::vector<uint8_t> piece(64 << 10);
    DeleteFileA(bench.path.c_str());
    const HANDLE file = CreateFileA(bench.path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    DWORD written = 0;
    for (uint32_t left = size; left != 0; left -= written) {
        const auto next = std::min<uint32_t>(left, piece.size());
        bench.source.copyPixels(piece.data(), next);
        WriteFile(file, piece.data(), next, &written, nullptr);
    }
    CloseHandle(file);
}

// With strips of up to 1 MiB, the virtual scanner's largest. Both replace the file that the other has left.
void measureFile(Bench& bench, const FileKind& kind) {
    bench.source.put({bench::a4Page(kind.dotsPerInch, kind.pixelType, kind.bits), kind.bytesPerRow}, 1 << 20);
    bench.verdicts.row(kind.name, kind.limit, [&] {
        bench::Race race;
        const size_t module = race.addTimed([&] {
            PrestoScanSettings settings = {};
            settings.PixelType = SM_PIXEL_RGB;
            bench::require(bench.module.smPrestoScan(bench.host.window(), nullptr, &settings) != 0,
                           "smPrestoScan");
            return bench.deliver();
        });
        const size_t plain = race.add([&] { writePlainly(bench, kind.bytes); });
        race.run(61);
        char remark[40];
        std::snprintf(remark, sizeof remark, "%.2f ms, plain %.2f ms", race.seconds(module) * 1e3,
                      race.seconds(plain) * 1e3);
        return race.ratio(module, plain, remark);
    });
}

void measureFiles(Bench& bench) {
    char folder[MAX_PATH];
    bench::require(GetTempPathA(sizeof folder, folder) != 0, "GetTempPath");
    bench.path = std::string(folder) + "bench_transfers.bmp";
    const FileKind kinds[] = {
        {"file, colour 300 dpi: WriteFile in 64 KiB", 300, TWPT_RGB, 24, 7440, 54 + 7440 * 3508, 1.1},
        {"file, gray 300 dpi: WriteFile in 64 KiB", 300, TWPT_GRAY, 8, 2480, 1078 + 2480 * 3508, 1.1},
        {"file, 1 bit 600 dpi: WriteFile in 64 KiB", 600, TWPT_BW, 1, 620, 62 + 620 * 7016, 1.25},
    };
    for (const FileKind& kind : kinds)
        measureFile(bench, kind);
    DeleteFileA(bench.path.c_str());
}

}  // namespace

int main() try {
    Bench bench;
    bench.source.give(ICAP_UNITS, TWON_ONEVALUE, TWTY_UINT16, {0});
    bench.source.give(ICAP_XFERMECH, TWON_ONEVALUE, TWTY_UINT16, {TWSX_MEMORY});
    bench::require(bench.module.smOpenDS(bench.host.window(), nullptr) == 0, "smOpenDS");
    bench::require(bench.module.smEnableDS(0, 0) == 0, "smEnableDS");
    measurePushed(bench);
    measurePulled(bench, "pulled, 64 KiB: bare", 64 << 10, 1.7);
    measurePulled(bench, "pulled, 1 MiB: bare", 1 << 20, 1.6);
    measureResolutions(bench);
    bench.module.smDisableDS();
    bench.module.smCloseDS();
    measureFiles(bench);
    bench::require(bench.result == 0, "a transfer");
    return bench.verdicts.end();
} catch (const std::exception& error) {
    std::printf("%s\n", error.what());
    return 1;
}
