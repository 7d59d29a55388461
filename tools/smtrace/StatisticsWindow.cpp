#include "smtrace/StatisticsWindow.h"

#include <commctrl.h>

#include "smtrace/LineText.h"
#include "smtrace/Resources.h"
#include "windows/Controls.h"
#include "windows/WideText.h"

namespace smtrace {

using namespace gui;

namespace {

constexpr UINT refreshInterval = 500;  // milliseconds

}  // namespace

StatisticsWindow::~StatisticsWindow() {
    if (window_ != nullptr) DestroyWindow(window_);
}

void StatisticsWindow::show(HWND owner) {
    if (window_ == nullptr)
        CreateDialogParamW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(IDD_STATISTICS), owner, onMessage,
                           reinterpret_cast<LPARAM>(this));
    ShowWindow(window_, SW_SHOW);
    SetForegroundWindow(window_);
}

INT_PTR CALLBACK StatisticsWindow::onMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_INITDIALOG) {
        SetWindowLongPtrW(window, DWLP_USER, lParam);
        reinterpret_cast<StatisticsWindow*>(lParam)->window_ = window;
    }
    auto* const self = reinterpret_cast<StatisticsWindow*>(GetWindowLongPtrW(window, DWLP_USER));
    return self != nullptr && self->handle(message, wParam, lParam) ? TRUE : FALSE;
}

bool StatisticsWindow::handle(UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
        case WM_INITDIALOG:
            anchors_ = std::make_unique<AnchoredControls>(
                window_, std::vector<Anchor>{
                             {IDC_METHODS, Whole}, {IDC_COPY, Right | Bottom}, {IDCANCEL, Right | Bottom}});
            setUpColumns(GetDlgItem(window_, IDC_METHODS), {{L"Method", 44},
                                                            {L"Calls", 9, true},
                                                            {L"Total ms", 12, true},
                                                            {L"Mean ms", 11, true},
                                                            {L"Longest ms", 12, true}});
            SetTimer(window_, 1, refreshInterval, nullptr);
            fill();
            return true;
        case WM_TIMER:
            fill();
            return true;
        case WM_SIZE:
            if (anchors_) anchors_->arrange();
            return true;
        case WM_GETMINMAXINFO:
            if (anchors_) anchors_->limit(*reinterpret_cast<MINMAXINFO*>(lParam));
            return true;
        case WM_COMMAND:
            if (LOWORD(wParam) == IDC_COPY) copyText(window_, fromAnsi(statisticsText(store_.statistics())));
            if (LOWORD(wParam) == IDCANCEL) DestroyWindow(window_);
            return true;
        case WM_DESTROY:
            window_ = nullptr;
            anchors_.reset();
            return true;
        default:
            return false;
    }
}

// Row by row in place: what is selected and scrolled to stays.
void StatisticsWindow::fill() {
    const HWND list = GetDlgItem(window_, IDC_METHODS);
    const std::vector<MethodStatistics> methods = store_.statistics();
    while (ListView_GetItemCount(list) > static_cast<int>(methods.size()))
        ListView_DeleteItem(list, ListView_GetItemCount(list) - 1);
    for (int row = 0; row < static_cast<int>(methods.size()); ++row) {
        const MethodStatistics& method = methods[row];
        const std::wstring cells[] = {
            fromAnsi(method.method), std::to_wstring(method.calls), milliseconds(method.inside),
            method.returns == 0 ? L"" : milliseconds(method.inside / method.returns),
            milliseconds(method.longest)};
        LVITEMW item = {};
        item.mask = LVIF_TEXT;
        item.iItem = row;
        if (row >= ListView_GetItemCount(list))
            SendMessageW(list, LVM_INSERTITEMW, 0, reinterpret_cast<LPARAM>(&item));
        for (item.iSubItem = 0; item.iSubItem < static_cast<int>(std::size(cells)); ++item.iSubItem) {
            item.pszText = const_cast<wchar_t*>(cells[item.iSubItem].c_str());
            SendMessageW(list, LVM_SETITEMTEXTW, row, reinterpret_cast<LPARAM>(&item));
        }
    }
}

}  // namespace smtrace
