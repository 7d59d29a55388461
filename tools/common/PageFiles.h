#pragma once

#include <string>

#include "common/UnfinishedNames.h"

namespace host {

// Throws Failure with FailureCode::CannotWrite.
[[noreturn]] void failWrite(const std::string& path, const std::string& reason);

// The name that a page has until it is complete: "page.part.bmp", in the same folder so that it can be
// renamed; "page.part2.bmp" and so on while there are files of these names, which are somebody's.
std::string unfinishedName(const std::string& path);

// A full path, as the source may have changed the current folder.
std::string fullPath(const std::string& path);

bool fileExists(const std::string& path);

// Throws Failure with FailureCode::CannotWrite and the reason when a file can't be made there, or is there
// and isn't to be replaced.
void checkWritable(const std::string& path, bool replace);

// A file on its way: deleted unless it is kept.
class UnfinishedFile {
public:
    explicit UnfinishedFile(const std::string& path)
        : path_(path), unfinished_(unfinishedName(path)), listed_(unfinished_) {}
    UnfinishedFile(const UnfinishedFile&) = delete;
    UnfinishedFile& operator=(const UnfinishedFile&) = delete;
    ~UnfinishedFile();

    const std::string& name() const { return unfinished_; }
    bool kept() const { return kept_; }

    // The name for the module and sources, which take the ANSI code page: where a letter isn't in that, the
    // file gets another name until it is kept. Throws Failure.
    std::string ansiName();

    // What is in it by now is to survive the process, even if that is ended by force.
    void keepAtForcedEnd(bool replace) { listed_.keepAs(path_, replace); }

    // Gives the file its final name, in place of an older one if it may. Else the file keeps its unfinished
    // name, and Failure is thrown.
    void keep(bool replace);

private:
    std::string path_;
    std::string unfinished_;
    UnfinishedName listed_;
    bool kept_ = false;
};

}  // namespace host
