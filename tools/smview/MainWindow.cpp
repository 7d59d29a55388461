#include "smview/MainWindow.h"

#include <commctrl.h>

#include <algorithm>
#include <cstdlib>
#include <exception>

#include "common/CapsQuery.h"
#include "common/Failure.h"
#include "common/PageOutput.h"
#include "common/PageScan.h"
#include "common/ScanPreparation.h"
#include "common/SourceChoice.h"
#include "common/Text.h"
#include "smview/CapabilityWindow.h"
#include "smview/PageSaver.h"
#include "smview/QuietWindows.h"
#include "windows/Controls.h"
#include "windows/WideText.h"

namespace smview {

using host::Failure;
using host::FailureCode;

namespace {

// Good enough to see what lies where, and quick.
constexpr int previewResolution = 75;
constexpr int wholeProgress = 1000;
// Drawing holds up the scanner: not oftener than one sees, in milliseconds, and not for more than a part of
// the time.
constexpr DWORD drawInterval = 50;
constexpr DWORD drawShare = 5;

// What can't be used while a page is on its way.
constexpr int idleControls[] = {
    IDC_SOURCE, IDC_MODE,         IDC_RESOLUTION, IDC_PAPER,    IDC_LEFT,       IDC_TOP,
    IDC_WIDTH,  IDC_HEIGHT,       IDC_BRIGHTNESS, IDC_CONTRAST, IDC_HIGHLIGHT,  IDC_SHADOW,
    IDC_GAMMA,  IDC_THRESHOLD,    IDC_FEEDER,     IDC_PAGES,    IDC_OWN_WINDOW, IDC_PREVIEW,
    IDC_SCAN,   IDC_CAPABILITIES, IDC_SAVE,       IDC_SAVE_ALL, IDC_DELETE,     IDC_PAGE_LIST};

}  // namespace

void MainWindow::run() {
    const INITCOMMONCONTROLSEX controls = {sizeof controls, ICC_LISTVIEW_CLASSES | ICC_PROGRESS_CLASS};
    InitCommonControlsEx(&controls);
    PageView::registerClass();
    CreateDialogParamW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(IDD_MAIN), nullptr, onMessage,
                       reinterpret_cast<LPARAM>(this));
    if (window_ == nullptr)
        throw Failure{FailureCode::SourceError, "Cannot make the window: " + host::lastErrorText()};
    pages_ = std::make_unique<PageList>(control(IDC_PAGE_LIST));
    host_ = std::make_unique<host::HostWindow>();
    host_->setFilter([this](MSG& message) { return IsDialogMessageW(window_, &message) != FALSE; });
    ShowWindow(window_, SW_SHOWDEFAULT);
    attempt([&] { listSources(); });
    enableSaving();
    MSG message;
    while (GetMessageW(&message, nullptr, 0, 0) > 0) {
        if (module_.smIsDSEvent(&message) || IsDialogMessageW(window_, &message)) continue;
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
        case WM_SIZE:
            if (anchors_) anchors_->arrange();
            return true;
        case WM_GETMINMAXINFO:
            if (anchors_) anchors_->limit(*reinterpret_cast<MINMAXINFO*>(lParam));
            return true;
        case WM_COMMAND:
            command(LOWORD(wParam), HIWORD(wParam));
            return true;
        case WM_NOTIFY: {
            const auto& header = *reinterpret_cast<const NMHDR*>(lParam);
            const auto& item = *reinterpret_cast<const NMLISTVIEW*>(lParam);
            if (header.idFrom == IDC_PAGE_LIST && header.code == LVN_ITEMCHANGED &&
                (item.uNewState & ~item.uOldState & LVIS_FOCUSED) != 0 && !busy_)
                showFocusedPage();
            return true;
        }
        case WM_CLOSE:
            closing_ = true;
            if (busy_) host_->cancel();
            if (!attempting_) DestroyWindow(window_);
            return true;
        case WM_DESTROY:
            source_.reset();
            host_.reset();
            pages_.reset();
            PostQuitMessage(0);
            return true;
        default:
            return false;
    }
}

void MainWindow::setUp() {
    using namespace gui;
    anchors_ =
        std::make_unique<AnchoredControls>(window_, std::vector<Anchor>{{IDC_VIEW, Whole},
                                                                        {IDC_PAGE_LIST, Top | Right | Bottom},
                                                                        {IDC_SAVE, Right | Bottom},
                                                                        {IDC_SAVE_ALL, Right | Bottom},
                                                                        {IDC_DELETE, Right | Bottom},
                                                                        {IDC_STATUS, Left | Right | Bottom}});
    SendMessageW(control(IDC_PROGRESS), PBM_SETRANGE32, 0, wholeProgress);
    form_ = std::make_unique<ScanForm>(window_);
}

