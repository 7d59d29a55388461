// A stage for memory transfer: a source with pages, and a host that keeps the strips it gets.
#pragma once

#include "PageSource.h"
#include "Stage.h"

struct MemoryStage : Stage {
    explicit MemoryStage(std::vector<Page> pages = {});

    // What the host does with a strip unless a test says otherwise.
    void keep(const TXferStripInfo& strip);
    // The whole batch; the host's messages.
    Lines run(bool showUI = true);

    PageSource source{manager};
    Lines strips;  // "4x2 at 0,2: 8 bytes, rows of 4 as in a DIB"
    Bytes received;
};

// A gray page of 4 x 4 in two strips.
Page grayPage();
// Such a page from its announcement to its end.
extern const Lines wholePage;
