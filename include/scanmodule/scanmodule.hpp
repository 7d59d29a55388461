/*
 * Scan module: a thin C++17 layer over scanmodule.h, for hosts that link ScanModule.dll. Header only.
 *
 *   scan::Session session("my program");                    // opens the chosen source, or the default one
 *   const auto refused = session.apply(settings);           // what the source didn't take, and why
 *   session.scanPages([](scan::Dib page) { ...; return scan::Next::Go; });
 *
 * What can fail does so in one of two ways, as in <filesystem>: it throws scan::Error, or, given a
 * std::error_code, sets that. Codes are the module's results, with texts. All functions of scanmodule.h can
 * be called beside this; scan::check and scan::toCode make errors of their results.
 *
 * The module holds one session for a process, so a second scan::Session fails while the first one lives. All
 * calls come from one thread, which has the message loop while a scan runs.
 */
#ifndef SCANMODULE_SCANMODULE_HPP
#define SCANMODULE_SCANMODULE_HPP

#include <scanmodule/scanmodule.h>

#include <algorithm>
#include <chrono>
#include <exception>
#include <functional>
#include <optional>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

namespace scan {

// ---- Errors
// ------------------------------------------------------------------------------------------------

// What this layer finds out itself, beside the module's results.
enum LayerResult {
    IncompletePage = 1001,  // the source says that a page is done, and rows of it are missing, or all
    TimedOut = 1002,        // nothing came from the source for Options::timeout
    NoWindow = 1003,        // Windows gives no window to receive the pages with
    QuitMessage = 1004      // WM_QUIT ended the message loop; it is posted again
};

class Category : public std::error_category {
public:
    const char* name() const noexcept override { return "ScanModule"; }
    std::string message(int result) const override {
        static const std::pair<int, const char*> texts[] = {
            {SM_RESULT_OK, "done"},
            {SM_RESULT_NOT_AVAILABLE, "there is no TWAIN manager (TWAIN_32.DLL) in the Windows folder"},
            {SM_XFEREND_CANCELLED_BY_SOURCE, "cancelled at the source"},
            {SM_XFEREND_CANCELLED_BY_HOST, "cancelled by the program"},
            {SM_RESULT_SELECT_CANCELLED, "the user chose no source"},
            {SM_CONDITION_BUMMER, "a failure of unknown cause"},
            {SM_CONDITION_LOW_MEMORY, "not enough memory"},
            {SM_CONDITION_NO_DS, "there is no source"},
            {SM_CONDITION_MAX_CONNECTIONS, "another program uses the source"},
            {SM_CONDITION_OPERATION_ERROR, "the source failed, and has told the user why"},
            {SM_CONDITION_BAD_CAP, "the source doesn't know this setting"},
            {SM_CONDITION_BAD_PROTOCOL, "the source doesn't know this operation"},
            {SM_CONDITION_BAD_VALUE, "the source doesn't take this value"},
            {SM_CONDITION_SEQ_ERROR, "not allowed in the present state"},
            {SM_CONDITION_BAD_DEST, "there is no such source"},
            {SM_CONDITION_CAP_UNSUPPORTED, "the source doesn't have this setting"},
            {SM_CONDITION_CAP_BAD_OPERATION, "the source doesn't allow this of the setting"},
            {SM_CONDITION_CAP_SEQ_ERROR, "the source doesn't allow this setting now"},
            {SM_CONDITION_DENIED, "access denied"},
            {SM_CONDITION_PAPER_JAM, "paper jam"},
            {SM_CONDITION_PAPER_DOUBLE_FEED, "several sheets were fed at once"},
            {SM_CONDITION_FILE_WRITE_ERROR, "the file can't be written"},
            {SM_CONDITION_CHECK_DEVICE_ONLINE, "the device is off or not connected"},
            {IncompletePage, "the source gave no page, or only a part of one"},
            {TimedOut, "nothing came from the source for too long"},
            {NoWindow, "Windows gives no window to receive pages with"},
            {QuitMessage, "the program is ending"},
        };
        for (const auto& [code, text] : texts)
            if (code == result) return text;
        return "condition code " + std::to_string(result);
    }
};

inline const std::error_category& category() {
    static const Category only;
    return only;
}

// A result of the module's as a code: none for 0.
inline std::error_code toCode(int result) {
    return {result, category()};
}

// what(): "opening the source: there is no source". code().value() is the module's result.
class Error : public std::system_error {
public:
    Error(std::error_code code, const char* what) : std::system_error(code, what) {}
};

// Throws unless the code is that of success.
inline void check(std::error_code code, const char* what) {
    if (code) throw Error(code, what);
}
inline void check(int result, const char* what) {
    check(toCode(result), what);
}

// ---- Sources
// -----------------------------------------------------------------------------------------------

// Whether there is a TWAIN manager.
inline bool isAvailable() {
    return smIsTWAINAvailable() != 0;
}

// The source that the next session opens: the user's choice in the manager's dialog, or by name.
inline void selectSource(HWND owner, std::error_code& error) {
    error = toCode(smSelectDS(owner));
}
inline void selectSource(HWND owner) {
    check(smSelectDS(owner), "selecting a source");
}
inline void chooseSource(const std::string& productName, std::error_code& error) {
    error = toCode(smSetDefaultDriver(nullptr, productName.c_str()));
}
inline void chooseSource(const std::string& productName) {
    check(smSetDefaultDriver(nullptr, productName.c_str()), "choosing the source");
}

// ---- Pages
// -------------------------------------------------------------------------------------------------

// A page as a packed DIB: a BITMAPINFOHEADER, the palette, the rows, bottom up. Frees it.
class Dib {
public:
    explicit Dib(HGLOBAL handle) : handle_(handle), memory_(GlobalLock(handle)) {}
    Dib(Dib&& other) noexcept
        : handle_(std::exchange(other.handle_, nullptr)), memory_(std::exchange(other.memory_, nullptr)) {}
    Dib& operator=(Dib&& other) noexcept {
        std::swap(handle_, other.handle_);
        std::swap(memory_, other.memory_);
        return *this;
    }
    ~Dib() {
        if (const HGLOBAL handle = release()) GlobalFree(handle);
    }

