// What the module takes of a transfer: strips pushed and pulled, beside the bare operations; one-shot files,
// beside a program that only writes the same bytes.
#include <cstdio>
#include <cstring>
#include <vector>

#include "support/BenchModule.h"
#include "support/Measure.h"
#include "support/TableSource.h"
#include "transfer/StripConversion.h"

namespace {

using bench::TableSource;

constexpr uint32_t colorRow = 2480 * 3;

struct Bench {
    bench::Verdicts verdicts{"Transfers of an A4 page at 300 dpi, as multiples of what is named"};
    TableSource source;
    bench::ScanModule module;
    bench::Host host;

    // The image that is ready is transferred before this returns.
    void deliver() {
        MSG message = {host.window(), WM_NULL, 0, 0, 0, {}};
        source.signalReady();
        module.smIsDSEvent(&message);
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
    bench.source.put({bench::a4Page(TWPT_RGB, 24), colorRow, true}, stripBytes);
    bench::Race race;
    const size_t module = race.add([&] { bench.deliver(); });
    const size_t bare = race.add([&] {
        bench.fetchStrips(buffer, [&](const TW_IMAGEMEMXFER& strip) {
            swapRedBlue24({buffer.data(), strip.BytesWritten, strip.BytesPerRow, strip.Rows, strip.Columns},
                          path);
        });
    });
    race.run(151);
    bench.verdicts.row("pushed, 64 KiB: bare and converted", race.ratio(module, bare), 1.12);
}

void measurePulled(Bench& bench, const char* name, uint32_t stripBytes, double limit) {
    std::vector<uint8_t> buffer(stripBytes), pulled(stripBytes);
    bench.source.put({bench::a4Page(TWPT_RGB, 24), colorRow, true}, stripBytes);
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

struct FileKind {
    const char* name;
    TW_INT16 pixelType, bits;
    uint32_t bytesPerRow;
    uint32_t bytes;  // of the file
    double limit;
};

// By a source that takes no time, so that it is all the module's.
void measureFile(Bench& bench, const FileKind& kind, const std::string& path) {
    constexpr uint32_t piece = 64 << 10;
    const std::vector<uint8_t> bytes(piece);
    bench.source.put({bench::a4Page(kind.pixelType, kind.bits), kind.bytesPerRow, false}, piece);
    const auto start = [&] {
        PrestoScanSettings settings = {};
        settings.PixelType = SM_PIXEL_RGB;
        bench::require(bench.module.smPrestoScan(bench.host.window(), nullptr, &settings) != 0,
                       "smPrestoScan");
    };
    double opening = 0;
    bench::Race race;
    const size_t module = race.add([&] {
        const double begin = bench::secondsNow();
        start();
        opening = bench::secondsNow() - begin;
        bench.deliver();
    });
    const size_t plain = race.add([&] {
        DeleteFileA(path.c_str());
        const HANDLE file = CreateFileA(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
        DWORD written;
        for (uint32_t left = kind.bytes; left != 0; left -= written)
            WriteFile(file, bytes.data(), left < piece ? left : piece, &written, nullptr);
        CloseHandle(file);
    });
    race.run(31);
    char remark[80];
    std::snprintf(remark, sizeof remark, "%.1f ms, opening %.2f", race.seconds(module) * 1e3, opening * 1e3);
    bench.verdicts.row(kind.name, race.ratio(module, plain), kind.limit, remark);
}

void measureFiles(Bench& bench) {
    char folder[MAX_PATH];
    bench::require(GetTempPathA(sizeof folder, folder) != 0, "GetTempPath");
    const std::string path = std::string(folder) + "bench_transfers.bmp";
    int result = 0;
    bench.host.on(SM_MESSAGE_SCANTOFILEGETNAME, [&](WPARAM, LPARAM lParam) {
        lstrcpynA(reinterpret_cast<char*>(lParam), path.c_str(), SM_FILE_NAME_SIZE);
    });
    bench.host.on(SM_MESSAGE_SCANTOFILEXFEREND,
                  [&](WPARAM wParam, LPARAM) { result |= static_cast<int>(wParam); });
    const FileKind kinds[] = {
        {"one-shot file, colour: WriteFile in 64 KiB", TWPT_RGB, 24, colorRow, 54 + colorRow * 3508, 1.1},
        {"one-shot file, gray: WriteFile in 64 KiB", TWPT_GRAY, 8, 2480, 1078 + 2480 * 3508, 1.1},
        // 310 bytes a row from the source, 312 in the file.
        {"one-shot file, 1 bit: WriteFile in 64 KiB", TWPT_BW, 1, 310, 62 + 312 * 3508, 1.25},
    };
    for (const FileKind& kind : kinds)
        measureFile(bench, kind, path);
    DeleteFileA(path.c_str());
    bench::require(result == SM_SCANTOFILE_DONE, "a scan to file");
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
    bench.module.smDisableDS();
    bench.module.smCloseDS();
    measureFiles(bench);
    return bench.verdicts.end();
} catch (const std::exception& error) {
    std::printf("%s\n", error.what());
    return 1;
}
