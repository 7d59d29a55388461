// A stage for memory transfer: a source with pages, and a host that keeps the strips it gets.
#pragma once

#include "PageSource.h"
#include "Stage.h"

struct MemoryStage : Stage {
    explicit MemoryStage(std::vector<Page> pages = {});

    // What the host does with a strip unless a test says otherwise.
    void keep(const TXferStripInfo& strip);
    // The whole batch; the story of what the host was told.
    std::string run(bool showUI = true);
    // Since the last call of this function: S for a start, D for data, E and its result for an end, C for the
    // request to close: "SDDE0 C".
    std::string story();

    PageSource source{manager};
    Lines strips;  // "4x2 at 0,2: 8 bytes, rows of 4 as in a DIB"
    Bytes received;
};

// A gray page of 4 x 4 in two strips: "SDDE0 ".
Page grayPage();
