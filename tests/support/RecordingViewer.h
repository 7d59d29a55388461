// The diagnostic viewer of a test: a real window of the viewer's class with its shared memory, which records
// the lines that the module sends.
#pragma once

#include "Lines.h"
#include "MessageWindow.h"

class RecordingViewer {
public:
    enum class Memory { Shared, Missing };

    // Missing: the window is there, its shared memory is not.
    explicit RecordingViewer(Memory memory = Memory::Shared);
    ~RecordingViewer();

    // Whole lines as they came: "Trace sm/Session.cpp 85: [SM] text".
    const Lines& rawLines() const { return raw_; }
    // Without path and number: "Trace: text", "Warning: text"; separators stay as they are.
    const Lines& lines() const { return lines_; }
    // The texts of one level.
    Lines warnings() const { return textsOf("Warning: "); }
    Lines traces() const { return textsOf("Trace: "); }
    void forget() { raw_ = lines_ = {}; }

    static constexpr size_t bufferSize = 1024;
    // The memory after the first 1024 bytes is as it was.
    bool isTailUntouched() const;

private:
    Lines textsOf(const std::string& level) const;
    bool receive(UINT message, WPARAM wParam, LPARAM lParam);

    const MessageWindow window_;
    HANDLE mapping_ = nullptr;
    char* view_ = nullptr;
    Lines raw_, lines_;
};
