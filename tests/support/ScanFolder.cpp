#include "ScanFolder.h"

#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>

namespace fs = std::filesystem;

namespace {

constexpr DWORD timeLimit = 60000;  // milliseconds
constexpr DWORD watchInterval = 20;

// A file that a program has as one of its standard handles. Each has a name of its own: Wine's desktop,
// started by the first program, inherits the handle and keeps the file open for a while.
class Capture {
public:
    explicit Capture(const std::string& path) : path_(path) {
        SECURITY_ATTRIBUTES inheritable{sizeof inheritable, nullptr, TRUE};
        handle = CreateFileA(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_DELETE, &inheritable,
                             CREATE_ALWAYS, 0, nullptr);
    }
    ~Capture() {
        CloseHandle(handle);
        DeleteFileA(path_.c_str());
    }
    std::string lines(const std::string& prefix) const {
        std::ifstream file(path_);
        std::string text;
        for (std::string line; std::getline(file, line);)
            text += prefix + line + "\n";
        return text;
    }

    HANDLE handle;

private:
    std::string path_;
};

// Puts settings of the virtual scanner into the environment, or takes them out again.
void setEnvironment(const std::string& settings, bool there) {
    std::istringstream list(settings);
    for (std::string setting; std::getline(list, setting, ';');) {
        const size_t equals = setting.find('=');
        SetEnvironmentVariableA(("VSCAN_" + setting.substr(0, equals)).c_str(),
                                there ? setting.c_str() + equals + 1 : nullptr);
    }
}

// "exit N", once the program has ended.
std::string awaitEnd(const PROCESS_INFORMATION& program, const ScanFolder::Watcher& watcher) {
    const DWORD start = GetTickCount();
    while (WaitForSingleObject(program.hProcess, watchInterval) == WAIT_TIMEOUT) {
        if (GetTickCount() - start > timeLimit) {
            TerminateProcess(program.hProcess, 1);
            return "ended by the test";
        }
        if (watcher) watcher(program);
    }
    DWORD code = 0;
    GetExitCodeProcess(program.hProcess, &code);
    return "exit " + std::to_string(static_cast<int>(code));
}

}  // namespace

ScanFolder::ScanFolder() {
    static int count = 0;
    const std::string name = std::to_string(GetCurrentProcessId()) + "-" + std::to_string(++count);
    folder_ = (fs::temp_directory_path() / ("scan-" + name)).make_preferred().string();
    fs::create_directory(folder_);
}

ScanFolder::~ScanFolder() {
    std::error_code ignored;
    fs::remove_all(folder_, ignored);
}

std::string ScanFolder::run(const std::string& program, const std::string& arguments,
                            const std::string& settings, const Watcher& watcher) {
    static int count = 0;
    const std::string number = std::to_string(++count);
    const Capture out(folder_ + ".out" + number);
    const Capture errors(folder_ + ".err" + number);
    STARTUPINFOA startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = out.handle;
    startup.hStdError = errors.handle;
    // The tests' current folder is the one that the programs are in.
    const std::string file = (fs::current_path() / program).make_preferred().string();
    std::string command = "\"" + file + "\" " + arguments;
    PROCESS_INFORMATION process{};
    setEnvironment(settings, true);
    const bool started = CreateProcessA(file.c_str(), command.data(), nullptr, nullptr, TRUE, 0, nullptr,
                                        folder_.c_str(), &startup, &process);
    setEnvironment(settings, false);
    if (!started) return "can't start " + file;
    const std::string end = awaitEnd(process, watcher);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return out.lines("") + errors.lines("! ") + end;
}

std::string ScanFolder::files() const {
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder_))
        names.insert(entry.path().filename().string());
    std::string text;
    for (const std::string& name : names)
        text += (text.empty() ? "" : " ") + name;
    return text;
}
