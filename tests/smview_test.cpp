// The host with a window as its user meets it: the built program, driven by messages, with Wine's own manager
// and the virtual scanner.
#include <doctest.h>
#include <windows.h>
// Needs the one above.
#include <commctrl.h>

#include <functional>
#include <string>

#include "smview/Resources.h"

namespace {

constexpr DWORD patience = 20'000;  // milliseconds

// Polls until it is so.
bool becomes(const std::function<bool()>& condition) {
    for (DWORD start = GetTickCount(); !condition(); Sleep(5))
        if (GetTickCount() - start > patience) return false;
    return true;
}

// A setting of the virtual scanner, for programs started while it lives.
class Setting {
public:
    Setting(const char* name, const char* value) : name_(std::string("VSCAN_") + name) {
        SetEnvironmentVariableA(name_.c_str(), value);
    }
    ~Setting() { SetEnvironmentVariableA(name_.c_str(), nullptr); }
    Setting(const Setting&) = delete;
    Setting& operator=(const Setting&) = delete;

private:
    std::string name_;
};

class Program {
public:
    Program() {
        STARTUPINFOA startup = {};
        startup.cb = sizeof startup;
        char command[] = "smview.exe";
        REQUIRE(CreateProcessA(nullptr, command, nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                               &process_));
        REQUIRE(becomes([&] { return (window = find("Scan")) != nullptr && says("Ready."); }));
    }
    ~Program() {
        PostMessageA(window, WM_CLOSE, 0, 0);
        CHECK(WaitForSingleObject(process_.hProcess, patience) == WAIT_OBJECT_0);
        TerminateProcess(process_.hProcess, 9);
        CloseHandle(process_.hThread);
        CloseHandle(process_.hProcess);
    }
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    // A visible window of the program's.
    HWND find(const char* title) const {
        for (HWND each = nullptr; (each = FindWindowExA(nullptr, each, nullptr, title)) != nullptr;) {
            DWORD owner = 0;
            GetWindowThreadProcessId(each, &owner);
            if (owner == process_.dwProcessId && IsWindowVisible(each)) return each;
        }
        return nullptr;
    }
    std::string textOf(HWND dialog, int control) const {
        char text[400] = "";
        SendDlgItemMessageA(dialog, control, WM_GETTEXT, sizeof text, reinterpret_cast<LPARAM>(text));
        return text;
    }
    std::string text(int control) const { return textOf(window, control); }
    bool says(const std::string& status) const {
        return text(IDC_STATUS).compare(0, status.size(), status) == 0;
    }
    void type(int control, const char* text) const {
        SendDlgItemMessageA(window, control, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(text));
    }
    // Without waiting for what comes of it.
    void press(int control) const { PostMessageA(window, WM_COMMAND, static_cast<WPARAM>(control), 0); }
    bool isEnabled(int control) const { return IsWindowEnabled(GetDlgItem(window, control)) != FALSE; }
    LRESULT pages() const { return SendDlgItemMessageA(window, IDC_PAGE_LIST, LVM_GETITEMCOUNT, 0, 0); }

    HWND window = nullptr;

private:
    PROCESS_INFORMATION process_ = {};
};

LPARAM at(const RECT& place, double x, double y) {
    return MAKELPARAM(static_cast<int>(place.right * x), static_cast<int>(place.bottom * y));
}

}  // namespace

TEST_CASE("a preview, an area dragged on it, and the scan of that area") {
    const Program program;
    CHECK(program.text(IDC_MODE) == "color");
    program.press(IDC_PREVIEW);
    REQUIRE(becomes([&] { return program.says("Drag an area"); }));
    CHECK(program.pages() == 0);
    CHECK_FALSE(program.isEnabled(IDC_SAVE));

    // Across the whole view, so that the area is the whole glass: 11.7 x 17 inches.
    const HWND view = GetDlgItem(program.window, IDC_VIEW);
    RECT place;
    GetClientRect(view, &place);
    SendMessageA(view, WM_LBUTTONDOWN, MK_LBUTTON, at(place, 0.001, 0.001));
    SendMessageA(view, WM_MOUSEMOVE, MK_LBUTTON, at(place, 0.5, 0.5));
    SendMessageA(view, WM_LBUTTONUP, 0, at(place, 0.999, 0.999));
    CHECK(program.text(IDC_LEFT) == "0.0");
    CHECK(program.text(IDC_WIDTH) == "297.2");
    CHECK(program.text(IDC_HEIGHT).substr(0, 2) == "43");

    program.type(IDC_WIDTH, "50.8");
    program.type(IDC_HEIGHT, "25.4");
    program.type(IDC_RESOLUTION, "100");
    program.press(IDC_SCAN);
    REQUIRE(becomes([&] { return program.says("1 page."); }));
    CHECK(program.pages() == 1);
    CHECK_FALSE(program.says("1 page. Note"));  // the area came as it was asked for
    // A click takes the area away.
    SendMessageA(view, WM_LBUTTONDOWN, MK_LBUTTON, at(place, 0.5, 0.5));
    SendMessageA(view, WM_LBUTTONUP, 0, at(place, 0.5, 0.5));
}

