// scanmodule.hpp, in a host that links the module, with Wine's own TWAIN manager and the virtual scanner.
#include <doctest.h>
#include <scanmodule/scanmodule.hpp>

#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using scan::Next;

// The virtual scanner reads its settings from the environment when it is first called, so one that an earlier
// session left behind (Wine's manager never frees a source) goes.
class ScannerSettings {
public:
    explicit ScannerSettings(const std::string& settings) {
        while (const HMODULE source = GetModuleHandleA("sane.ds"))
            FreeLibrary(source);
        std::istringstream list(settings);
        for (std::string setting; std::getline(list, setting, ';');) {
            const size_t equals = setting.find('=');
            names_.push_back("VSCAN_" + setting.substr(0, equals));
            SetEnvironmentVariableA(names_.back().c_str(), setting.substr(equals + 1).c_str());
        }
    }
    ~ScannerSettings() {
        for (const std::string& name : names_)
            SetEnvironmentVariableA(name.c_str(), nullptr);
    }

private:
    std::vector<std::string> names_;
};

std::string text(const std::error_code& error) {
    return error ? std::to_string(error.value()) : "ok";
}

// What came of a scan by both ways, as words: each page's size and bytes, or rows; then the end.
enum class Way { Pages, Strips };

std::string scanned(Way way, scan::Session& session, int last, const scan::Options& options = {}) {
    std::ostringstream log;
    int count = 0;
    const auto next = [&] { return ++count == last ? Next::Stop : Next::Go; };
    std::error_code error;
    if (way == Way::Pages) {
        session.scanPages(
            [&](scan::Dib page) {
                const BITMAPINFOHEADER& head = page.header();
                log << head.biWidth << "x" << head.biHeight << " " << head.biBitCount << " bit, rows at "
                    << page.rowsOffset() << " of " << page.size() << "; ";
                return next();
            },
            error, options);
    } else {
        unsigned bytes = 0;
        session.scanStrips([&](const TXferStripInfo& strip) { return bytes += strip.BytesWritten, Next::Go; },
                           [&](const TXferImageInfo& page) {
                               log << page.ImageWidth << "x" << page.ImageLength << ", " << bytes
                                   << " bytes; ";
                               bytes = 0;
                               return next();
                           },
                           error, options);
    }
    return log.str() + text(error);
}

// A small page, of this pixel type.
scan::Settings small(SmPixelType type) {
    scan::Settings settings;
    settings.pixelType = type;
    settings.dotsPerInch = static_cast<unsigned short>(50);
    settings.area = SmImageLayout{0, 0, 2, 1};
    settings.pages = -1;
    return settings;
}

}  // namespace

TEST_CASE("pages and strips come whole, and an error ends them") {
    struct Row {
        const char* settings;
        SmPixelType type;
        Way way;
        int last;  // the handler says Stop at this page
        const char* expected;
    };
    const Row rows[] = {
        {"Pages=2", SM_PIXEL_RGB, Way::Pages, 0,
         "100x50 24 bit, rows at 40 of 15040; 100x50 24 bit, rows at 40 of 15040; ok"},
        {"Pages=3", SM_PIXEL_GRAY, Way::Pages, 2,
         "100x50 8 bit, rows at 1064 of 6064; 100x50 8 bit, rows at 1064 of 6064; ok"},
        {"", SM_PIXEL_BW, Way::Pages, 0, "100x50 1 bit, rows at 48 of 848; ok"},
        {"Pages=3;JamAtPage=2", SM_PIXEL_RGB, Way::Pages, 0, "100x50 24 bit, rows at 40 of 15040; 20"},
        {"CancelAtPage=1", SM_PIXEL_RGB, Way::Pages, 0, "-4"},
        {"TransferMechanism=Memory;RefusedMechanisms=Native", SM_PIXEL_RGB, Way::Pages, 0, "10"},
        {"FailAtPage=1;FailConditionCode=0", SM_PIXEL_RGB, Way::Pages, 0, "1001"},
        {"Pages=2", SM_PIXEL_RGB, Way::Strips, 0, "100x50, 15000 bytes; 100x50, 15000 bytes; ok"},
        {"Pages=3;StripRows=7", SM_PIXEL_GRAY, Way::Strips, 1, "100x50, 5000 bytes; ok"},
        {"FailAtPage=1;FaultAfterStrip=1;StripRows=7;FailConditionCode=0", SM_PIXEL_GRAY, Way::Strips, 0,
         "1001"},
        {"Pages=2;JamAtPage=2", SM_PIXEL_GRAY, Way::Strips, 0, "100x50, 5000 bytes; 20"},
    };
    for (const Row& row : rows) {
        CAPTURE(row.settings);
        const ScannerSettings settings(row.settings);
        scan::Session session("cpp_layer_test");
        CHECK(session.productName() == "KAVRO Virtual Scanner");
        CHECK(session.apply(small(row.type)).empty());
        CHECK(scanned(row.way, session, row.last) == row.expected);
    }
}