void MainWindow::command(int id, int notification) {
    switch (id) {
        case IDC_SOURCE:
            if (notification == CBN_SELCHANGE) attempt([&] { openSource(); });
            return;
        case IDC_PREVIEW:
            return attempt([&] { preview(); });
        case IDOK:
        case IDC_SCAN:
            return attempt([&] { scan(); });
        case IDCANCEL:
            if (busy_) host_->cancel();
            return;
        case IDC_CAPABILITIES:
            return attempt([&] { showCapabilities(); });
        case IDC_VIEW:
            return chooseArea();
        case IDC_SAVE:
        case IDC_SAVE_ALL:
            return attempt([&] { save(id == IDC_SAVE_ALL); });
        case IDC_DELETE:
            return remove();
        default:
            return;
    }
}

template <class Step>
void MainWindow::attempt(Step step) {
    if (attempting_) return;
    attempting_ = true;
    notes_.clear();
    try {
        step();
    } catch (const Failure& failure) {
        tell(failure.text + " " + notes_);
        // In the place of a page that came in part.
        if (busy_) showFocusedPage();
    } catch (const std::exception&) {
        tell(host::outOfMemory().text);
    }
    setBusy(false);
    attempting_ = false;
    if (closing_) DestroyWindow(window_);
}

void MainWindow::tell(const std::string& text) {
    SetWindowTextW(control(IDC_STATUS), gui::fromUtf8(text).c_str());
}

void MainWindow::note(const std::string& text) {
    notes_ += (notes_.empty() ? "Note: " : " ") + text;
}

void MainWindow::setBusy(bool busy) {
    if (busy == busy_) return;
    busy_ = busy;
    // The keyboard must not be left on a control that is about to be disabled.
    if (busy) {
        EnableWindow(control(IDCANCEL), TRUE);
        SetFocus(control(IDCANCEL));
    }
    for (const int id : idleControls)
        EnableWindow(control(id), !busy);
    if (busy) return;
    SetFocus(control(IDC_SCAN));
    EnableWindow(control(IDCANCEL), FALSE);
    SendMessageW(control(IDC_PROGRESS), PBM_SETPOS, 0, 0);
    if (source_) form_->enable();
    enableSaving();
}

void MainWindow::enableSaving() const {
    for (const int id : {IDC_SAVE, IDC_SAVE_ALL, IDC_DELETE})
        EnableWindow(control(id), pages_ && pages_->size() > 0);
}

void MainWindow::listSources() {
    host::requireManager(module_);
    const host::SourceList list = host::listSources(module_, host_->handle());
    for (const std::string& name : list.names)
        SendMessageW(control(IDC_SOURCE), CB_ADDSTRING, 0,
                     reinterpret_cast<LPARAM>(gui::fromUtf8(name).c_str()));
    const LRESULT chosen = SendMessageW(control(IDC_SOURCE), CB_SELECTSTRING, static_cast<WPARAM>(-1),
                                        reinterpret_cast<LPARAM>(gui::fromUtf8(list.defaultName).c_str()));
    if (chosen == CB_ERR) SendMessageW(control(IDC_SOURCE), CB_SETCURSEL, 0, 0);
    openSource();
}

void MainWindow::openSource() {
    source_.reset();
    previewed_.reset();
    const std::string name = gui::utf8(gui::textOf(control(IDC_SOURCE)));
    tell("Opening " + name + " ...");
    const std::vector<std::string> makers = host::makersSources(module_);
    host::chooseByName(module_, host_->handle(), name);
    source_.emplace(module_, host_->handle());
    host::useInches(module_, *this);
    const bool isMakers = std::find(makers.begin(), makers.end(), name) != makers.end();
    form_->fill(host::queryCaps(module_, isMakers));
    showPicture(preview_, std::nullopt);
    tell("Ready. " + notes_);
}

void MainWindow::preview() {
    host::ScanRequest request = form_->request();
    request.resolution = previewResolution;
    request.area = form_->glass();
    if (request.area) request.paper.reset();
    request.pages = 1;
    // A page that the feeder gave for the preview would be missing in the scan.
    if (request.feeder) request.feeder = false;
    request.ui = false;
    previewing_ = true;
    try {
        scanPages(request, "preview.bmp");
    } catch (...) {
        previewing_ = false;
        throw;
    }
    previewing_ = false;
    tell("Drag an area on the preview, or scan all of it. " + notes_);
}

