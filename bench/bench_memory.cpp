// How much memory a large page takes on its way through the module: a colour A3 page at 600 dots per inch,
// once strip by strip to a host that discards it, once through the DIB writer into a temporary file. The
// virtual scanner, in the same process, renders the page row by row and keeps none of it. Growth is that of
// the process's peak working set, from when the source was enabled to the end. Fails when it is not below the
// strip buffer plus 4 MiB. Needs a TWAIN manager that finds the virtual scanner, and ScanModule.dll beside
// the program.
#include <scanmodule/scanmodule.h>

#include <windows.h>

#include <psapi.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <functional>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

constexpr uint64_t slack = 4 << 20;
constexpr unsigned short dotsPerInch = 600;
constexpr int pageWidth = 7016;
constexpr int pageLength = 9921;
constexpr uint64_t pageRowBytes = pageWidth * 3;
constexpr uint64_t fileBytes = pageRowBytes * pageLength + 54;
constexpr DWORD timeLimit = 60000;

// Not for handlers of the module's messages: no exception may cross the module.
void require(bool met, const std::string& what) {
    if (!met) throw std::runtime_error(what + " failed");
}

struct ScanModule {
    HMODULE library = LoadLibraryA("ScanModule.dll");
    template <class Function>
    Function* find(const char* name, Function*) const {
        const auto address = library != nullptr ? GetProcAddress(library, name) : nullptr;
        require(address != nullptr, name);
        return reinterpret_cast<Function*>(reinterpret_cast<void*>(address));
    }

#define MODULE_FUNCTION(name) decltype(&::name) name = find(#name, static_cast<decltype(&::name)>(nullptr))
    MODULE_FUNCTION(smOpenDS);
    MODULE_FUNCTION(smSetPixelType);
    MODULE_FUNCTION(smSetXResolution);
    MODULE_FUNCTION(smSetYResolution);
    MODULE_FUNCTION(smSetXferCount);
    MODULE_FUNCTION(smGetMemXferSize);
    MODULE_FUNCTION(smEnableDS);
    MODULE_FUNCTION(smIsDSEvent);
    MODULE_FUNCTION(smDisableDS);
    MODULE_FUNCTION(smCloseDS);
    MODULE_FUNCTION(smPrestoScan);
#undef MODULE_FUNCTION
};

// The window that the module's messages go to.
class Host {
public:
    using Handler = std::function<void(WPARAM, LPARAM)>;

    Host() {
        WNDCLASSA definition = {};
        definition.lpfnWndProc = windowProcedure;
        definition.lpszClassName = "scan module benchmark";
        RegisterClassA(&definition);
        window_ = CreateWindowA(definition.lpszClassName, "", WS_OVERLAPPEDWINDOW, 0, 0, 0, 0, nullptr,
                                nullptr, nullptr, this);
        require(window_ != nullptr, "CreateWindow");
        // Wakes the loop when no messages come, so that the time limit is seen.
        SetTimer(window_, 1, 500, nullptr);
    }
    ~Host() { DestroyWindow(window_); }
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    HWND window() const { return window_; }
    void on(const char* message, Handler handler) {
        handlers_[RegisterWindowMessageA(message)] = std::move(handler);
    }
    void finish() { finished_ = true; }

    void run(const ScanModule& module) {
        const DWORD start = GetTickCount();
        MSG message;
        while (!finished_ && GetMessageA(&message, nullptr, 0, 0) > 0) {
            require(GetTickCount() - start < timeLimit, "finishing in time");
            if (!module.smIsDSEvent(&message)) DispatchMessageA(&message);
        }
    }

private:
    static LRESULT CALLBACK windowProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
        if (message == WM_NCCREATE) {
            const auto* creation = reinterpret_cast<const CREATESTRUCTA*>(lParam);
            SetWindowLongPtrA(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(creation->lpCreateParams));
        } else if (auto* host = reinterpret_cast<Host*>(GetWindowLongPtrA(window, GWLP_USERDATA))) {
            const auto found = host->handlers_.find(message);
            if (found != host->handlers_.end()) {
                found->second(wParam, lParam);
                return 0;
            }
        }
        return DefWindowProcA(window, message, wParam, lParam);
    }

    HWND window_ = nullptr;
    std::map<UINT, Handler> handlers_;
    bool finished_ = false;
};

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

// Made when the source is enabled, before it is asked for an image.
class Measurement {
public:
    explicit Measurement(unsigned int stripBuffer)
        : stripBuffer_(stripBuffer), start_(memoryNow().PeakWorkingSetSize) {}

