#include "smscan/ConsoleListener.h"

#include "common/Json.h"
#include "common/Text.h"

namespace smscan {

using host::format;

void ConsoleListener::note(const std::string& text) {
    if (!quiet_) smscan::note("Note: " + text);
}

void ConsoleListener::pageDone(const host::ScannedPage& page) {
    const auto print = pagesAreNotes_ ? smscan::note : tell;
    if (json_) return print(host::jsonLine(host::pageJson(page)));
    if (quiet_) return;
    const host::DotsPerInch& dots = page.dots;
    std::string line = format("%s  %d x %d pixels, %d bit", page.path.c_str(), page.facts.width,
                              page.facts.height, page.facts.bits);
    if (dots.x > 0 && dots.x == dots.y)
        line += format(", %d dpi", dots.x);
    else if (dots.x > 0 && dots.y > 0)
        line += format(", %d x %d dpi", dots.x, dots.y);
    if (page.pageInFile > 0) line += format(", page %d", page.pageInFile);
    print(line);
}

}  // namespace smscan
