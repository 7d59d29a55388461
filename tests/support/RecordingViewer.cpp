#include "RecordingViewer.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr UINT lineMessage = 0x1634;
constexpr size_t mappingSize = 4096;
constexpr char tailMark = '#';

// "Trace: text"; separators as they are.
std::string withoutPlace(const std::string& line) {
    const std::string marker = ": [SM] ";
    const size_t at = line.find(marker);
    if (at == std::string::npos) return line;
    return line.substr(0, line.find(' ')) + ": " + line.substr(at + marker.size());
}

}  // namespace

RecordingViewer::RecordingViewer(Memory memory)
    : window_("KTWDiagXprt32", [this](UINT message, WPARAM wParam, LPARAM lParam) {
          return receive(message, wParam, lParam);
      }) {
    if (memory == Memory::Missing) return;
    mapping_ = CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, mappingSize,
                                  "KTWDiagXprt32File");
    view_ = static_cast<char*>(MapViewOfFile(mapping_, FILE_MAP_ALL_ACCESS, 0, 0, 0));
    std::memset(view_ + bufferSize, tailMark, mappingSize - bufferSize);
}

RecordingViewer::~RecordingViewer() {
    if (view_ != nullptr) UnmapViewOfFile(view_);
    if (mapping_ != nullptr) CloseHandle(mapping_);
}

// Reads from the viewer's own view, as a viewer in another process would; lParam is the address of the same
// text in the module's view.
bool RecordingViewer::receive(UINT message, WPARAM wParam, LPARAM lParam) {
    if (message != lineMessage) return false;
    const std::string line(view_, strnlen(view_, bufferSize));
    const auto* const modulesText = reinterpret_cast<const char*>(lParam);
    const bool isConsistent =
        wParam == 0 && modulesText != nullptr && modulesText != view_ && line == modulesText;
    raw_.push_back(isConsistent ? line : "inconsistent message for: " + line);
    lines_.push_back(withoutPlace(raw_.back()));
    if (line.rfind("Warning ", 0) == 0) journal.push_back("! " + lines_.back().substr(9));
    if (line.rfind("Fatal ", 0) == 0) journal.push_back("! " + lines_.back());
    return true;
}

Lines RecordingViewer::textsOf(const std::string& level) const {
    Lines texts;
    for (const std::string& line : lines_)
        if (line.rfind(level, 0) == 0) texts.push_back(line.substr(level.size()));
    return texts;
}

bool RecordingViewer::isTailUntouched() const {
    return std::all_of(view_ + bufferSize, view_ + mappingSize, [](char byte) { return byte == tailMark; });
}
