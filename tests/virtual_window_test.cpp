// The virtual scanner's own window: what can be chosen in it, what comes of that, keys, and how it closes.
#include "source/ScanChoices.h"
#include "source/SourceWindow.h"
#include "source/SourceWindowIds.h"
#include "support/MessageWindow.h"
#include "virtual_host.h"

using vscan::ListChoice;
using vscan::ScaleChoice;

namespace {

// The entries of a list, the chosen one in brackets: "Gray | [Color]".
std::string textOf(const vscan::ListOffer& offer) {
    std::string text;
    for (size_t i = 0; i < offer.texts.size(); ++i) {
        const bool chosen = static_cast<int>(i) == offer.chosen;
        text += (i > 0 ? " | " : "") + (chosen ? "[" + offer.texts[i] + "]" : offer.texts[i]);
    }
    return offer.changeable ? text : text + " (fixed)";
}

// A host whose scanner shows its window, and whoever sits before it.
class WindowHost : public VirtualHost {
public:
    explicit WindowHost(const std::string& settings, const std::string& before = "") : VirtualHost(settings) {
        if (!before.empty()) check(before);
        REQUIRE(answer("show") == "success");
    }

    HWND window() const { return scanner.window(); }
    HWND item(int id) const { return GetDlgItem(window(), id); }

    // Posts a message and hands all that wait to the source first, as hosts must.
    void post(HWND target, UINT kind, WPARAM word, LPARAM data = 0) {
        PostMessageA(target, kind, word, data);
        MSG message;
        while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) {
            TW_EVENT event{&message, 0xEEEE};
            const std::string taken = control(DAT_EVENT, MSG_PROCESSEVENT, &event);
            CHECK(event.TWMessage == MSG_NULL);
            if (taken == "event") continue;
            TranslateMessage(&message);
            DispatchMessageA(&message);
        }
    }
    void press(int id, WPARAM key) { post(item(id), WM_KEYDOWN, key); }
};

}  // namespace

TEST_CASE("the lists hold what the scanner has and the host left to choose from") {
    const std::string resolutions = "50 dpi | 75 dpi | 100 dpi | ";
    const struct {
        const char* settings;
        ListChoice list;
        std::string texts;
    } rows[] = {
        {"", ListChoice::Mode, "Black and white | Gray | [Color] | Palette color"},
        {"PixelTypes=Gray,BW PixelType=BW", ListChoice::Mode, "Gray | [Black and white]"},
        {"PixelType=Gray RefusedCapabilities=ICAP_PIXELTYPE ReadOnlyCapabilities=ICAP_PIXELTYPE",
         ListChoice::Mode, "Black and white | [Gray] | Color | Palette color (fixed)"},
        {"MaxResolution=150", ListChoice::Resolution, resolutions + "[150 dpi]"},
        {"MaxResolution=150 Resolution=140", ListChoice::Resolution, resolutions + "[140 dpi] | 150 dpi"},
        {"MaxResolution=100 ReadOnlyCapabilities=ICAP_YRESOLUTION", ListChoice::Resolution,
         "50 dpi | 75 dpi | [100 dpi] (fixed)"},
        {"BedWidth=8.6 BedHeight=11.7", ListChoice::Paper,
         "[A4, 210 x 297 mm] | B5, 182 x 257 mm | Letter, 8.5 x 11 in | A5, 148 x 210 mm | B6, 128 x 182 mm "
         "| A6, 105 x 148 mm | Whole scan area"},
        {"BedWidth=5 BedHeight=6 Paper=5x6", ListChoice::Paper, "A6, 105 x 148 mm | [Whole scan area]"},
        {"BedWidth=5 BedHeight=6 Paper=3x4.25", ListChoice::Paper,
         "A6, 105 x 148 mm | Whole scan area | [Area of 3 x 4.25 in]"}};
    for (const auto& row : rows) {
        CAPTURE(row.settings);
        const vscan::VirtualScannerSettings settings = settingsFrom(row.settings);
        vscan::ScanParameters parameters(settings, settings.paper);
        CHECK(textOf(vscan::ScanChoices(parameters).offer(row.list)) == row.texts);
    }
}