void MainWindow::scan() {
    const size_t before = pages_->size();
    scanPages(form_->request(), "page%03d.bmp");
    const size_t scanned = pages_->size() - before;
    tell(std::to_string(scanned) + (scanned == 1 ? " page. " : " pages. ") + notes_);
}

void MainWindow::scanPages(const host::ScanRequest& request, const std::string& name) {
    if (!source_) throw Failure{FailureCode::NoSource, "No source is open."};
    host_->begin();
    setBusy(true);
    tell(previewing_ ? "Previewing ..." : "Scanning ...");
    host::OutputRequest output;
    output.pattern = pages_->folder() + name;
    output.force = previewing_;
    host::PageOutput pages(output, !previewing_ && request.pages != 1);
    pages.prepare(request.pages, *this);
    std::optional<QuietWindows> quiet;
    if (request.ui) quiet.emplace(module_);
    host::scanOpened(module_, *source_, request, pages, *host_, *this);
}

void MainWindow::showCapabilities() {
    if (!source_) throw Failure{FailureCode::NoSource, "No source is open."};
    // The source may still have what a preview needed.
    host::applyRequest(module_, form_->request(), *this);
    CapabilityWindow(module_).run(window_);
    form_->fill(host::queryCaps(module_, false));
}

void MainWindow::save(bool all) {
    const std::vector<PageList::Page> chosen = all ? pages_->all() : pages_->selected();
    if (chosen.empty()) throw Failure{FailureCode::Usage, "There is no page to save."};
    const std::wstring name = askForName(window_, chosen.size() > 1);
    if (!name.empty()) tell(savePages(chosen, name));
}

void MainWindow::remove() {
    pages_->removeSelected();
    showFocusedPage();
    enableSaving();
}

void MainWindow::chooseArea() {
    form_->showArea(view().area());
}

void MainWindow::showPicture(const PagePicture& picture, const std::optional<host::Area>& whole) {
    view().show(picture.empty() ? nullptr : &picture, whole);
}

void MainWindow::showFocusedPage() {
    const PageList::Page* const page = pages_->focused();
    if (page == nullptr) return showPicture(preview_, previewed_);
    try {
        loadPicture(page->path, page_);
        showPicture(page_, std::nullopt);
    } catch (const Failure& failure) {
        tell(failure.text);
    }
}

void MainWindow::pageBegins(const host::PageImage& image, int height) {
    live_.begin(image, height);
    showPicture(live_, std::nullopt);
}

void MainWindow::stripComes(const host::Strip& strip, int plane) {
    live_.add(strip, plane);
}

void MainWindow::progress(int, int done, int total) {
    pump();
    const int position = total > 0 ? MulDiv(done, wholeProgress, total) : 0;
    // A bar that is drawn oftener than it moves is drawn in vain.
    if (std::abs(position - shownProgress_) >= wholeProgress / 50) {
        shownProgress_ = position;
        SendMessageW(control(IDC_PROGRESS), PBM_SETPOS, position, 0);
    }
    const DWORD now = GetTickCount();
    if (now - lastDrawn_ < drawPause_ && done < total) return;
    view().update();
    lastDrawn_ = GetTickCount();
    drawPause_ = std::max(drawInterval, (lastDrawn_ - now) * drawShare);
}

void MainWindow::progressOver() {
    shownProgress_ = 0;
    SendMessageW(control(IDC_PROGRESS), PBM_SETPOS, 0, 0);
    pump();
}

// Messages without a window, and those of the source's windows, wait for the loop: the module must see them.
void MainWindow::pump() {
    MSG message;
    while (PeekMessageW(&message, window_, 0, 0, PM_REMOVE)) {
        if (IsDialogMessageW(window_, &message)) continue;
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
}

void MainWindow::pageDone(const host::ScannedPage& page) {
    live_.finish();
    const std::wstring path = gui::fromUtf8(page.path);
    if (previewing_) {
        loadPicture(path, preview_);
        DeleteFileW(path.c_str());
        previewed_ = form_->glass();
        if (!previewed_ && page.dots.x > 0 && page.dots.y > 0)
            previewed_ = host::Area{0, 0, static_cast<double>(page.facts.width) / page.dots.x,
                                    static_cast<double>(page.facts.height) / page.dots.y};
        showPicture(preview_, previewed_);
        return;
    }
    // A page that can't be shown can still be saved.
    try {
        loadPicture(path, page_);
    } catch (const Failure& failure) {
        page_ = {};
        note(failure.text);
    }
    pages_->add(page, page_);
    showPicture(page_, std::nullopt);
    pump();
}

}  // namespace smview
