// What the module takes of a transfer: strips pushed and pulled, beside the bare operations; one-shot files,
// beside a program that only writes the same bytes.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <vector>

#include "support/BenchModule.h"
#include "support/Measure.h"
#include "support/TableSource.h"
#include "transfer/StripConversion.h"

namespace {

using bench::TableSource;

const TableSource::Image colorPage = {bench::a4Page(300, TWPT_RGB, 24), 2480 * 3, true};

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
    void fetchStrips(std::vector<uint8_t>& buffer, Taker take) {
        TW_UINT16 code;
        do {
            TW_IMAGEMEMXFER strip = {};
            strip.Memory = {TWMF_APPOWNS | TWMF_POINTER, static_cast<TW_UINT32>(buffer.size()),
                            buffer.data()};
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
    bench::Race race;
    const size_t module = race.addTimed([&] { return bench.deliver(); });
    const size_t bare = race.add([&] {
        bench.fetchStrips(buffer, [&](const TW_IMAGEMEMXFER& strip) {
            swapRedBlue24({buffer.data(), strip.BytesWritten, strip.BytesPerRow, strip.Rows, strip.Columns},
                          path);
        });
    });
    race.run(151);
    bench.verdicts.row("pushed, 64 KiB: bare and converted", race.ratio(module, bare), 1.2);
}

void measurePulled(Bench& bench, const char* name, uint32_t stripBytes, double limit) {
    std::vector<uint8_t> buffer(stripBytes), pulled(stripBytes);
    bench.source.put(colorPage, stripBytes);
    bench::Race race;
    const size_t module = race.add([&] {
        unsigned count = 0;
        while (count != 0xFFFFFFFF)
            bench.module.smReadBlock(pulled.data(), stripBytes, &count);
    });
    const size_t bare = race.add([&] { bench.fetchStrips(buffer, [](const TW_IMAGEMEMXFER&) {}); });
    race.run(151);
    bench.verdicts.row(name, race.ratio(module, bare), limit);
}

// How the time of a page grows with its pixels: flat when they are what it takes.
void measureResolutions(Bench& bench) {
    constexpr TW_INT16 resolutions[] = {150, 300, 600, 1200};
    bench::Race race;
    for (const TW_INT16 dotsPerInch : resolutions) {
        race.addTimed([&bench, dotsPerInch] {
            const TW_IMAGEINFO info = bench::a4Page(dotsPerInch, TWPT_GRAY, 8);
            bench.source.put({info, static_cast<uint32_t>(info.ImageWidth), true}, 64 << 10);
            return bench.deliver() / info.ImageWidth / info.ImageLength;
        });
    }
    race.run(21, 0);
    for (size_t i = 0; i + 1 < std::size(resolutions); ++i) {
        const std::string name = "time per pixel at " + std::to_string(resolutions[i]) + " dpi: at 1200 dpi";
        bench.verdicts.row(name, race.ratio(i, std::size(resolutions) - 1), 1.15);
    }
}

struct FileKind {
    const char* name;
    TW_INT16 dotsPerInch, pixelType, bits;
    uint32_t bytesPerRow;
    uint32_t bytes;  // of the file
    double limit;
};

void writePlainly(const std::string& path, uint32_t size) {
    static const std::vector<uint8_t> piece(64 << 10);
    DeleteFileA(path.c_str());
    const HANDLE file = CreateFileA(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    DWORD written = 0;
    for (uint32_t left = size; left != 0; left -= written)
        WriteFile(file, piece.data(), std::min<uint32_t>(left, piece.size()), &written, nullptr);
    CloseHandle(file);
}

// By a source that takes no time, so that it is all the module's; with strips of up to 1 MiB, the virtual
// scanner's largest.
void measureFile(Bench& bench, const FileKind& kind) {
    bench.source.put({bench::a4Page(kind.dotsPerInch, kind.pixelType, kind.bits), kind.bytesPerRow, false},
                     1 << 20);
    bench::Race race;
    const size_t module = race.addTimed([&] {
        PrestoScanSettings settings = {};
        settings.PixelType = SM_PIXEL_RGB;
        bench::require(bench.module.smPrestoScan(bench.host.window(), nullptr, &settings) != 0,
                       "smPrestoScan");
        return bench.deliver();
    });
    const size_t plain = race.add([&] { writePlainly(bench.path, kind.bytes); });
    race.run(41);
    char remark[40];
    std::snprintf(remark, sizeof remark, "%.2f ms", race.seconds(module) * 1e3);
    bench.verdicts.row(kind.name, race.ratio(module, plain), kind.limit, remark);
}

void measureFiles(Bench& bench) {
    char folder[MAX_PATH];
    bench::require(GetTempPathA(sizeof folder, folder) != 0, "GetTempPath");
    bench.path = std::string(folder) + "bench_transfers.bmp";
    const FileKind kinds[] = {
        {"file, colour 300 dpi: WriteFile in 64 KiB", 300, TWPT_RGB, 24, 7440, 54 + 7440 * 3508, 1.2},
        {"file, gray 300 dpi: WriteFile in 64 KiB", 300, TWPT_GRAY, 8, 2480, 1078 + 2480 * 3508, 1.25},
        {"file, 1 bit 600 dpi: WriteFile in 64 KiB", 600, TWPT_BW, 1, 620, 62 + 620 * 7016, 1.35},
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
    measurePulled(bench, "pulled, 1 MiB: bare", 1 << 20, 2.4);
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
