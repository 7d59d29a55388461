#include "smview/PageList.h"

#include <algorithm>

#include "common/Failure.h"
#include "common/Text.h"
#include "pages/BmpReader.h"
#include "smview/AreaSelection.h"
#include "windows/WideText.h"

namespace smview {

namespace {

constexpr int thumbnailInches72 = 72;  // its side, in 1/96 inch

int thumbnailSide() {
    const HDC screen = GetDC(nullptr);
    const int side = MulDiv(thumbnailInches72, GetDeviceCaps(screen, LOGPIXELSX), 96);
    ReleaseDC(nullptr, screen);
    return side;
}

std::wstring makeFolder() {
    wchar_t temporary[MAX_PATH] = L"";
    GetTempPathW(MAX_PATH, temporary);
    const std::wstring path = temporary + (L"smview-" + std::to_wstring(GetCurrentProcessId()));
    if (!CreateDirectoryW(path.c_str(), nullptr) && GetLastError() != ERROR_ALREADY_EXISTS)
        throw host::Failure{host::FailureCode::CannotWrite, "Cannot make the folder " + gui::utf8(path) +
                                                                " for the pages: " + host::lastErrorText()};
    return path + L"\\";
}

}  // namespace

PageList::PageList(HWND list)
    : list_(list),
      images_(ImageList_Create(thumbnailSide(), thumbnailSide(), ILC_COLOR24, 1, 16)),
      folder_(gui::utf8(makeFolder())) {
    ListView_SetImageList(list_, images_, LVSIL_NORMAL);  // the list's from now on
}

PageList::~PageList() {
    for (const Page& page : pages_)
        DeleteFileW(page.path.c_str());
    RemoveDirectoryW(gui::fromUtf8(folder_).c_str());
}

void PageList::add(const host::ScannedPage& page, const PagePicture& picture) {
    std::wstring label = std::to_wstring(++number_);
    LVITEMW item = {};
    item.mask = LVIF_TEXT | LVIF_IMAGE | LVIF_STATE;
    item.iItem = static_cast<int>(pages_.size());
    item.pszText = label.data();
    item.iImage = imageOf(picture);
    item.state = item.stateMask = LVIS_FOCUSED;
    // The list first: it tells of the focus at once, and is then asked for the page.
    pages_.push_back({gui::fromUtf8(page.path), page.dots});
    const LRESULT row = SendMessageW(list_, LVM_INSERTITEMW, 0, reinterpret_cast<LPARAM>(&item));
    ListView_EnsureVisible(list_, static_cast<int>(row), FALSE);
}

int PageList::imageOf(const PagePicture& picture) const {
    const int side = thumbnailSide();
    const HDC screen = GetDC(nullptr);
    const HDC context = CreateCompatibleDC(screen);
    const HBITMAP bitmap = CreateCompatibleBitmap(screen, side, side);
    ReleaseDC(nullptr, screen);
    const HGDIOBJ before = SelectObject(context, bitmap);
    const RECT whole = {0, 0, side, side};
    FillRect(context, &whole, GetSysColorBrush(COLOR_WINDOW));
    const RECT at = fitted({picture.width(), picture.height()}, {side, side});
    picture.draw(context, at);
    SelectObject(context, before);
    DeleteDC(context);
    const int index = ImageList_Add(images_, bitmap, nullptr);
    DeleteObject(bitmap);
    return index;
}

void PageList::removeSelected() {
    for (int row = static_cast<int>(pages_.size()) - 1; row >= 0; --row) {
        if (ListView_GetItemState(list_, row, LVIS_SELECTED) == 0) continue;
        DeleteFileW(pages_[row].path.c_str());
        pages_.erase(pages_.begin() + row);
        ListView_DeleteItem(list_, row);
    }
}

std::vector<PageList::Page> PageList::selected() const {
    std::vector<Page> chosen;
    for (size_t row = 0; row < pages_.size(); ++row)
        if (ListView_GetItemState(list_, static_cast<int>(row), LVIS_SELECTED) != 0)
            chosen.push_back(pages_[row]);
    return chosen.empty() ? pages_ : chosen;
}

const PageList::Page* PageList::focused() const {
    const int row = ListView_GetNextItem(list_, -1, LVNI_FOCUSED);
    return row < 0 || row >= static_cast<int>(pages_.size()) ? nullptr : &pages_[row];
}

void loadPicture(const std::wstring& path, PagePicture& picture) try {
    pages::BmpReader reader(path);
    const pages::PageFormat& format = reader.format();
    std::vector<uint32_t> palette = colorsOf(format.palette);
    if (format.color == pages::ColorKind::Gray)
        for (uint32_t i = 0, last = (1u << format.bits) - 1; i <= last; ++i)
            palette.push_back(0x010101 * (i * 255 / last));
    picture.begin(format.width, format.height, format.bits, std::move(palette), host::PixelLayout::Packed);
    std::vector<uint8_t> row(format.rowBytes());
    for (int y = 0; y < format.height; ++y) {
        const uint8_t* const pixels = reader.row();
        std::copy(pixels, pixels + row.size(), row.begin());
        if (format.bits == 24)
            for (size_t i = 0; i + 2 < row.size(); i += 3)
                std::swap(row[i], row[i + 2]);
        picture.addFileRow(row.data(), y);
    }
    picture.finish();
} catch (const pages::WriteError& error) {
    throw host::Failure{host::FailureCode::CannotWrite,
                        "Cannot show the page: " +
                            (error.windowsError != 0 ? host::errorText(error.windowsError) : error.text)};
}

}  // namespace smview
