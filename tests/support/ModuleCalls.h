// What the module asks of Windows. While a ModuleCalls lives, modules that get loaded call through it: their
// memory is accounted for, their message boxes are answered, and single calls can be made to fail.
#pragma once

#include <windows.h>

#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "GuardedBuffer.h"
#include "Lines.h"

// What a disk says of its free space.
struct DiskSpace {
    DWORD sectorsPerCluster;
    DWORD bytesPerSector;
    DWORD freeClusters;
};

class ModuleCalls {
public:
    // Trace switches by key, as the module is to read them; a missing one reads as if the file hadn't it.
    using Switches = std::map<std::string, UINT>;

    // Without switches the real file counts.
    explicit ModuleCalls(std::optional<Switches> switches = std::nullopt);
    ~ModuleCalls();
    ModuleCalls(const ModuleCalls&) = delete;
    ModuleCalls& operator=(const ModuleCalls&) = delete;

    // Puts the calls of a freshly mapped module through the live instance.
    static void attachTo(HMODULE module);

    // The module is handed this block and has to free it.
    static void adopt(HGLOBAL block);
    // The module hands the block on: it must not free it.
    void release(HGLOBAL block) { owned_.erase(block); }

    // What is wrong with the module's memory: blocks not freed, freed twice or not its own, locks left. Empty
    // when all is well.
    Lines memoryComplaints() const;
    size_t ownedBlocks() const { return owned_.size(); }
    // What was left so far is nobody's fault any more.
    void forgetMemory();

    int messageBoxAnswer = IDOK;

    // Locks give memory that ends at a page nobody may touch: a read past a block's end is a crash.
    bool guardBlocks = false;
    // Allocations of this size and more fail.
    SIZE_T largestAllocation = ~SIZE_T{0};
    std::vector<SIZE_T> allocations;
    // So many of the next locks succeed, the others fail.
    int locksThatSucceed = 0x7fffffff;
    std::set<std::string> messagesThatCannotRegister;

    // So many bytes still find room on the disk, then it is full.
    size_t diskRoom = ~size_t{0};
    // Then it promises more room than it has, but tells when it is asked of a folder; else it doesn't know.
    bool diskIsSparse = false;
    std::string folderAsked;
    // What the disk says of itself, plenty unless a test says otherwise; and which disk was asked last.
    DiskSpace freeDiskSpace = {8, 512, 1 << 18};
    bool diskSaysNothing = false;
    std::string diskAsked;
    int filesClosed = 0;

    std::optional<Switches> traceSwitches;
    // Every switch reads as off: for what a test doesn't want to record.
    bool switchesOff = false;
    // Files and profiles looked at: "open <path>", "read Debug Trace of <path>".
    Lines profileCalls;
    // Libraries: "load <file name>", "free".
    Lines libraryCalls;

private:
    friend struct ModuleCallsHooks;

    void* lockGuarded(HGLOBAL block);
    void unlockGuarded(HGLOBAL block);

    std::map<HGLOBAL, int> owned_;  // block -> locks held
    std::map<HGLOBAL, std::unique_ptr<GuardedBuffer>> guarded_;
    Lines memoryFaults_;
};
