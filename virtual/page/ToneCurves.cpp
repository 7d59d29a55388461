#include "page/ToneCurves.h"

#include <algorithm>
#include <cmath>

namespace vscan {

std::array<ToneCurve, 3> ToneControls::identityResponse() {
    std::array<ToneCurve, 3> channels{};
    for (ToneCurve& channel : channels)
        for (int i = 0; i < 256; ++i)
            channel[static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(i);
    return channels;
}

ToneCurve toneCurve(const ToneControls& controls, int channel) {
    const double span = std::max(controls.highlight - controls.shadow, 1.0);
    const double steepness =
        controls.contrast >= 0 ? 1 + controls.contrast / 1000 * 4 : 1 + controls.contrast / 1000;
    ToneCurve curve{};
    for (std::size_t i = 0; i < curve.size(); ++i) {
        double level = std::clamp((static_cast<double>(i) - controls.shadow) / span, 0.0, 1.0);
        if (controls.gamma > 0 && controls.gamma != 1.0) level = std::pow(level, 1 / controls.gamma);
        level = (level - 0.5) * steepness + 0.5 + controls.brightness / 1000;
        const long rounded = std::lround(std::clamp(level, 0.0, 1.0) * 255);
        curve[i] = controls.response[static_cast<std::size_t>(channel)][static_cast<std::size_t>(rounded)];
    }
    return curve;
}

}  // namespace vscan
