#pragma once

#include <windows.h>
// Needs the one above.
#include <commctrl.h>

#include <string>
#include <vector>

#include "common/ScanListener.h"
#include "smview/PagePicture.h"

namespace smview {

// The pages scanned so far, as thumbnails in a list; their files are in a folder that goes with it.
class PageList {
public:
    struct Page {
        std::wstring path;
        host::DotsPerInch dots;
    };

    // Throws Failure when there is no place for the pages.
    explicit PageList(HWND list);
    ~PageList();
    PageList(const PageList&) = delete;
    PageList& operator=(const PageList&) = delete;

    // Where scans put their pages: a folder, in UTF-8 and with a backslash at its end.
    const std::string& folder() const { return folder_; }

    void add(const host::ScannedPage& page, const PagePicture& picture);
    void removeSelected();

    size_t size() const { return pages_.size(); }
    std::vector<Page> all() const { return pages_; }
    // All if none is selected.
    std::vector<Page> selected() const;
    // The one that has the focus; null if there is none.
    const Page* focused() const;

private:
    int imageOf(const PagePicture& picture) const;

    HWND list_;
    HIMAGELIST images_;
    std::string folder_;
    std::vector<Page> pages_;
    int number_ = 0;
};

// Reads a BMP file, made small. Throws Failure.
void loadPicture(const std::wstring& path, PagePicture& picture);

}  // namespace smview