    void end() { peak_ = memoryNow().PeakWorkingSetSize; }
    unsigned int stripBuffer() const { return stripBuffer_; }
    // Prints the line; is it good?
    bool report(const char* route) const {
        const uint64_t growth = peak_ - start_;
        const uint64_t limit = stripBuffer_ + slack;
        const auto kib = [](uint64_t bytes) { return static_cast<unsigned>(bytes >> 10); };
        std::printf("%-16s %12u %10u %10u %10u %10u  %s\n", route, kib(stripBuffer_), kib(start_), kib(peak_),
                    kib(growth), kib(limit), growth < limit ? "good" : "TOO MUCH");
        return growth < limit;
    }

private:
    unsigned int stripBuffer_;
    Ballast ballast_;
    uint64_t start_;
    uint64_t peak_ = 0;
};

struct BufferSizes {
    unsigned int minimum, largest, preferred;
    explicit BufferSizes(const ScanModule& module) {
        require(module.smGetMemXferSize(&minimum, &largest, &preferred) == 0, "smGetMemXferSize");
    }
};

bool scanInStrips(const ScanModule& module) {
    Host host;
    uint64_t rows = 0;
    uint64_t bufferUsed = 0;
    bool asWanted = false;
    int result = -1;
    host.on(SM_MESSAGE_XFERSTART, [&](WPARAM, LPARAM lParam) {
        const auto* image = reinterpret_cast<const TXferImageInfo*>(lParam);
        asWanted =
            image->ImageWidth == pageWidth && image->ImageLength == pageLength && image->BitsPerPixel == 24;
    });
    host.on(SM_MESSAGE_XFERDATA, [&](WPARAM, LPARAM lParam) {
        const auto* strip = reinterpret_cast<const TXferStripInfo*>(lParam);
        rows += strip->Rows;
        bufferUsed = strip->Buffer->BufferSize;
    });
    host.on(SM_MESSAGE_XFEREND, [&](WPARAM wParam, LPARAM) { result = static_cast<int>(wParam); });
    host.on(SM_MESSAGE_CLOSEDSREQ, [&](WPARAM, LPARAM) { host.finish(); });

    require(module.smOpenDS(host.window(), nullptr) == 0, "smOpenDS");
    require(module.smSetPixelType(SM_PIXEL_RGB) == 0, "smSetPixelType");
    require(module.smSetXResolution(dotsPerInch) == 0, "smSetXResolution");
    require(module.smSetYResolution(dotsPerInch) == 0, "smSetYResolution");
    require(module.smSetXferCount(1) == 0, "smSetXferCount");
    require(module.smEnableDS(0, 0) == 0, "smEnableDS");
    // The module tries the preferred size first.
    Measurement measurement{BufferSizes{module}.preferred};
    host.run(module);
    measurement.end();
    require(result == SM_XFEREND_DONE && rows == pageLength, "the memory transfer");
    require(asWanted, "getting a page of the wanted size");
    require(bufferUsed == measurement.stripBuffer(), "the use of the preferred strip buffer");
    require(module.smDisableDS() == 0 && module.smCloseDS() == 0, "closing the source");
    return measurement.report("strips");
}

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
        return (static_cast<uint64_t>(data.nFileSizeHigh) << 32) + data.nFileSizeLow;
    }
};

bool scanToFile(const ScanModule& module) {
    Host host;
    const TemporaryFile file;
    int result = -1;
    host.on(SM_MESSAGE_SCANTOFILEGETNAME, [&](WPARAM, LPARAM lParam) {
        lstrcpynA(reinterpret_cast<char*>(lParam), file.path, SM_FILE_NAME_SIZE);
    });
    host.on(SM_MESSAGE_SCANTOFILEXFEREND, [&](WPARAM wParam, LPARAM) { result = static_cast<int>(wParam); });
    host.on(SM_MESSAGE_SCANTOFILEDSCLOSED, [&](WPARAM, LPARAM) { host.finish(); });

    PrestoScanSettings settings = {};
    settings.PixelType = SM_PIXEL_RGB;
    settings.Resolution = dotsPerInch;
    require(module.smPrestoScan(host.window(), nullptr, &settings) == 1, "smPrestoScan");
    // This route always takes the largest.
    Measurement measurement{BufferSizes{module}.largest};
    host.run(module);
    measurement.end();
    require(result == SM_SCANTOFILE_DONE, "the scan to file (" + std::to_string(result) + ")");
    require(file.size() == fileBytes, "writing the whole file");
    return measurement.report("scan to file");
}

}  // namespace

int main() try {
    std::setvbuf(stdout, nullptr, _IONBF, 0);
    // Read by the virtual scanner when it is loaded. Everything else is at its default.
    SetEnvironmentVariableA("VSCAN_PAPER", "A3");
    const ScanModule module;
    std::printf("A colour A3 page at %u dots per inch, %u KiB; working sets in KiB\n", dotsPerInch,
                static_cast<unsigned>(fileBytes >> 10));
    std::printf("%-16s %12s %10s %10s %10s %10s\n", "route", "strip buffer", "start", "peak", "growth",
                "limit");
    const bool stripsGood = scanInStrips(module);
    const bool fileGood = scanToFile(module);
    return stripsGood && fileGood ? 0 : 1;
} catch (const std::exception& error) {
    std::printf("%s\n", error.what());
    return 1;
}
