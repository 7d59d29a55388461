#include <Version.h>
#include <windows.h>
// Needs the one above.
#include <shellapi.h>

#include <iterator>
#include <memory>

#include "smtrace/LineText.h"
#include "smtrace/LogWriter.h"
#include "smtrace/MainWindow.h"
#include "smtrace/Options.h"
#include "smtrace/Receiver.h"
#include "windows/Handle.h"
#include "windows/WideText.h"

namespace smtrace {

using namespace gui;

namespace {

enum ExitCode : DWORD { Done = 0, Failed = 1, Usage = 2 };

// Never closed: the handler may run until the process ends.
HANDLE stopped = nullptr;

BOOL WINAPI onConsoleEvent(DWORD event) {
    SetEvent(stopped);
    // After the others Windows ends the process as soon as this returns; the last lines are still to be
    // written.
    if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT) Sleep(INFINITE);
    return TRUE;
}

std::vector<std::wstring> commandLineWords() {
    int count = 0;
    wchar_t** const words = CommandLineToArgvW(GetCommandLineW(), &count);
    std::vector<std::wstring> list(words + 1, words + count);
    LocalFree(words);
    return list;
}

// A program with windows has no console of its own. It gets that of who started it, unless its output goes
// elsewhere anyway.
void useConsoleOfCaller() {
    if (GetFileType(GetStdHandle(STD_OUTPUT_HANDLE)) == FILE_TYPE_UNKNOWN &&
        AttachConsole(ATTACH_PARENT_PROCESS))
        for (const DWORD stream : {STD_OUTPUT_HANDLE, STD_ERROR_HANDLE})
            SetStdHandle(stream, CreateFileW(L"CONOUT$", GENERIC_WRITE, FILE_SHARE_WRITE, nullptr,
                                             OPEN_EXISTING, 0, nullptr));
    SetConsoleOutputCP(CP_UTF8);
}

void print(DWORD stream, const std::wstring& text) {
    const HANDLE handle = GetStdHandle(stream);
    if (!writeAll(handle, utf8(text)) && stream == STD_ERROR_HANDLE)
        MessageBoxW(nullptr, text.c_str(), L"smtrace", MB_OK | MB_ICONWARNING);
}

DWORD refuse(const std::wstring& text, DWORD code) {
    print(STD_ERROR_HANDLE, L"smtrace: " + text + L"\n");
    return code;
}

// Waits for the command's end, or Ctrl+C if there is none. The command gets Ctrl+C itself.
DWORD waitForEnd(const Options& options) {
    if (options.command.empty()) {
        WaitForSingleObject(stopped, INFINITE);
        return Done;
    }
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process;
    std::wstring commandLine = options.command;
    if (!CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup,
                        &process))
        return refuse(L"Cannot start " + options.command + L": " + lastErrorText(), Failed);
    const Handle thread = owned(process.hThread), child = owned(process.hProcess);
    WaitForSingleObject(child.get(), INFINITE);
    DWORD code = Failed;
    GetExitCodeProcess(child.get(), &code);
    return code;
}

DWORD runWithoutWindow(const Options& options) {
    LineStore store;
    Senders senders;
    std::vector<LogWriter::Output> outputs;
    Handle file;
    if (!options.log.empty()) {
        file = owned(CreateFileW(options.log.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_ALWAYS,
                                 FILE_ATTRIBUTE_NORMAL, nullptr));
        if (!file) return refuse(L"Cannot write " + options.log + L": " + lastErrorText(), Failed);
        outputs.push_back({options.log, file.get()});
    }
    if (options.console) outputs.push_back({L"the standard output", GetStdHandle(STD_OUTPUT_HANDLE)});

    stopped = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    SetConsoleCtrlHandler(onConsoleEvent, TRUE);
    LogWriter writer(store, outputs, true);
    const auto receiver = std::make_unique<Receiver>(store, senders);
    const DWORD code = waitForEnd(options);
    const std::wstring failure = writer.finish();
    if (options.statistics) print(STD_OUTPUT_HANDLE, fromUtf8(statisticsText(store.statistics())));
    if (!failure.empty()) return refuse(failure, Failed);
    if (store.lost() != 0)
        return refuse(std::to_wstring(store.lost()) + L" lines lost for want of memory", Failed);
    return code;
}

DWORD run() {
    useConsoleOfCaller();
    const Options options = parseOptions(commandLineWords());
    if (options.help || options.version) {
        const std::wstring version = L"smtrace " + fromAnsi(SCANMODULE_VERSION_TEXT) + L"\n";
        print(STD_OUTPUT_HANDLE, options.help ? helpText : version);
        return Done;
    }
    if (!options.showsWindow()) return runWithoutWindow(options);
    LineStore store;
    Senders senders;
    const Receiver receiver(store, senders);
    MainWindow(store, senders).run();
    return Done;
}

}  // namespace

}  // namespace smtrace

int WINAPI WinMain(HINSTANCE, HINSTANCE, char*, int) {
    using namespace smtrace;
    try {
        return static_cast<int>(run());
    } catch (const UsageError& error) {
        return static_cast<int>(refuse(error.text + L"\nsmtrace --help lists the options.", Usage));
    } catch (const StartFailure& failure) {
        return static_cast<int>(refuse(failure.text, Failed));
    } catch (const std::exception&) {
        return static_cast<int>(refuse(L"Not enough memory.", Failed));
    }
}
