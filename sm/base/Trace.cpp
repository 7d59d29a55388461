#include "base/Trace.h"

#include <windows.h>

#include <algorithm>
#include <charconv>
#include <cstring>

namespace trace {

char* view = nullptr;

namespace {

constexpr char viewerClass[] = "KTWDiagXprt32";
constexpr char mappingName[] = "KTWDiagXprt32File";
constexpr UINT viewerMessage = WM_USER + 0x1234;
constexpr char switchFile[] = "DEBUGSM.INI";
constexpr char switchSection[] = "Debug";
constexpr char separator[] = "    ";
constexpr int separatorsBeforeTopLevelCall = 3;
constexpr UINT longestWait = 5000;  // milliseconds
constexpr size_t lineSize = 1024;   // bytes of the shared memory that a line may take

struct LevelWords {
    const char* switchKey;
    const char* prefix;
};
constexpr LevelWords levelWords[] = {{"Trace", "Trace "}, {"Warning", "Warning "}, {"Warning", "Fatal "}};

const LevelWords& wordsOf(TraceLevel level) {
    return levelWords[static_cast<int>(level)];
}

HWND viewer = nullptr;
HANDLE mapping = nullptr;
char* mappedView = nullptr;
// Coming lines minus Leaving lines written. Not clamped: switching the trace on in the middle of a call may
// drive it below zero.
int32_t nesting = 0;

// Returns when the viewer has read the text. One that takes no messages is given up for good: it must not
// hold up the host, not even at every single line.
void sendText(const char* text, size_t size) {
    if (view == nullptr) return;
    std::memcpy(view, text, size);
    DWORD_PTR answer;
    if (!SendMessageTimeoutA(viewer, viewerMessage, 0, reinterpret_cast<LPARAM>(view), SMTO_ABORTIFHUNG,
                             longestWait, &answer)) {
        view = nullptr;
    }
}

// Whoever made the memory may have made less of it than a line needs.
bool holdsLine(const void* memory) {
    MEMORY_BASIC_INFORMATION facts;
    return memory != nullptr && VirtualQuery(memory, &facts, sizeof facts) != 0 &&
           facts.State == MEM_COMMIT && facts.RegionSize >= lineSize;
}

void connectToViewer() {
    viewer = FindWindowA(viewerClass, nullptr);
    if (viewer == nullptr || !IsWindow(viewer)) return;
    mapping = OpenFileMappingA(FILE_MAP_ALL_ACCESS, FALSE, mappingName);
    if (mapping == nullptr) return;
    mappedView = static_cast<char*>(MapViewOfFile(mapping, FILE_MAP_ALL_ACCESS, 0, 0, 0));
    if (holdsLine(mappedView)) view = mappedView;
}

void createSwitchFile() {
    char path[256 + sizeof switchFile] = "";
    const UINT length = GetWindowsDirectoryA(path, 256);
    lstrcpynA(path + std::min<UINT>(length, 255), "\\", 2);
    lstrcatA(path, switchFile);
    OFSTRUCT found;
    const bool exists = OpenFile(path, &found, OF_EXIST) != HFILE_ERROR;
    // A file with a Trace key is the developer's own, even without a Warning key.
    if (exists && GetPrivateProfileIntA(switchSection, "Trace", -1, path) != static_cast<UINT>(-1)) return;
    WritePrivateProfileStringA(switchSection, "Trace", "1", path);
    WritePrivateProfileStringA(switchSection, "Warning", "1", path);
}

// One line, built in a buffer of the shared memory's size and cut there.
class Line {
public:
    Line(TraceLevel level, TracePoint at) : level_(level) {
        *this << wordsOf(level).prefix << at.file << " " << static_cast<uint32_t>(at.line) << ": [SM] ";
    }
    Line& operator<<(const Piece& piece) {
        if (piece.text != nullptr) {
            append(piece.text, std::strlen(piece.text));
        } else {
            char digits[12];
            append(digits, std::to_chars(digits, digits + sizeof digits, piece.number).ptr - digits);
        }
        return *this;
    }
    void send();

private:
    void append(const char* text, size_t size) {
        const size_t added = std::min<size_t>(size, lineSize - 1 - length_);
        std::memcpy(text_ + length_, text, added);
        length_ += added;
    }

    TraceLevel level_;
    size_t length_ = 0;
    char text_[lineSize];
};

void Line::send() {
    text_[length_] = '\0';
    if (level_ != TraceLevel::Trace) {
        sendText(text_, length_ + 1);
        return;
    }
    // Kept: the words are searched in the whole line, path included.
    if (std::strstr(text_, "Coming") != nullptr) {
        if (nesting == 0) {
            for (int i = 0; i < separatorsBeforeTopLevelCall; ++i)
                sendText(separator, sizeof separator);
        }
        ++nesting;
    }
    sendText(text_, length_ + 1);
    if (std::strstr(text_, "Leaving") != nullptr) --nesting;
}

}  // namespace

void setUp() {
    connectToViewer();
    createSwitchFile();
}

void shutDown() {
    if (mappedView != nullptr) UnmapViewOfFile(mappedView);
    if (mapping != nullptr) CloseHandle(mapping);
    view = mappedView = nullptr;
    mapping = nullptr;
    viewer = nullptr;
}

void writeLine(TraceLevel level, TracePoint at, const Piece* pieces, size_t count) {
    if (GetPrivateProfileIntA(switchSection, wordsOf(level).switchKey, 0, switchFile) == 0) return;
    Line line{level, at};
    for (size_t i = 0; i < count; ++i)
        line << pieces[i];
    line.send();
}

void writeInMethod(TraceLevel level, TracePoint at, const char* what, const char* method) {
    write(level, at, what, " in ", method);
}

}  // namespace trace

void MethodTrace::writeBracket(const char* word) const {
    trace::write(TraceLevel::Trace, at_, word, method_);
}