    const BITMAPINFOHEADER& header() const { return *static_cast<const BITMAPINFOHEADER*>(memory_); }
    const void* data() const { return memory_; }
    std::size_t size() const { return GlobalSize(handle_); }

    // From the beginning to the rows.
    std::size_t rowsOffset() const {
        const BITMAPINFOHEADER& head = header();
        std::size_t colours = head.biClrUsed;
        if (colours == 0 && head.biBitCount <= 8) colours = std::size_t{1} << head.biBitCount;
        const std::size_t masks = head.biCompression == BI_BITFIELDS ? 3 : 0;
        return head.biSize + (colours + masks) * sizeof(RGBQUAD);
    }

    // The handle, for the clipboard or another owner, who frees it.
    HGLOBAL release() {
        if (memory_) GlobalUnlock(handle_);
        memory_ = nullptr;
        return std::exchange(handle_, nullptr);
    }

private:
    HGLOBAL handle_;
    void* memory_;
};

enum class Next { Go, Stop };

// What is set before a scan; what has no value stays as the source has it.
struct Settings {
    std::optional<bool> feeder;
    std::optional<SmPixelType> pixelType;
    std::optional<unsigned short> bitsPerPixel;
    std::optional<unsigned short> dotsPerInch;
    std::optional<SmPaperSize> paper;
    std::optional<SmImageLayout> area;  // inches
    std::optional<short> brightness;    // -1000 to 1000
    std::optional<short> contrast;      // -1000 to 1000
    std::optional<int> pages;           // -1: any number
};

struct Refusal {
    const char* setting;  // the field's name
    std::error_code why;
};

struct Options {
    bool showUi = false;                   // the source's own window; its user needs time, so no timeout then
    std::chrono::milliseconds timeout{0};  // how long the source may say nothing; 0: for ever
};

// ---- The session
// -------------------------------------------------------------------------------------------

// An open source: opened by the constructor, closed by the destructor. It can't be copied or moved; where it
// has to, a std::unique_ptr holds it.
class Session {
public:
    // hostName: what the program calls itself at the source; null: the module's own name. owner: the
    // program's window, above which the source's windows stand.
    explicit Session(const char* hostName = nullptr, HWND owner = nullptr) {
        check(open(hostName, owner), "opening the source");
    }
    explicit Session(std::error_code& error, const char* hostName = nullptr, HWND owner = nullptr) {
        error = open(hostName, owner);
    }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;
    ~Session() {
        if (close()) leave();
    }

    bool isOpen() const { return window_ != nullptr; }

    // What the destructor does, with its result. When the source refuses it stays open: try again.
    std::error_code close() {
        if (!isOpen()) return {};
        smDisableDS();
        if (const int result = smCloseDS()) return toCode(result);
        leave();
        return {};
    }

