#pragma once

#include <cstddef>
#include <string>

namespace host {

// The names of the page files, from a pattern.
class PageNames {
public:
    // Throws Failure with FailureCode::Usage when the pattern has a directive other than one %d or %0Nd and
    // %%.
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

// Where the extension of a path begins; the end when there is none.
size_t extensionStart(const std::string& path);

}  // namespace host
