#include "smtrace/MainWindow.h"

#include <commdlg.h>

#include <iterator>

#include "smtrace/LineText.h"
#include "smtrace/LogWriter.h"
#include "smtrace/Receiver.h"
#include "smtrace/Resources.h"
#include "smtrace/SwitchFile.h"
#include "windows/Controls.h"
#include "windows/WideText.h"

namespace smtrace {

using namespace gui;

namespace {

constexpr UINT refreshInterval = 50;  // milliseconds
constexpr unsigned ticksBetweenSwitchReads = 20;

enum ColumnIndex { SinceLast, Process, LevelName, Text, Place };

// By level: a line that matters is found by its colour.
constexpr COLORREF backgrounds[levelCount] = {CLR_DEFAULT, RGB(255, 244, 206), RGB(255, 205, 205),
                                              CLR_DEFAULT};
constexpr COLORREF quietText = RGB(110, 110, 110);

}  // namespace

MainWindow::MainWindow(LineStore& store, const Senders& senders)
    : store_(store), senders_(senders), lines_(store), statistics_(store) {}

void MainWindow::run() {
    const INITCOMMONCONTROLSEX controls = {sizeof controls, ICC_LISTVIEW_CLASSES};
    InitCommonControlsEx(&controls);
    const HINSTANCE instance = GetModuleHandleW(nullptr);
    CreateDialogParamW(instance, MAKEINTRESOURCEW(IDD_MAIN), nullptr, onMessage,
                       reinterpret_cast<LPARAM>(this));
    if (window_ == nullptr) throw StartFailure{L"Cannot make the window: " + lastErrorText()};
    ShowWindow(window_, SW_SHOWDEFAULT);
    const HACCEL accelerators = LoadAcceleratorsW(instance, MAKEINTRESOURCEW(IDR_ACCELERATORS));
    MSG message;
    while (GetMessageW(&message, nullptr, 0, 0) > 0) {
        if (TranslateAcceleratorW(window_, accelerators, &message)) continue;
        if (IsDialogMessageW(window_, &message)) continue;
        if (statistics_.handle() != nullptr && IsDialogMessageW(statistics_.handle(), &message)) continue;
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
}

INT_PTR CALLBACK MainWindow::onMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_INITDIALOG) {
        SetWindowLongPtrW(window, DWLP_USER, lParam);
        reinterpret_cast<MainWindow*>(lParam)->window_ = window;
    }
    auto* const self = reinterpret_cast<MainWindow*>(GetWindowLongPtrW(window, DWLP_USER));
    return self != nullptr && self->handle(message, wParam, lParam) ? TRUE : FALSE;
}

bool MainWindow::handle(UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
        case WM_INITDIALOG:
            setUp();
            return true;
        case WM_TIMER:
            refresh();
            return true;
        case WM_COMMAND:
            command(LOWORD(wParam), HIWORD(wParam));
            return true;
        case WM_NOTIFY:
            SetWindowLongPtrW(window_, DWLP_MSGRESULT, notify(*reinterpret_cast<NMHDR*>(lParam), lParam));
            return true;
        case WM_SIZE:
            if (anchors_) anchors_->arrange();
            return true;
        case WM_GETMINMAXINFO:
            if (anchors_) anchors_->limit(*reinterpret_cast<MINMAXINFO*>(lParam));
            return true;
        case WM_CLOSE:
            DestroyWindow(window_);
            return true;
        case WM_DESTROY:
            PostQuitMessage(0);
            return true;
        default:
            return false;
    }
}

void MainWindow::setUp() {
    list_ = GetDlgItem(window_, IDC_LINES);
    anchors_ =
        std::make_unique<AnchoredControls>(window_, std::vector<Anchor>{{IDC_FILTER, Left | Top | Right},
                                                                        {IDC_FIND_LABEL, Right | Top},
                                                                        {IDC_FIND, Right | Top},
                                                                        {IDC_FIND_NEXT, Right | Top},
                                                                        {IDC_SEND_LABEL, Right | Top},
                                                                        {IDC_SEND_TRACE, Right | Top},
                                                                        {IDC_SEND_WARNINGS, Right | Top},
                                                                        {IDC_LINES, Whole},
                                                                        {IDC_STATUS, Left | Right | Bottom}});
    setUpColumns(list_,
                 {{L"+ ms", 10, true}, {L"Process", 18}, {L"Level", 9}, {L"Text", 62}, {L"Place", 31}});
    for (const int control : {IDC_SHOW_TRACE, IDC_SHOW_WARNINGS, IDC_SHOW_FATAL})
        CheckDlgButton(window_, control, BST_CHECKED);
    SendDlgItemMessageW(window_, IDC_FILTER, EM_SETCUEBANNER, 0, reinterpret_cast<LPARAM>(L"any text"));
    showSwitches();
    SetTimer(window_, 1, refreshInterval, nullptr);
}

