#include "source/SourceWindow.h"

#include <commctrl.h>

#include <utility>

#include "source/Preview.h"
#include "source/SourceWindowIds.h"

namespace vscan {

namespace {

constexpr struct {
    int control;
    ListChoice choice;
} lists[] = {{SOURCE_MODE, ListChoice::Mode},
             {SOURCE_RESOLUTION, ListChoice::Resolution},
             {SOURCE_PAPER, ListChoice::Paper}};

constexpr struct {
    int control, valueText;
    ScaleChoice choice;
} scales[] = {{SOURCE_BRIGHTNESS, SOURCE_BRIGHTNESS_VALUE, ScaleChoice::Brightness},
              {SOURCE_CONTRAST, SOURCE_CONTRAST_VALUE, ScaleChoice::Contrast}};

// The module that this code is in has the dialog, too: the data source, or a test program.
HINSTANCE ownModule() {
    constexpr DWORD byAddress =
        GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
    HMODULE module = nullptr;
    return GetModuleHandleExA(byAddress, reinterpret_cast<LPCSTR>(&ownModule), &module) ? module : nullptr;
}

// The library of the sliders is loaded with the first window and then stays: it takes longer to load than the
// source, and managers load that several times where no window is wanted.
void registerSliders() {
    static const HMODULE library = LoadLibraryA("comctl32.dll");
    const FARPROC found = library ? GetProcAddress(library, "InitCommonControlsEx") : nullptr;
    if (!found) return;
    const INITCOMMONCONTROLSEX sliders{sizeof sliders, ICC_BAR_CLASSES};
    reinterpret_cast<decltype(&InitCommonControlsEx)>(reinterpret_cast<void*>(found))(&sliders);
}

}  // namespace

SourceWindow::SourceWindow(HWND owner, const VirtualScannerSettings& settings, const ScanChoices& choices,
                           WindowHandlers handlers)
    : choices_(choices), handlers_(std::move(handlers)) {
    registerSliders();
    const bool behind = settings.window == WindowBehavior::Behind;
    window_ = CreateDialogParamA(ownModule(), MAKEINTRESOURCEA(SOURCE_DIALOG),
                                 !behind && IsWindow(owner) ? owner : nullptr, procedure, 0);
    if (!window_) return;
    SetWindowLongPtrA(window_, DWLP_USER, reinterpret_cast<LONG_PTR>(this));
    SetWindowTextA(window_, settings.productName.c_str());
    fill();
    setBusy(false, "Ready.");
    show(behind);
}

SourceWindow::~SourceWindow() {
    if (!window_) return;
    SetWindowLongPtrA(window_, DWLP_USER, 0);
    DestroyWindow(window_);
}

void SourceWindow::show(bool behind) const {
    if (!behind) {
        ShowWindow(window_, SW_SHOW);
        return;
    }
    SetWindowPos(window_, HWND_BOTTOM, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE | SWP_SHOWWINDOW);
}

void SourceWindow::fill() {
    for (const auto& scale : scales) {
        const ScaleOffer offer = choices_.offer(scale.choice);
        SendMessageA(control(scale.control), TBM_SETRANGEMIN, TRUE, offer.minimum);
        SendMessageA(control(scale.control), TBM_SETRANGEMAX, TRUE, offer.maximum);
        SendMessageA(control(scale.control), TBM_SETPAGESIZE, 0, (offer.maximum - offer.minimum) / 20);
        SendMessageA(control(scale.control), TBM_SETLINESIZE, 0, (offer.maximum - offer.minimum) / 200);
        // Wine draws the mark at the new place only when it moves.
        SendMessageA(control(scale.control), TBM_SETPOS, FALSE, offer.minimum);
        SendMessageA(control(scale.control), TBM_SETPOS, TRUE, offer.value);
    }
    showChoices();
}

void SourceWindow::showLists() {
    for (const auto& list : lists) {
        const ListOffer offer = choices_.offer(list.choice);
        std::vector<std::string>& shown = shown_[static_cast<std::size_t>(&list - lists)];
        // Not while it stays the same: somebody may be going through it.
        if (shown != offer.texts) {
            SendMessageA(control(list.control), CB_RESETCONTENT, 0, 0);
            for (const std::string& text : offer.texts)
                SendMessageA(control(list.control), CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(text.c_str()));
        }
        shown = offer.texts;
        SendMessageA(control(list.control), CB_SETCURSEL, static_cast<WPARAM>(offer.chosen), 0);
    }
}

void SourceWindow::showChoices() {
    showLists();
    for (const auto& scale : scales)
        SetDlgItemTextA(window_, scale.valueText, std::to_string(choices_.offer(scale.choice).value).c_str());
    SetDlgItemTextA(window_, SOURCE_SUMMARY, choices_.summary().c_str());
    preview_.reset();
    InvalidateRect(control(SOURCE_PREVIEW), nullptr, FALSE);
}

void SourceWindow::enableChoices(bool enable) const {
    for (const auto& list : lists)
        EnableWindow(control(list.control), enable && choices_.offer(list.choice).changeable);
    for (const auto& scale : scales)
        for (const int part : {scale.control, scale.valueText})
            EnableWindow(control(part), enable && choices_.offer(scale.choice).changeable);
    for (const int button : {scanButton, cancelButton})
        EnableWindow(control(button), enable);
}

void SourceWindow::setBusy(bool busy, const std::string& status) {
    // A disabled control loses the keyboard focus and doesn't get it back.
    if (busy && IsChild(window_, GetFocus())) focus_ = GetFocus();
    enableChoices(!busy);
    if (!busy)
        if (const HWND before = std::exchange(focus_, nullptr))
            // Unless the person went to another window meanwhile.
            if (!GetFocus() || GetFocus() == window_ || IsChild(window_, GetFocus()))
                SendMessageA(window_, WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(before), TRUE);
    SetDlgItemTextA(window_, SOURCE_STATUS, status.c_str());
}

bool SourceWindow::takes(MSG& message) const {
    return IsDialogMessageA(window_, &message) != FALSE;
}

bool SourceWindow::command(int id, int notification) {
    if (id == scanButton || id == cancelButton) {
        // Copied first: the handler may end the window and this object with it.
        const std::function<void()> handler = id == scanButton ? handlers_.scan : handlers_.cancel;
        handler();
        return true;
    }
    for (const auto& list : lists)
        if (id == list.control && notification == CBN_SELCHANGE) {
            choices_.choose(list.choice, static_cast<int>(SendMessageA(control(id), CB_GETCURSEL, 0, 0)));
            showChoices();
            return true;
        }
    return false;
}

void SourceWindow::paint(const DRAWITEMSTRUCT& item) {
    const RECT& place = item.rcItem;
    if (!preview_)
        preview_ = handlers_.preview((place.right - place.left) * previewDetail,
                                     (place.bottom - place.top) * previewDetail);
    paintPreview(item.hDC, place, *preview_);
}

bool SourceWindow::handle(UINT message, WPARAM word, LPARAM data) {
    if (message == WM_COMMAND) return command(LOWORD(word), HIWORD(word));
    if (message == WM_DRAWITEM) {
        paint(*reinterpret_cast<const DRAWITEMSTRUCT*>(data));
        return true;
    }
    if (message != WM_HSCROLL) return false;
    for (const auto& scale : scales)
        if (control(scale.control) == reinterpret_cast<HWND>(data))
            choices_.choose(scale.choice,
                            static_cast<int>(SendMessageA(control(scale.control), TBM_GETPOS, 0, 0)));
    showChoices();
    return true;
}

INT_PTR CALLBACK SourceWindow::procedure(HWND window, UINT message, WPARAM word, LPARAM data) {
    if (message == WM_INITDIALOG) return TRUE;
    auto* self = reinterpret_cast<SourceWindow*>(GetWindowLongPtrA(window, DWLP_USER));
    if (!self) return FALSE;
    try {
        return self->handle(message, word, data);
    } catch (...) {
        // Nothing may be thrown through Windows; the scan that could not begin stays away.
        return TRUE;
    }
}

}  // namespace vscan
