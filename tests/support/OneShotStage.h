// A stage for one-shot scans: a source with pages, and a host that names a file of the test's own.
#pragma once

#include "PageSource.h"
#include "Stage.h"

class OneShotStage : public Stage {
public:
    explicit OneShotStage(const std::vector<Page>& pages = {});
    // Removes the file, unless the module left it open.
    ~OneShotStage() { DeleteFileA(path.c_str()); }

    // Opening the source sets memory transfer; after that so many of memory, file and native transfer are
    // refused.
    void refuseMechanisms(int count);
    int begin() { return module.PrestoScan(host.window(), "Test Host", &settings); }
    // Opens the source by a one-shot scan, for this mechanism; forgets what was recorded on the way.
    void start(unsigned short mechanism = SM_MECH_MEMORY);
    // The image is ready: gives the result that the host is told; throws when there isn't one, or the module
    // lost memory.
    int finish();
    int scan(unsigned short mechanism = SM_MECH_MEMORY);

    Bytes fileBytes() const;

    PageSource source;
    PrestoScanSettings settings = {};  // those of a plain gray scan without windows
    std::string path;                  // of a file that no other stage has
};