void MainWindow::command(int control, int notification) {
    switch (control) {
        case IDC_SHOW_TRACE:
        case IDC_SHOW_WARNINGS:
        case IDC_SHOW_FATAL:
            return filter();
        case IDC_FILTER:
            if (notification == EN_CHANGE) filter();
            return;
        case IDOK:
        case IDC_FIND_NEXT:
            return findNext();
        case IDC_PAUSE:
            // From the keyboard the button has not changed by itself.
            if (notification == 1)
                CheckDlgButton(window_, IDC_PAUSE, isChecked(IDC_PAUSE) ? BST_UNCHECKED : BST_CHECKED);
            return showStatus();
        case IDC_COPY:
            return copy();
        case IDC_SAVE:
            return save();
        case IDC_CLEAR:
            return clear();
        case IDC_STATISTICS:
            return statistics_.show(window_);
        case IDC_SEND_TRACE:
            return setSwitch(control, traceKey);
        case IDC_SEND_WARNINGS:
            return setSwitch(control, warningKey);
        case IDC_FOCUS_FIND:
        case IDC_FOCUS_FILTER:
            SetFocus(GetDlgItem(window_, control == IDC_FOCUS_FIND ? IDC_FIND : IDC_FILTER));
            return;
        case IDC_SELECT_ALL:
            ListView_SetItemState(list_, -1, LVIS_SELECTED, LVIS_SELECTED);
            return;
        default:
            return;
    }
}

LRESULT MainWindow::notify(const NMHDR& header, LPARAM lParam) {
    if (header.idFrom != IDC_LINES) return 0;
    if (header.code == LVN_GETDISPINFOW) describeCell(*reinterpret_cast<NMLVDISPINFOW*>(lParam));
    if (header.code == NM_CUSTOMDRAW) return colour(*reinterpret_cast<NMLVCUSTOMDRAW*>(lParam));
    return 0;
}

void MainWindow::describeCell(NMLVDISPINFOW& info) {
    if ((info.item.mask & LVIF_TEXT) == 0) return;
    const std::optional<StoredLine> line = lines_.line(info.item.iItem);
    cell_.clear();
    if (line) {
        const TraceLine parsed = line->parsed();
        switch (info.item.iSubItem) {
            case SinceLast:
                cell_ = milliseconds(line->sinceLast);
                break;
            case Process:
                if (line->sender != 0)
                    cell_ = senders_.nameOf(line->sender) + L" (" + std::to_wstring(line->sender) + L")";
                break;
            case LevelName:
                cell_ = levelNames[static_cast<size_t>(parsed.level)];
                break;
            case Text:
                cell_ = shownText(*line);
                break;
            case Place:
                cell_ = fromAnsi(parsed.place);
                break;
        }
    }
    info.item.pszText = cell_.data();
}

LRESULT MainWindow::colour(NMLVCUSTOMDRAW& draw) const {
    if (draw.nmcd.dwDrawStage == CDDS_PREPAINT) return CDRF_NOTIFYITEMDRAW;
    if (draw.nmcd.dwDrawStage != CDDS_ITEMPREPAINT) return CDRF_DODEFAULT;
    const std::optional<StoredLine> line = lines_.line(draw.nmcd.dwItemSpec);
    if (!line) return CDRF_DODEFAULT;
    const TraceLine parsed = line->parsed();
    draw.clrTextBk = backgrounds[static_cast<size_t>(parsed.level)];
    if (parsed.kind == Kind::Return) draw.clrText = quietText;
    return CDRF_DODEFAULT;
}

bool MainWindow::showsLast() const {
    return ListView_GetTopIndex(list_) + ListView_GetCountPerPage(list_) >= ListView_GetItemCount(list_);
}

void MainWindow::refresh() {
    if (++ticks_ % ticksBetweenSwitchReads == 0) showSwitches();
    if (!isChecked(IDC_PAUSE)) {
        const bool follow = showsLast();
        if (lines_.update()) {
            ListView_SetItemCountEx(list_, lines_.size(), LVSICF_NOINVALIDATEALL | LVSICF_NOSCROLL);
            if (follow) ListView_EnsureVisible(list_, static_cast<int>(lines_.size()) - 1, FALSE);
        }
    }
    showStatus();
}

void MainWindow::filter() {
    LineFilter filter;
    filter.levels[static_cast<size_t>(Level::Trace)] = isChecked(IDC_SHOW_TRACE);
    filter.levels[static_cast<size_t>(Level::Warning)] = isChecked(IDC_SHOW_WARNINGS);
    filter.levels[static_cast<size_t>(Level::Fatal)] = isChecked(IDC_SHOW_FATAL);
    filter.text = toAnsi(textOf(GetDlgItem(window_, IDC_FILTER)));
    lines_.setFilter(filter);
    ListView_SetItemCountEx(list_, lines_.size(), 0);
    ListView_EnsureVisible(list_, static_cast<int>(lines_.size()) - 1, FALSE);
    showStatus();
}

