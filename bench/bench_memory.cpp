// How much memory a large page takes on its way through the module, by every way there is: a colour A3 page
// at 600 dots per inch, from the virtual scanner, which renders it row by row and keeps none of it, in the
// same process. Growth is that of the process's peak working set, from when the source was enabled to the
// end. Needs a TWAIN manager that finds the virtual scanner, and ScanModule.dll beside the program.
#include <windows.h>

#include <psapi.h>

#include <cstdio>
#include <cstring>
#include <vector>

#include "support/BenchModule.h"
#include "support/Measure.h"

namespace {

using bench::require;

constexpr unsigned short dotsPerInch = 600;
constexpr uint64_t pageBytes = uint64_t{7016} * 3 * 9921;
constexpr uint64_t fileBytes = pageBytes + 54;

PROCESS_MEMORY_COUNTERS memoryNow() {
    PROCESS_MEMORY_COUNTERS counters = {};
    require(GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters) != 0,
            "GetProcessMemoryInfo");
    return counters;
}

// Memory that is only there to be used. Loading programs has left a peak above what is used now, and growth
// below that peak would not be seen; so the difference is filled up first.
class Ballast {
public:
    Ballast() {
        for (PROCESS_MEMORY_COUNTERS now = memoryNow(); now.WorkingSetSize < now.PeakWorkingSetSize;
             now = memoryNow()) {
            const SIZE_T missing = now.PeakWorkingSetSize - now.WorkingSetSize;
            void* block = VirtualAlloc(nullptr, missing, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE);
            require(block != nullptr, "VirtualAlloc");
            std::memset(block, 1, missing);
            blocks_.push_back(block);
        }
    }
    ~Ballast() {
        for (void* block : blocks_)
            VirtualFree(block, 0, MEM_RELEASE);
    }
    Ballast(const Ballast&) = delete;
    Ballast& operator=(const Ballast&) = delete;

private:
    std::vector<void*> blocks_;
};

// A file in the temporary folder, deleted at the end.
struct TemporaryFile {
    char path[MAX_PATH] = "";
    TemporaryFile() {
        char folder[MAX_PATH];
        require(GetTempPathA(sizeof folder, folder) != 0, "GetTempPath");
        require(GetTempFileNameA(folder, "scn", 0, path) != 0, "GetTempFileName");
    }
    ~TemporaryFile() { DeleteFileA(path); }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    uint64_t size() const {
        WIN32_FILE_ATTRIBUTE_DATA data = {};
        if (!GetFileAttributesExA(path, GetFileExInfoStandard, &data)) return 0;
        return (uint64_t{data.nFileSizeHigh} << 32) + data.nFileSizeLow;
    }
};

// A scan by one way. The page is complete when so many bytes came.
class PageScan {
public:
    PageScan() {
        const auto takeName = [this](char* name) { lstrcpynA(name, file_.path, SM_FILE_NAME_SIZE); };
        host_.on(SM_MESSAGE_XFERSTART, [=](WPARAM, LPARAM lParam) {
            const auto& image = *reinterpret_cast<const TXferImageInfo*>(lParam);
            if (image.XferMech == SM_MECH_FILE) takeName(image.Target.FileName);
            if (image.XferMech == SM_MECH_NATIVE) image_ = pageBytes;
            if (pulls_) pull();
        });
        host_.on(SM_MESSAGE_XFERDATA, [this](WPARAM, LPARAM lParam) {
            const auto& strip = *reinterpret_cast<const TXferStripInfo*>(lParam);
            image_ += strip.Rows * strip.BytesPerRow;
        });
        host_.on(SM_MESSAGE_SCANTOFILEGETNAME,
                 [=](WPARAM, LPARAM lParam) { takeName(reinterpret_cast<char*>(lParam)); });
        for (const char* message : {SM_MESSAGE_CLOSEDSREQ, SM_MESSAGE_SCANTOFILEDSCLOSED})
            host_.on(message, [this](WPARAM, LPARAM) { host_.finish(); });
    }

    // MiB that the process's memory grew by.
    double byBatch(unsigned short mechanism, bool pulls = false) {
        pulls_ = pulls;
        require(module_.smOpenDS(host_.window(), nullptr) == 0, "smOpenDS");
        require(module_.smSetXferMech(mechanism) == 0, "smSetXferMech");
        require(module_.smSetPixelType(SM_PIXEL_RGB) == 0, "smSetPixelType");
        require(module_.smSetXResolution(dotsPerInch) == 0, "smSetXResolution");
        require(module_.smSetYResolution(dotsPerInch) == 0, "smSetYResolution");
        require(module_.smSetXferCount(1) == 0, "smSetXferCount");
        require(module_.smEnableDS(0, 0) == 0, "smEnableDS");
        const double growth = run();
        require(module_.smDisableDS() == 0 && module_.smCloseDS() == 0, "closing the source");
        require(mechanism == SM_MECH_FILE ? file_.size() == fileBytes : image_ == pageBytes, "a whole page");
        return growth;
    }
    double byOneShot() {
        PrestoScanSettings settings = {};
        settings.PixelType = SM_PIXEL_RGB;
        settings.Resolution = dotsPerInch;
        require(module_.smPrestoScan(host_.window(), nullptr, &settings) == 1, "smPrestoScan");
        const double growth = run();
        require(file_.size() == fileBytes, "writing the whole file");
        return growth;
    }

private:
    double run() {
        const Ballast ballast;
        const SIZE_T before = memoryNow().PeakWorkingSetSize;
        host_.run(module_);
        return static_cast<double>(memoryNow().PeakWorkingSetSize - before) / (1 << 20);
    }
    void pull() {
        std::vector<uint8_t> block(64 << 10);
        unsigned count = 0;
        while (module_.smReadBlock(block.data(), static_cast<unsigned>(block.size()), &count) == 0)
            image_ += count;
        image_ = image_ != 0 ? pageBytes : 0;  // how long the last block is isn't said
        module_.smCancelAllXfer();
    }

    bench::ScanModule module_;
    bench::Host host_;
    TemporaryFile file_;
    uint64_t image_ = 0;
    bool pulls_ = false;
};

}  // namespace

int main() try {
    // Read by the virtual scanner when it is loaded. Everything else is at its default.
    SetEnvironmentVariableA("VSCAN_PAPER", "A3");
    bench::Verdicts verdicts{"A colour A3 page at 600 dpi, 199 MiB: growth of the peak working set in MiB"};
    constexpr double few = 2;
    verdicts.row("strips pushed", few, bench::Measured{PageScan{}.byBatch(SM_MECH_MEMORY)});
    verdicts.row("blocks pulled", few, bench::Measured{PageScan{}.byBatch(SM_MECH_MEMORY, true)});
    verdicts.row("file", few, bench::Measured{PageScan{}.byBatch(SM_MECH_FILE)});
    verdicts.row("native: the page itself", pageBytes / 1048576.0 + few,
                 bench::Measured{PageScan{}.byBatch(SM_MECH_NATIVE)});
    // Last, as it makes all later scans of the loaded library one-shot scans.
    verdicts.row("one-shot file", few, bench::Measured{PageScan{}.byOneShot()});
    return verdicts.end();
} catch (const std::exception& error) {
    std::printf("%s\n", error.what());
    return 1;
}
