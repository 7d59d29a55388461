// A host's window: records the module's registered messages as text and runs the test's handlers inside them.
#pragma once

#include <scanmodule/scanmodule.h>

#include <functional>
#include <map>
#include <vector>

#include "Lines.h"

class RecordingHost {
public:
    RecordingHost();
    ~RecordingHost();
    RecordingHost(const RecordingHost&) = delete;
    RecordingHost& operator=(const RecordingHost&) = delete;

    HWND window() const { return window_; }

    // "XferStart", "XferEnd -5", "CloseDSReq". Parameters that should be 0 and aren't are named.
    Lines messages() const { return messages_; }
    Lines takeMessages();
    void record(const std::string& line) { messages_.push_back(line); }

    // The record that came with each XferStart and each XferEnd, copied as it was.
    const std::vector<TXferImageInfo>& images() const { return images_; }

    std::function<void(TXferImageInfo&)> onXferStart;
    std::function<void(const TXferStripInfo&)> onXferData;
    std::function<void(int result, const TXferImageInfo&)> onXferEnd;
    std::function<void()> onCloseRequest;
    std::function<void(char*)> onGetFileName;

private:
    static LRESULT CALLBACK windowProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    void handle(const std::string& name, WPARAM wParam, LPARAM lParam);

    HWND window_ = nullptr;
    std::map<UINT, std::string> names_;
    Lines messages_;
    std::vector<TXferImageInfo> images_;
};