TEST_CASE("several pages from the feeder, the first deleted; cancel in the middle keeps what is complete") {
    const Setting pages("Pages", "3"), mode("PixelType", "Gray");
    const Program program;
    program.press(IDC_PREVIEW);  // takes none of them
    REQUIRE(becomes([&] { return program.says("Drag an area"); }));
    program.type(IDC_PAGES, "all");
    program.type(IDC_RESOLUTION, "75");
    program.press(IDC_SCAN);
    REQUIRE(becomes([&] { return program.says("3 pages."); }));
    CHECK(program.pages() == 3);
    SendDlgItemMessageA(program.window, IDC_PAGE_LIST, WM_KEYDOWN, VK_HOME, 0);
    program.press(IDC_DELETE);
    CHECK(becomes([&] { return program.pages() == 2; }));
}

TEST_CASE("Cancel works in the middle of a page, and the next scan comes whole") {
    const Setting pages("Pages", "2"), delay("Delay", "15"), rows("StripRows", "10"),
        mode("PixelType", "Gray");
    const Program program;
    program.type(IDC_RESOLUTION, "75");
    program.press(IDC_SCAN);
    REQUIRE(
        becomes([&] { return SendDlgItemMessageA(program.window, IDC_PROGRESS, PBM_GETPOS, 0, 0) > 20; }));
    program.press(IDCANCEL);
    REQUIRE(becomes([&] { return program.says("Cancelled. No page was scanned."); }));
    CHECK(program.isEnabled(IDC_SCAN));
    CHECK_FALSE(program.isEnabled(IDCANCEL));
    program.press(IDC_SCAN);
    REQUIRE(becomes([&] { return program.says("1 page."); }));
}

TEST_CASE("errors come in words, with the condition; what a person types wrong is named") {
    const Setting jam("JamAtPage", "1");
    const Program program;
    program.press(IDC_SCAN);
    CHECK(becomes([&] { return program.says("Page 1: paper jam (condition code 20)"); }));
    program.type(IDC_BRIGHTNESS, "101");
    program.press(IDC_SCAN);
    CHECK(becomes(
        [&] { return program.says("brightness takes a whole number from -100 to 100, not \"101\"."); }));
    program.type(IDC_BRIGHTNESS, "0");
    program.type(IDC_WIDTH, "wide");
    program.press(IDC_SCAN);
    CHECK(becomes([&] { return program.says("\"wide\" is no number of millimetres"); }));
}

TEST_CASE("the source's own window holds the program's back, and what is chosen there comes") {
    const Setting name("ProductName", "Held Scanner"), mode("PixelType", "Gray");
    const Program program;
    program.type(IDC_RESOLUTION, "75");
    SendDlgItemMessageA(program.window, IDC_OWN_WINDOW, BM_CLICK, 0, 0);
    program.press(IDC_SCAN);
    REQUIRE(becomes([&] { return program.find("Held Scanner") != nullptr; }));
    CHECK(becomes([&] { return !IsWindowEnabled(program.window); }));
    PostMessageA(program.find("Held Scanner"), WM_COMMAND, IDOK, 0);
    REQUIRE(becomes([&] { return program.pages() == 1; }));
    if (const HWND open = program.find("Held Scanner")) PostMessageA(open, WM_COMMAND, IDCANCEL, 0);
    CHECK(becomes([&] { return program.says("1 page.") && IsWindowEnabled(program.window); }));
}

TEST_CASE("a capability is set in the table, and what the source made of it is told") {
    const Program program;
    program.press(IDC_CAPABILITIES);
    HWND table = nullptr;
    REQUIRE(becomes([&] { return (table = program.find("Capabilities of the source")) != nullptr; }));
    REQUIRE(becomes([&] { return SendDlgItemMessageA(table, IDC_TABLE, LVM_GETITEMCOUNT, 0, 0) > 30; }));
    const auto choose = [&](const char* name) {
        SendDlgItemMessageA(table, IDC_TABLE, WM_KEYDOWN, VK_HOME, 0);
        for (int i = 0; i < 60 && program.textOf(table, IDC_CHOSEN) != name; ++i)
            SendDlgItemMessageA(table, IDC_TABLE, WM_KEYDOWN, VK_DOWN, 0);
        CHECK(program.textOf(table, IDC_CHOSEN) == name);
    };
    const auto set = [&](const char* value) {
        SendDlgItemMessageA(table, IDC_VALUE, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(value));
        SendMessageA(table, WM_COMMAND, IDC_SET, 0);
        return program.textOf(table, IDC_RESULT);
    };
    choose("ICAP_BRIGHTNESS");
    CHECK(set("250") == " ICAP_BRIGHTNESS is now 250.");
    CHECK(set("250.5") == "The source made something else of it. ICAP_BRIGHTNESS is now 251.");
    CHECK(set("bright") == "\"bright\" is no value of type FIX32.");
    CHECK(set("5000") == "The source refuses it (return code 1).");
    choose("ICAP_XRESOLUTION");
    CHECK(set("300") == " ICAP_XRESOLUTION is now 300.");
    SendMessageA(table, WM_COMMAND, IDC_RESET, 0);
    CHECK(program.textOf(table, IDC_RESULT) == " ICAP_XRESOLUTION is now 150.");
    choose("ICAP_BRIGHTNESS");
    PostMessageA(table, WM_COMMAND, IDCANCEL, 0);
    // The form shows what the table changed.
    CHECK(becomes([&] { return program.text(IDC_BRIGHTNESS) == "25"; }));
}
