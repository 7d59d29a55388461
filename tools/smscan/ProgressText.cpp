#include "smscan/ProgressText.h"

#include <algorithm>
#include <cstdint>

#include "common/Text.h"

namespace smscan {

using host::format;

int percentOf(int done, int total) {
    return static_cast<int>(std::min<int64_t>(100, static_cast<int64_t>(done) * 100 / std::max(total, 1)));
}

std::string progressBar(int page, int done, int total) {
    if (total < 1) return format("page %d: %d lines", page, done);
    constexpr int width = 40;
    const int percent = percentOf(done, total);
    const int filled = percent * width / 100;
    return format("page %d: [%s%s] %3d %%", page, std::string(filled, '#').c_str(),
                  std::string(width - filled, '.').c_str(), percent);
}

std::string progressLine(int page, int done, int total) {
    if (total < 1) return format("page %d: %d lines", page, done);
    return format("page %d: %d %%", page, percentOf(done, total));
}

}  // namespace smscan
