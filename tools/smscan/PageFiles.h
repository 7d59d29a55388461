#pragma once

#include <string>

namespace smscan {

// The names of the page files, from the pattern of --output.
class PageNames {
public:
    // Throws Failure with ExitCode::Usage when the pattern has a directive other than one %d or %0Nd and %%.
    PageNames(const std::string& pattern, bool manyPages);

    std::string pathOf(int page) const;

    // True when the pattern has no number though there are many pages, so that one was put in.
    bool numberedByItself() const { return numberedByItself_; }

private:
    std::string before_;
    std::string after_;
    int width_ = 0;
    bool numbered_ = false;
    bool numberedByItself_ = false;
};

// The name that a page has until it is complete: "page.part.bmp", in the same folder so that it can be
// renamed.
std::string unfinishedName(const std::string& path);

// A full path, as the source may have changed the current folder.
std::string fullPath(const std::string& path);

// Throws Failure with ExitCode::CannotWrite and the reason when a file can't be made there.
void checkWritable(const std::string& path);

// A page on its way: deleted unless it is kept.
class UnfinishedFile {
public:
    explicit UnfinishedFile(const std::string& path) : path_(path), unfinished_(unfinishedName(path)) {}
    UnfinishedFile(const UnfinishedFile&) = delete;
    UnfinishedFile& operator=(const UnfinishedFile&) = delete;
    ~UnfinishedFile();

    const std::string& name() const { return unfinished_; }

    // Gives the file its final name, in place of an older one. Throws Failure.
    void keep();

private:
    std::string path_;
    std::string unfinished_;
    bool kept_ = false;
};

// What Windows says about its last error.
std::string lastErrorText();

}  // namespace smscan