void MainWindow::findNext() {
    const std::wstring text = textOf(GetDlgItem(window_, IDC_FIND));
    if (text.empty()) return;
    const int focused = ListView_GetNextItem(list_, -1, LVNI_FOCUSED);
    const std::optional<size_t> row = lines_.find(toAnsi(text), focused + 1);
    report(row ? L"" : L"Not found: " + text);
    if (row) {
        const int found = static_cast<int>(*row);
        ListView_SetItemState(list_, -1, 0, LVIS_SELECTED);
        ListView_SetItemState(list_, found, LVIS_SELECTED | LVIS_FOCUSED, LVIS_SELECTED | LVIS_FOCUSED);
        ListView_EnsureVisible(list_, found, FALSE);
    }
    showStatus();
}

// All lines that are shown, where none is selected.
std::string MainWindow::selectedText() const {
    std::string text;
    const bool all = ListView_GetSelectedCount(list_) == 0;
    for (size_t row = 0; row < lines_.size(); ++row) {
        if (!all && ListView_GetItemState(list_, static_cast<int>(row), LVIS_SELECTED) == 0) continue;
        if (const std::optional<StoredLine> line = lines_.line(row)) text += logText(*line);
    }
    return text;
}

void MainWindow::copy() {
    // In a text field the keys mean the field's own text.
    const HWND focus = GetFocus();
    if (focus == GetDlgItem(window_, IDC_FIND) || focus == GetDlgItem(window_, IDC_FILTER)) {
        SendMessageW(focus, WM_COPY, 0, 0);
        return;
    }
    std::wstring text;
    for (const wchar_t letter : fromUtf8(selectedText()))
        text += letter == L'\n' ? L"\r\n" : std::wstring(1, letter);
    report(copyText(window_, text) ? L"Copied" : L"The clipboard can't be used: " + lastErrorText());
    showStatus();
}

void MainWindow::save() {
    wchar_t path[MAX_PATH] = L"trace.txt";
    OPENFILENAMEW dialog = {};
    dialog.lStructSize = sizeof dialog;
    dialog.hwndOwner = window_;
    dialog.lpstrFilter = L"Text (*.txt)\0*.txt\0All files\0*.*\0";
    dialog.lpstrFile = path;
    dialog.nMaxFile = static_cast<DWORD>(std::size(path));
    dialog.lpstrDefExt = L"txt";
    dialog.Flags = OFN_OVERWRITEPROMPT | OFN_PATHMUSTEXIST | OFN_NOCHANGEDIR;
    if (!GetSaveFileNameW(&dialog)) return;
    const gui::Handle file = gui::owned(
        CreateFileW(path, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    const bool saved = file != nullptr && writeAll(file.get(), selectedText());
    report(saved ? std::wstring(L"Saved as ") + path
                 : std::wstring(L"Cannot write ") + path + L": " + lastErrorText());
    showStatus();
}

void MainWindow::clear() {
    store_.clear();
    lines_.forget();
    ListView_SetItemCountEx(list_, 0, 0);
    report(L"");
    showStatus();
}

void MainWindow::setSwitch(int control, const wchar_t* key) {
    if (!SwitchFile::set(key, isChecked(control))) report(L"Cannot write DEBUGSM.INI: " + lastErrorText());
    showSwitches();
}

void MainWindow::showSwitches() {
    CheckDlgButton(window_, IDC_SEND_TRACE, SwitchFile::isOn(traceKey) ? BST_CHECKED : BST_UNCHECKED);
    CheckDlgButton(window_, IDC_SEND_WARNINGS, SwitchFile::isOn(warningKey) ? BST_CHECKED : BST_UNCHECKED);
}

void MainWindow::showStatus() {
    const size_t warnings = store_.count(Level::Warning), fatal = store_.count(Level::Fatal);
    const size_t all = warnings + fatal + store_.count(Level::Trace) + store_.count(Level::Other);
    std::wstring text = std::to_wstring(all) + L" lines, " + std::to_wstring(lines_.size()) + L" shown, " +
                        std::to_wstring(warnings) + L" warnings, " + std::to_wstring(fatal) + L" fatal";
    if (store_.lost() != 0) text += L", " + std::to_wstring(store_.lost()) + L" lost for want of memory";
    if (isChecked(IDC_PAUSE)) text += L"  -  paused";
    if (!message_.empty()) text += L"  -  " + message_;
    const HWND status = GetDlgItem(window_, IDC_STATUS);
    if (textOf(status) != text) SetWindowTextW(status, text.c_str());
}

}  // namespace smtrace
