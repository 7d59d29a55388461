// The paper sizes that have a name and a TWAIN code.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "settings/Settings.h"

namespace vscan {

struct NamedPaper {
    const char* name;
    int code;  // TWSS_ value
    PaperSize size;
};

const std::vector<NamedPaper>& namedPapers();

// "A4", "Letter" ..., or width x height in inches: "8.5x14".
std::optional<PaperSize> paperFromText(const std::string& text);
std::string paperToText(const PaperSize& size);
// The TWSS_ code of the size, or TWSS_NONE.
int paperCode(const PaperSize& size);

}  // namespace vscan