    std::string productName() const {
        char name[SM_NAME_SIZE] = "";
        smGetDSProductName(name);
        return name;
    }

    // Sets what has a value, in an order in which one setting doesn't undo another. The source refused what
    // is in the list. What it made of the others (a resolution it rounded) the getters of scanmodule.h tell.
    std::vector<Refusal> apply(const Settings& wanted) {
        std::vector<Refusal> refused;
        const auto set = [&refused](const char* setting, const auto& value, auto setter) {
            if (!value) return;
            if (const std::error_code why = toCode(setter(*value))) refused.push_back({setting, why});
        };
        set("feeder", wanted.feeder, [](bool on) { return smSetADFEnable(on); });
        set("pixelType", wanted.pixelType, [](int type) { return smSetPixelType(word(type)); });
        set("bitsPerPixel", wanted.bitsPerPixel, smSetBitDepth);
        set("dotsPerInch", wanted.dotsPerInch, [](unsigned short dpi) {
            const int result = smSetXResolution(dpi);
            return result ? result : smSetYResolution(dpi);
        });
        set("paper", wanted.paper, [](int size) { return smSetPaperSize(word(size)); });
        set("area", wanted.area,
            [](const SmImageLayout& area) { return smSetImageLayout(area, SM_UNIT_INCHES); });
        set("brightness", wanted.brightness, [](short value) { return smSetBrightness(value, -1000, 1000); });
        set("contrast", wanted.contrast, [](short value) { return smSetContrast(value, -1000, 1000); });
        set("pages", wanted.pages, smSetXferCount);
        return refused;
    }

    using PageHandler = std::function<Next(Dib page)>;

    // Scans, and hands over each page as it comes (native transfer). Returns when the source has no more
    // pages, the handler said Stop, or its exception, which comes out here. With an error the pages handed
    // over before it are whole.
    void scanPages(PageHandler onPage, std::error_code& error, const Options& options = {}) {
        error = toCode(smSetXferMech(SM_MECH_NATIVE));
        if (error) return;
        onPage_ = std::move(onPage);
        error = run(options);
    }
    void scanPages(PageHandler onPage, const Options& options = {}) {
        std::error_code error;
        scanPages(std::move(onPage), error, options);
        check(error, "scanning");
    }

    using StripHandler = std::function<Next(const TXferStripInfo& strip)>;
    using EndHandler = std::function<Next(const TXferImageInfo& page)>;

    // The same in strips of rows, as the source delivers them (memory transfer): no page is held whole. onEnd
    // follows the last strip of each whole page.
    void scanStrips(StripHandler onStrip, EndHandler onEnd, std::error_code& error,
                    const Options& options = {}) {
        error = toCode(smSetXferMech(SM_MECH_MEMORY));
        if (error) return;
        onStrip_ = std::move(onStrip);
        onEnd_ = std::move(onEnd);
        error = run(options);
    }
    void scanStrips(StripHandler onStrip, EndHandler onEnd, const Options& options = {}) {
        std::error_code error;
        scanStrips(std::move(onStrip), std::move(onEnd), error, options);
        check(error, "scanning");
    }

    // Ends a running scan from a handler of the program's own windows.
    void cancel() { stopped_ = true; }

private:
    static unsigned short word(int value) { return static_cast<unsigned short>(value); }

    std::error_code open(const char* hostName, HWND owner) {
        if (current_) return toCode(SM_CONDITION_SEQ_ERROR);
        // Owned, so that the source's windows, whose parent it is, stand above the program's.
        window_ = CreateWindowExA(0, "STATIC", "", WS_POPUP, 0, 0, 0, 0, owner, nullptr, nullptr, nullptr);
        if (!window_) return toCode(NoWindow);
        SetWindowLongA(window_, GWL_WNDPROC, static_cast<LONG>(reinterpret_cast<LONG_PTR>(onMessage)));
        current_ = this;
        const int result = smOpenDS(window_, hostName);
        if (result) leave();
        return toCode(result);
    }

    void leave() {
        DestroyWindow(std::exchange(window_, nullptr));
        current_ = nullptr;
    }

    std::error_code run(const Options& options) {
        result_ = 0;
        stopped_ = closing_ = false;
        thrown_ = nullptr;
        std::error_code error = toCode(smEnableDS(options.showUi, 0));
        if (!error) {
            loop(options);
            error = toCode(smDisableDS());
        }
        onPage_ = nullptr;
        onStrip_ = nullptr;
        onEnd_ = nullptr;
        if (thrown_) std::rethrow_exception(std::exchange(thrown_, nullptr));
        return result_ ? toCode(result_) : error;
    }

