// How the tone controls change what the sensor saw.
#pragma once

#include <array>
#include <cstdint>

namespace vscan {

using ToneCurve = std::array<std::uint8_t, 256>;

struct ToneControls {
    double brightness = 0;   // -1000 (all dark) to 1000 (all light)
    double contrast = 0;     // -1000 (flat gray) to 1000 (hard)
    double highlight = 255;  // what becomes white
    double shadow = 0;       // what becomes black
    double threshold = 128;  // 1-bit pixels at or above it are white
    double gamma = 1.0;
    // Output levels for red, green and blue; index 0 serves gray. Identity unless the host sent its own.
    std::array<ToneCurve, 3> response = identityResponse();

    static std::array<ToneCurve, 3> identityResponse();
};

// Shadow and highlight, then gamma, contrast and brightness, then the response of the channel.
ToneCurve toneCurve(const ToneControls& controls, int channel);

}  // namespace vscan
