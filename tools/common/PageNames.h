#pragma once

#include <cstddef>
#include <set>
#include <string>

namespace host {

// The names of the page files, from a pattern.
class PageNames {
public:
    // Throws Failure with FailureCode::Usage when the pattern has a directive other than one %d or %0Nd and
    // %%.
    PageNames(const std::string& pattern, bool manyFiles);

    std::string pathOf(int page) const;

    // The pattern has a number, or has got one.
    bool numbered() const { return numbered_; }

    // True when the pattern has no number though there are many files, so that one was put in.
    bool numberedByItself() const { return numberedByItself_; }

    // The numbers of all files that are there and have a name of this pattern.
    std::set<int> numbersInUse() const;

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
