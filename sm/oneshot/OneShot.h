// The state of the one-shot scan and of the writer of BMP files.
#pragma once

#include <scanmodule/scanmodule.h>

#include "base/GlobalBuffer.h"

struct OneShot {
    PrestoScanSettings settings = {};
    // Set by the first one-shot scan. Kept: never cleared; hosts rely on later scans being written to files
    // too.
    bool active = false;
    // Kept: one counter for the whole module; an image abandoned after its first plane shifts the next one's
    // colours.
    int planeCounter = 2;
    // Where rows are joined on their way into the file. There while an image is written.
    GlobalBuffer rows;
};
