#include "smview/CapabilityWindow.h"

#include <commctrl.h>

#include <array>
#include <string>

#include "smview/Resources.h"
#include "windows/Controls.h"
#include "windows/WideText.h"

namespace smview {

namespace {

constexpr size_t columnCount = 6;

std::array<std::wstring, columnCount> cellsOf(const CapabilityFacts& facts) {
    const bool told = facts.problem.empty();
    return {gui::fromAnsi(facts.name),      gui::fromAnsi(facts.type),
            gui::fromAnsi(facts.container), gui::fromAnsi(told ? facts.current : "(" + facts.problem + ")"),
            gui::fromAnsi(facts.offered),   gui::fromAnsi(facts.operations)};
}

}  // namespace

void CapabilityWindow::run(HWND owner) {
    DialogBoxParamW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(IDD_CAPABILITIES), owner, onMessage,
                    reinterpret_cast<LPARAM>(this));
}

INT_PTR CALLBACK CapabilityWindow::onMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_INITDIALOG) {
        SetWindowLongPtrW(window, DWLP_USER, lParam);
        reinterpret_cast<CapabilityWindow*>(lParam)->window_ = window;
    }
    auto* const self = reinterpret_cast<CapabilityWindow*>(GetWindowLongPtrW(window, DWLP_USER));
    return self != nullptr && self->handle(message, wParam, lParam) ? TRUE : FALSE;
}

bool CapabilityWindow::handle(UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
        case WM_INITDIALOG:
            setUp();
            return true;
        case WM_SIZE:
            if (anchors_) anchors_->arrange();
            return true;
        case WM_GETMINMAXINFO:
            if (anchors_) anchors_->limit(*reinterpret_cast<MINMAXINFO*>(lParam));
            return true;
        case WM_NOTIFY: {
            const auto& header = *reinterpret_cast<const NMHDR*>(lParam);
            const auto& item = *reinterpret_cast<const NMLISTVIEW*>(lParam);
            if (header.idFrom == IDC_TABLE && header.code == LVN_ITEMCHANGED &&
                (item.uNewState & LVIS_SELECTED) != 0)
                choose(item.iItem);
            return true;
        }
        case WM_COMMAND:
            switch (LOWORD(wParam)) {
                case IDOK:  // Enter in the field
                case IDC_SET:
                    change(IDC_SET);
                    return true;
                case IDC_RESET:
                    change(IDC_RESET);
                    return true;
                case IDC_COPY:
                    copy();
                    return true;
                case IDCANCEL:
                    EndDialog(window_, 0);
                    return true;
                default:
                    return false;
            }
        default:
            return false;
    }
}

void CapabilityWindow::setUp() {
    using namespace gui;
    table_ = GetDlgItem(window_, IDC_TABLE);
    anchors_ =
        std::make_unique<AnchoredControls>(window_, std::vector<Anchor>{{IDC_TABLE, Whole},
                                                                        {IDC_CHOSEN, Left | Bottom},
                                                                        {IDC_VALUE, Left | Right | Bottom},
                                                                        {IDC_SET, Right | Bottom},
                                                                        {IDC_RESET, Right | Bottom},
                                                                        {IDC_COPY, Right | Bottom},
                                                                        {IDCANCEL, Right | Bottom},
                                                                        {IDC_RESULT, Left | Right | Bottom}});
    setUpColumns(table_, {{L"Capability", 27},
                          {L"Type", 9},
                          {L"Container", 13},
                          {L"Current", 18},
                          {L"Offered", 34},
                          {L"Operations", 38}});
    ask();
    choose(0);
}

void CapabilityWindow::ask() {
    for (const TW_UINT16 id : offeredCapabilities(module_.smCapNegotiate))
        capabilities_.push_back(describeCapability(module_.smCapNegotiate, id));
    for (int row = 0; row < static_cast<int>(capabilities_.size()); ++row) {
        LVITEMW item = {};
        item.mask = LVIF_TEXT;
        item.iItem = row;
        item.pszText = const_cast<wchar_t*>(L"");
        SendMessageW(table_, LVM_INSERTITEMW, 0, reinterpret_cast<LPARAM>(&item));
        showRow(row);
    }
}

void CapabilityWindow::showRow(int row) {
    const auto cells = cellsOf(capabilities_[row]);
    for (int column = 0; column < static_cast<int>(cells.size()); ++column) {
        LVITEMW item = {};
        item.iSubItem = column;
        item.pszText = const_cast<wchar_t*>(cells[column].c_str());
        SendMessageW(table_, LVM_SETITEMTEXTW, row, reinterpret_cast<LPARAM>(&item));
    }
}

void CapabilityWindow::choose(int row) {
    if (row >= static_cast<int>(capabilities_.size())) return;
    chosen_ = row;
    const CapabilityFacts& facts = capabilities_[row];
    SetDlgItemTextW(window_, IDC_CHOSEN, gui::fromAnsi(facts.name).c_str());
    SetDlgItemTextW(window_, IDC_VALUE, gui::fromAnsi(facts.current).c_str());
    SetDlgItemTextW(window_, IDC_RESULT, L"");
}

// One change may move others, so all rows are asked for again.
void CapabilityWindow::change(int control) {
    if (chosen_ < 0) return;
    const CapabilityFacts before = capabilities_[chosen_];
    const ChangeResult result = control == IDC_RESET
                                    ? resetCapability(module_.smCapNegotiate, before.id)
                                    : setCapability(module_.smCapNegotiate, before,
                                                    gui::toAnsi(gui::textOf(GetDlgItem(window_, IDC_VALUE))));
    std::wstring changed;
    for (int row = 0; row < static_cast<int>(capabilities_.size()); ++row) {
        CapabilityFacts& facts = capabilities_[row];
        const std::string current = facts.current;
        facts = describeCapability(module_.smCapNegotiate, facts.id);
        showRow(row);
        if (facts.current != current)
            changed += L" " + gui::fromAnsi(facts.name + " is now " + facts.current + ".");
    }
    SetDlgItemTextW(window_, IDC_VALUE, gui::fromAnsi(capabilities_[chosen_].current).c_str());
    if (result.taken && changed.empty()) changed = L" Nothing has changed.";
    SetDlgItemTextW(window_, IDC_RESULT, (gui::fromAnsi(result.words) + changed).c_str());
}

// As a table that a spreadsheet takes.
void CapabilityWindow::copy() const {
    std::wstring text;
    for (const CapabilityFacts& facts : capabilities_) {
        for (const std::wstring& cell : cellsOf(facts))
            text += cell + L"\t";
        text.back() = L'\r';
        text += L"\n";
    }
    gui::copyText(window_, text);
}

}  // namespace smview
