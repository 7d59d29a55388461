// The settings of a one-shot scan: defaults, and the replacement of what makes no sense. Pure.
#pragma once

#include <scanmodule/scanmodule.h>

// The defaults for a scan area in inches.
PrestoScanSettings defaultOneShotSettings(double maxWidth, double maxHeight);

void validateOneShotSettings(PrestoScanSettings& settings);
