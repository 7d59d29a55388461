// A stage for batches: a source with pages, and a host that keeps the strips it gets.
#pragma once

#include "PageSource.h"
#include "Stage.h"

// The ways in which a batch may come.
struct Mechanism {
    unsigned short code;  // the module's
    TW_UINT16 twain;
    std::string method;
    std::string call, done;  // the transfer of a good page, and what comes with it

    bool isMemory() const { return twain == TWSX_MEMORY; }
    // The stories of a description, of an image with this transfer and result, and of a good page.
    std::string info() const { return isMemory() ? "SETUPMEMXFER; IMAGEINFO; " : "IMAGEINFO; "; }
    std::string image(const std::string& transfer, int result) const;
    std::string goodPage() const { return image(call + done, 0); }
};
extern const Mechanism mechanisms[3];
inline const Mechanism &native = mechanisms[0], &file = mechanisms[1], &memory = mechanisms[2];

struct BatchStage : Stage {
    explicit BatchStage(const std::vector<Page>& pages = {}, const Mechanism& mechanism = memory,
                        bool showUI = true);

    // What the host does with a strip unless a test says otherwise.
    void keep(const TXferStripInfo& strip);
    // The image is ready: runs the batch.
    void run() { deliver(MSG_XFERREADY); }
    // One with these pages, and only its record.
    void run(const std::vector<Page>& pages);

    PageSource source{manager};
    Lines strips;  // "4x2 at 0,2: 8 bytes, rows of 4 as in a DIB"
    Bytes received;
};

// A gray page of 4 x 4 in two strips.
Page grayPage();
