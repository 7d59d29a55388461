#include "smview/PageView.h"

#include <windowsx.h>

namespace smview {

namespace {

constexpr COLORREF areaColour = RGB(0, 90, 200);
constexpr int areaPen = 2;

// As GDI objects have to be put back before they are deleted.
class Selected {
public:
    Selected(HDC context, HGDIOBJ object) : context_(context), before_(SelectObject(context, object)) {}
    ~Selected() { SelectObject(context_, before_); }
    Selected(const Selected&) = delete;
    Selected& operator=(const Selected&) = delete;

private:
    HDC context_;
    HGDIOBJ before_;
};

}  // namespace

void PageView::registerClass() {
    WNDCLASSW definition = {};
    definition.style = CS_HREDRAW | CS_VREDRAW;
    definition.lpfnWndProc = onMessage;
    definition.hInstance = GetModuleHandleW(nullptr);
    // IDC_CROSS, which the headers have for the other kind of text only.
    definition.hCursor = LoadCursorW(nullptr, MAKEINTRESOURCEW(32515));
    definition.lpszClassName = windowClass;
    RegisterClassW(&definition);
}

PageView& PageView::in(HWND control) {
    return *reinterpret_cast<PageView*>(GetWindowLongPtrW(control, GWLP_USERDATA));
}

void PageView::show(const PagePicture* picture, const std::optional<host::Area>& whole) {
    picture_ = picture;
    whole_ = whole;
    dragFrom_.reset();
    InvalidateRect(window_, nullptr, FALSE);
}

void PageView::update() {
    InvalidateRect(window_, nullptr, FALSE);
    UpdateWindow(window_);
}

void PageView::setArea(const std::optional<host::Area>& area) {
    area_ = area;
    InvalidateRect(window_, nullptr, FALSE);
}

LRESULT CALLBACK PageView::onMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_NCCREATE)
        SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(new PageView(window)));
    auto* const self = reinterpret_cast<PageView*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    if (message == WM_NCDESTROY) {
        SetWindowLongPtrW(window, GWLP_USERDATA, 0);
        delete self;
    } else if (self != nullptr) {
        if (const std::optional<LRESULT> result = self->handle(message, wParam, lParam)) return *result;
    }
    return DefWindowProcW(window, message, wParam, lParam);
}

std::optional<LRESULT> PageView::handle(UINT message, WPARAM, LPARAM lParam) {
    const POINT at = {GET_X_LPARAM(lParam), GET_Y_LPARAM(lParam)};
    switch (message) {
        case WM_PAINT:
            paint();
            return 0;
        case WM_ERASEBKGND:
            return 1;  // all of it is painted
        case WM_LBUTTONDOWN:
            if (picture_ == nullptr || !whole_) return 0;
            dragFrom_ = at;
            SetCapture(window_);
            return 0;
        case WM_MOUSEMOVE:
            if (dragFrom_) drag(at);
            return 0;
        case WM_LBUTTONUP:
            if (!dragFrom_) return 0;
            drag(at);
            ReleaseCapture();
            SendMessageW(GetParent(window_), WM_COMMAND, MAKEWPARAM(GetDlgCtrlID(window_), areaChanged),
                         reinterpret_cast<LPARAM>(window_));
            return 0;
        case WM_CAPTURECHANGED:
            dragFrom_.reset();
            return 0;
        default:
            return std::nullopt;
    }
}

RECT PageView::shown() const {
    RECT client;
    GetClientRect(window_, &client);
    if (picture_ == nullptr) return {};
    return fitted({picture_->width(), picture_->height()}, {client.right, client.bottom});
}

void PageView::drag(POINT to) {
    area_ = dragged(*dragFrom_, to, shown(), *whole_);
    InvalidateRect(window_, nullptr, FALSE);
}

// Through a bitmap of its own: the page would flicker while it arrives.
void PageView::paint() {
    PAINTSTRUCT paint;
    const HDC target = BeginPaint(window_, &paint);
    RECT client;
    GetClientRect(window_, &client);
    const HDC context = CreateCompatibleDC(target);
    const HBITMAP bitmap = CreateCompatibleBitmap(target, client.right, client.bottom);
    {
        const Selected selected(context, bitmap);
        FillRect(context, &client, GetSysColorBrush(COLOR_APPWORKSPACE));
        const RECT at = shown();
        if (picture_ != nullptr && !picture_->empty()) picture_->draw(context, at);
        if (area_ && whole_) {
            const RECT area = placed(*area_, at, *whole_);
            const HPEN pen = CreatePen(PS_SOLID, areaPen, areaColour);
            {
                const Selected outlined(context, pen), hollow(context, GetStockObject(NULL_BRUSH));
                Rectangle(context, area.left, area.top, area.right, area.bottom);
            }
            DeleteObject(pen);
        }
        BitBlt(target, 0, 0, client.right, client.bottom, context, 0, 0, SRCCOPY);
    }
    DeleteObject(bitmap);
    DeleteDC(context);
    EndPaint(window_, &paint);
}

}  // namespace smview