TEST_CASE("a choice sets its capabilities; what the host chose and no list holds lasts until then") {
    const vscan::VirtualScannerSettings settings = settingsFrom(
        "MaxResolution=100 PixelType=Gray BitDepth=16 BedWidth=5 BedHeight=6 Paper=3x4.25 "
        "ReadOnlyCapabilities=ICAP_CONTRAST");
    vscan::ScanParameters parameters(settings, settings.paper);
    parameters.choose(ICAP_YRESOLUTION, 50);
    vscan::ScanChoices choices(parameters);
    CHECK(textOf(choices.offer(ListChoice::Resolution)) == "50 dpi | 75 dpi | 100 dpi | [100 x 50 dpi]");
    CHECK(choices.summary() == "300 x 213 pixels, 8 bit, 0.06 MB");  // a bitmap's, by native transfer
    const auto numbers = [&] {
        std::string text;
        for (const int id : {ICAP_PIXELTYPE, ICAP_BITDEPTH, ICAP_XRESOLUTION, ICAP_YRESOLUTION,
                             ICAP_SUPPORTEDSIZES, ICAP_BRIGHTNESS, ICAP_CONTRAST})
            text += std::to_string(parameters.capabilities().number(id)) + " ";
        return text;
    };
    // The chosen mode once more; places that no list has.
    choices.choose(ListChoice::Mode, 1);
    choices.choose(ListChoice::Mode, 9);
    choices.choose(ListChoice::Resolution, 3);
    choices.choose(ListChoice::Paper, -1);
    choices.choose(ScaleChoice::Contrast, 5);
    CHECK(numbers() == "1 16 100 50 0 0 0 ");
    choices.choose(ListChoice::Resolution, 1);
    choices.choose(ListChoice::Paper, 0);
    choices.choose(ScaleChoice::Brightness, -70);
    CHECK(numbers() == "1 16 75 75 " + std::to_string(TWSS_A6) + " -70 0 ");
    choices.choose(ListChoice::Mode, 0);
    CHECK(numbers().substr(0, 4) == "0 1 ");
    CHECK(textOf(choices.offer(ListChoice::Resolution)) == "50 dpi | [75 dpi] | 100 dpi");
    CHECK(textOf(choices.offer(ListChoice::Paper)) == "[A6, 105 x 148 mm] | Whole scan area");
    CHECK(choices.offer(ScaleChoice::Brightness).value == -70);
    CHECK(!choices.offer(ScaleChoice::Contrast).changeable);
}

TEST_CASE("what is chosen with the keys is what the host is told, and what comes") {
    WindowHost host("Resolution=50 ProductName=WindowTest", "ICAP_UNITS 1: success");
    CHECK(FindWindowA(nullptr, "WindowTest") == host.window());
    host.press(SOURCE_MODE, VK_HOME);
    host.press(SOURCE_RESOLUTION, VK_DOWN);
    host.press(SOURCE_PAPER, VK_DOWN);  // from A4 to B5
    host.press(SOURCE_BRIGHTNESS, VK_HOME);
    host.press(SOURCE_CONTRAST, VK_RIGHT);
    char text[64];
    GetDlgItemTextA(host.window(), SOURCE_SUMMARY, text, sizeof text);
    CHECK(text == std::string("537 x 759 pixels, 1 bit, 0.05 MB"));
    GetDlgItemTextA(host.window(), SOURCE_BRIGHTNESS_VALUE, text, sizeof text);
    CHECK(text == std::string("-1000"));
    const std::string chosen =
        "ICAP_PIXELTYPE: one UINT16 0; ICAP_BITDEPTH: one UINT16 1; ICAP_SUPPORTEDSIZES: one UINT16 2; "
        "ICAP_XRESOLUTION: one FIX32 29+34574/65536; "  // 75 dpi in centimetres
        "ICAP_BRIGHTNESS: one FIX32 -1000; ICAP_CONTRAST: one FIX32 10; frame: 18 x 25";
    host.check(chosen);
    host.press(SOURCE_MODE, VK_RETURN);  // Scan is the default button
    host.check("state: 6; notes: ready ; image: 537 x 759, 1 bit; " + chosen + "; end: 0; disable: success");
    host.check(chosen);  // until the host sets something else
}

TEST_CASE("the window takes over what the host set and restricted") {
    VirtualHost restricted;
    REQUIRE(restricted.set(ICAP_PIXELTYPE, enumeration(TWTY_UINT16, {0, 1}, 1)) == "success");
    restricted.check("ICAP_BRIGHTNESS 300: success; show: success");
    const HWND mode = GetDlgItem(restricted.scanner.window(), SOURCE_MODE);
    CHECK(SendMessageA(mode, CB_GETCOUNT, 0, 0) == 2);
    CHECK(SendMessageA(mode, CB_GETCURSEL, 0, 0) == 1);
    char text[64];
    GetDlgItemTextA(restricted.scanner.window(), SOURCE_BRIGHTNESS_VALUE, text, sizeof text);
    CHECK(text == std::string("300"));
}

TEST_CASE("keys and buttons scan and close; while images are transferred the window rests") {
    WindowHost host("Pages=2 Paper=1x1");
    host.post(host.item(SOURCE_MODE), WM_SYSCHAR, 's', 1 << 29);  // Alt+S
    host.check("state: 6; notes: ready ");
    for (const int id : {IDOK, IDCANCEL, SOURCE_MODE, SOURCE_RESOLUTION, SOURCE_PAPER, SOURCE_BRIGHTNESS})
        CHECK(!IsWindowEnabled(host.item(id)));
    host.post(host.window(), WM_KEYDOWN, VK_ESCAPE);
    host.post(host.window(), WM_CLOSE, 0);
    host.check("notes: ready ; end: 1; end: 0; notes: ready ; state: 5");
    for (const int id : {IDOK, IDCANCEL, SOURCE_MODE, SOURCE_BRIGHTNESS})
        CHECK(IsWindowEnabled(host.item(id)));
    host.post(host.item(IDCANCEL), BM_CLICK, 0);
    host.post(host.window(), WM_KEYDOWN, VK_ESCAPE);
    host.post(host.window(), WM_CLOSE, 0);
    host.check("notes: ready close close close ; state: 5");
    const HWND window = host.window();
    host.check("disable: success");
    CHECK(!IsWindow(window));
}

