// The trace viewer as its user meets it: the built program, its window driven by messages, with the module as
// sender.
#include <doctest.h>
#include <windows.h>
// Needs the one above.
#include <commctrl.h>

#include <regex>

#include "Module.h"
#include "WindowsFiles.h"
#include "smtrace/Resources.h"

namespace {

constexpr DWORD patience = 20'000;  // milliseconds

// Polls until it is so.
template <class Condition>
bool becomes(const Condition& condition) {
    for (DWORD start = GetTickCount(); !condition(); Sleep(5))
        if (GetTickCount() - start > patience) return false;
    return true;
}

class Program {
public:
    explicit Program(const std::string& arguments) {
        STARTUPINFOA startup = {};
        startup.cb = sizeof startup;
        std::string command = "smtrace.exe " + arguments;
        REQUIRE(CreateProcessA(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                               &startup, &process_));
    }
    ~Program() {
        TerminateProcess(process_.hProcess, 9);
        CloseHandle(process_.hThread);
        CloseHandle(process_.hProcess);
    }
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    DWORD exitCode() const {
        DWORD code = STILL_ACTIVE;
        if (WaitForSingleObject(process_.hProcess, patience) == WAIT_OBJECT_0)
            GetExitCodeProcess(process_.hProcess, &code);
        return code;
    }

private:
    PROCESS_INFORMATION process_ = {};
};

// The window, as soon as it answers; with its controls.
struct Viewer {
    const Program program{""};
    HWND window = nullptr;

    Viewer() {
        REQUIRE(becomes([&] {
            window = FindWindowA(nullptr, "Scan module trace");
            return window != nullptr && FindWindowA("KTWDiagXprt32", nullptr) != nullptr &&
                   !text(IDC_STATUS).empty();
        }));
    }
    ~Viewer() { SendMessageA(window, WM_CLOSE, 0, 0); }

    std::string text(int control) const {
        char text[300] = "";
        SendDlgItemMessageA(window, control, WM_GETTEXT, sizeof text, reinterpret_cast<LPARAM>(text));
        return text;
    }
    void click(int control) const { SendDlgItemMessageA(window, control, BM_CLICK, 0, 0); }
    void type(int control, const char* text) const {
        SendDlgItemMessageA(window, control, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(text));
    }
    bool isChecked(int control) const { return SendDlgItemMessageA(window, control, BM_GETCHECK, 0, 0) != 0; }
    bool shows(size_t lines) const {
        return becomes([&] {
            return SendDlgItemMessageA(window, IDC_LINES, LVM_GETITEMCOUNT, 0, 0) ==
                   static_cast<LRESULT>(lines);
        });
    }
    std::string copied() const {
        SendMessageA(window, WM_COMMAND, IDC_COPY, 0);
        std::string text;
        REQUIRE(OpenClipboard(nullptr));
        if (const auto* const given = static_cast<const char*>(GetClipboardData(CF_TEXT))) text = given;
        CloseClipboard();
        return text;
    }
};

// What a module sends, separators not counted: when it is loaded, and for one IsTWAINAvailable.
constexpr size_t linesOfStart = 10, linesOfCall = 9;

size_t linesIn(const std::string& text, const std::string& part) {
    size_t count = 0;
    for (size_t at = 0; (at = text.find(part, at)) != std::string::npos; at += part.size())
        ++count;
    return count;
}

// Loads the module, calls it, and unloads it; all lines must be in the log, in their order.
void flood(size_t calls) {
    const SavedFile log(temporaryFolder() + "smtrace.log");
    const std::string& path = log.path();
    {
        const Program program("--log " + path + " --statistics");
        REQUIRE(becomes([] { return FindWindowA("KTWDiagXprt32", nullptr) != nullptr; }));
        Module module;
        for (size_t i = 0; i < calls; ++i)
            module.IsTWAINAvailable();
        module.unload();
        REQUIRE(becomes([&] { return linesIn(readFile(path), "End Scan Module") == 1; }));
    }
    const std::string text = readFile(path);
    CHECK(linesIn(text, "Leaving TScanModule::IsTWAINAvailable") == calls);
    CHECK(linesIn(text, "IsTWAINLoaded returns TRUE") == 2 * calls + 1);
}

}  // namespace

