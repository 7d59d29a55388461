// Many scans in one process: does anything grow? Small pages by each mechanism in one session, one-shot
// scans, and whole lives of the module, from loading to unloading. What the process holds after the first
// hundred is what it may hold at the end.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "ProcessCount.h"
#include "common/HostWindow.h"
#include "common/ModuleLibrary.h"
#include "common/Wording.h"

namespace host {

const Wording wording{"endurance", "--", "--set ", "--presto", ""};

}  // namespace host

namespace {

using host::HostWindow;
using host::ModuleLibrary;

constexpr int firstSample = 100;
constexpr int allPages = -1;  // of the feeder
constexpr int feederPages = 5000;
constexpr DWORD patience = 600000;  // milliseconds

// Not for handlers of the module's messages, whose failures end up in the window.
void require(bool met, const std::string& what) {
    if (!met) throw std::runtime_error(what + " failed");
}

// The rows of one table, printed as they come.
class Growth {
public:
    Growth(const char* name, int wanted) : step_(wanted >= 2000 ? wanted / 10 : firstSample) {
        std::printf("\n%-10s %12s %12s %10s %9s %6s %6s\n", name, "private KiB", "heap blocks", "heap KiB",
                    "handles", "GDI", "USER");
    }

    void add(int done) {
        if (done != firstSample && done % step_ != 0) return;
        const ProcessCount count = ProcessCount::now();
        std::printf("%-10d %12u %12u %10u %9u %6u %6u\n", done, count.privateKib, count.heapBlocks,
                    count.heapKib, count.handles, count.gdiObjects, count.userObjects);
        if (done == firstSample) base_ = count;
        last_ = count;
    }

    // Judges the last row against the first.
    bool report() const {
        // What Windows itself keeps from time to time; a loss each hundredth time would show.
        constexpr uint32_t slackKib = 256;
        constexpr uint32_t slackBlocks = 20;
        constexpr uint32_t slackObjects = 8;
        const bool flat = last_.privateKib <= base_.privateKib + slackKib &&
                          last_.heapBlocks <= base_.heapBlocks + slackBlocks &&
                          last_.heapKib <= base_.heapKib + slackKib &&
                          last_.handles <= base_.handles + slackObjects &&
                          last_.gdiObjects <= base_.gdiObjects + slackObjects &&
                          last_.userObjects <= base_.userObjects + slackObjects;
        std::printf("%s\n", flat ? "Flat." : "IT GROWS.");
        return flat;
    }

private:
    int step_;
    ProcessCount base_{};
    ProcessCount last_{};
};

enum class Pages { Native, File, Pushed, Pulled };

std::string temporaryPath() {
    char folder[MAX_PATH] = "";
    GetTempPathA(sizeof folder, folder);
    return std::string(folder) + "endurance.bmp";
}

// A window that receives pages by one mechanism, over any number of sessions.
class Receiver {
public:
    // `onPage` is called after each page.
    Receiver(const ModuleLibrary& module, Pages by, std::function<void()> onPage)
        : module_(module), by_(by), onPage_(std::move(onPage)), file_(temporaryPath()) {
        window_.on(SM_MESSAGE_XFERSTART,
                   [this](WPARAM, LPARAM info) { start(*reinterpret_cast<TXferImageInfo*>(info)); });
        window_.on(SM_MESSAGE_XFEREND, [this](WPARAM result, LPARAM) { end(static_cast<int>(result)); });
        window_.on(SM_MESSAGE_CLOSEDSREQ, [this](WPARAM, LPARAM) { batchOver_ = true; });
        window_.on(SM_MESSAGE_SCANTOFILEGETNAME, [this](WPARAM, LPARAM name) {
            std::memcpy(reinterpret_cast<char*>(name), file_.c_str(), file_.size() + 1);
        });
        window_.on(SM_MESSAGE_SCANTOFILEXFEREND,
                   [this](WPARAM result, LPARAM) { end(static_cast<int>(result)); });
        window_.on(SM_MESSAGE_SCANTOFILEDSCLOSED, [this](WPARAM, LPARAM) { batchOver_ = true; });
    }
    ~Receiver() { DeleteFileA(file_.c_str()); }

    void open(int pages) {
        require(module_.smOpenDS(window_.handle(), "endurance") == 0, "smOpenDS");
        constexpr unsigned short codes[] = {SM_MECH_NATIVE, SM_MECH_FILE, SM_MECH_MEMORY, SM_MECH_MEMORY};
        require(module_.smSetXferMech(codes[static_cast<int>(by_)]) == 0, "smSetXferMech");
        require(module_.smSetXferCount(pages) == 0, "smSetXferCount");
    }

    void scan() {
        require(module_.smEnableDS(FALSE, FALSE) == 0, "smEnableDS");
        runLoop();
        require(module_.smDisableDS() == 0, "smDisableDS");
    }

    void close() { require(module_.smCloseDS() == 0, "smCloseDS"); }

