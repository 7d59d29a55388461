// A host that calls every export in any order, from its loop, from its handlers and while the source or
// Windows has the word, with outputs that end where nobody may write; its window may vanish at any moment.
#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "Dice.h"
#include "GuardedMemory.h"
#include "HostileSource.h"
#include "MessageWindow.h"
#include "Module.h"
#include "Surroundings.h"

class HostileHost {
public:
    HostileHost(uint64_t seed, Module& module, HostileSource& source, Surroundings& surroundings);
    ~HostileHost();

    // One call from the host's loop, and the checks after it.
    void step();

private:
    struct Export {
        const char* name;
        std::function<void()> call;
    };

    void call(const Export& chosen);
    const Export& exportNamed(const char* name) const;
    const Export& anyExport();
    const Export& naturalExport();
    // While somebody else has the word.
    void meanwhile();
    bool handle(UINT message, WPARAM wParam, LPARAM lParam);
    void startImage(TXferImageInfo& image);
    void lookAtStrip(const TXferStripInfo& strip);
    void takeDib();
    void makeWindow();
    void readBlock();
    void negotiate();
    void disableWindows();

    template <class Result, class... Types>
    void invoke(Result(WINAPI* function)(Types...));

    Dice dice_;
    Module& module_;
    HostileSource& source_;
    Surroundings& surroundings_;
    std::vector<Export> exports_;
    std::vector<UINT> messages_;
    std::unique_ptr<MessageWindow> window_;
    int depth_ = 0, batchDepth_ = 0;
    uint32_t interrupts_;  // in a thousand
    uint32_t cancels_;     // in a hundred messages
    bool hasOneShots_;
    uint32_t imageStarted_ = 0;
    unsigned filesOpen_ = 0;  // before the one-shot scan
    int startsMinusEnds_ = 0;
    bool windowChanged_ = false;  // since the outermost call began
    Lent dibSlot_{sizeof(HGLOBAL)}, stripMemory_{5000};
};
