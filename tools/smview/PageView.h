#pragma once

#include <windows.h>

#include <optional>

#include "smview/AreaSelection.h"
#include "smview/PagePicture.h"

namespace smview {

// The control in which a page is seen and an area is dragged on it. Sends its dialog WM_COMMAND with
// pageViewChanged when the person has chosen another area.
class PageView {
public:
    static constexpr wchar_t windowClass[] = L"smview page";
    static constexpr int areaChanged = 1;

    // Before a dialog with such a control is made.
    static void registerClass();
    // The one in a control of that class.
    static PageView& in(HWND control);

    // What it shows from now on; null for nothing. `whole` is what of the glass the picture shows, in inches;
    // without it no area can be dragged. The picture stays the caller's.
    void show(const PagePicture* picture, const std::optional<host::Area>& whole);
    // The picture has changed.
    void update();

    const std::optional<host::Area>& area() const { return area_; }
    void setArea(const std::optional<host::Area>& area);

private:
    explicit PageView(HWND window) : window_(window) {}
    static LRESULT CALLBACK onMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    std::optional<LRESULT> handle(UINT message, WPARAM wParam, LPARAM lParam);
    void paint();
    RECT shown() const;
    void drag(POINT to);

    HWND window_;
    const PagePicture* picture_ = nullptr;
    std::optional<host::Area> whole_;
    std::optional<host::Area> area_;
    std::optional<POINT> dragFrom_;
};

}  // namespace smview