    void scanOneShot() {
        PrestoScanSettings settings{};
        settings.PixelType = SM_PIXEL_GRAY;
        settings.Resolution = 50;
        require(module_.smPrestoScan(window_.handle(), "endurance", &settings) != 0, "smPrestoScan");
        runLoop();
    }

private:
    void runLoop() {
        batchOver_ = false;
        const DWORD start = GetTickCount();
        MSG message;
        while (!batchOver_ && GetMessageA(&message, nullptr, 0, 0) > 0) {
            require(GetTickCount() - start < patience, "waiting for pages");
            if (!module_.smIsDSEvent(&message)) DispatchMessageA(&message);
        }
        require(!window_.failure(), window_.failure() ? window_.failure()->text : "");
    }

    void start(TXferImageInfo& info) {
        if (by_ == Pages::Native) info.Target.Dib = &dib_;
        if (by_ == Pages::File) std::memcpy(info.Target.FileName, file_.c_str(), file_.size() + 1);
        if (by_ != Pages::Pulled) return;
        constexpr unsigned int blockBytes = 1 << 12;
        std::vector<unsigned char> block(2 * blockBytes);
        for (int width = info.ImageWidth, height = 0; width != 0;) {
            unsigned int count = 0;
            while (module_.smReadBlock(block.data(), blockBytes, &count) == 0) {
            }
            onPage_();
            module_.smGetImageDim(&width, &height);
        }
        module_.smCancelAllXfer();
    }

    void end(int result) {
        if (by_ == Pages::Pulled) return;
        const bool missing = result != 0 || (by_ == Pages::Native && dib_ == nullptr);
        if (dib_ != nullptr) GlobalFree(dib_);
        dib_ = nullptr;
        if (missing)
            throw host::Failure{host::FailureCode::SourceError,
                                "result " + std::to_string(result) + ": a page"};
        onPage_();
    }

    const ModuleLibrary& module_;
    Pages by_;
    std::function<void()> onPage_;
    std::string file_;
    HostWindow window_;
    HGLOBAL dib_ = nullptr;
    bool batchOver_ = false;
};

bool pagesOfOneSession(const char* name, Pages by, int wanted) {
    const ModuleLibrary module;
    Growth growth(name, wanted);
    int done = 0;
    Receiver receiver(module, by, [&] { growth.add(++done); });
    receiver.open(allPages);
    while (done < wanted)
        receiver.scan();
    receiver.close();
    return growth.report();
}

bool oneShotScans(int wanted) {
    const ModuleLibrary module;
    Growth growth("one-shot", wanted);
    int pages = 0;
    Receiver receiver(module, Pages::Pushed, [&] { ++pages; });
    for (int done = 0; done < wanted; growth.add(++done))
        receiver.scanOneShot();
    require(pages == wanted, "bringing each page");
    return growth.report();
}

bool wholeLives(int wanted) {
    Growth growth("cycles", wanted);
    int pages = 0;
    for (int done = 0; done < wanted; growth.add(++done)) {
        const ModuleLibrary module;
        Receiver receiver(module, Pages::Native, [&] { ++pages; });
        receiver.open(1);
        receiver.scan();
        receiver.close();
    }
    require(pages == wanted, "bringing each page");
    return growth.report();
}

struct Run {
    const char* name;
    bool (*run)(int wanted);
};
const Run runs[] = {
    {"native", [](int wanted) { return pagesOfOneSession("native", Pages::Native, wanted); }},
    {"file", [](int wanted) { return pagesOfOneSession("file", Pages::File, wanted); }},
    {"pushed", [](int wanted) { return pagesOfOneSession("pushed", Pages::Pushed, wanted); }},
    {"pulled", [](int wanted) { return pagesOfOneSession("pulled", Pages::Pulled, wanted); }},
    {"one-shot", oneShotScans},
    {"cycles", wholeLives},
};

}  // namespace

int main(int argumentCount, char** arguments) try {
    std::setvbuf(stdout, nullptr, _IONBF, 0);
    const int wanted = argumentCount > 1 ? std::atoi(arguments[1]) : 10000;
    require(wanted >= 2 * firstSample, "usage: endurance [COUNT, at least 200] [RUN...]");
    // Read by the virtual scanner when it is loaded.
    SetEnvironmentVariableA("VSCAN_PAGES", std::to_string(std::min(wanted, feederPages)).c_str());
    SetEnvironmentVariableA("VSCAN_PAPER", "1x1");
    SetEnvironmentVariableA("VSCAN_PIXELTYPE", "Gray");
    SetEnvironmentVariableA("VSCAN_RESOLUTION", "50");
    const std::vector<std::string> named(arguments + std::min(argumentCount, 2), arguments + argumentCount);
    std::printf("Handles, GDI, USER: the highest place in the table that a new object gets.\n");
    bool flat = true;
    for (const Run& run : runs) {
        if (!named.empty() && std::find(named.begin(), named.end(), run.name) == named.end()) continue;
        flat = run.run(wanted) && flat;
    }
    return flat ? 0 : 1;
} catch (const std::exception& error) {
    std::printf("%s\n", error.what());
    return 1;
} catch (const host::Failure& failure) {
    std::printf("%s\n", failure.text.c_str());
    return 1;
}