TEST_CASE("the keyboard goes back to the control that had it, unless the person went elsewhere") {
    WindowHost host("Pages=1 Paper=1x1");
    const MessageWindow other("OtherWindow", [](UINT, WPARAM, LPARAM) { return false; });
    for (const bool leaves : {false, true}) {
        const HWND before = host.item(SOURCE_PAPER);
        SetFocus(before);
        REQUIRE(GetFocus() == before);
        host.press(SOURCE_PAPER, VK_RETURN);
        host.check("state: 6");
        if (leaves) SetFocus(other);
        host.check("end: 0");
        CHECK(GetFocus() == (leaves ? HWND{other} : before));
        host.check("disable: success; show: success");
    }
}

TEST_CASE("the window stays for another batch, asks to be closed, or opens behind the host's") {
    const struct {
        const char *settings, *afterBatch, *afterAnother;
    } rows[] = {{"Window=stay", "ready ", "ready ready "},
                {"Window=close", "ready close ", "ready close ready "},
                {"Refill=0", "ready ", "ready "}};  // the feeder stays empty
    for (const auto& row : rows) {
        WindowHost host(std::string("Paper=1x1 ") + row.settings);
        host.press(IDOK, VK_RETURN);
        host.check("notes: ready ; end: 0; state: 5; notes: ready ");  // not from inside the host's call
        host.post(host.window(), WM_NULL, 0);
        CHECK(host.notes == row.afterBatch);
        host.press(IDOK, VK_RETURN);
        CHECK(host.notes == row.afterAnother);
    }
    const MessageWindow hosts("HostWindow", [](UINT, WPARAM, LPARAM) { return false; });
    ShowWindow(hosts, SW_SHOW);
    for (const bool behind : {false, true}) {
        VirtualHost host(std::string("Window=") + (behind ? "behind" : "stay"));
        TW_USERINTERFACE shown{TRUE, FALSE, hosts};
        REQUIRE(host.control(DAT_USERINTERFACE, MSG_ENABLEDS, &shown) == "success");
        const HWND window = host.scanner.window();
        CHECK(IsWindowVisible(window));
        CHECK(GetWindow(window, GW_OWNER) == (behind ? nullptr : HWND{hosts}));
        bool below = false;
        for (HWND next = hosts; (next = GetWindow(next, GW_HWNDNEXT)) != nullptr;)
            below = below || next == window;
        CHECK(below == behind);
    }
}

TEST_CASE("the preview shows the page as it is chosen, in the middle of its place") {
    WindowHost host("BedWidth=5 BedHeight=6 Paper=2x4");
    DRAWITEMSTRUCT item{};
    GetClientRect(host.item(SOURCE_PREVIEW), &item.rcItem);
    const LONG right = item.rcItem.right - 1, bottom = item.rcItem.bottom - 1;
    BITMAPINFO format{};
    format.bmiHeader = {sizeof format.bmiHeader, right + 1, bottom + 1, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
    void* bits = nullptr;
    const HBITMAP bitmap = CreateDIBSection(nullptr, &format, DIB_RGB_COLORS, &bits, nullptr, 0);
    item.hDC = CreateCompatibleDC(nullptr);
    const HGDIOBJ before = SelectObject(item.hDC, bitmap);
    // What is in the middle, at the left, right, upper and lower edge: white, black, or nothing of the page.
    const auto seen = [&] {
        SendMessageA(host.window(), WM_DRAWITEM, SOURCE_PREVIEW, reinterpret_cast<LPARAM>(&item));
        std::string text;
        for (const POINT& point : {POINT{right / 2, bottom / 2},
                                   {0, bottom / 2},
                                   {right, bottom / 2},
                                   {right / 2, 0},
                                   {right / 2, bottom}}) {
            const COLORREF color = GetPixel(item.hDC, point.x, point.y);
            text += color == 0 ? 'b' : color == RGB(255, 255, 255) ? 'w' : '-';
        }
        return text;
    };
    host.press(SOURCE_BRIGHTNESS, VK_END);
    CHECK(seen() == "w--ww");  // taller than its place is
    host.press(SOURCE_BRIGHTNESS, VK_HOME);
    CHECK(seen() == "b--bb");
    host.press(SOURCE_PAPER, VK_UP);  // from the host's area to the whole glass, which is wider
    CHECK(seen() == "bbb--");
    SelectObject(item.hDC, before);
    DeleteDC(item.hDC);
    DeleteObject(bitmap);
}
