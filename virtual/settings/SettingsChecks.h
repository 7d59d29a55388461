// Do the settings go together?
#pragma once

#include <string>
#include <vector>

#include "settings/Settings.h"

namespace vscan {

// The bits per pixel that a pixel type comes in, the usual one first.
std::vector<int> bitDepthsOf(int pixelType);

// Settings that are good one by one but contradict each other; one line for each, saying what counts.
std::vector<std::string> contradictions(const VirtualScannerSettings& settings);

}  // namespace vscan
