// The source's own window, worked with keys from outside: the host believes what was chosen there.
#include <doctest.h>
#include <settings/PaperSizes.h>
#include <source/SourceWindowIds.h>

#include "PageFile.h"

namespace {

// Before the window of a scanner: presses a key, waits until a control shows what should come of it, and
// presses the next one. The last one may close the window.
class Person {
public:
    struct Step {
        int control;
        WPARAM key;
        int shown;  // where it shows
        std::string text;
    };
    Person(std::string title, std::vector<Step> steps) : title_(std::move(title)), steps_(std::move(steps)) {}

    void operator()(const PROCESS_INFORMATION&) {
        const HWND window = FindWindowA(nullptr, title_.c_str());
        if (!window || !IsWindowVisible(window) || done_ == steps_.size()) return;
        const Step& step = steps_[done_];
        if (!pressed_) PostMessageA(GetDlgItem(window, step.control), WM_KEYDOWN, step.key, 0);
        char text[256] = "";
        SendMessageA(GetDlgItem(window, step.shown), WM_GETTEXT, sizeof text, reinterpret_cast<LPARAM>(text));
        pressed_ = text != step.text;
        if (!pressed_) ++done_;
    }

private:
    const std::string title_;
    const std::vector<Step> steps_;
    size_t done_ = 0;
    bool pressed_ = false;
};

}  // namespace

TEST_CASE("what is chosen in the window comes, whatever the host had asked for and however it transfers") {
    vscan::PageRequest page = pageOf(vscan::PixelKind::Rgb24, 75);
    const vscan::PaperSize paper = *vscan::paperFromText("A6");
    page.area = {0, 0, paper.width, paper.height};
    page.tone.brightness = -100;
    page.tone.contrast = 10;
    for (const std::string way : {"--mech native", "--mech memory", "--presto"}) {
        Person person("Window Test", {{SOURCE_MODE, VK_DOWN, SOURCE_MODE, "Color"},
                                      {SOURCE_RESOLUTION, VK_DOWN, SOURCE_RESOLUTION, "75 dpi"},
                                      {SOURCE_PAPER, VK_END, SOURCE_PAPER, "Whole scan area"},
                                      {SOURCE_PAPER, VK_UP, SOURCE_PAPER, "A6, 105 x 148 mm"},
                                      {SOURCE_BRIGHTNESS, VK_PRIOR, SOURCE_BRIGHTNESS_VALUE, "-100"},
                                      {SOURCE_CONTRAST, VK_RIGHT, SOURCE_CONTRAST_VALUE, "10"},
                                      {SOURCE_PAPER, VK_RETURN, SOURCE_STATUS, "Ready."}});
        const std::string end = scanned(way + " --ui --resolution 50 --mode gray --output p.bmp",
                                        "ProductName=Window Test", page, std::ref(person));
        CAPTURE(way);
        CAPTURE(end);
        CHECK(end.find("p.bmp  310 x 437 pixels, 24 bit, ") != std::string::npos);
        CHECK(end.find("exit 0\np.bmp: 24 bit, ") != std::string::npos);
        CHECK(end.substr(end.rfind(": ")) == ": the page");
    }
}