TEST_CASE("the window shows, filters, finds, holds, copies, counts and switches while a module sends") {
    const TraceSwitches switches;
    Viewer viewer;
    Module module;
    CHECK(viewer.shows(linesOfStart));
    module.IsTWAINAvailable();
    module.SetADFEnable(TRUE);
    const size_t all = linesOfStart + 2 * linesOfCall + 3;
    CHECK(viewer.shows(all));
    CHECK(viewer.text(IDC_STATUS) == "31 lines, 31 shown, 1 warnings, 0 fatal");

    SUBCASE("by level and by text; what is found is selected, and copied alone") {
        viewer.click(IDC_SHOW_TRACE);
        CHECK(viewer.shows(1));
        const std::regex form(
            " +\\+\\d+\\.\\d{3} +\\d+ Warning {3}Sequence error in TScanModule::SetADFEnable  "
            "\\(.*sm/capabilities/FeederCaps\\.cpp \\d+\\)\r\n");
        CHECK_MESSAGE(std::regex_match(viewer.copied(), form), viewer.copied());
        CHECK(viewer.copied().find(" " + std::to_string(GetCurrentProcessId()) + " ") != std::string::npos);
        viewer.click(IDC_SHOW_TRACE);
        viewer.type(IDC_FILTER, "returns");
        CHECK(viewer.shows(7));
        viewer.type(IDC_FIND, "AVAILABLE RETURNS");
        viewer.click(IDC_FIND_NEXT);
        CHECK(linesIn(viewer.copied(), "\n") == 1);
        CHECK(viewer.copied().find("IsTWAINAvailable returns TRUE") != std::string::npos);
        viewer.type(IDC_FIND, "no such text");
        viewer.click(IDC_FIND_NEXT);
        CHECK(viewer.text(IDC_STATUS).find("Not found: no such text") != std::string::npos);
    }
    SUBCASE("holds what it shows, and loses nothing meanwhile") {
        viewer.click(IDC_PAUSE);
        module.IsTWAINAvailable();
        CHECK(becomes(
            [&] { return viewer.text(IDC_STATUS) == "40 lines, 31 shown, 1 warnings, 0 fatal  -  paused"; }));
        viewer.click(IDC_PAUSE);
        CHECK(viewer.shows(all + linesOfCall));
        viewer.click(IDC_CLEAR);
        module.IsTWAINAvailable();
        CHECK(viewer.shows(linesOfCall));
    }
    SUBCASE("the module's switches") {
        viewer.click(IDC_SEND_TRACE);
        module.SetADFEnable(TRUE);
        CHECK(viewer.shows(all + 1));
        viewer.click(IDC_SEND_WARNINGS);
        module.SetADFEnable(TRUE);
        viewer.click(IDC_SEND_TRACE);
        module.IsTWAINAvailable();
        CHECK(viewer.shows(all + 1 + linesOfCall));
        WritePrivateProfileStringA("Debug", "Warning", "1", "DEBUGSM.INI");
        CHECK(becomes([&] { return viewer.isChecked(IDC_SEND_WARNINGS); }));
    }
    SUBCASE("the calls and their times") {
        viewer.click(IDC_STATISTICS);
        HWND window = nullptr;
        CHECK(
            becomes([&] { return (window = FindWindowA(nullptr, "Calls and the time inside")) != nullptr; }));
        // TScanModule, LoadTWAIN, IsTWAINLoaded, IsTWAINAvailable, SetADFEnable
        CHECK(becomes([&] { return SendDlgItemMessageA(window, IDC_METHODS, LVM_GETITEMCOUNT, 0, 0) == 5; }));
    }
}

TEST_CASE("a second viewer says that there is one, and the first goes on") {
    const Viewer viewer;
    CHECK(Program("--log smtrace-second.log").exitCode() == 1);
    const Module module;
    CHECK(viewer.shows(linesOfStart));
}

TEST_CASE("a flood of lines is written whole") {
    flood(1000);
}

// scripts/wine.sh --prefix tests build/mingw32/bin/tests/smtrace_tests.exe --no-skip --test-case=*200?000*
TEST_CASE("a flood of 200,000 lines is written whole" * doctest::skip()) {
    flood(22'223);
}

TEST_CASE("a command is started and ends smtrace with its own code; a log that can't be written is named") {
    CHECK(Program("--console cmd.exe /c exit 7").exitCode() == 7);
    CHECK(Program("--console no-such-program.exe").exitCode() == 1);
    CHECK(Program("--log no-such-folder\\x.log cmd.exe").exitCode() == 1);
    CHECK(Program("--console --loud").exitCode() == 2);
}
