#pragma once

#include <windows.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "common/HostWindow.h"
#include "common/ModuleLibrary.h"
#include "common/OpenSource.h"
#include "common/ScanListener.h"
#include "smview/PageList.h"
#include "smview/PagePicture.h"
#include "smview/PageView.h"
#include "smview/Resources.h"
#include "smview/ScanForm.h"
#include "windows/Anchors.h"

namespace smview {

class MainWindow final : host::ScanListener {
public:
    explicit MainWindow(const host::ModuleLibrary& module) : module_(module) {}
    MainWindow(const MainWindow&) = delete;
    MainWindow& operator=(const MainWindow&) = delete;

    // Until it is closed.
    void run();

private:
    static INT_PTR CALLBACK onMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    bool handle(UINT message, WPARAM wParam, LPARAM lParam);
    void setUp();
    void command(int control, int notification);

    // Runs a step that a person has asked for; a Failure in it becomes the status text. Not within another:
    // a source that opens may let messages through.
    template <class Step>
    void attempt(Step step);
    void listSources();
    void openSource();
    void preview();
    void scan();
    void scanPages(const host::ScanRequest& request, const std::string& pattern);
    void showCapabilities();
    void save(bool all);
    void remove();
    void chooseArea();
    void showFocusedPage();
    void showPicture(const PagePicture& picture, const std::optional<host::Area>& whole);
    void setBusy(bool busy);
    void enableSaving() const;
    void tell(const std::string& text);

    // While a page arrives, inside the module: this window stays alive, and only this one.
    void pump();

    void note(const std::string& text) override;
    void progress(int page, int done, int total) override;
    void progressOver() override;
    void pageBegins(const host::PageImage& image, int height) override;
    void stripComes(const host::Strip& strip, int plane) override;
    void pageDone(const host::ScannedPage& page) override;

    HWND control(int id) const { return GetDlgItem(window_, id); }
    PageView& view() const { return PageView::in(control(IDC_VIEW)); }

    const host::ModuleLibrary& module_;
    HWND window_ = nullptr;
    std::unique_ptr<gui::AnchoredControls> anchors_;
    std::unique_ptr<ScanForm> form_;
    std::unique_ptr<PageList> pages_;
    std::unique_ptr<host::HostWindow> host_;
    std::optional<host::OpenSource> source_;

    PagePicture live_;     // the page that arrives
    PagePicture preview_;  // what an area is dragged on
    std::optional<host::Area> previewed_;
    PagePicture page_;  // one of the list
    DWORD lastDrawn_ = 0;
    DWORD drawPause_ = 0;
    int shownProgress_ = 0;
    bool previewing_ = false;
    bool attempting_ = false;
    bool busy_ = false;  // a page is on its way
    bool closing_ = false;
    std::string notes_;
};

}  // namespace smview