    void loop(const Options& options) {
        // Wakes the loop when no messages come.
        const UINT_PTR timer = SetTimer(window_, 1, 200, nullptr);
        lastSign_ = GetTickCount();
        while (!closing_ && !stopped_) {
            MSG message;
            if (GetMessageA(&message, nullptr, 0, 0) <= 0) {
                fail(QuitMessage);
                PostQuitMessage(static_cast<int>(message.wParam));
            } else if (!smIsDSEvent(&message)) {
                TranslateMessage(&message);
                DispatchMessageA(&message);
            }
            const auto limit = options.timeout.count();
            if (limit > 0 && !closing_ && GetTickCount() - lastSign_ > static_cast<DWORD>(limit))
                fail(TimedOut);
        }
        KillTimer(window_, timer);
    }

    // The first failure counts; the scan ends.
    void fail(int result) {
        if (!result_) result_ = result;
        stop();
    }
    void stop() {
        stopped_ = true;
        smCancelAllXfer();
    }
    void follow(Next next) {
        if (next == Next::Stop) stop();
    }

    void onStart(TXferImageInfo& image) {
        dib_ = nullptr;
        rows_ = 0;
        if (stopped_)
            stop();
        else if (image.XferMech != (onPage_ ? SM_MECH_NATIVE : SM_MECH_MEMORY))
            fail(SM_CONDITION_LOW_MEMORY);  // a page larger than memory: the module turns to files
        else if (onPage_)
            image.Target.Dib = &dib_;
    }

    void onStrip(const TXferStripInfo& strip) {
        rows_ = (std::max)(rows_, strip.YOffset + strip.Rows);
        if (stopped_)
            stop();
        else if (onStrip_)
            follow(onStrip_(strip));
    }

    void onEnd(int result, const TXferImageInfo& image) {
        std::optional<Dib> page;
        if (dib_) page.emplace(std::exchange(dib_, nullptr));
        if (stopped_)
            stop();
        else if (result)
            fail(result);
        else if (onPage_ && page && page->data() && page->size() >= sizeof(BITMAPINFOHEADER))
            follow(onPage_(std::move(*page)));
        else if (onEnd_ && rows_ > 0 && (image.ImageLength < 0 || rows_ >= unsigned(image.ImageLength)))
            follow(onEnd_(image));
        else
            fail(IncompletePage);
    }

    // Nothing may be thrown through the module and Windows, which call this.
    template <class Step>
    void guarded(Step step) {
        lastSign_ = GetTickCount();
        try {
            step();
        } catch (...) {
            if (!thrown_) thrown_ = std::current_exception();
            stop();
        }
        lastSign_ = GetTickCount();
    }

    static LRESULT CALLBACK onMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
        static const UINT start = RegisterWindowMessageA(SM_MESSAGE_XFERSTART);
        static const UINT data = RegisterWindowMessageA(SM_MESSAGE_XFERDATA);
        static const UINT end = RegisterWindowMessageA(SM_MESSAGE_XFEREND);
        static const UINT close = RegisterWindowMessageA(SM_MESSAGE_CLOSEDSREQ);
        Session* const session = current_;
        if (!session || window != session->window_) return DefWindowProcA(window, message, wParam, lParam);
        auto* const image = reinterpret_cast<TXferImageInfo*>(lParam);
        if (message == start)
            session->guarded([&] { session->onStart(*image); });
        else if (message == data)
            session->guarded([&] { session->onStrip(*reinterpret_cast<const TXferStripInfo*>(lParam)); });
        else if (message == end)
            session->guarded([&] { session->onEnd(static_cast<int>(wParam), *image); });
        else if (message == close)
            session->closing_ = true;
        else
            return DefWindowProcA(window, message, wParam, lParam);
        return 0;
    }

    inline static Session* current_ = nullptr;

    HWND window_ = nullptr;
    PageHandler onPage_;
    StripHandler onStrip_;
    EndHandler onEnd_;
    HGLOBAL dib_ = nullptr;
    unsigned rows_ = 0;
    DWORD lastSign_ = 0;
    int result_ = 0;
    bool stopped_ = false;
    bool closing_ = false;
    std::exception_ptr thrown_;
};

}  // namespace scan

#endif
