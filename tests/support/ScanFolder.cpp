#include "ScanFolder.h"

#include <algorithm>
#include <stdexcept>

namespace {

constexpr DWORD timeLimit = 60000;  // milliseconds
constexpr DWORD watchInterval = 20;

std::string temporaryFolder() {
    char folder[MAX_PATH] = "";
    GetTempPathA(sizeof folder, folder);
    return folder;
}

std::string binFolder() {
    char path[MAX_PATH] = "";
    GetModuleFileNameA(nullptr, path, sizeof path);
    std::string folder = path;  // bin\tests\this.exe
    for (int i = 0; i < 2; ++i)
        folder.resize(folder.rfind('\\'));
    return folder;
}

// What a program writes to one of its standard handles.
class Capture {
public:
    Capture() {
        char path[MAX_PATH] = "";
        GetTempFileNameA(temporaryFolder().c_str(), "out", 0, path);
        SECURITY_ATTRIBUTES inheritable{sizeof inheritable, nullptr, TRUE};
        file_ = CreateFileA(path, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                            &inheritable, CREATE_ALWAYS, FILE_FLAG_DELETE_ON_CLOSE, nullptr);
    }
    ~Capture() { CloseHandle(file_); }
    Capture(const Capture&) = delete;
    Capture& operator=(const Capture&) = delete;

    HANDLE handle() const { return file_; }
    Lines lines(const std::string& prefix) const {
        std::string text(GetFileSize(file_, nullptr), '\0');
        SetFilePointer(file_, 0, nullptr, FILE_BEGIN);
        DWORD count = 0;
        if (!text.empty()) ReadFile(file_, &text[0], static_cast<DWORD>(text.size()), &count, nullptr);
        text.erase(std::remove(text.begin(), text.end(), '\r'), text.end());
        Lines lines;
        for (size_t start = 0; start < text.size();) {
            const size_t end = std::min(text.find('\n', start), text.size());
            lines.push_back(prefix + text.substr(start, end - start));
            start = end + 1;
        }
        return lines;
    }

private:
    HANDLE file_;
};

// This process's environment with other settings of the virtual scanner, as CreateProcess takes it.
std::string environmentWith(const Words& settings) {
    std::string block;
    char* const mine = GetEnvironmentStringsA();
    for (const char* entry = mine; *entry; entry += lstrlenA(entry) + 1)
        if (_strnicmp(entry, "VSCAN_", 6) != 0) block += entry + std::string(1, '\0');
    FreeEnvironmentStringsA(mine);
    for (const std::string& setting : settings)
        block += "VSCAN_" + setting + '\0';
    return block + '\0';
}

// "exit N", once the program has ended.
std::string awaitEnd(const PROCESS_INFORMATION& program, const ScanFolder::Watcher& watcher) {
    const DWORD start = GetTickCount();
    while (WaitForSingleObject(program.hProcess, watchInterval) == WAIT_TIMEOUT) {
        if (GetTickCount() - start > timeLimit) {
            TerminateProcess(program.hProcess, 1);
            WaitForSingleObject(program.hProcess, timeLimit);
            return "ended by the test";
        }
        watcher(program);
    }
    DWORD code = 0;
    GetExitCodeProcess(program.hProcess, &code);
    return "exit " + std::to_string(static_cast<int>(code));
}

}  // namespace

ScanFolder::ScanFolder() {
    static int count = 0;
    folder_ =
        temporaryFolder() + "scan-" + std::to_string(GetCurrentProcessId()) + "-" + std::to_string(++count);
    if (!CreateDirectoryA(folder_.c_str(), nullptr)) throw std::runtime_error("no folder " + folder_);
}

ScanFolder::~ScanFolder() {
    for (const std::string& name : files()) {
        SetFileAttributesA(path(name).c_str(), FILE_ATTRIBUTE_NORMAL);
        DeleteFileA(path(name).c_str());
    }
    RemoveDirectoryA(folder_.c_str());
}

Lines ScanFolder::run(const std::string& program, const Words& arguments, const Words& settings,
                      const Watcher& watcher) {
    const std::string file = binFolder() + "\\" + program;
    std::string command = "\"" + file + "\"";
    for (const std::string& argument : arguments)
        command += " \"" + argument + "\"";
    std::string environment = environmentWith(settings);
    const Capture out;
    const Capture errors;
    STARTUPINFOA startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = out.handle();
    startup.hStdError = errors.handle();
    PROCESS_INFORMATION process{};
    if (!CreateProcessA(file.c_str(), &command[0], nullptr, nullptr, TRUE, 0, &environment[0],
                        folder_.c_str(), &startup, &process))
        return {"can't start " + file};
    const std::string end = awaitEnd(process, watcher);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return out.lines("") + errors.lines("! ") + Lines{end};
}

Lines ScanFolder::files() const {
    Lines names;
    WIN32_FIND_DATAA found;
    const HANDLE search = FindFirstFileA(path("*").c_str(), &found);
    if (search == INVALID_HANDLE_VALUE) return names;
    do {
        if (!(found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)) names.push_back(found.cFileName);
    } while (FindNextFileA(search, &found));
    FindClose(search);
    std::sort(names.begin(), names.end());
    return names;
}
