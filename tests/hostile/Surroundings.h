// The Windows that the module finds in a run: files in memory on a disk that fills up, folders, profiles and
// a registry that say anything, message boxes nobody sees, a viewer that comes to nothing. Handles are
// counted.
#pragma once

#include <windows.h>

#include <functional>

#include "Dice.h"

class Surroundings {
public:
    explicit Surroundings(uint64_t seed);
    ~Surroundings();
    Surroundings(const Surroundings&) = delete;
    Surroundings& operator=(const Surroundings&) = delete;

    // Puts the calls of a loaded module through the live instance.
    static void attachTo(HMODULE module);

    bool viewerTakesMessages = true;
    // Something of the host's may run while Windows has the word: in a message box, while a line is read.
    std::function<void()> meanwhile;

    // Files that are open; keys and searches that must not be, when a call is over.
    unsigned openFiles() const;
    void forgetFiles();
    void checkHandles() const;

private:
    friend struct SurroundingsHooks;

    static constexpr size_t mostFiles = 64;
    struct File {
        bool open, wasOpen;
        int64_t position;
    };
    File* file(HFILE handle);

    Dice dice_;
    File files_[mostFiles] = {};
    size_t diskRoom_;
    int keys_ = 0, searches_ = 0, entries_ = 0;
    bool viewerGivenUp_ = false;
};
