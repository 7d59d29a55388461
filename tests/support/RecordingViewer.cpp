#include "RecordingViewer.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr const char* className = "KTWDiagXprt32";
constexpr UINT lineMessage = 0x1634;
constexpr size_t mappingSize = 4096;
constexpr char tailMark = '#';
constexpr const char* marker = ": [SM] ";

// "Trace", "Warning" or "Fatal", empty for a separator.
std::string levelOf(const std::string& line) {
    return line.find(marker) == std::string::npos ? std::string() : line.substr(0, line.find(' '));
}

std::string textOf(const std::string& line) {
    const size_t at = line.find(marker);
    return at == std::string::npos ? line : line.substr(at + std::strlen(marker));
}

}  // namespace

RecordingViewer::RecordingViewer(Memory memory) {
    WNDCLASSA windowClass = {};
    windowClass.lpfnWndProc = windowProcedure;
    windowClass.hInstance = GetModuleHandleA(nullptr);
    windowClass.lpszClassName = className;
    RegisterClassA(&windowClass);  // fails when it is there already, which is as good
    window_ = CreateWindowA(className, "", WS_OVERLAPPEDWINDOW, 0, 0, 10, 10, nullptr, nullptr,
                            GetModuleHandleA(nullptr), nullptr);
    SetWindowLongPtrA(window_, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
    if (memory == Memory::Missing) return;
    mapping_ = CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, mappingSize,
                                  "KTWDiagXprt32File");
    view_ = static_cast<char*>(MapViewOfFile(mapping_, FILE_MAP_ALL_ACCESS, 0, 0, 0));
    std::memset(view_ + bufferSize, tailMark, mappingSize - bufferSize);
}

RecordingViewer::~RecordingViewer() {
    DestroyWindow(window_);
    if (view_ != nullptr) UnmapViewOfFile(view_);
    if (mapping_ != nullptr) CloseHandle(mapping_);
}

LRESULT CALLBACK RecordingViewer::windowProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    auto* const viewer = reinterpret_cast<RecordingViewer*>(GetWindowLongPtrA(window, GWLP_USERDATA));
    if (viewer != nullptr && message == lineMessage) {
        viewer->receive(wParam, lParam);
        return 0;
    }
    return DefWindowProcA(window, message, wParam, lParam);
}

// Reads from the viewer's own view, as a viewer in another process would; lParam is the address of the same
// text in the module's view.
void RecordingViewer::receive(WPARAM wParam, LPARAM lParam) {
    const std::string line(view_, strnlen(view_, bufferSize));
    const auto* const modulesText = reinterpret_cast<const char*>(lParam);
    const bool isConsistent =
        wParam == 0 && modulesText != nullptr && modulesText != view_ && line == modulesText;
    raw_.push_back(isConsistent ? line : "inconsistent message for: " + line);
    const std::string level = levelOf(line);
    if (level == "Warning") journal.push_back("! " + textOf(line));
    if (level == "Fatal") journal.push_back("! Fatal: " + textOf(line));
}

Lines RecordingViewer::lines() const {
    Lines lines;
    for (const std::string& line : raw_) {
        const std::string level = levelOf(line);
        lines.push_back(level.empty() ? line : level + ": " + textOf(line));
    }
    return lines;
}

Lines RecordingViewer::warnings() const {
    Lines lines;
    for (const std::string& line : raw_) {
        const std::string level = levelOf(line);
        if (level == "Warning") lines.push_back(textOf(line));
        if (level == "Fatal") lines.push_back(level + ": " + textOf(line));
    }
    return lines;
}

Lines RecordingViewer::traces() const {
    Lines lines;
    for (const std::string& line : raw_) {
        if (levelOf(line) == "Trace") lines.push_back(textOf(line));
    }
    return lines;
}

bool RecordingViewer::isTailUntouched() const {
    return std::all_of(view_ + bufferSize, view_ + mappingSize, [](char byte) { return byte == tailMark; });
}