TEST_CASE("a DIB's rows begin behind its colours, counted or not, or behind its masks") {
    struct Row {
        WORD bits;
        DWORD coloursUsed, compression;
        size_t expected;
    };
    for (const Row& row : {Row{1, 0, BI_RGB, 48}, Row{8, 0, BI_RGB, 1064}, Row{8, 16, BI_RGB, 104},
                           Row{24, 0, BI_RGB, 40}, Row{32, 0, BI_BITFIELDS, 52}}) {
        const HGLOBAL handle = GlobalAlloc(GHND, sizeof(BITMAPINFOHEADER));
        BITMAPINFOHEADER& head = *static_cast<BITMAPINFOHEADER*>(GlobalLock(handle));
        head.biSize = sizeof head;
        head.biBitCount = row.bits;
        head.biClrUsed = row.coloursUsed;
        head.biCompression = row.compression;
        GlobalUnlock(handle);
        CHECK(scan::Dib(handle).rowsOffset() == row.expected);
    }
}

TEST_CASE("after a scan the next one can begin, and after a session the next one") {
    const ScannerSettings settings("Pages=2");
    for (int session = 0; session < 2; ++session) {
        scan::Session source;
        source.apply(small(SM_PIXEL_GRAY));
        CHECK(scanned(Way::Strips, source, 1) == "100x50, 5000 bytes; ok");
        CHECK(scanned(Way::Pages, source, 1) == "100x50 8 bit, rows at 1064 of 6064; ok");
        CHECK(text(source.close()) == "ok");
        CHECK_FALSE(source.isOpen());
    }
}

TEST_CASE("a source that can't be opened; a second session; a refused setting") {
    const std::string reason = "the source failed, and has told the user why";
    {
        const ScannerSettings settings("OpenFault=brightness");
        std::error_code error;
        const scan::Session failed(error);
        CHECK_FALSE(failed.isOpen());
        CHECK(error.message() == reason);
        CHECK_THROWS_WITH_AS(scan::Session(), ("opening the source: " + reason).c_str(), scan::Error);
    }
    const ScannerSettings settings("RefusedCapabilities=ICAP_XRESOLUTION");
    scan::Session session;
    CHECK_THROWS_AS(scan::Session(), scan::Error);
    const auto refused = session.apply(small(SM_PIXEL_GRAY));
    REQUIRE(refused.size() == 1);
    CHECK(std::string(refused[0].setting) + " " + text(refused[0].why) == "dotsPerInch 13");
}

TEST_CASE("what a handler throws comes out of the scan, and the session is as it was") {
    const ScannerSettings settings("Pages=2");
    scan::Session session;
    session.apply(small(SM_PIXEL_GRAY));
    int pages = 0;
    CHECK_THROWS_WITH(session.scanPages([&](scan::Dib) -> Next {
        ++pages;
        throw std::runtime_error("disk full");
    }),
                      "disk full");
    CHECK(pages == 1);
    CHECK(scanned(Way::Pages, session, 1) == "100x50 8 bit, rows at 1064 of 6064; ok");
}

TEST_CASE("a source that waits for its user: a timeout, or WM_QUIT, which reaches the program's own loop") {
    const ScannerSettings settings("UIControllable=0");
    scan::Session session;
    scan::Options options;
    options.timeout = std::chrono::milliseconds(300);
    CHECK(scanned(Way::Pages, session, 0, options) == std::to_string(scan::TimedOut));
    PostQuitMessage(7);
    CHECK(scanned(Way::Pages, session, 0) == std::to_string(scan::QuitMessage));
    MSG message;
    CHECK(PeekMessageA(&message, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE));
    CHECK(message.wParam == 7);
}
